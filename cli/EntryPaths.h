#pragma once

#include "filesystem/EMU3Directory.h"

#include <string>

namespace tessary::cli {

/// The address of a folder of the tree: its path, or its place where the path would be long.
std::string folderAddress(const EMU3DirectoryPtr &directory);

/// The address of a file in that folder.
std::string fileAddress(const EMU3DirectoryPtr &directory, const EMU3File &file);

} // namespace tessary::cli
