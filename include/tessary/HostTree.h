#pragma once

#include "tessary/EMU3Error.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Looking at the host's files before they are read.
namespace tessary {

/// The paths of what is in a folder of the host, sorted by their bytes.
struct HostListing {
  std::vector<std::string> files; ///< all that are no folders; links to folders are among them
  std::vector<std::string> folders;
  std::optional<EMU3Error> failure; ///< why not all of it could be listed
};
[[nodiscard]] HostListing listHostFolder(const std::string &path);

/// Size in bytes; 0 where the host does not tell it.
[[nodiscard]] std::uint64_t sizeOfHostFile(const std::string &path);

} // namespace tessary
