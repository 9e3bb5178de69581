#pragma once

#include "tests/support/FlushWatch.h"
#include "tests/support/ImageBuilder.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace tessary::test {

/// Bytes of the images, one behind another, from the first to behind the last.
using ByteRange = std::pair<std::uint64_t, std::uint64_t>;

/// What the images held when the program asked the host for something, or at the end of it all.
struct Moment {
  Bytes image;
  bool isBarrier = false;            ///< the program waits here
  bool isReport = false;             ///< the program says that something is done
  std::vector<ByteRange> onMedium{}; ///< that are on the medium before the program goes on
};

/// What becomes of a barrier that is left out. The program is told of success but for `refused`.
enum class Omission {
  lost,    ///< nothing reaches the medium
  late,    ///< its bytes reach the medium with the next barrier
  refused, ///< nothing reaches the medium, and the program is told so
};

/// Stands for the medium under one image, or several, which are then one behind another: records what the
/// program asks for, in order, and what the image holds at the time. A barrier is a request that waits: msync
/// with MS_SYNC for its range, fdatasync and fsync for the whole image. Of what is not in its range nothing
/// is known. Nobody waits for the host's own medium.
///
/// For programs that are linked with `tessary_flush_recorder`; one at a time. Requests for other files go to
/// the host.
class BarrierRecorder {
public:
  /// All that the images hold is on the medium. Their paths are free of links, their sizes whole pages.
  explicit BarrierRecorder(const std::vector<std::string> &imagePaths);

  /// Leaves out the barrier with this number, from 0, of those that come.
  void leaveOut(std::size_t number, Omission how);
  /// The program says that something is done.
  void noteReport();
  /// What was recorded, the beginning first and this moment last, with which recording begins anew: all of it
  /// is on the medium, and barriers are counted from 0.
  [[nodiscard]] std::vector<Moment> take();

private:
  int answer(const FlushRequest &request);
  struct Image {
    std::string path;
    std::uint64_t begin = 0; ///< of its bytes among those of all
    std::uint64_t size = 0;
  };
  /// Whether the request is about an image, and which of its bytes.
  [[nodiscard]] bool isOfImages(const FlushRequest &request, ByteRange &range) const;
  [[nodiscard]] static bool isOf(const Image &image, const FlushRequest &request, ByteRange &range);
  [[nodiscard]] Bytes bytesOfAll() const;

  std::vector<Image> images_;
  std::mutex mutex_;
  std::vector<Moment> moments_;
  std::size_t barriers_ = 0;
  std::size_t omitted_;
  Omission omission_ = Omission::lost;
  std::vector<ByteRange> late_;
  const FlushWatch watch_;
};

} // namespace tessary::test
