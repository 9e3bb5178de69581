#include "tests/writing/EngineParts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace tessary::test {
namespace {

// What the bare rules do where the guarded ones look first: they destroy it, oddities included.

// --- A live folder's entry is free ----------------------------------------------------------------

TEST(BareFolderEntry, LetsTheNextEntryReplaceTheFolders) {
  WritableVolume volume{ImageBuilder(smallLayout())};
  ASSERT_TRUE(volume->createDirectoryNamed("first", volume.root()));
  ASSERT_TRUE(volume->createDirectoryNamed("second", volume.root()));
  volume.expected.pokeEntry({4, 0}, newFolderEntry("second", 6));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.root()->subdirectories().at(1)->blockList(), std::vector<std::int64_t>{6});
  ASSERT_TRUE(volume->importFileAtURL(volume.hostFile("file", bytesOf("x")), volume.root()));
  putNewFile(volume.expected, {4, 0}, "file", 1, 0, bytesOf("x"));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.openedAnew()->rootDirectory()->subdirectories().empty());
  EXPECT_EQ(volume.root()->subdirectories().size(), 2U) << "the tree in memory still holds them";
}

ImageBuilder volumeWithSixteenFolders() {
  VolumeLayout layout = smallLayout();
  layout.directoryBlocks = 20;
  ImageBuilder image(layout);
  for (int number = 0; number < 16; ++number)
    image.root().addFolder("folder " + std::to_string(number));
  return image;
}

TEST(BareFolderEntry, SixteenFoldersLeaveSixteenPlaces) {
  WritableVolume volume(volumeWithSixteenFolders());
  ASSERT_TRUE(volume->importFileAtURL(volume.hostFile("file", bytesOf("x")), volume.root()));
  putNewFile(volume.expected, {4, 0}, "file", 1, 0, bytesOf("x"));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

// --- Marks go where they come to lie --------------------------------------------------------------

struct TableAt {
  std::string what;
  std::uint32_t fatStart;
  std::uint32_t root;
  std::uint32_t dataArea;
};

void PrintTo(const TableAt &table, std::ostream *out) {
  *out << table.what;
}

std::string nameOfTable(const testing::TestParamInfo<TableAt> &info) {
  std::string name = info.param.what;
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
}

class BareTable : public testing::TestWithParam<TableAt> {
protected:
  // Room for a table of 1024 blocks, of which the first few describe what is marked here.
  static VolumeLayout layout() {
    return {.sizeBytes = 512 * kKiB,
            .fatStartBlock = GetParam().fatStart,
            .rootDirBlock = GetParam().root,
            .dataAreaBlock = GetParam().dataArea,
            .slotSizeBlocks = 8,
            .marksBlocks = false};
  }
};

TEST_P(BareTable, MarksWhateverLiesThere) {
  OpenedVolume volume{ImageBuilder(layout())};
  volume.mark(1, 1000);
  putMarks(volume.expected, GetParam().dataArea, 1000, 0x8000);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

INSTANTIATE_TEST_SUITE_P(Tables, BareTable,
                         testing::Values(TableAt{"root block next", 2, 3, 20},
                                         TableAt{"data area next", 2, 200, 4},
                                         TableAt{"root block before", 10, 9, 12},
                                         TableAt{"data area before", 20, 22, 10},
                                         TableAt{"both before", 20, 9, 10}),
                         nameOfTable);

TEST(BareTableOnDeletion, ClearsWhatLiesBehindTheTable) {
  VolumeLayout layout = smallLayout();
  layout.rootDirBlock = 3;
  layout.dataAreaBlock = 16;
  ImageBuilder image(layout);
  image.root().addFile("first", patternBytes(10, 1), {.slot = std::uint16_t{1}});
  image.root().addFile("file", patternBytes(20 * 512, 1), {.slot = std::uint16_t{30}});
  WritableVolume volume(std::move(image));
  ASSERT_TRUE(volume->deleteFile(fileNamed(volume.root(), "file"), volume.root()));
  putMarks(volume.expected, 248, 8, 0);
  clearFileEntry(volume.expected, {3, 1});
  volume.expected.pokeBlock(3, 0, Bytes(12 * 2)); // the first entry's name and fields
  EXPECT_TRUE(volume.imageIsAsExpected());
}

// --- A file of more than 65,535 blocks ------------------------------------------------------------

VolumeLayout largeLayout() {
  return {.sizeBytes = 90 * kMiB, .slotSizeBlocks = 4096, .directoryBlocks = 12};
}

std::string sparseFile(const WritableVolume &volume, std::uint64_t size) {
  const std::string path = volume.hostFile("large", patternBytes(2000, 1));
  std::filesystem::resize_file(path, size);
  return path;
}

// The entry's 16 bits of block count wrap, and so does the count of blocks marked.
TEST(BareFileSize, AFileOf32MiBIsStoredWithAnEntryOfNoBlocks) {
  WritableVolume volume{ImageBuilder(largeLayout())};
  const Counters before = countersOf(*volume);
  ASSERT_TRUE(volume->importFileAtURL(sparseFile(volume, 32 * kMiB), volume.root()));
  Bytes contents = patternBytes(2000, 1);
  contents.resize(32 * kMiB);
  putData(volume.expected, volume->dataAreaBlock(), contents);
  volume.expected.pokeEntry({volume->rootDirBlock(), 0}, newFileEntry("large", 1, 0, 32 * kMiB));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), before);
  const EMU3FileFields fields = volume.root()->files().at(0)->fields();
  EXPECT_EQ(fields.fileSize, 32 * kMiB) << "in memory";
  EXPECT_EQ(fields.blocksInLastCluster, 0);
  EXPECT_EQ(fields.bytesInLastBlock, 512);
  EXPECT_EQ(volume.openedAnew()->rootDirectory()->files().at(0)->fileSize(), 0U);
}

TEST(BareFileSize, AFileOf40MiBIsStoredWithTheLowBitsOfItsBlocks) {
  WritableVolume volume{ImageBuilder(largeLayout())};
  ASSERT_TRUE(volume->importFileAtURL(sparseFile(volume, 40 * kMiB), volume.root()));
  Bytes contents = patternBytes(2000, 1);
  contents.resize(40 * kMiB);
  putData(volume.expected, volume->dataAreaBlock(), contents);
  putMarks(volume.expected, volume->dataAreaBlock(), 81920 - 65536, 0x8000);
  volume.expected.pokeEntry({volume->rootDirBlock(), 0}, newFileEntry("large", 1, 0, 40 * kMiB));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.openedAnew()->rootDirectory()->files().at(0)->fileSize(), 8 * kMiB);
}

// --- Names ----------------------------------------------------------------------------------------

const std::string kHalfCutName = "abcdefghijklmn\u00e9"; // its last character has bytes 15 and 16

TEST(BareName, CutsThroughACharacterAndTheEntryIsLost) {
  WritableVolume volume{ImageBuilder(smallLayout())};
  ASSERT_TRUE(volume->importFileAtURL(volume.hostFile(kHalfCutName, bytesOf("x")), volume.root()));
  ASSERT_TRUE(volume->createDirectoryNamed(kHalfCutName, volume.root()));
  const std::string stored = kHalfCutName.substr(0, 15);
  putNewFile(volume.expected, {4, 0}, stored, 1, 0, bytesOf("x"));
  volume.expected.pokeEntry({4, 1}, newFolderEntry(stored, 5));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.openedAnew()->rootDirectory()->files().empty());
  EXPECT_TRUE(volume.openedAnew()->rootDirectory()->subdirectories().empty());
}

TEST(BareName, StoresSpacesAndTheEntryIsLost) {
  WritableVolume volume{ImageBuilder(smallLayout())};
  ASSERT_TRUE(volume->importFileAtURL(volume.hostFile("   .wav", bytesOf("x")), volume.root()));
  ASSERT_TRUE(volume->createDirectoryNamed(" ", volume.root()));
  putNewFile(volume.expected, {4, 0}, "   ", 1, 0, bytesOf("x"));
  volume.expected.pokeEntry({4, 1}, newFolderEntry(" ", 5));
  EXPECT_TRUE(volume.imageIsAsExpected());
  ASSERT_TRUE(volume->renameFile(volume.root()->files()[0], "  ", volume.root()));
  putName(volume.expected, {4, 0}, "                ");
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.openedAnew()->rootDirectory()->files().empty());
}

// --- What has left the tree -----------------------------------------------------------------------

TEST(BareUseOfWhatIsGone, DeletedFileStillClearsTheEntryAtItsOldPlace) {
  ImageBuilder image(smallLayout());
  image.root().addFile("gone", patternBytes(600, 2));
  WritableVolume volume(std::move(image));
  const EMU3FilePtr gone = volume.root()->files()[0];
  ASSERT_TRUE(volume->deleteFile(gone, volume.root()));
  ASSERT_TRUE(volume->importFileAtURL(volume.hostFile("host", bytesOf("x")), volume.root()));
  putMarks(volume.expected, 16, 2, 0);
  putNewFile(volume.expected, {4, 0}, "host", 1, 0, bytesOf("x"));
  EXPECT_TRUE(volume.imageIsAsExpected());
  ASSERT_TRUE(volume->deleteFile(gone, volume.root()));
  clearFileEntry(volume.expected, {4, 0});
  putMarks(volume.expected, 16, 2, 0);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(BareUseOfWhatIsGone, DeletedFolderStillTakesFilesIntoItsOldBlock) {
  ImageBuilder image(smallLayout());
  image.root().addFolder("gone", {.blockList = {5}});
  WritableVolume volume(std::move(image));
  const EMU3DirectoryPtr gone = volume.root()->subdirectories()[0];
  ASSERT_TRUE(volume->deleteDirectory(gone, volume.root()));
  ASSERT_TRUE(volume->importFileAtURL(volume.hostFile("host", bytesOf("x")), gone));
  volume.expected.pokeEntry({4, 0}, {});
  putNewFile(volume.expected, {5, 0}, "host", 1, 0, bytesOf("x"));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

} // namespace
} // namespace tessary::test
