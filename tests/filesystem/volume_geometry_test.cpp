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

TEST(DescribedBlocks, EndWhereTheRootOrTheDataAreaBegins) {
  const auto described = [](std::uint32_t table, std::uint32_t root, std::uint32_t data) {
    return geometryOf(ImageBuilder({.sizeBytes = 300 * kBlockBytes,
                                    .fatStartBlock = table,
                                    .rootDirBlock = root,
                                    .dataAreaBlock = data}))
        .describedBlocks();
  };
  EXPECT_EQ(described(2, 6, 175), 4 * 256U);
  EXPECT_EQ(described(2, 175, 6), 4 * 256U);
  EXPECT_EQ(described(10, 6, 175), 165 * 256U);  // the root lies below the table and does not end it
  EXPECT_EQ(described(200, 6, 175), 100 * 256U); // neither does: the image's end does
}

TEST(DescribedBlocks, AreNoneWhereTheImageEndsBeforeTheTable) {
  const VolumeGeometry geometry{.totalBlocks = 5, .rootDirBlock = 9, .dataAreaBlock = 10, .fatStartBlock = 6};
  EXPECT_EQ(geometry.describedBlocks(), 0U);
}

// --- The end of the table --------------------------------------------------------------------------

std::uint64_t tableEnd(std::uint64_t table, std::uint64_t root, std::uint64_t data) {
  return VolumeGeometry{
      .totalBlocks = 300, .rootDirBlock = root, .dataAreaBlock = data, .fatStartBlock = table}
      .tableEndBlock();
}

TEST(TableEnd, IsTheRootBlockOrTheDataAreaWhicheverComesFirst) {
  EXPECT_EQ(tableEnd(2, 6, 175), 6U);
  EXPECT_EQ(tableEnd(2, 175, 6), 6U);
  EXPECT_EQ(tableEnd(2, 6, 6), 6U);
}

TEST(TableEnd, IsNotWhatLiesAtOrBelowTheTablesStart) {
  EXPECT_EQ(tableEnd(10, 6, 175), 175U);
  EXPECT_EQ(tableEnd(10, 10, 175), 175U);
  EXPECT_EQ(tableEnd(10, 175, 9), 175U);
  EXPECT_EQ(tableEnd(10, 11, 175), 11U) << "a table of one block";
}

TEST(TableEnd, IsNowhereWhenBothLieBelow) {
  EXPECT_EQ(tableEnd(200, 6, 175), kMaxBlock);
  EXPECT_EQ(tableEnd(200, 200, 200), kMaxBlock);
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
