// A full folder gets another block for its entries.

#include "tests/writing/guarded/GuardedVolume.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace tessary::test {
namespace {

using Blocks = std::vector<std::int64_t>;

// The folder "full" with 16 files, in block 5; the next free one is 6.
ImageBuilder volumeWithFullFolder() {
  ImageBuilder image(smallLayout());
  fillAllBlocks(image.root().addFolder("full", {.blockList = {5}}));
  auto other = image.root().addFolder("other", {.blockList = {15}});
  other.addFile("file", patternBytes(600, 1), {.slot = std::uint16_t{2}});
  other.addFolder("below", {.blockList = {14}});
  return image;
}

// Stores the block's number at the n-th of the seven positions of a folder's entry.
void putBlockNumber(ImageBuilder &image, EntryPlace place, std::size_t position, std::uint16_t block) {
  image.poke16(place.block * kBlockBytes + place.index * 32 + 18 + 2 * position, block);
}

// --- What grows ------------------------------------------------------------------------------------

TEST(Growth, ClearsABlockNamesItAndPutsTheEntryFirst) {
  ImageBuilder image = volumeWithFullFolder();
  for (std::uint64_t block = 6; block < 14; ++block)
    image.pokeBlock(block, 1, Bytes(31, 0xA5)); // no entry, but not all zero
  GuardedVolume volume(std::move(image));
  const EMU3DirectoryPtr full = volume.folderAt("full");
  ASSERT_TRUE(volume.import("new", patternBytes(600, 9), full));
  clearBlock(volume.expected, 6);
  putBlockNumber(volume.expected, {4, 0}, 1, 6);
  putNewFile(volume.expected, {6, 0}, "new", 3, 16, patternBytes(600, 9));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(full->blockList(), (Blocks{5, 6}));
  EXPECT_EQ(volume.folderAt("full"), full) << "the same object";
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST(Growth, IsNotNeededWhereALaterBlockHasRoom) {
  ImageBuilder image = volumeWithFullFolder();
  putBlockNumber(image, {4, 0}, 1, 6);
  GuardedVolume volume(std::move(image));
  const EMU3DirectoryPtr full = volume.folderAt("full");
  ASSERT_TRUE(volume.import("new", patternBytes(600, 9), full));
  putNewFile(volume.expected, {6, 0}, "new", 3, 16, patternBytes(600, 9));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(full->blockList(), (Blocks{5, 6}));
}

TEST(Growth, TakesTheFirstPlaceOfADeletedFileAmongLiveOnes) {
  ImageBuilder image = volumeWithFullFolder();
  image.poke(5 * kBlockBytes + 9 * 32 + 26, Bytes{0}); // the type byte
  GuardedVolume volume(std::move(image));
  ASSERT_TRUE(volume.import("new", patternBytes(600, 9), volume.folderAt("full")));
  EXPECT_EQ(volume.folderAt("full")->files().back()->place(), (tessary::EntryPlace{5, 9}));
  EXPECT_EQ(volume.folderAt("full")->blockList(), (Blocks{5}));
}

TEST(Growth, OfAFullFolderThatNamesItsBlockTwiceGivesItAnother) {
  ImageBuilder image = volumeWithFullFolder();
  putBlockNumber(image, {4, 0}, 1, 5);
  GuardedVolume volume(std::move(image));
  const EMU3DirectoryPtr full = volume.folderAt("full");
  ASSERT_TRUE(volume.import("new", patternBytes(600, 9), full));
  EXPECT_EQ(full->blockList(), (Blocks{5, 5, 6}));
  EXPECT_EQ(full->files().back()->place(), (tessary::EntryPlace{6, 0}));
}

struct Adding {
  std::string what;
  std::function<bool(GuardedVolume &, const EMU3DirectoryPtr &)> add; ///< to this folder
};

void PrintTo(const Adding &adding, std::ostream *out) {
  *out << adding.what;
}

const std::vector<Adding> &addings() {
  static const std::vector<Adding> all = {
      {"Import", [](GuardedVolume &volume,
                    const EMU3DirectoryPtr &to) { return volume.import("new", bytesOf("x"), to); }},
      {"Copy",
       [](GuardedVolume &volume, const EMU3DirectoryPtr &to) {
         return volume->copyFile(fileNamed(volume.folderAt("other"), "file"), to);
       }},
      {"Move",
       [](GuardedVolume &volume, const EMU3DirectoryPtr &to) {
         const EMU3DirectoryPtr other = volume.folderAt("other");
         return volume->moveFile(fileNamed(other, "file"), other, to);
       }},
      {"Restore",
       [](GuardedVolume &volume, const EMU3DirectoryPtr &to) {
         const std::string path = volume.hostFile("backup", bytesOf("x"));
         return volume->restoreFileAtURL(path, newFileEntry("new", 1, 0, 1), to) != nullptr;
       }},
      {"FolderMove",
       [](GuardedVolume &volume, const EMU3DirectoryPtr &to) {
         return volume->moveDirectory(folderNamed(volume.folderAt("other"), "below"), to);
       }},
      {"NewFolder", [](GuardedVolume &volume, const EMU3DirectoryPtr &to) {
         return volume->createDirectoryNamed("new", to);
       }}};
  return all;
}

class GrowthFor : public testing::TestWithParam<Adding> {};
INSTANTIATE_TEST_SUITE_P(Each, GrowthFor, testing::ValuesIn(addings()),
                         [](const auto &adding) { return adding.param.what; });

TEST_P(GrowthFor, WhateverNeedsAPlace) {
  GuardedVolume volume(volumeWithFullFolder());
  const EMU3DirectoryPtr full = volume.folderAt("full");
  ASSERT_TRUE(GetParam().add(volume, full));
  EXPECT_EQ(full->blockList(), (Blocks{5, 6}));
  EXPECT_EQ(full->files().size() + full->subdirectories().size(), 17U);
  putBlockNumber(volume.expected, {4, 0}, 1, 6);
  const Bytes entry = readBytes(volume.imagePath(), 4 * kBlockBytes, 32);
  EXPECT_EQ(entry, volume.expected.peek(4 * kBlockBytes, 32));
  EXPECT_NE(readBytes(volume.imagePath(), 6 * kBlockBytes, 1), Bytes{0});
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST_P(GrowthFor, NoRoot) {
  ImageBuilder image = volumeWithFullFolder();
  for (std::size_t index = 2; index < 16; ++index)
    image.root().addFile("more", bytesOf("x"), {.slot = std::uint16_t{1}, .storesContents = false});
  GuardedVolume volume(std::move(image));
  EXPECT_FALSE(GetParam().add(volume, volume.root()));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST_P(GrowthFor, NothingWithoutAFreeBlock) {
  ImageBuilder image = volumeWithFullFolder();
  for (std::uint64_t block = 6; block < 14; ++block)
    image.pokeBlock(block, 0, bytesOf("lost"));
  GuardedVolume volume(std::move(image));
  const EMU3DirectoryPtr full = volume.folderAt("full");
  EXPECT_FALSE(GetParam().add(volume, full));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(full->blockList(), Blocks{5});
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST(Growth, WithoutAFreeBlockTheFolderIsFull) {
  ImageBuilder image = volumeWithFullFolder();
  for (std::uint64_t block = 6; block < 14; ++block)
    image.pokeBlock(block, 0, bytesOf("lost"));
  const GuardedVolume volume(std::move(image));
  const EMU3DirectoryPtr full = volume.folderAt("full");
  volume.expectRefused(kFolderFullError,
                       [&](EMU3Error *error) { return volume.import("new", bytesOf("x"), full, error); });
  volume.expectRefused(kParentFullError,
                       [&](EMU3Error *error) { return volume->createDirectoryNamed("new", full, error); });
}

TEST(Growth, IsNotWrittenWhereTheFileFindsNoRoom) {
  ImageBuilder image = volumeWithFullFolder();
  for (std::uint16_t slot = 3; slot <= 62; slot += 2)
    image.setFatEntry(16 + 8 * (slot - 1U), 0x8000);
  const GuardedVolume volume(std::move(image));
  const EMU3DirectoryPtr full = volume.folderAt("full");
  volume.expectRefused(kNoSlotError, [&](EMU3Error *error) {
    return volume.import("new", patternBytes(9 * 512, 1), full, error);
  });
  EXPECT_TRUE(volume.imageIsAsExpected());
}

// --- A new folder needs two blocks -------------------------------------------------------------------

TEST(GrowthForANewFolder, TakesTheFirstOfTwoBlocks) {
  ImageBuilder image = volumeWithFullFolder();
  for (std::uint64_t block = 6; block < 14; ++block)
    image.pokeBlock(block, 1, Bytes(31, 0xA5));
  GuardedVolume volume(std::move(image));
  const EMU3DirectoryPtr full = volume.folderAt("full");
  ASSERT_TRUE(volume->createDirectoryNamed("new", full));
  clearBlock(volume.expected, 6);
  clearBlock(volume.expected, 7);
  putBlockNumber(volume.expected, {4, 0}, 1, 6);
  volume.expected.pokeEntry({6, 0}, newFolderEntry("new", 7));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST(GrowthForANewFolder, WithOneBlockAloneFailsAndChangesNothing) {
  ImageBuilder image = volumeWithFullFolder();
  for (std::uint64_t block = 7; block < 14; ++block)
    image.pokeBlock(block, 0, bytesOf("lost"));
  const GuardedVolume volume(std::move(image));
  volume.expectRefused(kNoFolderBlockError, [&](EMU3Error *error) {
    return volume->createDirectoryNamed("new", volume.folderAt("full"), error);
  });
  EXPECT_TRUE(volume.import("new", bytesOf("x"), volume.folderAt("full"))) << "a file needs but one";
}

// --- Which position, which block ---------------------------------------------------------------------

TEST(GrowthPosition, IsTheFirstBelowOne) {
  struct Case {
    std::vector<std::int16_t> before;
    std::size_t position;
    Blocks after;
  };
  for (const Case &one :
       {Case{{5, 6}, 2, {5, 6, 7}}, Case{{5, 0, 6}, 1, {5, 7, 6}}, Case{{0, 5, 6}, 0, {7, 5, 6}},
        Case{{5, -1, 6}, 1, {5, 7, 6}}, Case{{5, -32768, 0, 6}, 1, {5, 7, 6}}}) {
    ImageBuilder image(smallLayout());
    fillAllBlocks(image.root().addFolder("full", {.blockList = one.before}));
    GuardedVolume volume(std::move(image));
    const EMU3DirectoryPtr full = volume.folderAt("full");
    ASSERT_TRUE(volume.import("new", bytesOf("x"), full));
    putBlockNumber(volume.expected, {4, 0}, one.position, 7);
    putNewFile(volume.expected, {7, 0}, "new", 2, static_cast<std::uint8_t>(full->files().size() - 1),
               bytesOf("x"));
    EXPECT_TRUE(volume.imageIsAsExpected());
    EXPECT_EQ(full->blockList(), one.after);
    EXPECT_TRUE(volume.isAsReadAnew());
  }
}

TEST(GrowthPosition, OfAFolderWithoutBlocksIsTheFirst) {
  for (const std::uint8_t id : {std::uint8_t{0x40}, std::uint8_t{0x80}}) {
    ImageBuilder image(smallLayout());
    image.root().addRaw(rawFolderEntry("empty", id, {}));
    GuardedVolume volume(std::move(image));
    ASSERT_TRUE(volume.import("new", bytesOf("x"), volume.folderAt("empty")));
    putBlockNumber(volume.expected, {4, 0}, 0, 5);
    putNewFile(volume.expected, {5, 0}, "new", 1, 0, bytesOf("x"));
    EXPECT_TRUE(volume.imageIsAsExpected());
    EXPECT_TRUE(volume.isAsReadAnew());
  }
}

TEST(GrowthPosition, OfAFolderWhoseBlocksLieOutsideTheImageFollowsThem) {
  ImageBuilder image(smallLayout());
  const std::int16_t outside[] = {30000, 512};
  image.root().addRaw(rawFolderEntry("outside", 0x40, outside));
  GuardedVolume volume(std::move(image));
  ASSERT_TRUE(volume->createDirectoryNamed("new", volume.folderAt("outside")));
  putBlockNumber(volume.expected, {4, 0}, 2, 5);
  volume.expected.pokeEntry({5, 0}, newFolderEntry("new", 6));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.folderAt("outside")->blockList(), (Blocks{30000, 512, 5}));
  EXPECT_TRUE(volume.isAsReadAnew());
}

// The root in block 120, folders' blocks up to 139: some of their numbers make an entry read as a file's.
ImageBuilder volumeWithOddNumbers(std::initializer_list<std::uint64_t> lost) {
  ImageBuilder image({.sizeBytes = 400 * kBlockBytes,
                      .fatStartBlock = 2,
                      .rootDirBlock = 120,
                      .dataAreaBlock = 140,
                      .slotSizeBlocks = 8});
  fillAllBlocks(image.root().addFolder("full", {.blockList = {121, 122, 123, 124}}));
  image.root().addFolder("other", {.blockList = {125, 126, 127, 132, 133, 134, 135}});
  for (const std::uint64_t block : lost)
    image.pokeBlock(block, 0, bytesOf("lost"));
  return image;
}

TEST(GrowthBlock, IsNoneThatMakesTheEntryReadAsAFiles) {
  GuardedVolume volume(volumeWithOddNumbers({}));
  const EMU3DirectoryPtr full = volume.folderAt("full");
  ASSERT_TRUE(volume.import("new", bytesOf("x"), full)); // neither 128 nor 129
  putBlockNumber(volume.expected, {120, 0}, 4, 130);
  putNewFile(volume.expected, {130, 0}, "new", 2, 64, bytesOf("x"));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST(GrowthBlock, ThatWouldMakeTheEntryAFilesLeavesTheFolderFull) {
  const GuardedVolume volume(volumeWithOddNumbers({130, 136, 137, 138, 139})); // 128, 129, 131 are free
  volume.expectRefused(kFolderFullError, [&](EMU3Error *error) {
    return volume.import("new", bytesOf("x"), volume.folderAt("full"), error);
  });
  EXPECT_TRUE(volume->createDirectoryNamed("new", volume.folderAt("other"))) << "those do for a new folder";
  EXPECT_EQ(folderNamed(volume.folderAt("other"), "new")->blockList(), Blocks{128});
}

TEST(GrowthBlock, IsNotTheOneThatCompletesTheMarkOfAFile) {
  // 13381 and 12354 are "E4" and "B0" in the last two positions.
  ImageBuilder image({.sizeBytes = 14000 * kBlockBytes,
                      .fatStartBlock = 2,
                      .rootDirBlock = 12353,
                      .dataAreaBlock = 13400,
                      .slotSizeBlocks = 8});
  fillAllBlocks(image.root().addFolder("full", {.blockList = {12360, 12361, 12362, 12363, 12364, 13381}}));
  GuardedVolume volume(std::move(image));
  const EMU3DirectoryPtr full = volume.folderAt("full");
  ASSERT_TRUE(volume.import("new", bytesOf("x"), full));
  EXPECT_EQ(full->blockList().back(), 12355);
  EXPECT_TRUE(volume.isAsReadAnew());
}

// --- Up to 112 entries -------------------------------------------------------------------------------

TEST(GrowthToTheEnd, FolderTakes112EntriesByImportAlone) {
  VolumeLayout layout = smallLayout();
  layout.slotSizeBlocks = 2; // 248 slots
  GuardedVolume volume{ImageBuilder(layout)};
  ASSERT_TRUE(volume->createDirectoryNamed("folder", volume.root()));
  const EMU3DirectoryPtr folder = volume.folderAt("folder");
  volume.expected.pokeEntry({4, 0}, newFolderEntry("folder", 5));
  for (std::uint16_t number = 0; number < 112; ++number) {
    const Bytes contents = patternBytes(500, number);
    ASSERT_TRUE(volume.import("file", contents, folder)) << number;
    const std::uint64_t block = 5U + number / 16;
    if (number > 0 && number % 16 == 0)
      putBlockNumber(volume.expected, {4, 0}, number / 16U, static_cast<std::uint16_t>(block));
    const auto slot = static_cast<std::uint16_t>(number + 1);
    putNewFile(volume.expected, {block, number % 16U}, "file", slot, static_cast<std::uint8_t>(number),
               contents);
  }
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.isAsReadAnew());
  volume.expectRefused(kFolderFullError,
                       [&](EMU3Error *error) { return volume.import("file", bytesOf("x"), folder, error); });
  volume.expectRefused(kParentFullError,
                       [&](EMU3Error *error) { return volume->createDirectoryNamed("new", folder, error); });
}

TEST(GrowthToTheEnd, DeletedFolderGivesAllItsBlocksBack) {
  GuardedVolume volume(volumeWithFullFolder());
  ASSERT_TRUE(volume.import("new", bytesOf("x"), volume.folderAt("full")));
  ASSERT_TRUE(volume->deleteDirectory(volume.folderAt("full"), volume.root()));
  clearBlock(volume.expected, 5);
  volume.expected.pokeEntry({4, 0}, {});
  volume.expected.poke((16 + 2 * 8) * kBlockBytes, readBytes(volume.imagePath(), 32 * kBlockBytes, 512));
  EXPECT_TRUE(volume.imageIsAsExpected());
  ASSERT_TRUE(volume->createDirectoryNamed("again", volume.root()));
  EXPECT_EQ(volume.folderAt("again")->blockList(), Blocks{5});
}

} // namespace
} // namespace tessary::test
