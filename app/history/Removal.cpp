#include "app/history/Removal.h"

#include "app/history/Whereabouts.h"
#include "tessary/SystemLog.h"

#include <memory>
#include <vector>

namespace tessary {
namespace {

std::optional<EMU3Error> run(EMU3Filesystem &filesystem, ItemsOperation &operation, const std::string &name,
                             WorkProgress &progress) {
  progress.beginPart(QStringLiteral("Deleting"));
  std::optional<EMU3Error> failure;
  ItemsWatcher watcher = progress.watch(operation);
  watcher.isToStop = nullptr; // one item
  watcher.ended = [&](const ItemEnd &end) {
    if (!isGone(filesystem, operation.item(end.item), name, end.error)) failure = end.error;
  };
  operation.run(watcher);
  return failure;
}

} // namespace

bool isGone(const EMU3Filesystem &filesystem, const Item &item, const std::string &name,
            const std::optional<EMU3Error> &error) {
  if (!error) return true;
  systemLog("Delete failed for " + name + ": " + error->description());
  const bool isHeld = item.file ? item.file->folder() != nullptr : isThere(filesystem, item.folder);
  return error->code != kErrorEntryNotFound && !isHeld;
}

std::optional<EMU3Error> removeForGood(EMU3Filesystem &filesystem, LastingItems &items,
                                       const PlacedFile &placed, WorkProgress &progress) {
  const auto operation = filesystem.manyItems();
  operation->deleteFile(placed.file, placed.folder);
  std::optional<EMU3Error> failure = run(filesystem, *operation, placed.file->name(), progress);
  if (!failure) items.deleted(placed.file);
  return failure;
}

std::optional<EMU3Error> removeForGood(EMU3Filesystem &filesystem, LastingItems &items,
                                       const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &parent,
                                       WorkProgress &progress) {
  const std::vector<EMU3DirectoryPtr> folders = directoriesInPreOrder(folder);
  std::vector<EMU3FilePtr> files;
  for (const EMU3DirectoryPtr &each : folders)
    for (const EMU3FilePtr &file : each->allFiles())
      files.push_back(file);
  const auto operation = filesystem.manyItems();
  operation->deleteFolder(folder, parent);
  std::optional<EMU3Error> failure = run(filesystem, *operation, folder->name(), progress);
  if (failure) return failure;
  for (const EMU3DirectoryPtr &each : folders)
    items.deleted(each);
  for (const EMU3FilePtr &file : files)
    items.deleted(file);
  return failure;
}

} // namespace tessary
