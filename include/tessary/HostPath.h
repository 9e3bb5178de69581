#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

/// What the host tells about paths.
namespace tessary {

/// Tells one file of the host from every other, whatever its names: device and inode.
using HostFileId = std::pair<std::uint64_t, std::uint64_t>;

/// The identity of the file at `path`; a link is followed. None where nothing stands there.
[[nodiscard]] std::optional<HostFileId> fileAt(const std::string &path);
/// Whether nothing stands at `path`, not even a link that leads nowhere.
[[nodiscard]] bool isNothingAt(const std::string &path);
/// The part of `path` before its last name, with the "/" at its end; empty for a name in the current folder.
[[nodiscard]] std::string folderOf(const std::string &path);

} // namespace tessary
