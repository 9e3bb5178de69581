#include "filesystem/TreeEditor.h"
#include "tests/writing/EngineParts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <optional>

namespace tessary::test {
namespace {

// Each guard, and beside it what the bare rule does in the same place.

// --- A live folder's entry is not free -------------------------------------------------------------

TEST(FolderEntryGuard, KeepsFoldersMadeEarlier) {
  WritableVolume volume(ImageBuilder(smallLayout()), MountRules::guarded);
  ASSERT_TRUE(volume->createDirectoryNamed("first", volume.root()));
  ASSERT_TRUE(volume->createDirectoryNamed("second", volume.root()));
  ASSERT_TRUE(volume->importFileAtURL(volume.hostFile("file", bytesOf("x")), volume.root()));
  volume.expected.pokeEntry({4, 0}, newFolderEntry("first", 5));
  volume.expected.pokeEntry({4, 1}, newFolderEntry("second", 6));
  putNewFile(volume.expected, {4, 2}, "file", 1, 0, bytesOf("x"));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(FolderEntryGuard, OffLetsTheNextEntryReplaceTheFolders) {
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

TEST(FolderEntryGuard, SixteenFoldersFillAFolder) {
  const WritableVolume volume(volumeWithSixteenFolders(), MountRules::guarded);
  EMU3Error error;
  EXPECT_FALSE(volume->importFileAtURL(volume.hostFile("file", {}), volume.root(), &error));
  EXPECT_EQ(error.description(), kFolderFullError);
  EXPECT_FALSE(volume->createDirectoryNamed("more", volume.root(), &error));
  EXPECT_EQ(error.description(), kParentFullError);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(FolderEntryGuard, OffSixteenFoldersLeaveSixteenPlaces) {
  WritableVolume volume(volumeWithSixteenFolders());
  ASSERT_TRUE(volume->importFileAtURL(volume.hostFile("file", bytesOf("x")), volume.root()));
  putNewFile(volume.expected, {4, 0}, "file", 1, 0, bytesOf("x"));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(FolderEntryGuard, LetsGoOfADeletedFoldersEntry) {
  WritableVolume volume(volumeWithSixteenFolders(), MountRules::guarded);
  ASSERT_TRUE(volume->deleteDirectory(folderNamed(volume.root(), "folder 7"), volume.root()));
  ASSERT_TRUE(volume->importFileAtURL(volume.hostFile("file", bytesOf("x")), volume.root()));
  EXPECT_EQ(placeOf(*volume.root()->files().at(0)), (EntryPlace{4, 7}));
}

TEST(FolderEntryGuard, DoesNotKeepAFolderEntryThatReadsAsNone) {
  ImageBuilder image(smallLayout());
  const std::int16_t blocks[] = {6};
  image.root().addRaw(rawFolderEntry("                ", 0x40, blocks)); // no name, so no folder of the tree
  WritableVolume volume(std::move(image), MountRules::guarded);
  ASSERT_TRUE(volume->importFileAtURL(volume.hostFile("file", bytesOf("x")), volume.root()));
  putNewFile(volume.expected, {4, 0}, "file", 1, 0, bytesOf("x"));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(FolderEntryGuard, DoesNotKeepADeletedFileThatHasAName) {
  ImageBuilder image(smallLayout());
  image.root().addFile("gone", patternBytes(10, 1), {.type = 0});
  WritableVolume volume(std::move(image), MountRules::guarded);
  ASSERT_TRUE(volume->importFileAtURL(volume.hostFile("file", bytesOf("x")), volume.root()));
  putNewFile(volume.expected, {4, 0}, "file", 2, 1, bytesOf("x"));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

// What the tree remembers of a deleted file must not harm the file that has its entry now.
TEST(FolderEntryGuard, DeletingADeletedFileLeavesTheFileThatHasItsEntryNow) {
  ImageBuilder image(smallLayout());
  image.root().addFile("gone", patternBytes(10, 1), {.type = 0});
  const WritableVolume volume(std::move(image), MountRules::guarded);
  const EMU3FilePtr gone = volume.root()->files().at(0);
  ASSERT_TRUE(volume->importFileAtURL(volume.hostFile("file", bytesOf("x")), volume.root()));
  volume->deleteFile(gone, volume.root());
  EXPECT_EQ(namesOf(volume.openedAnew()->rootDirectory()->files()), std::vector<std::string>{"file"});
}

TEST(FolderEntryGuard, DeletingADeletedFileLeavesTheFolderThatHasItsEntryNow) {
  ImageBuilder image(smallLayout());
  image.root().addFile("gone", patternBytes(10, 1), {.type = 0});
  const WritableVolume volume(std::move(image), MountRules::guarded);
  const EMU3FilePtr gone = volume.root()->files().at(0);
  ASSERT_TRUE(volume->createDirectoryNamed("folder", volume.root()));
  volume->deleteFile(gone, volume.root());
  EXPECT_EQ(namesOf(volume.openedAnew()->rootDirectory()->subdirectories()),
            std::vector<std::string>{"folder"});
}

// --- Marks stay inside the table -------------------------------------------------------------------

struct TableEnd {
  std::string what;
  std::uint32_t fatStart;
  std::uint32_t root;
  std::uint32_t dataArea;
  std::uint64_t entries; ///< that may be marked
};

void PrintTo(const TableEnd &end, std::ostream *out) {
  *out << end.what;
}

std::string nameOfEnd(const testing::TestParamInfo<TableEnd> &info) {
  std::string name = info.param.what;
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
}

class TableGuard : public testing::TestWithParam<TableEnd> {
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

TEST_P(TableGuard, MarksOnlyWhatTheTableHasEntriesFor) {
  OpenedVolume volume(ImageBuilder(layout()), MountRules::guarded);
  const Counters before = volume.counters();
  volume.mark(1, 1000);
  const std::uint64_t first = GetParam().dataArea;
  const std::uint64_t end = std::min(GetParam().entries, first + 1000);
  if (end > first) putMarks(volume.expected, first, end - first, 0x8000);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.counters(), (Counters{before.used + 1000, before.free - 1000}));
  volume.giveBack(1, 1000);
  if (end > first) putMarks(volume.expected, first, end - first, 0);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.counters(), before);
}

TEST_P(TableGuard, OffMarksWhateverLiesThere) {
  OpenedVolume volume{ImageBuilder(layout())};
  volume.mark(1, 1000);
  putMarks(volume.expected, GetParam().dataArea, 1000, 0x8000);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

INSTANTIATE_TEST_SUITE_P(Ends, TableGuard,
                         testing::Values(TableEnd{"root block next", 2, 3, 20, 256},
                                         TableEnd{"data area next", 2, 200, 4, 512},
                                         TableEnd{"root block before", 10, 9, 12, 512},
                                         TableEnd{"data area before", 20, 22, 10, 512},
                                         TableEnd{"both before", 20, 9, 10, 1024 * 1024}),
                         nameOfEnd);

TEST(TableGuardOnDeletion, LeavesTheFoldersBehindTheTable) {
  VolumeLayout layout = smallLayout();
  layout.rootDirBlock = 3; // entries 0 to 255
  layout.dataAreaBlock = 16;
  ImageBuilder image(layout);
  const PlacedFile placed =
      image.root().addFile("file", patternBytes(20 * 512, 1), {.slot = std::uint16_t{30}});
  WritableVolume volume(std::move(image), MountRules::guarded); // blocks 248 to 267
  ASSERT_TRUE(volume->deleteFile(volume.root()->files()[0], volume.root()));
  putMarks(volume.expected, 248, 8, 0);
  clearFileEntry(volume.expected, placed.entry);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(TableGuardOnDeletion, OffClearsWhatLiesBehindTheTable) {
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

// --- A file has at most 65,535 blocks --------------------------------------------------------------

constexpr std::uint64_t kLargest = 65535 * kBlockBytes;

VolumeLayout largeLayout() {
  return {.sizeBytes = 90 * kMiB, .slotSizeBlocks = 4096, .directoryBlocks = 12};
}

std::string sparseFile(const WritableVolume &volume, std::uint64_t size) {
  const std::string path = volume.hostFile("large", patternBytes(2000, 1));
  std::filesystem::resize_file(path, size);
  return path;
}

TEST(FileSizeGuard, TakesALargestFileWhole) {
  WritableVolume volume(ImageBuilder(largeLayout()), MountRules::guarded);
  ASSERT_TRUE(volume->importFileAtURL(sparseFile(volume, kLargest), volume.root()));
  Bytes contents = patternBytes(2000, 1);
  contents.resize(kLargest);
  const EntryPlace place{volume->rootDirBlock(), 0};
  putNewFile(volume.expected, place, "large", 1, 0, contents);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.openedAnew()->rootDirectory()->files().at(0)->fileSize(), kLargest);
}

TEST(FileSizeGuard, RefusesALargerOneAndChangesNothing) {
  const WritableVolume volume(ImageBuilder(largeLayout()), MountRules::guarded);
  const Counters before = countersOf(*volume);
  for (const std::uint64_t size : {kLargest + 1, 32 * kMiB, 40 * kMiB}) {
    const std::string path = sparseFile(volume, size);
    EMU3Error error;
    EXPECT_FALSE(volume->importFileAtURL(path, volume.root(), &error)) << size;
    EXPECT_EQ(error.description(), kTooLargeError) << size;
    EXPECT_FALSE(volume->restoreFileAtURL(path, "name", volume.root(), &error));
    EXPECT_EQ(error.description(), kTooLargeError) << size;
    EXPECT_FALSE(volume->importFileAtURL(path, volume.root()));
  }
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), before);
  EXPECT_TRUE(volume.root()->files().empty());
}

TEST(FileSizeGuard, RefusesACopyOfLargerContents) {
  ImageBuilder image(largeLayout());
  image.root().addFile("source", bytesOf("x"));
  const WritableVolume volume(std::move(image), MountRules::guarded);
  const EMU3FilePtr source = volume.root()->files()[0];
  TreeEditor::setCachedData(*source, std::make_shared<ByteBuffer>(kLargest + 1, std::uint8_t{7}));
  EMU3Error error;
  EXPECT_FALSE(volume->copyFile(source, volume.root(), &error));
  EXPECT_EQ(error.description(), kTooLargeError);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(FileSizeGuard, IsLookedAtBeforeTheFreeSpaceAndTheFolder) {
  ImageBuilder image(smallLayout());
  fillFolder(image.root());
  const WritableVolume volume(std::move(image), MountRules::guarded);
  EMU3Error error;
  EXPECT_FALSE(volume->importFileAtURL(sparseFile(volume, 1024 * kMiB), volume.root(), &error));
  EXPECT_EQ(error.description(), kTooLargeError);
}

// The entry's 16 bits of block count wrap, and so does the count of blocks marked.
TEST(FileSizeGuard, OffAFileOf32MiBIsStoredWithAnEntryOfNoBlocks) {
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

TEST(FileSizeGuard, OffAFileOf40MiBIsStoredWithTheLowBitsOfItsBlocks) {
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

// --- Names -----------------------------------------------------------------------------------------

const std::string kHalfCutName = "abcdefghijklmn\u00e9"; // its last character has bytes 15 and 16

TEST(NameGuard, CutsEveryNewEntryAtAWholeCharacter) {
  WritableVolume volume(ImageBuilder(smallLayout()), MountRules::guarded);
  ASSERT_TRUE(volume->importFileAtURL(volume.hostFile(kHalfCutName, bytesOf("x")), volume.root()));
  ASSERT_TRUE(volume->copyFile(volume.root()->files()[0], volume.root()));
  ASSERT_TRUE(volume->createDirectoryNamed(kHalfCutName, volume.root()));
  const std::string stored = kHalfCutName.substr(0, 14);
  putNewFile(volume.expected, {4, 0}, stored, 1, 0, bytesOf("x"));
  putNewFile(volume.expected, {4, 1}, stored, 2, 1, bytesOf("x"));
  volume.expected.pokeEntry({4, 2}, newFolderEntry(stored, 5));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(namesOf(volume.openedAnew()->rootDirectory()->files()),
            (std::vector<std::string>{stored, stored}));
  EXPECT_EQ(namesOf(volume.openedAnew()->rootDirectory()->subdirectories()),
            std::vector<std::string>{stored});
}

TEST(NameGuard, CutsARenamedEntryAtAWholeCharacter) {
  ImageBuilder image(smallLayout());
  image.root().addFile("file", bytesOf("x"));
  WritableVolume volume(std::move(image), MountRules::guarded);
  ASSERT_TRUE(volume->renameFile(volume.root()->files()[0], kHalfCutName, volume.root()));
  putName(volume.expected, {4, 0}, "abcdefghijklmn  ");
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.root()->files()[0]->name(), kHalfCutName);
}

TEST(NameGuard, OffCutsThroughACharacterAndTheEntryIsLost) {
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

// Names whose entry would read back as none: spaces, what is left of spaces and a character cut off, a
// zero byte at the beginning, bytes that are no text.
const std::vector<std::string> kNamesOfNothing = {" ", "               ", "              \u20ac",
                                                  std::string("\0name", 5),
                                                  "\xFF"
                                                  "name"};

// A volume with a file "file", and the operation must fail for the name and change nothing.
void expectNameRefused(
    const std::function<bool(WritableVolume &, const std::string &, EMU3Error *)> &operation) {
  for (const std::string &name : kNamesOfNothing) {
    ImageBuilder image(smallLayout());
    image.root().addFile("file", bytesOf("x"));
    WritableVolume volume(std::move(image), MountRules::guarded);
    const Counters before = countersOf(*volume);
    EMU3Error error;
    EXPECT_FALSE(operation(volume, name, &error)) << name;
    EXPECT_EQ(error.description(), kNameError) << name;
    EXPECT_FALSE(operation(volume, name, nullptr));
    EXPECT_TRUE(volume.imageIsAsExpected()) << name;
    EXPECT_EQ(countersOf(*volume), before);
    EXPECT_EQ(volume.root()->files().size(), 1U);
    EXPECT_TRUE(volume.root()->subdirectories().empty());
  }
}

TEST(NameGuard, RefusesANewNameThatWouldReadBackAsNone) {
  expectNameRefused([](WritableVolume &volume, const std::string &name, EMU3Error *error) {
    const EMU3FilePtr file = volume.root()->files()[0];
    const bool renamed = volume->renameFile(file, name, volume.root(), error);
    EXPECT_EQ(file->name(), "file");
    return renamed;
  });
}

TEST(NameGuard, RefusesAFolderNameThatWouldReadBackAsNone) {
  expectNameRefused([](WritableVolume &volume, const std::string &name, EMU3Error *error) {
    return volume->createDirectoryNamed(name, volume.root(), error);
  });
}

TEST(NameGuard, RefusesACopyWhoseNameWouldReadBackAsNone) {
  expectNameRefused([](WritableVolume &volume, const std::string &name, EMU3Error *error) {
    TreeEditor::setName(*volume.root()->files()[0], name);
    return volume->copyFile(volume.root()->files()[0], volume.root(), error);
  });
}

TEST(NameGuard, RefusesARestoredNameThatWouldReadBackAsNone) {
  expectNameRefused([](WritableVolume &volume, const std::string &name, EMU3Error *error) {
    return volume->restoreFileAtURL(volume.hostFile("backup", bytesOf("x")), name, volume.root(), error);
  });
}

TEST(NameGuard, RefusesAnImportOfSpacesAlone) {
  const WritableVolume volume(ImageBuilder(smallLayout()), MountRules::guarded);
  for (const std::string name : {" .wav", "   ", "                and more.wav"}) {
    EMU3Error error;
    EXPECT_FALSE(volume->importFileAtURL(volume.hostFile(name, bytesOf("x")), volume.root(), &error)) << name;
    EXPECT_EQ(error.description(), kNameError) << name;
  }
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(NameGuard, IsLookedAtBeforeTheSpaceAndTheFolder) {
  ImageBuilder image = volumeWithFreeBlocks(0);
  fillFolder(image.root());
  const WritableVolume volume(std::move(image), MountRules::guarded);
  EMU3Error error;
  EXPECT_FALSE(volume->importFileAtURL(volume.hostFile("  ", bytesOf("x")), volume.root(), &error));
  EXPECT_EQ(error.description(), kNameError);
  EXPECT_FALSE(volume->createDirectoryNamed("  ", volume.root(), &error));
  EXPECT_EQ(error.description(), kNameError);
}

TEST(NameGuard, OffStoresSpacesAndTheEntryIsLost) {
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

// --- What has left the tree ------------------------------------------------------------------------

class GoneGuard : public testing::Test {
protected:
  static ImageBuilder image() {
    ImageBuilder builder(smallLayout());
    builder.root().addFile("file", patternBytes(600, 1));
    builder.root().addFile("gone", patternBytes(600, 2));
    auto outer = builder.root().addFolder("outer", {.blockList = {5}});
    outer.addFolder("inner", {.blockList = {6}}).addFile("deep", patternBytes(600, 3));
    builder.root().addFolder("other", {.blockList = {7}});
    return builder;
  }

  GoneGuard() { volume.emplace(image(), MountRules::guarded); }

  EMU3Filesystem &filesystem() { return *volume->filesystem(); }
  EMU3DirectoryPtr root() { return volume->root(); }
  std::string hostFile() { return volume->hostFile("host", bytesOf("x")); }

  // From here on the image must not change any more.
  void takeImageAsExpected() { volume->expected.poke(0, readBytes(volume->imagePath())); }

  void expectRefused(const std::function<bool(EMU3Error *)> &operation) {
    const Counters before = countersOf(filesystem());
    EMU3Error error;
    EXPECT_FALSE(operation(&error));
    EXPECT_EQ(error.description(), kNoEntryError);
    EXPECT_FALSE(operation(nullptr));
    EXPECT_TRUE(volume->imageIsAsExpected());
    EXPECT_EQ(countersOf(filesystem()), before);
  }
  // Every operation on a file that is not in `folder` any more.
  void expectFileRefused(const EMU3FilePtr &file, const EMU3DirectoryPtr &folder) {
    expectRefused([&](EMU3Error *error) { return filesystem().deleteFile(file, folder, error); });
    expectRefused([&](EMU3Error *error) { return filesystem().renameFile(file, "new", folder, error); });
    expectRefused([&](EMU3Error *error) { return filesystem().renameFile(file, "", folder, error); });
    expectRefused([&](EMU3Error *error) { return filesystem().moveFile(file, folder, root(), error); });
    expectRefused([&](EMU3Error *error) { return filesystem().moveFile(file, folder, folder, error); });
  }
  // Every operation on a folder that has left the tree.
  void expectFolderRefused(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &parent) {
    const EMU3FilePtr file = fileNamed(root(), "file");
    const std::string path = hostFile();
    expectRefused([&](EMU3Error *error) { return filesystem().copyFile(file, folder, error); });
    expectRefused([&](EMU3Error *error) { return filesystem().moveFile(file, root(), folder, error); });
    expectRefused([&](EMU3Error *error) { return filesystem().importFileAtURL(path, folder, error); });
    expectRefused([&](EMU3Error *e) { return filesystem().restoreFileAtURL(path, "a", folder, e); });
    expectRefused([&](EMU3Error *e) { return filesystem().createDirectoryNamed("new", folder, e); });
    expectRefused([&](EMU3Error *error) { return filesystem().createDirectoryNamed("", folder, error); });
    expectRefused([&](EMU3Error *error) { return filesystem().deleteDirectory(folder, parent, error); });
    EXPECT_TRUE(folder->files().empty());
    EXPECT_TRUE(folder->subdirectories().empty());
  }

  std::optional<WritableVolume> volume;
};

TEST_F(GoneGuard, DeletedFileChangesNothingMore) {
  const EMU3FilePtr gone = fileNamed(root(), "gone");
  ASSERT_TRUE(filesystem().deleteFile(gone, root()));
  ASSERT_TRUE(filesystem().importFileAtURL(hostFile(), root())); // takes its entry
  EXPECT_EQ(placeOf(*fileNamed(root(), "host")), placeOf(*gone));
  takeImageAsExpected();
  expectFileRefused(gone, root());
  expectRefused([&](EMU3Error *error) { return filesystem().copyFile(gone, root(), error); });
}

TEST_F(GoneGuard, MovedFileIsNoLongerInItsFolder) {
  const EMU3FilePtr gone = fileNamed(root(), "gone");
  ASSERT_TRUE(filesystem().moveFile(gone, root(), folderNamed(root(), "other")));
  takeImageAsExpected();
  expectFileRefused(gone, root());
  expectFileRefused(gone, folderNamed(root(), "other"));
}

TEST_F(GoneGuard, FileOfAnotherFolderIsNotInThisOne) {
  const EMU3FilePtr file = fileNamed(root(), "file");
  expectFileRefused(file, folderNamed(root(), "other"));
  expectRefused([&](EMU3Error *error) { return filesystem().renameFile(file, "new", nullptr, error); });
}

TEST_F(GoneGuard, DeletedFolderChangesNothingMore) {
  const EMU3DirectoryPtr other = folderNamed(root(), "other");
  ASSERT_TRUE(filesystem().deleteDirectory(other, root()));
  ASSERT_TRUE(filesystem().createDirectoryNamed("new", root())); // takes its block and its entry
  EXPECT_EQ(folderNamed(root(), "new")->blockList(), other->blockList());
  takeImageAsExpected();
  expectFolderRefused(other, root());
}

TEST_F(GoneGuard, FoldersBelowADeletedOneChangeNothingMore) {
  const EMU3DirectoryPtr outer = folderNamed(root(), "outer");
  const EMU3DirectoryPtr inner = folderNamed(outer, "inner");
  const EMU3FilePtr deep = fileNamed(inner, "deep");
  ASSERT_TRUE(filesystem().deleteDirectory(outer, root()));
  takeImageAsExpected();
  expectFolderRefused(inner, outer);
  expectFileRefused(deep, inner);
  expectRefused([&](EMU3Error *error) { return filesystem().copyFile(deep, root(), error); });
}

TEST_F(GoneGuard, SubtreeCutOffInMemoryChangesNothingMore) {
  // As an ancestor that is no longer listed by its parent, with everything below it still in place.
  const EMU3DirectoryPtr outer = folderNamed(root(), "outer");
  const EMU3DirectoryPtr inner = folderNamed(outer, "inner");
  const EMU3FilePtr deep = fileNamed(inner, "deep");
  TreeEditor::removeSubdirectory(root(), outer);
  expectFileRefused(deep, inner);
  const std::string path = hostFile();
  expectRefused([&](EMU3Error *error) { return filesystem().importFileAtURL(path, inner, error); });
  expectRefused([&](EMU3Error *error) { return filesystem().deleteDirectory(inner, outer, error); });
}

TEST_F(GoneGuard, FolderIsDeletedOnlyFromItsParent) {
  const EMU3DirectoryPtr outer = folderNamed(root(), "outer");
  const EMU3DirectoryPtr inner = folderNamed(outer, "inner");
  expectRefused([&](EMU3Error *error) { return filesystem().deleteDirectory(inner, root(), error); });
  expectRefused([&](EMU3Error *error) { return filesystem().deleteDirectory(inner, nullptr, error); });
  expectRefused([&](EMU3Error *error) { return filesystem().deleteDirectory(root(), root(), error); });
  expectRefused([&](EMU3Error *error) { return filesystem().deleteDirectory(root(), nullptr, error); });
}

TEST_F(GoneGuard, TreeBeforeAReloadChangesNothingMore) {
  const EMU3DirectoryPtr oldRoot = root();
  const EMU3DirectoryPtr oldOther = folderNamed(oldRoot, "other");
  const EMU3FilePtr oldFile = fileNamed(oldRoot, "file");
  ASSERT_TRUE(filesystem().reload());
  expectFileRefused(oldFile, oldRoot);
  expectFileRefused(oldFile, root());
  expectRefused([&](EMU3Error *error) { return filesystem().copyFile(oldFile, root(), error); });
  expectFolderRefused(oldOther, oldRoot);
  const std::string path = hostFile();
  expectRefused([&](EMU3Error *error) { return filesystem().importFileAtURL(path, oldRoot, error); });
}

TEST_F(GoneGuard, FoldersOfAnotherVolumeAreNotOfThisOne) {
  const WritableVolume another(image(), MountRules::guarded);
  const std::string path = hostFile();
  expectRefused([&](EMU3Error *e) { return filesystem().importFileAtURL(path, another.root(), e); });
  expectFileRefused(fileNamed(another.root(), "file"), another.root());
  EXPECT_TRUE(another.imageIsAsExpected());
}

TEST_F(GoneGuard, IsLookedAtBeforeNameSpaceAndSize) {
  const EMU3DirectoryPtr other = folderNamed(root(), "other");
  ASSERT_TRUE(filesystem().deleteDirectory(other, root()));
  takeImageAsExpected();
  expectRefused(
      [&](EMU3Error *e) { return filesystem().createDirectoryNamed("16 characters...", other, e); });
  const std::string blankAndLarge = volume->folder().path("  .e4b");
  writeText(blankAndLarge, "");
  ASSERT_EQ(::truncate(blankAndLarge.c_str(), 40 * 1024 * 1024), 0);
  expectRefused([&](EMU3Error *e) { return filesystem().importFileAtURL(blankAndLarge, other, e); });
  EMU3Error error;
  EXPECT_FALSE(filesystem().importFileAtURL(blankAndLarge, root(), &error));
  EXPECT_EQ(error.code, 6); // and the name before the size
}

TEST_F(GoneGuard, ContentsOfAFileThatHasLeftTheTreeAreNotReadFromItsOldSlot) {
  const EMU3FilePtr gone = fileNamed(root(), "file");
  ASSERT_TRUE(filesystem().deleteFile(gone, root()));
  const std::string target = volume->folder().path("gone.E4B");
  EMU3Error error;
  EXPECT_FALSE(filesystem().exportFile(gone, target, &error));
  EXPECT_EQ(error.description(), kNoEntryError);
  EXPECT_FALSE(filesystem().exportSampleAtIndex(0, gone, target, &error));
  EXPECT_EQ(error.description(), kNoEntryError);
  EXPECT_TRUE(filesystem().samplesFromBankFile(gone, &error).empty());
  EXPECT_EQ(error.description(), kNoEntryError);
  EXPECT_FALSE(std::filesystem::exists(target));
}

TEST(GoneGuardOff, DeletedFileStillClearsTheEntryAtItsOldPlace) {
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

TEST(GoneGuardOff, DeletedFolderStillTakesFilesIntoItsOldBlock) {
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
