#pragma once

#include "filesystem/EntryPlace.h"

#include <string>
#include <vector>

/// What was kept of files and folders before they were deleted, so that they can come back as they were.
namespace tessary {

/// A file: its entry as it stood on the image, and the host file with its contents.
struct StoredFile {
  std::string hostPath;
  EntryBytes entry{};
};

/// A folder, its files and the folders in it, each in its order.
struct StoredFolder {
  EntryBytes entry{};
  std::vector<StoredFile> files{};
  std::vector<StoredFolder> folders{};
};

} // namespace tessary
