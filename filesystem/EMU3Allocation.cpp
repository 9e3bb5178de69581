#include "filesystem/EMU3Filesystem.h"
#include "filesystem/Text.h"

#include <algorithm>
#include <limits>

namespace tessary {

using namespace format;

// The slot above the highest in use anywhere in the tree; one freed below it is never handed out again.
std::optional<std::uint16_t> EMU3Filesystem::_allocFileSlot(const EMU3DirectoryPtr &root) const {
  if (isGuarded()) {
    const std::uint64_t next = _highestReachedSlot(root) + 1;
    if (next > std::numeric_limits<std::uint16_t>::max()) return std::nullopt;
    return static_cast<std::uint16_t>(next);
  }
  std::uint16_t max = 0;
  _scanMaxSlotIndex(root, &max);
  return static_cast<std::uint16_t>(max + 1);
}

void EMU3Filesystem::_scanMaxSlotIndex(const EMU3DirectoryPtr &directory, std::uint16_t *max) const {
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(directory)) {
    for (const EMU3FilePtr &file : folder->files())
      *max = std::max(*max, file->startCluster());
  }
}

// The highest slot that any file's contents or cluster count reach into: a bank longer than a slot runs
// on into the next ones.
std::uint64_t EMU3Filesystem::_highestReachedSlot(const EMU3DirectoryPtr &root) const {
  std::uint64_t highest = 0;
  const std::uint64_t slotSize = slotSizeBlocks_;
  const auto raise = [&](const EMU3FileFields &fields) {
    const std::uint64_t first = std::max<std::uint64_t>(fields.startCluster, 1);
    const std::uint64_t filled = (fields.blocksInLastCluster + slotSize - 1) / slotSize;
    highest = std::max(highest, first + std::max<std::uint64_t>({1, fields.clusterCount, filled}) - 1);
  };
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(root)) {
    folder->lookAtFiles([&](const EMU3File &file) { file.lookAtFields(raise); });
  }
  return highest;
}

void EMU3Filesystem::_setMarks(std::uint16_t slot, std::uint16_t blocks, std::uint16_t value) {
  const std::uint64_t first = _slotStartBlock(slot);
  const std::uint64_t tableEnd = isGuarded() ? _fatEndBlock() : std::numeric_limits<std::uint64_t>::max();
  for (std::uint64_t i = 0; i < blocks; ++i) {
    const std::uint64_t block = first + i;
    // Behind a table too short for the volume lie folders; a mark there would destroy them.
    if (fatStartBlock_ + block / kFatEntriesPerBlock < tableEnd) _setFatEntry(block, value);
  }
}

// The guards of the two counters stand on opposite sides: here on the free blocks, below on the used.
void EMU3Filesystem::_markSlotUsed(std::uint16_t slot, std::uint16_t blocksUsed) {
  _setMarks(slot, blocksUsed, kFatUsed);
  if (freeBlocks_ >= blocksUsed) freeBlocks_ -= blocksUsed;
  usedBlocks_ += blocksUsed;
}

void EMU3Filesystem::_freeSlot(std::uint16_t slot, std::uint16_t blocksUsed) {
  _setMarks(slot, blocksUsed, kFatFree);
  freeBlocks_ += blocksUsed;
  if (usedBlocks_ >= blocksUsed) usedBlocks_ -= blocksUsed;
}

bool EMU3Filesystem::_writeData(const ByteBuffer &data, std::uint64_t toSlotStartBlock) {
  return mapping_->writeData(toSlotStartBlock, data.data(), data.size());
}

bool EMU3Filesystem::_findFreeDentry(const EMU3DirectoryPtr &directory, std::int64_t *outBlock,
                                     std::int64_t *outOffset) const {
  for (const std::int64_t number : directory->blockList()) {
    Block block{};
    if (!_blockPtr(static_cast<std::uint64_t>(number)).read(0, block.data(), block.size())) continue;
    for (std::size_t index = 0; index < kDentriesPerBlock; ++index) {
      const std::uint8_t *const dentry = block.data() + index * kDentrySize;
      const bool isEmpty = dentry[0] == 0;
      if (!isEmpty && dentry[kDentryRawType] != kRawTypeDeleted) continue;
      const auto offset = static_cast<std::int64_t>(index);
      // A folder's entry has no type byte, so the bare rule takes it for a free one.
      if (!isEmpty && isGuarded() && _isLiveFolderEntry(number, offset)) continue;
      *outBlock = number;
      *outOffset = offset;
      return true;
    }
  }
  return false;
}

// Looks at the whole tree: on a damaged volume two folders can name the same block.
bool EMU3Filesystem::_isLiveFolderEntry(std::int64_t block, std::int64_t offset) const {
  const EMU3DirectoryPtr root = rootDirectory();
  const std::vector<EMU3DirectoryPtr> folders = directoriesInPreOrder(root);
  return std::any_of(folders.begin(), folders.end(), [&](const EMU3DirectoryPtr &folder) {
    return folder != root && folder->dentryBlock() == block && folder->dentryOffset() == offset;
  });
}

std::string_view EMU3Filesystem::_entryName(const std::string &name) const {
  if (!isValidUtf8(name)) return {};
  if (isGuarded()) return prefixOfWholeCharacters(name, kMaxNameBytes);
  return std::string_view(name).substr(0, kMaxNameBytes);
}

Dentry EMU3Filesystem::_dentryForFile(const std::string &name, std::uint16_t fileIndex, std::uint64_t length,
                                      std::uint8_t entryId) const {
  Dentry dentry{};
  const std::string_view stored = _entryName(name);
  std::fill_n(dentry.begin(), kNameSize, std::uint8_t{' '});
  std::copy(stored.begin(), stored.end(), dentry.begin());
  dentry[stored.size()] = 0;
  const auto blocks = static_cast<std::uint16_t>((length + kBlockSize - 1) / kBlockSize);
  const std::uint64_t inLastBlock = blocks != 0 ? length - (std::uint64_t{blocks} - 1) * kBlockSize : length;
  dentry[kDentryEntryId] = entryId;
  writeLE16(&dentry[kDentryStartCluster], fileIndex);
  writeLE16(&dentry[kDentryClusterCount], 1);
  writeLE16(&dentry[kDentryBlocksInLastCluster], blocks);
  writeLE16(&dentry[kDentryBytesInLastBlock], static_cast<std::uint16_t>(inLastBlock));
  dentry[kDentryRawType] = kRawTypeBank;
  std::copy(kFormatMark.begin(), kFormatMark.end(), dentry.begin() + kDentryFormatMark);
  return dentry;
}

void EMU3Filesystem::_writeDentry(const Dentry &dentry, std::int64_t blockIdx, std::int64_t offset) {
  mapping_->writeDentry(static_cast<std::uint64_t>(blockIdx), static_cast<std::size_t>(offset), dentry);
}

// Wraps on purpose: after an id of 255 the next file in the list counts anew.
std::uint8_t EMU3Filesystem::_nextEntryId(const EMU3DirectoryPtr &directory) {
  unsigned next = 0;
  for (const EMU3FilePtr &file : directory->files()) {
    const unsigned id = file->entryId();
    if (id >= (next & 0xFF)) next = id + 1;
  }
  return static_cast<std::uint8_t>(next & 0xFF);
}

bool EMU3Filesystem::_isInTree(const EMU3DirectoryPtr &directory) const {
  const EMU3DirectoryPtr root = rootDirectory();
  for (EMU3DirectoryPtr folder = directory; folder;) {
    if (folder == root) return true;
    EMU3DirectoryPtr parent = folder->parent();
    if (parent && !parent->containsSubdirectory(folder)) return false;
    folder = std::move(parent);
  }
  return false;
}

bool EMU3Filesystem::_holdsFile(const EMU3DirectoryPtr &directory, const EMU3FilePtr &file) const {
  return directory && directory->containsFile(file) && _isInTree(directory);
}

bool EMU3Filesystem::_isAnywhereInTree(const EMU3FilePtr &file) const {
  const std::vector<EMU3DirectoryPtr> folders = directoriesInPreOrder(rootDirectory());
  return std::any_of(folders.begin(), folders.end(),
                     [&](const EMU3DirectoryPtr &folder) { return folder->containsFile(file); });
}

bool EMU3Filesystem::_mayReadContents(const EMU3FilePtr &file, EMU3Error *error) const {
  if (!isGuarded() || file->cachedData() || _isAnywhereInTree(file)) return true;
  return fail(error, _errorCode(kErrorEntryNotFound, "Dentry block not found"));
}

std::optional<std::string> EMU3Filesystem::_nameReadBack(const std::string &name) const {
  return _parseName(_dentryForFile(name, 0, 0, 0).data());
}

} // namespace tessary
