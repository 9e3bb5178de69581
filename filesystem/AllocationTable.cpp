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

// Adds what is marked in the bytes of the table from the entry of block `first` on. Most of a table is
// zeros or marks by the hundred, so it looks at four entries at a time as long as they are free.
void addMarks(const std::uint8_t *marks, std::uint64_t count, std::uint64_t first, RunCollector *runs) {
  std::uint64_t i = 0;
  while (i < count) {
    std::uint64_t four = 0;
    while (i + 4 <= count && (std::memcpy(&four, marks + 2 * i, sizeof four), four == 0))
      i += 4;
    while (i < count && readLE16(marks + 2 * i) == 0)
      ++i;
    const std::uint64_t begin = i;
    while (i < count && readLE16(marks + 2 * i) != 0)
      ++i;
    if (i > begin) runs->add(first + begin, i - begin, true);
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
    addMarks(piece.data(), got, first, &runs);
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
