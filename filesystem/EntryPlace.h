#pragma once

#include <compare>
#include <cstdint>

namespace tessary {

/// Where a directory entry lies: its directory block, and its index among that block's 16 entries, 0–15.
struct EntryPlace {
  std::int64_t block = 0;
  std::int64_t index = 0;

  auto operator<=>(const EntryPlace &) const = default;
};

} // namespace tessary
