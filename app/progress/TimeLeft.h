#pragma once

#include <QString>
#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>

namespace tessary {

/// How long work goes on, judged by how quick it was in the last seconds.
class TimeLeft final {
public:
  using Clock = std::chrono::steady_clock;

  /// So far it is now. Another `all` than before is that of other work.
  void note(Clock::time_point now, std::uint64_t done, std::uint64_t all);
  void forget() { seen_.clear(); }
  /// None while too little was seen of the work.
  [[nodiscard]] std::optional<std::chrono::seconds> left() const;

private:
  struct Seen {
    Clock::time_point at;
    std::uint64_t done = 0;
  };

  std::deque<Seen> seen_; ///< the oldest first, which is as old as those after it are looked back to
  std::uint64_t all_ = 0;
};

/// "about 2 minutes left": no more exact than is known.
[[nodiscard]] QString timeLeftText(std::chrono::seconds left);

} // namespace tessary
