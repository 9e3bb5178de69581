#include "app/DeletedFiles.h"

#include "app/PrivateFolder.h"
#include "filesystem/ExportTargets.h"
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

} // namespace

DeletionResult backUpAndDelete(EMU3Filesystem &filesystem, const std::vector<EMU3FilePtr> &files,
                               const EMU3DirectoryPtr &directory) {
  DeletionResult result;
  const std::optional<std::string> folder = makePrivateFolder("EMU3Delete");
  if (!folder) return result;
  ExportTargets backups;
  for (const EMU3FilePtr &file : files) {
    if (!directory->containsFile(file)) continue;
    EMU3Error error;
    std::optional<DeletedFile> deleted = backUp(filesystem, file, *folder, &backups, &error);
    if (deleted && deleteForGood(filesystem, file, directory))
      result.deleted.push_back(std::move(*deleted));
    else if (!deleted && saysIncomplete(error))
      result.incomplete.push_back(file);
  }
  return result;
}

bool deleteForGood(EMU3Filesystem &filesystem, const EMU3FilePtr &file, const EMU3DirectoryPtr &directory) {
  EMU3Error error;
  if (filesystem.deleteFile(file, directory, &error)) return true;
  systemLog("Delete failed for " + file->name() + ": " + error.description());
  // Where only the marks of its blocks could not be cleared the file is gone all the same.
  return error.code != kErrorEntryNotFound && !file->folder();
}

RestorationResult restoreFiles(EMU3Filesystem &filesystem, const std::vector<DeletedFile> &files,
                               const EMU3DirectoryPtr &directory) {
  RestorationResult result;
  for (const DeletedFile &file : files) {
    EMU3Error error;
    if (EMU3FilePtr restored = filesystem.restoreFileAtURL(file.backup, file.entry, directory, &error)) {
      result.restored.push_back(std::move(restored));
      continue;
    }
    systemLog("Restore import failed: " + error.description());
    result.failed.push_back(file);
  }
  return result;
}

} // namespace tessary
