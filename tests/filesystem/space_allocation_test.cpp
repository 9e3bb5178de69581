// Room for what is new: marks and counters, free entries, free directory blocks, entry ids.

#include "filesystem/TreeEditor.h"
#include "tests/writing/EngineParts.h"

#include <gtest/gtest.h>

#include <optional>

namespace tessary::test {
namespace {

// --- Marks and counters ----------------------------------------------------------------------------

TEST(SlotMarks, MarkingWritesTheUsedMarkOfEachBlockAndNothingElse) {
  OpenedVolume volume{ImageBuilder(smallLayout())};
  const Counters before = volume.counters();
  volume.mark(3, 5);
  putMarks(volume.expected, 16 + 2 * 8, 5, 0x8000);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.counters(), (Counters{before.used + 5, before.free - 5}));
}

TEST(SlotMarks, MarkingMayRunOnIntoTheNextSlotsAndTableBlocks) {
  OpenedVolume volume{ImageBuilder(smallLayout())};
  volume.mark(30, 20); // blocks 248 to 267, the table's block changes at 256
  putMarks(volume.expected, 248, 20, 0x8000);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(SlotMarks, MarkingNoBlocksChangesNothing) {
  const OpenedVolume volume{ImageBuilder(smallLayout())};
  const Counters before = volume.counters();
  volume.mark(3, 0);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.counters(), before);
}

TEST(SlotMarks, MarkingMoreThanIsFreeLeavesTheFreeBlocksAndRaisesTheUsedOnes) {
  OpenedVolume volume(volumeWithFreeBlocks(4));
  ASSERT_EQ(volume.counters(), (Counters{252, 4}));
  volume.mark(2, 10);
  EXPECT_EQ(volume.counters(), (Counters{262, 4}));
  putMarks(volume.expected, 24, 10, 0x8000);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(SlotMarks, MarkingExactlyWhatIsFreeLeavesNone) {
  const OpenedVolume volume(volumeWithFreeBlocks(10));
  volume.mark(2, 10);
  EXPECT_EQ(volume.counters(), (Counters{256, 0}));
}

TEST(SlotMarks, MarkingCountsBlocksThatWereMarkedAlready) {
  const OpenedVolume volume(volumeWithFreeBlocks(100));
  volume.mark(2, 8); // blocks 24 to 31 carry the mark
  EXPECT_EQ(volume.counters(), (Counters{164, 92}));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(SlotMarks, FreeingClearsWhateverMarkStandsThere) {
  ImageBuilder image(smallLayout());
  putMarks(image, 16, 8, 0x1234);
  OpenedVolume volume(std::move(image));
  const Counters before = volume.counters();
  volume.giveBack(1, 3);
  putMarks(volume.expected, 16, 3, 0);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.counters(), (Counters{before.used - 3, before.free + 3}));
}

TEST(SlotMarks, FreeingNoBlocksChangesNothing) {
  const OpenedVolume volume{ImageBuilder(smallLayout())};
  const Counters before = volume.counters();
  volume.giveBack(1, 0);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.counters(), before);
}

TEST(SlotMarks, FreeingMoreThanIsUsedLeavesTheUsedBlocksAndRaisesTheFreeOnes) {
  const OpenedVolume volume(volumeWithFreeBlocks(252)); // entries 0 to 3 are marked
  ASSERT_EQ(volume.counters(), (Counters{4, 252}));
  volume.giveBack(2, 10);
  EXPECT_EQ(volume.counters(), (Counters{4, 262}));
  EXPECT_TRUE(volume.imageIsAsExpected()) << "those entries were 0 before";
}

TEST(SlotMarks, FreeingExactlyWhatIsUsedLeavesNone) {
  const OpenedVolume volume(volumeWithFreeBlocks(246));
  volume.giveBack(2, 10);
  EXPECT_EQ(volume.counters(), (Counters{0, 256}));
}

TEST(SlotMarks, SlotZeroLiesOneSlotBelowTheDataArea) {
  ImageBuilder image(smallLayout());
  putMarks(image, 0, 16, 0);
  OpenedVolume volume(std::move(image));
  volume.mark(0, 3);
  putMarks(volume.expected, 16 - 8, 3, 0x8000);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(SlotMarks, SlotZeroBelowBlockZeroWrapsAroundToIt) {
  VolumeLayout layout = smallLayout();
  layout.slotSizeBlocks = 24; // slot 0 begins 8 blocks below block 0
  layout.marksBlocks = false;
  OpenedVolume volume{ImageBuilder(layout)};
  const Counters before = volume.counters();
  volume.mark(0, 10);
  putMarks(volume.expected, 0, 2, 0x8000);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.counters(), (Counters{before.used + 10, before.free - 10}));
}

TEST(SlotMarks, EntriesBeyondTheImageAreSkippedButCounted) {
  OpenedVolume volume(volumeWithFreeBlocks(100)); // entry 256 would lie behind the image's end
  volume.mark(30, 16);                            // blocks 248 to 263
  putMarks(volume.expected, 248, 8, 0x8000);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.counters(), (Counters{172, 84}));
  volume.giveBack(30, 16);
  putMarks(volume.expected, 248, 8, 0);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.counters(), (Counters{156, 100}));
}

TEST(SlotMarks, MarksBehindATooShortTableLandInWhatFollowsIt) {
  VolumeLayout layout = smallLayout();
  layout.rootDirBlock = 3; // one block of table for 512 blocks
  layout.dataAreaBlock = 16;
  OpenedVolume volume{ImageBuilder(layout)};
  volume.mark(31, 4); // blocks 256 to 259
  volume.expected.pokeBlock(3, 0, Bytes{0, 0x80, 0, 0x80, 0, 0x80, 0, 0x80});
  EXPECT_TRUE(volume.imageIsAsExpected());
}

std::optional<EntryPlace> freeEntry(const OpenedVolume &opened, const EMU3DirectoryPtr &folder) {
  Volume &volume = *opened;
  const ReadLock lock(volume.lock);
  const std::optional<EntrySpot> spot = findSpot(volume, folder);
  if (!spot) return std::nullopt;
  return EntryPlace{static_cast<std::uint64_t>(spot->place.block),
                    static_cast<std::size_t>(spot->place.index)};
}

std::optional<EntryPlace> freeEntryOfRoot(ImageBuilder image) {
  const OpenedVolume volume(std::move(image));
  return freeEntry(volume, volume.root());
}

// --- Finding a free entry --------------------------------------------------------------------------

TEST(FreeEntry, OfAnEmptyFolderIsItsFirst) {
  EXPECT_EQ(freeEntryOfRoot(ImageBuilder(smallLayout())), (EntryPlace{4, 0}));
}

TEST(FreeEntry, IsTheFirstWhoseNameBeginsWithZero) {
  ImageBuilder image(smallLayout());
  image.root().addFile("a");
  image.root().addFile("b");
  image.root().addFile("d", {}, {.entry = std::size_t{3}});
  EXPECT_EQ(freeEntryOfRoot(std::move(image)), (EntryPlace{4, 2}));
}

TEST(FreeEntry, OneWithAZeroFirstByteIsFreeWhateverElseItHolds) {
  ImageBuilder image(smallLayout());
  RawEntry entry = rawFileEntry("file", 0x81, 1, 1, 1, 1, 1);
  entry[0] = 0;
  image.root().addRaw(entry);
  EXPECT_EQ(freeEntryOfRoot(std::move(image)), (EntryPlace{4, 0}));
}

TEST(FreeEntry, OneWithATypeByteOfZeroIsFreeThoughItHasAName) {
  ImageBuilder image(smallLayout());
  image.root().addFile("live");
  image.root().addFile("deleted", bytesOf("x"), {.type = 0});
  EXPECT_EQ(freeEntryOfRoot(std::move(image)), (EntryPlace{4, 1}));
}

TEST(FreeEntry, IsAlsoTheEntryOfALiveFolder) {
  ImageBuilder image(smallLayout());
  image.root().addFile("live");
  image.root().addFolder("folder");
  EXPECT_EQ(freeEntryOfRoot(std::move(image)), (EntryPlace{4, 1}));
}

TEST(FreeEntry, IsNotTheEntryOfAFolderWithAFifthBlock) {
  ImageBuilder image(smallLayout());
  image.root().addFolder("folder", {.blockList = {5, 6, 7, 8, 9}}); // byte 26 is 9
  EXPECT_EQ(freeEntryOfRoot(std::move(image)), (EntryPlace{4, 1}));
}

TEST(FreeEntry, FullFolderHasNone) {
  ImageBuilder image(smallLayout());
  fillFolder(image.root());
  EXPECT_EQ(freeEntryOfRoot(std::move(image)), std::nullopt);
}

TEST(FreeEntry, BlocksAreSearchedInTheOrderOfTheList) {
  ImageBuilder image(smallLayout());
  auto folder = image.root().addFolder("folder", {.blockList = {9, 7, 8}});
  fillFolder(folder, 16);
  const OpenedVolume volume(std::move(image));
  EXPECT_EQ(freeEntry(volume, folderNamed(volume.root(), "folder")), (EntryPlace{7, 0}));
}

TEST(FreeEntry, LastEntryOfTheLastBlockIsFound) {
  ImageBuilder image(smallLayout());
  auto folder = image.root().addFolder("folder", {.blockList = {9, 7}});
  fillFolder(folder, 31);
  const OpenedVolume volume(std::move(image));
  EXPECT_EQ(freeEntry(volume, folderNamed(volume.root(), "folder")), (EntryPlace{7, 15}));
}

TEST(FreeEntry, BlocksOutsideTheImageAreSkipped) {
  ImageBuilder image(smallLayout());
  const std::int16_t blocks[] = {30000, 512, 7};
  image.root().addRaw(rawFolderEntry("folder", 0x40, blocks));
  const std::int16_t outside[] = {30000, 512};
  image.root().addRaw(rawFolderEntry("outside", 0x40, outside));
  const OpenedVolume volume(std::move(image));
  EXPECT_EQ(freeEntry(volume, folderNamed(volume.root(), "folder")), (EntryPlace{7, 0}));
  EXPECT_EQ(freeEntry(volume, folderNamed(volume.root(), "outside")), std::nullopt);
}

TEST(FreeEntry, FolderWithoutBlocksHasNone) {
  ImageBuilder image(smallLayout());
  image.root().addRaw(rawFolderEntry("folder", 0x40, {}));
  const OpenedVolume volume(std::move(image));
  EXPECT_EQ(freeEntry(volume, folderNamed(volume.root(), "folder")), std::nullopt);
}

// --- Choosing a block for a folder ------------------------------------------------------------------

std::uint64_t freeDirectoryBlock(ImageBuilder image, MountRules rules = MountRules::bare) {
  const OpenedVolume opened(std::move(image), rules);
  Volume &volume = *opened;
  const ReadLock lock(volume.lock);
  return static_cast<std::uint64_t>(volume.rules().findDirectoryBlock(volume, {}).value_or(0));
}

TEST(FreeDirectoryBlock, OfAFreshVolumeFollowsTheRoot) {
  EXPECT_EQ(freeDirectoryBlock(ImageBuilder(smallLayout())), 5U);
}

TEST(FreeDirectoryBlock, IsTheLowestThatNoFolderUses) {
  ImageBuilder image(smallLayout());
  auto outer = image.root().addFolder("outer", {.blockList = {5, 8}});
  outer.addFolder("inner", {.blockList = {6}});
  EXPECT_EQ(freeDirectoryBlock(std::move(image)), 7U);
}

TEST(FreeDirectoryBlock, WhateverStandsInItCounts) {
  ImageBuilder image(smallLayout());
  image.poke(5 * kBlockBytes, patternBytes(kBlockBytes, 1));
  EXPECT_EQ(freeDirectoryBlock(std::move(image)), 5U);
}

TEST(FreeDirectoryBlock, LiesBelowTheDataArea) {
  ImageBuilder image(smallLayout());
  image.root().addFolder("first", {.blockList = {5, 6, 7, 8, 9, 10, 11}});
  image.root().addFolder("second", {.blockList = {12, 13, 14}});
  EXPECT_EQ(freeDirectoryBlock(std::move(image)), 15U);
}

TEST(FreeDirectoryBlock, IsZeroWhenAllAreInUse) {
  ImageBuilder image(smallLayout());
  image.root().addFolder("first", {.blockList = {5, 6, 7, 8, 9, 10, 11}});
  image.root().addFolder("second", {.blockList = {12, 13, 14, 15}});
  EXPECT_EQ(freeDirectoryBlock(std::move(image)), 0U);
}

TEST(FreeDirectoryBlock, IsZeroWhenTheRootLiesBehindTheDataArea) {
  VolumeLayout layout = smallLayout();
  layout.rootDirBlock = 20;
  layout.dataAreaBlock = 20;
  EXPECT_EQ(freeDirectoryBlock(ImageBuilder(layout)), 0U);
  layout.dataAreaBlock = 16;
  EXPECT_EQ(freeDirectoryBlock(ImageBuilder(layout)), 0U);
}

TEST(FreeDirectoryBlock, IsNeverSearchedBelowTheRoot) {
  VolumeLayout layout = smallLayout();
  layout.rootDirBlock = 14;
  layout.dataAreaBlock = 16;
  ImageBuilder image(layout);
  image.root().addFolder("folder", {.blockList = {15}});
  EXPECT_EQ(freeDirectoryBlock(std::move(image)), 0U);
}

VolumeLayout layoutWithRootAt(std::uint32_t rootBlock, std::uint32_t dataArea) {
  return {.sizeBytes = 20 * kMiB, .rootDirBlock = rootBlock, .dataAreaBlock = dataArea, .slotSizeBlocks = 8};
}

TEST(FreeDirectoryBlock, BareMayBeANumberThatNoEntryCanHold) {
  EXPECT_EQ(freeDirectoryBlock(ImageBuilder(layoutWithRootAt(32767, 33000))), 32768U);
}

TEST(FreeDirectoryBlock, GuardedIsAtMost32767) {
  EXPECT_EQ(freeDirectoryBlock(ImageBuilder(layoutWithRootAt(32766, 33000)), MountRules::guarded), 32767U);
  EXPECT_EQ(freeDirectoryBlock(ImageBuilder(layoutWithRootAt(32767, 33000)), MountRules::guarded), 0U);
  EXPECT_EQ(freeDirectoryBlock(ImageBuilder(layoutWithRootAt(32800, 33000)), MountRules::guarded), 0U);
}

// The table from block 6 on, between the root block and the data area.
VolumeLayout layoutWithTableBehindRoot() {
  return {.sizeBytes = 256 * kKiB,
          .fatStartBlock = 6,
          .rootDirBlock = 5,
          .dataAreaBlock = 10,
          .slotSizeBlocks = 8};
}

TEST(FreeDirectoryBlock, BareMayLieInTheAllocationTable) {
  EXPECT_EQ(freeDirectoryBlock(ImageBuilder(layoutWithTableBehindRoot())), 6U);
}

TEST(FreeDirectoryBlock, GuardedNeverLiesInTheAllocationTable) {
  EXPECT_EQ(freeDirectoryBlock(ImageBuilder(layoutWithTableBehindRoot()), MountRules::guarded), 8U)
      << "behind the marks of all 512 blocks";
  VolumeLayout layout = layoutWithTableBehindRoot();
  layout.sizeBytes = 4 * 256 * kBlockBytes;
  EXPECT_EQ(freeDirectoryBlock(ImageBuilder(layout), MountRules::guarded), 0U);
}

TEST(FreeDirectoryBlock, GuardedUsesTheBlocksBeforeTheTable) {
  VolumeLayout layout = layoutWithTableBehindRoot();
  layout.rootDirBlock = 3;
  ImageBuilder image(layout);
  image.root().addFolder("folder", {.blockList = {4}});
  EXPECT_EQ(freeDirectoryBlock(std::move(image), MountRules::guarded), 5U);
}

// --- Choosing an entry id --------------------------------------------------------------------------

std::uint8_t idAfter(std::initializer_list<std::uint8_t> ids) {
  const auto folder = std::make_shared<EMU3Directory>();
  for (const std::uint8_t id : ids) {
    EMU3FileFields fields;
    fields.entryId = id;
    fields.rawType = 0x81;
    TreeEditor::appendFile(folder, std::make_shared<EMU3File>(fields));
  }
  return nextEntryId(*folder);
}

TEST(EntryId, OfAnEmptyFolderIsZero) {
  EXPECT_EQ(idAfter({}), 0);
}

TEST(EntryId, IsOneAboveTheHighest) {
  EXPECT_EQ(idAfter({0}), 1);
  EXPECT_EQ(idAfter({3, 9, 4}), 10);
  EXPECT_EQ(idAfter({254}), 255);
}

TEST(EntryId, AfterA255AtTheEndIsZero) {
  EXPECT_EQ(idAfter({255}), 0);
  EXPECT_EQ(idAfter({3, 255}), 0);
  EXPECT_EQ(idAfter({255, 255}), 0);
}

TEST(EntryId, CountsAnewAfterA255) {
  EXPECT_EQ(idAfter({255, 3}), 4);
  EXPECT_EQ(idAfter({255, 0}), 1);
  EXPECT_EQ(idAfter({7, 255, 3, 2, 5}), 6);
}

TEST(EntryId, LooksAtDeletedFilesButNotAtFolders) {
  const auto folder = std::make_shared<EMU3Directory>();
  EMU3FileFields deleted;
  deleted.entryId = 20;
  TreeEditor::appendFile(folder, std::make_shared<EMU3File>(deleted));
  const auto below = std::make_shared<EMU3Directory>();
  TreeEditor::setEntryId(*below, 0x40);
  TreeEditor::appendSubdirectory(folder, below);
  EXPECT_EQ(nextEntryId(*folder), 21);
}

} // namespace
} // namespace tessary::test
