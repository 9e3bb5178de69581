#include "tests/support/EngineInternals.h"
#include "tests/writing/WritableVolume.h"

#include <gtest/gtest.h>

namespace tessary::test {
namespace {

using Internals = EMU3FilesystemInternals;

// A file of which only the entry is laid out.
FileOptions inSlot(std::uint16_t slot) {
  return {.slot = slot, .storesContents = false};
}

ByteBuffer buffer(const Bytes &bytes) {
  return {bytes.begin(), bytes.end()};
}

std::uint16_t bareSlotFor(const ImageBuilder &image) {
  const MountedVolume volume(image);
  return Internals::allocFileSlot(*volume, volume.root()).value();
}

// --- Choosing a slot -------------------------------------------------------------------------------

TEST(SlotChoice, VolumeWithoutFilesGivesSlotOne) {
  EXPECT_EQ(bareSlotFor(ImageBuilder(smallLayout())), 1);
}

TEST(SlotChoice, GoesAboveTheHighestSlotAndIgnoresTheGapsBelow) {
  ImageBuilder image(smallLayout());
  image.root().addFile("three", bytesOf("x"), inSlot(3));
  image.root().addFile("seven", bytesOf("x"), inSlot(7));
  EXPECT_EQ(bareSlotFor(image), 8);
}

TEST(SlotChoice, LooksIntoFoldersOfEveryDepth) {
  ImageBuilder image(smallLayout());
  auto inner = image.root().addFolder("outer").addFolder("middle").addFolder("inner");
  image.root().addFile("top", bytesOf("x"), inSlot(4));
  inner.addFile("deep", bytesOf("x"), inSlot(9));
  EXPECT_EQ(bareSlotFor(image), 10);
}

TEST(SlotChoice, CountsDeletedFilesThatAreStillListed) {
  ImageBuilder image(smallLayout());
  image.root().addFile("live", bytesOf("x"), inSlot(2));
  FileOptions gone = inSlot(30);
  gone.type = 0;
  image.root().addFile("gone", bytesOf("x"), gone);
  EXPECT_EQ(bareSlotFor(image), 31);
}

TEST(SlotChoice, FoldersHoldNoSlot) {
  ImageBuilder image(smallLayout());
  image.root().addFolder("folder", {.blockList = {9, 10, 11}});
  EXPECT_EQ(bareSlotFor(image), 1);
}

TEST(SlotChoice, LengthAndClusterCountPlayNoPartInTheBareRule) {
  ImageBuilder image(smallLayout());
  image.root().addFile("long", patternBytes(5 * 8 * 512), {.slot = std::uint16_t{3}});
  FileOptions claims = inSlot(2);
  claims.clusterCount = 900;
  image.root().addFile("claims", bytesOf("x"), claims);
  EXPECT_EQ(bareSlotFor(image), 4);
}

TEST(SlotChoice, AboveSlot65535ComesSlotZero) {
  EXPECT_EQ(bareSlotFor(volumeWithSlot65535()), 0);
}

TEST(SlotChoice, RunningMaximumRisesOnlyToWhatIsGreater) {
  ImageBuilder image(smallLayout());
  image.root().addFile("five", bytesOf("x"), inSlot(5));
  image.root().addFolder("folder").addFile("eight", bytesOf("x"), inSlot(8));
  const MountedVolume volume(image);
  std::uint16_t max = 50;
  Internals::scanMaxSlotIndex(*volume, volume.root(), &max);
  EXPECT_EQ(max, 50);
  max = 6;
  Internals::scanMaxSlotIndex(*volume, volume.root(), &max);
  EXPECT_EQ(max, 8);
}

TEST(SlotChoice, ScanOfOneFolderSeesThatFolderAlone) {
  ImageBuilder image(smallLayout());
  image.root().addFile("outside", bytesOf("x"), inSlot(40));
  image.root().addFolder("folder").addFile("inside", bytesOf("x"), inSlot(8));
  const MountedVolume volume(image);
  std::uint16_t max = 0;
  Internals::scanMaxSlotIndex(*volume, folderNamed(volume.root(), "folder"), &max);
  EXPECT_EQ(max, 8);
}

// --- Marks and counters ----------------------------------------------------------------------------

TEST(SlotMarks, MarkingWritesTheUsedMarkOfEachBlockAndNothingElse) {
  WritableVolume volume{ImageBuilder(smallLayout())};
  const Counters before = countersOf(*volume);
  Internals::markSlotUsed(*volume, 3, 5);
  putMarks(volume.expected, 16 + 2 * 8, 5, 0x8000);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), (Counters{before.used + 5, before.free - 5}));
}

TEST(SlotMarks, MarkingMayRunOnIntoTheNextSlotsAndTableBlocks) {
  WritableVolume volume{ImageBuilder(smallLayout())};
  Internals::markSlotUsed(*volume, 30, 20); // blocks 248 to 267, the table's block changes at 256
  putMarks(volume.expected, 248, 20, 0x8000);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(SlotMarks, MarkingNoBlocksChangesNothing) {
  const WritableVolume volume{ImageBuilder(smallLayout())};
  const Counters before = countersOf(*volume);
  Internals::markSlotUsed(*volume, 3, 0);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), before);
}

TEST(SlotMarks, MarkingMoreThanIsFreeLeavesTheFreeBlocksAndRaisesTheUsedOnes) {
  WritableVolume volume(volumeWithFreeBlocks(4));
  ASSERT_EQ(countersOf(*volume), (Counters{252, 4}));
  Internals::markSlotUsed(*volume, 2, 10);
  EXPECT_EQ(countersOf(*volume), (Counters{262, 4}));
  putMarks(volume.expected, 24, 10, 0x8000);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(SlotMarks, MarkingExactlyWhatIsFreeLeavesNone) {
  const WritableVolume volume(volumeWithFreeBlocks(10));
  Internals::markSlotUsed(*volume, 2, 10);
  EXPECT_EQ(countersOf(*volume), (Counters{256, 0}));
}

TEST(SlotMarks, MarkingCountsBlocksThatWereMarkedAlready) {
  const WritableVolume volume(volumeWithFreeBlocks(100));
  Internals::markSlotUsed(*volume, 2, 8); // blocks 24 to 31 carry the mark
  EXPECT_EQ(countersOf(*volume), (Counters{164, 92}));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(SlotMarks, FreeingClearsWhateverMarkStandsThere) {
  ImageBuilder image(smallLayout());
  putMarks(image, 16, 8, 0x1234);
  WritableVolume volume(std::move(image));
  const Counters before = countersOf(*volume);
  Internals::freeSlot(*volume, 1, 3);
  putMarks(volume.expected, 16, 3, 0);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), (Counters{before.used - 3, before.free + 3}));
}

TEST(SlotMarks, FreeingNoBlocksChangesNothing) {
  const WritableVolume volume{ImageBuilder(smallLayout())};
  const Counters before = countersOf(*volume);
  Internals::freeSlot(*volume, 1, 0);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), before);
}

TEST(SlotMarks, FreeingMoreThanIsUsedLeavesTheUsedBlocksAndRaisesTheFreeOnes) {
  const WritableVolume volume(volumeWithFreeBlocks(252)); // entries 0 to 3 are marked
  ASSERT_EQ(countersOf(*volume), (Counters{4, 252}));
  Internals::freeSlot(*volume, 2, 10);
  EXPECT_EQ(countersOf(*volume), (Counters{4, 262}));
  EXPECT_TRUE(volume.imageIsAsExpected()) << "those entries were 0 before";
}

TEST(SlotMarks, FreeingExactlyWhatIsUsedLeavesNone) {
  const WritableVolume volume(volumeWithFreeBlocks(246));
  Internals::freeSlot(*volume, 2, 10);
  EXPECT_EQ(countersOf(*volume), (Counters{0, 256}));
}

TEST(SlotMarks, SlotZeroLiesOneSlotBelowTheDataArea) {
  WritableVolume volume{ImageBuilder(smallLayout())};
  putMarks(volume.expected, 0, 16, 0);
  for (std::uint64_t block = 0; block < 16; ++block)
    Internals::setFatEntry(*volume, block, 0);
  Internals::markSlotUsed(*volume, 0, 3);
  putMarks(volume.expected, 16 - 8, 3, 0x8000);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(SlotMarks, SlotZeroBelowBlockZeroWrapsAroundToIt) {
  VolumeLayout layout = smallLayout();
  layout.slotSizeBlocks = 24; // slot 0 begins 8 blocks below block 0
  layout.marksBlocks = false;
  WritableVolume volume{ImageBuilder(layout)};
  const Counters before = countersOf(*volume);
  Internals::markSlotUsed(*volume, 0, 10);
  putMarks(volume.expected, 0, 2, 0x8000);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), (Counters{before.used + 10, before.free - 10}));
}

TEST(SlotMarks, EntriesBeyondTheImageAreSkippedButCounted) {
  WritableVolume volume(volumeWithFreeBlocks(100)); // entry 256 would lie behind the image's end
  Internals::markSlotUsed(*volume, 30, 16);         // blocks 248 to 263
  putMarks(volume.expected, 248, 8, 0x8000);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), (Counters{172, 84}));
  Internals::freeSlot(*volume, 30, 16);
  putMarks(volume.expected, 248, 8, 0);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), (Counters{156, 100}));
}

TEST(SlotMarks, MarksBehindATooShortTableLandInWhatFollowsIt) {
  VolumeLayout layout = smallLayout();
  layout.rootDirBlock = 3; // one block of table for 512 blocks
  layout.dataAreaBlock = 16;
  WritableVolume volume{ImageBuilder(layout)};
  Internals::markSlotUsed(*volume, 31, 4); // blocks 256 to 259
  volume.expected.pokeBlock(3, 0, Bytes{0, 0x80, 0, 0x80, 0, 0x80, 0, 0x80});
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(SlotMarks, TableEntriesAreReadBackAsWritten) {
  const WritableVolume volume{ImageBuilder(smallLayout())};
  Internals::setFatEntry(*volume, 300, 0xABCD);
  EXPECT_EQ(Internals::fatEntry(*volume, 300), 0xABCD);
  Internals::setFatEntry(*volume, 1'000'000, 0xABCD); // behind the image
  EXPECT_EQ(Internals::fatEntry(*volume, 1'000'000), 0);
}

// --- Writing contents ------------------------------------------------------------------------------

class WritingContents : public testing::TestWithParam<std::size_t> {};

TEST_P(WritingContents, FillsTheLastBlockWithZerosAndTouchesNoOther) {
  ImageBuilder image(smallLayout());
  image.poke(16 * kBlockBytes, patternBytes(64 * kBlockBytes, 9)); // what lay there before
  WritableVolume volume(std::move(image));
  const Bytes contents = patternBytes(GetParam(), 3);
  EXPECT_TRUE(Internals::writeData(*volume, buffer(contents), 24));
  putData(volume.expected, 24, contents);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

INSTANTIATE_TEST_SUITE_P(Lengths, WritingContents,
                         testing::Values(0U, 1U, 511U, 512U, 513U, 1024U, 4096U, 4097U, 20000U));

TEST(WritingContentsBeyondTheEnd, OfAFirstBlockOutsideWritesNothing) {
  const WritableVolume volume{ImageBuilder(smallLayout())};
  for (const std::uint64_t first : {std::uint64_t{512}, std::uint64_t{1} << 55, ~std::uint64_t{0}}) {
    EXPECT_FALSE(Internals::writeData(*volume, buffer(patternBytes(600)), first)) << first;
    EXPECT_FALSE(Internals::writeData(*volume, {}, first)) << first;
  }
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(WritingContentsBeyondTheEnd, LeavesTheBlocksThatFitted) {
  WritableVolume volume{ImageBuilder(smallLayout())};
  const Bytes contents = patternBytes(5 * kBlockBytes, 3);
  EXPECT_FALSE(Internals::writeData(*volume, buffer(contents), 509));
  putData(volume.expected, 509, std::span(contents).first(3 * kBlockBytes));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(WritingContentsBeyondTheEnd, NeverReachesATrailingPartialBlock) {
  ImageBuilder image(smallLayout());
  image.resize(256 * kKiB + 300);
  WritableVolume volume(std::move(image));
  const Bytes contents = patternBytes(700, 3);
  EXPECT_FALSE(Internals::writeData(*volume, buffer(contents), 511));
  putData(volume.expected, 511, std::span(contents).first(kBlockBytes));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(WritingContentsBeyondTheEnd, EndsExactlyAtTheLastBlock) {
  WritableVolume volume{ImageBuilder(smallLayout())};
  const Bytes contents = patternBytes(2 * kBlockBytes, 3);
  EXPECT_TRUE(Internals::writeData(*volume, buffer(contents), 510));
  putData(volume.expected, 510, contents);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

} // namespace
} // namespace tessary::test
