#include "filesystem/FileArena.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace tessary::test {
namespace {

EMU3FilePtr fileWithNumber(FileArena *arena, int number) {
  EMU3FileFields fields;
  fields.name = "File of number " + std::to_string(number); // longer than a string holds in itself
  fields.startCluster = static_cast<std::uint16_t>(number);
  return arena->make(std::move(fields));
}

void expectNumber(const EMU3File &file, int number) {
  EXPECT_EQ(file.name(), "File of number " + std::to_string(number));
  EXPECT_EQ(file.startCluster(), number);
}

TEST(FileArena, FilesOfManySlabsKeepTheirFields) {
  FileArena arena;
  std::vector<EMU3FilePtr> files;
  for (int number = 0; number < 2000; ++number)
    files.push_back(fileWithNumber(&arena, number));
  for (int number = 0; number < 2000; ++number)
    expectNumber(*files[static_cast<std::size_t>(number)], number);
}

TEST(FileArena, FilesOutliveIt) {
  std::vector<EMU3FilePtr> files;
  {
    FileArena arena;
    for (int number = 0; number < 500; ++number)
      files.push_back(fileWithNumber(&arena, number));
  }
  for (int number = 0; number < 500; ++number)
    expectNumber(*files[static_cast<std::size_t>(number)], number);
}

TEST(FileArena, AFileEndsWhenNobodyHoldsItThoughItsNeighboursStay) {
  FileArena arena;
  const EMU3FilePtr before = fileWithNumber(&arena, 1);
  EMU3FilePtr between = fileWithNumber(&arena, 2);
  const EMU3FilePtr after = fileWithNumber(&arena, 3);
  const std::weak_ptr<EMU3File> seen = between;
  between.reset();
  EXPECT_TRUE(seen.expired());
  expectNumber(*before, 1);
  expectNumber(*after, 3);
}

TEST(FileArena, OtherThreadsReleaseWhatOneMakes) {
  std::optional<FileArena> arena(std::in_place);
  std::vector<std::vector<EMU3FilePtr>> shares(4);
  for (int number = 0; number < 2000; ++number)
    shares[static_cast<std::size_t>(number % 4)].push_back(fileWithNumber(&*arena, number));
  std::vector<std::thread> threads;
  for (auto &share : shares)
    threads.emplace_back([&share] {
      for (; !share.empty(); share.pop_back())
        EXPECT_FALSE(share.back()->name().empty());
    });
  const EMU3FilePtr last = fileWithNumber(&*arena, 2000);
  arena.reset();
  for (std::thread &thread : threads)
    thread.join();
  expectNumber(*last, 2000);
}

} // namespace
} // namespace tessary::test
