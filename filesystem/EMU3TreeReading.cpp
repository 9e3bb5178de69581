#include "filesystem/DentryForm.h"
#include "filesystem/EMU3Filesystem.h"
#include "filesystem/Text.h"

#include <algorithm>
#include <shared_mutex>
#include <utility>

namespace tessary {
namespace {

using namespace format;

EMU3FilePtr fileFromDentry(const std::uint8_t *dentry, std::string name, std::int64_t block,
                           std::size_t index) {
  EMU3FileFields fields;
  fields.name = std::move(name);
  fields.entryId = dentry[kDentryEntryId];
  fields.dentryBlock = block;
  fields.dentryOffset = static_cast<std::int64_t>(index);
  fields.startCluster = readLE16(dentry + kDentryStartCluster);
  fields.clusterCount = readLE16(dentry + kDentryClusterCount);
  fields.blocksInLastCluster = readLE16(dentry + kDentryBlocksInLastCluster);
  fields.bytesInLastBlock = readLE16(dentry + kDentryBytesInLastBlock);
  fields.rawType = dentry[kDentryRawType];
  fields.fileType = fileTypeForRawType(fields.rawType);
  if (fields.blocksInLastCluster != 0) {
    fields.fileSize = fields.blocksInLastCluster * kBlockSize + fields.bytesInLastBlock - kBlockSize;
  }
  return std::make_shared<EMU3File>(std::move(fields));
}

EMU3DirectoryPtr folderFromDentry(const std::uint8_t *dentry, std::string name, std::int64_t block,
                                  std::size_t index, const EMU3DirectoryPtr &parent) {
  auto folder = std::make_shared<EMU3Directory>();
  folder->setStoredName(name);
  folder->setName(std::move(name));
  folder->setEntryId(dentry[kDentryEntryId]);
  folder->setParent(parent);
  folder->setDentryBlock(block);
  folder->setDentryOffset(static_cast<std::int64_t>(index));
  folder->setBlockList(folderBlocks(dentry));
  return folder;
}

// A folder whose parse has begun. The parse goes down into a subfolder at the entry that names it and
// comes back to the entry after it.
struct OpenFolder {
  EMU3DirectoryPtr directory;
  std::vector<std::int64_t> blockList;
  std::size_t nextBlock = 0;
  std::size_t nextEntry = kDentriesPerBlock; // none left: take the next block
  Block block{};
  std::int64_t blockNumber = 0;
  std::vector<EMU3FilePtr> files;
  std::vector<EMU3DirectoryPtr> subdirectories;
};

OpenFolder openFolder(EMU3DirectoryPtr directory) {
  OpenFolder folder;
  folder.blockList = directory->blockList();
  folder.directory = std::move(directory);
  return folder;
}

} // namespace

// Depth first in on-disk order, with a stack of its own. A damaged volume can name one block in many
// folders or in a cycle: a block is read by the first folder that reaches it, so the time is linear in
// the blocks.
void EMU3Filesystem::_parseDirectory(const EMU3DirectoryPtr &directory) const {
  std::unordered_set<std::int64_t> blocksRead;
  std::vector<OpenFolder> stack;
  stack.push_back(openFolder(directory));
  while (!stack.empty()) {
    OpenFolder &folder = stack.back();
    if (folder.nextEntry == kDentriesPerBlock) {
      if (folder.nextBlock == folder.blockList.size()) {
        folder.directory->setFiles(std::move(folder.files));
        folder.directory->setSubdirectories(std::move(folder.subdirectories));
        stack.pop_back();
        continue;
      }
      folder.blockNumber = folder.blockList[folder.nextBlock++];
      const BlockView view = _blockPtr(static_cast<std::uint64_t>(folder.blockNumber));
      if (!view || !blocksRead.insert(folder.blockNumber).second) continue;
      if (view.read(0, folder.block.data(), folder.block.size())) folder.nextEntry = 0;
      continue;
    }
    const std::size_t index = folder.nextEntry++;
    const std::uint8_t *const dentry = folder.block.data() + index * kDentrySize;
    if (dentry[0] == 0) continue;
    std::optional<std::string> name = _parseName(dentry);
    if (!name) continue;
    if (isFileDentry(dentry)) {
      folder.files.push_back(fileFromDentry(dentry, std::move(*name), folder.blockNumber, index));
      continue;
    }
    EMU3DirectoryPtr below =
        folderFromDentry(dentry, std::move(*name), folder.blockNumber, index, folder.directory);
    folder.subdirectories.push_back(below);
    stack.push_back(openFolder(std::move(below))); // `folder` and `dentry` are no longer valid
  }
}

std::optional<std::string> EMU3Filesystem::_parseName(const std::uint8_t *field) {
  std::string name = paddedField(field, kNameSize);
  if (name.empty() || !isValidUtf8(name)) return std::nullopt;
  return name;
}

std::uint64_t EMU3Filesystem::_slotStartBlock(std::uint16_t slot) const {
  return dataAreaBlock_ + slotSizeBlocks_ * (std::uint64_t{slot} - 1);
}

FileContents EMU3Filesystem::_contentsOfFile(const EMU3FilePtr &file) const {
  if (ByteBufferPtr cached = file->cachedData()) return FileContents(std::move(cached));
  const EMU3FileFields fields = file->fields();
  const std::uint16_t slot = fields.startCluster == 0 ? 1 : fields.startCluster;
  const std::uint64_t first = _slotStartBlock(slot);
  const std::uint64_t inside = first < totalBlocks_ ? totalBlocks_ - first : 0;
  std::uint64_t size = std::min<std::uint64_t>(fields.blocksInLastCluster, inside) * kBlockSize;
  if (fields.fileSize != 0) size = std::min(size, fields.fileSize);
  return {*mapping_, first, size};
}

ByteBufferPtr EMU3Filesystem::_bytesOfFile(const EMU3FilePtr &file) const {
  if (ByteBufferPtr cached = file->cachedData()) return cached;
  const FileContents contents = _contentsOfFile(file);
  auto bytes = std::make_shared<ByteBuffer>();
  bytes->resize(contents.size());
  bytes->resize(contents.read(0, bytes->data(), contents.size()));
  return bytes;
}

ByteBufferPtr EMU3Filesystem::dataForFile(const EMU3FilePtr &file, EMU3Error *) {
  if (ByteBufferPtr cached = file->cachedData()) return cached;
  const std::shared_lock lock(shared_->operationLock);
  return file->cacheDataIfUnset(_bytesOfFile(file));
}

} // namespace tessary
