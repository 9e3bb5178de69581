// Where the parts of a volume lie, by its header.

#include "filesystem/ImageMapping.h"
#include "filesystem/VolumeGeometry.h"
#include "tests/support/HostFiles.h"
#include "tests/support/ImageBuilder.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <limits>
#include <utility>

namespace tessary::test {
namespace {

constexpr std::uint64_t kMaxBlock = std::numeric_limits<std::uint64_t>::max();

VolumeGeometry geometryOf(const ImageBuilder &image) {
  const TemporaryFolder folder;
  image.writeTo(folder.path("disk.hda"));
  return readGeometry(*ImageMapping::open(folder.path("disk.hda"), nullptr), nullptr).value();
}

TEST(VolumeGeometryRead, FieldsAreTakenAsTheyStand) {
  const VolumeGeometry geometry = geometryOf(ImageBuilder({.sizeBytes = 2 * kMiB,
                                                           .fatStartBlock = 3,
                                                           .rootDirBlock = 40,
                                                           .dataAreaBlock = 77,
                                                           .slotSizeBlocks = 10}));
  EXPECT_EQ(geometry.fatStartBlock, 3U);
  EXPECT_EQ(geometry.rootDirBlock, 40U);
  EXPECT_EQ(geometry.dataAreaBlock, 77U);
  EXPECT_EQ(geometry.slotSizeBlocks, 10U);
  EXPECT_EQ(geometry.totalBlocks, 4096U);
}

TEST(VolumeGeometryRead, FieldsAreLittleEndianAndUnsigned) {
  ImageBuilder image;
  image.poke(8, {0x01, 0x02, 0x03, 0x84}).poke(32, {0x05, 0x06, 0x07, 0x88});
  image.poke(40, {0x09, 0x0A, 0x0B, 0x8C}).poke(44, {0x0D, 0x0E, 0x0F, 0x90});
  const VolumeGeometry geometry = geometryOf(image);
  EXPECT_EQ(geometry.rootDirBlock, 0x84030201U);
  EXPECT_EQ(geometry.dataAreaBlock, 0x88070605U);
  EXPECT_EQ(geometry.fatStartBlock, 0x8C0B0A09U);
  EXPECT_EQ(geometry.slotSizeBlocks, 2 * 0x900F0E0DULL);
}

TEST(VolumeGeometryRead, BytesBetweenTheFieldsAreIgnored) {
  ImageBuilder image;
  for (const auto &[from, to] : {std::pair{4, 8}, {12, 32}, {36, 40}, {48, 512}})
    image.poke(static_cast<std::uint64_t>(from), Bytes(static_cast<std::size_t>(to - from), 0xA5));
  const VolumeGeometry geometry = geometryOf(image);
  EXPECT_EQ(geometry.rootDirBlock, image.rootDirBlock());
  EXPECT_EQ(geometry.dataAreaBlock, image.dataAreaBlock());
  EXPECT_EQ(geometry.fatStartBlock, image.fatStartBlock());
  EXPECT_EQ(geometry.slotSizeBlocks, image.slotSizeBlocks());
}

TEST(VolumeGeometryRead, ZeroFieldsGetTheirDefaults) {
  const VolumeGeometry geometry = geometryOf(ImageBuilder(VolumeLayout::zeroHeader(4 * kMiB)));
  EXPECT_EQ(geometry.rootDirBlock, 6U);
  EXPECT_EQ(geometry.dataAreaBlock, 175U);
  EXPECT_EQ(geometry.fatStartBlock, 2U);
  EXPECT_EQ(geometry.slotSizeBlocks, 4096U);
}

TEST(VolumeGeometryRead, EachFieldIsDefaultedByItself) {
  const VolumeLayout sound{.sizeBytes = 2 * kMiB,
                           .fatStartBlock = 3,
                           .rootDirBlock = 40,
                           .dataAreaBlock = 77,
                           .slotSizeBlocks = 10};
  struct Field {
    std::uint64_t offset;
    std::uint64_t VolumeGeometry::*value;
    std::uint64_t byDefault;
    std::uint64_t stored;
  };
  const Field fields[] = {{8, &VolumeGeometry::rootDirBlock, 6, 40},
                          {32, &VolumeGeometry::dataAreaBlock, 175, 77},
                          {40, &VolumeGeometry::fatStartBlock, 2, 3},
                          {44, &VolumeGeometry::slotSizeBlocks, 4096, 10}};
  for (const Field &zeroed : fields) {
    ImageBuilder image(sound);
    image.poke32(zeroed.offset, 0);
    const VolumeGeometry geometry = geometryOf(image);
    for (const Field &field : fields)
      EXPECT_EQ(geometry.*field.value, field.offset == zeroed.offset ? field.byDefault : field.stored)
          << "field at " << field.offset << " with a zero at " << zeroed.offset;
  }
}

// --- The table -------------------------------------------------------------------------------------

struct Table {
  std::uint64_t total;
  std::uint64_t table;
  std::uint64_t root;
  std::uint64_t data;
  std::uint64_t end;       ///< first block behind the table
  std::uint64_t described; ///< blocks that it has marks for
};

void PrintTo(const Table &table, std::ostream *out) {
  *out << table.total << " blocks, table " << table.table << ", root " << table.root << ", data "
       << table.data;
}

class TableEnd : public testing::TestWithParam<Table> {
protected:
  static VolumeGeometry geometry() {
    return {.totalBlocks = GetParam().total,
            .rootDirBlock = GetParam().root,
            .dataAreaBlock = GetParam().data,
            .fatStartBlock = GetParam().table};
  }
};

TEST_P(TableEnd, IsWhereTheRootTheDataAreaOrTheMarksOfAllBlocksEnd) {
  EXPECT_EQ(geometry().tableEndBlock(), GetParam().end);
  EXPECT_EQ(geometry().describedBlocks(), GetParam().described);
}

TEST_P(TableEnd, BlocksOfTheTableLieBetweenItsStartAndItsEnd) {
  const auto &[total, table, root, data, end, described] = GetParam();
  EXPECT_FALSE(geometry().isInTable(table - 1));
  EXPECT_EQ(geometry().isInTable(table), end > table);
  if (end > table) {
    EXPECT_TRUE(geometry().isInTable(end - 1));
  }
  EXPECT_FALSE(geometry().isInTable(end));
  EXPECT_FALSE(geometry().isInTable(~std::uint64_t{0}));
}

INSTANTIATE_TEST_SUITE_P(WhicheverComesFirst, TableEnd,
                         testing::Values(Table{3000, 2, 6, 175, 6, 1024}, Table{3000, 2, 175, 6, 6, 1024},
                                         Table{3000, 2, 6, 6, 6, 1024}, Table{3000, 2, 100, 175, 14, 3000}));
INSTANTIATE_TEST_SUITE_P(MarksOfAllBlocks, TableEnd,
                         testing::Values(Table{256, 2, 100, 175, 3, 256}, Table{257, 2, 100, 175, 4, 257},
                                         Table{300, 2, 6, 175, 4, 300}, Table{512, 2, 4, 175, 4, 512},
                                         Table{513, 2, 4, 175, 4, 512}));
INSTANTIATE_TEST_SUITE_P(WhatLiesBelowItDoesNotEndIt, TableEnd,
                         testing::Values(Table{3000, 10, 6, 15, 15, 1280}, Table{3000, 10, 15, 9, 15, 1280},
                                         Table{3000, 10, 6, 9, 22, 3000}, Table{300, 200, 6, 175, 202, 300}));
INSTANTIATE_TEST_SUITE_P(WhatBeginsAtItsStartLeavesNone, TableEnd,
                         testing::Values(Table{3000, 10, 10, 175, 10, 0}, Table{3000, 10, 6, 10, 10, 0},
                                         Table{3000, 10, 10, 10, 10, 0}));
INSTANTIATE_TEST_SUITE_P(BehindTheImage, TableEnd,
                         testing::Values(Table{5, 6, 9, 10, 7, 0}, Table{300, 299, 6, 10, 301, 256},
                                         Table{300, 0xFFFFFFFF, 6, 10, 0x100000001, 0}));

// --- Where a folder's block may lie ------------------------------------------------------------------

TEST(FoldersBlock, LiesFromTheRootToTheDataAreaOutsideTheTable) {
  const VolumeGeometry geometry{
      .totalBlocks = 1000, .rootDirBlock = 4, .dataAreaBlock = 15, .fatStartBlock = 6};
  EXPECT_FALSE(geometry.mayHoldFolder(3));
  EXPECT_TRUE(geometry.mayHoldFolder(4));
  EXPECT_TRUE(geometry.mayHoldFolder(5));
  EXPECT_FALSE(geometry.mayHoldFolder(6));
  EXPECT_FALSE(geometry.mayHoldFolder(9));
  EXPECT_TRUE(geometry.mayHoldFolder(10)) << "the table has four blocks";
  EXPECT_TRUE(geometry.mayHoldFolder(14));
  EXPECT_FALSE(geometry.mayHoldFolder(15));
}

TEST(FoldersBlock, LiesInsideTheImage) {
  const VolumeGeometry geometry{
      .totalBlocks = 100, .rootDirBlock = 4, .dataAreaBlock = 500, .fatStartBlock = 2};
  EXPECT_TRUE(geometry.mayHoldFolder(99));
  EXPECT_FALSE(geometry.mayHoldFolder(100));
}

TEST(FoldersBlock, HasANumberThatAnEntryCanHold) {
  const VolumeGeometry geometry{
      .totalBlocks = 90000, .rootDirBlock = 400, .dataAreaBlock = 80000, .fatStartBlock = 2};
  EXPECT_TRUE(geometry.mayHoldFolder(32767));
  EXPECT_FALSE(geometry.mayHoldFolder(32768));
}

TEST(FoldersBlock, IsNeverBlockZero) {
  const VolumeGeometry geometry{.totalBlocks = 100, .dataAreaBlock = 50, .fatStartBlock = 2};
  EXPECT_FALSE(geometry.mayHoldFolder(0));
  EXPECT_TRUE(geometry.mayHoldFolder(1));
}

// --- Slots -----------------------------------------------------------------------------------------

TEST(SlotStart, CountsFromTheDataAreaAndFromOne) {
  const VolumeGeometry geometry{.dataAreaBlock = 16, .slotSizeBlocks = 8};
  EXPECT_EQ(geometry.slotStartBlock(1), 16U);
  EXPECT_EQ(geometry.slotStartBlock(2), 24U);
  EXPECT_EQ(geometry.slotStartBlock(65535), 16U + 65534 * 8);
}

TEST(SlotStart, OfSlotZeroLiesOneSlotBelowAndWraps) {
  EXPECT_EQ((VolumeGeometry{.dataAreaBlock = 16, .slotSizeBlocks = 8}).slotStartBlock(0), 8U);
  EXPECT_EQ((VolumeGeometry{.dataAreaBlock = 16, .slotSizeBlocks = 24}).slotStartBlock(0), kMaxBlock - 7);
}

TEST(SlotStart, OfContentsIsThatOfTheirSlotAndTheFirstForSlotZero) {
  const VolumeGeometry geometry{.dataAreaBlock = 16, .slotSizeBlocks = 8};
  EXPECT_EQ(geometry.contentsStartBlock(0), 16U);
  EXPECT_EQ(geometry.contentsStartBlock(1), 16U);
  EXPECT_EQ(geometry.contentsStartBlock(2), 24U);
  EXPECT_EQ(geometry.contentsStartBlock(65535), 16U + 65534 * 8);
}

// --- What is no volume -----------------------------------------------------------------------------

TEST(VolumeGeometryRead, OfWhatIsNoVolumeIsNoneWithTheReason) {
  const TemporaryFolder folder;
  const auto reasonFor = [&](const Bytes &bytes) {
    writeBytes(folder.path("disk.hda"), bytes);
    EMU3Error error;
    const auto mapping = ImageMapping::open(folder.path("disk.hda"), &error);
    EXPECT_FALSE(readGeometry(*mapping, &error));
    EXPECT_FALSE(readGeometry(*mapping, nullptr));
    return error.description();
  };
  EXPECT_EQ(reasonFor(Bytes(511)),
            "Error Domain=com.tessary.error Code=1 \"File too small to be an E-MU disk image\"");
  EXPECT_EQ(
      reasonFor(Bytes(512)),
      "Error Domain=com.tessary.error Code=1 \"Not an E-MU 3/4 disk image (missing \"EMU3\" signature)\"");
}

TEST(VolumeGeometryRead, ScanBeginsWhereTheHeaderSaysZeroIncluded) {
  EXPECT_EQ(geometryOf(ImageBuilder(VolumeLayout::zeroHeader(4 * kMiB))).firstScannedBlock, 0U);
  EXPECT_EQ(geometryOf(ImageBuilder({.fatStartBlock = 3})).firstScannedBlock, 3U);
}

} // namespace
} // namespace tessary::test
