#pragma once

#include "filesystem/BlockSpan.h"
#include "filesystem/FolderRecovery.h"
#include "filesystem/Volume.h"
#include "tessary/EMU3Directory.h"

#include <cstdint>
#include <span>
#include <vector>

namespace tessary {

/// The contents of a live file as its entry claims them; they may lie outside the image.
struct FileExtent {
  BlockSpan blocks;
  EMU3DirectoryPtr folder;
  EMU3FilePtr file;
};

/// A block that a folder lists.
struct FolderBlock {
  std::uint64_t block = 0;
  EMU3DirectoryPtr folder; ///< the first one in the order of the parse
};

/// What lies where on a volume, as its tree says: made once for a check, in memory and time in proportion to
/// folders and files. Of use only where `progress` has not stopped it.
class VolumeSurvey final {
public:
  VolumeSurvey(const Volume &volume, CheckProgress *progress) TESSARY_REQUIRES_SHARED(volume.lock);

  const VolumeGeometry geometry;
  const std::vector<EMU3DirectoryPtr> folders;
  std::vector<FileExtent> files;         ///< live ones, by their first block, then by their entries’ places
  std::vector<FolderBlock> folderBlocks; ///< inside the image, by number, each once
  LostGround lost;

  /// The folders' blocks in a span.
  [[nodiscard]] std::span<const FolderBlock> folderBlocksIn(BlockSpan span) const;
  /// The file that reaches furthest of those that begin before `end`; null where there is none.
  [[nodiscard]] const FileExtent *furthestBefore(std::uint64_t end) const;
  /// A file with contents in a span; null where none has.
  [[nodiscard]] const FileExtent *fileIn(BlockSpan span) const;

private:
  std::vector<std::uint32_t> furthest_; ///< for each file the one of those up to it that reaches furthest
};

} // namespace tessary
