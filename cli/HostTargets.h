#pragma once

#include "filesystem/EMU3Error.h"
#include "filesystem/EMU3Filesystem.h"
#include "filesystem/ExportNames.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace tessary::cli {

/// Where one command writes its results on the host. Several results that would bear one name get " (2)",
/// " (3)" … before the extension, also where only the host takes their names for one (letter case, a link).
class HostTargets final {
public:
  /// The image of the volume is never a target.
  explicit HostTargets(const EMU3Filesystem &volume);

  /// The path, in a host folder, for a result of this name. An empty folder is the current one.
  std::string claim(const std::string &folder, const HostName &name);
  /// False, with an error, where writing to `path` would replace the image itself.
  bool mayWrite(const std::string &path, EMU3Error *error) const;
  /// Remembers what was written, or made, at `path`.
  void wrote(const std::string &path);

private:
  using FileId = std::pair<std::uint64_t, std::uint64_t>; ///< device and inode
  static bool identify(const std::string &path, FileId *id);

  FileId image_{};
  std::unordered_set<std::string> claimed_;
  std::unordered_map<std::string, std::size_t> lastTried_; ///< the number, by the path without one
  std::set<FileId> written_;
};

/// Throws CommandFailure when the path is no folder of the host.
void requireHostFolder(const std::string &path);

/// Makes a folder of the host; one that exists already will do.
bool makeHostFolder(const std::string &path, EMU3Error *error);

} // namespace tessary::cli
