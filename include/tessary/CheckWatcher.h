#pragma once

#include <cstdint>
#include <functional>

namespace tessary {

/// Who watches a check; called now and then on the thread that makes it. Empty functions are not called.
struct CheckWatcher {
  /// Of all bytes that the check looks through; in the end `bytesDone` is `bytes`.
  std::function<void(std::uint64_t bytesDone, std::uint64_t bytes)> progressed;
  std::function<bool()> isToStop;
};

} // namespace tessary
