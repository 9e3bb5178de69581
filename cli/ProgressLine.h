#pragma once

#include "cli/Session.h"
#include "tessary/ItemsWatcher.h"

#include <chrono>
#include <cstddef>
#include <string>

namespace tessary::cli {

/// Shows on standard error, when that is a terminal, how far work on several items is: which one, bytes,
/// share, speed and time left. One line, which is taken back.
///
///     2 of 5, 12.0 MB of 64.0 MB, 18%, 8.0 MB/s, 7 s left: /Drums/KICK
class ProgressLine final {
public:
  explicit ProgressLine(const Streams &streams) : streams_(streams) {}

  /// An item's turn has come; `progress` says how far those before it are.
  void show(const std::string &item, const ItemsProgress &progress);
  void clear();

private:
  const Streams &streams_;
  const std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
  std::size_t begun_ = 0;
  bool isShown_ = false;
};

/// The figures behind the count: bytes done and in all, share, and once some time has passed, speed and time
/// left. Empty where there are no bytes to count.
[[nodiscard]] std::string progressFigures(const ItemsProgress &progress, std::chrono::milliseconds elapsed);

} // namespace tessary::cli
