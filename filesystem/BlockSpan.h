#pragma once

#include <cstdint>

namespace tessary {

/// Blocks from `begin` up to `end`.
struct BlockSpan {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
};

} // namespace tessary
