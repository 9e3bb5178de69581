#pragma once

#include <algorithm>
#include <vector>

namespace tessary::bench {

/// Of an even number of values the larger of the two in the middle. There must be one.
inline double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

} // namespace tessary::bench
