#include "filesystem/EMU3Filesystem.h"

#include "filesystem/Text.h"

#include <algorithm>
#include <limits>
#include <shared_mutex>
#include <utility>

namespace tessary {

EMU3FilesystemPtr EMU3Filesystem::initWithURL(const std::string &imageURL, EMU3Error *error) {
  EMU3FilesystemPtr filesystem(new EMU3Filesystem);
  filesystem->imageURL_ = imageURL;
  filesystem->ioQueue_ = std::make_unique<SerialQueue>("com.tessary.io");
  if (!filesystem->_mapImageWithError(error) || !filesystem->reload(error)) return nullptr;
  return filesystem;
}

EMU3Filesystem::~EMU3Filesystem() = default;

// Under the lock, so that a tree is never made from the middle of another filesystem's change.
bool EMU3Filesystem::reload(EMU3Error *error) {
  const std::unique_lock lock(shared_->operationLock);
  if (!_parseFilesystemWithError(error)) return false;
  seenChanges_ = shared_->changeCount;
  return true;
}

bool EMU3Filesystem::_mapImageWithError(EMU3Error *error) {
  mapping_ = ImageMapping::open(imageURL_, error);
  if (!mapping_) return false;
  shared_ = sharedVolumeFor(mapping_->device(), mapping_->inode());
  if (!isReadOnly() && !shared_->claimForWriting(mapping_->descriptor())) mapping_->makeReadOnly();
  return true;
}

EMU3Error EMU3Filesystem::_errorCode(std::int64_t code, std::string message) {
  return {kEngineErrorDomain, code, std::move(message)};
}

bool EMU3Filesystem::_parseFilesystemWithError(EMU3Error *error) {
  if (imageSize() < format::kBlockSize) {
    return fail(error, _errorCode(kErrorNotAnImage, "File too small to be an E-MU disk image"));
  }
  format::Block header{};
  _blockPtr(0).read(0, header.data(), header.size());
  if (!std::equal(format::kSignature.begin(), format::kSignature.end(), header.begin())) {
    return fail(error,
                _errorCode(kErrorNotAnImage, "Not an E-MU 3/4 disk image (missing \"EMU3\" signature)"));
  }
  const auto fieldOr = [&header](std::size_t offset, std::uint64_t unset) {
    const std::uint64_t value = format::readLE32(header.data() + offset);
    return value == 0 ? unset : value;
  };
  rootDirBlock_ = fieldOr(format::kHeaderRootDirBlock, format::kDefaultRootDirBlock);
  dataAreaBlock_ = fieldOr(format::kHeaderDataAreaBlock, format::kDefaultDataAreaBlock);
  fatStartBlock_ = fieldOr(format::kHeaderFatStartBlock, format::kDefaultFatStartBlock);
  slotSizeBlocks_ = fieldOr(format::kHeaderSlotSize, format::kDefaultSlotSizeBlocks / 2) * 2;
  totalBlocks_ = imageSize() / format::kBlockSize;
  {
    const std::lock_guard lock(treeMutex_);
    volumeLabel_ = lastPathComponent(imageURL_);
    if (volumeLabel_.empty()) volumeLabel_ = "EMU3 Volume";
  }
  // The scan starts where the header says, zero included; the defaults hold for everything else.
  firstScannedBlock_ = fieldOr(format::kHeaderFatStartBlock, 0);
  _scanAllocationTable();
  _storeRoot(_freshRoot());
  return true;
}

EMU3DirectoryPtr EMU3Filesystem::_freshRoot() const {
  auto root = std::make_shared<EMU3Directory>();
  root->setName(volumeLabel());
  root->setEntryId(format::kRootEntryId);
  root->setBlockList({static_cast<std::int64_t>(rootDirBlock())});
  _parseDirectory(root);
  return root;
}

void EMU3Filesystem::_storeRoot(EMU3DirectoryPtr root) {
  const std::lock_guard lock(treeMutex_);
  rootDirectory_.swap(root); // the old tree is released after the lock
}

EMU3DirectoryPtr EMU3Filesystem::rootDirectory() const {
  const std::lock_guard lock(treeMutex_);
  return rootDirectory_;
}

std::string EMU3Filesystem::volumeLabel() const {
  const std::lock_guard lock(treeMutex_);
  return volumeLabel_;
}

// Always up to 1024 blocks from where the header has the table, bounded by the image's end alone.
void EMU3Filesystem::_scanAllocationTable() {
  std::uint64_t used = 0;
  const std::uint64_t first = firstScannedBlock_;
  const std::uint64_t scanned =
      mapping_->countNonZeroWords(first, first + format::kMaxScannedFatBlocks, &used);
  const std::uint64_t clusters = scanned * format::kFatEntriesPerBlock;
  totalClusters_ = clusters;
  usedBlocks_ = used;
  freeBlocks_ = used > clusters ? 0 : clusters - used;
}

std::uint16_t EMU3Filesystem::_fatEntry(std::uint64_t index) const {
  std::array<std::uint8_t, 2> bytes{};
  const BlockView block = _blockPtr(fatStartBlock_ + index / format::kFatEntriesPerBlock);
  if (!block.read(index % format::kFatEntriesPerBlock * 2, bytes.data(), bytes.size())) return 0;
  return format::readLE16(bytes.data());
}

void EMU3Filesystem::_setFatEntry(std::uint64_t index, std::uint16_t value) {
  std::array<std::uint8_t, 2> bytes{};
  format::writeLE16(bytes.data(), value);
  mapping_->write(fatStartBlock_ + index / format::kFatEntriesPerBlock,
                  index % format::kFatEntriesPerBlock * 2, bytes.data(), bytes.size());
}

std::uint64_t EMU3Filesystem::_fatEndBlock() const {
  std::uint64_t end = std::numeric_limits<std::uint64_t>::max();
  for (const std::uint64_t next : {rootDirBlock(), dataAreaBlock()}) {
    if (next > fatStartBlock_) end = std::min(end, next);
  }
  return end;
}

std::uint64_t EMU3Filesystem::describedBlocks() const {
  const std::uint64_t first = fatStartBlock();
  const std::uint64_t end = std::min(_fatEndBlock(), totalBlocks());
  return (std::max(first, end) - first) * format::kFatEntriesPerBlock;
}

EMU3Filesystem::Change::Change(EMU3Filesystem &filesystem) : filesystem_(filesystem) {
  filesystem_.shared_->operationLock.lock();
  if (filesystem_.seenChanges_ != filesystem_.shared_->changeCount) filesystem_._reconcileTree();
}

EMU3Filesystem::Change::~Change() {
  filesystem_.seenChanges_ = ++filesystem_.shared_->changeCount;
  filesystem_.shared_->operationLock.unlock();
}

} // namespace tessary
