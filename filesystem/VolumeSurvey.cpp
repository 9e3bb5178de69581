#include "filesystem/VolumeSurvey.h"

#include <algorithm>

namespace tessary {

VolumeSurvey::VolumeSurvey(const Volume &volume, CheckProgress *progress)
    : geometry(volume.geometry()), folders(directoriesInPreOrder(volume.tree.root())),
      lost(lostGround(volume, progress)) {
  for (const EMU3DirectoryPtr &folder : folders) {
    for (const EMU3FilePtr &file : folder->allFiles()) {
      const std::uint64_t begin = geometry.contentsStartBlock(file->startCluster());
      files.push_back({{begin, begin + file->blocksInLastCluster()}, folder, file});
    }
    for (const std::int64_t block : folder->blockList()) {
      const auto number = static_cast<std::uint64_t>(block);
      if (number < geometry.totalBlocks) folderBlocks.push_back({number, folder});
    }
  }
  // Sorted in place, so that no second list of as many files is needed.
  std::sort(files.begin(), files.end(), [](const FileExtent &a, const FileExtent &b) {
    if (a.blocks.begin != b.blocks.begin) return a.blocks.begin < b.blocks.begin;
    return a.file->place() < b.file->place();
  });
  const auto byNumber = [](const FolderBlock &a, const FolderBlock &b) { return a.block < b.block; };
  std::stable_sort(folderBlocks.begin(), folderBlocks.end(), byNumber);
  const auto isSame = [](const FolderBlock &a, const FolderBlock &b) { return a.block == b.block; };
  folderBlocks.erase(std::unique(folderBlocks.begin(), folderBlocks.end(), isSame), folderBlocks.end());
  furthest_.reserve(files.size());
  for (std::size_t i = 0; i < files.size(); ++i) {
    const bool reachesFurther = i == 0 || files[i].blocks.end > files[furthest_.back()].blocks.end;
    furthest_.push_back(reachesFurther ? static_cast<std::uint32_t>(i) : furthest_.back());
  }
}

std::span<const FolderBlock> VolumeSurvey::folderBlocksIn(BlockSpan span) const {
  const auto isBelow = [](const FolderBlock &entry, std::uint64_t block) { return entry.block < block; };
  const auto first = std::lower_bound(folderBlocks.begin(), folderBlocks.end(), span.begin, isBelow);
  const auto end = std::lower_bound(first, folderBlocks.end(), std::max(span.begin, span.end), isBelow);
  return {first, end};
}

const FileExtent *VolumeSurvey::furthestBefore(std::uint64_t end) const {
  const auto after =
      std::lower_bound(files.begin(), files.end(), end, [](const FileExtent &extent, std::uint64_t block) {
        return extent.blocks.begin < block;
      });
  if (after == files.begin()) return nullptr;
  return &files[furthest_[static_cast<std::size_t>(after - files.begin()) - 1]];
}

const FileExtent *VolumeSurvey::fileIn(BlockSpan span) const {
  if (span.begin >= span.end) return nullptr;
  const FileExtent *const extent = furthestBefore(span.end);
  const bool isIn = extent && extent->blocks.end > std::max(span.begin, extent->blocks.begin);
  return isIn ? extent : nullptr;
}

} // namespace tessary
