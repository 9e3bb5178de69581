#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QTableView>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <functional>
#include <numeric>
#include <stdexcept>
#include <vector>

/// How long the window lets its user wait.
namespace tessary::bench {

using Clock = std::chrono::steady_clock;

inline double millisecondsSince(Clock::time_point begin) {
  return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

/// A list of times in milliseconds, with the figures that are printed of them.
class Times {
public:
  void add(double milliseconds) { times_.push_back(milliseconds); }
  std::size_t count() const { return times_.size(); }
  void print(const char *what) {
    if (times_.empty()) return;
    std::sort(times_.begin(), times_.end());
    const auto share = [this](double part) {
      return times_[static_cast<std::size_t>(part * static_cast<double>(times_.size() - 1))];
    };
    const double sum = std::accumulate(times_.begin(), times_.end(), 0.0);
    std::printf("%-34s %6zu   average %7.2f   median %7.2f   99 %% %7.2f   longest %7.2f ms\n", what,
                times_.size(), sum / static_cast<double>(times_.size()), share(0.5), share(0.99),
                times_.back());
  }

private:
  std::vector<double> times_;
};

inline void runUntil(const std::function<bool()> &holds) {
  constexpr double milliseconds = 120'000;
  const auto begin = Clock::now();
  QTimer wake; // what is waited for may come without an event
  wake.start(1);
  while (!holds()) {
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    if (millisecondsSince(begin) > milliseconds) throw std::runtime_error("waited in vain");
  }
}

/// Processor time of this thread in milliseconds; what other programs take is not in it.
inline double processorMilliseconds() {
  timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// Times from one turn of the event loop to the next, and from a click to the painted table.
class Watch final : public QObject {
public:
  explicit Watch(QTableView *table) : table_(table->viewport()) {
    table_->installEventFilter(this);
    beat_.setTimerType(Qt::PreciseTimer);
    beat_.callOnTimeout([this] { turn(); });
    beat_.start(1);
  }
  void clicked() {
    click_ = Clock::now();
    awaitsPaint_ = true;
  }

  Times turns, work, paints;

protected:
  bool eventFilter(QObject *, QEvent *event) override {
    if (event->type() != QEvent::Paint || !awaitsPaint_) return false;
    awaitsPaint_ = false;
    // The painting itself comes after this filter; the turn that follows has it behind it.
    QMetaObject::invokeMethod(
        this, [this] { paints.add(millisecondsSince(click_)); }, Qt::QueuedConnection);
    return false;
  }

private:
  void turn() {
    turns.add(millisecondsSince(last_));
    work.add(processorMilliseconds() - worked_);
    last_ = Clock::now();
    worked_ = processorMilliseconds();
  }

  QWidget *table_;
  QTimer beat_;
  Clock::time_point last_ = Clock::now(), click_;
  double worked_ = processorMilliseconds();
  bool awaitsPaint_ = false;
};

} // namespace tessary::bench
