#include "filesystem/GuardedRules.h"

#include "filesystem/DirectoryEntry.h"
#include "filesystem/FileExtents.h"
#include "filesystem/FileReading.h"
#include "tessary/Text.h"

#include <algorithm>
#include <set>
#include <unordered_set>
#include <utility>

namespace tessary {

using namespace format;

namespace {

// Marks are written for blocks that the table describes, and never where a folder's entries or the contents
// of a live file stand.
void setMarks(Volume &volume, std::uint64_t first, std::uint64_t count, std::uint16_t value)
    TESSARY_REQUIRES(volume.lock) {
  const std::uint64_t described = volume.geometry().describedBlocks();
  if (first >= described) return;
  const std::uint64_t inTable = std::min(count, described - first);
  const VolumeIndex &index = *volume.index;
  volume.table.setMarks(first, inTable, value, [&](std::uint64_t tableBlock) {
    return !index.namesBlock(static_cast<std::int64_t>(tableBlock)) &&
           !index.slots().isInContents(tableBlock);
  });
  volume.index->marksChanged(first, inTable);
}

std::uint64_t blocksFilled(std::uint64_t size) {
  return (size + kBlockSize - 1) / kBlockSize;
}

// The first of an entry's seven block numbers that is below 1.
std::optional<std::size_t> firstEmptyPosition(const Dentry &dentry) {
  for (std::size_t position = 0; position < kFolderBlockCount; ++position) {
    if (folderBlockAt(dentry, position) < 1) return position;
  }
  return std::nullopt;
}

} // namespace

// Where the path leads to another file by now, the mapped one has no name any more: what is changed in it is
// gone when the program ends.
bool GuardedRules::mayChangeImageAt(const Volume &volume, const std::string &path, EMU3Error *error) const {
  return volume.image.isFileAt(path) || fail(error, EngineError::imageReplaced);
}

EMU3Error GuardedRules::readOnlyError(ReadOnlyReason reason) const {
  EMU3Error error = engineError(EngineError::imageIsReadOnly);
  if (reason != ReadOnlyReason::hostFile) error.message.append(": ").append(readOnlyReasonText(reason));
  return error;
}

bool GuardedRules::mayUse(const Volume &volume, const EMU3DirectoryPtr &folder) const {
  return volume.tree.contains(folder);
}

bool GuardedRules::mayUse(const Volume &volume, const EMU3DirectoryPtr &folder,
                          const EMU3FilePtr &file) const {
  return mayErase(*file) && volume.tree.contains(folder, file);
}

bool GuardedRules::mayUse(const Volume &volume, const EMU3DirectoryPtr &parent,
                          const EMU3DirectoryPtr &folder) const {
  return parent && parent->containsSubdirectory(folder) && volume.tree.contains(parent);
}

// The entry of a file that is deleted already may be another file's by now, and so may its slots.
bool GuardedRules::mayErase(const EMU3File &file) const {
  return !file.isDeleted();
}

bool GuardedRules::mayRead(const Volume &volume, const EMU3FilePtr &file) const {
  return mayErase(*file) && volume.tree.contains(file);
}

// Every entry has a name, so that nothing on the volume is hidden: what is no text shows as codes.
std::optional<std::string> GuardedRules::nameOf(const std::uint8_t *dentry) const {
  std::string name = withInvalidBytesAsCodes(paddedField(dentry, kNameSize));
  if (name.find_first_not_of(' ') == std::string::npos) return "%20";
  return name;
}

// A character that would be cut in two is left out: half of one is no text.
std::string_view GuardedRules::storedName(const std::string &name) const {
  if (!isValidUtf8(name)) return {};
  return prefixOfWholeCharacters(name, kMaxNameBytes);
}

// A zero byte ends the name in its entry; one at the beginning says that no entry is there.
bool GuardedRules::mayStoreName(const std::string &name) const {
  const std::string_view stored = storedName(name);
  return stored.substr(0, stored.find('\0')).find_first_not_of(' ') != std::string_view::npos;
}

std::string GuardedRules::nameAfterStoring(const std::string &, const std::uint8_t *field) const {
  return *nameOf(field);
}

// Contents are passed on whole or not at all: nobody would notice that what lies outside the image, or cannot
// be read, is missing in a copy.
ByteBufferPtr GuardedRules::contentsForExport(const Volume &volume, const EMU3File &file,
                                              EMU3Error *error) const {
  ByteBufferPtr data = wholeBytesOfFile(volume, file);
  if (!data) fail(error, EngineError::contentsIncomplete);
  return data;
}

ByteBufferPtr GuardedRules::contentsForCopy(const Volume &volume, const EMU3File &file,
                                            EMU3Error *error) const {
  return contentsForExport(volume, file, error);
}

SampleAudio GuardedRules::audioOfSamples(const FileContents &bank,
                                         const std::vector<BankSample> &samples) const {
  return audioOfOwnChunks(bank, samples);
}

bool GuardedRules::mayWriteHostFile(const std::string &path) const {
  return !MountedImage::isMounted(path);
}

std::uint64_t GuardedRules::mostBlocksOfAFile() const {
  return kMaxFileBlocks;
}

std::uint64_t GuardedRules::largestNewFile(const Volume &volume) const {
  return std::min(volume.index->slots().largestPlace(), mostBlocksOfAFile());
}

std::optional<std::uint16_t> GuardedRules::slotForNewFile(const Volume &volume, std::uint64_t blocks) const {
  return volume.index->slots().placeFor(blocks);
}

// A copy gets the entry of its source, so that its kind and its whole name stay. An import has no such entry
// and gets a new one.
Dentry GuardedRules::entryOfNewFile(const NewFile &file, const NewFilePlace &place) const {
  Dentry dentry = dentryForFile(storedName(file.name), place.slot, file.size, place.entryId);
  if (!file.model) return dentry;
  Dentry copy = *file.model;
  constexpr std::size_t sizesEnd = kDentryBytesInLastBlock + 2;
  std::copy(dentry.begin() + kDentryStartCluster, dentry.begin() + sizesEnd,
            copy.begin() + kDentryStartCluster);
  setFileEntryId(copy, place.entryId);
  return copy;
}

EMU3FileFields GuardedRules::fieldsOfNewFile(const NewFile &, const NewFilePlace &place,
                                             const Dentry &dentry) const {
  return fileFieldsOfDentry(dentry.data(), *nameOf(dentry.data()), place.entry);
}

void GuardedRules::markNewFile(Volume &volume, std::uint16_t slot, std::uint64_t size) const {
  setMarks(volume, volume.geometry().slotStartBlock(slot), blocksFilled(size), kFatUsed);
}

// The slots were free before the file was stored, so every mark in them is its own.
void GuardedRules::unmarkFailedFile(Volume &volume, std::uint16_t slot, std::uint64_t size) const {
  setMarks(volume, volume.geometry().slotStartBlock(slot), blocksFilled(size), kFatFree);
}

// Frees whole slots, but none that another live file reaches.
std::vector<BlockRun> GuardedRules::freedBlocks(const Volume &volume,
                                                const std::vector<EMU3FileFields> &deleted) const {
  const SlotMap &slots = volume.index->slots();
  std::vector<std::pair<std::uint64_t, std::uint64_t>> spans; // first slot, and that behind the last
  for (const EMU3FileFields &file : deleted) {
    const std::uint64_t first = std::max<std::uint64_t>(1, file.startCluster);
    spans.emplace_back(first,
                       std::min(first + slots.slotsFor(file.blocksInLastCluster), slots.slotCount() + 1));
  }
  std::sort(spans.begin(), spans.end()); // each slot once: thousands of damaged files can claim all of them
  const VolumeGeometry geometry = volume.geometry();
  std::vector<BlockRun> freed;
  std::uint64_t looked = 0; // at all slots below
  for (const auto &[first, end] : spans) {
    for (std::uint64_t slot = slots.nextUnreached(std::max(first, looked)); slot < end;
         slot = slots.nextUnreached(slot + 1))
      freed.push_back({geometry.slotStartBlock(static_cast<std::uint16_t>(slot)), geometry.slotSizeBlocks});
    looked = std::max(looked, end);
  }
  return freed;
}

void GuardedRules::clearMarks(Volume &volume, const BlockRun &freed) const {
  setMarks(volume, freed.first, freed.count, kFatFree);
}

bool GuardedRules::isFree(const Volume &volume, const std::uint8_t *dentry, EntryPlace place) const {
  const bool isDeleted = dentry[kDentryRawType] == kRawTypeDeleted;
  if (dentry[0] != 0 && (!isDeleted || volume.index->isFolderEntry(place))) return false;
  return !volume.entries.isPlanned(place);
}

// A damaged folder may name blocks of the table, or of a file's contents.
bool GuardedRules::takesEntries(const Volume &volume, std::int64_t block) const {
  const VolumeGeometry geometry = volume.geometry();
  const auto number = static_cast<std::uint64_t>(block);
  const bool isOnlyTable = number != geometry.rootDirBlock && geometry.isInTable(number);
  return !isOnlyTable && !isInContents(volume, block, {});
}

bool GuardedRules::mayChangeEntry(const Volume &volume, EntryPlace place, const OwnFiles &own) const {
  return !isInContents(volume, place.block, own);
}

// A deleted file of that place leaves the list: it no longer has an entry. Mostly there is none at all.
void GuardedRules::entryWasTaken(Volume &volume, const EMU3DirectoryPtr &folder, EntryPlace place) const {
  if (!volume.index->slots().hasDeletedFiles()) return;
  for (const EMU3FilePtr &file : folder->files()) {
    if (file->isDeleted() && file->place() == place) volume.tree.removeFile(folder, file);
  }
}

// Takes a block that is all zero, else one without entries: any other may be of a folder that lost its entry.
std::optional<std::int64_t> GuardedRules::findDirectoryBlock(const Volume &volume,
                                                             const DirectoryBlockWish &wish) const {
  const VolumeGeometry geometry = volume.geometry();
  std::optional<std::int64_t> withoutEntries;
  const std::uint64_t end = std::min(geometry.dataAreaBlock, kLastFolderBlock + 1);
  for (std::uint64_t number = geometry.rootDirBlock; number < end; ++number) {
    const auto block = static_cast<std::int64_t>(number);
    if (!geometry.mayHoldFolder(number) || volume.index->namesBlock(block) || wish.except == block) continue;
    if (wish.suits && !wish.suits(block)) continue;
    const std::optional<Block> bytes = volume.entries.read(block);
    if (!bytes) continue;
    if (isAllZero(*bytes)) return block;
    if (!withoutEntries && hasNoEntry(*bytes)) withoutEntries = block;
  }
  return withoutEntries;
}

std::optional<FolderGrowth> GuardedRules::growthOf(const Volume &volume, const EMU3DirectoryPtr &folder,
                                                   const DirectoryBlockWish &wish) const {
  if (folder == volume.tree.root()) return std::nullopt;
  const std::optional<Dentry> entry = volume.entries.readEntry(folder->place());
  if (!entry) return std::nullopt;
  const std::optional<std::size_t> position = firstEmptyPosition(*entry);
  if (!position || !mayChangeEntry(volume, folder->place(), {})) return std::nullopt;
  // Some numbers make a folder's entry read as a file's.
  const auto suits = [&](std::int64_t block) {
    if (wish.suits && !wish.suits(block)) return false;
    Dentry grown = *entry;
    setFolderBlockAt(grown, *position, block);
    return !isFileDentry(grown.data());
  };
  const std::optional<std::int64_t> block = findDirectoryBlock(volume, {wish.except, suits});
  if (!block) return std::nullopt;
  return FolderGrowth{*block, *position};
}

// On a damaged volume a deleted folder can list blocks that something else uses too: the table, another
// folder, a file outside. Those blocks stay. In a block of another folder the entries are cleared; in the
// table and in contents nothing is, since what reads there as entries is marks or sound.
BlocksToKeep GuardedRules::blocksToKeep(const Volume &volume,
                                        const std::vector<EMU3DirectoryPtr> &deleted) const {
  const VolumeGeometry geometry = volume.geometry();
  std::set<std::int64_t> listed;
  for (const EMU3DirectoryPtr &folder : deleted) {
    const std::vector<std::int64_t> blocks = folder->blockList();
    listed.insert(blocks.begin(), blocks.end());
  }
  BlocksToKeep kept;
  const std::unordered_set<EMU3DirectoryPtr> gone(deleted.begin(), deleted.end());
  FileExtents files;
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(volume.tree.root())) {
    if (gone.contains(folder)) continue;
    for (const std::int64_t block : folder->blockList()) {
      if (listed.contains(block)) kept.uncleared.insert(block);
    }
    folder->lookAtFiles([&](const EMU3File &file) { files.add(file, geometry); });
  }
  const std::vector<std::int64_t> inFiles = files.thoseOf(listed);
  kept.untouched.insert(inFiles.begin(), inFiles.end());
  kept.untouched.erase(
      static_cast<std::int64_t>(geometry.rootDirBlock)); // the header says that it holds entries
  for (const std::int64_t block : listed) {
    const bool isMarks = block == 0 || geometry.isInTable(static_cast<std::uint64_t>(block));
    if (isMarks && !kept.uncleared.contains(block)) kept.untouched.insert(block);
  }
  kept.uncleared.insert(kept.untouched.begin(), kept.untouched.end());
  return kept;
}

} // namespace tessary
