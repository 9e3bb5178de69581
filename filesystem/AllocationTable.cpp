#include "filesystem/AllocationTable.h"

#include "filesystem/DiskFormat.h"
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

void AllocationTable::setMark(std::uint64_t block, std::uint16_t value) {
  std::array<std::uint8_t, 2> bytes{};
  writeLE16(bytes.data(), value);
  image_.write(tableBlockOf(block), block % kFatEntriesPerBlock * 2, bytes.data(), bytes.size());
}

AllocationTable::Scan AllocationTable::scan(const VolumeGeometry &geometry) const {
  Scan result;
  const std::uint64_t first = geometry.firstScannedBlock;
  result.entries =
      image_.countNonZeroWords(first, first + kMaxScannedFatBlocks, &result.used) * kFatEntriesPerBlock;
  return result;
}

} // namespace tessary
