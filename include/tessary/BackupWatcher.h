#pragma once

#include <cstdint>
#include <functional>

namespace tessary {

/// Who watches a backup; called on the thread that makes it. Empty functions are not called.
struct BackupWatcher {
  std::function<void(std::uint64_t bytesDone, std::uint64_t bytes)> progressed;
  std::function<bool()> isToStop;
};

} // namespace tessary
