#pragma once

#include "tessary/EMU3File.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tessary {

/// One folder of the tree: its files and subfolders, which it owns, and a weak link to its parent.
/// Plain values, which only the engine changes.
///
/// Every accessor may be called from any thread; lists come as copies. Releasing a folder releases its
/// subtree without recursion, so a chain of any depth needs no deep stack.
class EMU3Directory final : public std::enable_shared_from_this<EMU3Directory> {
public:
  EMU3Directory() = default;
  ~EMU3Directory();
  EMU3Directory(const EMU3Directory &) = delete;
  EMU3Directory &operator=(const EMU3Directory &) = delete;

  /// The entry's id byte; the root has 1.
  [[nodiscard]] std::uint8_t entryId() const;
  /// UTF-8; the root carries the volume label.
  [[nodiscard]] std::string name() const;
  /// Block numbers of the folder's entry blocks, in on-disk order.
  [[nodiscard]] std::vector<std::int64_t> blockList() const;
  /// The files in on-disk order, deleted ones included.
  [[nodiscard]] std::vector<EMU3FilePtr> files() const;
  /// The subfolders in on-disk order.
  [[nodiscard]] std::vector<EMU3DirectoryPtr> subdirectories() const;
  /// The containing folder; null for the root and once the containing folder is gone.
  [[nodiscard]] EMU3DirectoryPtr parent() const;
  /// Block that holds this folder's own entry; 0 for the root.
  [[nodiscard]] std::int64_t dentryBlock() const;
  /// Index of that entry in its block, 0–15; 0 for the root.
  [[nodiscard]] std::int64_t dentryOffset() const;
  /// The two above as one.
  [[nodiscard]] EntryPlace place() const;

  /// Calls `look` with each of `files`, under the folder's lock: for walks over the whole tree, which need
  /// no copy of the list. `look` must be short and call nothing but the file's own accessors.
  template <typename Look> void lookAtFiles(const Look &look) const {
    const MutexLock lock(mutex_);
    for (const EMU3FilePtr &file : files_)
      look(*file);
  }

  [[nodiscard]] bool containsFile(const EMU3FilePtr &file) const;
  [[nodiscard]] bool containsSubdirectory(const EMU3DirectoryPtr &directory) const;

  /// The members of `files` that are not deleted, in order; this folder only.
  [[nodiscard]] std::vector<EMU3FilePtr> allFiles() const;
  /// The number of elements of `allFiles`.
  [[nodiscard]] std::uint64_t totalFileCount() const;
  /// "<EMU3Directory: NAME (N files, N subdirs)>", deleted files counted.
  [[nodiscard]] std::string description() const;

private:
  friend class TreeEditor;

  mutable Mutex mutex_;
  std::string name_ TESSARY_GUARDED_BY(mutex_);
  std::vector<std::int64_t> blockList_ TESSARY_GUARDED_BY(mutex_);
  std::vector<EMU3FilePtr> files_ TESSARY_GUARDED_BY(mutex_);
  std::vector<EMU3DirectoryPtr> subdirectories_ TESSARY_GUARDED_BY(mutex_);
  std::weak_ptr<EMU3Directory> parent_ TESSARY_GUARDED_BY(mutex_);
  EntryPlace place_ TESSARY_GUARDED_BY(mutex_);
  std::uint8_t entryId_ TESSARY_GUARDED_BY(mutex_) = 0;
};

/// `directory` and every folder below it, depth first, each folder before its subfolders, without
/// recursion.
[[nodiscard]] std::vector<EMU3DirectoryPtr> directoriesInPreOrder(const EMU3DirectoryPtr &directory);
/// Whether the folder is `top` or lies below it.
[[nodiscard]] bool isInside(EMU3DirectoryPtr folder, const EMU3DirectoryPtr &top);

} // namespace tessary
