#pragma once

#include "filesystem/SlotMap.h"
#include "tessary/EntryPlace.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <unordered_map>
#include <vector>

namespace tessary {

/// What a guarded volume keeps at hand about its tree, so that no operation has to walk it: the slots, the
/// blocks that folders name, the places of folders' entries.
class VolumeIndex final {
public:
  /// Table and counters outlive the index.
  VolumeIndex(const AllocationTable &table, BlockCounters &counters) : slots_(table, counters) {}

  /// Forgets everything and looks at the tree.
  void build(const VolumeGeometry &geometry, const EMU3DirectoryPtr &root);

  // What has changed since.
  void fileCame(const EMU3File &file);
  void fileWent(const EMU3File &file);
  void folderCame(const EMU3Directory &folder);
  void folderWent(const EMU3Directory &folder);
  /// With all that is in it, which stays where it is.
  void folderMoved(EntryPlace before, EntryPlace after);
  void folderBlocksChanged(const std::vector<std::int64_t> &before, const std::vector<std::int64_t> &after);
  void marksChanged(std::uint64_t first, std::uint64_t count) { slots_.marksChanged(first, count); }
  /// A directory block was written; it may be one of the table.
  void blockWritten(std::uint64_t block) { slots_.blockWritten(block); }

  [[nodiscard]] const SlotMap &slots() const { return slots_; }
  /// Whether any folder has the block in its list.
  [[nodiscard]] bool namesBlock(std::int64_t block) const { return folders_.contains(block); }
  /// Whether any block is in folders' lists more than once.
  [[nodiscard]] bool hasSharedBlocks() const { return sharedBlocks_ > 0; }
  /// Whether the entry at this place is one of the tree's folders.
  [[nodiscard]] bool isFolderEntry(EntryPlace place) const { return places_.contains(place); }

private:
  void nameBlocks(const std::vector<std::int64_t> &blocks);
  void forgetBlocks(const std::vector<std::int64_t> &blocks);

  SlotMap slots_;
  std::unordered_map<std::int64_t, std::uint32_t> folders_; ///< how many times folders name a block
  std::size_t sharedBlocks_ = 0;                            ///< those that they name more than once
  std::set<EntryPlace> places_;
};

} // namespace tessary
