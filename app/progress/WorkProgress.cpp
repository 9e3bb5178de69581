#include "app/progress/WorkProgress.h"

#include "tessary/ItemsOperation.h"
#include "tessary/Text.h"

#include <utility>

namespace tessary {

std::string nameOfItem(const Item &item) {
  if (item.file) return item.file->name();
  if (item.folder) return item.folder->name();
  return lastPathComponent(item.hostPath);
}

void WorkProgress::begin(Clock::time_point now) {
  const MutexLock lock(mutex_);
  begun_ = now;
}

void WorkProgress::beginPart(const QString &doing) {
  const MutexLock lock(mutex_);
  figures_ = {.doing = doing, .part = figures_.part + 1};
}

void WorkProgress::setItem(const std::string &item) {
  const MutexLock lock(mutex_);
  figures_.item = item;
}

void WorkProgress::setBytes(std::uint64_t done, std::uint64_t all) {
  const MutexLock lock(mutex_);
  figures_.done = done;
  figures_.all = all;
  figures_.areBytes = true;
}

void WorkProgress::setProgress(const ItemsProgress &progress) {
  if (progress.bytes > 0) return setBytes(progress.bytesDone, progress.bytes);
  const MutexLock lock(mutex_);
  figures_.done = progress.itemsEnded;
  figures_.all = progress.items;
  figures_.areBytes = false;
}

ItemsWatcher WorkProgress::watch(const ItemsOperation &operation,
                                 std::function<std::string(std::size_t)> nameOf) {
  setProgress(operation.progress());
  ItemsWatcher watcher;
  watcher.began = [this, &operation, nameOf = std::move(nameOf)](std::size_t item) {
    setItem(nameOf ? nameOf(item) : nameOfItem(operation.item(item)));
  };
  watcher.progressed = [this](const ItemsProgress &progress) { setProgress(progress); };
  watcher.isToStop = [this] { return isToStop(); };
  return watcher;
}

std::optional<WorkProgress::Clock::time_point> WorkProgress::begun() const {
  const MutexLock lock(mutex_);
  return begun_;
}

WorkProgress::Figures WorkProgress::figures() const {
  const MutexLock lock(mutex_);
  return figures_;
}

bool isCutShort(const ItemsOperation &operation) {
  return operation.progress().itemsEnded < operation.progress().items;
}

} // namespace tessary
