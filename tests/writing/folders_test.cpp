#include "filesystem/TreeEditor.h"
#include "tests/support/SampleVolumes.h"
#include "tests/writing/WritableVolume.h"

#include <gtest/gtest.h>

namespace tessary::test {
namespace {

// --- Creating --------------------------------------------------------------------------------------

class CreateFolder : public testing::TestWithParam<MountRules> {};
INSTANTIATE_TEST_SUITE_P(Volume, CreateFolder, testing::Values(MountRules::bare, MountRules::guarded),
                         rulesName);

TEST(BareCreateFolder, ClearsItsBlockWritesItsEntryAndNothingElse) {
  ImageBuilder image(smallLayout());
  image.root().addFile("file", patternBytes(10, 1));
  image.poke(5 * kBlockBytes, patternBytes(2 * kBlockBytes, 3)); // what lay there before
  WritableVolume volume(std::move(image), MountRules::bare);
  const Counters before = countersOf(*volume);
  EMU3Error error;
  ASSERT_TRUE(volume->createDirectoryNamed("Drums", volume.root(), &error));
  EXPECT_FALSE(error.isSet());
  clearBlock(volume.expected, 5);
  volume.expected.pokeEntry({4, 1}, newFolderEntry("Drums", 5));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), before) << "the table knows nothing of folder blocks";
}

TEST_P(CreateFolder, EntryHoldsTheseThirtyTwoBytes) {
  const WritableVolume volume(ImageBuilder(smallLayout()), GetParam());
  ASSERT_TRUE(volume->createDirectoryNamed("Pad", volume.root()));
  const Bytes expected = {'P', 'a',  'd', 0, ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ',
                          0,   0x40, 5,   0, 0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0};
  EXPECT_EQ(readBytes(volume.imagePath(), 4 * kBlockBytes, 32), expected);
}

TEST_P(CreateFolder, NewFolderInTheTreeHasTheseFields) {
  ImageBuilder image(smallLayout());
  image.root().addFile("file", patternBytes(10, 1));
  const WritableVolume volume(std::move(image), GetParam());
  ASSERT_TRUE(volume->createDirectoryNamed("Drums", volume.root()));
  const EMU3DirectoryPtr folder = volume.root()->subdirectories().at(0);
  EXPECT_EQ(folder->name(), "Drums");
  EXPECT_EQ(folder->entryId(), 0x40);
  EXPECT_EQ(folder->parent(), volume.root());
  EXPECT_EQ(placeOf(*folder), (EntryPlace{4, 1}));
  EXPECT_EQ(folder->blockList(), std::vector<std::int64_t>{5});
  EXPECT_TRUE(folder->files().empty());
  EXPECT_TRUE(folder->subdirectories().empty());
}

TEST_P(CreateFolder, InsideAnotherOneWritesThere) {
  ImageBuilder image(smallLayout());
  auto outer = image.root().addFolder("outer", {.blockList = {7}});
  outer.addFile("file", patternBytes(10, 1));
  WritableVolume volume(std::move(image), GetParam());
  const EMU3DirectoryPtr folder = folderNamed(volume.root(), "outer");
  ASSERT_TRUE(volume->createDirectoryNamed("inner", folder));
  volume.expected.pokeEntry({7, 1}, newFolderEntry("inner", 5));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(folder->subdirectories().at(0)->parent(), folder);
  const EMU3DirectoryPtr again = folderNamed(volume.openedAnew()->rootDirectory(), "outer");
  EXPECT_EQ(namesOf(again->subdirectories()), std::vector<std::string>{"inner"});
}

TEST_P(CreateFolder, EachInTheLastGetsTheNextBlock) {
  WritableVolume volume(ImageBuilder(smallLayout()), GetParam());
  EMU3DirectoryPtr parent = volume.root();
  for (std::uint16_t block = 5; block < 16; ++block) {
    ASSERT_TRUE(volume->createDirectoryNamed("level", parent));
    volume.expected.pokeEntry({block - 1U, 0}, newFolderEntry("level", block));
    parent = parent->subdirectories().at(0);
  }
  EXPECT_TRUE(volume.imageIsAsExpected());
  EMU3Error error;
  EXPECT_FALSE(volume->createDirectoryNamed("level", parent, &error));
  EXPECT_EQ(error.description(), kNoFolderBlockError);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(parent->subdirectories().empty());
}

TEST_P(CreateFolder, TakesTheLowestBlockThatADeletedOneLeft) {
  ImageBuilder image(smallLayout());
  for (const int block : {5, 6, 7})
    image.root().addFolder("folder " + std::to_string(block),
                           {.blockList = {static_cast<std::int16_t>(block)}});
  const WritableVolume volume(std::move(image), GetParam());
  ASSERT_TRUE(volume->deleteDirectory(folderNamed(volume.root(), "folder 6"), volume.root()));
  ASSERT_TRUE(volume->createDirectoryNamed("new", folderNamed(volume.root(), "folder 7")));
  const EMU3DirectoryPtr created = folderNamed(volume.root(), "folder 7")->subdirectories().at(0);
  EXPECT_EQ(created->blockList(), std::vector<std::int64_t>{6});
}

TEST_P(CreateFolder, TakesTheEntryOfADeletedFileWhole) {
  ImageBuilder image(smallLayout());
  const EntryPlace gone = image.root().addDeletedFile({.slot = std::uint16_t{9}, .e4b0Mark = true});
  WritableVolume volume(std::move(image), GetParam());
  ASSERT_TRUE(volume->createDirectoryNamed("Drums", volume.root()));
  volume.expected.pokeEntry(gone, newFolderEntry("Drums", 5));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(namesOf(volume.openedAnew()->rootDirectory()->subdirectories()),
            std::vector<std::string>{"Drums"});
}

TEST_P(CreateFolder, OfAnyNameOfOneToFifteenCharactersSucceeds) {
  for (const std::string name : {"a", "15 characters..", "a/b", ".."}) {
    WritableVolume volume(ImageBuilder(smallLayout()), GetParam());
    ASSERT_TRUE(volume->createDirectoryNamed(name, volume.root())) << name;
    volume.expected.pokeEntry({4, 0}, newFolderEntry(name, 5));
    EXPECT_TRUE(volume.imageIsAsExpected()) << name;
  }
}

TEST(BareCreateFolder, NameIsCutOnlyInTheEntry) {
  WritableVolume volume(ImageBuilder(smallLayout()), MountRules::bare);
  const std::string name = "\u20ac\u20ac\u20ac\u20ac\u20ac\u20ac"; // 6 characters, 18 bytes
  ASSERT_TRUE(volume->createDirectoryNamed(name, volume.root()));
  volume.expected.pokeEntry({4, 0}, newFolderEntry(name.substr(0, 15), 5));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.root()->subdirectories().at(0)->name(), name);
}

TEST_P(CreateFolder, OfNoOrSixteenCharactersFailsAndChangesNothing) {
  const WritableVolume volume(ImageBuilder(smallLayout()), GetParam());
  for (const std::string name : {"", "16 characters...", "0123456789abcd\U0001F941"}) {
    EMU3Error error;
    EXPECT_FALSE(volume->createDirectoryNamed(name, volume.root(), &error)) << name;
    EXPECT_EQ(error.description(), kNameError) << name;
    EXPECT_FALSE(volume->createDirectoryNamed(name, volume.root()));
  }
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.root()->subdirectories().empty());
}

TEST_P(CreateFolder, InAFullParentFailsAndChangesNothing) {
  ImageBuilder image(smallLayout());
  fillFolder(image.root());
  const WritableVolume volume(std::move(image), GetParam());
  EMU3Error error;
  EXPECT_FALSE(volume->createDirectoryNamed("Drums", volume.root(), &error));
  EXPECT_EQ(error.description(), kParentFullError);
  EXPECT_FALSE(volume->createDirectoryNamed("Drums", volume.root()));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.root()->subdirectories().empty());
}

// The data area begins right behind the root block: no block is left for a folder.
VolumeLayout layoutWithoutFolderBlocks() {
  VolumeLayout layout = smallLayout();
  layout.directoryBlocks = 1;
  return layout;
}

TEST_P(CreateFolder, WithoutABlockLeftFailsAndChangesNothing) {
  const WritableVolume volume(ImageBuilder(layoutWithoutFolderBlocks()), GetParam());
  EMU3Error error;
  EXPECT_FALSE(volume->createDirectoryNamed("Drums", volume.root(), &error));
  EXPECT_EQ(error.description(), kNoFolderBlockError);
  EXPECT_FALSE(volume->createDirectoryNamed("Drums", volume.root()));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(BareCreateFolder, WhoseBlockLiesOutsideTheImageFailsAndChangesNothing) {
  ImageBuilder image(smallLayout());
  image.resize(5 * kBlockBytes + 511);
  const WritableVolume volume(std::move(image), MountRules::bare);
  EMU3Error error;
  EXPECT_FALSE(volume->createDirectoryNamed("Drums", volume.root(), &error));
  EXPECT_EQ(error.description(), kBlockWriteError);
  EXPECT_FALSE(volume->createDirectoryNamed("Drums", volume.root()));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.root()->subdirectories().empty());
}

TEST_P(CreateFolder, BadNameIsReportedBeforeAFullParentAndThatBeforeTheLackOfABlock) {
  ImageBuilder image(layoutWithoutFolderBlocks());
  fillFolder(image.root());
  const WritableVolume volume(std::move(image), GetParam());
  EMU3Error error;
  EXPECT_FALSE(volume->createDirectoryNamed("", volume.root(), &error));
  EXPECT_EQ(error.description(), kNameError);
  EXPECT_FALSE(volume->createDirectoryNamed("Drums", volume.root(), &error));
  EXPECT_EQ(error.description(), kParentFullError);
}

TEST(BareCreateFolder, ParentWithoutAReadableBlockIsFull) {
  ImageBuilder image(smallLayout());
  const std::int16_t outside[] = {30000};
  image.root().addRaw(rawFolderEntry("outside", 0x40, outside));
  const WritableVolume volume(std::move(image), MountRules::bare);
  EMU3Error error;
  EXPECT_FALSE(volume->createDirectoryNamed("Drums", folderNamed(volume.root(), "outside"), &error));
  EXPECT_EQ(error.description(), kParentFullError);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(BareCreateFolder, MayWriteANumberThatReadsBackAsNone) {
  const VolumeLayout layout{
      .sizeBytes = 20 * kMiB, .rootDirBlock = 32767, .dataAreaBlock = 33000, .slotSizeBlocks = 8};
  WritableVolume volume{ImageBuilder(layout)};
  ASSERT_TRUE(volume->createDirectoryNamed("Drums", volume.root()));
  clearBlock(volume.expected, 32768);
  volume.expected.pokeEntry({32767, 0}, newFolderEntry("Drums", 32768));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.root()->subdirectories().at(0)->blockList(), std::vector<std::int64_t>{32768});
  const EMU3FilesystemPtr again = volume.openedAnew();
  EXPECT_EQ(again->rootDirectory()->subdirectories().at(0)->blockList(), std::vector<std::int64_t>{});
}

// --- Deleting --------------------------------------------------------------------------------------

class DeleteFolder : public testing::TestWithParam<MountRules> {};
INSTANTIATE_TEST_SUITE_P(Volume, DeleteFolder, testing::Values(MountRules::bare, MountRules::guarded),
                         rulesName);

TEST_P(DeleteFolder, ThatIsEmptyClearsItsBlockAndItsEntry) {
  ImageBuilder image(smallLayout());
  image.root().addFile("file", patternBytes(10, 1));
  image.root().addFolder("folder", {.blockList = {5}, .byte16 = 0xEE});
  image.pokeBlock(5, 512 - 32, RawEntry{0, 1, 2, 3}); // what a deleted entry left
  WritableVolume volume(std::move(image), GetParam());
  const Counters before = countersOf(*volume);
  EMU3Error error;
  ASSERT_TRUE(volume->deleteDirectory(folderNamed(volume.root(), "folder"), volume.root(), &error));
  EXPECT_FALSE(error.isSet());
  clearBlock(volume.expected, 5);
  volume.expected.pokeEntry({4, 1}, {});
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), before);
  EXPECT_TRUE(volume.root()->subdirectories().empty());
}

TEST(BareDeleteFolder, WithFilesAndSubfoldersFreesAllOfThem) {
  ImageBuilder image(smallLayout());
  image.root().addFile("stays", patternBytes(600, 1));
  auto outer = image.root().addFolder("outer", {.blockList = {5, 9, 6}});
  const PlacedFile first = outer.addFile("first", patternBytes(1300, 2));
  const PlacedFile last = outer.addFile("last", patternBytes(9 * 512, 3), {.entry = std::size_t{47}});
  auto inner = outer.addFolder("inner", {.blockList = {7}});
  const PlacedFile below = inner.addFile("below", patternBytes(100, 4));
  inner.addFolder("innermost", {.blockList = {8}});
  image.root().addFolder("beside", {.blockList = {10}}).addFile("too", patternBytes(600, 5));
  const EntryPlace entry = outer.place();
  WritableVolume volume(std::move(image), MountRules::bare);
  const Counters before = countersOf(*volume);
  const EMU3DirectoryPtr folder = folderNamed(volume.root(), "outer");
  ASSERT_TRUE(volume->deleteDirectory(folder, volume.root()));
  for (const PlacedFile &file : {first, last, below})
    putMarks(volume.expected, file.firstBlock, file.blockCount, 0);
  for (const std::uint64_t block : {5U, 9U, 6U, 7U, 8U})
    clearBlock(volume.expected, block);
  volume.expected.pokeEntry(entry, {});
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), (Counters{before.used - 13, before.free + 13}));
  EXPECT_EQ(namesOf(volume.root()->subdirectories()), std::vector<std::string>{"beside"});
  EXPECT_EQ(namesOf(volume.root()->files()), std::vector<std::string>{"stays"});
  EXPECT_TRUE(folder->files().empty()) << "what it held has left it";
  EXPECT_TRUE(folder->subdirectories().empty());
}

TEST(BareDeleteFolder, FreesDeletedFilesThatAreStillListed) {
  ImageBuilder image(smallLayout());
  auto folder = image.root().addFolder("folder", {.blockList = {5}});
  const PlacedFile gone = folder.addFile("gone", patternBytes(1300, 2), {.type = 0});
  WritableVolume volume(std::move(image), MountRules::bare);
  const Counters before = countersOf(*volume);
  ASSERT_TRUE(volume->deleteDirectory(folderNamed(volume.root(), "folder"), volume.root()));
  putMarks(volume.expected, gone.firstBlock, 3, 0);
  clearBlock(volume.expected, 5);
  volume.expected.pokeEntry({4, 0}, {});
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), (Counters{before.used - 3, before.free + 3}));
}

TEST(BareDeleteFolder, GoesOnWhenADeletionInsideItFails) {
  ImageBuilder image(smallLayout());
  auto folder = image.root().addFolder("folder", {.blockList = {5}});
  folder.addFile("stuck", patternBytes(1300, 2));
  const PlacedFile other = folder.addFile("other", patternBytes(600, 3));
  WritableVolume volume(std::move(image), MountRules::bare);
  const Counters before = countersOf(*volume);
  const EMU3DirectoryPtr directory = folderNamed(volume.root(), "folder");
  withDentryBlock(fileNamed(directory, "stuck"), 512); // outside the image
  EMU3Error error;
  EXPECT_TRUE(volume->deleteDirectory(directory, volume.root(), &error));
  EXPECT_FALSE(error.isSet());
  putMarks(volume.expected, other.firstBlock, 2, 0); // the other's marks stay
  clearBlock(volume.expected, 5);
  volume.expected.pokeEntry({4, 0}, {});
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), (Counters{before.used - 2, before.free + 2}));
  EXPECT_TRUE(volume.root()->subdirectories().empty());
}

TEST_P(DeleteFolder, SkipsBlocksOutsideTheImage) {
  ImageBuilder image(smallLayout());
  const std::int16_t blocks[] = {30000, 6, 512};
  image.root().addRaw(rawFolderEntry("folder", 0x40, blocks));
  image.poke(6 * kBlockBytes + 32, Bytes{0, 1, 2, 3});
  WritableVolume volume(std::move(image), GetParam());
  EXPECT_TRUE(volume->deleteDirectory(volume.root()->subdirectories()[0], volume.root()));
  clearBlock(volume.expected, 6);
  volume.expected.pokeEntry({4, 0}, {});
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST_P(DeleteFolder, WhoseEntryLiesOutsideTheImageStillSucceeds) {
  ImageBuilder image(smallLayout());
  image.root().addFolder("folder", {.blockList = {5}}).addFile("file", patternBytes(600, 1));
  WritableVolume volume(std::move(image), GetParam());
  const EMU3DirectoryPtr folder = volume.root()->subdirectories()[0];
  TreeEditor::setPlace(*folder, {512, folder->dentryOffset()});
  EXPECT_TRUE(volume->deleteDirectory(folder, volume.root()));
  clearBlock(volume.expected, 5);
  putMarks(volume.expected, 16, 2, 0);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.root()->subdirectories().empty());
}

TEST_P(DeleteFolder, OfAnyDepthNeedsNoDeepStack) {
  ImageBuilder image = nestedVolume(20000);
  const WritableVolume volume(std::move(image), GetParam());
  ASSERT_EQ(volume.root()->subdirectories().size(), 1U);
  EXPECT_TRUE(volume->deleteDirectory(volume.root()->subdirectories()[0], volume.root()));
  EXPECT_TRUE(volume.root()->subdirectories().empty());
  EXPECT_TRUE(volume.openedAnew()->rootDirectory()->subdirectories().empty());
}

TEST(BareDeleteFolder, OfTheRootEmptiesItAndClearsTheBeginningOfTheHeader) {
  ImageBuilder image(smallLayout());
  image.root().addFile("file", patternBytes(600, 1));
  image.root().addFolder("folder", {.blockList = {5}});
  WritableVolume volume(std::move(image));
  EXPECT_TRUE(volume->deleteDirectory(volume.root(), nullptr));
  putMarks(volume.expected, 16, 2, 0);
  clearBlock(volume.expected, 4);
  volume.expected.poke(0, Bytes(32)); // the root's own entry place is {0, 0}
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(BareDeleteFolder, DoesNotAskWhetherTheParentHoldsIt) {
  ImageBuilder image(smallLayout());
  image.root().addFolder("folder", {.blockList = {5}});
  image.root().addFolder("other", {.blockList = {6}});
  WritableVolume volume(std::move(image));
  EXPECT_TRUE(
      volume->deleteDirectory(folderNamed(volume.root(), "folder"), folderNamed(volume.root(), "other")));
  volume.expected.pokeEntry({4, 0}, {});
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.root()->subdirectories().size(), 2U) << "only the given parent's list is changed";
}

} // namespace
} // namespace tessary::test
