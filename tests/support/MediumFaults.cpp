#include "tests/support/MediumFaults.h"

#include <cerrno>
#include <thread>

namespace tessary::test {

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

int MediumFaults::answer(const FlushRequest &request) {
  if (request.call != FlushRequest::Call::msync || !fails()) return request.handOn();
  errno = EIO;
  return -1;
}

/// Waits as long as the flush takes.
bool MediumFaults::fails() {
  std::unique_lock lock(mutex_);
  const auto end = std::chrono::steady_clock::now() + delay_;
  ++waiting_;
  while (holds_)
    changed_.wait(lock);
  --waiting_;
  const bool fails = fails_;
  lock.unlock();
  std::this_thread::sleep_until(end);
  return fails;
}

} // namespace tessary::test
