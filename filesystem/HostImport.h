#pragma once

#include "filesystem/VolumeRules.h"
#include "tessary/EMU3Directory.h"
#include "tessary/EMU3Error.h"

#include <optional>
#include <string>

/// Host files on their way into a volume: read here, before anything of the image is taken hold of. None,
/// with the error, where the host file cannot be read or the volume would refuse it whatever its contents.
/// `imagePath` leads to the volume's image; `toDirectory` is null as long as the folder is yet to be made.
namespace tessary {

/// What is imported, and as what.
struct ImportSource {
  std::string hostPath{};            ///< of a host file; empty where `bytes` are given
  std::optional<std::string> name{}; ///< that was asked for; none for the host file's own without extension
  ByteBufferPtr bytes{};
  bool isRegular = false; ///< the host file has been seen to be a regular one
};

/// What an import calls a host file or folder: `name`, cut to 15 UTF-16 code units.
[[nodiscard]] std::string nameForImport(const std::string &name);

/// The name of the file that comes of a source; a name that was asked for is taken as it is.
[[nodiscard]] std::string nameForImport(const ImportSource &source);

/// A source's bytes, under its name.
[[nodiscard]] std::optional<NewFile> readForImport(Volume &volume, const std::string &imagePath,
                                                   const ImportSource &importSource,
                                                   const EMU3DirectoryPtr &toDirectory, EMU3Error *error);

/// A host file's bytes for a deleted file that comes back, from the entry that it had.
[[nodiscard]] std::optional<NewFile> readForRestoration(Volume &volume, const std::string &imagePath,
                                                        const std::string &hostPath, const EntryBytes &entry,
                                                        const EMU3DirectoryPtr &toDirectory,
                                                        EMU3Error *error);

} // namespace tessary
