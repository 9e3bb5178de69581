#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace tessary::test {

/// Random choices that a seed gives again on every machine.
class Random {
public:
  explicit Random(std::uint32_t seed) : engine_(seed) {}

  /// 0 to `count` − 1.
  std::size_t below(std::size_t count) { return engine_() % count; }
  /// `low` to `high`, both included.
  std::size_t between(std::size_t low, std::size_t high) { return low + below(high - low + 1); }
  bool chance(std::size_t percent) { return below(100) < percent; }
  template <typename T> const T &pick(const std::vector<T> &items) { return items[below(items.size())]; }

private:
  std::mt19937 engine_;
};

} // namespace tessary::test
