#include "tessary/ImageIdentity.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <utility>

namespace tessary {
namespace {

constexpr std::int64_t kNanoseconds = 1000000000; // of a second

std::int64_t birthOf(int descriptor) {
#if defined(__linux__)
  struct statx status {};
  if (::statx(descriptor, "", AT_EMPTY_PATH, STATX_BTIME, &status) != 0) return 0;
  if ((status.stx_mask & STATX_BTIME) == 0) return 0;
  return status.stx_btime.tv_sec * kNanoseconds + status.stx_btime.tv_nsec;
#elif defined(__APPLE__)
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) return 0;
  return status.st_birthtimespec.tv_sec * kNanoseconds + status.st_birthtimespec.tv_nsec;
#else
  static_cast<void>(descriptor);
  return 0;
#endif
}

} // namespace

ImageIdentity ImageIdentity::of(int descriptor, std::string path) {
  struct stat status {};
  ::fstat(descriptor, &status);
  return {static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino),
          static_cast<std::uint64_t>(status.st_size), birthOf(descriptor), std::move(path)};
}

bool ImageIdentity::isSameImage(const ImageIdentity &other) const {
  if (size != other.size || born != other.born) return false;
  const bool hasSameNumbers = device == other.device && inode == other.inode;
  return hasSameNumbers || (born != 0 && path == other.path);
}

} // namespace tessary
