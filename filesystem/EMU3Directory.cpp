#include "tessary/EMU3Directory.h"

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

template <typename Pointer> bool contains(const std::vector<Pointer> &list, const Pointer &item) {
  return std::find(list.begin(), list.end(), item) != list.end();
}

} // namespace

// Nobody else can refer to a folder that is being destroyed.
EMU3Directory::~EMU3Directory() TESSARY_NO_THREAD_SAFETY_ANALYSIS {
  releaseWithoutRecursion(std::move(subdirectories_));
}

std::uint8_t EMU3Directory::entryId() const {
  const MutexLock lock(mutex_);
  return entryId_;
}

std::string EMU3Directory::name() const {
  const MutexLock lock(mutex_);
  return name_;
}

std::vector<std::int64_t> EMU3Directory::blockList() const {
  const MutexLock lock(mutex_);
  return blockList_;
}

std::vector<EMU3FilePtr> EMU3Directory::files() const {
  const MutexLock lock(mutex_);
  return files_;
}

std::vector<EMU3DirectoryPtr> EMU3Directory::subdirectories() const {
  const MutexLock lock(mutex_);
  return subdirectories_;
}

EMU3DirectoryPtr EMU3Directory::parent() const {
  const MutexLock lock(mutex_);
  return parent_.lock();
}

std::int64_t EMU3Directory::dentryBlock() const {
  const MutexLock lock(mutex_);
  return place_.block;
}

std::int64_t EMU3Directory::dentryOffset() const {
  const MutexLock lock(mutex_);
  return place_.index;
}

EntryPlace EMU3Directory::place() const {
  const MutexLock lock(mutex_);
  return place_;
}

bool EMU3Directory::containsFile(const EMU3FilePtr &file) const {
  const MutexLock lock(mutex_);
  return contains(files_, file);
}

bool EMU3Directory::containsSubdirectory(const EMU3DirectoryPtr &directory) const {
  const MutexLock lock(mutex_);
  return contains(subdirectories_, directory);
}

std::vector<EMU3FilePtr> EMU3Directory::allFiles() const {
  std::vector<EMU3FilePtr> live = files();
  std::erase_if(live, [](const EMU3FilePtr &file) { return file->isDeleted(); });
  return live;
}

std::uint64_t EMU3Directory::totalFileCount() const {
  const MutexLock lock(mutex_);
  return static_cast<std::uint64_t>(std::count_if(
      files_.begin(), files_.end(), [](const EMU3FilePtr &file) { return !file->isDeleted(); }));
}

std::string EMU3Directory::description() const {
  const MutexLock lock(mutex_);
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

bool isInside(EMU3DirectoryPtr folder, const EMU3DirectoryPtr &top) {
  while (folder && folder != top)
    folder = folder->parent();
  return folder != nullptr;
}

} // namespace tessary
