#pragma once

#include "tessary/Mutex.h"

#include <condition_variable>
#include <cstdint>

namespace tessary {

/// Readers–writer lock that serves callers strictly in the order they came: a loop that takes the lock
/// again and again cannot starve another thread, and a writer waits only for those before it.
/// Not recursive. Held by `WriteLock` and `ReadLock`.
class TESSARY_CAPABILITY("shared mutex") FairSharedMutex final {
public:
  void lock() TESSARY_ACQUIRE() { enterAlone(); }
  void unlock() TESSARY_RELEASE() { leaveAlone(); }
  void lock_shared() TESSARY_ACQUIRE_SHARED() { enterShared(); }
  void unlock_shared() TESSARY_RELEASE_SHARED() { leaveShared(); }

  /// Tells clang that the caller holds the lock, alone or at least shared, where it cannot see that itself.
  /// Does nothing.
  void assertHeldAlone() const TESSARY_ASSERT_CAPABILITY(this) {}
  void assertHeldShared() const TESSARY_ASSERT_SHARED_CAPABILITY(this) {}

  /// Number of callers that stand in line and do not hold the lock yet.
  std::uint64_t waiting() const;

private:
  // Apart from the four above, because clang does not look into a function that takes or gives back its own
  // lock.
  void enterAlone();
  void leaveAlone();
  void enterShared();
  void leaveShared();

  mutable Mutex mutex_;
  std::condition_variable changed_;
  std::uint64_t nextTicket_ TESSARY_GUARDED_BY(mutex_) = 0;
  std::uint64_t nowServing_ TESSARY_GUARDED_BY(mutex_) = 0;
  std::uint64_t readers_ TESSARY_GUARDED_BY(mutex_) = 0;
  bool writer_ TESSARY_GUARDED_BY(mutex_) = false;
};

/// Holds a `FairSharedMutex` alone for a scope.
class TESSARY_SCOPED_CAPABILITY WriteLock final {
public:
  explicit WriteLock(FairSharedMutex &mutex) TESSARY_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
  ~WriteLock() TESSARY_RELEASE() { mutex_.unlock(); }
  WriteLock(const WriteLock &) = delete;
  WriteLock &operator=(const WriteLock &) = delete;

private:
  FairSharedMutex &mutex_;
};

/// Holds a `FairSharedMutex` together with other readers for a scope.
class TESSARY_SCOPED_CAPABILITY ReadLock final {
public:
  explicit ReadLock(FairSharedMutex &mutex) TESSARY_ACQUIRE_SHARED(mutex) : mutex_(mutex) {
    mutex_.lock_shared();
  }
  ~ReadLock() TESSARY_RELEASE_GENERIC() { mutex_.unlock_shared(); }
  ReadLock(const ReadLock &) = delete;
  ReadLock &operator=(const ReadLock &) = delete;

private:
  FairSharedMutex &mutex_;
};

} // namespace tessary
