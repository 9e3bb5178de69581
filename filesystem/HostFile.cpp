#include "filesystem/HostFile.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <new>
#include <random>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tessary {
namespace {

class Descriptor final {
public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;
  explicit operator bool() const { return fd_ >= 0; }
  int get() const { return fd_; }
  /// Closes now; false when the host reports that something written was lost.
  bool close() { return ::close(std::exchange(fd_, -1)) == 0; }

private:
  int fd_;
};

EMU3Error notRegular(const std::string &path, mode_t mode) {
  if (S_ISDIR(mode)) return hostError(EISDIR, path);
  return {kHostErrorDomain, EINVAL, path + ": Not a regular file"};
}

// Throws when the file does not fit into memory.
ByteBufferPtr readAll(int descriptor, const std::string &path, std::uint64_t expected, EMU3Error *error) {
  auto bytes = std::make_shared<ByteBuffer>();
  bytes->resize(expected + 1); // one more, so that the end is seen without growing
  std::size_t length = 0;
  while (true) {
    if (length == bytes->size()) bytes->resize(length * 2);
    const ssize_t got = ::read(descriptor, bytes->data() + length, bytes->size() - length);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      fail(error, hostError(errno, path));
      return nullptr;
    }
    if (got == 0) break;
    length += static_cast<std::size_t>(got);
  }
  if (length < expected) { // half a sample stored as if it were whole would be a silent loss
    fail(error, {kHostErrorDomain, EIO, path + ": The file became shorter while it was read"});
    return nullptr;
  }
  bytes->resize(length);
  return bytes;
}

bool writeAll(int fd, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(fd, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    bytes = bytes.subspan(static_cast<std::size_t>(written));
  }
  return true;
}

// Only a regular file, or a link that does not lead to anything else, may be replaced: putting a file in
// the place of a device or FIFO would break whoever uses it.
bool mayReplace(const std::string &path, EMU3Error *error) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode)) return true;
  return fail(error, notRegular(path, status.st_mode));
}

// The file that a link leads to is replaced, not the link. One that leads nowhere is replaced itself.
std::string withoutLink(const std::string &path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) return path;
  const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.c_str(), nullptr), &std::free);
  return resolved ? resolved.get() : path;
}

std::string temporaryPathBeside(const std::string &path) {
  std::random_device random;
  std::array<char, 32> name{};
  std::snprintf(name.data(), name.size(), ".tessary-%08x%08x", random(), random());
  const std::size_t slash = path.rfind('/');
  const std::string folder = slash == std::string::npos ? "" : path.substr(0, slash + 1);
  return folder + name.data();
}

// A new file beside `path`. Created with open() rather than mkstemp() so that the host gives it the
// permissions of any new file.
int createTemporaryFile(const std::string &path, std::string *temporaryPath) {
  constexpr int attempts = 16;
  for (int i = 0; i < attempts; ++i) {
    *temporaryPath = temporaryPathBeside(path);
    const int fd = ::open(temporaryPath->c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd >= 0 || errno != EEXIST) return fd;
  }
  return -1;
}

} // namespace

// Looks before opening: opening a FIFO would wait for its other end, opening a device can act on it.
std::optional<HostFile> HostFile::open(const std::string &path, EMU3Error *error) {
  const auto refused = [&](EMU3Error reason) {
    fail(error, std::move(reason));
    return std::nullopt;
  };
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return refused(hostError(errno, path));
  if (!S_ISREG(status.st_mode)) return refused(notRegular(path, status.st_mode));
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return refused(hostError(errno, path));
  HostFile file(path, descriptor, 0);
  if (::fstat(descriptor, &status) != 0) return refused(hostError(errno, path));
  if (!S_ISREG(status.st_mode)) return refused(notRegular(path, status.st_mode));
  file.size_ = static_cast<std::uint64_t>(status.st_size);
  return file;
}

HostFile::HostFile(std::string path, int descriptor, std::uint64_t size)
    : path_(std::move(path)), descriptor_(descriptor), size_(size) {}

HostFile::HostFile(HostFile &&other) noexcept
    : path_(std::move(other.path_)), descriptor_(std::exchange(other.descriptor_, -1)), size_(other.size_) {}

HostFile::~HostFile() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

ByteBufferPtr HostFile::readWhole(EMU3Error *error) const {
  try {
    return readAll(descriptor_, path_, size_, error);
  } catch (const std::bad_alloc &) {
    fail(error, hostError(ENOMEM, path_));
  } catch (const std::length_error &) {
    fail(error, hostError(EFBIG, path_));
  }
  return nullptr;
}

bool writeHostFileAtomically(const std::string &path,
                             std::initializer_list<std::span<const std::uint8_t>> parts, EMU3Error *error) {
  if (!mayReplace(path, error)) return false;
  const std::string target = withoutLink(path);
  std::string temporaryPath;
  Descriptor file(createTemporaryFile(target, &temporaryPath));
  if (!file) return fail(error, hostError(errno, path));
  bool written = true;
  for (const std::span<const std::uint8_t> part : parts)
    written = written && writeAll(file.get(), part);
  int problem = written ? 0 : errno;
  if (!file.close() && problem == 0) problem = errno;
  if (problem == 0 && std::rename(temporaryPath.c_str(), target.c_str()) != 0) problem = errno;
  if (problem == 0) return true;
  ::unlink(temporaryPath.c_str());
  return fail(error, hostError(problem, path));
}

} // namespace tessary
