#include "app/HostCopies.h"

#include "app/InputPause.h"

#include <QEventLoop>
#include <QMetaObject>
#include <utility>

namespace tessary {

QList<QUrl> HostCopies::urls() {
  const Pointer self = shared_from_this();
  if (state_ == State::notAskedFor) begin();
  if (state_ == State::beingMade) wait();
  return urls_;
}

void HostCopies::begin() {
  state_ = State::beingMade;
  if (owner_) stop_ = maker_(shared_from_this());
  if (!stop_) state_ = State::made;
}

/// A program may ask again while it is waiting. Each time that is one event loop more in the others, so there
/// is an end to it.
void HostCopies::wait() {
  constexpr int mostAskers = 8;
  if (!owner_ || waiting_ == mostAskers) return;
  ++waiting_;
  {
    const InputPause pause;
    QEventLoop loop;
    connect(this, &HostCopies::ended, &loop, &QEventLoop::quit);
    connect(owner_, &QObject::destroyed, &loop, &QEventLoop::quit);
    loop.exec();
  }
  --waiting_;
  tellWhenOver();
}

void HostCopies::made(QList<QUrl> urls, std::function<void(const HostCopies &)> tell) {
  state_ = State::made;
  stop_ = nullptr;
  urls_ = std::move(urls);
  tell_ = std::move(tell);
  emit ended();
  tellWhenOver();
}

// ---- The drag

void HostCopies::dragEnds(bool isDropped) {
  isDragged_ = false;
  isDropped_ = isDropped;
  tellWhenOver();
}

void HostCopies::dataIsGone() {
  if (state_ != State::beingMade) return;
  isAbandoned_ = true;
  stop_();
}

/// Not at once: an alert would hold up the program that waits for the answer.
void HostCopies::tellWhenOver() {
  if (!tell_ || !owner_ || isDragged_ || waiting_ > 0) return;
  const auto tell = [self = shared_from_this(), tell = std::exchange(tell_, nullptr)] { tell(*self); };
  QMetaObject::invokeMethod(owner_, tell, Qt::QueuedConnection);
}

} // namespace tessary
