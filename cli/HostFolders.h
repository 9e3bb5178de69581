#pragma once

#include "filesystem/EMU3Error.h"

#include <string>

namespace tessary::cli {

/// Throws CommandFailure when the path is no folder of the host.
void requireHostFolder(const std::string &path);

/// Makes a folder of the host; one that exists already will do.
bool makeHostFolder(const std::string &path, EMU3Error *error);

} // namespace tessary::cli
