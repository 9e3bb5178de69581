#include "app/panel/SoundFeed.h"

#include "tessary/SamplePeaks.h"

#include <algorithm>
#include <cmath>

namespace tessary {
namespace {

constexpr std::size_t kBytesPerFrame = 2;

} // namespace

void SoundFeed::begin(const Sound &sound, int channels, std::uint64_t framesAhead) {
  sound_ = sound;
  channels_ = channels;
  const std::uint64_t start = std::min(sound.start, sound.frames);
  framesAhead_.store(framesAhead);
  start_.store(start);
  given_.store(start);
  hasEnded_.store(false);
}

void SoundFeed::end() {
  sound_.bytes = nullptr;
  sound_.frames = 0;
  hasEnded_.store(true);
}

bool SoundFeed::fill(std::int16_t *to, std::uint64_t frames) noexcept {
  const std::uint64_t at = given_.load(std::memory_order_relaxed);
  const std::uint64_t count = std::min(frames, sound_.frames - std::min(at, sound_.frames));
  const float volume = volume_.load(std::memory_order_relaxed);
  for (std::uint64_t frame = 0; frame < count; ++frame) {
    std::int16_t value = frameAt(sound_.bytes->data() + sound_.begin + (at + frame) * kBytesPerFrame);
    if (volume != 1) value = static_cast<std::int16_t>(std::lround(static_cast<float>(value) * volume));
    to = std::fill_n(to, channels_, value);
  }
  std::fill_n(to, static_cast<std::uint64_t>(channels_) * (frames - count), std::int16_t{0});
  given_.store(at + count, std::memory_order_relaxed);
  return at + count < sound_.frames;
}

std::uint64_t SoundFeed::position() const noexcept {
  const std::uint64_t given = given_.load(std::memory_order_relaxed);
  const std::uint64_t start = start_.load(std::memory_order_relaxed);
  if (hasEnded()) return given;
  const std::uint64_t ahead = framesAhead_.load(std::memory_order_relaxed);
  return given > start + ahead ? given - ahead : start;
}

} // namespace tessary
