#pragma once

#include "tessary/ExportNames.h"
#include "tessary/HostPath.h"
#include "tessary/ItemsWatcher.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace tessary {

/// The host files that one command writes its results to. Of several results that would bear one name the
/// later ones get " (2)", " (3)" … before the extension, also where only the host takes two names for one
/// (letter case, a link).
class ExportTargets final {
public:
  void setOptions(const ExportOptions &options) { options_ = options; }
  [[nodiscard]] const ExportOptions &options() const { return options_; }

  /// A path that a result may have.
  struct Claim {
    std::string path;
    bool isFree = false; ///< nothing stood there when it was looked at
  };

  /// The path, in a host folder, for a result of this name. An empty folder is the current one.
  [[nodiscard]] Claim claim(const std::string &folder, const HostName &name);
  /// One where nothing is yet. Where the host cannot tell, the path is not free: writing there tells why.
  [[nodiscard]] Claim claimFree(const std::string &folder, const HostName &name);
  /// `path` with the first number before its extension with which nothing stands there: for a result that
  /// cannot have the path that was asked for.
  [[nodiscard]] std::string freeBeside(const std::string &path);
  /// Remembers a folder that was made, or taken, at `path`.
  void wrote(const std::string &path);
  /// Remembers a file that was written.
  void wrote(const HostFileId &file) { written_.insert(file); }
  /// Whether what stands at `path` was written, or made, by the command.
  [[nodiscard]] bool isWritten(const std::string &path) const;

private:
  ExportOptions options_;
  std::unordered_set<std::string> claimed_;
  std::unordered_map<std::string, std::size_t> lastTried_; ///< highest number, by the path without it
  std::set<HostFileId> written_;
};

} // namespace tessary
