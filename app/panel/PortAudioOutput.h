#pragma once

#include "app/panel/AudioOutput.h"
#include "app/panel/SoundFeed.h"

namespace tessary {

/// Plays through PortAudio on the system's default device, which is looked for anew before each sound.
/// Between sounds nothing of the sound system is open.
class PortAudioOutput final : public AudioOutput {
public:
  PortAudioOutput() = default;
  ~PortAudioOutput() override { stop(); }
  PortAudioOutput(const PortAudioOutput &) = delete;
  PortAudioOutput &operator=(const PortAudioOutput &) = delete;

  bool play(const Sound &sound, const std::function<bool()> &isWanted, QString *problem) override;
  void stop() override;
  void setVolume(float volume) override { feed_.setVolume(volume); }
  [[nodiscard]] std::uint64_t position() const override { return feed_.position(); }
  [[nodiscard]] bool hasEnded() const override { return feed_.hasEnded(); }

  /// How many frames the device takes before they are heard.
  [[nodiscard]] std::uint64_t framesAhead() const { return feed_.framesAhead(); }
  /// The most that a device may hold of what was given to it and is not heard yet: after `stop` no more than
  /// this sounds.
  static constexpr double kMostSecondsAhead = 0.04;

private:
  void close();

  SoundFeed feed_;
  void *stream_ = nullptr; ///< PortAudio's
  bool isInitialised_ = false;
};

} // namespace tessary
