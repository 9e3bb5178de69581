#include "tessary/SerialQueue.h"

#include "tessary/Mutex.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <pthread.h>
#include <thread>
#include <utility>

namespace tessary {
namespace {

std::atomic<std::size_t> pending = 0;

void nameCurrentThread(const std::string &label) {
#ifdef __APPLE__
  pthread_setname_np(label.c_str());
#else
  constexpr std::size_t longestName = 15;
  pthread_setname_np(pthread_self(), label.substr(0, longestName).c_str());
#endif
}

} // namespace

// Owned by the queue and by its thread together, so that the thread may outlive the queue.
struct SerialQueue::State final : std::enable_shared_from_this<State> {
  explicit State(std::string queueLabel) : label(std::move(queueLabel)) {}

  /// Starts the thread unless it runs already. Throws std::system_error when there can be none.
  void startThread() TESSARY_REQUIRES(mutex);
  /// What the thread does: runs blocks until the queue is released and none is left.
  void run() TESSARY_EXCLUDES(mutex);

  const std::string label;
  std::condition_variable changed;
  Mutex mutex;
  std::deque<std::function<void()>> blocks TESSARY_GUARDED_BY(mutex);
  std::uint64_t given TESSARY_GUARDED_BY(mutex) = 0;
  std::uint64_t ended TESSARY_GUARDED_BY(mutex) = 0;
  bool released TESSARY_GUARDED_BY(mutex) = false;
  std::thread::id thread TESSARY_GUARDED_BY(mutex); ///< none before the first block
};

void SerialQueue::State::startThread() {
  if (thread != std::thread::id()) return;
  std::thread started([state = shared_from_this()] { state->run(); });
  thread = started.get_id();
  started.detach();
}

void SerialQueue::State::run() {
  nameCurrentThread(label);
  MutexLock lock(mutex);
  while (true) {
    while (!released && blocks.empty())
      lock.wait(changed);
    if (blocks.empty()) return;
    std::function<void()> block = std::move(blocks.front());
    blocks.pop_front();
    lock.unlock();
    block();
    block = nullptr; // may release the queue itself
    lock.lock();
    ++ended;
    --pending;
    changed.notify_all();
  }
}

SerialQueue::SerialQueue(std::string label) : state_(std::make_shared<State>(std::move(label))) {}

SerialQueue::~SerialQueue() {
  {
    const MutexLock lock(state_->mutex);
    state_->released = true;
  }
  state_->changed.notify_all();
}

const std::string &SerialQueue::label() const {
  return state_->label;
}

void SerialQueue::async(std::function<void()> block) {
  {
    const MutexLock lock(state_->mutex);
    // Both of these may throw; a block is counted once nothing can keep it from running.
    state_->startThread();
    state_->blocks.push_back(std::move(block));
    ++state_->given;
    ++pending;
  }
  state_->changed.notify_all();
}

void SerialQueue::waitUntilIdle() {
  if (isCurrent()) return;
  MutexLock lock(state_->mutex);
  const std::uint64_t target = state_->given;
  while (state_->ended < target)
    lock.wait(state_->changed);
}

bool SerialQueue::isCurrent() const {
  const MutexLock lock(state_->mutex);
  return state_->thread == std::this_thread::get_id();
}

std::size_t SerialQueue::pendingBlocks() {
  return pending;
}

} // namespace tessary
