#include "filesystem/TreeEditor.h"

#include <algorithm>
#include <utility>

namespace tessary {
namespace {

// True when the list held the item.
template <typename Pointer> bool removeFrom(std::vector<Pointer> &list, const Pointer &item) {
  const auto place = std::find(list.begin(), list.end(), item);
  if (place == list.end()) return false;
  list.erase(place);
  return true;
}

} // namespace

void TreeEditor::setName(EMU3File &file, std::string name) {
  const MutexLock lock(file.mutex_);
  file.name_ = std::move(name);
}

void TreeEditor::setBankDetails(EMU3File &file, BankDetails details) {
  const MutexLock lock(file.mutex_);
  file.bankDetails_ = std::move(details);
}

void TreeEditor::setCachedData(EMU3File &file, ByteBufferPtr data) {
  const MutexLock lock(file.mutex_);
  file.cachedData_.swap(data); // the old contents are released after the lock
}

ByteBufferPtr TreeEditor::cacheDataIfUnset(EMU3File &file, ByteBufferPtr data) {
  const MutexLock lock(file.mutex_);
  if (!file.cachedData_) file.cachedData_ = std::move(data);
  return file.cachedData_;
}

void TreeEditor::setEntryId(EMU3Directory &folder, std::uint8_t value) {
  const MutexLock lock(folder.mutex_);
  folder.entryId_ = value;
}

void TreeEditor::setName(EMU3Directory &folder, std::string name) {
  const MutexLock lock(folder.mutex_);
  folder.name_ = std::move(name);
}

void TreeEditor::setBlockList(EMU3Directory &folder, std::vector<std::int64_t> blocks) {
  const MutexLock lock(folder.mutex_);
  folder.blockList_ = std::move(blocks);
}

void TreeEditor::setPlace(EMU3Directory &folder, EntryPlace place) {
  const MutexLock lock(folder.mutex_);
  folder.place_ = place;
}

void TreeEditor::setFiles(const EMU3DirectoryPtr &folder, std::vector<EMU3FilePtr> files) {
  for (const EMU3FilePtr &file : files)
    setFolder(*file, folder);
  {
    const MutexLock lock(folder->mutex_);
    folder->files_.swap(files);
  }
  for (const EMU3FilePtr &earlier : files) {
    if (!folder->containsFile(earlier)) setFolder(*earlier, nullptr);
  }
}

void TreeEditor::appendFile(const EMU3DirectoryPtr &folder, EMU3FilePtr file) {
  setFolder(*file, folder);
  const MutexLock lock(folder->mutex_);
  folder->files_.push_back(std::move(file));
}

void TreeEditor::removeFile(const EMU3DirectoryPtr &folder, const EMU3FilePtr &file) {
  bool wasThere = false;
  {
    const MutexLock lock(folder->mutex_);
    wasThere = removeFrom(folder->files_, file);
  }
  if (wasThere) setFolder(*file, nullptr);
}

void TreeEditor::setSubdirectories(const EMU3DirectoryPtr &folder, std::vector<EMU3DirectoryPtr> below) {
  for (const EMU3DirectoryPtr &one : below)
    setParent(*one, folder);
  const MutexLock lock(folder->mutex_);
  folder->subdirectories_.swap(below); // the old ones are released after the lock
}

void TreeEditor::appendSubdirectory(const EMU3DirectoryPtr &folder, EMU3DirectoryPtr below) {
  setParent(*below, folder);
  const MutexLock lock(folder->mutex_);
  folder->subdirectories_.push_back(std::move(below));
}

void TreeEditor::removeSubdirectory(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &below) {
  const MutexLock lock(folder->mutex_);
  removeFrom(folder->subdirectories_, below);
}

void TreeEditor::setFolder(EMU3File &file, const EMU3DirectoryPtr &folder) {
  const MutexLock lock(file.mutex_);
  file.folder_ = folder;
}

void TreeEditor::setParent(EMU3Directory &folder, const EMU3DirectoryPtr &parent) {
  const MutexLock lock(folder.mutex_);
  folder.parent_ = parent;
}

} // namespace tessary
