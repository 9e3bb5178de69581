// The marks of the allocation table, and its scan.

#include "tests/writing/EngineParts.h"

#include <gtest/gtest.h>

#include <limits>
#include <utility>

namespace tessary::test {
namespace {

constexpr std::uint64_t kMaxBlock = std::numeric_limits<std::uint64_t>::max();

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
  parts.table.setMark(4321, 0xBEEF);
  EXPECT_EQ(parts.table.mark(4321), 0xBEEF);
  parts.expected.poke(2 * kBlockBytes + 2 * 4321, {0xEF, 0xBE});
  EXPECT_TRUE(parts.imageIsAsExpected());
}

TEST(TableAccess, WritingOutsideTheImageDoesNothing) {
  ImageBuilder image({.sizeBytes = 40 * kBlockBytes});
  EngineParts parts(std::move(image));
  for (const std::uint64_t index :
       {std::uint64_t{38 * 256}, std::uint64_t{1} << 40, kMaxBlock - 1, kMaxBlock})
    parts.table.setMark(index, 0xBEEF);
  EXPECT_TRUE(parts.imageIsAsExpected());
}

TEST(TableAccess, EntriesAreReadBackAsWritten) {
  EngineParts parts{ImageBuilder(smallLayout())};
  parts.table.setMark(300, 0xABCD);
  EXPECT_EQ(parts.table.mark(300), 0xABCD);
  parts.table.setMark(1'000'000, 0xABCD); // behind the image
  EXPECT_EQ(parts.table.mark(1'000'000), 0);
}

TEST(TableAccess, BlockOfAMarkFollowsTheTablesStartByTwoHundredAndFiftySix) {
  EngineParts parts(ImageBuilder({.fatStartBlock = 5}));
  EXPECT_EQ(parts.table.tableBlockOf(0), 5U);
  EXPECT_EQ(parts.table.tableBlockOf(255), 5U);
  EXPECT_EQ(parts.table.tableBlockOf(256), 6U);
  EXPECT_EQ(parts.table.tableBlockOf(5000), 5U + 19);
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
