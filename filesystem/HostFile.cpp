#include "filesystem/HostFile.h"

#include <cerrno>
#include <fcntl.h>
#include <new>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tessary {
namespace {

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
    const std::size_t wanted = bytes->size() - length;
    const ssize_t got = ::read(descriptor, bytes->data() + length, wanted);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      fail(error, hostError(errno, path));
      return nullptr;
    }
    if (got == 0) break;
    length += static_cast<std::size_t>(got);
    // A host reads less of a file than was asked for where the file ends.
    if (length == expected && static_cast<std::size_t>(got) < wanted) break;
  }
  if (length < expected) { // half a sample stored as if it were whole would be a silent loss
    fail(error, {kHostErrorDomain, EIO, path + ": The file became shorter while it was read"});
    return nullptr;
  }
  bytes->resize(length);
  return bytes;
}

} // namespace

// Looks before opening: opening a FIFO would wait for its other end, opening a device can act on it.
std::optional<HostFile> HostFile::open(const std::string &path, EMU3Error *error, Seen seen) {
  const auto refused = [&](EMU3Error reason) {
    fail(error, std::move(reason));
    return std::nullopt;
  };
  struct stat status {};
  if (seen != Seen::regularFile) {
    if (::stat(path.c_str(), &status) != 0) return refused(hostError(errno, path));
    if (!S_ISREG(status.st_mode)) return refused(notRegular(path, status.st_mode));
  }
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

} // namespace tessary
