#pragma once

#include <QElapsedTimer>
#include <QTimer>
#include <algorithm>
#include <ctime>

namespace tessary::test {

/// How long the main thread lets its events wait, and how much of that time it computes.
class Stalls {
public:
  Stalls() {
    timer_.setTimerType(Qt::PreciseTimer);
    timer_.callOnTimeout([this] { tick(); });
    wall_.start();
    lastProcessor_ = processorMilliseconds();
    timer_.start(1);
  }
  /// How often the event loop has turned.
  int turns() const { return turns_; }
  /// In milliseconds, as the next.
  double longest() const { return longest_; }
  double longestComputing() const { return longestComputing_; }

private:
  void tick() {
    const double processor = processorMilliseconds();
    ++turns_;
    longest_ = std::max(longest_, static_cast<double>(wall_.nsecsElapsed()) / 1e6);
    longestComputing_ = std::max(longestComputing_, processor - lastProcessor_);
    lastProcessor_ = processor;
    wall_.start();
  }
  static double processorMilliseconds() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
  }

  QTimer timer_;
  QElapsedTimer wall_;
  int turns_ = 0;
  double lastProcessor_ = 0;
  double longest_ = 0;
  double longestComputing_ = 0;
};

} // namespace tessary::test
