#pragma once

#include "filesystem/DiskFormat.h"
#include "tessary/EntryPlace.h"

#include <bitset>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

namespace tessary {

class ImageMapping;
class VolumeIndex;

/// The directory blocks of a volume: 16 entries of 32 bytes in each. The only class that reads and writes
/// directory entries. Block numbers may be anything; what lies outside the image is not there.
///
/// Entries can be planned: all who read see them, and the image gets them later, when what they lead to is on
/// the medium. False from a write: the block lies outside the image or could not be written.
class DirectoryBlocks final {
public:
  /// The directory blocks of this image; the mapping outlives it. `index` is told of what is written, since a
  /// damaged folder can have its entries in the allocation table; null where the mount keeps none.
  explicit DirectoryBlocks(ImageMapping &image, VolumeIndex *index = nullptr)
      : image_(image), index_(index) {}

  /// Whether the block lies inside the image.
  [[nodiscard]] bool contains(std::int64_t block) const;
  /// All 512 bytes; none when the block is outside the image or cannot be read.
  [[nodiscard]] std::optional<format::Block> read(std::int64_t block) const;

  /// The 32 bytes of one entry.
  [[nodiscard]] std::optional<format::Dentry> readEntry(EntryPlace place) const;

  /// From now on readers see these bytes at that place.
  void plan(EntryPlace place, const format::Dentry &dentry);
  [[nodiscard]] bool isPlanned(EntryPlace place) const { return plannedAt(place) != nullptr; }
  /// Readers see what stands on the image again; at that place, or everywhere.
  void forgetPlan(EntryPlace place);
  void forgetPlans() { planned_.clear(); }

  /// Sets all 512 bytes to zero.
  bool clearBlock(std::int64_t block);
  /// Replaces an entry, so that a kill at any moment leaves the place empty or the entry whole.
  bool write(EntryPlace place, const format::Dentry &dentry);
  /// Replaces the 16 bytes of an entry's name at once.
  bool writeName(EntryPlace place, const format::NameField &name);
  /// Replaces one of the seven block numbers of a folder's entry at once.
  bool writeFolderBlock(EntryPlace place, std::size_t position, std::int64_t number);
  /// What a deletion clears: the name and the type byte.
  bool clearEntry(EntryPlace place);
  /// Sets all 32 bytes of an entry to zero.
  bool zeroEntry(EntryPlace place);

private:
  /// A block with planned entries, and which of its 16 these are.
  struct PlannedBlock {
    format::Block bytes{};
    std::bitset<format::kDentriesPerBlock> isPlanned;
  };

  bool written(std::int64_t block, bool done);
  /// The 32 bytes planned for the place; null where none are.
  [[nodiscard]] const std::uint8_t *plannedAt(EntryPlace place) const;

  ImageMapping &image_;
  VolumeIndex *const index_;
  std::unordered_map<std::int64_t, PlannedBlock> planned_; ///< by block
};

} // namespace tessary
