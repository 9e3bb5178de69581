#pragma once

#include "filesystem/DiskFormat.h"
#include "filesystem/VolumeGeometry.h"

#include <algorithm>
#include <atomic>
#include <cstdint>

namespace tessary {

class ImageMapping;

/// How many blocks of a volume are used and free. By the bare rules the two need not add up. Changed under
/// the volume's lock, read from any thread.
class BlockCounters final {
public:
  [[nodiscard]] std::uint64_t used() const { return used_; }
  [[nodiscard]] std::uint64_t free() const { return free_; }
  void set(std::uint64_t used, std::uint64_t free);
  /// Blocks that a new file takes. The used ones always grow; the free ones stay when there are fewer than
  /// that.
  void take(std::uint64_t blocks);
  /// Blocks that a deleted file gives back. The free ones always grow; the used ones stay when there are
  /// fewer.
  void giveBack(std::uint64_t blocks);

private:
  std::atomic<std::uint64_t> used_ = 0;
  std::atomic<std::uint64_t> free_ = 0;
};

/// The allocation table: one 16-bit mark for each block of the image, 0 where the block is free. The only
/// class that reads and writes marks.
class AllocationTable final {
public:
  /// The table of this image; the mapping outlives it.
  explicit AllocationTable(ImageMapping &image) : image_(image) {}

  /// Which blocks hold the table. Before anything else, and again when the header was read anew.
  void place(const VolumeGeometry &geometry) { fatStartBlock_ = geometry.fatStartBlock; }

  /// The mark of a block; 0 where the table's block lies outside the image or cannot be read.
  [[nodiscard]] std::uint16_t mark(std::uint64_t block) const;
  /// Whether any of `count` blocks from `first` on is marked. An unreadable part of the table counts as
  /// marked.
  [[nodiscard]] bool anyMarked(std::uint64_t first, std::uint64_t count) const;
  /// Writes the marks of `count` blocks from `first` on, those in one block of the table at once, and flushes
  /// each of these. Passes over the blocks of the table that `mayWriteTo` refuses and those outside the
  /// image.
  template <typename MayWriteTo>
  void setMarks(std::uint64_t first, std::uint64_t count, std::uint16_t value, const MayWriteTo &mayWriteTo) {
    while (count > 0) {
      const std::uint64_t inBlock =
          std::min(count, format::kFatEntriesPerBlock - first % format::kFatEntriesPerBlock);
      if (mayWriteTo(tableBlockOf(first))) setMarksInOneBlock(first, inBlock, value);
      first += inBlock; // block numbers wrap at 2^64, as the bare rules' slot starts do
      count -= inBlock;
    }
  }

  /// How many entries a scan found, and how many of them in use.
  struct Scan {
    std::uint64_t entries = 0;
    std::uint64_t used = 0;
  };
  /// Counts up to 1024 blocks from where the header has the table, bounded by the image's end alone.
  [[nodiscard]] Scan scan(const VolumeGeometry &geometry) const;

private:
  [[nodiscard]] std::uint64_t tableBlockOf(std::uint64_t block) const;
  void setMarksInOneBlock(std::uint64_t first, std::uint64_t count, std::uint16_t value);

  ImageMapping &image_;
  std::uint64_t fatStartBlock_ = 0;
};

} // namespace tessary
