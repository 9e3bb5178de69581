#pragma once

#include "filesystem/EMU3Filesystem.h"

#include <string>
#include <vector>

namespace tessary {

/// What is kept of a deleted file, so that it can be brought back as it was.
struct DeletedFile {
  EntryBytes entry;   ///< as it stood on the image
  std::string backup; ///< path of the host file with the contents
};

struct DeletionResult {
  std::vector<DeletedFile> deleted;
  /// Left alone: their contents are not all there, so they could not be brought back.
  std::vector<EMU3FilePtr> incomplete;
};

/// Deletes each file that can be backed up. One that cannot be stays, and so does one that the folder no
/// longer holds.
DeletionResult backUpAndDelete(EMU3Filesystem &filesystem, const std::vector<EMU3FilePtr> &files,
                               const EMU3DirectoryPtr &directory);

/// Deletes a file without a backup. Logs why when it fails.
bool deleteForGood(EMU3Filesystem &filesystem, const EMU3FilePtr &file, const EMU3DirectoryPtr &directory);

struct RestorationResult {
  std::vector<EMU3FilePtr> restored;
  std::vector<DeletedFile> failed;
};

/// Brings deleted files back into a folder. Logs why one could not be, and goes on.
RestorationResult restoreFiles(EMU3Filesystem &filesystem, const std::vector<DeletedFile> &files,
                               const EMU3DirectoryPtr &directory);

} // namespace tessary
