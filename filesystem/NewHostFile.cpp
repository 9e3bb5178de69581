#include "filesystem/NewHostFile.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <random>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tessary {
namespace {

// Only a regular file, or a link that does not lead to anything else, may be replaced: putting a file in
// the place of a device or FIFO would break whoever uses it.
bool mayReplace(mode_t mode, const std::string &path, EMU3Error *error) {
  if (S_ISREG(mode) || S_ISLNK(mode)) return true;
  if (S_ISDIR(mode)) return fail(error, hostError(EISDIR, path));
  return fail(error, {kHostErrorDomain, EINVAL, path + ": Not a regular file"});
}

// The file that a link leads to is replaced, not the link. One that leads nowhere is replaced itself.
std::string withoutLink(const std::string &link) {
  const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(link.c_str(), nullptr), &std::free);
  return resolved ? resolved.get() : link;
}

// A name that no other file of this process has, and hardly one of another process: a random number for the
// process and a count. Asking the host for each name (mkstemp) took longer than writing a small file.
std::string temporaryPathBeside(const std::string &path) {
  static const unsigned ofProcess = std::random_device()();
  static std::atomic<unsigned> count = 0;
  std::array<char, 32> name{};
  std::snprintf(name.data(), name.size(), ".tessary-%08x%08x", ofProcess, ++count);
  return folderOf(path) + name.data();
}

// What a new file asks for; the host's umask takes from it.
constexpr mode_t kNewFile = 0666;
constexpr mode_t kPermissions = 07777;

// The path by which an open file without a name can be reached.
std::string pathOfDescriptor(int fd) {
  return "/proc/self/fd/" + std::to_string(fd);
}

// Names a file that has none. False with errno.
bool nameFile(int fd, const std::string &path) {
#ifdef AT_EMPTY_PATH
  // Older hosts allow this to privileged programs alone; others go by way of /proc.
  if (::linkat(fd, "", AT_FDCWD, path.c_str(), AT_EMPTY_PATH) == 0) return true;
  if (errno == EEXIST) return false;
#endif
  return ::linkat(AT_FDCWD, pathOfDescriptor(fd).c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

// Makes a file without a name. Negative where the host cannot, or could not give it a name later.
int createWithoutName(const std::string &target) {
#ifdef O_TMPFILE
  const std::string folder = folderOf(target);
  const int fd = ::open(folder.empty() ? "." : folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, kNewFile);
  static std::atomic<bool> canBeNamed = false; // of this process's files; once is enough
  if (fd < 0 || canBeNamed) return fd;
  canBeNamed = ::access(pathOfDescriptor(fd).c_str(), F_OK) == 0;
  if (canBeNamed) return fd;
  ::close(fd);
  return -1;
#else
  static_cast<void>(target);
  return -1;
#endif
}

} // namespace

NewHostFile::~NewHostFile() {
  giveUp();
}

NewHostFile::NewHostFile(NewHostFile &&other) noexcept {
  *this = std::move(other);
}

NewHostFile &NewHostFile::operator=(NewHostFile &&other) noexcept {
  std::swap(path_, other.path_);
  std::swap(target_, other.target_);
  std::swap(temporaryPath_, other.temporaryPath_);
  std::swap(earlier_, other.earlier_);
  std::swap(permissions_, other.permissions_);
  std::swap(newPermissions_, other.newPermissions_);
  std::swap(id_, other.id_);
  std::swap(hasName_, other.hasName_);
  std::swap(fd_, other.fd_);
  return *this;
}

void NewHostFile::giveUp() {
  if (!temporaryPath_.empty()) ::unlink(temporaryPath_.c_str());
  if (fd_ >= 0) ::close(fd_);
  temporaryPath_.clear();
  fd_ = -1;
}

bool NewHostFile::create(const std::string &path, Earlier earlier, EMU3Error *error, Standing standing) {
  giveUp();
  earlier_ = earlier;
  hasName_ = false;
  path_ = target_ = path;
  permissions_.reset();
  if (standing != Standing::nothing && !aimAt(path, error)) return false;
  fd_ = createWithoutName(target_);
  if (fd_ < 0 && !createNamed()) return fail(error, hostError(errno, path));
  struct stat status {};
  if (::fstat(fd_, &status) != 0) return fail(error, hostError(errno, path));
  newPermissions_ = status.st_mode & kPermissions;
  id_ = {status.st_dev, status.st_ino};
  if (permissions_) takePermissions();
  return true;
}

bool NewHostFile::redirect(const std::string &path, EMU3Error *error) {
  if (!aimAt(path, error)) return false;
  takePermissions();
  return true;
}

bool NewHostFile::aimAt(const std::string &path, EMU3Error *error) {
  path_ = path;
  target_ = path;
  permissions_.reset();
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) return true; // nothing is there
  if (S_ISLNK(status.st_mode) && earlier_ != Earlier::linkReplaced) {
    struct stat behind {};
    if (::stat(path.c_str(), &behind) == 0 && !mayReplace(behind.st_mode, path, error)) return false;
    target_ = withoutLink(path);
    if (::lstat(target_.c_str(), &status) != 0) return true;
  } else if (!mayReplace(status.st_mode, path, error)) {
    return false;
  }
  if (earlier_ == Earlier::refused) return fail(error, hostError(EEXIST, path));
  if (S_ISREG(status.st_mode)) permissions_ = status.st_mode & kPermissions;
  return true;
}

void NewHostFile::takePermissions() {
  static_cast<void>(::fchmod(fd_, permissions_.value_or(newPermissions_)));
}

// Created with open() rather than mkstemp() so that the host gives it the permissions of any new file.
bool NewHostFile::createNamed() {
  constexpr int attempts = 16;
  for (int i = 0; i < attempts; ++i) {
    const std::string path = temporaryPathBeside(target_);
    fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kNewFile);
    if (fd_ >= 0) {
      temporaryPath_ = path;
      return true;
    }
    if (errno != EEXIST) return false;
  }
  return false;
}

bool NewHostFile::write(std::span<const std::uint8_t> bytes, EMU3Error *error) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(fd_, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return fail(error, hostError(errno, path_));
    bytes = bytes.subspan(static_cast<std::size_t>(written));
  }
  return true;
}

void NewHostFile::startFlush() {
#ifdef SYNC_FILE_RANGE_WRITE
  static_cast<void>(::sync_file_range(fd_, 0, 0, SYNC_FILE_RANGE_WRITE));
#endif
}

bool NewHostFile::flush(EMU3Error *error) {
#ifdef F_FULLFSYNC
  const bool isFlushed = ::fcntl(fd_, F_FULLFSYNC) == 0 || ::fsync(fd_) == 0;
#else
  const bool isFlushed = ::fdatasync(fd_) == 0;
#endif
  return isFlushed || errno == EINVAL || fail(error, hostError(errno, path_));
}

bool NewHostFile::takeName() {
  hasName_ = giveName(target_);
  return hasName_;
}

bool NewHostFile::publish(EMU3Error *error) {
  if (!hasName_ && !takeName() && !(earlier_ == Earlier::refused ? takeFreeName() : replace()))
    return fail(error, hostError(errno, path_));
  const int fd = std::exchange(fd_, -1);
  giveUp();
  return ::close(fd) == 0 || fail(error, hostError(errno, path_));
}

// link(2) cannot replace a file, rename(2) can: so a file that replaces another gets a temporary name first.
bool NewHostFile::replace() {
  if (temporaryPath_.empty()) {
    const std::string path = temporaryPathBeside(target_);
    if (!giveName(path)) return false;
    temporaryPath_ = path;
  }
  if (std::rename(temporaryPath_.c_str(), target_.c_str()) != 0) return false;
  temporaryPath_.clear();
  return true;
}

// Where the host has no links: an empty file holds the name until the rename puts this one in its place.
bool NewHostFile::takeFreeName() {
  if (errno == EEXIST || temporaryPath_.empty()) return false;
  const int holder = ::open(target_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kNewFile);
  if (holder < 0) return false;
  ::close(holder);
  if (replace()) return true;
  const int problem = errno;
  ::unlink(target_.c_str());
  errno = problem;
  return false;
}

// Names the file; fails where the name is taken.
bool NewHostFile::giveName(const std::string &path) {
  if (!temporaryPath_.empty()) return ::link(temporaryPath_.c_str(), path.c_str()) == 0;
  return nameFile(fd_, path);
}

bool flushFolderOf(const std::string &path, EMU3Error *error) {
  const std::string folder = folderOf(path);
  const int fd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0 && errno == EACCES) return true; // one that may be written but not read cannot be flushed
  const bool isFlushed = fd >= 0 && (::fsync(fd) == 0 || errno == EINVAL);
  const int problem = errno;
  if (fd >= 0) ::close(fd);
  return isFlushed || fail(error, hostError(problem, path));
}

} // namespace tessary
