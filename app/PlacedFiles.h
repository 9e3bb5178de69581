#pragma once

#include "tessary/EMU3Directory.h"
#include "tessary/EMU3File.h"

#include <vector>

namespace tessary {

/// A file, and the folder that held it when the user chose it.
struct PlacedFile {
  EMU3FilePtr file;
  EMU3DirectoryPtr folder;
};

/// The files with the folders that hold them now.
std::vector<PlacedFile> placedFiles(const std::vector<EMU3FilePtr> &files);

} // namespace tessary
