// What somebody else may own is not written over: folders' entries and blocks, the table, contents.

#include "tests/writing/EngineParts.h"
#include "tests/writing/guarded/GuardedVolume.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace tessary::test {
namespace {

using Names = std::vector<std::string>;

// --- A live folder's entry is not free -------------------------------------------------------------

TEST(GuardedFolderEntry, IsKeptByWhatIsMadeLater) {
  GuardedVolume volume{ImageBuilder(smallLayout())};
  ASSERT_TRUE(volume->createDirectoryNamed("first", volume.root()));
  ASSERT_TRUE(volume->createDirectoryNamed("second", volume.root()));
  ASSERT_TRUE(volume.import("file", bytesOf("x")));
  volume.expected.pokeEntry({4, 0}, newFolderEntry("first", 5));
  volume.expected.pokeEntry({4, 1}, newFolderEntry("second", 6));
  putNewFile(volume.expected, {4, 2}, "file", 1, 0, bytesOf("x"));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

ImageBuilder volumeWithSixteenFolders() {
  VolumeLayout layout = smallLayout();
  layout.directoryBlocks = 20;
  ImageBuilder image(layout);
  for (int number = 0; number < 16; ++number)
    image.root().addFolder("folder " + std::to_string(number));
  return image;
}

TEST(GuardedFolderEntry, SixteenFillTheRoot) {
  const GuardedVolume volume(volumeWithSixteenFolders());
  volume.expectRefused(kFolderFullError,
                       [&](EMU3Error *error) { return volume.import("file", {}, volume.root(), error); });
  volume.expectRefused(kParentFullError, [&](EMU3Error *error) {
    return volume->createDirectoryNamed("more", volume.root(), error);
  });
}

TEST(GuardedFolderEntry, OfADeletedFolderIsFree) {
  const GuardedVolume volume(volumeWithSixteenFolders());
  ASSERT_TRUE(volume->deleteDirectory(volume.folderAt("folder 7"), volume.root()));
  ASSERT_TRUE(volume.import("file", bytesOf("x")));
  EXPECT_EQ(placeOf(*volume.file("file")), (EntryPlace{4, 7}));
}

TEST(GuardedFolderEntry, WithoutANameIsKeptToo) {
  ImageBuilder image(smallLayout());
  const std::int16_t blocks[] = {6};
  image.root().addRaw(rawFolderEntry("                ", 0x40, blocks));
  image.root().addRaw(rawFolderEntry("\xFF", 0x80, {}));
  GuardedVolume volume(std::move(image));
  ASSERT_TRUE(volume.import("file", bytesOf("x")));
  putNewFile(volume.expected, {4, 2}, "file", 1, 0, bytesOf("x"));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(GuardedFolderEntry, IsKeptByAFolderThatNamesTheSameBlock) {
  ImageBuilder image(smallLayout());
  auto first = image.root().addFolder("first", {.blockList = {6}});
  first.addFolder("inside", {.blockList = {7}});
  image.root().addFolder("second", {.blockList = {6}}); // whose entries the first one has
  GuardedVolume volume(std::move(image));
  ASSERT_TRUE(volume.import("file", bytesOf("x"), volume.folderAt("second")));
  putNewFile(volume.expected, {6, 1}, "file", 1, 0, bytesOf("x"));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(GuardedEntry, OfADeletedFileIsFreeThoughItHasAName) {
  ImageBuilder image(smallLayout());
  image.root().addFile("gone", patternBytes(10, 1), {.type = 0});
  GuardedVolume volume(std::move(image));
  ASSERT_TRUE(volume.import("file", bytesOf("x")));
  putNewFile(volume.expected, {4, 0}, "file", 2, 1, bytesOf("x"));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

// --- Marks stay inside the table, and out of what a folder names -------------------------------------

struct TableEnd {
  std::string what;
  std::uint32_t fatStart;
  std::uint32_t root;
  std::uint32_t dataArea;
  std::uint64_t described; ///< blocks that may be marked
};

void PrintTo(const TableEnd &end, std::ostream *out) {
  *out << end.what;
}

std::string nameOfEnd(const testing::TestParamInfo<TableEnd> &info) {
  std::string name = info.param.what;
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
}

class GuardedMarks : public testing::TestWithParam<TableEnd> {
protected:
  static VolumeLayout layout() {
    return {.sizeBytes = 512 * kKiB,
            .fatStartBlock = GetParam().fatStart,
            .rootDirBlock = GetParam().root,
            .dataAreaBlock = GetParam().dataArea,
            .slotSizeBlocks = 8,
            .marksBlocks = false};
  }
};

TEST_P(GuardedMarks, AreWrittenForWhatTheTableDescribes) {
  OpenedVolume volume(ImageBuilder(layout()), MountRules::guarded);
  const Counters before = volume.counters();
  volume.mark(1, 1000);
  const std::uint64_t first = GetParam().dataArea;
  const std::uint64_t end = std::min(GetParam().described, first + 1000);
  if (end > first) putMarks(volume.expected, first, end - first, 0x8000);
  EXPECT_TRUE(volume.imageIsAsExpected());
  volume.giveBack(1, 1000);
  if (end > first) putMarks(volume.expected, first, end - first, 0);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.counters(), before);
}

INSTANTIATE_TEST_SUITE_P(Tables, GuardedMarks,
                         testing::Values(TableEnd{"root block next", 2, 3, 20, 256},
                                         TableEnd{"data area next", 2, 200, 4, 512},
                                         TableEnd{"root block before", 10, 9, 12, 512},
                                         TableEnd{"data area before", 20, 22, 10, 512},
                                         TableEnd{"both before", 20, 9, 10, 1024},
                                         TableEnd{"more than the image", 2, 20, 30, 1024},
                                         TableEnd{"root at the start", 10, 10, 12, 0},
                                         TableEnd{"data area at the start", 10, 12, 10, 0},
                                         TableEnd{"behind the image", 2000, 5, 10, 0}),
                         nameOfEnd);

TEST(GuardedMarksOfADeletedFile, LeaveTheFoldersBehindTheTable) {
  VolumeLayout layout = smallLayout();
  layout.rootDirBlock = 3; // marks for 256 blocks
  layout.dataAreaBlock = 16;
  ImageBuilder image(layout);
  const PlacedFile placed =
      image.root().addFile("file", patternBytes(20 * 512, 1), {.slot = std::uint16_t{30}});
  GuardedVolume volume(std::move(image)); // blocks 248 to 267
  ASSERT_TRUE(volume->deleteFile(volume.file("file"), volume.root()));
  putMarks(volume.expected, 248, 8, 0);
  clearFileEntry(volume.expected, placed.entry);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

// The second block of the table, with the marks of blocks 256 to 511, is a folder's too.
class FolderInTheTable : public testing::Test {
protected:
  static ImageBuilder image() {
    ImageBuilder builder(smallLayout());
    builder.root().addFolder("folder", {.blockList = {3}});
    builder.root().addFile("file", patternBytes(600, 1), {.slot = std::uint16_t{29}});
    return builder;
  }

  GuardedVolume volume{image()};
};

TEST_F(FolderInTheTable, KeepsItsBlockFromTheMarksOfNewFiles) {
  ASSERT_TRUE(volume.import("new", patternBytes(20 * 512, 2))); // blocks 248 to 267
  putData(volume.expected, 248, patternBytes(20 * 512, 2));
  putMarks(volume.expected, 248, 8, 0x8000);
  volume.expected.pokeEntry({4, 2}, newFileEntry("new", 30, 1, 20 * 512));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST_F(FolderInTheTable, KeepsItsEntriesFromTheMarksOfDeletedFiles) {
  ASSERT_TRUE(volume.import("new", patternBytes(20 * 512, 2))); // blocks 248 to 267
  ASSERT_TRUE(volume.import("inside", bytesOf("x"), volume.folderAt("folder")));
  volume.takeImageAsExpected();
  ASSERT_TRUE(volume->deleteFile(volume.file("new"), volume.root()));
  clearFileEntry(volume.expected, {4, 2});
  putMarks(volume.expected, 248, 8, 0);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST(FolderDeletionInTheTable, LeavesTheTable) {
  ImageBuilder image(smallLayout());
  image.root().addFolder("folder", {.blockList = {3}});
  image.setFatEntry(400, 0x8000); // reads as no entry: its first byte is 0
  GuardedVolume other(std::move(image));
  ASSERT_TRUE(other->deleteDirectory(other.folderAt("folder"), other.root()));
  other.expected.pokeEntry({4, 0}, {});
  EXPECT_TRUE(other.imageIsAsExpected());
  EXPECT_TRUE(other.isAsReadAnew());
}

// --- The block of a new folder ---------------------------------------------------------------------

// A block whose entries are all empty, though other bytes are left in it.
Bytes emptiedBlock() {
  Bytes block(kBlockBytes, 0xA5);
  for (std::size_t entry = 0; entry < 16; ++entry)
    block[entry * 32] = 0;
  return block;
}

Bytes blockWithOneEntry(std::size_t index) {
  Bytes block(kBlockBytes);
  block[index * 32] = 'L';
  return block;
}

void createFolderIn(GuardedVolume &volume, std::uint16_t block) {
  ASSERT_TRUE(volume->createDirectoryNamed("Drums", volume.root()));
  clearBlock(volume.expected, block);
  volume.expected.pokeEntry({volume->rootDirBlock(), 0}, newFolderEntry("Drums", block));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST(GuardedFolderBlock, IsTheFirstThatIsAllZero) {
  ImageBuilder image(smallLayout());
  image.pokeBlock(5, 0, blockWithOneEntry(15));
  image.pokeBlock(6, 0, emptiedBlock());
  Bytes lastByte(kBlockBytes);
  lastByte.back() = 1;
  image.pokeBlock(7, 0, lastByte);
  GuardedVolume volume(std::move(image));
  createFolderIn(volume, 8);
}

TEST(GuardedFolderBlock, IsTheFirstWithoutAnEntryWhereNoneIsAllZero) {
  ImageBuilder image(smallLayout());
  for (std::uint64_t block = 5; block < 16; ++block)
    image.pokeBlock(block, 0, block < 9 ? blockWithOneEntry(block) : emptiedBlock());
  GuardedVolume volume(std::move(image));
  createFolderIn(volume, 9);
}

TEST(GuardedFolderBlock, IsNeverOneWithAnEntry) {
  for (const std::size_t index : {std::size_t{0}, std::size_t{7}, std::size_t{15}}) {
    ImageBuilder image(smallLayout());
    for (std::uint64_t block = 5; block < 16; ++block)
      image.pokeBlock(block, 0, blockWithOneEntry(index));
    const GuardedVolume volume(std::move(image));
    volume.expectRefused(kNoFolderBlockError, [&](EMU3Error *error) {
      return volume->createDirectoryNamed("Drums", volume.root(), error);
    });
  }
}

TEST(GuardedFolderBlock, OfALostFolderIsKept) {
  ImageBuilder image(smallLayout());
  auto lost = image.root().addFolder("lost", {.blockList = {5}});
  lost.addFile("file", patternBytes(600, 1));
  image.pokeEntry(lost.place(), {});
  GuardedVolume volume(std::move(image));
  createFolderIn(volume, 6);
}

TEST(GuardedFolderBlock, IsNoneThatAnyFolderNames) {
  ImageBuilder image(smallLayout());
  auto outer = image.root().addFolder("outer", {.blockList = {5}});
  outer.addFolder("inner", {.blockList = {7, 5, 6}});
  GuardedVolume volume(std::move(image));
  ASSERT_TRUE(volume->createDirectoryNamed("Drums", volume.root()));
  volume.expected.pokeEntry({4, 1}, newFolderEntry("Drums", 8));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(GuardedFolderBlock, LiesOutsideTheTable) {
  GuardedVolume volume(ImageBuilder({.sizeBytes = 512 * kBlockBytes,
                                     .fatStartBlock = 6, // blocks 6 and 7
                                     .rootDirBlock = 5,
                                     .dataAreaBlock = 10,
                                     .slotSizeBlocks = 8,
                                     .marksBlocks = false}));
  createFolderIn(volume, 8);
}

TEST(GuardedFolderBlock, LiesBelowTheDataAreaAndInsideTheImage) {
  for (const auto &[dataArea, size] : {std::pair{7U, 512U}, {500U, 7U}}) {
    ImageBuilder image({.sizeBytes = 512 * kBlockBytes,
                        .fatStartBlock = 2,
                        .rootDirBlock = 4,
                        .dataAreaBlock = dataArea,
                        .slotSizeBlocks = 8,
                        .marksBlocks = false});
    image.resize(size * kBlockBytes + 100);
    const GuardedVolume volume(std::move(image));
    EMU3DirectoryPtr parent = volume.root();
    for (const std::int64_t block : {5, 6}) {
      ASSERT_TRUE(volume->createDirectoryNamed("level", parent));
      parent = parent->subdirectories()[0];
      EXPECT_EQ(parent->blockList(), std::vector<std::int64_t>{block});
    }
    volume.expectRefused(kNoFolderBlockError, [&](EMU3Error *error) {
      return volume->createDirectoryNamed("level", parent, error);
    });
  }
}

// --- Deleting a folder -----------------------------------------------------------------------------

TEST(GuardedFolderDeletion, LeavesABlockThatAFolderOutsideNames) {
  ImageBuilder image(smallLayout());
  auto first = image.root().addFolder("first", {.blockList = {5, 6}});
  first.addFile("file", patternBytes(600, 1), {.entry = std::size_t{16}}); // in the block of both
  image.root().addFolder("second", {.blockList = {7, 6, 4}});              // the root's too
  GuardedVolume volume(std::move(image));
  ASSERT_TRUE(volume->deleteDirectory(volume.folderAt("second"), volume.root()));
  clearBlock(volume.expected, 7);
  volume.expected.pokeEntry({4, 1}, {});
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(namesOf(volume.folderAt("first")->files()), Names{"file"});
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST(GuardedFolderDeletion, ClearsABlockThatOnlyDeletedFoldersName) {
  ImageBuilder image(smallLayout());
  auto outer = image.root().addFolder("outer", {.blockList = {8}});
  outer.addFolder("first", {.blockList = {5, 6}}).addFile("file", {}, {.entry = std::size_t{16}});
  outer.addFolder("second", {.blockList = {7, 6}});
  GuardedVolume volume(std::move(image));
  ASSERT_TRUE(volume->deleteDirectory(volume.folderAt("outer"), volume.root()));
  for (const std::uint64_t block : {5U, 6U, 7U, 8U})
    clearBlock(volume.expected, block);
  volume.expected.pokeEntry({4, 0}, {});
  EXPECT_TRUE(volume.imageIsAsExpected());
}

// Contents that read as a directory block without entries.
Bytes contentsWithoutEntries(std::size_t blocks) {
  Bytes contents = patternBytes(blocks * kBlockBytes, 3);
  for (std::size_t at = 0; at < contents.size(); at += 32)
    contents[at] = 0;
  return contents;
}

TEST(GuardedFolderDeletion, LeavesTheContentsOfALiveFileOutside) {
  ImageBuilder image(smallLayout());
  image.root().addFile("file", contentsWithoutEntries(3), {.slot = std::uint16_t{2}}); // blocks 24 to 26
  image.root().addFolder("folder", {.blockList = {24, 26, 27, 5}});
  image.pokeBlock(27, 0, emptiedBlock()); // in the file's slot, but none of its blocks
  GuardedVolume volume(std::move(image));
  ASSERT_TRUE(volume->deleteDirectory(volume.folderAt("folder"), volume.root()));
  clearBlock(volume.expected, 27);
  volume.expected.pokeEntry({4, 1}, {});
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(contentsOf(*volume, volume.file("file")), contentsWithoutEntries(3));
}

TEST(GuardedFolderDeletion, LeavesTheContentsOfAFileInSlotZero) {
  ImageBuilder image(smallLayout());
  image.root().addFile("file", contentsWithoutEntries(1), {.slot = std::uint16_t{0}}); // read as slot 1
  image.root().addFolder("folder", {.blockList = {16}});
  GuardedVolume volume(std::move(image));
  ASSERT_TRUE(volume->deleteDirectory(volume.folderAt("folder"), volume.root()));
  volume.expected.pokeEntry({4, 1}, {});
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(GuardedFolderDeletion, ClearsWhatLiesInTheContentsOfFilesThatAreGone) {
  ImageBuilder image(smallLayout());
  image.root().addFile("gone", contentsWithoutEntries(1), {.type = 0, .slot = std::uint16_t{2}});
  auto folder = image.root().addFolder("folder", {.blockList = {24, 32}});
  folder.addFile("inside", contentsWithoutEntries(1), {.slot = std::uint16_t{3}, .entry = std::size_t{0}});
  GuardedVolume volume(std::move(image));
  ASSERT_TRUE(volume->deleteDirectory(volume.folderAt("folder"), volume.root()));
  clearBlock(volume.expected, 24);
  clearBlock(volume.expected, 32);
  putMarks(volume.expected, 32, 8, 0);
  volume.expected.pokeEntry({4, 1}, {});
  EXPECT_TRUE(volume.imageIsAsExpected());
}

// --- What takes the entry of a deleted file ----------------------------------------------------------

// A volume whose root lists a deleted file at its first entry, and how something new takes that entry.
struct Taking {
  std::string what;
  std::function<bool(GuardedVolume &)> take;
};

void PrintTo(const Taking &taking, std::ostream *out) {
  *out << taking.what;
}

class TakenEntry : public testing::TestWithParam<Taking> {
protected:
  static ImageBuilder image() {
    ImageBuilder builder(smallLayout());
    builder.root().addFile("gone", patternBytes(10, 1), {.type = 0});
    auto folder = builder.root().addFolder("folder", {.blockList = {5}});
    folder.addFile("file", patternBytes(600, 2));
    folder.addFolder("below", {.blockList = {6}});
    return builder;
  }
};

TEST_P(TakenEntry, IsNoLongerThatOfTheDeletedFile) {
  GuardedVolume volume(image());
  const EMU3FilePtr gone = volume.file("gone");
  ASSERT_TRUE(GetParam().take(volume));
  EXPECT_FALSE(volume.root()->containsFile(gone));
  EXPECT_EQ(gone->folder(), nullptr);
  EXPECT_NE(volume.openedAnew()->rootDirectory()->files().size() +
                volume.openedAnew()->rootDirectory()->subdirectories().size(),
            1U)
      << "something new is there";
  EXPECT_TRUE(volume.isAsReadAnew());
  volume.expectRefused(kNoEntryError,
                       [&](EMU3Error *error) { return volume->deleteFile(gone, volume.root(), error); });
}

const std::vector<Taking> &takings() {
  static const std::vector<Taking> all = {
      {"Import", [](GuardedVolume &volume) { return volume.import("new", bytesOf("x")); }},
      {"Copy",
       [](GuardedVolume &volume) {
         return volume->copyFile(fileNamed(volume.folderAt("folder"), "file"), volume.root());
       }},
      {"Move",
       [](GuardedVolume &volume) {
         const EMU3DirectoryPtr folder = volume.folderAt("folder");
         return volume->moveFile(fileNamed(folder, "file"), folder, volume.root());
       }},
      {"Restore",
       [](GuardedVolume &volume) {
         const std::string path = volume.hostFile("backup", bytesOf("x"));
         return volume->restoreFileAtURL(path, newFileEntry("new", 1, 0, 1), volume.root()) != nullptr;
       }},
      {"NewFolder", [](GuardedVolume &volume) { return volume->createDirectoryNamed("new", volume.root()); }},
      {"FolderMove", [](GuardedVolume &volume) {
         return volume->moveDirectory(folderNamed(volume.folderAt("folder"), "below"), volume.root());
       }}};
  return all;
}

INSTANTIATE_TEST_SUITE_P(By, TakenEntry, testing::ValuesIn(takings()),
                         [](const auto &taking) { return taking.param.what; });

TEST(TakenEntryOfASharedBlock, IsNoLongerThatOfTheDeletedFileOfTheOtherFolder) {
  ImageBuilder image(smallLayout());
  auto first = image.root().addFolder("first", {.blockList = {5, 6}});
  first.addFile("gone", patternBytes(10, 1), {.type = 0, .entry = std::size_t{16}});
  auto second = image.root().addFolder("second", {.blockList = {7, 6}}); // the first one lists block 6
  fillFolder(second, 16);
  const GuardedVolume volume(std::move(image));
  const EMU3FilePtr gone = fileNamed(volume.folderAt("first"), "gone");
  ASSERT_TRUE(volume.import("new", bytesOf("x"), volume.folderAt("second")));
  const EMU3DirectoryPtr reader = volume.folderAt("first"); // shows it, as a fresh mount does
  EXPECT_EQ(placeOf(*fileNamed(reader, "new")), placeOf(*gone));
  EXPECT_EQ(namesOf(reader->files()), std::vector<std::string>{"new"});
}

} // namespace
} // namespace tessary::test
