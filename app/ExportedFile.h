#pragma once

#include "filesystem/EMU3Filesystem.h"
#include "filesystem/ExportTargets.h"

#include <optional>
#include <string>

namespace tessary {

/// Writes a file's bytes into a folder of the host under the name that `exportedFileName` gives, numbered
/// where the command that has these targets has used that name before, and returns the path. Fails with code
/// 5 when `directory` no longer holds the file: what its entry led to may be another file's by now.
std::optional<std::string> exportIntoFolder(EMU3Filesystem &filesystem, const EMU3FilePtr &file,
                                            const EMU3DirectoryPtr &directory, const std::string &folder,
                                            ExportTargets *targets, EMU3Error *error = nullptr);

} // namespace tessary
