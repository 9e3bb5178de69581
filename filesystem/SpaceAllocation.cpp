#include "filesystem/SpaceAllocation.h"

#include "filesystem/DiskFormat.h"

#include <unordered_set>

namespace tessary {

using namespace format;

namespace {

void setMarks(Volume &volume, std::uint16_t slot, std::uint16_t blocks, std::uint16_t value)
    TESSARY_REQUIRES(volume.lock) {
  const VolumeGeometry geometry = volume.geometry();
  const std::uint64_t first = geometry.slotStartBlock(slot);
  for (std::uint64_t block = first; block != first + blocks; ++block) {
    if (volume.rules().mayMarkIn(volume.table.tableBlockOf(block), geometry))
      volume.table.setMark(block, value);
  }
}

} // namespace

void markSlotUsed(Volume &volume, std::uint16_t slot, std::uint16_t blocks) {
  setMarks(volume, slot, blocks, kFatUsed);
  volume.counters.take(blocks);
}

void freeSlot(Volume &volume, std::uint16_t slot, std::uint16_t blocks) {
  setMarks(volume, slot, blocks, kFatFree);
  volume.counters.giveBack(blocks);
}

std::optional<EntryPlace> findFreeDentry(const Volume &volume, const EMU3DirectoryPtr &folder) {
  for (const std::int64_t number : folder->blockList()) {
    const std::optional<Block> block = volume.entries.read(number);
    if (!block) continue;
    for (std::size_t index = 0; index < kDentriesPerBlock; ++index) {
      const EntryPlace place{number, static_cast<std::int64_t>(index)};
      if (volume.rules().isFree(block->data() + index * kDentrySize, place, volume.tree)) return place;
    }
  }
  return std::nullopt;
}

std::uint64_t findFreeDirectoryBlock(const Volume &volume) {
  const VolumeGeometry geometry = volume.geometry();
  const std::unordered_set<std::int64_t> taken = VolumeTree::folderBlocks(volume.tree.root());
  for (std::uint64_t block = geometry.rootDirBlock; block < geometry.dataAreaBlock; ++block) {
    if (volume.rules().mayHoldFolder(block, geometry) && !taken.contains(static_cast<std::int64_t>(block)))
      return block;
  }
  return 0;
}

std::uint8_t nextEntryId(const EMU3Directory &folder) {
  unsigned next = 0;
  for (const EMU3FilePtr &file : folder.files()) {
    const unsigned id = file->entryId();
    if (id >= (next & 0xFF)) next = id + 1;
  }
  return static_cast<std::uint8_t>(next & 0xFF);
}

} // namespace tessary
