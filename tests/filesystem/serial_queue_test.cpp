#include "filesystem/SerialQueue.h"

#include <array>
#include <atomic>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <thread>
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
  std::promise<bool> ended;
  queue.async([&] {
    queue.waitUntilIdle();
    ended.set_value(queue.isCurrent());
  });
  auto result = ended.get_future();
  ASSERT_EQ(result.wait_for(kLong), std::future_status::ready);
  EXPECT_TRUE(result.get());
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

TEST(SerialQueue, WaitsForBlocksGivenBeforeAndNotForLaterOnes) {
  SerialQueue queue("test");
  Gate early;
  Gate late;
  queue.async([&] { early.wait(); });
  auto waiting = std::async(std::launch::async, [&] { queue.waitUntilIdle(); });
  EXPECT_EQ(waiting.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
  queue.async([&] { late.wait(); });
  early.open();
  EXPECT_EQ(waiting.wait_for(kLong), std::future_status::ready);
  late.open();
  queue.waitUntilIdle();
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
  std::promise<void> last;
  auto ended = last.get_future();
  {
    SerialQueue queue("test");
    queue.async([&] { gate.wait(); });
    queue.async([] {});
    queue.async([&] { last.set_value(); });
  } // returns although the first block still waits
  EXPECT_EQ(ended.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
  gate.open();
  EXPECT_EQ(ended.wait_for(kLong), std::future_status::ready);
}

TEST(SerialQueue, LastOwnerMayBeABlock) {
  Gate gate;
  std::promise<void> last;
  auto ended = last.get_future();
  auto queue = std::make_shared<SerialQueue>("test");
  const std::weak_ptr<SerialQueue> watched = queue;
  queue->async([&gate, queue] { gate.wait(); });
  queue->async([&last, watched] {
    EXPECT_TRUE(watched.expired()); // the block before was the last owner and is destroyed
    last.set_value();
  });
  queue.reset();
  EXPECT_FALSE(watched.expired());
  gate.open();
  ASSERT_EQ(ended.wait_for(kLong), std::future_status::ready);
}

TEST(SerialQueue, BlockIsDestroyedOnTheQueueRightAfterItRan) {
  SerialQueue queue("test");
  std::thread::id destroyedOn;
  bool destroyedBeforeNext = false;
  auto mark = std::shared_ptr<int>(new int, [&](int *value) {
    destroyedOn = std::this_thread::get_id();
    delete value;
  });
  std::thread::id queueThread;
  queue.async([mark, &queueThread] { queueThread = std::this_thread::get_id(); });
  mark.reset();
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
  std::promise<int> result;
  queue.async([&] { queue.async([&] { result.set_value(42); }); });
  auto future = result.get_future();
  ASSERT_EQ(future.wait_for(kLong), std::future_status::ready);
  EXPECT_EQ(future.get(), 42);
  queue.waitUntilIdle();
}

TEST(SerialQueue, PendingBlocksCountAllQueuesReleasedOnesIncluded) {
  // Queues released by other tests may still be ending their last block.
  for (int i = 0; i < 2000 && SerialQueue::pendingBlocks() > 0; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  ASSERT_EQ(SerialQueue::pendingBlocks(), 0U);
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
  kept.waitUntilIdle();
  for (int i = 0; i < 2000 && SerialQueue::pendingBlocks() > 0; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_EQ(SerialQueue::pendingBlocks(), 0U);
}

} // namespace
} // namespace tessary
