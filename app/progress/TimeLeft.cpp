#include "app/progress/TimeLeft.h"

namespace tessary {
namespace {

using namespace std::chrono_literals;

// Work goes to the medium in groups of a second or so: several of them are looked back on.
constexpr auto kLookedBack = 10s;
constexpr auto kShortest = 1s; // before that a rate says nothing

QString about(std::int64_t count, const char *unit) {
  return QStringLiteral("about %1 %2%3 left")
      .arg(QString::number(count), QLatin1String(unit), count == 1 ? QString() : QStringLiteral("s"));
}

std::int64_t rounded(std::chrono::seconds time, std::chrono::seconds unit) {
  return (time + unit / 2) / unit;
}

} // namespace

void TimeLeft::note(Clock::time_point now, std::uint64_t done, std::uint64_t all) {
  if (all != all_) forget();
  all_ = all;
  seen_.push_back({now, done});
  while (seen_.size() > 2 && now - seen_[1].at >= kLookedBack)
    seen_.pop_front();
}

std::optional<std::chrono::seconds> TimeLeft::left() const {
  if (seen_.size() < 2) return std::nullopt;
  const Seen &first = seen_.front();
  const Seen &last = seen_.back();
  if (last.at - first.at < kShortest || last.done <= first.done) return std::nullopt;
  const std::chrono::duration<double> time = last.at - first.at;
  const double perUnit = time.count() / static_cast<double>(last.done - first.done);
  return std::chrono::seconds(static_cast<std::int64_t>(perUnit * static_cast<double>(all_ - last.done)));
}

QString timeLeftText(std::chrono::seconds left) {
  if (left < 10s) return QStringLiteral("a few seconds left");
  if (left < 55s) return about(rounded(left, 10s) * 10, "second");
  if (left < 55min) return about(std::max<std::int64_t>(1, rounded(left, 60s)), "minute");
  return about(std::max<std::int64_t>(1, rounded(left, 3600s)), "hour");
}

} // namespace tessary
