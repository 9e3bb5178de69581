// The marks of the allocation table, and its scan.

#include "tests/support/UnreadablePages.h"
#include "tests/writing/EngineParts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <utility>
#include <vector>

namespace tessary::test {
namespace {

constexpr std::uint64_t kMaxBlock = std::numeric_limits<std::uint64_t>::max();

void setMarks(AllocationTable &table, std::uint64_t first, std::uint64_t count, std::uint16_t value) {
  table.setMarks(first, count, value, [](std::uint64_t) { return true; });
}

void setMark(AllocationTable &table, std::uint64_t block, std::uint16_t value) {
  setMarks(table, block, 1, value);
}

TEST(TableAccess, EntryLiesAtTwiceItsBlockNumber) {
  ImageBuilder image;
  image.setFatEntry(0, 0x1234).setFatEntry(255, 0x5678).setFatEntry(256, 0x9ABC).setFatEntry(5000, 0xDEF0);
  EngineParts parts(std::move(image));
  EXPECT_EQ(parts.table.mark(0), 0x1234);
  EXPECT_EQ(parts.table.mark(255), 0x5678);
  EXPECT_EQ(parts.table.mark(256), 0x9ABC);
  EXPECT_EQ(parts.table.mark(5000), 0xDEF0);
}

TEST(TableAccess, EntryOfAZeroHeaderLiesBehindBlockTwo) {
  ImageBuilder image(VolumeLayout::zeroHeader(4 * kMiB));
  image.poke16(2 * kBlockBytes + 2 * 300, 0x4321);
  EngineParts parts(std::move(image));
  EXPECT_EQ(parts.table.mark(300), 0x4321);
}

TEST(TableAccess, EntryOutsideTheImageReadsAsFree) {
  EngineParts parts(ImageBuilder({.sizeBytes = 4 * kBlockBytes}));
  EXPECT_EQ(parts.table.mark(512), 0);
  EXPECT_EQ(parts.table.mark(kMaxBlock), 0);
}

TEST(TableAccess, WrittenEntryChangesItsTwoBytesAlone) {
  ImageBuilder image;
  EngineParts parts(std::move(image));
  setMark(parts.table, 4321, 0xBEEF);
  EXPECT_EQ(parts.table.mark(4321), 0xBEEF);
  parts.expected.poke(2 * kBlockBytes + 2 * 4321, {0xEF, 0xBE});
  EXPECT_TRUE(parts.imageIsAsExpected());
}

TEST(TableAccess, WritingOutsideTheImageDoesNothing) {
  ImageBuilder image({.sizeBytes = 40 * kBlockBytes});
  EngineParts parts(std::move(image));
  for (const std::uint64_t index :
       {std::uint64_t{38 * 256}, std::uint64_t{1} << 40, kMaxBlock - 1, kMaxBlock})
    setMark(parts.table, index, 0xBEEF);
  EXPECT_TRUE(parts.imageIsAsExpected());
}

TEST(TableAccess, EntriesAreReadBackAsWritten) {
  EngineParts parts{ImageBuilder(smallLayout())};
  setMark(parts.table, 300, 0xABCD);
  EXPECT_EQ(parts.table.mark(300), 0xABCD);
  setMark(parts.table, 1'000'000, 0xABCD); // behind the image
  EXPECT_EQ(parts.table.mark(1'000'000), 0);
}

TEST(TableAccess, BlockOfAMarkFollowsTheTablesStartByTwoHundredAndFiftySix) {
  EngineParts parts(ImageBuilder({.fatStartBlock = 5}));
  const auto tableBlockOf = [&](std::uint64_t block) {
    std::uint64_t asked = 0;
    parts.table.setMarks(block, 1, 0, [&](std::uint64_t tableBlock) {
      asked = tableBlock;
      return false;
    });
    return asked;
  };
  EXPECT_EQ(tableBlockOf(0), 5U);
  EXPECT_EQ(tableBlockOf(255), 5U);
  EXPECT_EQ(tableBlockOf(256), 6U);
  EXPECT_EQ(tableBlockOf(5000), 5U + 19);
}

TEST(TableAccess, MarksOfManyBlocksRunOnFromOneBlockOfTheTableToTheNext) {
  EngineParts parts{ImageBuilder(smallLayout())};
  setMarks(parts.table, 250, 10, 0x8000);
  putMarks(parts.expected, 250, 10, 0x8000);
  EXPECT_TRUE(parts.imageIsAsExpected());
  setMarks(parts.table, 0, 0, 0x1234);
  EXPECT_TRUE(parts.imageIsAsExpected()) << "no marks at all";
}

TEST(TableAccess, MarksInABlockOfTheTableThatMayNotBeWrittenArePassedOver) {
  EngineParts parts{ImageBuilder(smallLayout())};
  parts.table.setMarks(250, 10, 0x8000, [](std::uint64_t tableBlock) { return tableBlock != 2; });
  putMarks(parts.expected, 256, 4, 0x8000);
  EXPECT_TRUE(parts.imageIsAsExpected());
}

// --- Whether any of many blocks is marked ------------------------------------------------------------

VolumeLayout unmarkedLayout() {
  return {.sizeBytes = 8 * kMiB, .slotSizeBlocks = 8, .marksBlocks = false};
}

TEST(AnyMarked, LooksAtExactlyTheBlocksGiven) {
  for (const std::uint64_t marked : {0U, 1U, 255U, 256U, 4095U, 4096U, 4097U, 9000U, 16383U}) {
    ImageBuilder image(unmarkedLayout());
    image.setFatEntry(marked, 1);
    const EngineParts parts(std::move(image));
    EXPECT_TRUE(parts.table.anyMarked(marked, 1)) << marked;
    EXPECT_TRUE(parts.table.anyMarked(0, marked + 1)) << marked;
    EXPECT_TRUE(parts.table.anyMarked(marked, 16384 - marked)) << marked;
    EXPECT_FALSE(parts.table.anyMarked(0, marked)) << marked;
    EXPECT_FALSE(parts.table.anyMarked(marked + 1, 16384 - marked - 1)) << marked;
    EXPECT_FALSE(parts.table.anyMarked(marked, 0)) << marked;
  }
}

TEST(AnyMarked, EitherByteOfAMarkCounts) {
  for (const std::uint16_t mark : std::initializer_list<std::uint16_t>{0x8000, 0x0001, 0x0100, 0x0080}) {
    ImageBuilder image(unmarkedLayout());
    image.setFatEntry(300, mark);
    EXPECT_TRUE(EngineParts(std::move(image)).table.anyMarked(290, 20)) << mark;
  }
}

TEST(AnyMarked, WhatLiesOutsideTheImageIsNot) {
  EngineParts parts(ImageBuilder({.sizeBytes = 40 * kBlockBytes, .marksBlocks = false}));
  EXPECT_FALSE(parts.table.anyMarked(0, 100 * 256));
  EXPECT_FALSE(parts.table.anyMarked(38 * 256, 5));
  EXPECT_FALSE(parts.table.anyMarked(std::uint64_t{1} << 40, 5));
}

TEST(AnyMarked, WhatCannotBeReadIs) {
  const EngineParts parts{ImageBuilder(unmarkedLayout())};
  const UnreadablePage damaged(parts.path(), 4096); // the table's blocks 8 to 15: from entry 6 * 256 on
  EXPECT_FALSE(parts.table.anyMarked(0, 6 * 256));
  EXPECT_TRUE(parts.table.anyMarked(0, 6 * 256 + 1));
  EXPECT_TRUE(parts.table.anyMarked(7 * 256, 1));
  EXPECT_FALSE(parts.table.anyMarked(14 * 256, 256));
}

std::vector<std::pair<std::uint64_t, std::uint64_t>> markedRuns(const AllocationTable &table,
                                                                std::uint64_t first, std::uint64_t end) {
  std::vector<std::pair<std::uint64_t, std::uint64_t>> runs;
  table.forEachMarkedRun(first, end, [&](const MarkedRun &run) { runs.emplace_back(run.first, run.count); });
  return runs;
}

// Runs of every length from 1 to 200, with as many free blocks behind each, so that they begin and end
// everywhere among the marks that are looked at together. A mark is any 16 bits but 0.
TEST(MarkedRuns, AreFoundWhereverTheyBeginAndEnd) {
  ImageBuilder image({.sizeBytes = 64 * kMiB, .marksBlocks = false});
  std::vector<std::pair<std::uint64_t, std::uint64_t>> expected;
  std::uint64_t block = 7;
  for (std::uint64_t length = 1; length <= 200; ++length) {
    for (std::uint64_t i = 0; i < length; ++i)
      image.setFatEntry(block + i, i % 3 == 0 ? 0x0100 : i % 3 == 1 ? 0x0001 : 0x8000);
    expected.emplace_back(block, length);
    block += 2 * length;
  }
  EngineParts parts(std::move(image));
  EXPECT_EQ(markedRuns(parts.table, 0, block), expected);
}

TEST(MarkedRuns, EndWhereTheyAreAskedTo) {
  ImageBuilder image({.sizeBytes = 4 * kMiB, .marksBlocks = false});
  for (std::uint64_t block = 100; block < 400; ++block)
    image.setFatEntry(block, 0x8000);
  EngineParts parts(std::move(image));
  for (const std::uint64_t first : {99U, 100U, 101U, 163U, 164U, 165U, 255U, 256U, 257U, 398U, 399U}) {
    for (const std::uint64_t end : {400U, 401U, 500U})
      EXPECT_EQ(markedRuns(parts.table, first, end),
                (std::vector{std::pair{std::max<std::uint64_t>(first, 100),
                                       400 - std::max<std::uint64_t>(first, 100)}}));
    EXPECT_EQ(markedRuns(parts.table, first, std::max<std::uint64_t>(first, 100) + 1).front().second, 1U);
  }
  EXPECT_TRUE(markedRuns(parts.table, 400, 1000).empty());
}

TEST(TableAccess, FollowsTheTableWhenItsPlaceIsReadAnew) {
  ImageBuilder image(smallLayout());
  image.poke16(9 * kBlockBytes + 2 * 7, 0x1234);
  EngineParts parts(std::move(image));
  VolumeGeometry moved = parts.geometry;
  moved.fatStartBlock = 9;
  parts.table.place(moved);
  EXPECT_EQ(parts.table.mark(7), 0x1234);
}

TEST(TableAccess, TableFarBehindTheImageHasNoMarks) {
  for (const std::uint32_t start : {8192U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    ImageBuilder image;
    image.poke32(40, start);
    const EngineParts parts(std::move(image));
    EXPECT_EQ(parts.table.mark(0), 0U) << start;
  }
}

// --- The scan --------------------------------------------------------------------------------------

TEST(TableScan, CountsEveryEntryAndThoseThatAreNotZero) {
  ImageBuilder image(
      {.sizeBytes = 64 * kBlockBytes, .rootDirBlock = 6, .dataAreaBlock = 20, .marksBlocks = false});
  for (const auto &[block, value] : {std::pair{0, 0x8000}, {255, 0x0100}, {256, 1}})
    image.setFatEntry(static_cast<std::uint64_t>(block), static_cast<std::uint16_t>(value));
  const EngineParts parts(std::move(image));
  const AllocationTable::Scan scan = parts.table.scan(parts.geometry);
  EXPECT_EQ(scan.entries, 62 * 256U) << "to the image's end, whatever the table's own";
  EXPECT_EQ(scan.used, 3U);
}

TEST(TableScan, BeginsAtBlockZeroWhereTheHeaderHasNoTable) {
  VolumeLayout layout = VolumeLayout::zeroHeader(64 * kBlockBytes);
  layout.marksBlocks = false;
  const EngineParts parts{ImageBuilder(layout)};
  const AllocationTable::Scan scan = parts.table.scan(parts.geometry);
  EXPECT_EQ(scan.entries, 64 * 256U);
  EXPECT_EQ(scan.used, 2U) << "the signature's two words";
}

} // namespace
} // namespace tessary::test
