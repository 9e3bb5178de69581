#pragma once

#include "app/ImageQueues.h"
#include "app/progress/LongWork.h"
#include "tessary/EMU3Filesystem.h"

#include <QObject>
#include <QPointer>
#include <atomic>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace tessary {

class Spinner;

/// The mounted image, and the one way in which the window works on it off the main thread. Main thread only.
///
/// What follows a piece of work runs on the main thread, and unless it is said otherwise only while the image
/// that it was done on is still the one that is mounted.
class ImageWork final : public QObject {
  Q_OBJECT

public:
  /// Whether the spinner turns until the work is done.
  enum class Spinning { no, yes };
  /// What the user has asked for, or what is read only to be shown.
  enum class Kind { task, reading };
  /// What follows on the main thread.
  using Completion = std::function<void()>;
  /// Changes the image and tells what follows: nothing when it has failed, or when there was nothing to do.
  using Change = std::function<Completion(EMU3Filesystem &filesystem, EMU3Error *error)>;

  /// Long work is shown in the bar.
  ImageWork(Spinner *spinner, WorkBar *bar, QObject *parent = nullptr);

  /// Null when no image is mounted.
  EMU3FilesystemPtr filesystem() const { return queues_ ? queues_->filesystem() : nullptr; }
  /// Where tasks of an earlier mount of the same image have not ended, in this window or another, those that
  /// are given from now on wait for them.
  void setFilesystem(const EMU3FilesystemPtr &filesystem);
  /// Whether that is so now.
  bool waitsForEarlierWork() const { return waits_ > 0; }
  /// Whether a task waits or runs: on this image, or on one that was mounted before.
  bool isWorking() const { return tasks_ > 0; }

  /// Runs `work(filesystem)` on the image's I/O queue, behind what waits there, then `done(its result)`.
  template <typename Work, typename Done>
  void runOnImage(Work work, Done done, Spinning spinning = Spinning::no) {
    run(queues_->io(), {.work = completing(std::move(work), std::move(done)), .spinning = spinning});
  }
  /// The same with work that may take long, `work(filesystem, progress)`: it tells how far it is, and ends
  /// after the item in progress when the user stops it.
  template <typename Work, typename Done>
  void runLongWork(Work work, Done done, Spinning spinning = Spinning::no) {
    const auto progress = std::make_shared<WorkProgress>();
    run(queues_->io(), {.work = completing(beginning(progress, std::move(work)), std::move(done)),
                        .spinning = spinning,
                        .progress = progress});
  }
  /// Long work that changes the image: also behind the single changes that were given before it. `done` runs
  /// though the image is not mounted any more.
  template <typename Work, typename Done>
  void runLongChange(Work work, Done done, Spinning spinning, WorkProgress::AtEnd atEnd) {
    const auto progress = std::make_shared<WorkProgress>(atEnd);
    const auto inOrder = [queues = queues_,
                          work = beginning(progress, std::move(work))](EMU3Filesystem &filesystem) {
      queues->changes().waitUntilIdle();
      return work(filesystem);
    };
    run(queues_->io(), {.work = completing(inOrder, std::move(done)),
                        .spinning = spinning,
                        .progress = progress,
                        .following = Following::always,
                        .beginsThoughStopped = atEnd == WorkProgress::AtEnd::finishes});
  }
  /// Long work on a queue of the caller's, beside what is queued on the image: somebody waits for it, so the
  /// bar shows it before other work, and it always comes to an end, be it stopped. Returns what stops it.
  template <typename Work, typename Done>
  WorkProgressPtr runLongWorkBeside(SerialQueue &queue, Work work, Done done) {
    auto progress = std::make_shared<WorkProgress>();
    run(queue, {.work = completing(beginning(progress, std::move(work)), std::move(done)),
                .progress = progress,
                .following = Following::always,
                .beginsThoughStopped = true});
    longWork_.showFirst(progress);
    if (*isStopped_) progress->stop();
    return progress;
  }
  /// Runs what is read to be shown there: nothing is lost when nobody waits for it any more.
  template <typename Work, typename Done> void readFromImage(Work work, Done done) {
    run(queues_->io(), {.work = completing(std::move(work), std::move(done)), .kind = Kind::reading});
  }
  /// Asks all work to stop, be it on an image that is no longer mounted: long work after the item in
  /// progress. What waits for its turn does not begin, and nothing follows it. Work that is to finish does.
  void stop();

  /// A look at the image that the user waits for: not behind the I/O queue's long work.
  template <typename Work, typename Done> void lookAtImage(Work work, Done done) {
    run(queues_->looks(), {.work = completing(std::move(work), std::move(done)),
                           .kind = Kind::reading,
                           .spinning = Spinning::yes});
  }
  /// A single change, which may wait for a slow medium: beside the I/O queue, one after another, in order.
  /// `failed` gets an error that it comes with, `ended` follows in any case. All of that runs though the
  /// image is not mounted any more.
  void runChange(Change change, std::function<void(const EMU3Error &)> failed, Completion ended);
  /// Other work that must come in order with those changes.
  template <typename Work, typename Done> void runBesideChanges(Work work, Done done) {
    run(queues_->changes(),
        {.work = completing(std::move(work), std::move(done)), .spinning = Spinning::yes});
  }

signals:
  /// What the mounted image's tasks had to wait for is done; the image may hold other things than before.
  void earlierWorkEnded();

private:
  using Work = std::function<Completion(EMU3Filesystem &)>;
  /// When what follows runs: while the image is still mounted, or in any case.
  enum class Following { whileMounted, always };
  struct Task {
    Work work;
    Kind kind = Kind::task;
    Spinning spinning = Spinning::no;
    WorkProgressPtr progress{}; ///< of long work; null for other work
    Following following = Following::whileMounted;
    bool beginsThoughStopped = false;
  };

  template <typename LongFunction> static auto beginning(const WorkProgressPtr &progress, LongFunction work) {
    return [progress, work = std::move(work)](EMU3Filesystem &filesystem) {
      progress->begin();
      return work(filesystem, *progress);
    };
  }
  template <typename Function, typename Done> static Work completing(Function work, Done done) {
    return [work = std::move(work), done = std::move(done)](EMU3Filesystem &filesystem) -> Completion {
      using Result = std::invoke_result_t<const Function &, EMU3Filesystem &>;
      if constexpr (std::is_void_v<Result>) {
        work(filesystem);
        return done;
      } else {
        return [done, result = std::make_shared<const Result>(work(filesystem))] { done(*result); };
      }
    };
  }
  void waitForEarlierWork(SerialQueue &queue, const std::vector<ImageQueuesPtr> &earlier);
  void run(SerialQueue &queue, Task task);

  QPointer<Spinner> spinner_;
  LongWork longWork_;
  ImageQueuesPtr queues_; ///< of the mounted image; null for none
  const std::shared_ptr<std::atomic<bool>> isStopped_ = std::make_shared<std::atomic<bool>>(false);
  int tasks_ = 0; ///< whose completion has not come back yet
  int waits_ = 0; ///< queues of the mounted image that wait for earlier work
};

} // namespace tessary
