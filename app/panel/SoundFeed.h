#pragma once

#include "app/panel/AudioOutput.h"

#include <atomic>
#include <cstdint>

namespace tessary {

/// Hands the frames of one sound to a device, piece by piece as that asks for them. `fill` is for the
/// device's own thread, which must never wait: it takes no lock and no memory.
class SoundFeed final {
public:
  /// Before the device starts. It plays `channels` channels, all the same, and hears what it was given so
  /// many frames later.
  void begin(const Sound &sound, int channels, std::uint64_t framesAhead);
  /// After the device has ended.
  void end();

  /// Fills the device's buffer, with silence behind the sound's end. False when that has been reached.
  bool fill(std::int16_t *to, std::uint64_t frames) noexcept;
  /// The device asks for no more.
  void deviceEnded() noexcept { hasEnded_.store(true, std::memory_order_release); }

  void setVolume(float volume) noexcept { volume_.store(volume, std::memory_order_relaxed); }
  [[nodiscard]] std::uint64_t position() const noexcept;
  [[nodiscard]] std::uint64_t framesAhead() const noexcept { return framesAhead_; }
  [[nodiscard]] bool hasEnded() const noexcept { return hasEnded_.load(std::memory_order_acquire); }

private:
  Sound sound_; ///< not changed while a device plays
  int channels_ = 1;
  std::atomic<std::uint64_t> framesAhead_ = 0;
  std::atomic<std::uint64_t> start_ = 0;
  std::atomic<std::uint64_t> given_ = 0; ///< the frame that the device gets next
  std::atomic<float> volume_ = 1;
  std::atomic<bool> hasEnded_ = false;
};

} // namespace tessary
