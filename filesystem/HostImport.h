#pragma once

#include "filesystem/EMU3Directory.h"
#include "filesystem/EMU3Error.h"
#include "filesystem/FileChanges.h"
#include "filesystem/HostFile.h"

#include <memory>
#include <string>

/// Host files on their way into a volume: read here, before anything of the image is taken hold of. Null,
/// with the error, where the host file cannot be read or the volume would refuse it whatever its contents.
namespace tessary {

/// Stores a host file's bytes under its name without extension, cut to 15 UTF-16 code units. `imagePath`
/// leads to the volume's image.
[[nodiscard]] std::unique_ptr<StoreFile> importOf(Volume &volume, const std::string &imagePath,
                                                  const std::string &hostPath,
                                                  const EMU3DirectoryPtr &toDirectory, EMU3Error *error);

/// Brings a deleted file back with a host file's bytes, from the entry that it had.
[[nodiscard]] std::unique_ptr<StoreFile> restorationOf(Volume &volume, const std::string &imagePath,
                                                       const std::string &hostPath, const EntryBytes &entry,
                                                       const EMU3DirectoryPtr &toDirectory, EMU3Error *error);

} // namespace tessary
