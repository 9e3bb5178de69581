#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace tessary::test {

/// Work that another process does and is killed in. For programs that are linked with
/// `tessary_flush_recorder` and have one thread when they call it.
class KilledWork final {
public:
  /// Prepares the work and returns the function that does it.
  using Prepare = std::function<std::function<void()>()>;

  /// `layOut` puts everything where the work finds it, before each time.
  KilledWork(std::function<void()> layOut, Prepare prepare);

  /// Kills the process at that many random moments, at flushes and between them, and lets `judge` look at
  /// what is left each time, until a test has failed. Fails the test where hardly any moment lay in the work.
  void killAtMoments(std::uint32_t count, const std::function<void()> &judge);

private:
  /// How long all of the work takes, and how often it asks for a flush.
  struct Course {
    std::chrono::microseconds time{0};
    std::size_t flushes = 0;
  };

  [[nodiscard]] Course doAll() const;
  /// Does all of the work once, to learn its course.
  void measure();
  /// Kills the process at a flush: the one that comes when that many thousandths of all flushes are done.
  /// Returns whether it was killed.
  [[nodiscard]] bool killAtFlush(std::size_t thousandths) const;
  /// Kills the process when that many thousandths of the time have passed that the work takes.
  [[nodiscard]] bool killAtTime(std::size_t thousandths) const;

  const std::function<void()> layOut_;
  const Prepare prepare_;
  Course course_;
};

} // namespace tessary::test
