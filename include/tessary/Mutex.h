#pragma once

#include "tessary/ThreadAnnotations.h"

#include <condition_variable>
#include <mutex>

namespace tessary {

/// A plain mutex that clang's thread-safety analysis knows. Held by `MutexLock` alone.
class TESSARY_CAPABILITY("mutex") Mutex final {
public:
  void lock() TESSARY_ACQUIRE() { mutex_.lock(); }
  void unlock() TESSARY_RELEASE() { mutex_.unlock(); }

private:
  friend class MutexLock;
  std::mutex mutex_;
};

/// Holds a `Mutex` for a scope; can give it back early and wait for a condition.
class TESSARY_SCOPED_CAPABILITY MutexLock final {
public:
  explicit MutexLock(Mutex &mutex) TESSARY_ACQUIRE(mutex) : lock_(mutex.mutex_) {}
  ~MutexLock() TESSARY_RELEASE() = default;
  MutexLock(const MutexLock &) = delete;
  MutexLock &operator=(const MutexLock &) = delete;

  void unlock() TESSARY_RELEASE() { lock_.unlock(); }
  void lock() TESSARY_ACQUIRE() { lock_.lock(); }
  /// Gives the mutex back while it waits; holds it again when it returns. Wakes without reason now and then,
  /// so the caller looks at its condition in a loop.
  void wait(std::condition_variable &changed) { changed.wait(lock_); }

private:
  std::unique_lock<std::mutex> lock_;
};

} // namespace tessary
