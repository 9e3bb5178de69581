#include "app/ImageQueues.h"

namespace tessary {
namespace {

/// Those of the program that were made; many of them have ended.
std::vector<std::weak_ptr<ImageQueues>> &known() {
  static std::vector<std::weak_ptr<ImageQueues>> queues;
  return queues;
}

} // namespace

ImageQueuesPtr ImageQueues::of(const EMU3FilesystemPtr &filesystem) {
  std::erase_if(known(), [](const std::weak_ptr<ImageQueues> &queues) { return queues.expired(); });
  auto made = std::make_shared<ImageQueues>(filesystem);
  known().push_back(made);
  return made;
}

std::vector<ImageQueuesPtr> ImageQueues::earlier() const {
  std::vector<ImageQueuesPtr> earlier;
  for (const std::weak_ptr<ImageQueues> &each : known()) {
    const ImageQueuesPtr queues = each.lock();
    if (queues.get() == this) break; // those after it were mounted later
    if (queues && queues->filesystem_->isOfSameImage(*filesystem_)) earlier.push_back(queues);
  }
  return earlier;
}

void ImageQueues::waitFor(const std::vector<ImageQueuesPtr> &queues) {
  for (const ImageQueuesPtr &each : queues) {
    each->changes_.waitUntilIdle();
    each->filesystem_->ioQueue().waitUntilIdle();
  }
}

} // namespace tessary
