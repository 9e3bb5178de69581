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
  format::Block bytes{};
  if (!image_.read(static_cast<std::uint64_t>(block), 0, bytes.data(), bytes.size())) return std::nullopt;
  for (auto plan = planned_.lower_bound({block, 0}); plan != planned_.end() && plan->first.block == block;
       ++plan)
    std::copy(plan->second.begin(), plan->second.end(),
              bytes.begin() + static_cast<std::ptrdiff_t>(indexOf(plan->first) * format::kDentrySize));
  return bytes;
}

std::optional<format::Dentry> DirectoryBlocks::readEntry(EntryPlace place) const {
  if (const auto plan = planned_.find(place); plan != planned_.end()) return plan->second;
  format::Dentry bytes{};
  const std::uint64_t offset = indexOf(place) * format::kDentrySize;
  if (!image_.read(blockOf(place), offset, bytes.data(), bytes.size())) return std::nullopt;
  return bytes;
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
