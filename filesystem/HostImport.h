#pragma once

#include "filesystem/EMU3Directory.h"
#include "filesystem/EMU3Error.h"
#include "filesystem/VolumeRules.h"

#include <optional>
#include <string>

/// Host files on their way into a volume: read here, before anything of the image is taken hold of. None,
/// with the error, where the host file cannot be read or the volume would refuse it whatever its contents.
/// `imagePath` leads to the volume's image; `toDirectory` is null as long as the folder is yet to be made.
namespace tessary {

/// What an import calls a host file or folder: `name`, cut to 15 UTF-16 code units.
[[nodiscard]] std::string nameForImport(const std::string &name);

/// A host file's bytes, under its name without extension.
[[nodiscard]] std::optional<NewFile> readForImport(Volume &volume, const std::string &imagePath,
                                                   const std::string &hostPath,
                                                   const EMU3DirectoryPtr &toDirectory, EMU3Error *error);

/// A host file's bytes for a deleted file that comes back, from the entry that it had.
[[nodiscard]] std::optional<NewFile> readForRestoration(Volume &volume, const std::string &imagePath,
                                                        const std::string &hostPath, const EntryBytes &entry,
                                                        const EMU3DirectoryPtr &toDirectory,
                                                        EMU3Error *error);

} // namespace tessary
