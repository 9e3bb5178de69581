#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>

namespace tessary::test {

/// A medium that is slow, or breaks, behind every mapped file of the process as long as it lives; one at a
/// time. Without any of the calls below it is as good as the host's. Lets go when it ends; no flush may begin
/// meanwhile. Works in the programs that are linked with `tessary_flush_recorder`.
class MediumFaults {
public:
  MediumFaults();
  ~MediumFaults();
  MediumFaults(const MediumFaults &) = delete;
  MediumFaults &operator=(const MediumFaults &) = delete;

  /// Each flush takes this long.
  void delayFlushes(std::chrono::milliseconds delay);
  /// From now on flushes wait until they are let go.
  void holdFlushes();
  void letGo();
  /// How many flushes are held.
  std::size_t waiting() const;
  /// From now on each flush fails.
  void failFlushes();

  /// For the stand-in of the host's function: waits, and gives the error of a flush that fails or 0.
  int beginFlush();
  /// The one that lives; null when there is none.
  static MediumFaults *current();

private:
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::chrono::milliseconds delay_{0};
  std::size_t waiting_ = 0;
  bool holds_ = false;
  bool fails_ = false;
};

} // namespace tessary::test
