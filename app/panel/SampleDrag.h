#pragma once

#include "tessary/EMU3Filesystem.h"
#include "tessary/SerialQueue.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class QMimeData;

namespace tessary {

/// A sample as a bank lists it, by its number there.
struct ListedSample {
  std::uint64_t number = 0;
  std::string name;
};

/// Writes samples as WAV files for a drag that begins. Main thread only.
class SampleDrag final {
public:
  /// The host files, in a private folder of their own, in the order given. What cannot be written is logged
  /// and left out; null when nothing is left. Meanwhile events are handled, but for the user's. The caller
  /// owns the result.
  QMimeData *dataFor(const EMU3FilesystemPtr &filesystem, const EMU3FilePtr &bank,
                     const std::vector<ListedSample> &samples, std::uint32_t rate);

private:
  SerialQueue queue_{"com.tessary.drag"}; ///< a drag that begins is not behind queued work
};

} // namespace tessary
