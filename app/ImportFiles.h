#pragma once

#include "filesystem/EMU3Filesystem.h"

#include <QString>
#include <QStringList>
#include <cstddef>
#include <string>
#include <vector>

namespace tessary {

/// How the import of several host files went.
struct ImportResult {
  std::size_t chosen = 0;   ///< host files given
  std::size_t imported = 0; ///< of them
  EMU3Error lastError;      ///< of the last one that failed

  std::size_t failed() const { return chosen - imported; }
  /// What users read about the last failure; `unknown` when there is nothing to read.
  QString lastErrorText(const QString &unknown) const;
};

/// Imports each of the host files into the folder, in order; none keeps the others from being tried. Runs on
/// the I/O queue.
ImportResult importFiles(EMU3Filesystem &filesystem, const std::vector<std::string> &urls,
                         const EMU3DirectoryPtr &directory);

/// Host paths as the toolkit gives them, in the host's encoding.
std::vector<std::string> hostPaths(const QStringList &paths);

} // namespace tessary
