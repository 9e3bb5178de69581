#pragma once

#include "tessary/ByteBuffer.h"

#include <QString>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace tessary {

/// A sound in memory: one channel, 16 bits, little-endian.
struct Sound {
  ByteBufferPtr bytes;      ///< shared with whoever plays them
  std::size_t begin = 0;    ///< where in `bytes` the first frame lies
  std::uint64_t frames = 0; ///< from there on
  std::uint64_t start = 0;  ///< the frame to begin with
  std::uint32_t rate = 0;   ///< frames a second
};

/// What sounds are heard through, one at a time. `play` and `stop` may take as long as a device takes: call
/// them on one thread of their own. The other functions may be called on any thread at any time, and wait for
/// nothing.
class AudioOutput {
public:
  virtual ~AudioOutput() = default;

  /// Opens a device and begins to play in place of what was played before. `isWanted` is asked just before
  /// the first frame sounds. False, with nothing played, when that says no, or with a reason for the user.
  virtual bool play(const Sound &sound, const std::function<bool()> &isWanted, QString *problem) = 0;
  /// Ends the sound at once, whatever of it waits in the device, and closes that.
  virtual void stop() = 0;

  /// From 0, silent, to 1, as stored.
  virtual void setVolume(float volume) = 0;
  /// The frame of the sound that is heard now, about.
  [[nodiscard]] virtual std::uint64_t position() const = 0;
  /// Whether the sound has come to its end, or the device has given up.
  [[nodiscard]] virtual bool hasEnded() const = 0;
};

/// The output of this machine. Opens nothing yet.
[[nodiscard]] std::unique_ptr<AudioOutput> makeAudioOutput();
/// Tests listen themselves.
void setAudioOutputMaker(std::function<std::unique_ptr<AudioOutput>()> maker);

} // namespace tessary
