#include "tests/writing/KilledWork.h"

#include "tests/support/FlushWatch.h"
#include "tests/writing/Random.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <iostream>
#include <string>
#include <sys/time.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace tessary::test {
namespace {

[[noreturn]] void failWith(const char *what) {
  throw std::system_error(errno, std::generic_category(), what);
}

/// Runs `body` in another process. Returns whether that was killed.
bool inOtherProcess(const std::function<void()> &body) {
  const pid_t child = ::fork();
  if (child < 0) failWith("fork");
  if (child == 0) {
    body();
    ::_exit(0);
  }
  int status = 0;
  if (::waitpid(child, &status, 0) != child) failWith("waitpid");
  return WIFSIGNALED(status);
}

/// Nothing handles the alarm: the process ends there and then.
void setAlarm(std::chrono::microseconds delay) {
  constexpr long microsecondsInASecond = 1'000'000;
  ::signal(SIGALRM, SIG_DFL);
  itimerval timer{};
  timer.it_value.tv_sec = delay.count() / microsecondsInASecond;
  timer.it_value.tv_usec =
      static_cast<decltype(timer.it_value.tv_usec)>(delay.count() % microsecondsInASecond);
  ::setitimer(ITIMER_REAL, &timer, nullptr);
}

} // namespace

KilledWork::KilledWork(std::function<void()> layOut, Prepare prepare)
    : layOut_(std::move(layOut)), prepare_(std::move(prepare)) {}

KilledWork::Course KilledWork::doAll() const {
  using Clock = std::chrono::steady_clock;
  const std::function<void()> work = prepare_();
  Course course;
  const FlushWatch watch([&](const FlushRequest &) {
    ++course.flushes;
    return 0;
  });
  const auto begin = Clock::now();
  work();
  course.time = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin);
  return course;
}

// This too is done in another process, since the work may leave threads behind.
void KilledWork::measure() {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) failWith("pipe");
  layOut_();
  inOtherProcess([&] {
    const Course course = doAll();
    if (::write(ends[1], &course, sizeof course) != sizeof course) ::_exit(1);
  });
  ::close(ends[1]);
  const bool isRead = ::read(ends[0], &course_, sizeof course_) == sizeof course_;
  ::close(ends[0]);
  if (!isRead) throw std::runtime_error("The work did not come to its end");
}

void KilledWork::killAtMoments(std::uint32_t count, const std::function<void()> &judge) {
  measure();
  std::uint32_t kills = 0;
  for (std::uint32_t round = 0; round < count && !testing::Test::HasFailure(); ++round) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, "round " + std::to_string(round));
    Random random(round * 7919 + 1);
    const bool byFlush = random.chance(50);
    const std::size_t moment = random.below(1000);
    if (byFlush ? killAtFlush(moment) : killAtTime(moment)) ++kills;
    judge();
  }
  std::cout << count << " rounds, " << kills << " killed in the work\n";
  EXPECT_GE(kills * 3, count); // of those by time some come when all is done
}

bool KilledWork::killAtFlush(std::size_t thousandths) const {
  const std::size_t last = course_.flushes * thousandths / 1000;
  layOut_();
  return inOtherProcess([&] {
    const std::function<void()> work = prepare_();
    std::size_t flushes = 0;
    const FlushWatch watch([&](const FlushRequest &) {
      if (flushes++ == last) ::kill(::getpid(), SIGKILL);
      return 0; // whether anything reaches the medium makes no difference to who is killed
    });
    work();
  });
}

bool KilledWork::killAtTime(std::size_t thousandths) const {
  const auto delay = course_.time * static_cast<long>(thousandths) / 1000 + std::chrono::microseconds(1);
  layOut_();
  return inOtherProcess([&] {
    const std::function<void()> work = prepare_();
    const FlushWatch watch([](const FlushRequest &) { return 0; });
    setAlarm(delay);
    work();
  });
}

} // namespace tessary::test
