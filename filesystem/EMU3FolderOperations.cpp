#include "filesystem/DeletedEntries.h"
#include "filesystem/EMU3Filesystem.h"
#include "filesystem/Text.h"

#include <algorithm>
#include <utility>

namespace tessary {

using namespace format;

Dentry EMU3Filesystem::_dentryForFolder(std::string_view storedName, std::uint64_t block) {
  Dentry dentry{};
  std::fill_n(dentry.begin(), kNameSize, std::uint8_t{' '});
  std::copy(storedName.begin(), storedName.end(), dentry.begin());
  dentry[storedName.size()] = 0;
  dentry[kDentryEntryId] = kFolderId;
  writeLE16(&dentry[kDentryFolderBlocks], static_cast<std::uint16_t>(block));
  return dentry;
}

bool EMU3Filesystem::createDirectoryNamed(const std::string &name, const EMU3DirectoryPtr &inDirectory,
                                          EMU3Error *error) {
  const Change change(*this);
  return _createDirectory(name, inDirectory, error);
}

bool EMU3Filesystem::deleteDirectory(const EMU3DirectoryPtr &directory, const EMU3DirectoryPtr &fromParent,
                                     EMU3Error *error) {
  const Change change(*this);
  return _deleteDirectory(directory, fromParent, error);
}

void EMU3Filesystem::_collectDirectoryBlocks(const EMU3DirectoryPtr &directory,
                                             std::set<std::int64_t> *into) const {
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(directory)) {
    const std::vector<std::int64_t> blocks = folder->blockList();
    into->insert(blocks.begin(), blocks.end());
  }
}

std::uint64_t EMU3Filesystem::_findFreeDirectoryBlock() const {
  std::set<std::int64_t> taken;
  _collectDirectoryBlocks(rootDirectory(), &taken);
  std::uint64_t end = dataAreaBlock_;
  if (isGuarded()) end = std::min(end, kLastFolderBlock + 1); // a larger number would not read back
  for (std::uint64_t block = rootDirBlock_; block < end; ++block) {
    if (isGuarded() && !_canHoldFolder(block)) continue;
    if (!taken.contains(static_cast<std::int64_t>(block))) return block;
  }
  return 0;
}

// In the allocation table the next mark would overwrite the folder.
bool EMU3Filesystem::_canHoldFolder(std::uint64_t block) const {
  return block < fatStartBlock_ || block >= _fatEndBlock();
}

bool EMU3Filesystem::_createDirectory(const std::string &name, const EMU3DirectoryPtr &inDirectory,
                                      EMU3Error *error) {
  if (isReadOnly()) return fail(error, _errorCode(kErrorWriteRefused, "Image is read-only"));
  if (isGuarded() && !_isInTree(inDirectory)) {
    return fail(error, _errorCode(kErrorEntryNotFound, "Dentry block not found"));
  }
  if (name.empty() || utf16Length(name) > kMaxNameBytes || (isGuarded() && !_nameReadBack(name))) {
    return fail(error, _errorCode(kErrorBadArgument, "Name must be 1–15 characters"));
  }
  std::int64_t dentryBlock = 0;
  std::int64_t dentryOffset = 0;
  if (!_findFreeDentry(inDirectory, &dentryBlock, &dentryOffset)) {
    return fail(error, _errorCode(kErrorDirectoryFull, "Parent directory is full"));
  }
  const std::uint64_t block = _findFreeDirectoryBlock();
  if (block == 0) return fail(error, _errorCode(kErrorOutOfSpace, "No free directory block available"));
  const std::uint64_t faults = mapping_->writeFaults();
  if (!mapping_->clearBlock(block)) return fail(error, _errorCode(kErrorWriteRefused, "Block write failed"));
  _writeDentry(_dentryForFolder(_entryName(name), block), dentryBlock, dentryOffset);
  if (mapping_->writeFaults() != faults) {
    return fail(error, _errorCode(kErrorWriteRefused, "Block write failed"));
  }
  if (isGuarded()) forgetDeletedFileAt(*inDirectory, dentryBlock, dentryOffset);
  auto folder = std::make_shared<EMU3Directory>();
  folder->setName(name);
  folder->setStoredName(_nameReadBack(name).value_or(std::string()));
  folder->setEntryId(kFolderId);
  folder->setParent(inDirectory);
  folder->setDentryBlock(dentryBlock);
  folder->setDentryOffset(dentryOffset);
  folder->setBlockList({static_cast<std::int64_t>(block)});
  inDirectory->appendSubdirectory(std::move(folder));
  return true;
}

// Each folder after everything below it, with a stack of its own.
bool EMU3Filesystem::_deleteDirectory(const EMU3DirectoryPtr &directory, const EMU3DirectoryPtr &fromParent,
                                      EMU3Error *error) {
  if (isReadOnly()) return fail(error, _errorCode(kErrorWriteRefused, "Image is read-only"));
  if (isGuarded() && !(fromParent && fromParent->containsSubdirectory(directory) && _isInTree(fromParent))) {
    return fail(error, _errorCode(kErrorEntryNotFound, "Dentry block not found"));
  }
  struct Step {
    EMU3DirectoryPtr folder;
    EMU3DirectoryPtr parent;
    bool isEmptied = false;
  };
  const std::uint64_t faults = mapping_->writeFaults();
  std::vector<Step> pending{{directory, fromParent}};
  while (!pending.empty()) {
    Step &step = pending.back();
    if (step.isEmptied) {
      _removeEmptiedDirectory(step.folder, step.parent);
      pending.pop_back();
      continue;
    }
    step.isEmptied = true;
    const EMU3DirectoryPtr folder = step.folder;
    for (const EMU3FilePtr &file : folder->files())
      _removeFile(file, folder, nullptr);
    const std::vector<EMU3DirectoryPtr> below = folder->subdirectories();
    for (auto next = below.rbegin(); next != below.rend(); ++next)
      pending.push_back({*next, folder});
  }
  if (mapping_->writeFaults() == faults) return true;
  return fail(error, _errorCode(kErrorWriteRefused, "Block write failed"));
}

void EMU3Filesystem::_removeEmptiedDirectory(const EMU3DirectoryPtr &directory,
                                             const EMU3DirectoryPtr &parent) {
  for (const std::int64_t block : directory->blockList()) {
    mapping_->clearBlock(static_cast<std::uint64_t>(block));
  }
  mapping_->zeroDentry(static_cast<std::uint64_t>(directory->dentryBlock()),
                       static_cast<std::size_t>(directory->dentryOffset()));
  if (parent) parent->removeSubdirectory(directory);
}

} // namespace tessary
