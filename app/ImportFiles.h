#pragma once

#include "app/FailuresAlert.h"
#include "tessary/EMU3Filesystem.h"

#include <QStringList>
#include <string>
#include <vector>

namespace tessary {

/// How the import of several host files went.
struct ImportResult {
  std::vector<EMU3FilePtr> imported; ///< with their bank details read
  std::vector<ItemFailure> failures; ///< of the others, by the host files' names
};

/// Imports each of the host files into the folder, in order; none keeps the others from being tried. Runs on
/// the I/O queue.
ImportResult importFiles(EMU3Filesystem &filesystem, const std::vector<std::string> &urls,
                         const EMU3DirectoryPtr &directory);

/// Host paths as the toolkit gives them, in the host's encoding.
std::vector<std::string> hostPaths(const QStringList &paths);

} // namespace tessary
