#include "filesystem/TreeEditor.h"
#include "tests/writing/WritableVolume.h"

#include <gtest/gtest.h>

namespace tessary::test {
namespace {

constexpr std::uint16_t kSlotBlocks = 8;

class Copy : public testing::TestWithParam<MountRules> {};
INSTANTIATE_TEST_SUITE_P(Volume, Copy, testing::Values(MountRules::bare, MountRules::guarded), rulesName);

// A file in slot 1 and an empty folder, whose block is 5.
ImageBuilder volumeWith(const Bytes &contents, const FileOptions &options = {}) {
  ImageBuilder image(smallLayout());
  image.root().addFile("source", contents, options);
  image.root().addFolder("folder", {.blockList = {5}});
  return image;
}

TEST(BareCopy, WritesDataMarksAndEntryAndNothingElse) {
  const Bytes contents = patternBytes(1300, 1);
  WritableVolume volume(volumeWith(contents), MountRules::bare);
  const Counters before = countersOf(*volume);
  const EMU3DirectoryPtr folder = folderNamed(volume.root(), "folder");
  EMU3Error error;
  ASSERT_TRUE(volume->copyFile(fileNamed(volume.root(), "source"), folder, &error));
  EXPECT_FALSE(error.isSet());
  putNewFile(volume.expected, {5, 0}, "source", 2, 0, contents);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), (Counters{before.used + 3, before.free - 3}));
}

TEST(BareCopy, NewFileInTheTreeHasTheseFields) {
  const Bytes contents = patternBytes(1300, 1);
  const WritableVolume volume(volumeWith(contents, {.type = 0x82, .entryId = std::uint8_t{77}}),
                              MountRules::bare);
  const EMU3FilePtr source = fileNamed(volume.root(), "source");
  const EMU3DirectoryPtr folder = folderNamed(volume.root(), "folder");
  ASSERT_TRUE(volume->copyFile(source, folder));
  ASSERT_EQ(folder->files().size(), 1U);
  const EMU3FileFields fields = folder->files()[0]->fields();
  EXPECT_EQ(fields.name, "source");
  EXPECT_EQ(fields.fileType, kFileTypePlain) << "the source's own";
  EXPECT_EQ(fields.rawType, 0x81);
  EXPECT_EQ(fields.entryId, 0);
  EXPECT_EQ(fields.startCluster, 2);
  EXPECT_EQ(fields.clusterCount, 1);
  EXPECT_EQ(fields.blocksInLastCluster, 3);
  EXPECT_EQ(fields.bytesInLastBlock, 276);
  EXPECT_EQ(fields.fileSize, 1300U);
  EXPECT_EQ(fields.dentryBlock, 5);
  EXPECT_EQ(fields.dentryOffset, 0);
  EXPECT_EQ(contentsOf(*volume.filesystem(), folder->files()[0]), contents);
  EXPECT_EQ(folder->files()[0]->bankDetails(), BankDetails{});
}

TEST(BareCopy, EveryFileWrittenIsABankWithTheMarkWhateverItsSource) {
  for (const int type : {0x80, 0x82, 0x83, 0x00, 0x99}) {
    WritableVolume volume(volumeWith(patternBytes(100, 1), {.type = static_cast<std::uint8_t>(type)}),
                          MountRules::bare);
    ASSERT_TRUE(volume->copyFile(fileNamed(volume.root(), "source"), folderNamed(volume.root(), "folder")));
    putNewFile(volume.expected, {5, 0}, "source", 2, 0, patternBytes(100, 1));
    EXPECT_TRUE(volume.imageIsAsExpected()) << type;
  }
}

TEST(BareCopy, OfAnEmptyFileTakesOneBlockThatItsEntryDoesNotCount) {
  ImageBuilder image = volumeWith({});
  image.poke((16 + kSlotBlocks) * kBlockBytes, patternBytes(kBlockBytes, 9));
  WritableVolume volume(std::move(image), MountRules::bare);
  const Counters before = countersOf(*volume);
  const EMU3DirectoryPtr folder = folderNamed(volume.root(), "folder");
  ASSERT_TRUE(volume->copyFile(fileNamed(volume.root(), "source"), folder));
  putMarks(volume.expected, 24, 1, 0x8000);
  clearBlock(volume.expected, 24);
  volume.expected.pokeEntry({5, 0}, newFileEntry("source", 2, 0, 0));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), (Counters{before.used + 1, before.free - 1}));
  const EMU3FileFields fields = folder->files()[0]->fields();
  EXPECT_EQ(fields.blocksInLastCluster, 1) << "in memory";
  EXPECT_EQ(fields.bytesInLastBlock, 0);
  EXPECT_EQ(fields.fileSize, 0U);
  const EMU3FileFields read =
      folderNamed(volume.openedAnew()->rootDirectory(), "folder")->files()[0]->fields();
  EXPECT_EQ(read.blocksInLastCluster, 0) << "in its entry";
  EXPECT_EQ(read.fileSize, 0U);
}

class CopyLength : public testing::TestWithParam<std::size_t> {};

TEST_P(CopyLength, IsKeptToTheByte) {
  const Bytes contents = patternBytes(GetParam(), 5);
  WritableVolume volume(volumeWith(contents));
  const EMU3DirectoryPtr folder = folderNamed(volume.root(), "folder");
  ASSERT_TRUE(volume->copyFile(fileNamed(volume.root(), "source"), folder));
  putNewFile(volume.expected, {5, 0}, "source", 2, 0, contents);
  EXPECT_TRUE(volume.imageIsAsExpected());
  const EMU3FilePtr copy = folder->files()[0];
  const EMU3FilePtr read = folderNamed(volume.openedAnew()->rootDirectory(), "folder")->files()[0];
  EXPECT_EQ(copy->bytesInLastBlock(), read->bytesInLastBlock());
  EXPECT_EQ(copy->blocksInLastCluster(), read->blocksInLastCluster());
  EXPECT_EQ(copy->fileSize(), GetParam());
  EXPECT_EQ(read->fileSize(), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Lengths, CopyLength, testing::Values(1U, 511U, 512U, 513U, 1024U, 4095U, 4096U));

TEST(BareCopy, IntoItsOwnFolderMakesASecondEntryOfTheName) {
  ImageBuilder image(smallLayout());
  image.root().addFile("source", patternBytes(600, 1), {.entryId = std::uint8_t{9}});
  WritableVolume volume(std::move(image), MountRules::bare);
  ASSERT_TRUE(volume->copyFile(fileNamed(volume.root(), "source"), volume.root()));
  putNewFile(volume.expected, {4, 1}, "source", 2, 10, patternBytes(600, 1));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(namesOf(volume.root()->files()), (std::vector<std::string>{"source", "source"}));
}

TEST(BareCopy, TakesTheSlotAboveTheHighestOfTheWholeTree) {
  ImageBuilder image = volumeWith(patternBytes(600, 1), {.slot = std::uint16_t{3}});
  image.root()
      .addFolder("other", {.blockList = {6}})
      .addFile("far", bytesOf("x"), {.slot = std::uint16_t{7}});
  WritableVolume volume(std::move(image), MountRules::bare);
  ASSERT_TRUE(volume->copyFile(fileNamed(volume.root(), "source"), folderNamed(volume.root(), "folder")));
  putNewFile(volume.expected, {5, 0}, "source", 8, 0, patternBytes(600, 1));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST_P(Copy, ASlotFreedBelowTheHighestIsNotHandedOutAgain) {
  ImageBuilder image(smallLayout());
  for (const std::string name : {"one", "two", "three"})
    image.root().addFile(name, patternBytes(600, 1));
  WritableVolume volume(std::move(image), GetParam());
  ASSERT_TRUE(volume->deleteFile(fileNamed(volume.root(), "two"), volume.root()));
  ASSERT_TRUE(volume->copyFile(fileNamed(volume.root(), "one"), volume.root()));
  EXPECT_EQ(volume.root()->files().back()->startCluster(), 4);
  ASSERT_TRUE(volume->deleteFile(volume.root()->files().back(), volume.root()));
  ASSERT_TRUE(volume->copyFile(fileNamed(volume.root(), "one"), volume.root()));
  EXPECT_EQ(volume.root()->files().back()->startCluster(), 4) << "it was the highest";
}

TEST(BareCopy, TakesTheEntryOfADeletedFileWhole) {
  ImageBuilder image(smallLayout());
  image.root().addFile("source", patternBytes(600, 1));
  const EntryPlace gone = image.root().addDeletedFile({.slot = std::uint16_t{60}});
  RawEntry entry = image.entryAt(gone);
  entry[16] = 0xEE;
  entry[27] = 0xEE;
  image.pokeEntry(gone, entry);
  WritableVolume volume(std::move(image), MountRules::bare);
  ASSERT_TRUE(volume->copyFile(fileNamed(volume.root(), "source"), volume.root()));
  putNewFile(volume.expected, gone, "source", 2, 1, patternBytes(600, 1));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST_P(Copy, EntryIdComesFromTheDestinationAlone) {
  ImageBuilder image = volumeWith(patternBytes(10, 1), {.entryId = std::uint8_t{200}});
  auto other = image.root().addFolder("other", {.blockList = {6}});
  other.addFile("a", {}, {.entryId = std::uint8_t{255}});
  other.addFile("b", {}, {.entryId = std::uint8_t{3}});
  WritableVolume volume(std::move(image), GetParam());
  const EMU3DirectoryPtr destination = folderNamed(volume.root(), "other");
  ASSERT_TRUE(volume->copyFile(fileNamed(volume.root(), "source"), destination));
  EXPECT_EQ(destination->files().back()->entryId(), 4);
}

TEST(BareCopy, OfAFileThatRunsOffTheImageTakesWhatThereIsAndFindsNoSlotForIt) {
  ImageBuilder image(smallLayout());
  image.root().addFile("source", patternBytes(600, 1), {.blocksInLastCluster = std::uint16_t{65535}});
  image.resize(32 * kBlockBytes); // slots 1 and 2
  WritableVolume volume(std::move(image), MountRules::bare);
  EMU3Error error;
  const EMU3FilePtr source = fileNamed(volume.root(), "source");
  EXPECT_EQ(volume->dataForFile(source)->size(), 16 * kBlockBytes);
  // Sixteen blocks of contents do not fit above slot 1 any more, guarded nothing lies above them.
  EXPECT_FALSE(volume->copyFile(source, volume.root(), &error));
  EXPECT_EQ(error.description(), kNoSlotError);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(BareCopy, OfAFileWithCachedContentsStoresThose) {
  WritableVolume volume(volumeWith(patternBytes(600, 1)), MountRules::bare);
  const EMU3FilePtr source = fileNamed(volume.root(), "source");
  const Bytes cached = patternBytes(2000, 8);
  TreeEditor::setCachedData(*source, std::make_shared<ByteBuffer>(cached.begin(), cached.end()));
  ASSERT_TRUE(volume->copyFile(source, folderNamed(volume.root(), "folder")));
  putNewFile(volume.expected, {5, 0}, "source", 2, 0, cached);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(BareCopy, KeepsALongNameInTheTreeAndCutsItInTheEntry) {
  ImageBuilder image(smallLayout());
  image.root().addFile("sixteen bytes...", patternBytes(10, 1));
  WritableVolume volume(std::move(image), MountRules::bare);
  ASSERT_TRUE(volume->copyFile(fileNamed(volume.root(), "sixteen bytes..."), volume.root()));
  putNewFile(volume.expected, {4, 1}, "sixteen bytes..", 2, 1, patternBytes(10, 1));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.root()->files()[1]->name(), "sixteen bytes...");
  EXPECT_EQ(volume.openedAnew()->rootDirectory()->files()[1]->name(), "sixteen bytes..");
}

// --- Failures, in the order they are looked for ----------------------------------------------------

TEST(BareCopy, OfMoreBlocksThanAreFreeFailsAndChangesNothing) {
  ImageBuilder image = volumeWithFreeBlocks(1);
  image.root().addFile("source", patternBytes(513, 1), {.slot = std::uint16_t{1}, .storesContents = false});
  const WritableVolume volume(std::move(image), MountRules::bare);
  EMU3Error error;
  EXPECT_FALSE(volume->copyFile(fileNamed(volume.root(), "source"), volume.root(), &error));
  EXPECT_EQ(error.description(), kNoSpaceError);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), (Counters{255, 1}));
  EXPECT_EQ(volume.root()->files().size(), 1U);
}

TEST(BareCopy, OfExactlyAsManyBlocksAsAreFreeSucceeds) {
  ImageBuilder image = volumeWithFreeBlocks(2);
  image.root().addFile("source", patternBytes(513, 1), {.slot = std::uint16_t{1}, .storesContents = false});
  const WritableVolume volume(std::move(image), MountRules::bare);
  EXPECT_TRUE(volume->copyFile(fileNamed(volume.root(), "source"), volume.root()));
  EXPECT_EQ(countersOf(*volume), (Counters{256, 0}));
}

TEST_P(Copy, OfAnEmptyFileNeedsOneFreeBlock) {
  ImageBuilder image = volumeWithFreeBlocks(0);
  image.root().addFile("source");
  const WritableVolume volume(std::move(image), GetParam());
  EMU3Error error;
  EXPECT_FALSE(volume->copyFile(fileNamed(volume.root(), "source"), volume.root(), &error));
  EXPECT_EQ(error.description(), kNoSpaceError);
}

TEST_P(Copy, IntoAFullFolderFailsAndChangesNothing) {
  ImageBuilder image(smallLayout());
  fillFolder(image.root());
  const WritableVolume volume(std::move(image), GetParam());
  const Counters before = countersOf(*volume);
  EMU3Error error;
  EXPECT_FALSE(volume->copyFile(volume.root()->files()[0], volume.root(), &error));
  EXPECT_EQ(error.description(), kFolderFullError);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), before);
  EXPECT_EQ(volume.root()->files().size(), 16U);
}

// The last slot of the image, 62, is in use.
ImageBuilder volumeWithoutASlot() {
  ImageBuilder image(smallLayout());
  image.root().addFile("source", patternBytes(10, 1), {.slot = std::uint16_t{62}});
  return image;
}

TEST(BareCopy, BehindTheLastSlotOfTheImageFailsAndChangesNothing) {
  const WritableVolume volume(volumeWithoutASlot(), MountRules::bare);
  const Counters before = countersOf(*volume);
  EMU3Error error;
  EXPECT_FALSE(volume->copyFile(volume.root()->files()[0], volume.root(), &error));
  EXPECT_EQ(error.description(), kNoSlotError);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), before);
  EXPECT_EQ(volume.root()->files().size(), 1U);
}

TEST_P(Copy, LackOfSpaceIsReportedBeforeAFullFolder) {
  ImageBuilder image = volumeWithFreeBlocks(0);
  fillFolder(image.root());
  const WritableVolume volume(std::move(image), GetParam());
  EMU3Error error;
  EXPECT_FALSE(volume->copyFile(volume.root()->files()[0], volume.root(), &error));
  EXPECT_EQ(error.description(), kNoSpaceError);
}

TEST_P(Copy, FullFolderIsReportedBeforeTheLackOfASlot) {
  ImageBuilder image(smallLayout());
  fillFolder(image.root(), 15);
  image.root().addFile("last", bytesOf("x"), {.slot = std::uint16_t{62}});
  const WritableVolume volume(std::move(image), GetParam());
  EMU3Error error;
  EXPECT_FALSE(volume->copyFile(volume.root()->files()[0], volume.root(), &error));
  EXPECT_EQ(error.description(), kFolderFullError);
}

TEST(BareCopy, FailsWithoutAnErrorToFill) {
  const WritableVolume volume(volumeWithoutASlot(), MountRules::bare);
  EXPECT_FALSE(volume->copyFile(volume.root()->files()[0], volume.root()));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST_P(Copy, SuccessLeavesTheErrorAlone) {
  const WritableVolume volume(volumeWith(patternBytes(10)), GetParam());
  EMU3Error error{"mine", 42, "untouched"};
  EXPECT_TRUE(volume->copyFile(volume.root()->files()[0], volume.root(), &error));
  EXPECT_EQ(error.description(), "Error Domain=mine Code=42 \"untouched\"");
}

} // namespace
} // namespace tessary::test
