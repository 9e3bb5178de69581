#pragma once

#include "tests/support/FlushWatch.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>

namespace tessary::test {

/// A medium that is slow, or breaks, behind every mapped file of the process as long as it lives, and where
/// that is said behind files that are written; one at a time. Without any of the calls below it is as good as
/// the host's. It must not end before the work that flushes. Works in the programs that are linked with
/// `tessary_flush_recorder`.
class MediumFaults {
public:
  MediumFaults() = default;
  ~MediumFaults() { letGo(); }
  MediumFaults(const MediumFaults &) = delete;
  MediumFaults &operator=(const MediumFaults &) = delete;

  /// Each flush takes this long.
  void delayFlushes(std::chrono::milliseconds delay);
  /// From now on flushes wait until they are let go; the first ones pass.
  void holdFlushes(std::size_t passing = 0);
  /// The same with flushes of files that are written; none passes.
  void holdFlushesOfFiles();
  void letGo();
  /// How many flushes are held.
  std::size_t waiting() const;
  /// From now on each flush fails.
  void failFlushes();

private:
  int answer(const FlushRequest &request);

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::chrono::milliseconds delay_{0};
  std::size_t waiting_ = 0;
  std::size_t passing_ = 0;
  bool holds_ = false;
  bool holdsFiles_ = false;
  bool fails_ = false;
  const FlushWatch watch_{[this](const FlushRequest &request) { return answer(request); }};
};

} // namespace tessary::test
