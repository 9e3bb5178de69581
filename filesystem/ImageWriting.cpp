#include "filesystem/FaultGuard.h"
#include "filesystem/ImageMapping.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

// What writes to the image, and brings it to the medium.
namespace tessary {
namespace {

using faults::guarded;
using format::kBlockSize;

// Stores bytes in an order that a kill cannot change.
//
// The kernel keeps what was stored before a process is killed, in the order it was stored. Volatile
// keeps the compiler to that order.

void storeByte(std::uint8_t *to, std::uint8_t value) {
  *static_cast<volatile std::uint8_t *>(to) = value;
}

void fence() {
  std::atomic_signal_fence(std::memory_order_seq_cst);
}

// An entry exists when its first byte is not 0: that byte is cleared first and written last.
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

// Copies into a mapping; where part of its file is gone, what stands before that, block by block. Returns how
// many bytes were copied.
std::uint64_t copyInto(std::uint8_t *to, const std::uint8_t *from, std::uint64_t length) {
  if (guarded(to, length, [&] { std::memcpy(to, from, length); })) return length;
  std::uint64_t done = 0;
  while (done < length) {
    const std::uint64_t inBlock = reinterpret_cast<std::uintptr_t>(to + done) % kBlockSize;
    const std::uint64_t step = std::min(length - done, kBlockSize - inBlock);
    if (!guarded(to + done, step, [&] { std::memcpy(to + done, from + done, step); })) break;
    done += step;
  }
  return done;
}

std::uint64_t pageSize() {
  static const auto size = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
  return size;
}

} // namespace

bool ImageMapping::write(std::uint64_t block, std::uint64_t offset, const std::uint8_t *from,
                         std::uint64_t length) {
  if (!containsBlock(block)) return false;
  std::uint8_t *const to = address(block) + offset;
  if (!guarded(to, length, [&] { std::memcpy(to, from, length); })) {
    ++writeFaults_;
    return false;
  }
  flushBlocks(block, 1);
  return true;
}

bool ImageMapping::clearBlock(std::uint64_t block) {
  static constexpr format::Block zeros{};
  return write(block, 0, zeros.data(), zeros.size());
}

bool ImageMapping::writeData(std::uint64_t first, const std::uint8_t *data, std::uint64_t length) {
  const std::uint64_t blocks = length == 0 ? 1 : (length + kBlockSize - 1) / kBlockSize;
  const bool isAllThere = reaches((first + blocks) * kBlockSize);
  if (flushesAtBarriers_ && !isAllThere) return false; // part of it was cut off
  const std::uint64_t inside = containsBlock(first) ? size_ / kBlockSize - first : 0;
  const std::uint64_t whole = std::min(length / kBlockSize, inside);
  if (whole > 0 && !writeRun(first, data, whole, isAllThere)) return false;
  if (whole == blocks) return true;
  format::Block last{};
  const std::uint64_t left = length - whole * kBlockSize;
  if (left > kBlockSize) return false; // the image ends here
  std::copy_n(data + whole * kBlockSize, left, last.begin());
  return write(first + whole, 0, last.data(), kBlockSize);
}

// Writes to the file rather than through the mapping, as far as that goes: the host then neither clears nor
// reads the pages that are filled next, which halves the time, and they do not become part of this process.
// `isAllThere`: the file has just been seen to reach so far.
bool ImageMapping::writeRun(std::uint64_t first, const std::uint8_t *from, std::uint64_t blocks,
                            bool isAllThere) {
  const std::uint64_t length = blocks * kBlockSize;
  std::uint64_t done = isAllThere && writesPassing_ ? writePassing(first * kBlockSize, from, length) : 0;
  if (done < length) done += copyInto(address(first) + done, from + done, length - done);
  if (done >= kBlockSize) flushBlocks(first, done / kBlockSize);
  if (done == length) return true;
  ++writeFaults_;
  return false;
}

// Returns how many bytes were written. Looks again before each further piece whether the file still reaches
// so far: where it was cut short, this would make it longer again and fill what is gone with zeros.
std::uint64_t ImageMapping::writePassing(std::uint64_t begin, const std::uint8_t *from,
                                         std::uint64_t length) {
  constexpr std::uint64_t mostAtOnce = std::uint64_t{1} << 20;
  std::uint64_t done = 0;
  while (done < length) {
    const std::uint64_t step = std::min(length - done, mostAtOnce);
    if (done > 0 && !reaches(begin + done + step)) break;
    const ssize_t written = ::pwrite(fd_, from + done, step, static_cast<off_t>(begin + done));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) break;
    done += static_cast<std::uint64_t>(written);
  }
  return done;
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
  flushBlocks(block, 1);
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
void ImageMapping::flushBlocks(std::uint64_t first, std::uint64_t count) {
  const std::uint64_t begin = first * kBlockSize;
  const std::uint64_t end = begin + count * kBlockSize;
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
  // On this host msync leaves the bytes in the medium's own cache; this request empties that too.
  if (::fcntl(fd_, F_FULLFSYNC) != 0 && ((errno != ENOTSUP && errno != EINVAL) || ::fsync(fd_) != 0))
    return false;
#endif
  return reaches(end); // what was cut off inside a page is written to memory alone, without a fault
}

} // namespace tessary
