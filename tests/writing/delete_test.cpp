#include "tests/writing/WritableVolume.h"

#include <gtest/gtest.h>

namespace tessary::test {
namespace {

class Delete : public testing::TestWithParam<MountRules> {};
INSTANTIATE_TEST_SUITE_P(Volume, Delete, testing::Values(MountRules::bare, MountRules::guarded), rulesName);

TEST_P(Delete, ClearsNameAndTypeFreesTheBlocksAndNothingElse) {
  ImageBuilder image(smallLayout());
  image.root().addFile("before", patternBytes(600, 1));
  const FileOptions options{.entryId = std::uint8_t{7}, .e4b0Mark = true, .byte16 = 0xEE, .byte27 = 0xEE};
  const PlacedFile placed = image.root().addFile("victim", patternBytes(1300, 2), options);
  image.root().addFile("after", patternBytes(600, 3));
  WritableVolume volume(std::move(image), GetParam());
  const Counters before = countersOf(*volume);
  EMU3Error error;
  ASSERT_TRUE(volume->deleteFile(fileNamed(volume.root(), "victim"), volume.root(), &error));
  EXPECT_FALSE(error.isSet());
  clearFileEntry(volume.expected, placed.entry);
  putMarks(volume.expected, placed.firstBlock, 3, 0);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume),
            (Counters{before.used - roomOf(GetParam(), 3), before.free + roomOf(GetParam(), 3)}));
  EXPECT_EQ(namesOf(volume.root()->files()), (std::vector<std::string>{"before", "after"}));
}

TEST_P(Delete, FileLeavesTheListOfItsFolderAndTheOthersStayTheObjectsTheyAre) {
  ImageBuilder image(smallLayout());
  auto builder = image.root().addFolder("folder");
  for (const char *name : {"before", "victim", "after"})
    builder.addFile(name, patternBytes(600, 1));
  const WritableVolume volume(std::move(image), GetParam());
  const EMU3DirectoryPtr folder = folderNamed(volume.root(), "folder");
  const std::vector<EMU3FilePtr> files = folder->files();
  ASSERT_TRUE(volume->deleteFile(files[1], folder));
  EXPECT_EQ(folder->files(), (std::vector<EMU3FilePtr>{files[0], files[2]}));
  EXPECT_EQ(folder->totalFileCount(), 2U);
  EXPECT_FALSE(folder->containsFile(files[1]));
  EXPECT_EQ(files[1]->folder(), nullptr);
  EXPECT_EQ(files[0]->folder(), folder);
}

TEST_P(Delete, LeavesSlotAndSizesInTheEntry) {
  ImageBuilder image(smallLayout());
  const FileOptions options{.entryId = std::uint8_t{7}, .slot = std::uint16_t{5}, .e4b0Mark = true};
  const PlacedFile placed = image.root().addFile("victim", patternBytes(1300, 2), options);
  const WritableVolume volume(std::move(image), GetParam());
  ASSERT_TRUE(volume->deleteFile(volume.root()->files()[0], volume.root()));
  RawEntry left = rawFileEntry("", 0, 7, 5, 1, 3, 276);
  std::fill_n(left.begin(), 16, std::uint8_t{0});
  std::copy_n("E4B0", 4, left.begin() + 28);
  const Bytes entry = readBytes(volume.imagePath(), placed.entry.block * 512 + placed.entry.index * 32, 32);
  EXPECT_TRUE(std::equal(entry.begin(), entry.end(), left.begin(), left.end()));
}

TEST(BareDelete, OfAFileOfSeveralClustersFreesItsCountedBlocksAlone) {
  ImageBuilder image(smallLayout());
  const FileOptions options{.clusterCount = std::uint16_t{4}, .blocksInLastCluster = std::uint16_t{2}};
  const PlacedFile placed = image.root().addFile("victim", patternBytes(30 * 512, 2), options);
  WritableVolume volume(std::move(image), MountRules::bare);
  ASSERT_TRUE(volume->deleteFile(volume.root()->files()[0], volume.root()));
  clearFileEntry(volume.expected, placed.entry);
  putMarks(volume.expected, placed.firstBlock, 2, 0);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(BareDelete, OfAnEmptyFileReadFromTheImageFreesNothing) {
  ImageBuilder image(smallLayout());
  const PlacedFile placed = image.root().addFile("victim");
  WritableVolume volume(std::move(image), MountRules::bare);
  const Counters before = countersOf(*volume);
  ASSERT_TRUE(volume->deleteFile(volume.root()->files()[0], volume.root()));
  clearFileEntry(volume.expected, placed.entry);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), before);
}

TEST_P(Delete, OfAnEmptyFileJustWrittenFreesTheBlockItTook) {
  WritableVolume volume(ImageBuilder(smallLayout()), GetParam());
  const Counters before = countersOf(*volume);
  ASSERT_TRUE(volume->importFileAtURL(volume.hostFile("empty", {}), volume.root()));
  ASSERT_TRUE(volume->deleteFile(volume.root()->files()[0], volume.root()));
  volume.expected.pokeEntry({4, 0}, newFileEntry("empty", 1, 0, 0));
  clearFileEntry(volume.expected, {4, 0});
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), before);
}

TEST(BareDelete, OfAFileThatClaimsToReachBeyondTheImageFreesWhatTheTableDescribes) {
  ImageBuilder image(smallLayout());
  const FileOptions options{.blocksInLastCluster = std::uint16_t{1000}, .storesContents = false};
  const PlacedFile placed = image.root().addFile("victim", bytesOf("x"), options);
  putMarks(image, 16, 496, 0x8000);
  WritableVolume volume(std::move(image), MountRules::bare);
  const Counters before = countersOf(*volume);
  ASSERT_TRUE(volume->deleteFile(volume.root()->files()[0], volume.root()));
  clearFileEntry(volume.expected, placed.entry);
  putMarks(volume.expected, 16, 496, 0);
  if (MountRules::bare ==
      MountRules::bare) // the table has 512 entries; the rest lands in the blocks behind it
    volume.expected.poke(4 * kBlockBytes, Bytes((16 + 1000 - 512) * 2));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume->freeBlocks(), before.free + 1000);
  EXPECT_EQ(volume->usedBlocks(), before.used >= 1000 ? before.used - 1000 : before.used);
}

TEST_P(Delete, InAFolderBelowTheRootTouchesThatFolderAlone) {
  ImageBuilder image(smallLayout());
  auto folder = image.root().addFolder("folder", {.blockList = {5, 6}});
  fillFolder(folder, 20);
  WritableVolume volume(std::move(image), GetParam());
  const EMU3DirectoryPtr directory = folderNamed(volume.root(), "folder");
  ASSERT_TRUE(volume->deleteFile(fileNamed(directory, "full 17"), directory));
  clearFileEntry(volume.expected, {6, 1});
  putMarks(volume.expected, 16, 1, 0);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(directory->files().size(), 19U);
}

TEST_P(Delete, EntryOutsideTheImageFailsAndChangesNothing) {
  ImageBuilder image(smallLayout());
  image.root().addFile("victim", patternBytes(100, 1));
  const WritableVolume volume(std::move(image), GetParam());
  const Counters before = countersOf(*volume);
  for (const std::int64_t block : {std::int64_t{512}, std::int64_t{-1}, std::int64_t{1} << 56}) {
    const EMU3FilePtr file = withDentryBlock(volume.root()->files()[0], block);
    EMU3Error error;
    EXPECT_FALSE(volume->deleteFile(file, volume.root(), &error));
    EXPECT_EQ(error.description(), kNoEntryError);
    EXPECT_FALSE(volume->deleteFile(file, volume.root()));
  }
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), before);
  EXPECT_EQ(volume.root()->files().size(), 1U);
}

TEST(BareDelete, DoesNotAskWhetherTheFolderHoldsTheFile) {
  ImageBuilder image(smallLayout());
  const PlacedFile placed = image.root().addFile("victim", patternBytes(100, 1));
  image.root().addFolder("folder", {.blockList = {5}});
  WritableVolume volume(std::move(image));
  ASSERT_TRUE(volume->deleteFile(volume.root()->files()[0], folderNamed(volume.root(), "folder")));
  clearFileEntry(volume.expected, placed.entry);
  putMarks(volume.expected, placed.firstBlock, 1, 0);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.root()->files().size(), 1U) << "only the given folder's list is changed";
}

TEST(BareDelete, OfAFileInSlotZeroFreesTheSlotBelowTheDataArea) {
  ImageBuilder image(smallLayout());
  const FileOptions options{.slot = std::uint16_t{0}};
  const PlacedFile placed = image.root().addFile("victim", patternBytes(700, 1), options);
  WritableVolume volume(std::move(image));
  ASSERT_TRUE(volume->deleteFile(volume.root()->files()[0], volume.root()));
  clearFileEntry(volume.expected, placed.entry);
  putMarks(volume.expected, 16 - 8, 2, 0);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

} // namespace
} // namespace tessary::test
