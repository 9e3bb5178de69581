#include "app/DeletedFiles.h"

#include "app/PrivateFolder.h"
#include "filesystem/ExportTargets.h"
#include "filesystem/ItemsOperation.h"
#include "filesystem/SystemLog.h"

#include <optional>
#include <utility>

namespace tessary {
namespace {

bool saysIncomplete(const EMU3Error &error) {
  return error.description() == engineError(EngineError::contentsIncomplete).description();
}

/// Files of one name have backups of their own.
std::optional<DeletedFile> backUp(EMU3Filesystem &filesystem, const EMU3FilePtr &file,
                                  const std::string &folder, ExportTargets *backups, EMU3Error *error) {
  const std::string path = backups->claim(folder, exportedFileName(file->name()));
  if (!filesystem.exportFile(file, path, error)) return std::nullopt;
  backups->wrote(path);
  const std::optional<EntryBytes> entry = filesystem.entryOfFile(file, error);
  if (!entry) return std::nullopt;
  return DeletedFile{*entry, path};
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
  ExportTargets backups;
  std::vector<DeletedFile> backedUp;
  std::vector<EMU3FilePtr> toDelete; // the files of these
  const auto operation = filesystem.manyItems();
  for (const EMU3FilePtr &file : files) {
    if (!directory->containsFile(file)) continue;
    EMU3Error error;
    std::optional<DeletedFile> backup = backUp(filesystem, file, *folder, &backups, &error);
    if (!backup) {
      if (saysIncomplete(error)) result.incomplete.push_back(file);
      continue;
    }
    backedUp.push_back(std::move(*backup));
    toDelete.push_back(file);
    operation->deleteFile(file, directory);
  }
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) {
    if (isGone(*toDelete[end.item], end.error)) result.deleted.push_back(std::move(backedUp[end.item]));
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
