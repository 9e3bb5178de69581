#include "tests/support/MediumFaults.h"

#include <cerrno>
#include <thread>

namespace tessary::test {

void MediumFaults::delayFlushes(std::chrono::milliseconds delay) {
  const std::lock_guard lock(mutex_);
  delay_ = delay;
}

void MediumFaults::holdFlushes(std::size_t passing) {
  const std::lock_guard lock(mutex_);
  holds_ = true;
  passing_ = passing;
}

void MediumFaults::holdFlushesOfFiles() {
  const std::lock_guard lock(mutex_);
  holdsFiles_ = true;
}

void MediumFaults::letGo() {
  const std::lock_guard lock(mutex_);
  holds_ = false;
  holdsFiles_ = false;
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

/// Waits as long as the flush takes.
int MediumFaults::answer(const FlushRequest &request) {
  const bool isOfImage = request.call == FlushRequest::Call::msync;
  const bool &holds = isOfImage ? holds_ : holdsFiles_;
  std::unique_lock lock(mutex_);
  const auto end = std::chrono::steady_clock::now() + (isOfImage ? delay_ : std::chrono::milliseconds(0));
  if (isOfImage && passing_ > 0) {
    --passing_;
  } else {
    ++waiting_;
    while (holds)
      changed_.wait(lock);
    --waiting_;
  }
  const bool fails = isOfImage && fails_;
  lock.unlock();
  std::this_thread::sleep_until(end);
  if (!fails) return request.handOn();
  errno = EIO;
  return -1;
}

} // namespace tessary::test
