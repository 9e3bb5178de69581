#include "filesystem/SlotMap.h"

#include "filesystem/DiskFormat.h"

#include <algorithm>

namespace tessary {

using format::kFatEntriesPerBlock;

namespace {

constexpr std::uint64_t kMostSlots = 65535;

std::uint64_t dividedUp(std::uint64_t value, std::uint64_t by) {
  return value / by + (value % by != 0 ? 1 : 0);
}

} // namespace

void SlotMap::build(const VolumeGeometry &geometry, const EMU3DirectoryPtr &root) {
  geometry_ = geometry;
  const std::uint64_t dataBlocks =
      geometry.totalBlocks > geometry.dataAreaBlock ? geometry.totalBlocks - geometry.dataAreaBlock : 0;
  slotCount_ = std::min(kMostSlots, dividedUp(dataBlocks, geometry.slotSizeBlocks));
  liveFiles_.beginMany(slotCount_);
  slots_.assign(slotCount_ + 1, {});
  lastSlots_.assign(slotCount_ + 2, 0);
  highestReached_ = 0;
  deletedFiles_ = 0;
  firstTableBlock_ = std::max(geometry.fatStartBlock, geometry.dataAreaBlock);
  const std::uint64_t tableEnd = std::min(geometry.tableEndBlock(), geometry.totalBlocks);
  tableBlocks_ = tableEnd > firstTableBlock_ ? tableEnd - firstTableBlock_ : 0;
  tableContents_.beginMany(tableBlocks_);
  countFiles(root);
  countFixedBlock(0, 1);
  for (std::uint64_t block = firstTableBlock_; block < tableEnd; ++block)
    countFixedBlock(block, 1);
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(root))
    for (const std::int64_t block : folder->blockList())
      countFixedBlock(static_cast<std::uint64_t>(block), 1);
  lookAtAllMarks();
  for (std::uint64_t slot = 1; slot <= slotCount_; ++slot)
    refresh(slot);
  liveFiles_.endMany();
  tableContents_.endMany();
  publish();
}

// In one pass over the table, which can be a quarter of a gigabyte.
void SlotMap::lookAtAllMarks() {
  const std::uint64_t first = geometry_.dataAreaBlock;
  const std::uint64_t end = first + geometry_.slotSizeBlocks * slotCount_;
  isTableReadable_ = true;
  table_.forEachMarkedRun(0, geometry_.describedBlocks(), [&](const MarkedRun &run) {
    if (!run.isReadable) isTableReadable_ = false;
    const std::uint64_t from = std::max(run.first, first);
    const std::uint64_t to = std::min(run.first + run.count, end);
    if (from >= to) return;
    const std::uint64_t last = slotOf(to - 1);
    for (std::uint64_t slot = slotOf(from); slot <= last; ++slot)
      slots_[slot].marked = true;
  });
}

void SlotMap::countFiles(const EMU3DirectoryPtr &root) {
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(root)) {
    folder->lookAtFiles([&](const EMU3File &file) { countFile(file.entry(), 1); });
  }
}

void SlotMap::countFile(const EMU3FileEntry &file, int change) {
  const Run reach = reachOf(file);
  const std::uint64_t last = std::min(reach.first + reach.count - 1, slotCount_ + 1);
  lastSlots_[last] += static_cast<std::uint32_t>(change);
  highestReached_ = std::max(highestReached_, last);
  while (highestReached_ > 0 && lastSlots_[highestReached_] == 0)
    --highestReached_;
  if (file.rawType == 0) {
    deletedFiles_ += static_cast<std::uint64_t>(change);
    return;
  }
  const Run inTable = tablePartOf(file);
  if (change > 0) {
    liveFiles_.add(reach.first, last);
    tableContents_.add(inTable.first, inTable.first + inTable.count - 1);
  } else {
    liveFiles_.remove(reach.first, last);
    tableContents_.remove(inTable.first, inTable.first + inTable.count - 1);
  }
}

void SlotMap::fileCame(const EMU3FileEntry &file) {
  countFile(file, 1);
  publish();
}

void SlotMap::fileWent(const EMU3FileEntry &file) {
  countFile(file, -1);
  publish();
}

void SlotMap::countFixed(const std::vector<std::int64_t> &blocks, int change) {
  for (const std::int64_t block : blocks) {
    countFixedBlock(static_cast<std::uint64_t>(block), change);
    if (const std::uint64_t slot = slotOf(static_cast<std::uint64_t>(block))) refresh(slot);
  }
  publish();
}

void SlotMap::countFixedBlock(std::uint64_t block, int change) {
  if (const std::uint64_t slot = slotOf(block))
    slots_[slot].fixedBlocks += static_cast<std::uint32_t>(change);
}

void SlotMap::marksChanged(std::uint64_t first, std::uint64_t count) {
  if (count == 0 || slotCount_ == 0) return;
  const std::uint64_t last = std::min(first + count - 1, geometry_.totalBlocks - 1);
  if (last < geometry_.dataAreaBlock || first > last) return;
  const std::uint64_t lastSlot = slotOf(last) == 0 ? slotCount_ : slotOf(last);
  for (std::uint64_t slot = std::max<std::uint64_t>(1, slotOf(first)); slot <= lastSlot; ++slot) {
    slots_[slot].marked = isMarked(slot);
    refresh(slot);
  }
  publish();
}

void SlotMap::blockWritten(std::uint64_t block) {
  if (!geometry_.isInTable(block)) return;
  marksChanged((block - geometry_.fatStartBlock) * kFatEntriesPerBlock, kFatEntriesPerBlock);
}

bool SlotMap::isReached(std::uint64_t slot) const {
  return slot >= 1 && slot <= slotCount_ && liveFiles_.isCovered(slot);
}

bool SlotMap::isInContents(std::uint64_t tableBlock) const {
  return tableBlock >= firstTableBlock_ && tableBlock - firstTableBlock_ < tableBlocks_ &&
         tableContents_.isCovered(tableBlock - firstTableBlock_ + 1);
}

std::uint64_t SlotMap::slotsFor(std::uint64_t blocks) const {
  return std::max<std::uint64_t>(1, dividedUp(blocks, geometry_.slotSizeBlocks));
}

std::optional<std::uint16_t> SlotMap::placeFor(std::uint64_t blocks) const {
  const std::optional<std::uint16_t> above = lowestPlace(highestReached_ + 1, blocks);
  return above ? above : lowestPlace(1, blocks);
}

// The last slot may lie inside the image in part.
std::uint64_t SlotMap::largestPlace() const {
  std::uint64_t largest = 0;
  std::uint64_t inRow = 0;
  for (std::uint64_t slot = 1; slot <= slotCount_; ++slot) {
    inRow = isTaken(slot) ? 0 : inRow + blocksInside(slot);
    largest = std::max(largest, inRow);
  }
  return largest;
}

std::optional<std::uint16_t> SlotMap::lowestPlace(std::uint64_t from, std::uint64_t blocks) const {
  const std::uint64_t needed = slotsFor(blocks);
  std::uint64_t inRow = 0;
  for (std::uint64_t slot = from; slot <= slotCount_; ++slot) {
    inRow = isTaken(slot) ? 0 : inRow + 1;
    if (inRow < needed) continue;
    const std::uint64_t first = slot - needed + 1;
    const std::uint64_t firstBlock = geometry_.dataAreaBlock + geometry_.slotSizeBlocks * (first - 1);
    if (geometry_.totalBlocks - firstBlock < blocks)
      return std::nullopt; // it would end behind the image, as all places above it would
    return static_cast<std::uint16_t>(first);
  }
  return std::nullopt;
}

SlotMap::Run SlotMap::reachOf(const EMU3FileEntry &file) const {
  return {std::max<std::uint64_t>(1, file.startCluster),
          std::max<std::uint64_t>({1, file.clusterCount, slotsFor(file.blocksInLastCluster)})};
}

// The blocks of the table that lie in the file's contents; 1 is the first block of the table in the data
// area.
SlotMap::Run SlotMap::tablePartOf(const EMU3FileEntry &file) const {
  const std::uint64_t first = geometry_.contentsStartBlock(file.startCluster);
  const std::uint64_t tableEnd = firstTableBlock_ + tableBlocks_;
  const std::uint64_t from = std::clamp(first, firstTableBlock_, tableEnd);
  const std::uint64_t to = std::clamp(first + file.blocksInLastCluster, firstTableBlock_, tableEnd);
  return {from - firstTableBlock_ + 1, to - from};
}

std::uint64_t SlotMap::slotOf(std::uint64_t block) const {
  if (block < geometry_.dataAreaBlock || block >= geometry_.totalBlocks) return 0;
  const std::uint64_t slot = (block - geometry_.dataAreaBlock) / geometry_.slotSizeBlocks + 1;
  return slot <= slotCount_ ? slot : 0;
}

std::uint64_t SlotMap::blocksInside(std::uint64_t slot) const {
  const std::uint64_t first = geometry_.dataAreaBlock + geometry_.slotSizeBlocks * (slot - 1);
  return std::min(geometry_.slotSizeBlocks, geometry_.totalBlocks - first);
}

bool SlotMap::isMarked(std::uint64_t slot) const {
  const std::uint64_t first = geometry_.dataAreaBlock + geometry_.slotSizeBlocks * (slot - 1);
  const std::uint64_t described = geometry_.describedBlocks();
  if (first >= described) return false;
  return table_.anyMarked(first, std::min(blocksInside(slot), described - first));
}

bool SlotMap::isTaken(std::uint64_t slot) const {
  return slots_[slot].fixedBlocks > 0 || slots_[slot].marked || liveFiles_.isCovered(slot);
}

void SlotMap::refresh(std::uint64_t slot) {
  const bool isTakenOtherwise = slots_[slot].fixedBlocks > 0 || slots_[slot].marked;
  liveFiles_.setWeight(slot, isTakenOtherwise ? 0 : blocksInside(slot));
}

void SlotMap::publish() {
  counters_.set(geometry_.totalBlocks - liveFiles_.uncoveredWeight(), liveFiles_.uncoveredWeight());
}

} // namespace tessary
