#include "tessary/SerialQueue.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <optional>
#include <set>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <pthread.h>

namespace tessary {
namespace {

constexpr auto kLong = std::chrono::seconds(20);

/// A gate that a block waits at until the test opens it.
class Gate {
public:
  void open() { opened_.set_value(); }
  void wait() { future_.wait(); }

private:
  std::promise<void> opened_;
  std::shared_future<void> future_ = opened_.get_future().share();
};

/// What a block tells the test, once. The block keeps a copy: it may still be at it when the test has heard
/// it and is over.
template <typename T> class Report {
public:
  void tell(T value) const { told_->set_value(std::move(value)); }
  /// What was told; nothing when that takes too long.
  std::optional<T> heard() {
    if (heard_.wait_for(kLong) != std::future_status::ready) return std::nullopt;
    return heard_.get();
  }
  bool isTold() const { return heard_.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }

private:
  std::shared_ptr<std::promise<T>> told_ = std::make_shared<std::promise<T>>();
  std::shared_future<T> heard_ = told_->get_future().share();
};

/// True once no queue has a block left. Queues that a test has released end when they are done.
bool nothingIsPending() {
  const auto end = std::chrono::steady_clock::now() + kLong;
  while (SerialQueue::pendingBlocks() > 0) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::yield();
  }
  return true;
}

TEST(SerialQueue, RunsBlocksInTheOrderGiven) {
  SerialQueue queue("test");
  std::vector<int> ran; // by the queue's thread alone until waitUntilIdle
  for (int i = 0; i < 1000; ++i)
    queue.async([&ran, i] { ran.push_back(i); });
  queue.waitUntilIdle();
  ASSERT_EQ(ran.size(), 1000U);
  for (int i = 0; i < 1000; ++i)
    EXPECT_EQ(ran[static_cast<std::size_t>(i)], i);
}

TEST(SerialQueue, RunsAllBlocksOnOneThreadOfItsOwn) {
  SerialQueue queue("test");
  std::set<std::thread::id> threads;
  for (int i = 0; i < 50; ++i)
    queue.async([&] { threads.insert(std::this_thread::get_id()); });
  queue.waitUntilIdle();
  EXPECT_EQ(threads.size(), 1U);
  EXPECT_EQ(threads.count(std::this_thread::get_id()), 0U);
}

TEST(SerialQueue, AsyncReturnsBeforeTheBlockRan) {
  SerialQueue queue("test");
  Gate gate;
  std::atomic<bool> ran = false;
  queue.async([&] {
    gate.wait();
    ran = true;
  });
  EXPECT_FALSE(ran);
  gate.open();
  queue.waitUntilIdle();
  EXPECT_TRUE(ran);
}

TEST(SerialQueue, ThreadCarriesTheLabel) {
  SerialQueue queue("com.tessary.io");
  EXPECT_EQ(queue.label(), "com.tessary.io");
  std::array<char, 64> name{};
  queue.async([&] { ::pthread_getname_np(::pthread_self(), name.data(), name.size()); });
  queue.waitUntilIdle();
  EXPECT_STREQ(name.data(), "com.tessary.io");
}

TEST(SerialQueue, LongLabelIsKeptWhole) {
  SerialQueue queue("a label of more than fifteen characters");
  EXPECT_EQ(queue.label(), "a label of more than fifteen characters");
  std::array<char, 64> name{};
  queue.async([&] { ::pthread_getname_np(::pthread_self(), name.data(), name.size()); });
  queue.waitUntilIdle();
  EXPECT_STREQ(name.data(), "a label of more");
}

TEST(SerialQueue, WaitingOnItsOwnThreadReturnsAtOnce) {
  SerialQueue queue("test");
  Report<bool> ended;
  queue.async([&queue, ended] {
    queue.waitUntilIdle();
    ended.tell(queue.isCurrent());
  });
  EXPECT_EQ(ended.heard(), true);
}

TEST(SerialQueue, IsCurrentOnItsOwnThreadAlone) {
  SerialQueue queue("test");
  SerialQueue other("other");
  EXPECT_FALSE(queue.isCurrent());
  bool own = false;
  bool foreign = true;
  queue.async([&] {
    own = queue.isCurrent();
    foreign = other.isCurrent();
  });
  queue.waitUntilIdle();
  EXPECT_TRUE(own);
  EXPECT_FALSE(foreign);
  EXPECT_FALSE(queue.isCurrent());
}

TEST(SerialQueue, WaitsForBlocksGivenBefore) {
  SerialQueue queue("test");
  Gate gate;
  std::atomic<bool> ran = false;
  queue.async([&] { gate.wait(); });
  queue.async([&] { ran = true; });
  auto waiting = std::async(std::launch::async, [&] {
    queue.waitUntilIdle();
    return ran.load();
  });
  gate.open();
  EXPECT_TRUE(waiting.get());
}

// The queue is never idle: each block gives the next one before it ends.
TEST(SerialQueue, DoesNotWaitForBlocksGivenLater) {
  SerialQueue queue("test");
  std::atomic<bool> stop = false;
  Report<bool> stopped;
  std::function<void()> next = [&queue, &stop, &next, stopped] {
    if (stop)
      stopped.tell(true);
    else
      queue.async(next);
  };
  queue.async(next);
  auto waiting = std::async(std::launch::async, [&] { queue.waitUntilIdle(); });
  EXPECT_EQ(waiting.wait_for(kLong), std::future_status::ready);
  stop = true;
  EXPECT_EQ(stopped.heard(), true);
  queue.waitUntilIdle(); // the last block has left what it refers to
}

TEST(SerialQueue, WaitingForAnIdleQueueReturns) {
  SerialQueue queue("test");
  queue.waitUntilIdle();
  queue.async([] {});
  queue.waitUntilIdle();
  queue.waitUntilIdle();
}

TEST(SerialQueue, ReleaseLetsGivenBlocksRunToTheirEndWithoutWaiting) {
  Gate gate;
  Report<bool> ended;
  {
    SerialQueue queue("test");
    queue.async([&] { gate.wait(); });
    queue.async([] {});
    queue.async([ended] { ended.tell(true); });
  } // returns although the first block still waits
  EXPECT_FALSE(ended.isTold());
  gate.open();
  EXPECT_EQ(ended.heard(), true);
}

TEST(SerialQueue, LastOwnerMayBeABlock) {
  Gate gate;
  Report<bool> wasGone;
  auto queue = std::make_shared<SerialQueue>("test");
  const std::weak_ptr<SerialQueue> watched = queue;
  queue->async([&gate, queue] { gate.wait(); });
  // The block before is the last owner and is destroyed by then.
  queue->async([wasGone, watched] { wasGone.tell(watched.expired()); });
  queue.reset();
  EXPECT_FALSE(watched.expired());
  gate.open();
  EXPECT_EQ(wasGone.heard(), true);
}

TEST(SerialQueue, BlockIsDestroyedOnTheQueueRightAfterItRan) {
  SerialQueue queue("test");
  std::thread::id queueThread;
  std::thread::id destroyedOn;
  bool destroyedBeforeNext = false;
  auto mark = std::shared_ptr<int>(new int, [&](const int *value) {
    destroyedOn = std::this_thread::get_id();
    delete value;
  });
  // The block gets the one reference there is: nobody else can be the last to let go of it.
  queue.async([mark = std::move(mark), &queueThread] { queueThread = std::this_thread::get_id(); });
  queue.async([&] { destroyedBeforeNext = destroyedOn != std::thread::id(); });
  queue.waitUntilIdle();
  EXPECT_TRUE(destroyedBeforeNext);
  EXPECT_EQ(destroyedOn, queueThread);
}

TEST(SerialQueue, BlocksOfManyThreadsAllRunAndKeepEachThreadsOrder) {
  SerialQueue queue("test");
  constexpr int kThreads = 8;
  constexpr int kEach = 500;
  std::vector<std::vector<int>> ran(kThreads);
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < kThreads; ++t)
    threads.emplace_back([&, t] {
      for (int i = 0; i < kEach; ++i)
        queue.async([&ran, t, i] { ran[t].push_back(i); });
    });
  for (auto &thread : threads)
    thread.join();
  queue.waitUntilIdle();
  for (const auto &numbers : ran) {
    ASSERT_EQ(numbers.size(), static_cast<std::size_t>(kEach));
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
  }
}

TEST(SerialQueue, BlockMayGiveFurtherBlocks) {
  SerialQueue queue("test");
  Report<int> result;
  queue.async([&queue, result] { queue.async([result] { result.tell(42); }); });
  EXPECT_EQ(result.heard(), 42);
}

TEST(SerialQueue, PendingBlocksCountAllQueuesReleasedOnesIncluded) {
  ASSERT_TRUE(nothingIsPending());
  Gate gate;
  SerialQueue kept("kept");
  {
    SerialQueue released("released");
    released.async([&] { gate.wait(); });
    released.async([] {});
  }
  kept.async([&] { gate.wait(); });
  EXPECT_EQ(SerialQueue::pendingBlocks(), 3U);
  gate.open();
  EXPECT_TRUE(nothingIsPending());
}

#ifdef __GLIBC__
/// Lets no thread be started as long as it lives: a new one would get a stack that no address space holds.
class NoNewThreads {
public:
  NoNewThreads() {
    ::pthread_getattr_default_np(&before_);
    pthread_attr_t huge;
    ::pthread_attr_init(&huge);
    ::pthread_attr_setstacksize(&huge, std::numeric_limits<std::size_t>::max() / 4);
    ::pthread_setattr_default_np(&huge);
    ::pthread_attr_destroy(&huge);
  }
  ~NoNewThreads() {
    ::pthread_setattr_default_np(&before_);
    ::pthread_attr_destroy(&before_);
  }
  NoNewThreads(const NoNewThreads &) = delete;
  NoNewThreads &operator=(const NoNewThreads &) = delete;

private:
  pthread_attr_t before_{};
};

TEST(SerialQueue, BlockWhoseThreadCannotBeStartedIsRefusedAndNeitherKeptNorCounted) {
  ASSERT_TRUE(nothingIsPending());
  SerialQueue queue("test");
  bool refusedRan = false;
  auto refused = std::make_shared<int>();
  const std::weak_ptr<int> watched = refused;
  {
    const NoNewThreads none;
    EXPECT_THROW(queue.async([&refusedRan, refused = std::move(refused)] { refusedRan = true; }),
                 std::system_error);
  }
  ASSERT_TRUE(watched.expired());
  ASSERT_EQ(SerialQueue::pendingBlocks(), 0U);
  EXPECT_FALSE(queue.isCurrent());
  queue.waitUntilIdle();

  bool laterRan = false;
  queue.async([&] { laterRan = true; });
  queue.waitUntilIdle();
  EXPECT_TRUE(laterRan);
  EXPECT_FALSE(refusedRan);
}

TEST(SerialQueue, QueueThatRunsNeedsNoNewThread) {
  SerialQueue queue("test");
  queue.async([] {});
  bool ran = false;
  const NoNewThreads none;
  queue.async([&] { ran = true; });
  queue.waitUntilIdle();
  EXPECT_TRUE(ran);
}
#endif

} // namespace
} // namespace tessary
