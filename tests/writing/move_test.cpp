#include "tests/writing/WritableVolume.h"

#include <gtest/gtest.h>

namespace tessary::test {
namespace {

class Move : public testing::TestWithParam<MountRules> {};
INSTANTIATE_TEST_SUITE_P(Volume, Move, testing::Values(MountRules::bare, MountRules::guarded), rulesName);

ImageBuilder volumeWithFileAndFolder() {
  ImageBuilder image(smallLayout());
  image.root().addFile("file", patternBytes(1300, 1), {.entryId = std::uint8_t{9}});
  image.root().addFolder("folder", {.blockList = {5}});
  return image;
}

TEST(BareMove, IsACopyToANewSlotThenADeletion) {
  WritableVolume volume(volumeWithFileAndFolder(), MountRules::bare);
  const Counters before = countersOf(*volume);
  const EMU3DirectoryPtr folder = folderNamed(volume.root(), "folder");
  const EMU3FilePtr file = volume.root()->files()[0];
  EMU3Error error;
  ASSERT_TRUE(volume->moveFile(file, volume.root(), folder, &error));
  EXPECT_FALSE(error.isSet());
  putNewFile(volume.expected, {5, 0}, "file", 2, 0, patternBytes(1300, 1));
  clearFileEntry(volume.expected, {4, 0});
  putMarks(volume.expected, 16, 3, 0);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), before);
  EXPECT_TRUE(volume.root()->files().empty());
  ASSERT_EQ(folder->files().size(), 1U);
  EXPECT_NE(folder->files()[0], file) << "a new object";
  EXPECT_EQ(folder->files()[0]->startCluster(), 2);
  EXPECT_EQ(folder->files()[0]->entryId(), 0);
}

TEST_P(Move, WithinItsFolderSucceedsAndChangesNothing) {
  const WritableVolume volume(volumeWithFileAndFolder(), GetParam());
  const Counters before = countersOf(*volume);
  const EMU3FilePtr file = volume.root()->files()[0];
  EXPECT_TRUE(volume->moveFile(file, volume.root(), volume.root()));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), before);
  EXPECT_EQ(volume.root()->files(), std::vector<EMU3FilePtr>{file});
}

TEST_P(Move, WithinItsFolderSucceedsOnAFullVolumeToo) {
  ImageBuilder image = volumeWithFreeBlocks(0);
  fillFolder(image.root());
  const WritableVolume volume(std::move(image), GetParam());
  EXPECT_TRUE(volume->moveFile(volume.root()->files()[0], volume.root(), volume.root()));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(BareMove, NeedsTheSpaceOfASecondCopy) {
  ImageBuilder image = volumeWithFreeBlocks(2);
  image.root().addFile("file", patternBytes(1300, 1), {.slot = std::uint16_t{1}, .storesContents = false});
  image.root().addFolder("folder", {.blockList = {5}});
  const WritableVolume volume(std::move(image), MountRules::bare);
  const EMU3DirectoryPtr folder = folderNamed(volume.root(), "folder");
  EMU3Error error;
  EXPECT_FALSE(volume->moveFile(volume.root()->files()[0], volume.root(), folder, &error));
  EXPECT_EQ(error.description(), kNoSpaceError);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.root()->files().size(), 1U);
  EXPECT_TRUE(folder->files().empty());
}

TEST(BareMove, IntoAFullFolderLeavesTheSource) {
  ImageBuilder image = volumeWithFileAndFolder();
  fillFolder(image.root().addFolder("full", {.blockList = {6}}));
  const WritableVolume volume(std::move(image), MountRules::bare);
  EMU3Error error;
  const EMU3DirectoryPtr full = folderNamed(volume.root(), "full");
  EXPECT_FALSE(volume->moveFile(volume.root()->files()[0], volume.root(), full, &error));
  EXPECT_EQ(error.description(), kFolderFullError);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_FALSE(volume->moveFile(volume.root()->files()[0], volume.root(), full));
  EXPECT_EQ(volume.root()->files().size(), 1U);
}

TEST(BareMove, NeedsAFreeSlotThoughItFreesOne) {
  ImageBuilder image(smallLayout());
  image.root().addFile("file", patternBytes(10, 1), {.slot = std::uint16_t{62}});
  image.root().addFolder("folder", {.blockList = {5}});
  const WritableVolume volume(std::move(image), MountRules::bare);
  EMU3Error error;
  EXPECT_FALSE(volume->moveFile(volume.root()->files()[0], volume.root(),
                                folderNamed(volume.root(), "folder"), &error));
  EXPECT_EQ(error.description(), kNoSlotError);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(BareMove, WhoseDeletionFailsLeavesTheFileInBothFolders) {
  WritableVolume volume(volumeWithFileAndFolder(), MountRules::bare);
  const EMU3FilePtr file = withDentryBlock(volume.root()->files()[0], 512); // outside the image
  const EMU3DirectoryPtr folder = folderNamed(volume.root(), "folder");
  EMU3Error error;
  EXPECT_FALSE(volume->moveFile(file, volume.root(), folder, &error));
  EXPECT_EQ(error.description(), kNoEntryError);
  putNewFile(volume.expected, {5, 0}, "file", 2, 0, patternBytes(1300, 1));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.root()->files().size(), 1U);
  EXPECT_EQ(folder->files().size(), 1U);
}

TEST(BareMove, ToTheSameFolderSucceedsAlsoForAFileThatIsElsewhere) {
  ImageBuilder image = volumeWithFileAndFolder();
  const WritableVolume volume(std::move(image));
  const EMU3DirectoryPtr folder = folderNamed(volume.root(), "folder");
  EXPECT_TRUE(volume->moveFile(volume.root()->files()[0], folder, folder));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

} // namespace
} // namespace tessary::test
