#include "tests/support/MountedVolume.h"

#include <gtest/gtest.h>

#include <optional>

namespace tessary::test {
namespace {

// What a guarded volume keeps when its parts lie over one another.

/// Reads what the image holds now by a guarded mount of a copy.
EMU3FilesystemPtr readGuardedAnew(const MountedVolume &volume) {
  const TemporaryFolder folder; // removed at once: the mapping is enough
  copySparse(volume.imagePath(), folder.path("disk.hda"));
  return mounted(folder.path("disk.hda"), MountRules::guarded);
}

std::string hostFile(const MountedVolume &volume, const std::string &name, const Bytes &contents) {
  const std::string path = volume.folder().path(name);
  writeBytes(path, contents);
  return path;
}

TEST(FolderInTheTable, FiguresFollowTheMarksThatItsEntriesAre) {
  ImageBuilder image(
      {.sizeBytes = 200 * kBlockBytes, .rootDirBlock = 4, .dataAreaBlock = 20, .slotSizeBlocks = 4});
  // Block 2 describes blocks 0 to 255: its entries 2 and later stand for blocks of the data area.
  auto folder = image.root().addFolder("In the table", {.blockList = {2}});
  folder.addFile("marks", {}, {.slot = 1, .entry = 5, .storesContents = false});
  const MountedVolume volume(image, MountRules::guarded);
  const EMU3DirectoryPtr inTable = folderNamed(volume.root(), "In the table");
  ASSERT_TRUE(volume->renameFile(inTable->files().front(), "longer name", inTable));
  EXPECT_EQ(volume->freeBlocks(), readGuardedAnew(volume)->freeBlocks());
  ASSERT_TRUE(volume->deleteFile(inTable->files().front(), inTable));
  EXPECT_EQ(volume->freeBlocks(), readGuardedAnew(volume)->freeBlocks());
}

// Two folders name one block. The first, in the order of the parse, shows what lies in it.
class SharedFolderBlock : public testing::Test {
protected:
  SharedFolderBlock() {
    ImageBuilder image;
    auto first = image.root().addFolder("first");
    const auto block = static_cast<std::int16_t>(first.blocks().front());
    first.addFile("KICK", bytesOf("boom"));
    first.addFile("deleted", {}, {.type = 0, .slot = 3, .storesContents = false});
    first.addFolder("below").addFile("SNARE", bytesOf("tock"));
    image.root().addFolder("second", {.blockList = {block}});
    volume.emplace(image, MountRules::guarded);
  }

  EMU3DirectoryPtr first() const { return folderNamed(volume->root(), "first"); }
  EMU3DirectoryPtr second() const { return folderNamed(volume->root(), "second"); }
  bool import(const std::string &name, const EMU3DirectoryPtr &folder) {
    return (*volume)->importFileAtURL(hostFile(*volume, name, bytesOf("x")), folder);
  }

  std::optional<MountedVolume> volume;
};

TEST_F(SharedFolderBlock, ShowsInTheFirstWhatWasWrittenThroughTheSecond) {
  const EMU3FilePtr kick = fileNamed(first(), "KICK");
  ASSERT_TRUE(import("NEW", second()));
  EXPECT_EQ(namesOf(first()->files()), (std::vector<std::string>{"KICK", "NEW"})) << "over the deleted one";
  EXPECT_TRUE(second()->files().empty());
  EXPECT_EQ(fileNamed(first(), "KICK"), kick);
}

TEST_F(SharedFolderBlock, GivesTheFolderThatWasMadeThroughTheSecond) {
  EMU3DirectoryPtr made;
  ASSERT_TRUE((*volume)->createDirectoryNamed("new", second(), nullptr, &made));
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->name(), "new");
  EXPECT_EQ(namesOf(first()->subdirectories()), (std::vector<std::string>{"below", "new"}));
  EXPECT_TRUE(second()->subdirectories().empty());
}

TEST_F(SharedFolderBlock, ShowsInTheSecondWhatWasTheFirstsOnceThatIsGone) {
  const EMU3DirectoryPtr below = folderNamed(first(), "below");
  EXPECT_FALSE((*volume)->moveDirectory(first(), below)) << "into itself";
  ASSERT_TRUE((*volume)->deleteFile(fileNamed(first(), "KICK"), first()));
  ASSERT_TRUE((*volume)->createDirectoryNamed("third", volume->root()));
  ASSERT_TRUE((*volume)->moveDirectory(first(), folderNamed(volume->root(), "third")));
  EXPECT_EQ(namesOf(second()->subdirectories()), std::vector<std::string>{"below"});
  EXPECT_EQ(namesOf(folderNamed(second(), "below")->files()), std::vector<std::string>{"SNARE"});
  EXPECT_TRUE(folderNamed(folderNamed(volume->root(), "third"), "first")->subdirectories().empty());
}

TEST_F(SharedFolderBlock, OfAFolderThatIsDeletedStaysTheOthersEmptied) {
  ASSERT_TRUE((*volume)->deleteDirectory(first(), volume->root()));
  EXPECT_EQ(namesOf(second()->files()), std::vector<std::string>{"deleted"}) << "as it was before";
  EXPECT_TRUE(second()->subdirectories().empty());
  ASSERT_TRUE(import("NEW", second()));
  EXPECT_EQ(namesOf(second()->files()), (std::vector<std::string>{"deleted", "NEW"}));
}

TEST(NameWithAZeroByte, IsRefusedWhereItsEntryWouldReadAsNone) {
  ImageBuilder image;
  image.root().addFile("KICK", bytesOf("boom"));
  const MountedVolume volume(image, MountRules::guarded);
  const EMU3FilePtr file = fileNamed(volume.root(), "KICK");
  const Bytes before = readBytes(volume.imagePath());
  for (const std::string &name : {std::string("\0abc", 4), std::string(" \0abc", 5), std::string(1, '\0')}) {
    EMU3Error error;
    EXPECT_FALSE(volume->renameFile(file, name, volume.root(), &error));
    EXPECT_EQ(error.code, kErrorBadArgument);
    EXPECT_FALSE(volume->createDirectoryNamed(name, volume.root()));
  }
  EXPECT_EQ(readBytes(volume.imagePath()), before);
  ASSERT_TRUE(volume->renameFile(file, std::string("ab\0c", 4), volume.root()));
  EXPECT_EQ(file->name(), "ab");
}

TEST(RestoredEntry, WithoutAFirstByteIsRefused) {
  const MountedVolume volume(ImageBuilder(), MountRules::guarded);
  const Bytes before = readBytes(volume.imagePath());
  EntryBytes entry = rawFileEntry("KICK", 0x81, 0, 1, 1, 1, 4);
  entry[0] = 0;
  EMU3Error error;
  EXPECT_FALSE(
      volume->restoreFileAtURL(hostFile(volume, "backup", bytesOf("boom")), entry, volume.root(), &error));
  EXPECT_EQ(error.code, kErrorBadArgument);
  EXPECT_EQ(readBytes(volume.imagePath()), before);
}

// Slots from block 20 on, the table from block 40 on: slot 1 has a file that runs over the table.
TEST(FileOverTheTable, KeepsItsContentsWhenMarksAreWritten) {
  ImageBuilder image({.sizeBytes = 600 * kBlockBytes,
                      .fatStartBlock = 40,
                      .rootDirBlock = 6,
                      .dataAreaBlock = 20,
                      .slotSizeBlocks = 16,
                      .marksBlocks = false});
  image.root().addFile("long", Bytes(30 * kBlockBytes), {.slot = 1});
  image.root().addFile("other", patternBytes(700, 2), {.slot = 9});
  const MountedVolume volume(image, MountRules::guarded);
  const auto contents = [&] { return readBytes(volume.imagePath(), 20 * kBlockBytes, 30 * kBlockBytes); };
  const Bytes before = contents();
  ASSERT_TRUE(volume->deleteFile(fileNamed(volume.root(), "other"), volume.root()));
  EXPECT_EQ(contents(), before);
  ASSERT_TRUE(volume->importFileAtURL(hostFile(volume, "new.E4B", bytesOf("x")), volume.root()));
  EXPECT_EQ(contents(), before);
  EXPECT_EQ(volume->freeBlocks(), readGuardedAnew(volume)->freeBlocks());
}

// A folder whose entry was damaged, and now names a block of the file's contents.
ImageBuilder volumeWithAFolderInAFile() {
  ImageBuilder image;
  const auto block = static_cast<std::int16_t>(image.slotBlock(1) + 2);
  image.root().addFile("long", {}, {.slot = 1, .sizeBytes = 5 * kBlockBytes});
  image.root().addFolder("damaged", {.blockList = {block}});
  image.pokeBlock(image.slotBlock(1) + 1, 0, patternBytes(3 * kBlockBytes, 3));
  image.pokeBlock(image.slotBlock(1) + 2, 64, Bytes(32)); // a place that looks free
  return image;
}

Bytes contentsOfLong(const MountedVolume &volume) {
  const EMU3FilesystemPtr anew = readGuardedAnew(volume);
  return contentsOf(*anew, fileNamed(anew->rootDirectory(), "long"));
}

TEST(FolderInAFile, TakesNoNewEntriesThere) {
  const MountedVolume volume(volumeWithAFolderInAFile(), MountRules::guarded);
  const Bytes before = contentsOfLong(volume);
  const EMU3DirectoryPtr damaged = folderNamed(volume.root(), "damaged");
  ASSERT_TRUE(volume->importFileAtURL(hostFile(volume, "new.E4B", bytesOf("x")), damaged));
  ASSERT_TRUE(volume->createDirectoryNamed("below", damaged));
  EXPECT_EQ(contentsOfLong(volume), before);
  EXPECT_EQ(damaged->blockList().size(), 2U) << "it grew";
}

// The entries of "inside" lie in the contents of "long".
class EntriesInAFile : public testing::Test {
protected:
  EntriesInAFile() {
    ImageBuilder image;
    const auto block = static_cast<std::int16_t>(image.slotBlock(1) + 2);
    image.root().addFile("long", {}, {.slot = 1, .sizeBytes = 5 * kBlockBytes});
    auto inside = image.root().addFolder("inside", {.blockList = {block}});
    inside.addFile("KICK", bytesOf("boom"), {.slot = 2});
    auto full = inside.addFolder("full", {.blockList = {20}});
    for (int i = 0; i < 16; ++i)
      full.addFile("file", {}, {.slot = 3, .storesContents = false});
    image.root().addFolder("other");
    volume.emplace(image, MountRules::guarded);
    folder = folderNamed(volume->root(), "inside");
    other = folderNamed(volume->root(), "other");
  }

  template <typename Change> void expectRefused(const Change &change) {
    const Bytes before = readBytes(volume->imagePath());
    EMU3Error error;
    EXPECT_FALSE(change(&error));
    EXPECT_EQ(error.code, 3);
    EXPECT_EQ(error.message, "The entry lies in the contents of another file");
    EXPECT_TRUE(readBytes(volume->imagePath()) == before);
  }

  std::optional<MountedVolume> volume;
  EMU3DirectoryPtr folder;
  EMU3DirectoryPtr other;
};

TEST_F(EntriesInAFile, OfFilesStayAsTheyAre) {
  const EMU3FilePtr kick = fileNamed(folder, "KICK");
  EMU3Filesystem &engine = **volume;
  expectRefused([&](EMU3Error *error) { return engine.renameFile(kick, "SNARE", folder, error); });
  expectRefused([&](EMU3Error *error) { return engine.deleteFile(kick, folder, error); });
  expectRefused([&](EMU3Error *error) { return engine.moveFile(kick, folder, other, error); });
  EXPECT_EQ(contentsOf(engine, kick), bytesOf("boom"));
  EXPECT_TRUE(engine.copyFile(kick, other)) << "which leaves the file where it is";
}

TEST_F(EntriesInAFile, OfFoldersStayAsTheyAre) {
  const EMU3DirectoryPtr full = folderNamed(folder, "full");
  EMU3Filesystem &engine = **volume;
  expectRefused([&](EMU3Error *error) { return engine.renameDirectory(full, "empty", error); });
  expectRefused([&](EMU3Error *error) { return engine.deleteDirectory(full, folder, error); });
  expectRefused([&](EMU3Error *error) { return engine.moveDirectory(full, other, error); });
}

TEST_F(EntriesInAFile, OfAFullFolderLetItNotGrow) {
  const EMU3DirectoryPtr full = folderNamed(folder, "full");
  EMU3Filesystem &engine = **volume;
  const std::string path = hostFile(*volume, "new.E4B", bytesOf("x"));
  EMU3Error error;
  EXPECT_FALSE(engine.importFileAtURL(path, full, &error));
  EXPECT_EQ(error.message, "Destination directory is full");
}

TEST_F(EntriesInAFile, CanBeChangedOnceThatFileIsGone) {
  EMU3Filesystem &engine = **volume;
  ASSERT_TRUE(engine.deleteFile(fileNamed(volume->root(), "long"), volume->root()));
  EXPECT_TRUE(engine.renameFile(fileNamed(folder, "KICK"), "SNARE", folder));
  EXPECT_TRUE(engine.deleteDirectory(folder, volume->root()));
}

TEST(EntryInTheFileItself, IsChangedAsAnyOther) {
  ImageBuilder image;
  const auto block = static_cast<std::int16_t>(image.slotBlock(1) + 2);
  auto folder = image.root().addFolder("folder", {.blockList = {block}});
  folder.addFile("self", {}, {.slot = 1, .sizeBytes = 5 * kBlockBytes, .storesContents = false});
  const MountedVolume volume(image, MountRules::guarded);
  const EMU3DirectoryPtr inside = folderNamed(volume.root(), "folder");
  EXPECT_TRUE(volume->renameFile(fileNamed(inside, "self"), "me", inside));
  EXPECT_TRUE(volume->deleteFile(fileNamed(inside, "me"), inside));
}

TEST(FolderInTheTable, TakesNoNewEntriesThere) {
  ImageBuilder image;
  image.root().addFolder("In the table",
                         {.blockList = {static_cast<std::int16_t>(image.fatStartBlock() + 1)}});
  const MountedVolume volume(image, MountRules::guarded);
  const Bytes table = readBytes(volume.imagePath(), kBlockBytes * (image.fatStartBlock() + 1), kBlockBytes);
  const EMU3DirectoryPtr inTable = folderNamed(volume.root(), "In the table");
  ASSERT_TRUE(volume->createDirectoryNamed("below", inTable));
  EXPECT_EQ(readBytes(volume.imagePath(), kBlockBytes * (image.fatStartBlock() + 1), kBlockBytes), table);
}

TEST(FolderInAFile, IsDeletedWithoutAByteOfTheFile) {
  ImageBuilder image = volumeWithAFolderInAFile();
  const MountedVolume volume(image, MountRules::guarded);
  const Bytes before = contentsOfLong(volume);
  const EMU3DirectoryPtr damaged = folderNamed(volume.root(), "damaged");
  ASSERT_FALSE(damaged->files().empty()) << "the contents read as entries";
  ASSERT_TRUE(volume->deleteDirectory(damaged, volume.root()));
  EXPECT_EQ(contentsOfLong(volume), before);
  EXPECT_TRUE(volume.root()->subdirectories().empty());
  EXPECT_EQ(volume->freeBlocks(), readGuardedAnew(volume)->freeBlocks());
}

TEST(FolderInTheTable, IsDeletedWithoutAMark) {
  ImageBuilder image;
  const std::uint64_t block = image.fatStartBlock() + 1;
  image.root().addFolder("In the table", {.blockList = {static_cast<std::int16_t>(block)}});
  image.pokeBlock(block, 0, patternBytes(kBlockBytes, 5));
  const MountedVolume volume(image, MountRules::guarded);
  const EMU3DirectoryPtr inTable = folderNamed(volume.root(), "In the table");
  ASSERT_TRUE(volume->deleteDirectory(inTable, volume.root()));
  EXPECT_EQ(readBytes(volume.imagePath(), kBlockBytes * block, kBlockBytes), patternBytes(kBlockBytes, 5));
}

// 8,640 files of which each claims all 65,535 slots.
TEST(FilesThatClaimEverySlot, AreMovedAndDeletedOneByOne) {
  constexpr std::uint32_t slots = 65535;
  VolumeLayout layout{.sizeBytes = (1200 + 2 * slots) * kBlockBytes,
                      .rootDirBlock = 520,
                      .dataAreaBlock = 1200,
                      .slotSizeBlocks = 2};
  ImageBuilder image(layout);
  auto top = image.root().addFolder("top");
  image.root().addFolder("other");
  const FileOptions all{
      .slot = 1, .clusterCount = 65535, .blocksInLastCluster = 65535, .storesContents = false};
  for (int outer = 0; outer < 6; ++outer) {
    auto middle = top.addFolder("middle", {.blockCount = 1});
    for (int inner = 0; inner < 15; ++inner) {
      auto folder = middle.addFolder("inner", {.blockCount = 6});
      for (int file = 0; file < 96; ++file)
        folder.addFile("claims all", {}, all);
    }
  }
  const MountedVolume volume(image, MountRules::guarded);
  EXPECT_EQ(volume->freeBlocks(), 0U);
  ASSERT_TRUE(volume->moveDirectory(folderNamed(volume.root(), "top"), folderNamed(volume.root(), "other")));
  ASSERT_TRUE(volume->deleteDirectory(folderNamed(volume.root(), "other"), volume.root()));
  EXPECT_EQ(volume->freeBlocks(), 2 * slots);
}

} // namespace
} // namespace tessary::test
