#include "filesystem/FileExtents.h"

#include "filesystem/DiskFormat.h"

#include <algorithm>
#include <unordered_set>

namespace tessary {

using namespace format;

void FileExtents::add(const EMU3File &file, const VolumeGeometry &geometry) {
  if (file.isDeleted() || file.blocksInLastCluster() == 0) return;
  const std::uint64_t first = geometry.contentsStartBlock(file.startCluster());
  extents_.emplace_back(first, first + file.blocksInLastCluster());
}

std::vector<std::int64_t> FileExtents::thoseOf(const std::set<std::int64_t> &blocks) {
  std::sort(extents_.begin(), extents_.end());
  std::vector<std::int64_t> found;
  auto extent = extents_.begin();
  std::uint64_t furthestEnd = 0;
  for (const std::int64_t block : blocks) {
    const auto number = static_cast<std::uint64_t>(block);
    for (; extent != extents_.end() && extent->first <= number; ++extent)
      furthestEnd = std::max(furthestEnd, extent->second);
    if (number < furthestEnd) found.push_back(block);
  }
  return found;
}

bool isInContents(const Volume &volume, std::int64_t block, const OwnFiles &own) {
  const VolumeGeometry geometry = volume.geometry();
  const auto number = static_cast<std::uint64_t>(block);
  if (number < geometry.dataAreaBlock || number == geometry.rootDirBlock) return false;
  std::unordered_set<EMU3DirectoryPtr> ownFolders;
  if (own.below) {
    const std::vector<EMU3DirectoryPtr> below = directoriesInPreOrder(own.below);
    ownFolders.insert(below.begin(), below.end());
  }
  FileExtents files;
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(volume.tree.root())) {
    if (ownFolders.contains(folder)) continue;
    folder->lookAtFiles([&](const EMU3File &file) {
      if (&file != own.file.get()) files.add(file, geometry);
    });
  }
  return !files.thoseOf({block}).empty();
}

} // namespace tessary
