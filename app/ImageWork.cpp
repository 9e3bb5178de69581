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
  run(queue, completing(wait, ended), Kind::task, Spinning::no);
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
  run(queues_->changes(), work, Kind::task, Spinning::yes, nullptr, Following::always);
}

void ImageWork::run(SerialQueue &queue, Work work, Kind kind, Spinning spinning,
                    const WorkProgressPtr &progress, Following following) {
  if (kind == Kind::task) ++tasks_;
  if (spinning == Spinning::yes) spinner_->start();
  if (progress) longWork_.add(progress);
  // A task keeps the queues; who only reads is waited for by nobody.
  const bool isToFinish = progress && progress->atEnd() == WorkProgress::AtEnd::finishes;
  const std::shared_ptr<const std::atomic<bool>> isStopped = isToFinish ? nullptr : isStopped_;
  queue.async([self = QPointer(this), queues = kind == Kind::task ? queues_ : nullptr, isStopped,
               filesystem = filesystem(), kind, spinning, progress, following, work = std::move(work)] {
    const Completion completion = isStopped && *isStopped ? Completion([] {}) : work(*filesystem);
    onMainQueue([self, filesystem, kind, spinning, progress, following, completion] {
      if (!self) return;
      if (kind == Kind::task) --self->tasks_;
      if (progress) self->longWork_.remove(progress);
      if (spinning == Spinning::yes && self->spinner_) self->spinner_->stop();
      if (following == Following::always || filesystem == self->filesystem()) completion();
    });
  });
}

} // namespace tessary
