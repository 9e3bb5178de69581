#pragma once

#include "filesystem/EMU3Directory.h"
#include "filesystem/Mutex.h"

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_set>

namespace tessary {

class DirectoryBlocks;

/// The folders and files of a volume as objects in memory. Read from the image once; after that each change
/// of the image makes the same change here, through `TreeEditor`.
class VolumeTree final {
public:
  /// Reads the whole tree from the root's block and replaces the one before; objects of that one are no
  /// longer part of the volume.
  void read(const DirectoryBlocks &blocks, std::int64_t rootBlock, std::string label);

  /// Any thread.
  [[nodiscard]] EMU3DirectoryPtr root() const;

  /// Whether the folder is the root or lies in the tree below it.
  [[nodiscard]] bool contains(const EMU3DirectoryPtr &folder) const;
  /// Whether the folder lies in the tree and holds the file.
  [[nodiscard]] bool contains(const EMU3DirectoryPtr &folder, const EMU3FilePtr &file) const;
  /// Whether any folder of the tree holds the file.
  [[nodiscard]] bool contains(const EMU3FilePtr &file) const;

  /// The blocks of all folders, from `top` down.
  [[nodiscard]] static std::unordered_set<std::int64_t> folderBlocks(const EMU3DirectoryPtr &top);

  /// Reads the folder of the entry at `place`, with all below it, and appends it to `parent`. False, with
  /// nothing changed, when it shares a block with a folder of the tree: which of the two then holds the
  /// block's entries only reading the whole tree tells.
  [[nodiscard]] bool adoptFolder(const DirectoryBlocks &blocks, EntryPlace place,
                                 const EMU3DirectoryPtr &parent);

private:
  mutable Mutex mutex_;
  EMU3DirectoryPtr root_ TESSARY_GUARDED_BY(mutex_);
};

} // namespace tessary
