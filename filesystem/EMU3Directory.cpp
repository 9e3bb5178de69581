#include "filesystem/EMU3Directory.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace tessary {
namespace {

// Folders whose owner is being destroyed on this thread. The outermost destructor empties the list, so a
// chain of any length is released by a loop instead of one stack frame a level.
thread_local std::vector<EMU3DirectoryPtr> *releasing = nullptr;

void releaseWithoutRecursion(std::vector<EMU3DirectoryPtr> directories) {
  if (directories.empty()) return;
  if (releasing) {
    releasing->insert(releasing->end(), std::make_move_iterator(directories.begin()),
                      std::make_move_iterator(directories.end()));
    return;
  }
  releasing = &directories;
  while (!directories.empty()) {
    const EMU3DirectoryPtr next = std::move(directories.back());
    directories.pop_back();
  }
  releasing = nullptr;
}

template <typename Pointer> void removeFrom(std::vector<Pointer> &list, const Pointer &item) {
  const auto place = std::find(list.begin(), list.end(), item);
  if (place != list.end()) list.erase(place);
}

template <typename Pointer> bool contains(const std::vector<Pointer> &list, const Pointer &item) {
  return std::find(list.begin(), list.end(), item) != list.end();
}

} // namespace

EMU3Directory::~EMU3Directory() {
  releaseWithoutRecursion(std::move(subdirectories_));
}

std::uint8_t EMU3Directory::entryId() const {
  const std::lock_guard lock(mutex_);
  return entryId_;
}

void EMU3Directory::setEntryId(std::uint8_t value) {
  const std::lock_guard lock(mutex_);
  entryId_ = value;
}

std::string EMU3Directory::name() const {
  const std::lock_guard lock(mutex_);
  return name_;
}

void EMU3Directory::setName(std::string value) {
  const std::lock_guard lock(mutex_);
  name_ = std::move(value);
}

std::string EMU3Directory::storedName() const {
  const std::lock_guard lock(mutex_);
  return storedName_;
}

void EMU3Directory::setStoredName(std::string value) {
  const std::lock_guard lock(mutex_);
  storedName_ = std::move(value);
}

std::vector<std::int64_t> EMU3Directory::blockList() const {
  const std::lock_guard lock(mutex_);
  return blockList_;
}

void EMU3Directory::setBlockList(std::vector<std::int64_t> value) {
  const std::lock_guard lock(mutex_);
  blockList_ = std::move(value);
}

std::vector<EMU3FilePtr> EMU3Directory::files() const {
  const std::lock_guard lock(mutex_);
  return files_;
}

void EMU3Directory::setFiles(std::vector<EMU3FilePtr> value) {
  const std::lock_guard lock(mutex_);
  files_.swap(value); // what the old list owned is released after the lock
}

std::vector<EMU3DirectoryPtr> EMU3Directory::subdirectories() const {
  const std::lock_guard lock(mutex_);
  return subdirectories_;
}

void EMU3Directory::setSubdirectories(std::vector<EMU3DirectoryPtr> value) {
  const std::lock_guard lock(mutex_);
  subdirectories_.swap(value);
}

EMU3DirectoryPtr EMU3Directory::parent() const {
  const std::lock_guard lock(mutex_);
  return parent_.lock();
}

void EMU3Directory::setParent(const EMU3DirectoryPtr &value) {
  const std::lock_guard lock(mutex_);
  parent_ = value;
}

std::int64_t EMU3Directory::dentryBlock() const {
  const std::lock_guard lock(mutex_);
  return dentryBlock_;
}

void EMU3Directory::setDentryBlock(std::int64_t value) {
  const std::lock_guard lock(mutex_);
  dentryBlock_ = value;
}

std::int64_t EMU3Directory::dentryOffset() const {
  const std::lock_guard lock(mutex_);
  return dentryOffset_;
}

void EMU3Directory::setDentryOffset(std::int64_t value) {
  const std::lock_guard lock(mutex_);
  dentryOffset_ = value;
}

void EMU3Directory::appendFile(EMU3FilePtr file) {
  const std::lock_guard lock(mutex_);
  files_.push_back(std::move(file));
}

void EMU3Directory::removeFile(const EMU3FilePtr &file) {
  const std::lock_guard lock(mutex_);
  removeFrom(files_, file);
}

bool EMU3Directory::containsFile(const EMU3FilePtr &file) const {
  const std::lock_guard lock(mutex_);
  return contains(files_, file);
}

void EMU3Directory::appendSubdirectory(EMU3DirectoryPtr directory) {
  const std::lock_guard lock(mutex_);
  subdirectories_.push_back(std::move(directory));
}

void EMU3Directory::removeSubdirectory(const EMU3DirectoryPtr &directory) {
  const std::lock_guard lock(mutex_);
  removeFrom(subdirectories_, directory);
}

bool EMU3Directory::containsSubdirectory(const EMU3DirectoryPtr &directory) const {
  const std::lock_guard lock(mutex_);
  return contains(subdirectories_, directory);
}

std::vector<EMU3FilePtr> EMU3Directory::allFiles() const {
  std::vector<EMU3FilePtr> live = files();
  std::erase_if(live, [](const EMU3FilePtr &file) { return file->isDeleted(); });
  return live;
}

std::uint64_t EMU3Directory::totalFileCount() const {
  const std::lock_guard lock(mutex_);
  return static_cast<std::uint64_t>(std::count_if(
      files_.begin(), files_.end(), [](const EMU3FilePtr &file) { return !file->isDeleted(); }));
}

std::string EMU3Directory::description() const {
  const std::lock_guard lock(mutex_);
  return "<EMU3Directory: " + name_ + " (" + std::to_string(files_.size()) + " files, " +
         std::to_string(subdirectories_.size()) + " subdirs)>";
}

std::vector<EMU3DirectoryPtr> directoriesInPreOrder(const EMU3DirectoryPtr &directory) {
  std::vector<EMU3DirectoryPtr> found;
  std::vector<EMU3DirectoryPtr> pending{directory};
  while (!pending.empty()) {
    const EMU3DirectoryPtr next = std::move(pending.back());
    pending.pop_back();
    const std::vector<EMU3DirectoryPtr> below = next->subdirectories();
    pending.insert(pending.end(), below.rbegin(), below.rend());
    found.push_back(next);
  }
  return found;
}

} // namespace tessary
