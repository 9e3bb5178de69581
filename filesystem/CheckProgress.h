#pragma once

#include "tessary/CheckWatcher.h"

#include <cstdint>

namespace tessary {

/// How far a check is, counted in blocks of the image that it looks through.
class CheckProgress final {
public:
  /// `blocks` in all.
  CheckProgress(const CheckWatcher &watcher, std::uint64_t blocks) : watcher_(watcher), blocks_(blocks) {}

  /// So many more are done. False, from then on, when the check is to stop.
  [[nodiscard]] bool went(std::uint64_t blocks);
  void finish() { tell(blocks_); }
  [[nodiscard]] bool isStopped() const { return isStopped_; }

private:
  void tell(std::uint64_t done) const;

  const CheckWatcher &watcher_;
  const std::uint64_t blocks_;
  std::uint64_t done_ = 0;
  std::uint64_t told_ = 0;
  bool isStopped_ = false;
};

} // namespace tessary
