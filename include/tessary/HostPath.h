#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

/// What the host tells about paths.
namespace tessary {

/// Tells one file of the host from every other, whatever its names: device and inode.
using HostFileId = std::pair<std::uint64_t, std::uint64_t>;

/// Of what stands at `path`, where that is a link of what it leads to. None where that is nothing.
[[nodiscard]] std::optional<HostFileId> fileAt(const std::string &path);
/// Whether not even a link stands at `path`.
[[nodiscard]] bool isNothingAt(const std::string &path);
/// What stands before the last name of `path`, with the "/"; empty for one in the current folder.
[[nodiscard]] std::string folderOf(const std::string &path);

} // namespace tessary
