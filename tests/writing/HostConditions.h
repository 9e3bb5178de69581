#pragma once

#include "tests/support/TemporaryFolder.h"

#include <cstdint>
#include <string>
#include <string_view>

#include <sys/resource.h>
#include <sys/types.h>

/// Conditions of the host that hold for a scope.
namespace tessary::test {

/// A file system of its own in a temporary folder. Needs the right to mount; without it, or where the
/// host has no such file system, `isMounted` is false.
class MountedDisk {
public:
  explicit MountedDisk(std::uint64_t sizeBytes);
  ~MountedDisk();
  MountedDisk(const MountedDisk &) = delete;
  MountedDisk &operator=(const MountedDisk &) = delete;

  bool isMounted() const { return mounted_; }
  std::string path(std::string_view name) const { return folder_.path(name); }
  const std::string &path() const { return folder_.path(); }
  /// From here on nothing can be changed in it. False when the host refuses.
  bool makeReadOnly();

private:
  TemporaryFolder folder_;
  bool mounted_ = false;
};

/// No file that the process writes may grow beyond `bytes`: the write that would fails, as on a full disk.
class FileSizeLimit {
public:
  explicit FileSizeLimit(std::uint64_t bytes);
  ~FileSizeLimit();
  FileSizeLimit(const FileSizeLimit &) = delete;
  FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
  rlimit earlier_{};
  void (*earlierHandler_)(int) = nullptr;
};

class Umask {
public:
  explicit Umask(mode_t mask);
  ~Umask();
  Umask(const Umask &) = delete;
  Umask &operator=(const Umask &) = delete;

private:
  mode_t earlier_;
};

/// Lets every user enter a folder or read a file.
void openToEveryone(const std::string &path);
/// The permission bits of a file.
mode_t permissionsOf(const std::string &path);
void setPermissions(const std::string &path, mode_t permissions);
/// Makes a FIFO.
void makeFifo(const std::string &path);
/// Makes a socket that nobody listens to.
void makeSocket(const std::string &path);

} // namespace tessary::test
