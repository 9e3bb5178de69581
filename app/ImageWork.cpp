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

void ImageWork::runChange(Change change, std::function<void(const EMU3Error &)> failed) {
  const auto work = [change = std::move(change),
                     failed = std::move(failed)](EMU3Filesystem &filesystem) -> Completion {
    EMU3Error error;
    if (Completion changed = change(filesystem, &error)) return changed;
    return [error, failed] {
      if (error.isSet()) failed(error);
    };
  };
  runBesideChanges(work, [](const Completion &completion) { completion(); });
}

void ImageWork::run(SerialQueue &queue, Work work, Kind kind, Spinning spinning,
                    const WorkProgressPtr &progress, Following following) {
  if (kind == Kind::task) ++tasks_;
  if (spinning == Spinning::yes) spinner_->start();
  if (progress) longWork_.add(progress);
  // A task keeps the queues; who only reads is waited for by nobody.
  queue.async([self = QPointer(this), queues = kind == Kind::task ? queues_ : nullptr, isStopped = isStopped_,
               filesystem = filesystem(), kind, spinning, progress, following, work = std::move(work)] {
    const Completion completion = *isStopped ? Completion([] {}) : work(*filesystem);
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
