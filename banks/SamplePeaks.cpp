#include "tessary/SamplePeaks.h"

#include <algorithm>
#include <array>
#include <limits>

namespace tessary {
namespace {

constexpr std::size_t kBytesPerFrame = 2;

Peak together(const Peak &one, const Peak &other) {
  return {std::min(one.lowest, other.lowest), std::max(one.highest, other.highest)};
}

} // namespace

Peak peakOf(const std::uint8_t *bytes, std::size_t frames) {
  if (frames == 0) return {};
  Peak peak{std::numeric_limits<std::int16_t>::max(), std::numeric_limits<std::int16_t>::min()};
  for (std::size_t frame = 0; frame < frames; ++frame) {
    const std::int16_t value = frameAt(bytes + frame * kBytesPerFrame);
    peak.lowest = std::min(peak.lowest, value);
    peak.highest = std::max(peak.highest, value);
  }
  return peak;
}

void SamplePeaks::add(std::span<const std::uint8_t> audio) {
  if (hasHalf_ && !audio.empty()) {
    const std::array<std::uint8_t, kBytesPerFrame> frame{half_, audio.front()};
    addFrames(frame.data(), 1);
    audio = audio.subspan(1);
    hasHalf_ = false;
  }
  addFrames(audio.data(), audio.size() / kBytesPerFrame);
  if (audio.size() % kBytesPerFrame == 0) return;
  hasHalf_ = true;
  half_ = audio.back();
}

void SamplePeaks::addFrames(const std::uint8_t *bytes, std::size_t frames) {
  while (frames > 0) {
    const std::uint64_t inPeak = frames_ % kFramesPerPeak;
    const std::size_t taken = std::min<std::uint64_t>(frames, kFramesPerPeak - inPeak);
    const Peak peak = peakOf(bytes, taken);
    if (inPeak == 0)
      peaks_.push_back(peak);
    else
      peaks_.back() = together(peaks_.back(), peak);
    frames_ += taken;
    frames -= taken;
    bytes += taken * kBytesPerFrame;
  }
}

Peak SamplePeaks::across(std::uint64_t first, std::uint64_t last) const {
  last = std::min(last, frames_);
  if (first >= last) return {};
  const std::uint64_t end = (last + kFramesPerPeak - 1) / kFramesPerPeak;
  Peak peak = peaks_[first / kFramesPerPeak];
  for (std::uint64_t at = first / kFramesPerPeak + 1; at < end; ++at)
    peak = together(peak, peaks_[at]);
  return peak;
}

} // namespace tessary
