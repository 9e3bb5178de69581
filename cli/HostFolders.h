#pragma once

#include <string>

namespace tessary::cli {

/// Throws CommandFailure when the path is no folder of the host.
void requireHostFolder(const std::string &path);

} // namespace tessary::cli
