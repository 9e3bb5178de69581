#include "filesystem/BareRules.h"

#include "filesystem/DirectoryEntry.h"
#include "filesystem/FileReading.h"
#include "tessary/Text.h"

#include <algorithm>
#include <limits>

namespace tessary {

using namespace format;

namespace {

// The slot above the highest in use anywhere in the tree; one freed below it is never handed out again. Above
// 65535 comes 0.
std::uint16_t slotAboveAll(const Volume &volume) TESSARY_REQUIRES_SHARED(volume.lock) {
  std::uint16_t highest = 0;
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(volume.tree.root())) {
    folder->lookAtFiles([&](const EMU3File &file) { highest = std::max(highest, file.startCluster()); });
  }
  return static_cast<std::uint16_t>(highest + 1);
}

// Writes marks wherever they come to lie, behind the table too.
void setMarks(Volume &volume, std::uint64_t first, std::uint64_t count, std::uint16_t value)
    TESSARY_REQUIRES(volume.lock) {
  volume.table.setMarks(first, count, value, [](std::uint64_t) { return true; });
}

std::uint16_t blocksCounted(std::uint64_t size) {
  return static_cast<std::uint16_t>(blocksNeeded(size));
}

} // namespace

std::optional<std::string> BareRules::nameOf(const std::uint8_t *dentry) const {
  return nameOfDentry(dentry);
}

// Cut by bytes, so a character may be cut in two.
std::string_view BareRules::storedName(const std::string &name) const {
  if (!isValidUtf8(name)) return {};
  return std::string_view(name).substr(0, kMaxNameBytes);
}

ByteBufferPtr BareRules::contentsForExport(const Volume &volume, const EMU3File &file, EMU3Error *) const {
  return bytesOfFile(volume, file);
}

// A copy that lacks what could not be read would pass for the whole file, and a move would delete that.
ByteBufferPtr BareRules::contentsForCopy(const Volume &volume, const EMU3File &file, EMU3Error *error) const {
  ByteBufferPtr data = bytesOfFile(volume, file);
  if (data->size() == contentsOfFile(volume, file).size()) return data;
  fail(error, EngineError::dataWriteFailed);
  return nullptr;
}

// Each sample gets the audio of the first chunk of its type, whichever chunk is its own.
SampleAudio BareRules::audioOfSamples(const FileContents &bank,
                                      const std::vector<BankSample> &samples) const {
  return audioBehindFirstChunks(bank, samples);
}

std::uint64_t BareRules::mostBlocksOfAFile() const {
  return std::numeric_limits<std::uint64_t>::max();
}

std::optional<std::uint16_t> BareRules::slotForNewFile(const Volume &volume, std::uint64_t blocks) const {
  const std::uint16_t slot = slotAboveAll(volume);
  // Slot 0 can begin below block 0: start, sum and bytes then wrap at 2^64, as the bare rules have it.
  const std::uint64_t end = volume.geometry().slotStartBlock(slot) + blocks;
  if (volume.image.size() < end * kBlockSize) return std::nullopt;
  return slot;
}

// From that slot to the image's end, and no more than is counted as free.
std::uint64_t BareRules::largestNewFile(const Volume &volume) const {
  const std::uint64_t first = volume.geometry().slotStartBlock(slotAboveAll(volume));
  const std::uint64_t total = volume.geometry().totalBlocks;
  return first < total ? std::min(total - first, volume.counters.free()) : 0;
}

Dentry BareRules::entryOfNewFile(const NewFile &file, const NewFilePlace &place) const {
  Dentry dentry = dentryForFile(storedName(file.name), place.slot, file.size, place.entryId);
  if (file.model) std::copy_n(file.model->begin(), kNameSize, dentry.begin());
  return dentry;
}

// For an empty file the fields in memory say 1 block, its entry 0.
EMU3FileFields BareRules::fieldsOfNewFile(const NewFile &file, const NewFilePlace &place,
                                          const Dentry &) const {
  EMU3FileFields fields;
  fields.name = file.name;
  fields.fileType = file.fileType;
  fields.startCluster = place.slot;
  fields.clusterCount = 1;
  fields.blocksInLastCluster = blocksCounted(file.size);
  const std::uint64_t padded = std::max<std::uint64_t>(file.size + kBlockSize - 1, kBlockSize);
  fields.bytesInLastBlock = static_cast<std::uint16_t>(file.size - (padded & 0xFE00) + kBlockSize);
  fields.fileSize = file.size;
  fields.rawType = kRawTypeBank;
  fields.entryId = place.entryId;
  fields.dentryBlock = place.entry.block;
  fields.dentryOffset = place.entry.index;
  return fields;
}

void BareRules::markNewFile(Volume &volume, std::uint16_t slot, std::uint64_t size) const {
  setMarks(volume, volume.geometry().slotStartBlock(slot), blocksCounted(size), kFatUsed);
  volume.counters.take(blocksCounted(size));
}

void BareRules::unmarkFailedFile(Volume &volume, std::uint16_t, std::uint64_t size) const {
  volume.counters.giveBack(blocksCounted(size));
}

std::vector<BlockRun> BareRules::freedBlocks(const Volume &volume,
                                             const std::vector<EMU3FileFields> &deleted) const {
  std::vector<BlockRun> freed;
  freed.reserve(deleted.size());
  for (const EMU3FileFields &file : deleted)
    freed.push_back({volume.geometry().slotStartBlock(file.startCluster), file.blocksInLastCluster});
  return freed;
}

void BareRules::clearMarks(Volume &volume, const BlockRun &freed) const {
  setMarks(volume, freed.first, freed.count, kFatFree);
  volume.counters.giveBack(freed.count);
}

// In a folder's entry the fifth block number begins where the type byte would be, so the entry of a folder of
// up to four blocks counts as free too.
bool BareRules::isFree(const Volume &, const std::uint8_t *dentry, EntryPlace) const {
  return dentry[0] == 0 || dentry[kDentryRawType] == kRawTypeDeleted;
}

bool BareRules::takesEntries(const Volume &, std::int64_t) const {
  return true;
}

bool BareRules::mayChangeEntry(const Volume &, EntryPlace, const OwnFiles &) const {
  return true;
}

// What the block holds is not looked at.
std::optional<std::int64_t> BareRules::findDirectoryBlock(const Volume &volume,
                                                          const DirectoryBlockWish &) const {
  const VolumeGeometry geometry = volume.geometry();
  const std::unordered_set<std::int64_t> taken = VolumeTree::folderBlocks(volume.tree.root());
  for (std::uint64_t block = geometry.rootDirBlock; block < geometry.dataAreaBlock; ++block) {
    const auto number = static_cast<std::int64_t>(block);
    if (!taken.contains(number)) return number;
  }
  return std::nullopt;
}

} // namespace tessary
