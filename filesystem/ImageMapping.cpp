#include "filesystem/ImageMapping.h"

#include "filesystem/FaultGuard.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessary {
namespace {

using faults::guarded;
using format::kBlockSize;

// Bytes from which on a read is worth a call of the host.
constexpr std::uint64_t kMuch = 16384;

// Counts the non-zero 16-bit values of up to 1024 blocks, 32 values at a time. A comparison gives -1 where
// a value is zero; a lane counts at most 8,192 of them in 1024 blocks.
std::uint64_t countNonZeroIn(const std::uint8_t *bytes, std::uint64_t blocks) {
  using Words [[gnu::vector_size(16), gnu::may_alias]] = std::int16_t;
  constexpr std::size_t stride = 4 * sizeof(Words);
  constexpr std::size_t lanes = sizeof(Words) / 2;
  Words minusZeros[4] = {};
  const auto *words = reinterpret_cast<const Words *>(bytes); // blocks of a mapping are aligned
  for (std::uint64_t i = 0; i < blocks * kBlockSize / stride; ++i, words += 4) {
    for (std::size_t part = 0; part < 4; ++part)
      minusZeros[part] += words[part] == 0;
  }
  std::uint64_t nonZero = blocks * kBlockSize / 2;
  for (const Words &part : minusZeros) {
    for (std::size_t lane = 0; lane < lanes; ++lane)
      nonZero -= static_cast<std::uint64_t>(-part[lane]);
  }
  return nonZero;
}

// The host ends a process that writes behind such a limit, even inside a file. A mapping knows none.
bool isBelowFileSizeLimit(std::uint64_t size) {
  rlimit limit{};
  return ::getrlimit(RLIMIT_FSIZE, &limit) == 0 &&
         (limit.rlim_cur == RLIM_INFINITY || size <= limit.rlim_cur);
}

EMU3Error cannotOpen(const std::string &path, int errnum) {
  return engineError(EngineError::cannotOpen, path, errnum);
}

EMU3Error cannotMap(int errnum) {
  return engineError(EngineError::cannotMap, {}, errnum);
}

// Why what is not a regular file cannot be mapped.
int unmappableReason(mode_t mode) {
  if (S_ISDIR(mode)) return EISDIR;
  return S_ISSOCK(mode) ? ENXIO : ENODEV;
}

// What is not a regular file can be opened but not mapped. It is not opened either: a FIFO would wait or
// disturb its writer, a device could act.
bool isMappableFile(const std::string &path, EMU3Error *error) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return fail(error, cannotOpen(path, errno));
  if (S_ISREG(status.st_mode)) return true;
  const int reason = unmappableReason(status.st_mode);
  if (S_ISSOCK(status.st_mode)) return fail(error, cannotOpen(path, reason));
  if (::access(path.c_str(), R_OK) != 0) return fail(error, cannotOpen(path, errno));
  return fail(error, cannotMap(reason));
}

} // namespace

std::unique_ptr<ImageMapping> ImageMapping::open(const std::string &path, Writes writes, EMU3Error *error) {
  if (!isMappableFile(path, error)) return nullptr;
  faults::installHandler();
  std::unique_ptr<ImageMapping> mapping(new ImageMapping);
  constexpr int flags = O_NONBLOCK | O_CLOEXEC;
  mapping->fd_ = ::open(path.c_str(), O_RDWR | flags);
  if (mapping->fd_ < 0) {
    mapping->fd_ = ::open(path.c_str(), O_RDONLY | flags);
    mapping->readOnly_ = true;
  }
  if (mapping->fd_ < 0) {
    fail(error, cannotOpen(path, errno));
    return nullptr;
  }
  struct stat status {};
  ::fstat(mapping->fd_, &status);
  mapping->size_ = static_cast<std::uint64_t>(status.st_size);
  mapping->device_ = static_cast<std::uint64_t>(status.st_dev);
  mapping->inode_ = static_cast<std::uint64_t>(status.st_ino);
  const int protection = mapping->readOnly_ ? PROT_READ : PROT_READ | PROT_WRITE;
  if (mapping->size_ == 0) {
    EMU3Error nothing = engineError(EngineError::cannotMap);
    nothing.reason = "The file is empty";
    fail(error, std::move(nothing));
    return nullptr;
  }
  mapping->isPrivate_ = writes == Writes::privately;
  mapping->writesPassing_ = !mapping->isPrivate_ && isBelowFileSizeLimit(mapping->size_);
  const int sharing = mapping->isPrivate_ ? MAP_PRIVATE | MAP_NORESERVE : MAP_SHARED;
  void *const bytes = ::mmap(nullptr, mapping->size_, protection, sharing, mapping->fd_, 0);
  if (bytes == MAP_FAILED) {
    fail(error, cannotMap(errno));
    return nullptr;
  }
  mapping->bytes_ = static_cast<std::uint8_t *>(bytes);
  return mapping;
}

ImageMapping::~ImageMapping() {
  if (bytes_) ::munmap(bytes_, size_);
  if (fd_ >= 0) ::close(fd_);
}

void ImageMapping::makeReadOnly() {
  readOnly_ = true;
  ::mprotect(bytes_, size_, PROT_READ);
}

bool ImageMapping::isFileAt(const std::string &path) const {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && static_cast<std::uint64_t>(status.st_dev) == device_ &&
         static_cast<std::uint64_t>(status.st_ino) == inode_;
}

bool ImageMapping::reaches(std::uint64_t end) const {
  struct stat status {};
  return ::fstat(fd_, &status) == 0 && static_cast<std::uint64_t>(status.st_size) >= end;
}

std::uint64_t ImageMapping::readBytes(std::uint64_t first, std::uint64_t offset, std::uint8_t *to,
                                      std::uint64_t length) const {
  const std::uint64_t wholeBytes = size_ / kBlockSize * kBlockSize;
  if (length == 0 || !containsBlock(first) || offset >= wholeBytes - first * kBlockSize) return 0;
  const std::uint8_t *const from = address(first) + offset;
  const std::uint64_t available = std::min(length, wholeBytes - first * kBlockSize - offset);
  // Long contents are read from the file rather than from its mapping: that takes two thirds of the time,
  // since the host need not map each page into the process first.
  std::uint64_t done = available >= kMuch && !isPrivate_ ? readPassing(first, offset, to, available) : 0;
  const std::uint64_t left = available - done;
  if (guarded(from + done, left, [&] { std::memcpy(to + done, from + done, left); })) return available;
  while (done < available) { // part of the file is gone: take what stands before the hole, block by block
    const std::uint64_t step = std::min(available - done, kBlockSize - (offset + done) % kBlockSize);
    if (!guarded(from + done, step, [&] { std::memcpy(to + done, from + done, step); })) break;
    done += step;
  }
  return done;
}

std::uint64_t ImageMapping::readPassing(std::uint64_t first, std::uint64_t offset, std::uint8_t *to,
                                        std::uint64_t length) const {
  if (isPrivate_) return readBytes(first, offset, to, length); // the file does not have what was written
  const std::uint64_t wholeBytes = size_ / kBlockSize * kBlockSize;
  if (length == 0 || !containsBlock(first) || offset >= wholeBytes - first * kBlockSize) return 0;
  const std::uint64_t begin = first * kBlockSize + offset;
  const std::uint64_t available = std::min(length, wholeBytes - begin);
  std::uint64_t done = 0;
  while (done < available) {
    const ssize_t got = ::pread(fd_, to + done, available - done, static_cast<off_t>(begin + done));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    done += static_cast<std::uint64_t>(got);
  }
  return done;
}

void ImageMapping::letGoOfPages() const {
  if (isPrivate_) return; // what was written is in these pages alone
  ::madvise(bytes_, size_, MADV_DONTNEED);
}

std::uint64_t ImageMapping::behindHole(std::uint64_t block, std::uint64_t end) const {
#ifdef SEEK_DATA
  if (isPrivate_ || !containsBlock(block)) return std::min(block, end);
  const off_t data = ::lseek(fd_, static_cast<off_t>(block * kBlockSize), SEEK_DATA);
  if (data >= 0) return std::clamp(static_cast<std::uint64_t>(data) / kBlockSize, block, end);
  // Up to where the file ends now there are only zeros; what was behind that is gone, which is no hole.
  if (errno == ENXIO) return std::clamp(blocksStillThere(), block, end);
#endif
  return std::min(block, end);
}

std::uint64_t ImageMapping::blocksStillThere() const {
  struct stat status {};
  if (::fstat(fd_, &status) != 0) return 0;
  return std::min(static_cast<std::uint64_t>(status.st_size), size_) / kBlockSize;
}

std::uint64_t ImageMapping::countNonZeroWords(std::uint64_t first, std::uint64_t end,
                                              std::uint64_t *nonZero) const {
  const std::uint64_t stop = std::min(end, size_ / kBlockSize);
  *nonZero = 0;
  if (first >= stop) return 0;
  constexpr std::uint64_t blocksAtOnce = 1024;
  std::uint64_t block = first;
  std::uint64_t step = blocksAtOnce;
  while (block < stop) {
    step = std::min(step, stop - block);
    std::uint64_t found = 0;
    if (guarded(address(block), step * kBlockSize, [&] { found = countNonZeroIn(address(block), step); })) {
      *nonZero += found;
      block += step;
    } else if (step > 1) {
      step = 1; // part of the file is gone: count what stands before the hole
    } else {
      break;
    }
  }
  return block - first;
}

} // namespace tessary
