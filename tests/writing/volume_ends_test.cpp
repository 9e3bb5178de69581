#include "tests/writing/WritableVolume.h"

#include <gtest/gtest.h>

namespace tessary::test {
namespace {

// What happens to a copy at the ends of the volume: slot 65535 in use, the image ending inside the data
// area.

VolumeLayout layoutWithSlotsOf(std::uint32_t blocks) {
  VolumeLayout layout = smallLayout();
  layout.slotSizeBlocks = blocks;
  return layout;
}

// A source of `blocks` blocks in slot 1, and slot 65535 in use.
ImageBuilder volumeWithLastSlot(std::uint32_t slotSizeBlocks, std::size_t blocks) {
  ImageBuilder image = volumeWithSlot65535(layoutWithSlotsOf(slotSizeBlocks));
  image.root().addFile("source", patternBytes(blocks * kBlockBytes, 1), {.slot = std::uint16_t{1}});
  return image;
}

void expectFailure(const WritableVolume &volume, const char *description) {
  const Counters before = countersOf(*volume);
  const EMU3FilePtr source = fileNamed(volume.root(), "source");
  EMU3Error error;
  EXPECT_FALSE(volume->copyFile(source, volume.root(), &error));
  EXPECT_EQ(error.description(), description);
  EXPECT_FALSE(volume->copyFile(source, volume.root()));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), before);
  EXPECT_EQ(volume.root()->files().size(), 2U);
}

TEST(BareSlotZero, OfADataAreaAboveOneSlotLiesInTheBlocksBelowIt) {
  WritableVolume volume(volumeWithLastSlot(8, 2));
  ASSERT_TRUE(volume->copyFile(fileNamed(volume.root(), "source"), volume.root()));
  putData(volume.expected, 8, patternBytes(1024, 1));
  putMarks(volume.expected, 8, 2, 0x8000);
  volume.expected.pokeEntry({4, 2}, newFileEntry("source", 0, 2, 1024));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.root()->files().back()->startCluster(), 0);
}

TEST(BareSlotZero, OfADataAreaOfOneSlotLiesOnTheHeader) {
  WritableVolume volume(volumeWithLastSlot(16, 1));
  ASSERT_TRUE(volume->copyFile(fileNamed(volume.root(), "source"), volume.root()));
  putData(volume.expected, 0, patternBytes(512, 1));
  putMarks(volume.expected, 0, 1, 0x8000);
  volume.expected.pokeEntry({4, 2}, newFileEntry("source", 0, 2, 512));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

// With slots of 24 blocks and a data area at block 16, slot 0 begins 8 blocks below block 0.
TEST(BareSlotZero, OfADataAreaBelowOneSlotIsRefusedAsFull) {
  expectFailure(WritableVolume(volumeWithLastSlot(24, 1)), kNoSlotError);
  expectFailure(WritableVolume(volumeWithLastSlot(24, 7)), kNoSlotError);
}

TEST(BareSlotZero, ReachingBlockZeroByWrappingFailsToWrite) {
  expectFailure(WritableVolume(volumeWithLastSlot(24, 8)), kDataWriteError);
  expectFailure(WritableVolume(volumeWithLastSlot(24, 12)), kDataWriteError);
}

// Nothing lies above the last slot, so the file goes into the lowest place that there is.
TEST(GuardedSlots, EndAt65535) {
  for (const std::uint32_t slotSize : {8U, 16U, 24U}) {
    for (const std::size_t blocks : {1U, 8U, 12U}) {
      WritableVolume volume(volumeWithLastSlot(slotSize, blocks), MountRules::guarded);
      ASSERT_TRUE(volume->copyFile(fileNamed(volume.root(), "source"), volume.root()));
      const std::uint64_t above = (blocks + slotSize - 1) / slotSize + 1;
      EXPECT_EQ(volume.root()->files().back()->startCluster(), above) << slotSize << " " << blocks;
    }
  }
}

TEST(GuardedSlots, Slot65535IsHandedOut) {
  VolumeLayout layout = layoutWithSlotsOf(2);
  layout.sizeBytes = 70 * kMiB; // slot 65535 begins at block 131,086 or so
  ImageBuilder image(layout);
  image.root().addFile("near", bytesOf("x"), {.slot = std::uint16_t{65534}, .storesContents = false});
  const EntryPlace next{image.rootDirBlock(), 1};
  WritableVolume volume(std::move(image), MountRules::guarded);
  ASSERT_TRUE(volume->importFileAtURL(volume.hostFile("last", patternBytes(600, 2)), volume.root()));
  putNewFile(volume.expected, next, "last", 65535, 1, patternBytes(600, 2));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

// --- An image that ends inside its data area -------------------------------------------------------

class ShortImage : public testing::TestWithParam<MountRules> {};
INSTANTIATE_TEST_SUITE_P(Volume, ShortImage, testing::Values(MountRules::bare, MountRules::guarded),
                         rulesName);

// Slot 1 in blocks 16 to 23 holds the source; `bytes` are left behind it.
ImageBuilder volumeWithRoomFor(std::uint64_t bytes, std::size_t sourceBytes) {
  ImageBuilder image(smallLayout());
  image.root().addFile("source", patternBytes(sourceBytes, 1));
  image.resize(24 * kBlockBytes + bytes);
  return image;
}

TEST(BareShortImage, FileThatFitsToTheByteIsStored) {
  WritableVolume volume(volumeWithRoomFor(2 * kBlockBytes, 1000), MountRules::bare);
  ASSERT_TRUE(volume->copyFile(volume.root()->files()[0], volume.root()));
  putNewFile(volume.expected, {4, 1}, "source", 2, 1, patternBytes(1000, 1));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(BareShortImage, FileThatNeedsATrailingPartialBlockIsRefused) {
  const WritableVolume volume(volumeWithRoomFor(2 * kBlockBytes - 1, 1000), MountRules::bare);
  const Counters before = countersOf(*volume);
  EMU3Error error;
  EXPECT_FALSE(volume->copyFile(volume.root()->files()[0], volume.root(), &error));
  EXPECT_EQ(error.description(), kNoSlotError);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), before);
}

// Its entry is the source's own, but for the slot, the id and the sizes.
TEST(GuardedShortImage, FileThatFitsToTheByteIsStored) {
  WritableVolume volume(volumeWithRoomFor(2 * kBlockBytes, 1000), MountRules::guarded);
  ASSERT_TRUE(volume->copyFile(volume.root()->files()[0], volume.root()));
  putNewFile(volume.expected, {4, 1}, "source", 2, 1, patternBytes(1000, 1));
  volume.expected.pokeEntry({4, 1}, rawFileEntry("source", 0x81, 1, 2, 1, 2, 488));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

void expectNoSpace(ImageBuilder image, std::uint64_t free) {
  const WritableVolume volume(std::move(image), MountRules::guarded);
  EXPECT_EQ(countersOf(*volume), (Counters{volume->totalBlocks() - free, free}));
  const Bytes contents = patternBytes(free * kBlockBytes + 1, 4);
  EMU3Error error;
  EXPECT_FALSE(volume->importFileAtURL(volume.hostFile("file", contents), volume.root(), &error));
  EXPECT_EQ(error.description(), kNoSpaceError);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(GuardedShortImage, TrailingPartialBlockIsNoRoom) {
  expectNoSpace(volumeWithRoomFor(2 * kBlockBytes - 1, 1000), 1);
}

TEST(GuardedShortImage, WithoutADataAreaHasNoRoom) {
  ImageBuilder image(smallLayout());
  image.resize(10 * kBlockBytes);
  expectNoSpace(std::move(image), 0);
}

TEST(GuardedShortImage, HugeGeometryHasNoRoom) {
  ImageBuilder image(smallLayout());
  image.root().addFile("source", bytesOf("x"), {.slot = std::uint16_t{65534}, .storesContents = false});
  image.poke32(32, 0xFFFFFFFF).poke32(44, 0xFFFFFFFF);
  expectNoSpace(std::move(image), 0);
}

TEST(GuardedShortImage, WithoutATableHasRoomThatNobodyMarks) {
  ImageBuilder image(smallLayout());
  image.poke32(40, 600); // the table would begin behind the image
  WritableVolume volume(std::move(image), MountRules::guarded);
  EXPECT_EQ(countersOf(*volume), (Counters{16, 496}));
  ASSERT_TRUE(volume->importFileAtURL(volume.hostFile("file", bytesOf("x")), volume.root()));
  putData(volume.expected, 16, bytesOf("x"));
  volume.expected.pokeEntry({4, 0}, newFileEntry("file", 1, 0, 1));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), (Counters{24, 488}));
}

TEST(BareShortImage, WithoutADataAreaTakesNoFile) {
  ImageBuilder image(smallLayout());
  image.resize(10 * kBlockBytes);
  const WritableVolume volume(std::move(image), MountRules::bare);
  EMU3Error error;
  EXPECT_FALSE(volume->importFileAtURL(volume.hostFile("file", {}), volume.root(), &error));
  EXPECT_EQ(error.description(), kNoSlotError);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(BareShortImage, WithoutATableHasNoFreeSpace) {
  ImageBuilder image(smallLayout());
  image.poke32(40, 600); // the table would begin behind the image
  const WritableVolume volume(std::move(image), MountRules::bare);
  EMU3Error error;
  EXPECT_FALSE(volume->importFileAtURL(volume.hostFile("file", {}), volume.root(), &error));
  EXPECT_EQ(error.description(), kNoSpaceError);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST_P(ShortImage, WithoutARootBlockHasNoPlaceForAnEntry) {
  ImageBuilder image(smallLayout());
  image.poke32(8, 600);
  const WritableVolume volume(std::move(image), GetParam());
  EMU3Error error;
  EXPECT_FALSE(volume->importFileAtURL(volume.hostFile("file", {}), volume.root(), &error));
  EXPECT_EQ(error.description(), kFolderFullError);
  EXPECT_FALSE(volume->createDirectoryNamed("folder", volume.root(), &error));
  EXPECT_EQ(error.description(), kParentFullError);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(BareShortImage, HugeGeometryIsRefusedWithoutTouchingAnything) {
  ImageBuilder image(smallLayout());
  image.root().addFile("source", bytesOf("x"), {.slot = std::uint16_t{65534}, .storesContents = false});
  image.poke32(32, 0xFFFFFFFF).poke32(44, 0xFFFFFFFF);
  const WritableVolume volume(std::move(image), MountRules::bare);
  EMU3Error error;
  EXPECT_FALSE(volume->copyFile(volume.root()->files()[0], volume.root(), &error));
  EXPECT_EQ(error.description(), kNoSlotError);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

} // namespace
} // namespace tessary::test
