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

TEST(SharedFolderBlock, AnEntryTakenThroughOneFolderLeavesTheListOfTheOther) {
  ImageBuilder image;
  const auto first = image.root().addFolder("first");
  auto block = first.blocks().front();
  FolderBuilder(first).addFile("deleted", {}, {.type = 0, .slot = 3, .storesContents = false});
  image.root().addFolder("second", {.blockList = {static_cast<std::int16_t>(block)}});
  const MountedVolume volume(image, MountRules::guarded);
  const EMU3DirectoryPtr reader = folderNamed(volume.root(), "first");
  ASSERT_EQ(reader->files().size(), 1U);
  ASSERT_TRUE(volume->importFileAtURL(hostFile(volume, "new.E4B", bytesOf("x")),
                                      folderNamed(volume.root(), "second")));
  EXPECT_TRUE(reader->files().empty());
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

} // namespace
} // namespace tessary::test
