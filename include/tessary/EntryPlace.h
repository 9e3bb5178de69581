#pragma once

#include <array>
#include <compare>
#include <cstdint>

namespace tessary {

/// Where a directory entry lies: its directory block, and its index among that block's 16 entries, 0–15.
struct EntryPlace {
  std::int64_t block = 0;
  std::int64_t index = 0;

  auto operator<=>(const EntryPlace &) const = default; // NOLINT(modernize-use-nullptr): it means the 0 in it
};

/// The 32 bytes of a directory entry, as they stand on the image.
using EntryBytes = std::array<std::uint8_t, 32>;

} // namespace tessary
