#include "filesystem/FairSharedMutex.h"

#include <atomic>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace tessary {
namespace {

constexpr auto kLong = std::chrono::seconds(20);

/// True once the condition holds; false when it does not for a long time.
template <typename Condition> bool waitUntil(Condition condition) {
  const auto end = std::chrono::steady_clock::now() + kLong;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::yield();
  }
  return true;
}

/// Threads that take the lock, each of them started once the one before stands in line. Their letters are
/// noted while they hold it.
class Line {
public:
  explicit Line(FairSharedMutex &mutex) : mutex_(mutex) {}
  ~Line() { join(); }
  Line(const Line &) = delete;
  Line &operator=(const Line &) = delete;

  void addWriter(char letter) { add<WriteLock>(letter); }
  void addReader(char letter) { add<ReadLock>(letter); }
  void join() {
    for (std::thread &thread : threads_)
      thread.join();
    threads_.clear();
  }
  std::string served() {
    const std::lock_guard lock(notes_);
    return served_;
  }

private:
  template <typename Lock> void add(char letter) {
    const std::uint64_t before = mutex_.waiting();
    threads_.emplace_back([this, letter] {
      const Lock lock(mutex_);
      const std::lock_guard notesLock(notes_);
      served_ += letter;
    });
    ASSERT_TRUE(waitUntil([&] { return mutex_.waiting() == before + 1; })) << letter << " does not wait";
  }

  FairSharedMutex &mutex_;
  std::mutex notes_;
  std::string served_;
  std::vector<std::thread> threads_;
};

TEST(FairSharedMutex, WritersExcludeEachOther) {
  FairSharedMutex mutex;
  int counter = 0; // guarded by the mutex alone
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 2000; ++i) {
        const WriteLock lock(mutex);
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
    const ReadLock lock(mutex);
    ++inside;
    return waitUntil([&] { return inside == 3; });
  };
  std::vector<std::future<bool>> readers;
  for (int i = 0; i < 3; ++i)
    readers.push_back(std::async(std::launch::async, read));
  for (auto &reader : readers)
    EXPECT_TRUE(reader.get());
}

TEST(FairSharedMutex, WriterWaitsForReaders) {
  FairSharedMutex mutex;
  Line line(mutex);
  {
    const ReadLock reading(mutex);
    line.addWriter('w');
    EXPECT_EQ(line.served(), "");
  }
  line.join();
  EXPECT_EQ(line.served(), "w");
}

TEST(FairSharedMutex, ReaderWaitsForTheWriter) {
  FairSharedMutex mutex;
  Line line(mutex);
  {
    const WriteLock writing(mutex);
    line.addReader('r');
    EXPECT_EQ(line.served(), "");
  }
  line.join();
  EXPECT_EQ(line.served(), "r");
}

TEST(FairSharedMutex, ReaderThatComesAfterAWaitingWriterIsServedAfterIt) {
  FairSharedMutex mutex;
  Line line(mutex);
  {
    const ReadLock reading(mutex);
    line.addWriter('w');
    line.addReader('r'); // could go in beside the first reader, but has come after the writer
    EXPECT_EQ(line.served(), "");
  }
  line.join();
  EXPECT_EQ(line.served(), "wr");
}

TEST(FairSharedMutex, AllAreServedInTheOrderTheyCame) {
  FairSharedMutex mutex;
  Line line(mutex);
  {
    const WriteLock writing(mutex);
    for (const char letter : std::string("aBcDEfg")) // the capitals read
      letter < 'a' ? line.addReader(letter) : line.addWriter(letter);
    EXPECT_EQ(mutex.waiting(), 7U);
  }
  line.join();
  const std::string served = line.served();
  EXPECT_TRUE(served == "aBcDEfg" || served == "aBcEDfg") << served; // D and E are inside together
  EXPECT_EQ(mutex.waiting(), 0U);
}

// An unfair lock would nearly always let the thread that gives it back have it again at once.
TEST(FairSharedMutex, WhoTakesTheLockAgainAtOnceComesAfterThoseThatWait) {
  FairSharedMutex mutex;
  for (int round = 0; round < 50; ++round) {
    Line line(mutex);
    std::optional<WriteLock> held(mutex);
    line.addWriter('w');
    line.addReader('r');
    held.reset();
    held.emplace(mutex);
    EXPECT_EQ(line.served(), "wr");
  }
}

} // namespace
} // namespace tessary
