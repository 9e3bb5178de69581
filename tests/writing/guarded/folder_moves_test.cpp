// A folder is moved by its entry alone.

#include "tests/writing/guarded/GuardedVolume.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tessary::test {
namespace {

using Names = std::vector<std::string>;

// "outer" in block 5 holds "inner" in 6, which holds "innermost" in 7 and a file; "target" is in block 8.
ImageBuilder volumeWithFolders() {
  ImageBuilder image(smallLayout());
  auto outer = image.root().addFolder("outer", {.blockList = {5}});
  outer.addFile("beside", patternBytes(600, 1));
  auto inner = outer.addFolder("inner", {.blockList = {6}});
  inner.addFolder("innermost", {.blockList = {7}});
  inner.addFile("deep", patternBytes(600, 2));
  image.root().addFolder("target", {.blockList = {8}});
  return image;
}

class FolderMove : public testing::Test {
protected:
  GuardedVolume volume{volumeWithFolders()};
  EMU3DirectoryPtr outer = volume.folderAt("outer");
  EMU3DirectoryPtr inner = folderNamed(outer, "inner");
  EMU3DirectoryPtr innermost = folderNamed(inner, "innermost");
  EMU3DirectoryPtr target = volume.folderAt("target");
};

TEST_F(FolderMove, WritesTheEntryElsewhereAndZeroesTheOldOne) {
  const Counters before = countersOf(*volume);
  EMU3Error error;
  ASSERT_TRUE(volume->moveDirectory(inner, target, &error));
  EXPECT_FALSE(error.isSet());
  volume.expected.pokeEntry({8, 0}, volume.expected.entryAt({5, 1}));
  volume.expected.pokeEntry({5, 1}, {});
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), before);
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST_F(FolderMove, TakesWhatIsInItAlong) {
  const EMU3FilePtr deep = fileNamed(inner, "deep");
  ASSERT_TRUE(volume->moveDirectory(inner, target));
  const EMU3DirectoryPtr moved = folderNamed(target, "inner");
  EXPECT_NE(moved, inner) << "a new object";
  EXPECT_EQ(moved->parent(), target);
  EXPECT_EQ(moved->files(), std::vector<EMU3FilePtr>{deep});
  EXPECT_EQ(deep->folder(), moved);
  EXPECT_EQ(moved->subdirectories(), std::vector<EMU3DirectoryPtr>{innermost});
  EXPECT_EQ(innermost->parent(), moved);
  EXPECT_TRUE(outer->subdirectories().empty());
  EXPECT_EQ(namesOf(outer->files()), Names{"beside"});
}

TEST_F(FolderMove, KeepsEveryByteOfTheEntry) {
  const std::int16_t blocks[] = {9, 0, 10, -4, 11};
  RawEntry entry = rawFolderEntry("\xFFsixteen bytes..", 0x80, blocks);
  entry[16] = 0xEE;
  ImageBuilder image = volumeWithFolders();
  const EntryPlace place = image.root().addRaw(entry);
  GuardedVolume other(std::move(image));
  const EMU3DirectoryPtr folder = other.folderAt("%FFsixteen bytes..");
  ASSERT_TRUE(other->moveDirectory(folder, other.folderAt("target")));
  other.expected.pokeEntry({8, 0}, entry);
  other.expected.pokeEntry(place, {});
  EXPECT_TRUE(other.imageIsAsExpected());
  EXPECT_EQ(other.folderAt("target")->subdirectories().at(0)->entryId(), 0x80);
  EXPECT_TRUE(other.isAsReadAnew());
}

TEST_F(FolderMove, ToTheRootAndBackAgain) {
  ASSERT_TRUE(volume->moveDirectory(inner, volume.root()));
  EXPECT_EQ(namesOf(volume.root()->subdirectories()), (Names{"outer", "target", "inner"}));
  volume.expected.pokeEntry({4, 2}, volume.expected.entryAt({5, 1}));
  volume.expected.pokeEntry({5, 1}, {});
  EXPECT_TRUE(volume.imageIsAsExpected());
  ASSERT_TRUE(volume->moveDirectory(volume.folderAt("inner"), outer));
  volume.expected.pokeEntry({5, 1}, volume.expected.entryAt({4, 2}));
  volume.expected.pokeEntry({4, 2}, {});
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST_F(FolderMove, IntoTheFolderThatItIsInChangesNothing) {
  EXPECT_TRUE(volume->moveDirectory(inner, outer));
  EXPECT_TRUE(volume->moveDirectory(outer, volume.root()));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(outer->subdirectories(), std::vector<EMU3DirectoryPtr>{inner}) << "the same object";
}

TEST_F(FolderMove, IntoItselfOrBelowItselfIsRefused) {
  for (const EMU3DirectoryPtr &to : {outer, inner, innermost}) {
    volume.expectRefused(kIntoItselfError,
                         [&](EMU3Error *error) { return volume->moveDirectory(outer, to, error); });
  }
  volume.expectRefused(kIntoItselfError,
                       [&](EMU3Error *error) { return volume->moveDirectory(innermost, innermost, error); });
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST_F(FolderMove, UpwardsIsNotIntoItself) {
  ASSERT_TRUE(volume->moveDirectory(innermost, outer));
  ASSERT_TRUE(volume->moveDirectory(inner, folderNamed(outer, "innermost")));
  EXPECT_TRUE(volume.isAsReadAnew());
}

// The root is full and cannot grow.
TEST(FolderMoveIntoAFullFolder, IsRefused) {
  ImageBuilder image = volumeWithFolders();
  for (std::size_t number = 2; number < 16; ++number)
    image.root().addFile("full", bytesOf("x"), {.slot = std::uint16_t{1}, .storesContents = false});
  const GuardedVolume volume(std::move(image));
  const EMU3DirectoryPtr outer = volume.folderAt("outer");
  volume.expectRefused(kFolderFullError, [&](EMU3Error *error) {
    return volume->moveDirectory(folderNamed(outer, "inner"), volume.root(), error);
  });
  EXPECT_TRUE(volume->moveDirectory(outer, volume.root())) << "it is there already";
  volume.expectRefused(kIntoItselfError,
                       [&](EMU3Error *error) { return volume->moveDirectory(outer, outer, error); });
}

TEST(FolderMoveIntoAFullFolder, ThatIsItselfIsRefusedForThat) {
  ImageBuilder image(smallLayout());
  auto full = image.root().addFolder("full", {.blockList = {5, 6, 7, 8, 9, 10, 11}});
  fillAllBlocks(full);
  const GuardedVolume volume(std::move(image));
  const EMU3DirectoryPtr folder = volume.folderAt("full");
  volume.expectRefused(kIntoItselfError,
                       [&](EMU3Error *error) { return volume->moveDirectory(folder, folder, error); });
}

TEST(FolderMoveOnAFullVolume, NeedsNoRoom) {
  ImageBuilder image = volumeWithFolders();
  putMarks(image, 16, 496, 0x8000);
  for (std::uint64_t block = 9; block < 16; ++block)
    image.pokeBlock(block, 0, bytesOf("lost"));
  const GuardedVolume volume(std::move(image));
  ASSERT_TRUE(volume.hasFree(0));
  EXPECT_TRUE(volume->moveDirectory(volume.folderAt("outer"), volume.folderAt("target")));
  EXPECT_TRUE(volume.isAsReadAnew());
}

// What was learnt about the tree goes along: its files' slots and its folders' blocks stay taken.
TEST_F(FolderMove, LeavesItsFilesSlotsAndItsFoldersBlocksTaken) {
  ASSERT_TRUE(volume->moveDirectory(outer, target));
  ASSERT_TRUE(volume->createDirectoryNamed("new", volume.root()));
  EXPECT_EQ(volume.folderAt("new")->blockList(), std::vector<std::int64_t>{9});
  EXPECT_EQ(volume.slotGiven(1), 3);
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST_F(FolderMove, OldEntryIsFree) {
  ASSERT_TRUE(volume->moveDirectory(outer, target));
  ASSERT_TRUE(volume.import("new", bytesOf("x")));
  EXPECT_EQ(placeOf(*volume.file("new")), (EntryPlace{4, 0}));
  ASSERT_TRUE(volume.import("beside it", bytesOf("x"), target));
  EXPECT_EQ(placeOf(*fileNamed(target, "beside it")), (EntryPlace{8, 1})) << "the new one is not";
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST_F(FolderMove, MovedFolderGrowsAndIsRenamedAndDeletedWhereItIs) {
  ASSERT_TRUE(volume->moveDirectory(inner, target));
  const EMU3DirectoryPtr moved = folderNamed(target, "inner");
  for (int number = 0; number < 15; ++number)
    ASSERT_TRUE(volume.import("file", bytesOf("x"), moved));
  EXPECT_EQ(moved->blockList(), (std::vector<std::int64_t>{6, 9}));
  ASSERT_TRUE(volume->renameDirectory(moved, "renamed"));
  EXPECT_TRUE(volume.isAsReadAnew());
  ASSERT_TRUE(volume->deleteDirectory(moved, target));
  EXPECT_TRUE(volume.isAsReadAnew());
  EXPECT_TRUE(target->subdirectories().empty());
}

} // namespace
} // namespace tessary::test
