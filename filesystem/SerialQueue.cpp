#include "filesystem/SerialQueue.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
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
struct SerialQueue::State {
  std::string label;
  std::mutex mutex;
  std::condition_variable changed;
  std::deque<std::function<void()>> blocks;
  std::uint64_t given = 0;
  std::uint64_t ended = 0;
  bool started = false;
  bool released = false;
  std::thread::id thread;

  void run();
};

void SerialQueue::State::run() {
  nameCurrentThread(label);
  std::unique_lock lock(mutex);
  while (true) {
    changed.wait(lock, [this] { return released || !blocks.empty(); });
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

SerialQueue::SerialQueue(std::string label) : state_(std::make_shared<State>()) {
  state_->label = std::move(label);
}

SerialQueue::~SerialQueue() {
  {
    const std::lock_guard lock(state_->mutex);
    state_->released = true;
  }
  state_->changed.notify_all();
}

const std::string &SerialQueue::label() const {
  return state_->label;
}

void SerialQueue::async(std::function<void()> block) {
  {
    const std::lock_guard lock(state_->mutex);
    ++pending;
    ++state_->given;
    state_->blocks.push_back(std::move(block));
    if (!state_->started) {
      state_->started = true;
      std::thread thread([state = state_] { state->run(); });
      state_->thread = thread.get_id();
      thread.detach();
    }
  }
  state_->changed.notify_all();
}

void SerialQueue::waitUntilIdle() {
  if (isCurrent()) return;
  std::unique_lock lock(state_->mutex);
  const std::uint64_t target = state_->given;
  state_->changed.wait(lock, [&] { return state_->ended >= target; });
}

bool SerialQueue::isCurrent() const {
  const std::lock_guard lock(state_->mutex);
  return state_->started && state_->thread == std::this_thread::get_id();
}

std::size_t SerialQueue::pendingBlocks() {
  return pending;
}

} // namespace tessary
