#pragma once

#include "app/FailuresAlert.h"
#include "filesystem/EMU3Filesystem.h"

#include <string>
#include <vector>

namespace tessary {

/// A file, and the folder that held it when the user chose it.
struct PlacedFile {
  EMU3FilePtr file;
  EMU3DirectoryPtr folder;
};
/// The files with the folders that hold them now.
std::vector<PlacedFile> placedFiles(const std::vector<EMU3FilePtr> &files);

/// What is kept of a deleted file, so that it can be brought back as it was.
struct DeletedFile {
  EntryBytes entry;        ///< as it stood on the image
  std::string backup;      ///< path of the host file with the contents
  EMU3DirectoryPtr folder; ///< that held it
  std::string name;
};

struct DeletionResult {
  std::vector<DeletedFile> deleted;
  /// Left alone: their contents are not all there, so they could not be brought back.
  std::vector<PlacedFile> incomplete;
  std::vector<ItemFailure> failures; ///< of the others that are still there
};

/// Deletes each file that can be backed up. One that cannot be stays, and so does one that the folder no
/// longer holds.
DeletionResult backUpAndDelete(EMU3Filesystem &filesystem, const std::vector<PlacedFile> &files);

/// Deletes a file without a backup. Logs why when it fails.
bool deleteForGood(EMU3Filesystem &filesystem, const PlacedFile &file);

struct RestorationResult {
  std::vector<PlacedFile> restored; ///< with their bank details read
  std::vector<DeletedFile> failed;
  std::vector<ItemFailure> failures; ///< why
};

/// Brings deleted files back into their folders. Logs why one could not be, and goes on.
RestorationResult restoreFiles(EMU3Filesystem &filesystem, const std::vector<DeletedFile> &files);

} // namespace tessary
