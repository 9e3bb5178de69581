#pragma once

#include "tessary/MountRules.h"
#include "tests/support/ImageBuilder.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace tessary::test {

/// An entry's block and its index in it. {0, 0} stands for the root, which has no entry.
using Place = std::pair<std::uint64_t, std::size_t>;

/// What the bytes of an image say, read without the engine: every entry that the root block leads to, and
/// what follows from them for a guarded volume. Bare, entries whose name is no text are not shown, and what
/// they lead to is not read. Slow and plain, for small images.
class ImageReading {
public:
  struct Entry {
    RawEntry bytes{};
    bool isFolder = false;
    Place parent;
    [[nodiscard]] bool isLiveFile() const { return !isFolder && bytes[26] != 0; }
  };

  explicit ImageReading(const Bytes &image, MountRules rules = MountRules::guarded);

  bool isVolume = false; ///< has the signature
  // The header, defaults applied.
  std::uint64_t totalBlocks = 0;
  std::uint64_t rootBlock = 0;
  std::uint64_t dataBlock = 0;
  std::uint64_t tableStart = 0;
  std::uint64_t tableEnd = 0;
  std::uint64_t slotBlocks = 0;
  std::uint64_t slotCount = 0;

  std::map<Place, Entry> entries;
  std::size_t hiddenEntries = 0; ///< not deleted, but not shown
  /// Folders with all blocks that their entries name, in order, also those outside the image; the root too.
  std::map<Place, std::vector<std::uint64_t>> folders;

  [[nodiscard]] bool isInTable(std::uint64_t block) const { return block >= tableStart && block < tableEnd; }
  [[nodiscard]] bool isDescribed(std::uint64_t block) const;
  [[nodiscard]] std::uint64_t tableBlockOf(std::uint64_t block) const { return tableStart + block / 256; }
  [[nodiscard]] std::uint16_t mark(std::uint64_t block) const;
  [[nodiscard]] bool mayHoldFolder(std::uint64_t block) const;
  /// Whether a folder names the block.
  [[nodiscard]] bool isNamed(std::uint64_t block) const { return named_.contains(block); }
  [[nodiscard]] std::uint64_t slotStart(std::uint64_t slot) const {
    return dataBlock + slotBlocks * (slot - 1);
  }
  /// Blocks of a file's contents, as far as they lie inside the image.
  [[nodiscard]] std::pair<std::uint64_t, std::uint64_t> contentsOf(const RawEntry &file) const;
  /// Whether the block lies in the contents of a live file that is none of these.
  [[nodiscard]] bool isInContents(std::uint64_t block, const std::set<Place> &exceptOf) const;
  /// The bytes of a file, as far as they lie inside the image.
  [[nodiscard]] Bytes bytesOf(const RawEntry &file) const;
  [[nodiscard]] bool isWhole(const RawEntry &file) const;
  /// First and last slot that a file reaches; the last may lie outside the image.
  [[nodiscard]] std::pair<std::uint64_t, std::uint64_t> reachOf(const RawEntry &file) const;
  [[nodiscard]] std::uint64_t slotsFor(std::uint64_t blocks) const;
  [[nodiscard]] bool isReached(std::uint64_t slot, const std::set<Place> &exceptBy) const;
  [[nodiscard]] std::vector<bool> takenSlots() const; ///< by number; 0 is unused
  [[nodiscard]] std::uint64_t freeBlocks() const;
  /// Whether a new file of so many blocks may go there.
  [[nodiscard]] bool hasRoomAt(std::uint64_t slot, std::uint64_t blocks) const;
  [[nodiscard]] std::optional<std::uint64_t> slotForNewFile(std::uint64_t blocks) const;

  /// Whether the entry of a file or folder may be changed; `own` are files that the change is about.
  [[nodiscard]] bool mayChange(Place entry, const std::set<Place> &own) const;
  /// Whether new entries may be put into a folder's block.
  [[nodiscard]] bool takesEntries(std::uint64_t block) const;
  [[nodiscard]] bool isFree(Place place) const;
  [[nodiscard]] std::optional<Place> freePlaceIn(Place folder) const;
  [[nodiscard]] std::optional<std::uint64_t>
  freeDirectoryBlock(const std::function<bool(std::uint64_t)> &suits) const;
  /// The entry with which a full folder would have one block more, and that block.
  struct Growth {
    std::uint64_t block = 0;
    RawEntry entry{};
  };
  /// `exceptFor` are blocks that it must not be.
  [[nodiscard]] std::optional<Growth> growthOf(Place folder,
                                               const std::set<std::uint64_t> &exceptFor = {}) const;
  /// These blocks, and those that the folders' entries in them name, and so on.
  [[nodiscard]] std::set<std::uint64_t> withBlocksBelow(std::vector<std::uint64_t> blocks) const;

  [[nodiscard]] RawEntry entryAt(Place place) const;

private:
  void readTree();
  void readBlock(std::uint64_t block, Place folder, std::set<std::uint64_t> &seen);

  const Bytes image_;
  const MountRules rules_;
  std::set<std::uint64_t> named_;
};

[[nodiscard]] bool readsAsFolder(const RawEntry &entry);
[[nodiscard]] std::uint16_t wordAt(const RawEntry &entry, std::size_t offset);
[[nodiscard]] std::vector<std::uint64_t> blocksNamedBy(const RawEntry &folder);

} // namespace tessary::test
