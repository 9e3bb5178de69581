#pragma once

#include <atomic>
#include <csetjmp>
#include <cstdint>

/// Touching a mapped file that may be cut short underneath: a page whose part of the file is gone raises
/// SIGBUS. Any thread.
namespace tessary::faults {

/// Before the first `guarded` of the process; again does no harm.
void installHandler();

/// A touch in progress on this thread: the bytes that it may touch, and where it goes on after a fault.
struct Touch {
  sigjmp_buf resume;
  std::uintptr_t begin;
  std::uintptr_t end;
};
void setCurrentTouch(Touch *touch);

/// Runs `body`, which touches only `length` bytes at `begin` of a mapping. False when they faulted; any other
/// fault keeps its usual meaning. `body` must hold nothing that needs a destructor, since a fault leaves it
/// by a jump.
template <typename Body>
[[gnu::noinline]] bool guarded(const std::uint8_t *begin, std::uint64_t length, Body &&body) {
  Touch touch;
  touch.begin = reinterpret_cast<std::uintptr_t>(begin);
  touch.end = touch.begin + length;
  if (sigsetjmp(touch.resume, 0) != 0) {
    setCurrentTouch(nullptr);
    return false;
  }
  setCurrentTouch(&touch);
  std::atomic_signal_fence(std::memory_order_seq_cst);
  body();
  std::atomic_signal_fence(std::memory_order_seq_cst);
  setCurrentTouch(nullptr);
  return true;
}

} // namespace tessary::faults
