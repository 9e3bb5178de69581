#include "filesystem/EntrySpot.h"

#include "filesystem/DirectoryEntry.h"
#include "tessary/Text.h"

#include <algorithm>
#include <bitset>
#include <vector>

namespace tessary {

using namespace format;

namespace {

/// Places of a directory block.
using Places = std::bitset<kDentriesPerBlock>;

// In each of the blocks the places of the folder's live files, as far as the tree is known to be what stands
// on the image: not in a bare volume.
std::vector<Places> placesOfFiles(const Volume &volume, const EMU3Directory &folder,
                                  const std::vector<std::int64_t> &blocks)
    TESSARY_REQUIRES_SHARED(volume.lock) {
  std::vector<Places> taken(blocks.size());
  if (!volume.index) return taken;
  folder.lookAtFiles([&](const EMU3File &file) {
    const auto block = std::find(blocks.begin(), blocks.end(), file.dentryBlock());
    if (block == blocks.end() || file.isDeleted()) return;
    taken[static_cast<std::size_t>(block - blocks.begin())].set(
        static_cast<std::size_t>(file.dentryOffset()));
  });
  return taken;
}

// A block that is full of files is not read.
std::optional<EntryPlace> firstFreeEntry(const Volume &volume, const EMU3DirectoryPtr &folder)
    TESSARY_REQUIRES_SHARED(volume.lock) {
  const std::vector<std::int64_t> blocks = folder->blockList();
  const std::vector<Places> files = placesOfFiles(volume, *folder, blocks);
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    const std::int64_t number = blocks[i];
    if (files[i].all() || !volume.rules().takesEntries(volume, number)) continue;
    const std::optional<Block> block = volume.entries.read(number);
    if (!block) continue;
    for (std::size_t index = 0; index < kDentriesPerBlock; ++index) {
      const EntryPlace place{number, static_cast<std::int64_t>(index)};
      if (!files[i][index] && volume.rules().isFree(volume, block->data() + index * kDentrySize, place))
        return place;
    }
  }
  return std::nullopt;
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

// The block is empty on the medium before the folder's entry names it.
bool NewEntry::planGrowth(Volume &volume) {
  std::optional<Dentry> entry = volume.entries.readEntry(folder_->place());
  if (!entry || !volume.entries.clearBlock(spot_.growth->block)) return false;
  numberBefore_ = folderBlockAt(*entry, spot_.growth->position);
  setFolderBlockAt(*entry, spot_.growth->position, spot_.growth->block);
  volume.entries.plan(folder_->place(), *entry);
  volume.tree.setFolderBlocks(folder_, folderBlocks(entry->data()));
  return true;
}

void NewEntry::takeBackGrowth(Volume &volume) {
  std::optional<Dentry> entry = volume.entries.readEntry(folder_->place());
  if (!entry) return;
  setFolderBlockAt(*entry, spot_.growth->position, numberBefore_);
  volume.entries.plan(folder_->place(), *entry);
  volume.tree.setFolderBlocks(folder_, folderBlocks(entry->data()));
}

bool NewEntry::plan(Volume &volume) {
  if (spot_.growth && !planGrowth(volume)) return false;
  volume.entries.plan(spot_.place, dentry_);
  volume.rules().entryWasTaken(volume, folder_, spot_.place);
  return true;
}

// The folder may have been made, or have grown, by an earlier change that has failed since.
bool NewEntry::write(Volume &volume) {
  if (!volume.rules().mayUse(volume, folder_)) return false;
  const std::uint64_t faults = volume.image.writeFaults();
  if (spot_.growth &&
      !volume.entries.writeFolderBlock(folder_->place(), spot_.growth->position, spot_.growth->block)) {
    takeBackGrowth(volume);
    return false;
  }
  const std::vector<std::int64_t> blocks = folder_->blockList();
  if (std::find(blocks.begin(), blocks.end(), spot_.place.block) == blocks.end()) return false;
  volume.entries.write(spot_.place, dentry_);
  return volume.image.writeFaults() == faults;
}

void NewEntry::giveUp(Volume &volume) {
  volume.entries.forgetPlan(spot_.place);
  if (spot_.growth) takeBackGrowth(volume);
}

void NewEntry::erase(Volume &volume) {
  volume.entries.forgetPlan(spot_.place);
  volume.entries.zeroEntry(spot_.place);
}

bool mayChangeEntry(const Volume &volume, EntryPlace place, const OwnFiles &own, EMU3Error *error) {
  return volume.rules().mayChangeEntry(volume, place, own) || fail(error, EngineError::entryInContents);
}

EMU3Error badName(const std::string &name) {
  EMU3Error error = engineError(EngineError::badName);
  if (!isValidUtf8(name)) error.reason = "Not a text in UTF-8";
  return error;
}

bool mayGiveName(const Volume &volume, const std::string &name, EMU3Error *error) {
  if (!name.empty() && utf16Length(name) <= kMaxNameBytes && volume.rules().mayStoreName(name)) return true;
  return fail(error, badName(name));
}

std::optional<std::string> nameOfEarlier(const Volume &volume, const Dentry &entry, EMU3Error *error) {
  std::optional<std::string> name;
  if (entry.front() != 0) name = volume.rules().nameOf(entry.data());
  if (!name) fail(error, EngineError::badName);
  return name;
}

bool RenamedEntry::mayWrite(const Volume &volume, EMU3Error *error) const {
  const bool mayGive = name_.earlier ? nameOfEarlier(volume, *name_.earlier, error).has_value()
                                     : mayGiveName(volume, name_.given, error);
  if (!mayGive) return false;
  return volume.entries.contains(place_.block) || fail(error, EngineError::entryNotFound);
}

std::optional<std::string> RenamedEntry::write(Volume &volume, EMU3Error *error) {
  if (const std::optional<Dentry> entry = volume.entries.readEntry(place_))
    std::copy_n(entry->begin(), kNameSize, fieldBefore_.begin());
  NameField field;
  if (name_.earlier)
    std::copy_n(name_.earlier->begin(), kNameSize, field.begin());
  else
    field = nameFieldForRename(volume.rules().storedName(name_.given));
  if (volume.entries.writeName(place_, field))
    return name_.earlier ? nameOfEarlier(volume, *name_.earlier, error)
                         : volume.rules().nameAfterStoring(name_.given, field.data());
  fail(error, EngineError::blockWriteFailed);
  return std::nullopt;
}

std::string RenamedEntry::takeBack(Volume &volume) {
  volume.entries.writeName(place_, fieldBefore_);
  return shownBefore_;
}

std::uint8_t nextEntryId(const EMU3Directory &folder) {
  unsigned next = 0;
  folder.lookAtFiles([&](const EMU3File &file) {
    const unsigned id = file.entryId();
    if (id >= (next & 0xFF)) next = id + 1;
  });
  return static_cast<std::uint8_t>(next & 0xFF);
}

} // namespace tessary
