#include "app/history/Arrivals.h"

#include "app/history/PresenceSteps.h"
#include "tessary/SystemLog.h"

#include <optional>
#include <utility>

namespace tessary {

Arrivals::Arrivals(EMU3Filesystem &filesystem)
    : filesystem_(filesystem), operation_(filesystem.manyItems()) {}

void Arrivals::ask(const std::function<void(ItemsOperation &operation)> &add) {
  firstItems_.push_back(operation_->progress().items);
  add(*operation_);
}

void Arrivals::mayUseFoldersIn(const EMU3DirectoryPtr &folder) {
  if (earlierFolders_.contains(folder)) return;
  for (const EMU3DirectoryPtr &earlier : directoriesInPreOrder(folder))
    earlierFolders_.insert(earlier);
}

void Arrivals::run(WorkProgress &progress, const char *logged) {
  ends_.resize(operation_->progress().items);
  ItemsWatcher watcher = progress.watch(*operation_);
  watcher.ended = [&](const ItemEnd &end) {
    ends_[end.item] = end;
    if (!end.error) return;
    if (logged) systemLog(logged + end.error->description());
    failures_.push_back(ItemFailure::of(nameOfItem(operation_->item(end.item)), *end.error));
  };
  operation_->run(watcher);
}

WorkOutcome Arrivals::outcome() const {
  WorkOutcome outcome{.failed = failures_.size(), .isStopped = isCutShort(*operation_)};
  for (std::size_t item = 0; item < ends_.size(); ++item) {
    if (operation_->item(item).isFolder) continue;
    ++outcome.all;
    if (fileOf(item)) ++outcome.done;
  }
  return outcome;
}

std::vector<EMU3FilePtr> Arrivals::filesIn(const EMU3DirectoryPtr &folder) const {
  std::vector<EMU3FilePtr> files;
  for (std::size_t item = 0; item < ends_.size(); ++item)
    if (const EMU3FilePtr file = fileOf(item); file && file->folder() == folder) files.push_back(file);
  for (const EMU3FilePtr &file : files)
    filesystem_.populateBankMetadata(file);
  return files;
}

EMU3DirectoryPtr Arrivals::folderOfAsked(std::size_t number) const {
  return folderOf(firstItems_[number]);
}

HistoryStepPtr Arrivals::takingAway(LastingItems &items) const {
  std::vector<TakeAwayStep::File> files;
  std::vector<TakeAwayStep::Folder> folders;
  std::unordered_set<EMU3DirectoryPtr> taken;
  for (std::size_t item = 0; item < ends_.size(); ++item) {
    const std::optional<std::size_t> parent = operation_->item(item).parent;
    if (parent && isNewFolder(*parent)) continue;
    if (const EMU3FilePtr file = fileOf(item); file && file->folder())
      files.push_back({items.of(file), items.of(file->folder())});
    else if (isNewFolder(item) && taken.insert(folderOf(item)).second)
      folders.push_back({items.of(folderOf(item)), inventoryOf(folderOf(item))});
  }
  if (files.empty() && folders.empty()) return nullptr;
  return std::make_shared<TakeAwayStep>(std::move(files), std::move(folders));
}

void Arrivals::forEachLeft(
    const std::function<void(std::size_t number)> &asked,
    const std::function<void(const Item &item, const EMU3DirectoryPtr &into)> &below) const {
  for (std::size_t item = 0, number = 0; item < ends_.size(); ++item) {
    while (number + 1 < firstItems_.size() && firstItems_[number + 1] <= item)
      ++number;
    if (fileOf(item) || folderOf(item)) continue;
    const Item &planned = operation_->item(item);
    if (!planned.parent)
      asked(number);
    else if (const EMU3DirectoryPtr folder = folderOf(*planned.parent))
      below(planned, folder);
  }
}

bool Arrivals::isNewFolder(std::size_t item) const {
  return folderOf(item) && !earlierFolders_.contains(folderOf(item));
}

} // namespace tessary
