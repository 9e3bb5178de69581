#include "filesystem/AllocationTable.h"

#include "filesystem/ImageMapping.h"

#include <array>

namespace tessary {

using namespace format;

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
