#include "filesystem/FairSharedMutex.h"

namespace tessary {

void FairSharedMutex::lock() {
  std::unique_lock guard(mutex_);
  const std::uint64_t ticket = nextTicket_++;
  changed_.wait(guard, [&] { return nowServing_ == ticket && readers_ == 0 && !writer_; });
  writer_ = true;
  ++nowServing_;
}

void FairSharedMutex::unlock() {
  {
    const std::lock_guard guard(mutex_);
    writer_ = false;
  }
  changed_.notify_all();
}

void FairSharedMutex::lock_shared() {
  {
    std::unique_lock guard(mutex_);
    const std::uint64_t ticket = nextTicket_++;
    changed_.wait(guard, [&] { return nowServing_ == ticket && !writer_; });
    ++readers_;
    ++nowServing_;
  }
  changed_.notify_all(); // the next in line may be a reader too
}

void FairSharedMutex::unlock_shared() {
  {
    const std::lock_guard guard(mutex_);
    --readers_;
  }
  changed_.notify_all();
}

} // namespace tessary
