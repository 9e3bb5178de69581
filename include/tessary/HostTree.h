#pragma once

#include "tessary/EMU3Error.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Looking at the host's files before they are read.
namespace tessary {

/// What is in a folder of the host, by paths, in the order of their bytes.
struct HostListing {
  std::vector<std::string> files; ///< whatever is no folder, links to folders too
  std::vector<std::string> folders;
  std::optional<EMU3Error> failure; ///< why not all of it could be listed
};
[[nodiscard]] HostListing listHostFolder(const std::string &path);

/// Bytes; 0 where nothing can be said.
[[nodiscard]] std::uint64_t sizeOfHostFile(const std::string &path);

} // namespace tessary
