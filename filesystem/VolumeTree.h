#pragma once

#include "tessary/EMU3Directory.h"
#include "tessary/Mutex.h"

#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

namespace tessary {

class DirectoryBlocks;
class DirectorySnapshot;
class VolumeIndex;
class VolumeRules;

/// The folders and files of a volume as objects in memory. Read from the image once; after that each change
/// of the image makes the same change here, which keeps the index right too. Which files and folders there
/// are, and which blocks folders have, changes only here; names, bank details and cached contents are set by
/// `TreeEditor`. A file's slot and length never change while it is in the tree: an operation removes it and
/// adds another.
class VolumeTree final {
public:
  /// Names read as the rules say. `index` is null where the mount keeps none; it outlives the tree.
  VolumeTree(const VolumeRules &rules, VolumeIndex *index) : rules_(rules), index_(index) {}

  /// Reads the whole tree from the root's block and replaces the one before; objects of that one are no
  /// longer part of the volume. The index is built by the caller. What is read comes to `snapshot`, unless
  /// that is null. False when a directory block inside the image cannot be read.
  bool read(const DirectoryBlocks &blocks, std::int64_t rootBlock, std::string label,
            DirectorySnapshot *snapshot = nullptr);
  /// Reads the tree after another program may have changed the image: files and folders whose entries stand
  /// where they stood, with the bytes that are in the snapshot, stay the objects they are. The snapshot is
  /// renewed.
  bool readAgain(const DirectoryBlocks &blocks, std::int64_t rootBlock, DirectorySnapshot *snapshot);

  /// Reads the tree after changes of this mount that the tree was not told of one by one: a file or folder
  /// whose entry still leads where the object does stays that object, in its order; what is new comes behind.
  bool follow(const DirectoryBlocks &blocks);

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

  // Changes. Removing something from a folder that does not hold it does nothing.
  void addFile(const EMU3DirectoryPtr &folder, const EMU3FilePtr &file);
  void removeFile(const EMU3DirectoryPtr &folder, const EMU3FilePtr &file);
  /// With all that is in it.
  void addFolder(const EMU3DirectoryPtr &parent, const EMU3DirectoryPtr &folder);
  void removeFolder(const EMU3DirectoryPtr &parent, const EMU3DirectoryPtr &folder);
  void setFolderBlocks(const EMU3DirectoryPtr &folder, std::vector<std::int64_t> blocks);
  /// Puts `moved`, an object of its own for the same folder at another place, into `parent` with all that is
  /// in `folder`. `folder` leaves the tree, emptied.
  void replaceFolder(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &moved,
                     const EMU3DirectoryPtr &parent);

  /// Reads the folder of the entry at `place`, with all below it, and appends it to `parent`. False, with
  /// nothing changed, where the whole tree must be read: when it shares a block with a folder of the tree, or
  /// a block of it cannot be read.
  [[nodiscard]] bool adoptFolder(const DirectoryBlocks &blocks, EntryPlace place,
                                 const EMU3DirectoryPtr &parent);

private:
  const VolumeRules &rules_;
  VolumeIndex *const index_;
  mutable Mutex mutex_;
  EMU3DirectoryPtr root_ TESSARY_GUARDED_BY(mutex_);
};

} // namespace tessary
