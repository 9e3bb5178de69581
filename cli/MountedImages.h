#pragma once

#include "tessary/EMU3Filesystem.h"

#include <string>

namespace tessary::cli {

/// Mounts the image at a path of the host. Throws CommandFailure, naming it, where it cannot be.
[[nodiscard]] EMU3FilesystemPtr mountImage(const std::string &path, MountRules rules, ImageClaim claim);

} // namespace tessary::cli
