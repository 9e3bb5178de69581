#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tessary {

/// The lowest and the highest value among some frames.
struct Peak {
  std::int16_t lowest = 0;
  std::int16_t highest = 0;

  bool operator==(const Peak &) const = default;
};

/// What a long sample looks like, in little room: the peaks of each 256 of its frames. Made in one pass over
/// the audio, which is 16 bits, little-endian. For one thread at a time.
class SamplePeaks final {
public:
  static constexpr std::uint64_t kFramesPerPeak = 256;

  /// Takes the next bytes of the audio. They may end anywhere, inside a frame too.
  void add(std::span<const std::uint8_t> audio);

  [[nodiscard]] std::uint64_t frames() const { return frames_; }
  [[nodiscard]] const std::vector<Peak> &peaks() const { return peaks_; }
  /// The peak of the frames from `first` up to `last`; `first` is rounded down and `last` up to a multiple of
  /// 256. Zeros where there are none.
  [[nodiscard]] Peak across(std::uint64_t first, std::uint64_t last) const;

private:
  void addFrames(const std::uint8_t *bytes, std::size_t frames);

  std::vector<Peak> peaks_;
  std::uint64_t frames_ = 0;
  bool hasHalf_ = false;  ///< the bytes so far end inside a frame
  std::uint8_t half_ = 0; ///< its first byte
};

/// A frame as it is stored.
[[nodiscard]] inline std::int16_t frameAt(const std::uint8_t *bytes) {
  return static_cast<std::int16_t>(static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8));
}

/// The peak of frames as they are stored; of none, zeros.
[[nodiscard]] Peak peakOf(const std::uint8_t *bytes, std::size_t frames);

} // namespace tessary
