#include "app/DeletedFiles.h"

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
  EMU3FilePtr file;
  DeletedFile kept;
};

/// Files of one name have backups of their own. Those whose contents are not all there come to `incomplete`.
std::vector<Backup> backUp(EMU3Filesystem &filesystem, const std::vector<EMU3FilePtr> &files,
                           const std::string &folder, std::vector<EMU3FilePtr> *incomplete) {
  std::vector<Backup> backups;
  const auto operation = filesystem.manyItems();
  for (const EMU3FilePtr &file : files)
    operation->exportFileInto(file, folder);
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) {
    const EMU3FilePtr &file = files[end.item];
    if (end.error && saysIncomplete(*end.error)) incomplete->push_back(file);
    if (end.error) return;
    if (const std::optional<EntryBytes> entry = filesystem.entryOfFile(file))
      backups.push_back({file, {*entry, end.hostPath}});
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

DeletionResult backUpAndDelete(EMU3Filesystem &filesystem, const std::vector<EMU3FilePtr> &files,
                               const EMU3DirectoryPtr &directory) {
  DeletionResult result;
  const std::optional<std::string> folder = makePrivateFolder("EMU3Delete");
  if (!folder) return result;
  std::vector<EMU3FilePtr> there;
  std::copy_if(files.begin(), files.end(), std::back_inserter(there),
               [&](const EMU3FilePtr &file) { return directory->containsFile(file); });
  std::vector<Backup> backups = backUp(filesystem, there, *folder, &result.incomplete);
  const auto operation = filesystem.manyItems();
  for (const Backup &backup : backups)
    operation->deleteFile(backup.file, directory);
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) {
    Backup &backup = backups[end.item];
    if (isGone(*backup.file, end.error)) result.deleted.push_back(std::move(backup.kept));
  };
  operation->run(watcher);
  return result;
}

bool deleteForGood(EMU3Filesystem &filesystem, const EMU3FilePtr &file, const EMU3DirectoryPtr &directory) {
  EMU3Error error;
  const bool isDone = filesystem.deleteFile(file, directory, &error);
  return isGone(*file, isDone ? std::nullopt : std::optional(error));
}

RestorationResult restoreFiles(EMU3Filesystem &filesystem, const std::vector<DeletedFile> &files,
                               const EMU3DirectoryPtr &directory) {
  RestorationResult result;
  const auto operation = filesystem.manyItems();
  for (const DeletedFile &file : files)
    operation->restoreFile(file.backup, file.entry, directory);
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) {
    if (!end.error) return result.restored.push_back(end.file);
    systemLog("Restore import failed: " + end.error->description());
    result.failed.push_back(files[end.item]);
  };
  operation->run(watcher);
  return result;
}

} // namespace tessary
