#include "filesystem/DirectorySnapshot.h"

#include <algorithm>

namespace tessary {

using namespace format;

std::optional<Dentry> DirectorySnapshot::entry(EntryPlace place) const {
  const auto block = blocks_.find(place.block);
  if (block == blocks_.end()) return std::nullopt;
  Dentry bytes;
  std::copy_n(block->second.begin() + place.index * static_cast<std::int64_t>(kDentrySize), kDentrySize,
              bytes.begin());
  return bytes;
}

} // namespace tessary
