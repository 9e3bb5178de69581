#pragma once

#include "filesystem/EMU3Filesystem.h"

#include <optional>
#include <string>

namespace tessary {

/// Path of `name` in a folder of the host.
std::string pathInFolder(const std::string &folder, const std::string &name);

/// Writes a file's bytes into a folder of the host under the name that `exportedFileName` gives and returns
/// the path. Fails with code 5 when `directory` no longer holds the file: what its entry led to may be
/// another file's by now.
std::optional<std::string> exportIntoFolder(EMU3Filesystem &filesystem, const EMU3FilePtr &file,
                                            const EMU3DirectoryPtr &directory, const std::string &folder,
                                            EMU3Error *error = nullptr);

} // namespace tessary
