#include "app/DeletedFiles.h"

#include "app/DisplayText.h"
#include "app/PrivateFolder.h"
#include "filesystem/ItemsOperation.h"
#include "filesystem/SystemLog.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

namespace tessary {
namespace {

bool saysIncomplete(const EMU3Error &error) {
  return error.description() == engineError(EngineError::contentsIncomplete).description();
}

struct Backup {
  PlacedFile placed;
  DeletedFile kept;
};

/// Files of one name have backups of their own. What has none comes to the result.
std::vector<Backup> backUp(EMU3Filesystem &filesystem, const std::vector<PlacedFile> &files,
                           const std::string &folder, DeletionResult *result) {
  std::vector<Backup> backups;
  const auto operation = filesystem.manyItems();
  for (const PlacedFile &placed : files)
    operation->exportFileInto(placed.file, folder);
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) {
    const PlacedFile &placed = files[end.item];
    const std::string name = placed.file->name();
    EMU3Error error;
    if (end.error && saysIncomplete(*end.error))
      result->incomplete.push_back(placed);
    else if (end.error)
      result->failures.push_back(ItemFailure::of(name, *end.error));
    else if (const std::optional<EntryBytes> entry = filesystem.entryOfFile(placed.file, &error))
      backups.push_back({placed, {*entry, end.hostPath, placed.folder, name}});
    else
      result->failures.push_back(ItemFailure::of(name, error));
  };
  operation->run(watcher);
  return backups;
}

/// Whether a deletion that ended so took the file away. Logs why when it failed. Where only the marks of its
/// blocks could not be cleared the file is gone all the same.
bool isGone(const EMU3File &file, const std::optional<EMU3Error> &error) {
  if (!error) return true;
  systemLog("Delete failed for " + file.name() + ": " + error->description());
  return error->code != kErrorEntryNotFound && !file.folder();
}

} // namespace

std::vector<PlacedFile> placedFiles(const std::vector<EMU3FilePtr> &files) {
  std::vector<PlacedFile> placed;
  for (const EMU3FilePtr &file : files)
    if (const EMU3DirectoryPtr folder = file->folder()) placed.push_back({file, folder});
  return placed;
}

DeletionResult backUpAndDelete(EMU3Filesystem &filesystem, const std::vector<PlacedFile> &files) {
  DeletionResult result;
  std::vector<PlacedFile> there;
  std::copy_if(files.begin(), files.end(), std::back_inserter(there),
               [](const PlacedFile &placed) { return placed.folder->containsFile(placed.file); });
  const std::optional<std::string> folder = makePrivateFolder("EMU3Delete");
  if (!folder) {
    for (const PlacedFile &placed : there)
      result.failures.push_back(
          {displayText(placed.file->name()), QStringLiteral("There is no place for a backup")});
    return result;
  }
  std::vector<Backup> backups = backUp(filesystem, there, *folder, &result);
  const auto operation = filesystem.manyItems();
  for (const Backup &backup : backups)
    operation->deleteFile(backup.placed.file, backup.placed.folder);
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) {
    Backup &backup = backups[end.item];
    if (isGone(*backup.placed.file, end.error))
      result.deleted.push_back(std::move(backup.kept));
    else
      result.failures.push_back(ItemFailure::of(backup.kept.name, *end.error));
  };
  operation->run(watcher);
  return result;
}

bool deleteForGood(EMU3Filesystem &filesystem, const PlacedFile &placed) {
  EMU3Error error;
  const bool isDone = filesystem.deleteFile(placed.file, placed.folder, &error);
  return isGone(*placed.file, isDone ? std::nullopt : std::optional(error));
}

RestorationResult restoreFiles(EMU3Filesystem &filesystem, const std::vector<DeletedFile> &files) {
  RestorationResult result;
  const auto operation = filesystem.manyItems();
  for (const DeletedFile &file : files)
    operation->restoreFile(file.backup, file.entry, file.folder);
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) {
    const DeletedFile &file = files[end.item];
    if (!end.error) return result.restored.push_back({end.file, file.folder});
    systemLog("Restore import failed: " + end.error->description());
    result.failed.push_back(file);
    result.failures.push_back(ItemFailure::of(file.name, *end.error));
  };
  operation->run(watcher);
  for (const PlacedFile &restored : result.restored)
    filesystem.populateBankMetadata(restored.file);
  return result;
}

} // namespace tessary
