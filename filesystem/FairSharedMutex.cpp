#include "filesystem/FairSharedMutex.h"

namespace tessary {

void FairSharedMutex::enterAlone() {
  MutexLock guard(mutex_);
  const std::uint64_t ticket = nextTicket_++;
  while (nowServing_ != ticket || readers_ != 0 || writer_)
    guard.wait(changed_);
  writer_ = true;
  ++nowServing_;
}

void FairSharedMutex::leaveAlone() {
  {
    const MutexLock guard(mutex_);
    writer_ = false;
  }
  changed_.notify_all();
}

void FairSharedMutex::enterShared() {
  {
    MutexLock guard(mutex_);
    const std::uint64_t ticket = nextTicket_++;
    while (nowServing_ != ticket || writer_)
      guard.wait(changed_);
    ++readers_;
    ++nowServing_;
  }
  changed_.notify_all(); // the next in line may be a reader too
}

void FairSharedMutex::leaveShared() {
  {
    const MutexLock guard(mutex_);
    --readers_;
  }
  changed_.notify_all();
}

std::uint64_t FairSharedMutex::waiting() const {
  const MutexLock guard(mutex_);
  return nextTicket_ - nowServing_;
}

} // namespace tessary
