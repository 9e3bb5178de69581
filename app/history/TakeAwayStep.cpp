#include "app/history/PresenceSteps.h"

#include "app/DisplayText.h"
#include "app/history/Removal.h"
#include "app/history/Whereabouts.h"
#include "tessary/ItemsOperation.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace tessary {
namespace {

void tellSteps(LastingItems &items, const KeptTree &gone) {
  for (const LastingFile &file : gone.files)
    if (file) items.deleted(file->object());
  for (const LastingFolder &folder : gone.folders)
    if (folder) items.deleted(folder->object());
}

} // namespace

Inventory inventoryOf(const EMU3DirectoryPtr &folder) {
  Inventory inventory;
  std::vector<std::pair<EMU3DirectoryPtr, std::string>> waiting{{folder, ""}};
  while (!waiting.empty()) {
    const auto [next, path] = std::move(waiting.back());
    waiting.pop_back();
    for (const EMU3FilePtr &file : next->allFiles())
      inventory.insert(path + file->name());
    for (const EMU3DirectoryPtr &below : next->subdirectories()) {
      waiting.emplace_back(below, path + below->name() + "/");
      inventory.insert(waiting.back().second);
    }
  }
  return inventory;
}

HistoryStepPtr TakeAwayStep::of(LastingItems &items, const std::vector<PlacedFile> &files) {
  std::vector<File> lasting;
  lasting.reserve(files.size());
  for (const PlacedFile &placed : files)
    lasting.push_back({items.of(placed.file), items.of(placed.folder)});
  return std::make_shared<TakeAwayStep>(std::move(lasting));
}

HistoryStepPtr TakeAwayStep::of(LastingItems &items, const EMU3DirectoryPtr &folder) {
  return std::make_shared<TakeAwayStep>(std::vector<File>(), std::vector<Folder>{{items.of(folder), {}}});
}

HistoryStepPtr TakeAwayStep::ofNew(LastingItems &items, const EMU3DirectoryPtr &folder) {
  return std::make_shared<TakeAwayStep>(std::vector<File>(),
                                        std::vector<Folder>{{items.of(folder), inventoryOf(folder)}});
}

/// What of them can be deleted; tells of the others.
ItemsToDelete TakeAwayStep::chosen(const EMU3Filesystem &filesystem, StepResult *result) const {
  ItemsToDelete toDelete;
  for (const File &each : files_) {
    const PlacedFile placed{each.file->object(), each.folder->object()};
    if (isThere(filesystem, placed))
      toDelete.files.push_back(placed);
    else
      result->leftOut.push_back(goneFailure(placed.file->name()));
  }
  for (const Folder &each : folders_) {
    const EMU3DirectoryPtr folder = each.folder->object();
    if (!isThere(filesystem, folder))
      result->leftOut.push_back(goneFailure(folder->name()));
    else if (!each.asItCame || *each.asItCame == inventoryOf(folder))
      toDelete.folders.push_back(folder);
    else
      result->failures.push_back(
          {displayText(folder->name()), QStringLiteral("It does not hold what came with it any more.")});
  }
  return toDelete;
}

/// Deletes what is still there; null for nothing.
HistoryStepPtr TakeAwayStep::rest(const EMU3Filesystem &filesystem) const {
  std::vector<File> files;
  std::vector<Folder> folders;
  for (const File &each : files_)
    if (isThere(filesystem, {each.file->object(), each.folder->object()})) files.push_back(each);
  for (const Folder &each : folders_)
    if (isThere(filesystem, each.folder->object())) folders.push_back(each);
  if (files.empty() && folders.empty()) return nullptr;
  return std::make_shared<TakeAwayStep>(std::move(files), std::move(folders));
}

void TakeAwayStep::sayIncomplete(Keeping *keeping, StepResult *result) const {
  result->incompleteFiles = std::move(keeping->incompleteFiles);
  result->incompleteFolders = std::move(keeping->incompleteFolders);
  const auto say = [&](const std::string &name, const QString &reason) {
    result->leftOut.push_back({displayText(name), reason});
  };
  for (const PlacedFile &placed : result->incompleteFiles)
    say(placed.file->name(),
        QStringLiteral("Its contents are incomplete, so it could not be brought back again."));
  for (const EMU3DirectoryPtr &folder : result->incompleteFolders)
    say(folder->name(), QStringLiteral("Contents of files in it are incomplete, so it could not be brought "
                                       "back again."));
}

StepResult TakeAwayStep::run(EMU3Filesystem &filesystem, LastingItems &items, WorkProgress &progress) const {
  StepResult result;
  const ItemsToDelete toDelete = chosen(filesystem, &result);
  const std::size_t fileCount = toDelete.fileCount();
  progress.beginPart(QStringLiteral("Copying for Undo"));
  Keeping keeping = keep(filesystem, items, toDelete, progress);
  result.failures.insert(result.failures.end(), keeping.failures.begin(), keeping.failures.end());
  sayIncomplete(&keeping, &result);
  const auto operation = filesystem.manyItems();
  for (const PlacedFile &placed : keeping.toDelete.files)
    operation->deleteFile(placed.file, placed.folder);
  for (const EMU3DirectoryPtr &folder : keeping.toDelete.folders)
    operation->deleteFolder(folder, folder->parent());
  std::vector<KeptTree> gone;
  progress.beginPart(QStringLiteral("Deleting"));
  ItemsWatcher watcher = progress.watch(*operation);
  watcher.ended = [&](const ItemEnd &end) {
    KeptTree &tree = keeping.trees[end.item];
    if (!isGone(filesystem, operation->item(end.item), tree.name, end.error))
      return result.failures.push_back(ItemFailure::of(tree.name, *end.error));
    tellSteps(items, tree);
    gone.push_back(std::move(tree));
  };
  operation->run(watcher);
  const bool isStopped = keeping.isStopped || isCutShort(*operation);
  result.outcome = {.done = fileCountOf(gone), .all = fileCount, .isStopped = isStopped};
  if (isStopped) result.incompleteFiles.clear(), result.incompleteFolders.clear(); // nothing more is asked
  result.status = doneText(QStringLiteral("Deleted"), gone, result.outcome);
  const auto title = [&](std::size_t failed) {
    return failuresTitle(QStringLiteral("Delete"), failed, files_.size() + folders_.size());
  };
  result.failed = title(result.failures.size());
  result.failedWithLeftOut = title(result.failures.size() + result.leftOut.size());
  result.rest = rest(filesystem);
  if (!gone.empty()) result.counterpart = std::make_shared<BringBackStep>(std::move(gone));
  return result;
}

} // namespace tessary
