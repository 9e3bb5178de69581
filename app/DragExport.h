#pragma once

#include "tessary/EMU3Filesystem.h"

#include <optional>
#include <string>
#include <vector>

/// Host copies of what is dragged, each in a private folder of its own; nothing removes them. What cannot be
/// exported is left out and logged. Main thread only; events are handled meanwhile, but for the user's.
namespace tessary {

/// The paths of the copies, in the order of the files.
std::vector<std::string> exportForDrag(const EMU3FilesystemPtr &image, const std::vector<EMU3FilePtr> &files);
/// With its tree. The path of its copy; none when that was not made.
std::optional<std::string> exportForDrag(const EMU3FilesystemPtr &image, const EMU3DirectoryPtr &folder);

} // namespace tessary
