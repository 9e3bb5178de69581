#include "filesystem/FairSharedMutex.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <mutex>
#include <shared_mutex>
#include <thread>
#include <vector>

namespace tessary {
namespace {

constexpr auto kLong = std::chrono::seconds(20);
/// Long enough for another thread to have got a lock that is free.
constexpr auto kAWhile = std::chrono::milliseconds(50);

TEST(FairSharedMutex, WritersExcludeEachOther) {
  FairSharedMutex mutex;
  int counter = 0; // guarded by the mutex alone
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 2000; ++i) {
        const std::unique_lock lock(mutex);
        ++counter;
      }
    });
  for (auto &thread : threads)
    thread.join();
  EXPECT_EQ(counter, 8000);
}

TEST(FairSharedMutex, ReadersRunSideBySide) {
  FairSharedMutex mutex;
  std::atomic<int> inside = 0;
  const auto read = [&] {
    const std::shared_lock lock(mutex);
    ++inside;
    const auto until = std::chrono::steady_clock::now() + kLong;
    while (inside < 3 && std::chrono::steady_clock::now() < until)
      std::this_thread::yield();
    return inside.load();
  };
  std::vector<std::future<int>> readers;
  for (int i = 0; i < 3; ++i)
    readers.push_back(std::async(std::launch::async, read));
  for (auto &reader : readers)
    EXPECT_EQ(reader.get(), 3);
}

TEST(FairSharedMutex, WriterWaitsForReaders) {
  FairSharedMutex mutex;
  std::shared_lock reading(mutex);
  std::atomic<bool> written = false;
  std::thread writer([&] {
    const std::unique_lock lock(mutex);
    written = true;
  });
  std::this_thread::sleep_for(kAWhile);
  EXPECT_FALSE(written);
  reading.unlock();
  writer.join();
  EXPECT_TRUE(written);
}

TEST(FairSharedMutex, ReaderWaitsForTheWriter) {
  FairSharedMutex mutex;
  std::unique_lock writing(mutex);
  std::atomic<bool> read = false;
  std::thread reader([&] {
    const std::shared_lock lock(mutex);
    read = true;
  });
  std::this_thread::sleep_for(kAWhile);
  EXPECT_FALSE(read);
  writing.unlock();
  reader.join();
  EXPECT_TRUE(read);
}

TEST(FairSharedMutex, ReaderThatComesAfterAWaitingWriterIsServedAfterIt) {
  FairSharedMutex mutex;
  std::mutex orderMutex;
  std::vector<int> order;
  const auto note = [&](int who) {
    const std::lock_guard lock(orderMutex);
    order.push_back(who);
  };
  std::shared_lock reading(mutex);
  std::thread writer([&] {
    const std::unique_lock lock(mutex);
    note(1);
  });
  std::this_thread::sleep_for(kAWhile);
  std::thread reader([&] {
    const std::shared_lock lock(mutex); // could go in beside the first reader, but has come after the writer
    note(2);
  });
  std::this_thread::sleep_for(kAWhile);
  {
    const std::lock_guard lock(orderMutex);
    EXPECT_TRUE(order.empty());
  }
  reading.unlock();
  writer.join();
  reader.join();
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

/// Times the other thread took the lock while this one waited for it once, over many waits.
template <typename Lock> std::uint64_t medianOvertakings() {
  FairSharedMutex mutex;
  std::atomic<bool> stop = false;
  std::atomic<std::uint64_t> taken = 0;
  std::thread greedy([&] {
    while (!stop) {
      const std::unique_lock lock(mutex);
      ++taken;
      const auto until = std::chrono::steady_clock::now() + std::chrono::microseconds(50);
      while (std::chrono::steady_clock::now() < until) {
      }
    }
  });
  std::vector<std::uint64_t> overtakings;
  for (int i = 0; i < 201; ++i) {
    const std::uint64_t before = taken;
    const Lock lock(mutex);
    overtakings.push_back(taken - before);
  }
  stop = true;
  greedy.join();
  std::nth_element(overtakings.begin(), overtakings.begin() + 100, overtakings.end());
  return overtakings[100];
}

// A loop that takes the lock again at once would hold an unfair one for hundreds of rounds.
TEST(FairSharedMutex, LoopThatTakesTheLockAgainAndAgainDoesNotStarveAWriter) {
  EXPECT_LE(medianOvertakings<std::unique_lock<FairSharedMutex>>(), 3U);
}

TEST(FairSharedMutex, LoopThatTakesTheLockAgainAndAgainDoesNotStarveAReader) {
  EXPECT_LE(medianOvertakings<std::shared_lock<FairSharedMutex>>(), 3U);
}

} // namespace
} // namespace tessary
