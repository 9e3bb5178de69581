#pragma once

#include "app/panel/AudioOutput.h"
#include "app/panel/LatestReading.h"
#include "tessary/SamplePeaks.h"

#include <functional>
#include <memory>
#include <vector>

namespace tessary {

/// What a bank's table of contents tells, read once.
struct BankReading {
  BankDetails details;
  std::vector<BankEntry> entries;
  EMU3Error error; ///< set where it cannot be read
};

/// Reads a bank, and its samples' audio, for the panel: on the image's I/O queue, piece by piece. Of each
/// kind of reading the last one asked for counts alone. Main thread only; an image must be mounted.
class SampleReader final {
public:
  explicit SampleReader(ImageWork *image) : banks_(image), waves_(image), closeUps_(image), sounds_(image) {}

  using BankRead = std::function<void(const std::shared_ptr<const BankReading> &)>;
  void readBank(const EMU3FilePtr &file, BankRead done);

  /// The peaks of audio that lies in the bank's contents there; fewer frames where they cannot be read to the
  /// end.
  using WaveRead = std::function<void(const std::shared_ptr<const SamplePeaks> &)>;
  void readWave(const EMU3FilePtr &bank, const BankRange &audio, WaveRead done);
  /// A few of its bytes; null where they cannot be read.
  using BytesRead = std::function<void(const ByteBufferPtr &)>;
  void readBytes(const EMU3FilePtr &bank, const BankRange &bytes, BytesRead done);

  /// A listed sample as it would be exported at that rate. Without bytes, and with the error, where it cannot
  /// be.
  using SoundRead = std::function<void(const Sound &, const EMU3Error &)>;
  void readSound(const EMU3FilePtr &bank, std::uint64_t sample, std::uint32_t rate, SoundRead done);
  void forgetSound() { sounds_.forget(); }

  /// Another bank, or none, is looked at.
  void forgetAll();

  [[nodiscard]] const LatestReading::Counts &bankCounts() const { return banks_.counts(); }
  [[nodiscard]] const LatestReading::Counts &waveCounts() const { return waves_.counts(); }

private:
  LatestReading banks_, waves_, closeUps_, sounds_;
};

} // namespace tessary
