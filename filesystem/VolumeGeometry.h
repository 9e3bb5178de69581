#pragma once

#include "tessary/EMU3Error.h"

#include <cstdint>
#include <optional>

namespace tessary {

class ImageMapping;

/// Where the parts of a volume lie, as its header says. All numbers are blocks of 512 bytes, counted from the
/// start of the image; they come from the image and may be anything.
struct VolumeGeometry {
  std::uint64_t totalBlocks = 0; ///< of the image; a last block that is not whole does not count
  std::uint64_t rootDirBlock = 0;
  std::uint64_t dataAreaBlock = 0;
  std::uint64_t fatStartBlock = 0;
  std::uint64_t slotSizeBlocks = 0;
  /// Where the scan of the allocation table begins: as the header says, 0 included.
  std::uint64_t firstScannedBlock = 0;

  /// First block of a slot. The data area is slots of `slotSizeBlocks` blocks, numbered from 1. Slot 0 lies
  /// one slot below the data area, also where that wraps at 2^64.
  [[nodiscard]] std::uint64_t slotStartBlock(std::uint16_t slot) const;
  /// First block of a file's contents, whose entry says this slot: 0 is read as 1.
  [[nodiscard]] std::uint64_t contentsStartBlock(std::uint16_t startCluster) const;
  /// First block behind the allocation table: where the root block or the data area begins, whichever comes
  /// first from the table's start on, or where entries for all blocks of the image end.
  [[nodiscard]] std::uint64_t tableEndBlock() const;
  [[nodiscard]] bool isInTable(std::uint64_t block) const;
  /// Whether a folder's block may lie there: between the root block and the data area, inside the image,
  /// outside the table, and below 32768, since a folder's entry holds no larger number.
  [[nodiscard]] bool mayHoldFolder(std::uint64_t block) const;
  /// How many blocks, from block 0 on, the table has entries for. Blocks from that number on cannot be
  /// marked.
  [[nodiscard]] std::uint64_t describedBlocks() const;
};

/// Reads the header of an image. None with code 1 when it is no volume.
[[nodiscard]] std::optional<VolumeGeometry> readGeometry(const ImageMapping &image, EMU3Error *error);

} // namespace tessary
