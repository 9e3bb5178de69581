#include "app/ImageWork.h"

#include "app/MainQueue.h"
#include "app/Spinner.h"

namespace tessary {

ImageWork::ImageWork(Spinner *spinner, WorkBar *bar, QObject *parent)
    : QObject(parent), spinner_(spinner), longWork_(bar) {}

void ImageWork::setFilesystem(const EMU3FilesystemPtr &filesystem) {
  queues_ = filesystem ? ImageQueues::of(filesystem) : nullptr;
  waits_ = 0;
  const std::vector<ImageQueuesPtr> earlier = queues_ ? queues_->earlier() : std::vector<ImageQueuesPtr>();
  if (earlier.empty()) return;
  waitForEarlierWork(queues_->io(), earlier);
  waitForEarlierWork(queues_->changes(), earlier);
}

void ImageWork::waitForEarlierWork(SerialQueue &queue, const std::vector<ImageQueuesPtr> &earlier) {
  ++waits_;
  const auto wait = [earlier](EMU3Filesystem &) { ImageQueues::waitFor(earlier); };
  const auto ended = [this] {
    if (--waits_ == 0) emit earlierWorkEnded();
  };
  run(queue, {.work = completing(wait, ended)});
}

void ImageWork::stop() {
  *isStopped_ = true;
  longWork_.stop();
}

void ImageWork::runChange(Change change, std::function<void(const EMU3Error &)> failed, Completion ended) {
  const auto work = [change = std::move(change), failed = std::move(failed),
                     ended = std::move(ended)](EMU3Filesystem &filesystem) -> Completion {
    EMU3Error error;
    const Completion changed = change(filesystem, &error);
    return [changed, error, failed, ended] {
      if (changed)
        changed();
      else if (error.isSet())
        failed(error);
      ended();
    };
  };
  run(queues_->changes(), {.work = work, .spinning = Spinning::yes, .following = Following::always});
}

void ImageWork::run(SerialQueue &queue, Task task) {
  const bool isTask = task.kind == Kind::task;
  if (isTask) ++tasks_;
  if (task.spinning == Spinning::yes) spinner_->start();
  if (task.progress) longWork_.add(task.progress);
  const std::shared_ptr<const std::atomic<bool>> isStopped = task.beginsThoughStopped ? nullptr : isStopped_;
  // A task keeps the queues; who only reads is waited for by nobody.
  queue.async([self = QPointer(this), queues = isTask ? queues_ : nullptr, isStopped,
               filesystem = filesystem(), task = std::move(task)] {
    const Completion completion = isStopped && *isStopped ? Completion([] {}) : task.work(*filesystem);
    onMainQueue([self, filesystem, kind = task.kind, spinning = task.spinning, progress = task.progress,
                 following = task.following, completion] {
      if (!self) return;
      if (kind == Kind::task) --self->tasks_;
      if (progress) self->longWork_.remove(progress);
      if (spinning == Spinning::yes && self->spinner_) self->spinner_->stop();
      if (following == Following::always || filesystem == self->filesystem()) completion();
    });
  });
}

} // namespace tessary
