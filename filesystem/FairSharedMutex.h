#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace tessary {

/// Readers–writer lock that serves callers strictly in the order they came: a loop that takes the lock
/// again and again cannot starve another thread, and a writer waits only for those before it.
/// Not recursive. Meets the standard's SharedMutex requirements that std::unique_lock and
/// std::shared_lock need.
class FairSharedMutex final {
public:
  void lock();
  void unlock();
  void lock_shared();
  void unlock_shared();

private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::uint64_t nextTicket_ = 0;
  std::uint64_t nowServing_ = 0;
  std::uint64_t readers_ = 0;
  bool writer_ = false;
};

} // namespace tessary
