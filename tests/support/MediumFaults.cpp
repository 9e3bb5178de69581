#include "tests/support/MediumFaults.h"

#include <atomic>
#include <cerrno>
#include <stdexcept>
#include <thread>

namespace tessary::test {
namespace {

std::atomic<MediumFaults *> currentFaults = nullptr;

} // namespace

MediumFaults::MediumFaults() {
  MediumFaults *none = nullptr;
  if (!currentFaults.compare_exchange_strong(none, this)) throw std::logic_error("there is another one");
}

MediumFaults::~MediumFaults() {
  currentFaults = nullptr;
  letGo();
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return waiting_ == 0; });
}

MediumFaults *MediumFaults::current() {
  return currentFaults;
}

void MediumFaults::delayFlushes(std::chrono::milliseconds delay) {
  const std::lock_guard lock(mutex_);
  delay_ = delay;
}

void MediumFaults::holdFlushes() {
  const std::lock_guard lock(mutex_);
  holds_ = true;
}

void MediumFaults::letGo() {
  const std::lock_guard lock(mutex_);
  holds_ = false;
  changed_.notify_all();
}

std::size_t MediumFaults::waiting() const {
  const std::lock_guard lock(mutex_);
  return waiting_;
}

void MediumFaults::failFlushes() {
  const std::lock_guard lock(mutex_);
  fails_ = true;
}

int MediumFaults::beginFlush() {
  std::unique_lock lock(mutex_);
  ++waiting_;
  const auto over = std::chrono::steady_clock::now() + delay_;
  while (holds_)
    changed_.wait(lock);
  const bool fails = fails_;
  lock.unlock();
  std::this_thread::sleep_until(over);
  lock.lock();
  --waiting_;
  changed_.notify_all();
  return fails ? EIO : 0;
}

} // namespace tessary::test
