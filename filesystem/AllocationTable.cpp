#include "filesystem/AllocationTable.h"

#include "filesystem/ImageMapping.h"

#include <array>
#include <cstring>
#include <utility>
#include <vector>

namespace tessary {

using namespace format;

namespace {

/// Puts neighbouring runs together before they are visited.
class RunCollector final {
public:
  explicit RunCollector(const std::function<void(const MarkedRun &)> &visit) : visit_(visit) {}

  void add(std::uint64_t first, std::uint64_t count, bool isReadable) {
    if (run_.count > 0 && run_.first + run_.count == first && run_.isReadable == isReadable) {
      run_.count += count;
      return;
    }
    finish();
    run_ = {first, count, isReadable};
  }

  void finish() {
    if (run_.count > 0) visit_(std::exchange(run_, {}));
  }

private:
  const std::function<void(const MarkedRun &)> &visit_;
  MarkedRun run_;
};

/// Entries of the table in memory.
class Marks final {
public:
  Marks(const std::uint8_t *bytes, std::uint64_t count) : bytes_(bytes), count_(count) {}

  [[nodiscard]] std::uint64_t count() const { return count_; }
  /// The first marked one from `i` on; `count` when there is none.
  [[nodiscard]] std::uint64_t nextMarked(std::uint64_t i) const {
    return next(i, true, [](const Eight &marks) { return marks; });
  }
  /// The first free one.
  [[nodiscard]] std::uint64_t nextFree(std::uint64_t i) const {
    return next(i, false, [](const Eight &marks) { return marks == 0; });
  }

private:
  using Eight [[gnu::vector_size(16)]] = std::int16_t;

  [[nodiscard]] Eight eightFrom(std::uint64_t i) const {
    Eight marks;
    std::memcpy(&marks, bytes_ + 2 * i, sizeof marks);
    return marks;
  }

  [[nodiscard]] static bool isAnySet(const Eight &lanes) {
    std::array<std::uint64_t, 2> halves;
    std::memcpy(halves.data(), &lanes, sizeof lanes);
    return (halves[0] | halves[1]) != 0;
  }

  // Free and marked entries come by the hundred. So many entries are looked at together, and single ones only
  // in the first eight that have what is looked for: there `isWanted` sets a lane that is not 0.
  template <typename IsWanted>
  [[nodiscard]] std::uint64_t next(std::uint64_t i, bool isMarked, const IsWanted &isWanted) const {
    constexpr std::uint64_t eights = 8;
    for (; i + 8 * eights <= count_; i += 8 * eights) {
      Eight any{};
      for (std::uint64_t eight = 0; eight < eights; ++eight)
        any |= isWanted(eightFrom(i + 8 * eight));
      if (!isAnySet(any)) continue;
      while (!isAnySet(isWanted(eightFrom(i))))
        i += 8;
      break;
    }
    while (i < count_ && (readLE16(bytes_ + 2 * i) != 0) != isMarked)
      ++i;
    return i;
  }

  const std::uint8_t *const bytes_;
  const std::uint64_t count_;
};

// Adds what is marked among the entries, of which the first is that of block `first`.
void addMarks(const Marks &marks, std::uint64_t first, RunCollector *runs) {
  for (std::uint64_t begin = marks.nextMarked(0); begin < marks.count();) {
    const std::uint64_t end = marks.nextFree(begin);
    runs->add(first + begin, end - begin, true);
    begin = marks.nextMarked(end);
  }
}

} // namespace

void BlockCounters::set(std::uint64_t used, std::uint64_t free) {
  used_ = used;
  free_ = free;
}

void BlockCounters::take(std::uint64_t blocks) {
  if (free_ >= blocks) free_ -= blocks;
  used_ += blocks;
}

void BlockCounters::giveBack(std::uint64_t blocks) {
  free_ += blocks;
  if (used_ >= blocks) used_ -= blocks;
}

std::uint64_t AllocationTable::tableBlockOf(std::uint64_t block) const {
  return fatStartBlock_ + block / kFatEntriesPerBlock;
}

std::uint16_t AllocationTable::mark(std::uint64_t block) const {
  std::array<std::uint8_t, 2> bytes{};
  if (!image_.read(tableBlockOf(block), block % kFatEntriesPerBlock * 2, bytes.data(), bytes.size()))
    return 0;
  return readLE16(bytes.data());
}

bool AllocationTable::anyMarked(std::uint64_t first, std::uint64_t count) const {
  std::array<std::uint8_t, 16 * kBlockSize> marks; // read in pieces of so many bytes
  std::uint64_t offset = first % kFatEntriesPerBlock * 2;
  std::uint64_t bytes = count * 2;
  for (std::uint64_t block = tableBlockOf(first); bytes > 0; block += 16) {
    const std::uint64_t wanted = std::min<std::uint64_t>(bytes, marks.size() - offset);
    const std::uint64_t got = image_.readBytes(block, offset, marks.data(), wanted);
    if (std::any_of(marks.begin(), marks.begin() + static_cast<std::ptrdiff_t>(got),
                    [](std::uint8_t byte) { return byte != 0; }))
      return true;
    if (got < wanted) return image_.containsBlock(block + (offset + got) / kBlockSize);
    bytes -= wanted;
    offset = 0;
  }
  return false;
}

void AllocationTable::forEachMarkedRun(std::uint64_t first, std::uint64_t end,
                                       const std::function<void(const MarkedRun &)> &visit) const {
  constexpr std::uint64_t blocksAtOnce = 128; // of the table
  std::vector<std::uint8_t> piece(blocksAtOnce * kBlockSize);
  RunCollector runs(visit);
  while (first < end && image_.containsBlock(tableBlockOf(first))) {
    const std::uint64_t tableBlock = tableBlockOf(first);
    const std::uint64_t lastTableBlock = tableBlockOf(end - 1);
    const std::uint64_t skipped = image_.behindHole(tableBlock, lastTableBlock) - tableBlock;
    if (skipped > 0) {
      first += skipped * kFatEntriesPerBlock - first % kFatEntriesPerBlock;
      continue;
    }
    const std::uint64_t inBlock = first % kFatEntriesPerBlock;
    const std::uint64_t wanted = std::min(end - first, blocksAtOnce * kFatEntriesPerBlock - inBlock);
    const std::uint64_t got = image_.readPassing(tableBlock, 2 * inBlock, piece.data(), 2 * wanted) / 2;
    addMarks({piece.data(), got}, first, &runs);
    first += got;
    if (got == wanted) continue;
    // Here the image ends, or the rest of this block of the table cannot be read.
    if (!image_.containsBlock(tableBlockOf(first))) break;
    const std::uint64_t unreadable = std::min(end - first, kFatEntriesPerBlock - first % kFatEntriesPerBlock);
    runs.add(first, unreadable, false);
    first += unreadable;
  }
  runs.finish();
}

void AllocationTable::setMarksInOneBlock(std::uint64_t first, std::uint64_t count, std::uint16_t value) {
  Block marks{};
  for (std::uint64_t i = 0; i < count; ++i)
    writeLE16(&marks[2 * i], value);
  image_.write(tableBlockOf(first), first % kFatEntriesPerBlock * 2, marks.data(), 2 * count);
}

AllocationTable::Scan AllocationTable::scan(const VolumeGeometry &geometry) const {
  Scan result;
  const std::uint64_t first = geometry.firstScannedBlock;
  result.entries =
      image_.countNonZeroWords(first, first + kMaxScannedFatBlocks, &result.used) * kFatEntriesPerBlock;
  return result;
}

} // namespace tessary
