#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QUrl>
#include <functional>
#include <memory>

namespace tessary {

/// The host copies of what one drag brings. They are made once, when another program first asks for them;
/// what came of it is told when the drag is over. They outlast the data that asks for them: a program that
/// waits no longer ends the drag, and the data with it. Main thread only.
class HostCopies final : public QObject, public std::enable_shared_from_this<HostCopies> {
  Q_OBJECT

public:
  using Pointer = std::shared_ptr<HostCopies>;
  /// Ends the making after the item in progress.
  using Stop = std::function<void()>;
  /// Begins to make them and returns at once; `made` is called when it has ended. Null where there is nothing
  /// to make.
  using Maker = std::function<Stop(const Pointer &)>;

  /// `maker` is called once at most, and only while `owner` lives.
  HostCopies(QObject *owner, Maker maker) : owner_(owner), maker_(std::move(maker)) {}

  /// Where they lie, in order; none where they were not made. The first to ask has them made. Waits until
  /// they are: events are handled meanwhile, but the user reaches only what `InputPause` leaves.
  QList<QUrl> urls();
  /// `tell` runs when the drag is over and nobody waits any more.
  void made(QList<QUrl> urls, std::function<void(const HostCopies &)> tell);

  // What becomes of the drag.
  void dragBegins() { isDragged_ = true; }
  /// `isDropped`: on another program, which said that it takes it.
  void dragEnds(bool isDropped);
  /// Nobody can ask any more.
  void dataIsGone();

  /// Whether the program that they were dropped on did not wait until they were made.
  bool cameTooLate() const { return isAbandoned_ && isDropped_; }
  bool isAbandoned() const { return isAbandoned_; }

signals:
  void ended();

private:
  enum class State { notAskedFor, beingMade, made };

  void begin();
  void wait();
  void tellWhenOver();

  const QPointer<QObject> owner_;
  const Maker maker_;
  State state_ = State::notAskedFor;
  QList<QUrl> urls_;
  Stop stop_;
  std::function<void(const HostCopies &)> tell_; ///< null when nothing is left to be told
  int waiting_ = 0;                              ///< askers
  bool isDragged_ = false;
  bool isDropped_ = false;
  bool isAbandoned_ = false; ///< while they were being made
};

using HostCopiesPtr = HostCopies::Pointer;

} // namespace tessary
