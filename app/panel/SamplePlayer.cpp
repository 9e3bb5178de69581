#include "app/panel/SamplePlayer.h"

#include "app/MainQueue.h"

#include <QPointer>
#include <utility>

namespace tessary {

SamplePlayer::SamplePlayer(std::unique_ptr<AudioOutput> output, QObject *parent)
    : QObject(parent), output_(std::move(output)) {
  constexpr int millisecondsBetweenLooks = 16;
  timer_.setTimerType(Qt::PreciseTimer);
  timer_.setInterval(millisecondsBetweenLooks);
  timer_.callOnTimeout(this, &SamplePlayer::look);
}

SamplePlayer::~SamplePlayer() {
  stop();
}

void SamplePlayer::play(const Sound &sound) {
  const std::uint64_t number = ++*asked_;
  isPlaying_ = true;
  sounds_ = false;
  start_ = sound.start;
  queue_.async([self = QPointer(this), output = output_, asked = asked_, number, sound] {
    const auto isWanted = [&] { return *asked == number; };
    if (!isWanted()) return;
    QString problem;
    const bool sounds = output->play(sound, isWanted, &problem);
    onMainQueue([self, number, sounds, problem] {
      if (self) self->begun(number, sounds, problem);
    });
  });
}

void SamplePlayer::begun(std::uint64_t number, bool sounds, const QString &problem) {
  if (*asked_ != number) return;
  sounds_ = sounds;
  if (sounds) return timer_.start();
  isPlaying_ = false;
  emit failed(problem);
}

void SamplePlayer::stop() {
  ++*asked_;
  timer_.stop();
  if (!std::exchange(isPlaying_, false)) return;
  sounds_ = false;
  queue_.async([output = output_] { output->stop(); });
}

std::uint64_t SamplePlayer::position() const {
  return sounds_ ? output_->position() : start_;
}

void SamplePlayer::look() {
  const bool hasEnded = output_->hasEnded();
  emit moved(position());
  if (!hasEnded || !isPlaying_) return;
  stop();
  emit ended();
}

} // namespace tessary
