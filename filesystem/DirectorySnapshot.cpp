#include "filesystem/DirectorySnapshot.h"

#include <algorithm>

namespace tessary {

using namespace format;

void DirectorySnapshot::add(std::int64_t block, const Block &bytes) {
  const auto last = std::find_if(bytes.rbegin(), bytes.rend(), [](std::uint8_t byte) { return byte != 0; });
  blocks_[block] = std::vector<std::uint8_t>(bytes.begin(), last.base());
}

std::optional<Dentry> DirectorySnapshot::entry(EntryPlace place) const {
  const auto block = blocks_.find(place.block);
  if (block == blocks_.end()) return std::nullopt;
  const std::vector<std::uint8_t> &stored = block->second;
  const std::size_t first = std::min(static_cast<std::size_t>(place.index) * kDentrySize, stored.size());
  Dentry bytes{};
  std::copy_n(stored.begin() + static_cast<std::ptrdiff_t>(first),
              std::min(stored.size() - first, kDentrySize), bytes.begin());
  return bytes;
}

} // namespace tessary
