// Where new files go, what a deletion gives back, and how much room is told.

#include "tests/writing/guarded/GuardedVolume.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>

namespace tessary::test {
namespace {

// In smallLayout the slots 1 to 62 begin at block 16 and have 8 blocks each: 496 blocks in all.
constexpr std::uint64_t kAllFree = 496;

std::uint64_t slotBlock(std::uint64_t slot) {
  return 16 + 8 * (slot - 1);
}

// A file of which only the entry is there.
FileOptions inSlot(std::uint16_t slot, std::uint16_t clusters = 1, std::uint16_t blocks = 1,
                   std::uint8_t type = 0x81) {
  return {.type = type,
          .slot = slot,
          .clusterCount = clusters,
          .blocksInLastCluster = blocks,
          .storesContents = false};
}

// A volume with one-block files in these slots.
ImageBuilder volumeWithFilesIn(std::initializer_list<std::uint16_t> slots) {
  ImageBuilder image(smallLayout());
  auto folder = image.root().addFolder("folder", {.blockList = {5, 6, 7, 8, 9, 10, 11}});
  for (const std::uint16_t slot : slots)
    folder.addFile("in " + std::to_string(slot), bytesOf("x"), inSlot(slot));
  return image;
}

// All slots hold a file but these.
ImageBuilder volumeWithFreeSlots(std::initializer_list<std::uint16_t> slots) {
  ImageBuilder image(smallLayout());
  auto folder = image.root().addFolder("folder", {.blockList = {5, 6, 7, 8, 9, 10, 11}});
  for (std::uint16_t slot = 1; slot <= 62; ++slot) {
    if (std::find(slots.begin(), slots.end(), slot) == slots.end())
      folder.addFile("in " + std::to_string(slot), bytesOf("x"), inSlot(slot));
  }
  return image;
}

// --- The place of a new file -----------------------------------------------------------------------

TEST(GuardedSlot, OfAnEmptyVolumeIsTheFirst) {
  EXPECT_EQ(GuardedVolume(ImageBuilder(smallLayout())).slotGiven(1), 1);
}

TEST(GuardedSlot, IsAboveAllFilesThoughThereIsRoomBelow) {
  EXPECT_EQ(GuardedVolume(volumeWithFilesIn({3, 7})).slotGiven(1), 8);
}

TEST(GuardedSlot, IsAboveDeletedFilesOfTheListToo) {
  ImageBuilder image = volumeWithFilesIn({3});
  image.root().addFile("gone", bytesOf("x"), inSlot(30, 1, 9, 0));
  EXPECT_EQ(GuardedVolume(std::move(image)).slotGiven(1), 32);
}

TEST(GuardedSlot, FilesReachAsFarAsTheirClustersOrTheirBlocksSay) {
  struct Case {
    std::uint16_t slot, clusters, blocks, next;
  };
  for (const Case &one : {Case{3, 1, 8, 4}, Case{3, 1, 9, 5}, Case{3, 0, 0, 4}, Case{3, 4, 1, 7},
                          Case{3, 4, 41, 9}, Case{0, 0, 0, 2}, Case{0, 1, 17, 4}}) {
    ImageBuilder image(smallLayout());
    image.root().addFile("file", bytesOf("x"), inSlot(one.slot, one.clusters, one.blocks));
    EXPECT_EQ(GuardedVolume(std::move(image)).slotGiven(1), one.next) << one.slot << " " << one.blocks;
  }
}

TEST(GuardedSlot, FileOfManyBlocksTakesAllItsSlots) {
  GuardedVolume volume{ImageBuilder(smallLayout())};
  EXPECT_EQ(volume.slotGiven(17), 1);
  EXPECT_EQ(volume.slotGiven(16), 4);
  EXPECT_EQ(volume.slotGiven(1), 6);
  putNewFile(volume.expected, {4, 0}, "new", 1, 0, patternBytes(17 * 512, 77));
  putNewFile(volume.expected, {4, 1}, "new", 4, 1, patternBytes(16 * 512, 77));
  putNewFile(volume.expected, {4, 2}, "new", 6, 2, patternBytes(512, 77));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.hasFree(kAllFree - 6 * 8));
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST(GuardedSlot, WithoutRoomAboveAllIsTheLowestOfAll) {
  EXPECT_EQ(GuardedVolume(volumeWithFilesIn({62, 1, 5})).slotGiven(1), 2);
  EXPECT_EQ(GuardedVolume(volumeWithFilesIn({62, 1, 5})).slotGiven(24), 2) << "slots 2 to 4";
  EXPECT_EQ(GuardedVolume(volumeWithFilesIn({62, 1, 5})).slotGiven(25), 6);
  EXPECT_EQ(GuardedVolume(volumeWithFilesIn({61, 1, 5})).slotGiven(9), 2) << "slot 62 alone is too small";
  EXPECT_EQ(GuardedVolume(volumeWithFilesIn({61, 1, 5})).slotGiven(8), 62);
}

TEST(GuardedSlot, OfADeletedFileIsGivenWhereNoneIsAboveAll) {
  ImageBuilder image = volumeWithFreeSlots({62});
  image.root().addFile("gone", bytesOf("x"), inSlot(62, 1, 1, 0));
  EXPECT_EQ(GuardedVolume(std::move(image)).slotGiven(8), 62);
}

TEST(GuardedSlot, AboveAFileThatReachesBehindTheImageIsNone) {
  for (const std::uint16_t far : {std::uint16_t{63}, std::uint16_t{65535}})
    EXPECT_EQ(GuardedVolume(volumeWithFilesIn({1, far})).slotGiven(1), 2) << far;
  ImageBuilder image(smallLayout());
  image.root().addFile("long", bytesOf("x"), inSlot(4, 65535, 65535));
  EXPECT_EQ(GuardedVolume(std::move(image)).slotGiven(24), 1);
}

TEST(GuardedSlot, OfAnEmptyFileIsAsThatOfOneBlock) {
  GuardedVolume volume{ImageBuilder(smallLayout())};
  ASSERT_TRUE(volume.import("empty", {}));
  putData(volume.expected, 16, {});
  volume.expected.pokeEntry({4, 0}, newFileEntry("empty", 1, 0, 0));
  EXPECT_TRUE(volume.imageIsAsExpected()) << "no mark";
  EXPECT_TRUE(volume.hasFree(kAllFree - 8));
  EXPECT_TRUE(volume.isAsReadAnew());
  EXPECT_EQ(volume.slotGiven(1), 2);
}

// --- What takes a slot -----------------------------------------------------------------------------

// The lowest of all slots is given, since a file is in the last one.
class TakenSlot : public testing::Test {
protected:
  ImageBuilder image = volumeWithFilesIn({62});

  std::uint16_t slotGiven(std::uint64_t blocks = 1) {
    return GuardedVolume(std::move(image)).slotGiven(blocks);
  }
};

TEST_F(TakenSlot, WithoutAnythingItIsTheFirst) {
  EXPECT_EQ(slotGiven(), 1);
}

TEST_F(TakenSlot, ByAMarkOfItsFirstBlock) {
  image.setFatEntry(16, 0x8000);
  EXPECT_EQ(slotGiven(), 2);
}

TEST_F(TakenSlot, ByAMarkOfItsLastBlockWhateverItSays) {
  image.setFatEntry(23, 1);
  EXPECT_EQ(slotGiven(), 2);
}

TEST_F(TakenSlot, NotByAMarkOfTheBlocksBesideIt) {
  image.setFatEntry(15, 0x8000);
  image.setFatEntry(24, 0x8000);
  EXPECT_EQ(slotGiven(), 1);
}

TEST_F(TakenSlot, OneMarkedBetweenTwoLeavesNoTwoInARow) {
  image.setFatEntry(slotBlock(2), 0x8000);
  EXPECT_EQ(slotGiven(9), 3);
}

TEST_F(TakenSlot, ByABlockOfAFolder) {
  image.root().addFolder("far", {.blockList = {12, 20, 31}});
  EXPECT_EQ(slotGiven(), 3);
}

TEST_F(TakenSlot, ByALiveFileAndNotByADeletedOne) {
  image.root().addFile("live", bytesOf("x"), inSlot(1, 2, 1));
  image.root().addFile("gone", bytesOf("x"), inSlot(3, 5, 1, 0));
  EXPECT_EQ(slotGiven(), 3);
}

TEST_F(TakenSlot, ByAFileInSlotZeroIsTheFirst) {
  image.root().addFile("zero", bytesOf("x"), inSlot(0));
  EXPECT_EQ(slotGiven(), 2);
}

TEST(TakenSlotOfALostFolder, StaysTakenSoThatItsFilesCanBeBroughtBack) {
  ImageBuilder image(smallLayout());
  auto lost = image.root().addFolder("lost", {.blockList = {5}});
  lost.addFile("first", patternBytes(600, 1));
  lost.addFile("second", patternBytes(17 * 512, 2));
  image.pokeEntry(lost.place(), {});
  GuardedVolume volume(std::move(image));
  EXPECT_TRUE(volume.hasFree(kAllFree - 4 * 8));
  EXPECT_EQ(volume.slotGiven(1), 5);
  ASSERT_TRUE(volume->recoverFolder(5, "found", volume.root()));
  EXPECT_EQ(contentsOf(*volume, fileNamed(volume.folderAt("found"), "second")), patternBytes(17 * 512, 2));
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST(TakenSlotOfTheTable, IsInTheDataArea) {
  GuardedVolume volume{ImageBuilder(smallTableLayout())}; // the table is block 255, in slot 30
  EXPECT_TRUE(volume.hasFree(29 * 8));
  EXPECT_EQ(volume.slotGiven(28 * 8), 1);
  EXPECT_EQ(volume.slotGiven(1), 29);
  volume.expectRefused(kNoSpaceError, [&](EMU3Error *error) {
    return volume.import("more", bytesOf("x"), volume.root(), error);
  });
}

TEST(TakenSlotOfTheTable, EndsWithTheMarksOfTheLastBlock) {
  // A table of two blocks, 40 and 41, in a data area that begins at 20: slots 3 and, behind it, 4.
  const GuardedVolume volume(ImageBuilder({.sizeBytes = 300 * kBlockBytes,
                                           .fatStartBlock = 40,
                                           .rootDirBlock = 5,
                                           .dataAreaBlock = 20,
                                           .slotSizeBlocks = 8,
                                           .marksBlocks = false}));
  EXPECT_EQ(volume.slotGiven(1), 1);
  EXPECT_EQ(volume.slotGiven(1), 2);
  EXPECT_EQ(volume.slotGiven(1), 4);
  EXPECT_TRUE(volume.hasFree(300 - 20 - 4 * 8));
}

TEST(TakenSlotWithoutATable, IsMarkedByNobody) {
  VolumeLayout layout = smallLayout();
  layout.fatStartBlock = 4; // where the root is: no block is left for marks
  layout.rootDirBlock = 4;
  layout.dataAreaBlock = 16;
  layout.marksBlocks = false;
  GuardedVolume volume{ImageBuilder(layout)};
  EXPECT_EQ(volume.slotGiven(9), 1);
  EXPECT_EQ(volume.slotGiven(1), 3);
  putData(volume.expected, 16, patternBytes(9 * 512, 77));
  putData(volume.expected, 32, patternBytes(512, 77));
  volume.expected.pokeEntry({4, 0}, newFileEntry("new", 1, 0, 9 * 512));
  volume.expected.pokeEntry({4, 1}, newFileEntry("new", 3, 1, 512));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.hasFree(kAllFree - 3 * 8));
  ASSERT_TRUE(volume->deleteFile(volume.root()->files()[0], volume.root()));
  clearFileEntry(volume.expected, {4, 0});
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.hasFree(kAllFree - 8));
}

TEST(TakenSlotBehindAShortTable, IsTakenByItsFileAlone) {
  VolumeLayout layout = smallLayout();
  layout.rootDirBlock = 3; // marks for 256 blocks: slots 1 to 30
  layout.dataAreaBlock = 16;
  ImageBuilder image(layout);
  image.root().addFile("file", bytesOf("x"), inSlot(30));
  GuardedVolume volume(std::move(image));
  EXPECT_EQ(volume.slotGiven(8), 31);
  putData(volume.expected, 256, patternBytes(8 * 512, 77));
  volume.expected.pokeEntry({3, 1}, newFileEntry("new", 31, 1, 8 * 512));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.slotGiven(8), 32);
  EXPECT_TRUE(volume.hasFree(kAllFree - 3 * 8));
}

// --- A last slot that is cut off -------------------------------------------------------------------

// 62 whole slots and one of three blocks.
VolumeLayout cutLayout() {
  return {.sizeBytes = 516 * kBlockBytes,
          .fatStartBlock = 2,
          .rootDirBlock = 5,
          .dataAreaBlock = 17,
          .slotSizeBlocks = 8};
}

ImageBuilder cutVolume(std::uint16_t highest) {
  ImageBuilder image(cutLayout());
  image.root().addFile("file", bytesOf("x"), inSlot(highest));
  return image;
}

TEST(CutOffSlot, IsGivenToWhatFits) {
  EXPECT_EQ(GuardedVolume(cutVolume(62)).slotGiven(3), 63);
  EXPECT_EQ(GuardedVolume(cutVolume(62)).slotGiven(4), 1);
  EXPECT_EQ(GuardedVolume(cutVolume(60)).slotGiven(19), 61) << "two whole ones and the cut-off one";
  EXPECT_EQ(GuardedVolume(cutVolume(60)).slotGiven(20), 1);
}

TEST(CutOffSlot, CountsWhatItHas) {
  const GuardedVolume volume(cutVolume(1));
  EXPECT_TRUE(volume.hasFree(61 * 8 + 3));
  const GuardedVolume other(cutVolume(62));
  ASSERT_EQ(other.slotGiven(1), 63);
  EXPECT_TRUE(other.hasFree(61 * 8));
}

TEST(CutOffSlot, IsMarkedAndClearedAsFarAsItGoes) {
  GuardedVolume volume(cutVolume(61));
  ASSERT_EQ(volume.slotGiven(11), 62);
  putNewFile(volume.expected, {5, 1}, "new", 62, 1, patternBytes(11 * 512, 77));
  EXPECT_TRUE(volume.imageIsAsExpected());
  ASSERT_TRUE(volume->deleteFile(volume.file("new"), volume.root()));
  clearFileEntry(volume.expected, {5, 1});
  putMarks(volume.expected, 505, 11, 0);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.isAsReadAnew());
}

// --- No room ---------------------------------------------------------------------------------------

TEST(NoRoom, InARowIsNoSlot) {
  const GuardedVolume volume(volumeWithFreeSlots({3, 5, 6, 61}));
  EXPECT_TRUE(volume.hasFree(4 * 8));
  volume.expectRefused(kNoSlotError, [&](EMU3Error *error) {
    return volume.import("new", patternBytes(17 * 512, 1), volume.root(), error);
  });
  EXPECT_EQ(volume.slotGiven(16), 5);
}

TEST(NoRoom, AtAllIsNoSpace) {
  const GuardedVolume volume(volumeWithFreeSlots({}));
  EXPECT_TRUE(volume.hasFree(0));
  for (const Bytes &contents : {Bytes{}, bytesOf("x")}) {
    volume.expectRefused(kNoSpaceError, [&](EMU3Error *error) {
      return volume.import("new", contents, volume.root(), error);
    });
  }
}

TEST(NoRoom, ForMoreThanIsFreeIsNoSpace) {
  const GuardedVolume volume(volumeWithFreeSlots({7, 8}));
  volume.expectRefused(kNoSpaceError, [&](EMU3Error *error) {
    return volume.import("new", patternBytes(16 * 512 + 1, 1), volume.root(), error);
  });
  EXPECT_EQ(volume.slotGiven(16), 7) << "exactly what is free";
  EXPECT_TRUE(volume.hasFree(0));
}

TEST(NoRoom, IsFoundThoughTheTableBehindItsEndLooksFull) {
  VolumeLayout layout = smallLayout();
  ImageBuilder image(layout);
  for (std::uint64_t block = 16; block < 512; ++block)
    image.pokeBlock(block, 0, Bytes(kBlockBytes, 0xA5)); // what was there before is no mark
  const GuardedVolume volume(std::move(image));
  EXPECT_TRUE(volume.hasFree(kAllFree));
  EXPECT_EQ(volume.slotGiven(496), 1);
  EXPECT_TRUE(volume.hasFree(0));
}

// --- Refusals of a new file, in their order ----------------------------------------------------------

constexpr std::uint64_t kLargest = 65535 * kBlockBytes;

VolumeLayout largeLayout() {
  return {.sizeBytes = 90 * kMiB, .slotSizeBlocks = 4096, .directoryBlocks = 12};
}

std::string sparseFile(const GuardedVolume &volume, std::string_view name, std::uint64_t size) {
  const std::string path = volume.hostFile(name, patternBytes(2000, 1));
  std::filesystem::resize_file(path, size);
  return path;
}

TEST(LargestFile, IsTakenWhole) {
  GuardedVolume volume{ImageBuilder(largeLayout())};
  ASSERT_TRUE(volume->importFileAtURL(sparseFile(volume, "large", kLargest), volume.root()));
  Bytes contents = patternBytes(2000, 1);
  contents.resize(kLargest);
  putNewFile(volume.expected, {volume->rootDirBlock(), 0}, "large", 1, 0, contents);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.isAsReadAnew());
  EXPECT_EQ(volume.file("large")->fileSize(), kLargest);
}

TEST(LargestFile, OneByteMoreIsRefused) {
  const GuardedVolume volume{ImageBuilder(largeLayout())};
  for (const std::uint64_t size : {kLargest + 1, 32 * kMiB, 40 * kMiB, 1024 * kMiB}) {
    const std::string path = sparseFile(volume, "large", size);
    volume.expectRefused(kTooLargeError, [&](EMU3Error *error) {
      return volume->importFileAtURL(path, volume.root(), error);
    });
    volume.expectRefused(kTooLargeError, [&](EMU3Error *error) {
      return volume->restoreFileAtURL(path, newFileEntry("a", 1, 0, 1), volume.root(), error) != nullptr;
    });
  }
}

// Every reason at once; each test takes away those before its own.
class OrderOfRefusals : public testing::Test {
protected:
  // Besides these slots all are taken, and the root is full.
  static ImageBuilder fullRoot(std::initializer_list<std::uint16_t> freeSlots) {
    ImageBuilder builder = volumeWithFreeSlots(freeSlots);
    for (std::size_t number = 0; number < 15; ++number)
      builder.root().addFile("full " + std::to_string(number), bytesOf("x"), inSlot(1));
    return builder;
  }

  static std::string reasonOf(const GuardedVolume &volume, const std::string &path,
                              const EMU3DirectoryPtr &folder) {
    EMU3Error error;
    EXPECT_FALSE(volume->importFileAtURL(path, folder, &error));
    return error.domain == kHostErrorDomain ? "host" : error.description();
  }
};

TEST_F(OrderOfRefusals, HostFileStaleFolderNameSizeSpacePlaceSlot) {
  const GuardedVolume volume(fullRoot({}));
  const EMU3DirectoryPtr stale = volume.root();
  ASSERT_TRUE(volume->reload());
  const std::string blankAndLarge = sparseFile(volume, "   ", 40 * kMiB);
  EXPECT_EQ(reasonOf(volume, volume.folder().path("absent"), stale), "host");
  EXPECT_EQ(reasonOf(volume, blankAndLarge, stale), kNoEntryError);
  EXPECT_EQ(reasonOf(volume, blankAndLarge, volume.root()), kNameError);
  EXPECT_EQ(reasonOf(volume, sparseFile(volume, "large", 40 * kMiB), volume.root()), kTooLargeError);
  EXPECT_EQ(reasonOf(volume, volume.hostFile("small", bytesOf("x")), volume.root()), kNoSpaceError);
  const GuardedVolume withSpace(fullRoot({3, 5}));
  const std::string twoSlots = withSpace.hostFile("two", patternBytes(9 * 512, 1));
  EXPECT_EQ(reasonOf(withSpace, twoSlots, withSpace.root()), kFolderFullError);
  EXPECT_EQ(reasonOf(withSpace, twoSlots, withSpace.folderAt("folder")), kNoSlotError);
}

TEST_F(OrderOfRefusals, OfACopyStaleObjectsIncompleteContentsSpacePlaceSlot) {
  ImageBuilder image = fullRoot({3, 5});
  // In the last slot, and longer than the image.
  image.pokeEntry({5, 0}, rawFileEntry("cut off", 0x81, 0, 62, 1, 9, 512));
  const GuardedVolume volume(std::move(image));
  const EMU3DirectoryPtr staleFolder = volume.folderAt("folder");
  const EMU3FilePtr staleFile = fileNamed(staleFolder, "cut off");
  ASSERT_TRUE(volume->reload());
  const EMU3DirectoryPtr folder = volume.folderAt("folder");
  const EMU3FilePtr cutOff = fileNamed(folder, "cut off");
  const auto reason = [&](const EMU3FilePtr &file, const EMU3DirectoryPtr &to) {
    EMU3Error error;
    EXPECT_FALSE(volume->copyFile(file, to, &error));
    return error.description();
  };
  EXPECT_EQ(reason(staleFile, volume.root()), kNoEntryError);
  EXPECT_EQ(reason(cutOff, staleFolder), kNoEntryError);
  EXPECT_EQ(reason(cutOff, volume.root()), kIncompleteError);
  EXPECT_EQ(reason(fileNamed(folder, "in 7"), volume.root()), kFolderFullError);
}

// --- What a deletion gives back ----------------------------------------------------------------------

class GivenBack : public testing::Test {
protected:
  // Every block of the data area is marked, as by somebody who marks whole slots.
  ImageBuilder image{smallLayout()};

  void SetUp() override { putMarks(image, 16, kAllFree, 0x8000); }

  // The file at the root's first entry is deleted, and these slots' marks with it.
  void expectCleared(std::initializer_list<std::uint64_t> slots) {
    GuardedVolume volume(std::move(image));
    ASSERT_TRUE(volume->deleteFile(volume.root()->files()[0], volume.root()));
    clearFileEntry(volume.expected, {4, 0});
    for (const std::uint64_t slot : slots)
      putMarks(volume.expected, slotBlock(slot), 8, 0);
    EXPECT_TRUE(volume.imageIsAsExpected());
    EXPECT_TRUE(volume.isAsReadAnew());
    EXPECT_TRUE(volume.hasFree(8 * slots.size()));
  }
};

TEST_F(GivenBack, AreTheWholeSlotsOfItsBlocks) {
  image.root().addFile("file", bytesOf("x"), inSlot(3, 1, 3));
  expectCleared({3});
}

TEST_F(GivenBack, AreAllSlotsThatItsBlocksLieIn) {
  image.root().addFile("file", bytesOf("x"), inSlot(3, 1, 17));
  expectCleared({3, 4, 5});
}

TEST_F(GivenBack, IsOneSlotAtLeast) {
  image.root().addFile("file", bytesOf("x"), inSlot(3, 1, 0));
  expectCleared({3});
}

TEST_F(GivenBack, AreNotTheSlotsThatOnlyItsClusterCountClaims) {
  image.root().addFile("file", bytesOf("x"), inSlot(3, 4, 2));
  expectCleared({3});
}

TEST_F(GivenBack, OfSlotZeroIsTheFirst) {
  image.root().addFile("file", bytesOf("x"), inSlot(0, 1, 2));
  expectCleared({1});
}

TEST_F(GivenBack, IsNoSlotThatAnotherLiveFileReaches) {
  image.root().addFile("file", bytesOf("x"), inSlot(3, 1, 33));
  image.root().addFile("other", bytesOf("x"), inSlot(4, 1, 1));
  image.root().addFolder("folder", {.blockList = {5}}).addFile("deep", bytesOf("x"), inSlot(5, 2, 0));
  expectCleared({3, 7});
}

TEST_F(GivenBack, IsASlotThatOnlyADeletedFileReaches) {
  image.root().addFile("file", bytesOf("x"), inSlot(3, 1, 9));
  image.root().addFile("gone", bytesOf("x"), inSlot(4, 1, 1, 0));
  expectCleared({3, 4});
}

TEST_F(GivenBack, BehindTheLastSlotIsNothing) {
  image.root().addFile("file", bytesOf("x"), inSlot(61, 1, 65535));
  expectCleared({61, 62});
}

TEST_F(GivenBack, OfASlotBehindTheImageIsNothing) {
  image.root().addFile("file", bytesOf("x"), inSlot(63, 1, 9));
  expectCleared({});
}

TEST(GivenBackInTurn, SlotOfTwoFilesIsClearedWithTheLastOfThem) {
  ImageBuilder image(smallLayout());
  image.root().addFile("first", patternBytes(600, 1), {.slot = std::uint16_t{3}});
  image.root().addFile("second", patternBytes(600, 2), {.slot = std::uint16_t{3}});
  GuardedVolume volume(std::move(image));
  ASSERT_TRUE(volume->deleteFile(volume.file("first"), volume.root()));
  clearFileEntry(volume.expected, {4, 0});
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.hasFree(kAllFree - 8));
  ASSERT_TRUE(volume->deleteFile(volume.file("second"), volume.root()));
  clearFileEntry(volume.expected, {4, 1});
  putMarks(volume.expected, 32, 2, 0);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.hasFree(kAllFree));
}

TEST(GivenBackInTurn, FilesOfADeletedFolderThatShareASlotGiveItBack) {
  ImageBuilder image(smallLayout());
  auto folder = image.root().addFolder("folder", {.blockList = {5}});
  folder.addFile("first", patternBytes(600, 1), {.slot = std::uint16_t{3}});
  folder.addFile("second", patternBytes(600, 2), {.slot = std::uint16_t{3}});
  folder.addFile("gone", patternBytes(600, 2), {.type = 0, .slot = std::uint16_t{9}});
  GuardedVolume volume(std::move(image));
  ASSERT_TRUE(volume->deleteDirectory(volume.folderAt("folder"), volume.root()));
  volume.expected.pokeEntry({4, 0}, {});
  clearBlock(volume.expected, 5);
  putMarks(volume.expected, 32, 2, 0); // those of the file deleted before stay
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.hasFree(kAllFree - 8));
}

// --- The figures -----------------------------------------------------------------------------------

TEST(GuardedFigures, AreTheBlocksOfTheSlotsThatAreNotTaken) {
  ImageBuilder image(smallLayout());
  EXPECT_TRUE(GuardedVolume(ImageBuilder(smallLayout())).hasFree(kAllFree));
  image.root().addFile("file", patternBytes(17 * 512, 1));        // slots 1 to 3
  image.root().addFile("gone", bytesOf("x"), inSlot(4, 3, 1, 0)); // marks nothing here
  image.root().addFolder("folder", {.blockList = {5, 16 + 9 * 8}});
  image.setFatEntry(500, 0x1234); // somebody's
  const GuardedVolume volume(std::move(image));
  EXPECT_TRUE(volume.hasFree(kAllFree - 5 * 8));
}

TEST(GuardedFigures, ClustersStayWhatTheScanGives) {
  const GuardedVolume volume{ImageBuilder(smallLayout())};
  EXPECT_EQ(volume->totalClusters(), 510 * 256U);
  EXPECT_EQ(volume.openedAnew()->totalClusters(), 510 * 256U);
}

TEST(GuardedFigures, FollowEveryChange) {
  const GuardedVolume volume{ImageBuilder(smallLayout())};
  ASSERT_TRUE(volume.import("first", patternBytes(600, 1)));
  EXPECT_TRUE(volume.hasFree(kAllFree - 8));
  ASSERT_TRUE(volume->createDirectoryNamed("folder", volume.root()));
  EXPECT_TRUE(volume.hasFree(kAllFree - 8));
  ASSERT_TRUE(volume->copyFile(volume.file("first"), volume.folderAt("folder")));
  EXPECT_TRUE(volume.hasFree(kAllFree - 16));
  ASSERT_TRUE(volume->moveFile(volume.file("first"), volume.root(), volume.folderAt("folder")));
  EXPECT_TRUE(volume.hasFree(kAllFree - 16));
  ASSERT_TRUE(volume->deleteDirectory(volume.folderAt("folder"), volume.root()));
  EXPECT_TRUE(volume.hasFree(kAllFree));
}

TEST(GuardedFigures, OfAnImageThatEndsBeforeTheDataArea) {
  for (const std::uint64_t blocks : {5U, 16U}) {
    ImageBuilder image(smallLayout());
    image.resize(blocks * kBlockBytes);
    EXPECT_TRUE(GuardedVolume(std::move(image)).hasFree(0)) << blocks;
  }
  ImageBuilder image(smallLayout());
  image.resize(17 * kBlockBytes + 511);
  EXPECT_TRUE(GuardedVolume(std::move(image)).hasFree(1));
}

TEST(GuardedFigures, StopAtSlot65535) {
  const GuardedVolume volume(ImageBuilder({.sizeBytes = 70000 * 2 * kBlockBytes,
                                           .rootDirBlock = 600,
                                           .dataAreaBlock = 700,
                                           .slotSizeBlocks = 2}));
  EXPECT_TRUE(volume.hasFree(65535 * 2));
}

} // namespace
} // namespace tessary::test
