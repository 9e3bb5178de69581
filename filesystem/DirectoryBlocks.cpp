#include "filesystem/DirectoryBlocks.h"

#include "filesystem/ImageMapping.h"

namespace tessary {
namespace {

std::uint64_t blockOf(EntryPlace place) {
  return static_cast<std::uint64_t>(place.block);
}
std::size_t indexOf(EntryPlace place) {
  return static_cast<std::size_t>(place.index);
}

} // namespace

bool DirectoryBlocks::contains(std::int64_t block) const {
  return image_.containsBlock(static_cast<std::uint64_t>(block));
}

std::optional<format::Block> DirectoryBlocks::read(std::int64_t block) const {
  format::Block bytes{};
  if (!image_.read(static_cast<std::uint64_t>(block), 0, bytes.data(), bytes.size())) return std::nullopt;
  return bytes;
}

bool DirectoryBlocks::clearBlock(std::int64_t block) {
  return image_.clearBlock(static_cast<std::uint64_t>(block));
}

bool DirectoryBlocks::write(EntryPlace place, const format::Dentry &dentry) {
  return image_.writeDentry(blockOf(place), indexOf(place), dentry);
}

bool DirectoryBlocks::writeName(EntryPlace place, const format::NameField &name) {
  return image_.writeDentryName(blockOf(place), indexOf(place), name.data());
}

bool DirectoryBlocks::clearEntry(EntryPlace place) {
  return image_.clearDentry(blockOf(place), indexOf(place));
}

bool DirectoryBlocks::zeroEntry(EntryPlace place) {
  return image_.zeroDentry(blockOf(place), indexOf(place));
}

} // namespace tessary
