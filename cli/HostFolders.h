#pragma once

#include <string>

namespace tessary::cli {

/// Sees to it that there is a folder of the host at the path: makes it, and those above it, where there is
/// none; a trial makes none. Throws CommandFailure where something else stands there, or it cannot be made.
void provideHostFolder(const std::string &path, bool isTrial);

} // namespace tessary::cli
