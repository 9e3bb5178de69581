#include "app/PlacedFiles.h"

namespace tessary {

std::vector<PlacedFile> placedFiles(const std::vector<EMU3FilePtr> &files) {
  std::vector<PlacedFile> placed;
  for (const EMU3FilePtr &file : files)
    if (const EMU3DirectoryPtr folder = file->folder()) placed.push_back({file, folder});
  return placed;
}

} // namespace tessary
