#include "filesystem/DirectoryBlocks.h"

#include "filesystem/ImageMapping.h"
#include "filesystem/VolumeIndex.h"

#include <algorithm>

namespace tessary {
namespace {

std::uint64_t blockOf(EntryPlace place) {
  return static_cast<std::uint64_t>(place.block);
}
std::size_t indexOf(EntryPlace place) {
  return static_cast<std::size_t>(place.index);
}

} // namespace

bool DirectoryBlocks::written(std::int64_t block, bool done) {
  if (index_) index_->blockWritten(static_cast<std::uint64_t>(block));
  return done;
}

bool DirectoryBlocks::contains(std::int64_t block) const {
  return image_.containsBlock(static_cast<std::uint64_t>(block));
}

std::optional<format::Block> DirectoryBlocks::read(std::int64_t block) const {
  std::optional<format::Block> bytes(std::in_place);
  if (!image_.read(static_cast<std::uint64_t>(block), 0, bytes->data(), bytes->size())) return std::nullopt;
  const auto planned = planned_.find(block);
  if (planned == planned_.end()) return bytes;
  const auto &[plans, isPlanned] = planned->second;
  for (std::size_t index = 0; index < format::kDentriesPerBlock; ++index) {
    const std::size_t offset = index * format::kDentrySize;
    if (isPlanned[index]) std::copy_n(&plans[offset], format::kDentrySize, &(*bytes)[offset]);
  }
  return bytes;
}

std::optional<format::Dentry> DirectoryBlocks::readEntry(EntryPlace place) const {
  format::Dentry bytes{};
  const std::uint64_t offset = indexOf(place) * format::kDentrySize;
  if (const std::uint8_t *const planned = plannedAt(place)) {
    std::copy_n(planned, bytes.size(), bytes.begin());
    return bytes;
  }
  if (!image_.read(blockOf(place), offset, bytes.data(), bytes.size())) return std::nullopt;
  return bytes;
}

void DirectoryBlocks::plan(EntryPlace place, const format::Dentry &dentry) {
  PlannedBlock &block = planned_[place.block];
  std::copy(dentry.begin(), dentry.end(), &block.bytes[indexOf(place) * format::kDentrySize]);
  block.isPlanned.set(indexOf(place));
}

void DirectoryBlocks::forgetPlan(EntryPlace place) {
  const auto block = planned_.find(place.block);
  if (block == planned_.end()) return;
  block->second.isPlanned.reset(indexOf(place));
  if (block->second.isPlanned.none()) planned_.erase(block);
}

const std::uint8_t *DirectoryBlocks::plannedAt(EntryPlace place) const {
  const auto block = planned_.find(place.block);
  if (block == planned_.end() || !block->second.isPlanned[indexOf(place)]) return nullptr;
  return &block->second.bytes[indexOf(place) * format::kDentrySize];
}

bool DirectoryBlocks::clearBlock(std::int64_t block) {
  return written(block, image_.clearBlock(static_cast<std::uint64_t>(block)));
}

bool DirectoryBlocks::write(EntryPlace place, const format::Dentry &dentry) {
  return written(place.block, image_.writeDentry(blockOf(place), indexOf(place), dentry));
}

bool DirectoryBlocks::writeName(EntryPlace place, const format::NameField &name) {
  return written(place.block, image_.writeDentryName(blockOf(place), indexOf(place), name.data()));
}

bool DirectoryBlocks::writeFolderBlock(EntryPlace place, std::size_t position, std::int64_t number) {
  std::array<std::uint8_t, 2> bytes{};
  format::writeLE16(bytes.data(), static_cast<std::uint16_t>(number));
  const std::uint64_t offset =
      indexOf(place) * format::kDentrySize + format::kDentryFolderBlocks + 2 * position;
  return written(place.block, image_.write(blockOf(place), offset, bytes.data(), bytes.size()));
}

bool DirectoryBlocks::clearEntry(EntryPlace place) {
  return written(place.block, image_.clearDentry(blockOf(place), indexOf(place)));
}

bool DirectoryBlocks::zeroEntry(EntryPlace place) {
  return written(place.block, image_.zeroDentry(blockOf(place), indexOf(place)));
}

} // namespace tessary
