#include "filesystem/ImageMapping.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csetjmp>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessary {
namespace {

using format::kBlockSize;

// --- Faults of the mapped file ---------------------------------------------------------------------
// A page whose part of the file is gone raises SIGBUS when it is touched. Every touch below runs inside
// `guarded`, which names the bytes it may touch; a fault there ends the touch, any other fault keeps its
// usual meaning.

struct Touch {
  sigjmp_buf resume;
  std::uintptr_t begin;
  std::uintptr_t end;
};

thread_local Touch *volatile currentTouch = nullptr;
struct sigaction previousAction;

void passOn(int number, siginfo_t *info, void *context) {
  if ((previousAction.sa_flags & SA_SIGINFO) != 0) return previousAction.sa_sigaction(number, info, context);
  if (previousAction.sa_handler == SIG_DFL || previousAction.sa_handler == SIG_IGN) {
    std::signal(number, SIG_DFL); // the instruction faults again, now with the default outcome
    return;
  }
  previousAction.sa_handler(number);
}

void handleFault(int number, siginfo_t *info, void *context) {
  Touch *const touch = currentTouch;
  const auto address = reinterpret_cast<std::uintptr_t>(info->si_addr);
  if (touch && address >= touch->begin && address < touch->end) siglongjmp(touch->resume, 1);
  passOn(number, info, context);
}

void installFaultHandler() {
  static std::once_flag once;
  std::call_once(once, [] {
    struct sigaction action {};
    action.sa_sigaction = handleFault;
    action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    sigaction(SIGBUS, &action, &previousAction);
  });
}

// Runs `body`, which touches only `length` bytes at `begin` of a mapping. False when they faulted.
// `body` must hold nothing that needs a destructor, since a fault leaves it by a jump.
template <typename Body>
[[gnu::noinline]] bool guarded(const std::uint8_t *begin, std::uint64_t length, Body &&body) {
  Touch touch;
  touch.begin = reinterpret_cast<std::uintptr_t>(begin);
  touch.end = touch.begin + length;
  if (sigsetjmp(touch.resume, 0) != 0) {
    currentTouch = nullptr;
    return false;
  }
  currentTouch = &touch;
  std::atomic_signal_fence(std::memory_order_seq_cst);
  body();
  std::atomic_signal_fence(std::memory_order_seq_cst);
  currentTouch = nullptr;
  return true;
}

// --- Stores in an order that a kill cannot undo -----------------------------------------------------
// The kernel keeps what was stored before a process is killed, in the order it was stored. Volatile
// keeps the compiler to that order.

void storeByte(std::uint8_t *to, std::uint8_t value) {
  *static_cast<volatile std::uint8_t *>(to) = value;
}

void fence() {
  std::atomic_signal_fence(std::memory_order_seq_cst);
}

// An entry exists when its first byte is not 0: that byte goes first and comes last.
void replaceDentry(std::uint8_t *to, const std::uint8_t *from) {
  storeByte(to, 0);
  fence();
  std::memcpy(to + 1, from + 1, format::kDentrySize - 1);
  fence();
  storeByte(to, from[0]);
}

void clearDentryBytes(std::uint8_t *to, const std::uint8_t *) {
  storeByte(to, 0);
  fence();
  std::memset(to + 1, 0, format::kNameSize - 1);
  storeByte(to + format::kDentryRawType, 0);
}

void replaceName(std::uint8_t *to, const std::uint8_t *from) {
  // One 16-byte store: an instruction is done or not done when a process is killed.
  using Name [[gnu::vector_size(format::kNameSize)]] = std::uint8_t;
  static_assert(sizeof(Name) == format::kNameSize);
  Name name;
  std::memcpy(&name, from, sizeof name);
  *reinterpret_cast<volatile Name *>(to) = name;
}

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

std::uint64_t pageSize() {
  static const auto size = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
  return size;
}

EMU3Error cannotOpen(const std::string &path) {
  return {kEngineErrorDomain, kErrorCannotReachData, "Cannot open file: " + path};
}

EMU3Error cannotMap() {
  return {kEngineErrorDomain, kErrorCannotReachData, "mmap failed"};
}

// What is not a regular file can be opened but not mapped. It is not opened either: a FIFO would wait or
// disturb its writer, a device could act.
bool isMappableFile(const std::string &path, EMU3Error *error) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return fail(error, cannotOpen(path));
  if (S_ISREG(status.st_mode)) return true;
  const bool opens = !S_ISSOCK(status.st_mode) && ::access(path.c_str(), R_OK) == 0;
  return fail(error, opens ? cannotMap() : cannotOpen(path));
}

} // namespace

std::unique_ptr<ImageMapping> ImageMapping::open(const std::string &path, EMU3Error *error) {
  if (!isMappableFile(path, error)) return nullptr;
  installFaultHandler();
  std::unique_ptr<ImageMapping> mapping(new ImageMapping);
  constexpr int flags = O_NONBLOCK | O_CLOEXEC;
  mapping->fd_ = ::open(path.c_str(), O_RDWR | flags);
  if (mapping->fd_ < 0) {
    mapping->fd_ = ::open(path.c_str(), O_RDONLY | flags);
    mapping->readOnly_ = true;
  }
  if (mapping->fd_ < 0) {
    fail(error, cannotOpen(path));
    return nullptr;
  }
  struct stat status {};
  ::fstat(mapping->fd_, &status);
  mapping->size_ = static_cast<std::uint64_t>(status.st_size);
  mapping->device_ = static_cast<std::uint64_t>(status.st_dev);
  mapping->inode_ = static_cast<std::uint64_t>(status.st_ino);
  const int protection = mapping->readOnly_ ? PROT_READ : PROT_READ | PROT_WRITE;
  void *const bytes = ::mmap(nullptr, mapping->size_, protection, MAP_SHARED, mapping->fd_, 0);
  if (bytes == MAP_FAILED) {
    fail(error, cannotMap());
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
  if (guarded(from, available, [&] { std::memcpy(to, from, available); })) return available;
  std::uint64_t done = 0; // part of the file is gone: take what stands before the hole, block by block
  while (done < available) {
    const std::uint64_t step = std::min(available - done, kBlockSize - (offset + done) % kBlockSize);
    if (!guarded(from + done, step, [&] { std::memcpy(to + done, from + done, step); })) break;
    done += step;
  }
  return done;
}

std::uint64_t ImageMapping::readPassing(std::uint64_t first, std::uint64_t offset, std::uint8_t *to,
                                        std::uint64_t length) const {
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

std::uint64_t ImageMapping::behindHole(std::uint64_t block, std::uint64_t end) const {
#ifdef SEEK_DATA
  if (!containsBlock(block)) return std::min(block, end);
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

bool ImageMapping::write(std::uint64_t block, std::uint64_t offset, const std::uint8_t *from,
                         std::uint64_t length) {
  if (!containsBlock(block)) return false;
  std::uint8_t *const to = address(block) + offset;
  if (!guarded(to, length, [&] { std::memcpy(to, from, length); })) {
    ++writeFaults_;
    return false;
  }
  flushBlock(block);
  return true;
}

bool ImageMapping::clearBlock(std::uint64_t block) {
  static constexpr format::Block zeros{};
  return write(block, 0, zeros.data(), zeros.size());
}

bool ImageMapping::writeData(std::uint64_t first, const std::uint8_t *data, std::uint64_t length) {
  const std::uint64_t blocks = length == 0 ? 1 : (length + kBlockSize - 1) / kBlockSize;
  if (flushesAtBarriers_ && !reaches((first + blocks) * kBlockSize)) return false; // part of it was cut off
  for (std::uint64_t block = first;; ++block) {
    if (length >= kBlockSize) {
      if (!write(block, 0, data, kBlockSize)) return false;
      data += kBlockSize;
      length -= kBlockSize;
      if (length == 0) return true;
      continue;
    }
    format::Block last{};
    std::copy_n(data, length, last.begin());
    return write(block, 0, last.data(), kBlockSize);
  }
}

bool ImageMapping::storeDentry(std::uint64_t block, std::size_t index,
                               void (*store)(std::uint8_t *, const std::uint8_t *),
                               const std::uint8_t *from) {
  if (!containsBlock(block)) return false;
  std::uint8_t *const to = address(block) + index * format::kDentrySize;
  if (!guarded(to, format::kDentrySize, [&] { store(to, from); })) {
    ++writeFaults_;
    return false;
  }
  flushBlock(block);
  return true;
}

bool ImageMapping::writeDentry(std::uint64_t block, std::size_t index, const format::Dentry &dentry) {
  return storeDentry(block, index, replaceDentry, dentry.data());
}

bool ImageMapping::writeDentryName(std::uint64_t block, std::size_t index, const std::uint8_t *name) {
  return storeDentry(block, index, replaceName, name);
}

bool ImageMapping::clearDentry(std::uint64_t block, std::size_t index) {
  return storeDentry(block, index, clearDentryBytes, nullptr);
}

bool ImageMapping::zeroDentry(std::uint64_t block, std::size_t index) {
  static constexpr format::Dentry zeros{};
  return storeDentry(block, index, replaceDentry, zeros.data());
}

// Only a barrier waits and looks at the result. The host wants the address at a page boundary.
void ImageMapping::flushBlock(std::uint64_t block) {
  const std::uint64_t begin = block * kBlockSize;
  const std::uint64_t end = begin + kBlockSize;
  if (flushesAtBarriers_) {
    const bool isFirst = unflushedBegin_ == unflushedEnd_;
    unflushedBegin_ = isFirst ? begin : std::min(unflushedBegin_, begin);
    unflushedEnd_ = isFirst ? end : std::max(unflushedEnd_, end);
    return;
  }
  const std::uint64_t pageBegin = begin - begin % pageSize();
  ::msync(bytes_ + pageBegin, end - pageBegin, MS_ASYNC);
}

void ImageMapping::startFlush(std::uint64_t first, std::uint64_t blocks) {
#ifdef SYNC_FILE_RANGE_WRITE
  if (flushesAtBarriers_)
    ::sync_file_range(fd_, static_cast<off_t>(first * kBlockSize), static_cast<off_t>(blocks * kBlockSize),
                      SYNC_FILE_RANGE_WRITE);
#else
  static_cast<void>(first);
  static_cast<void>(blocks);
#endif
}

// One request for all of it, from the first byte to the last: the host writes those pages alone that have
// changed, and has the medium empty its cache once.
bool ImageMapping::barrier() {
  if (unflushedBegin_ == unflushedEnd_) return true;
  const std::uint64_t begin = unflushedBegin_ - unflushedBegin_ % pageSize();
  const std::uint64_t end = unflushedEnd_;
  unflushedBegin_ = unflushedEnd_ = 0;
  if (::msync(bytes_ + begin, end - begin, MS_SYNC) != 0) return false;
#ifdef F_FULLFSYNC
  // Here the request above leaves it in the medium's own cache.
  if (::fcntl(fd_, F_FULLFSYNC) != 0 && ((errno != ENOTSUP && errno != EINVAL) || ::fsync(fd_) != 0))
    return false;
#endif
  return reaches(end); // what was cut off inside a page is written to memory alone, without a fault
}

} // namespace tessary
