#pragma once

#include "app/panel/AudioOutput.h"
#include "tessary/SerialQueue.h"

#include <QObject>
#include <QString>
#include <QTimer>
#include <atomic>
#include <cstdint>
#include <memory>

namespace tessary {

/// Plays one sound at a time, and tells how it goes. Main thread only; the output works on a queue of its
/// own, so nothing here waits for a device.
class SamplePlayer final : public QObject {
  Q_OBJECT

public:
  explicit SamplePlayer(std::unique_ptr<AudioOutput> output, QObject *parent = nullptr);
  ~SamplePlayer() override;

  /// In place of what plays.
  void play(const Sound &sound);
  void stop();
  /// From `play` on to the end, `stop` or a failure.
  [[nodiscard]] bool isPlaying() const { return isPlaying_; }
  /// The frame that is heard.
  [[nodiscard]] std::uint64_t position() const;
  /// From 0 to 1.
  void setVolume(float volume) { output_->setVolume(volume); }

signals:
  /// Another frame is heard, every now and then.
  void moved(std::uint64_t frame);
  /// The sound has been heard to its end.
  void ended();
  void failed(const QString &problem);

private:
  void begun(std::uint64_t number, bool sounds, const QString &problem);
  void look();

  const std::shared_ptr<AudioOutput> output_;
  SerialQueue queue_{"com.tessary.sound"};
  /// Counts what was asked for: what is not the last of it any more does not begin to sound.
  const std::shared_ptr<std::atomic<std::uint64_t>> asked_ = std::make_shared<std::atomic<std::uint64_t>>(0);
  bool isPlaying_ = false;
  bool sounds_ = false; ///< the device has begun
  std::uint64_t start_ = 0;
  QTimer timer_;
};

} // namespace tessary
