#include "filesystem/ImageBackup.h"

#include "filesystem/ImageMapping.h"
#include "filesystem/NewHostFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

#ifdef __linux__
#include <linux/fs.h>
#include <sys/ioctl.h>
#endif

namespace tessary {
namespace {

constexpr std::uint64_t kPiece = 4ULL << 20; // bytes read at once

// Reads as many bytes as there are, up to `length`. False where the file cannot be read.
bool readAt(int fd, std::uint64_t offset, std::uint8_t *to, std::uint64_t length, std::uint64_t *got) {
  *got = 0;
  while (*got < length) {
    const ssize_t count = ::pread(fd, to + *got, length - *got, static_cast<off_t>(offset + *got));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    if (count == 0) break;
    *got += static_cast<std::uint64_t>(count);
  }
  return true;
}

// Where bytes stand from here on; `end` when there are none. Everywhere, where the host does not tell holes.
std::uint64_t behindHole(int fd, std::uint64_t offset, std::uint64_t end) {
#ifdef SEEK_DATA
  const off_t data = ::lseek(fd, static_cast<off_t>(offset), SEEK_DATA);
  if (data >= 0) return static_cast<std::uint64_t>(data);
  return errno == ENXIO ? end : offset;
#else
  static_cast<void>(fd);
  static_cast<void>(end);
  return offset;
#endif
}

/// One copy of an image on its way.
class Backup final {
public:
  Backup(const ImageMapping &image, const BackupWatcher &watcher)
      : image_(image), watcher_(watcher), first_(kPiece), second_(kPiece) {}

  bool make(const std::string &target, EMU3Error *error) {
    error_ = error;
    return copy_.create(target, NewHostFile::Earlier::refused, error) && (shareBlocks() || copyBytes()) &&
           copy_.flush(error) && compare() && copy_.publish(error) && flushFolderOf(target, error);
  }

private:
  bool failed(int problem) { return fail(error_, hostError(problem, copy_.path())); }

  // On some hosts the copy can have the very blocks of the image, until one of the two changes.
  bool shareBlocks() {
#ifdef FICLONE
    return ::ioctl(copy_.descriptor(), FICLONE, image_.descriptor()) == 0;
#else
    return false;
#endif
  }

  bool copyBytes() {
    if (::ftruncate(copy_.descriptor(), static_cast<off_t>(image_.size())) != 0) return failed(errno);
    std::uint64_t offset = 0;
    while (offset < image_.size()) {
      offset = behindHole(image_.descriptor(), offset, image_.size());
      if (offset >= image_.size()) break;
      const std::uint64_t length = std::min(kPiece, image_.size() - offset);
      std::uint64_t got = 0;
      if (!readAt(image_.descriptor(), offset, first_.data(), length, &got)) return failed(errno);
      if (got < length) return failed(EIO); // the image became shorter
      if (::lseek(copy_.descriptor(), static_cast<off_t>(offset), SEEK_SET) < 0) return failed(errno);
      if (!copy_.write({first_.data(), length}, error_)) return false;
      offset += length;
      if (!goesOn(offset)) return false;
    }
    return true;
  }

  // What the medium gives back, not what the host still has in memory, where it can be told to forget.
  bool compare() {
#ifdef POSIX_FADV_DONTNEED
    ::posix_fadvise(copy_.descriptor(), 0, 0, POSIX_FADV_DONTNEED);
#endif
    for (std::uint64_t offset = 0; offset < image_.size();) {
      offset = std::min(behindHole(image_.descriptor(), offset, image_.size()),
                        behindHole(copy_.descriptor(), offset, image_.size()));
      if (offset >= image_.size()) break;
      const std::uint64_t length = std::min(kPiece, image_.size() - offset);
      std::uint64_t got = 0;
      std::uint64_t gotOfCopy = 0;
      if (!readAt(image_.descriptor(), offset, first_.data(), length, &got) ||
          !readAt(copy_.descriptor(), offset, second_.data(), length, &gotOfCopy))
        return failed(errno);
      if (got < length || gotOfCopy < length || std::memcmp(first_.data(), second_.data(), length) != 0)
        return fail(error_, {kHostErrorDomain, EIO, copy_.path() + ": The copy is not equal to the image"});
      offset += length;
      if (!goesOn(image_.size())) return false;
    }
    return ::lseek(copy_.descriptor(), 0, SEEK_END) == static_cast<off_t>(image_.size()) || failed(EIO);
  }

  bool goesOn(std::uint64_t done) {
    if (watcher_.progressed) watcher_.progressed(done, image_.size());
    return !(watcher_.isToStop && watcher_.isToStop()) || failed(ECANCELED);
  }

  const ImageMapping &image_;
  const BackupWatcher &watcher_;
  EMU3Error *error_ = nullptr;
  NewHostFile copy_;
  std::vector<std::uint8_t> first_;
  std::vector<std::uint8_t> second_;
};

} // namespace

bool backUpImage(const ImageMapping &image, const std::string &target, const BackupWatcher &watcher,
                 EMU3Error *error) {
  return Backup(image, watcher).make(target, error);
}

} // namespace tessary
