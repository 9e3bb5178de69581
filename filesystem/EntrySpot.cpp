#include "filesystem/EntrySpot.h"

#include "filesystem/DirectoryEntry.h"
#include "filesystem/Text.h"

namespace tessary {

using namespace format;

namespace {

std::optional<EntryPlace> firstFreeEntry(const Volume &volume, const EMU3DirectoryPtr &folder)
    TESSARY_REQUIRES_SHARED(volume.lock) {
  for (const std::int64_t number : folder->blockList()) {
    if (!volume.rules().takesEntries(volume, number)) continue;
    const std::optional<Block> block = volume.entries.read(number);
    if (!block) continue;
    for (std::size_t index = 0; index < kDentriesPerBlock; ++index) {
      const EntryPlace place{number, static_cast<std::int64_t>(index)};
      if (volume.rules().isFree(volume, block->data() + index * kDentrySize, place)) return place;
    }
  }
  return std::nullopt;
}

// The block is empty before the folder's entry names it.
bool grow(Volume &volume, const EMU3DirectoryPtr &folder, const FolderGrowth &growth)
    TESSARY_REQUIRES(volume.lock) {
  if (!volume.entries.clearBlock(growth.block) ||
      !volume.entries.writeFolderBlock(folder->place(), growth.position, growth.block))
    return false;
  const std::optional<Dentry> entry = volume.entries.readEntry(folder->place());
  if (!entry) return false;
  volume.tree.setFolderBlocks(folder, folderBlocks(entry->data()));
  return true;
}

} // namespace

std::optional<EntrySpot> findSpot(const Volume &volume, const EMU3DirectoryPtr &folder,
                                  const DirectoryBlockWish &wish) {
  if (const std::optional<EntryPlace> place = firstFreeEntry(volume, folder))
    return EntrySpot{*place, std::nullopt};
  const std::optional<FolderGrowth> growth = volume.rules().growthOf(volume, folder, wish);
  if (!growth) return std::nullopt;
  return EntrySpot{{growth->block, 0}, growth};
}

bool writeAtSpot(Volume &volume, const EMU3DirectoryPtr &folder, const EntrySpot &spot,
                 const Dentry &dentry) {
  const std::uint64_t faults = volume.image.writeFaults();
  if (spot.growth && !grow(volume, folder, *spot.growth)) return false;
  volume.entries.write(spot.place, dentry);
  if (volume.image.writeFaults() != faults)
    return false; // outside the image nothing is written, and nothing fails
  volume.rules().entryWasTaken(volume, folder, spot.place);
  return true;
}

bool mayGiveName(const Volume &volume, const std::string &name, EMU3Error *error) {
  if (!name.empty() && utf16Length(name) <= kMaxNameBytes && volume.rules().mayStoreName(name)) return true;
  return fail(error, EngineError::badName);
}

std::optional<std::string> renameEntry(Volume &volume, EntryPlace place, const std::string &name,
                                       EMU3Error *error) {
  if (!mayGiveName(volume, name, error)) return std::nullopt;
  if (!volume.entries.contains(place.block)) {
    fail(error, EngineError::entryNotFound);
    return std::nullopt;
  }
  const NameField field = nameFieldForRename(volume.rules().storedName(name));
  if (!volume.entries.writeName(place, field)) {
    fail(error, EngineError::blockWriteFailed);
    return std::nullopt;
  }
  return volume.rules().nameAfterStoring(name, field.data());
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
