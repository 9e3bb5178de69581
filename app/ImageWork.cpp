#include "app/ImageWork.h"

#include "app/MainQueue.h"
#include "app/Spinner.h"

namespace tessary {

ImageWork::ImageWork(Spinner *spinner, WorkBar *bar, QObject *parent)
    : QObject(parent), spinner_(spinner), longWork_(bar) {}

void ImageWork::setFilesystem(EMU3FilesystemPtr filesystem) {
  filesystem_ = std::move(filesystem);
  changeQueue_ = filesystem_ ? std::make_unique<SerialQueue>("com.tessary.change") : nullptr;
  lookQueue_ = filesystem_ ? std::make_unique<SerialQueue>("com.tessary.look") : nullptr;
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
  queue.async([self = QPointer(this), filesystem = filesystem_, kind, spinning, progress, following,
               work = std::move(work)] {
    const Completion completion = work(*filesystem);
    onMainQueue([self, filesystem, kind, spinning, progress, following, completion] {
      if (!self) return;
      if (kind == Kind::task) --self->tasks_;
      if (progress) self->longWork_.remove(progress);
      if (spinning == Spinning::yes && self->spinner_) self->spinner_->stop();
      if (following == Following::always || filesystem == self->filesystem_) completion();
    });
  });
}

} // namespace tessary
