#pragma once

#include "filesystem/AllocationTable.h"
#include "filesystem/RunCover.h"
#include "filesystem/VolumeGeometry.h"
#include "tessary/EMU3Directory.h"
#include "tessary/EMU3File.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace tessary {

/// Which slots of a guarded volume are taken, and so where a new file may go and how much room there is. Kept
/// through all changes, so that nothing walks the tree.
///
/// A slot is taken when a live file reaches it, when block 0, a block of the table or a folder's block lies
/// in it, or when the table marks any of its blocks. Slots run from 1 to the last that begins inside the
/// image, 65535 at most; what lies elsewhere plays no part.
class SlotMap final {
public:
  /// Figures go into `counters`; table and counters outlive the map.
  SlotMap(const AllocationTable &table, BlockCounters &counters) : table_(table), counters_(counters) {}

  /// Forgets everything and looks at the geometry, the tree and the table's marks.
  void build(const VolumeGeometry &geometry, const EMU3DirectoryPtr &root);

  // What has changed since. A file or a folder that goes is told with the very values with which it came, or
  // the counts go wrong.
  void fileCame(const EMU3FileEntry &file);
  void fileWent(const EMU3FileEntry &file);
  void folderBlocksCame(const std::vector<std::int64_t> &blocks) { countFixed(blocks, 1); }
  void folderBlocksWent(const std::vector<std::int64_t> &blocks) { countFixed(blocks, -1); }
  /// Marks of `count` blocks from `first` on were written.
  void marksChanged(std::uint64_t first, std::uint64_t count);
  /// A block was written as a directory block. Where it is one of the table, marks have changed.
  void blockWritten(std::uint64_t block);

  /// Whether a live file reaches the slot.
  [[nodiscard]] bool isReached(std::uint64_t slot) const;
  /// The lowest slot from this one on that no live file reaches; behind the last when there is none.
  [[nodiscard]] std::uint64_t nextUnreached(std::uint64_t from) const {
    return liveFiles_.nextUncovered(from);
  }
  /// Whether the table's block lies within the blocks of a live file.
  [[nodiscard]] bool isInContents(std::uint64_t tableBlock) const;
  /// Whether all of the table inside the image could be read when the map was built.
  [[nodiscard]] bool isTableReadable() const { return isTableReadable_; }
  /// Whether any file of the tree is one whose entry says that it is deleted.
  [[nodiscard]] bool hasDeletedFiles() const { return deletedFiles_ > 0; }
  /// How many slots there are.
  [[nodiscard]] std::uint64_t slotCount() const { return slotCount_; }
  /// How many slots so many blocks take: one at least.
  [[nodiscard]] std::uint64_t slotsFor(std::uint64_t blocks) const;
  /// The most blocks that one new file can have, however large a file may be.
  [[nodiscard]] std::uint64_t largestPlace() const;
  /// The first of the slots in a row that a new file of `blocks` blocks goes into: the lowest place above all
  /// files, else the lowest of all. None when there is no such place.
  [[nodiscard]] std::optional<std::uint16_t> placeFor(std::uint64_t blocks) const;

private:
  struct Slot {
    std::uint32_t fixedBlocks = 0; ///< block 0, table, folders' blocks
    bool marked = false;
  };
  /// A run of slots or blocks; `count` 0 where none exists.
  struct Run {
    std::uint64_t first = 0;
    std::uint64_t count = 0;
  };

  void countFile(const EMU3FileEntry &file, int change);
  void countFixed(const std::vector<std::int64_t> &blocks, int change);
  void countFixedBlock(std::uint64_t block, int change);
  void lookAtAllMarks();
  void countFiles(const EMU3DirectoryPtr &root);
  [[nodiscard]] Run tablePartOf(const EMU3FileEntry &file) const;
  [[nodiscard]] Run reachOf(const EMU3FileEntry &file) const;
  [[nodiscard]] std::uint64_t slotOf(std::uint64_t block) const; ///< 0 where the block is in none
  [[nodiscard]] std::uint64_t blocksInside(std::uint64_t slot) const;
  [[nodiscard]] bool isMarked(std::uint64_t slot) const;
  [[nodiscard]] std::optional<std::uint16_t> lowestPlace(std::uint64_t from, std::uint64_t blocks) const;
  [[nodiscard]] bool isTaken(std::uint64_t slot) const;
  void refresh(std::uint64_t slot);
  void publish();

  const AllocationTable &table_;
  BlockCounters &counters_;
  VolumeGeometry geometry_;
  std::uint64_t slotCount_ = 0;
  bool isTableReadable_ = true;
  /// Slots that live files reach. A slot weighs its blocks inside the image, unless it is taken otherwise.
  RunCover liveFiles_;
  std::vector<Slot> slots_; ///< by number; 0 is unused
  /// Blocks of the table in the data area that lie in live files' contents.
  RunCover tableContents_;
  std::uint64_t firstTableBlock_ = 0; ///< of these
  std::uint64_t tableBlocks_ = 0;     ///< how many there are
  /// How many files, deleted ones included, have their last slot here; behind the last slot stands one place
  /// for all that reach further.
  std::vector<std::uint32_t> lastSlots_;
  std::uint64_t highestReached_ = 0; ///< the highest of them that is not 0
  std::uint64_t deletedFiles_ = 0;
};

} // namespace tessary
