#pragma once

#include "filesystem/EMU3File.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tessary {

class EMU3Directory;
using EMU3DirectoryPtr = std::shared_ptr<EMU3Directory>;

/// One folder of the tree: its files and subfolders, which it owns, and a weak link to its parent.
/// Plain values: changing one never touches the image.
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
  std::uint8_t entryId() const;
  void setEntryId(std::uint8_t value);
  /// UTF-8; the root carries the volume label.
  std::string name() const;
  void setName(std::string value);
  /// The name that the folder's entry holds, as it reads back; a folder that was renamed has another `name`.
  std::string storedName() const;
  void setStoredName(std::string value);
  /// Block numbers of the folder's entry blocks, in on-disk order.
  std::vector<std::int64_t> blockList() const;
  void setBlockList(std::vector<std::int64_t> value);
  /// The files in on-disk order, deleted ones included.
  std::vector<EMU3FilePtr> files() const;
  void setFiles(std::vector<EMU3FilePtr> value);
  /// The subfolders in on-disk order.
  std::vector<EMU3DirectoryPtr> subdirectories() const;
  void setSubdirectories(std::vector<EMU3DirectoryPtr> value);
  /// The containing folder; null for the root and once the containing folder is gone.
  EMU3DirectoryPtr parent() const;
  void setParent(const EMU3DirectoryPtr &value);
  /// Block that holds this folder's own entry; 0 for the root.
  std::int64_t dentryBlock() const;
  void setDentryBlock(std::int64_t value);
  /// Index of that entry in its block, 0–15; 0 for the root.
  std::int64_t dentryOffset() const;
  void setDentryOffset(std::int64_t value);

  /// Calls `look` with each of `files`, under the folder's lock: for walks over the whole tree, which need
  /// no copy of the list. `look` must be short and call nothing but the file's own accessors.
  template <typename Look> void lookAtFiles(const Look &look) const {
    const std::lock_guard lock(mutex_);
    for (const EMU3FilePtr &file : files_)
      look(*file);
  }

  void appendFile(EMU3FilePtr file);
  void removeFile(const EMU3FilePtr &file);
  bool containsFile(const EMU3FilePtr &file) const;
  void appendSubdirectory(EMU3DirectoryPtr directory);
  void removeSubdirectory(const EMU3DirectoryPtr &directory);
  bool containsSubdirectory(const EMU3DirectoryPtr &directory) const;

  /// The members of `files` that are not deleted, in order; this folder only.
  std::vector<EMU3FilePtr> allFiles() const;
  /// The number of elements of `allFiles`.
  std::uint64_t totalFileCount() const;
  /// "<EMU3Directory: NAME (N files, N subdirs)>", deleted files counted.
  std::string description() const;

private:
  mutable std::mutex mutex_;
  std::string name_;
  std::string storedName_;
  std::vector<std::int64_t> blockList_;
  std::vector<EMU3FilePtr> files_;
  std::vector<EMU3DirectoryPtr> subdirectories_;
  std::weak_ptr<EMU3Directory> parent_;
  std::int64_t dentryBlock_ = 0;
  std::int64_t dentryOffset_ = 0;
  std::uint8_t entryId_ = 0;
};

/// `directory` and every folder below it, depth first, each folder before its subfolders, without
/// recursion.
std::vector<EMU3DirectoryPtr> directoriesInPreOrder(const EMU3DirectoryPtr &directory);

} // namespace tessary
