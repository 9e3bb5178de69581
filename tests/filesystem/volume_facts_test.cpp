// Facts of a mounted volume: the header, the count of the allocation table, the label, reading anew.

#include "tessary/EMU3Filesystem.h"
#include "tests/support/HostFiles.h"
#include "tests/support/MountedVolume.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace tessary {
namespace {

using namespace test;

TEST(VolumeFacts, AreThoseOfTheHeaderAndTheImage) {
  const MountedVolume volume(ImageBuilder({.sizeBytes = 2 * kMiB,
                                           .fatStartBlock = 3,
                                           .rootDirBlock = 40,
                                           .dataAreaBlock = 77,
                                           .slotSizeBlocks = 10}));
  EXPECT_EQ(volume->fatStartBlock(), 3U);
  EXPECT_EQ(volume->rootDirBlock(), 40U);
  EXPECT_EQ(volume->dataAreaBlock(), 77U);
  EXPECT_EQ(volume->slotSizeBlocks(), 10U);
  EXPECT_EQ(volume->imageSize(), 2 * kMiB);
  EXPECT_EQ(volume->totalBlocks(), 4096U);
  EXPECT_EQ(volume->describedBlocks(), 4096U);
}

TEST(VolumeFacts, BytesBetweenTheHeadersFieldsAreIgnored) {
  ImageBuilder image;
  image.root().addFolder("Folder");
  for (const auto &[from, to] : {std::pair{4, 8}, {12, 32}, {36, 40}, {48, 512}})
    image.poke(static_cast<std::uint64_t>(from), Bytes(static_cast<std::size_t>(to - from), 0xA5));
  EXPECT_EQ(namesOf(MountedVolume(image).root()->subdirectories()), std::vector<std::string>{"Folder"});
}

TEST(VolumeFacts, DefaultedRootIsTheOneThatIsRead) {
  ImageBuilder image(VolumeLayout::zeroHeader(4 * kMiB));
  ASSERT_EQ(image.rootDirBlock(), 6U);
  image.root().addFile("Here", {});
  const MountedVolume volume(image);
  EXPECT_EQ(volume.root()->blockList(), std::vector<std::int64_t>{6});
  EXPECT_EQ(namesOf(volume.root()->files()), std::vector<std::string>{"Here"});
}

TEST(TableCount, ScanOfAZeroHeaderStartsAtBlockZero) {
  VolumeLayout layout = VolumeLayout::zeroHeader(64 * kBlockBytes);
  layout.marksBlocks = false;
  ImageBuilder image(layout);
  const MountedVolume volume(image);
  // The signature alone: its two 16-bit words. From block 2 on, where the table is, there is nothing.
  EXPECT_EQ(volume->usedBlocks(), 2U);
  EXPECT_EQ(volume->totalClusters(), 64 * 256U);
  EXPECT_EQ(volume->freeBlocks(), 64 * 256U - 2);
  EXPECT_EQ(volume->fatStartBlock(), 2U);
}

TEST(TableCount, ScanOfAStatedTwoStartsAtBlockTwo) {
  const MountedVolume volume(ImageBuilder(
      {.sizeBytes = 64 * kBlockBytes, .rootDirBlock = 6, .dataAreaBlock = 20, .marksBlocks = false}));
  EXPECT_EQ(volume->usedBlocks(), 0U);
  EXPECT_EQ(volume->totalClusters(), 62 * 256U);
}

TEST(TableCount, EveryNonZeroEntryCountsAsUsed) {
  ImageBuilder image({.marksBlocks = false});
  for (const auto &[block, value] :
       {std::pair{0, 0x8000}, {1, 1}, {255, 0x0100}, {256, 0xFFFF}, {700, 0x7FFF}})
    image.setFatEntry(static_cast<std::uint64_t>(block), static_cast<std::uint16_t>(value));
  const MountedVolume volume(image);
  EXPECT_EQ(volume->usedBlocks(), 5U);
  EXPECT_EQ(volume->freeBlocks(), volume->totalClusters() - 5);
}

TEST(TableCount, GoesOnBehindTheTablesEnd) {
  ImageBuilder image({.marksBlocks = false});
  ASSERT_LT(image.tableEntries() / 256, 1024U);
  image.root().addRaw(rawFileEntry("ABCDEFGHIJKLMNOP", 0x82, 1, 1, 1, 1, 1)); // 8 words of name, 6 of fields
  image.poke16(image.slotBlock(1) * kBlockBytes, 1);
  const MountedVolume volume(image);
  EXPECT_EQ(volume->usedBlocks(), 15U);
}

TEST(TableCount, StopsAfter1024Blocks) {
  ImageBuilder image({.sizeBytes = 1040 * kBlockBytes,
                      .fatStartBlock = 4,
                      .rootDirBlock = 2,
                      .dataAreaBlock = 1039,
                      .marksBlocks = false});
  image.poke16((4 + 1023) * kBlockBytes + 510, 1); // the last entry looked at
  image.poke16((4 + 1024) * kBlockBytes, 1);       // the first one beyond
  const MountedVolume volume(image);
  EXPECT_EQ(volume->totalClusters(), 262144U);
  EXPECT_EQ(volume->usedBlocks(), 1U);
}

TEST(TableCount, ImageEndingThreeBlocksAfterTheTablesStartDescribes768) {
  const MountedVolume volume(ImageBuilder({.sizeBytes = 5 * kBlockBytes, .marksBlocks = false}));
  EXPECT_EQ(volume->totalClusters(), 768U);
  EXPECT_EQ(volume->freeBlocks(), 768U);
}

TEST(TableCount, ImageEndingWhereTheTableStartsDescribesNothing) {
  for (const std::uint64_t size :
       {2 * kBlockBytes, 2 * kBlockBytes + 1, 2 * kBlockBytes + 511, kBlockBytes}) {
    const MountedVolume volume(ImageBuilder({.sizeBytes = size, .rootDirBlock = 1, .dataAreaBlock = 1}));
    EXPECT_EQ(volume->totalClusters(), 0U) << size;
    EXPECT_EQ(volume->usedBlocks(), 0U) << size;
    EXPECT_EQ(volume->freeBlocks(), 0U) << size;
  }
}

TEST(TableCount, TableFarBehindTheImageDescribesNothing) {
  for (const std::uint32_t start : {8192U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    ImageBuilder image;
    image.poke32(40, start);
    const MountedVolume volume(image);
    EXPECT_EQ(volume->totalClusters(), 0U) << start;
    EXPECT_EQ(volume->usedBlocks(), 0U) << start;
    EXPECT_EQ(volume->freeBlocks(), 0U) << start;
  }
}

TEST(TableCount, TrailingPartialBlockIsNotCounted) {
  const MountedVolume volume(ImageBuilder({.sizeBytes = 5 * kBlockBytes + 511, .marksBlocks = false}));
  EXPECT_EQ(volume->totalBlocks(), 5U);
  EXPECT_EQ(volume->totalClusters(), 768U);
}

TEST(TableCount, FullTableLeavesNothingFree) {
  ImageBuilder image(
      {.sizeBytes = 5 * kBlockBytes, .rootDirBlock = 1, .dataAreaBlock = 5, .marksBlocks = false});
  image.poke(2 * kBlockBytes, Bytes(3 * kBlockBytes, 0x80));
  const MountedVolume volume(image);
  EXPECT_EQ(volume->usedBlocks(), 768U);
  EXPECT_EQ(volume->freeBlocks(), 0U);
}

TEST(VolumeLabel, IsTheFileNameWithItsExtension) {
  EXPECT_EQ(MountedVolume(ImageBuilder(), "MyDisk.hda")->volumeLabel(), "MyDisk.hda");
  EXPECT_EQ(MountedVolume(ImageBuilder(), "no extension")->volumeLabel(), "no extension");
}

TEST(VolumeLabel, NamesTheRoot) {
  const MountedVolume volume(ImageBuilder(), "MyDisk.hda");
  const auto root = volume.root();
  EXPECT_EQ(root->name(), "MyDisk.hda");
  EXPECT_EQ(root->entryId(), 1);
  EXPECT_EQ(root->parent(), nullptr);
  EXPECT_EQ(root->dentryBlock(), 0);
  EXPECT_EQ(root->dentryOffset(), 0);
  EXPECT_EQ(root->blockList(), std::vector<std::int64_t>{static_cast<std::int64_t>(volume->rootDirBlock())});
}

TEST(VolumeLabel, OfAPathWithoutFoldersIsThatPath) {
  const TemporaryFolder folder;
  const auto before = std::filesystem::current_path();
  ImageBuilder().writeTo(folder.path("Here.hda"));
  std::filesystem::current_path(folder.path());
  const auto filesystem = EMU3Filesystem::initWithURL("Here.hda");
  std::filesystem::current_path(before);
  ASSERT_NE(filesystem, nullptr);
  EXPECT_EQ(filesystem->volumeLabel(), "Here.hda");
  EXPECT_EQ(filesystem->imageURL(), "Here.hda");
}

TEST(SameImage, IsKnownWhateverThePathsToIt) {
  for (const MountRules rules : {MountRules::bare, MountRules::guarded}) {
    const MountedVolume volume(ImageBuilder(), rules);
    const std::string link = volume.folder().path("link.hda");
    const std::string otherName = volume.folder().path("other name.hda");
    std::filesystem::create_symlink(volume.imagePath(), link);
    std::filesystem::create_hard_link(volume.imagePath(), otherName);
    for (const std::string &path : {volume.imagePath(), link, otherName})
      EXPECT_TRUE(mounted(path, rules)->isOfSameImage(*volume)) << path;
  }
}

TEST(SameImage, IsNotACopyNorWhatLiesAtItsPathNow) {
  const MountedVolume volume(ImageBuilder(), MountRules::guarded);
  const std::string copy = volume.folder().path("copy.hda");
  std::filesystem::copy_file(volume.imagePath(), copy);
  EXPECT_FALSE(mounted(copy, MountRules::guarded)->isOfSameImage(*volume));
  std::filesystem::rename(copy, volume.imagePath());
  EXPECT_FALSE(mounted(volume.imagePath(), MountRules::guarded)->isOfSameImage(*volume));
}

TEST(Reload, GivesAFreshTreeOverTheSameMapping) {
  ImageBuilder image;
  image.root().addFile("First", {});
  const MountedVolume volume(image);
  const auto before = volume.root();

  RawEntry entry = rawFileEntry("Second", 0x82, 0, 2, 1, 0, 0);
  patchBytes(volume.imagePath(), image.rootDirBlock() * kBlockBytes + 32, entry);
  ASSERT_TRUE(volume->reload());
  EXPECT_NE(volume.root(), before);
  EXPECT_EQ(namesOf(volume.root()->files()), (std::vector<std::string>{"First", "Second"}));
  EXPECT_EQ(namesOf(before->files()), std::vector<std::string>{"First"});
}

TEST(Reload, CountsTheTableAnew) {
  const ImageBuilder image({.marksBlocks = false});
  const MountedVolume volume(image);
  ASSERT_EQ(volume->usedBlocks(), 0U);
  patchBytes(volume.imagePath(), 2 * kBlockBytes, Bytes{0x00, 0x80, 0x00, 0x80});
  ASSERT_TRUE(volume->reload());
  EXPECT_EQ(volume->usedBlocks(), 2U);
  EXPECT_EQ(volume->freeBlocks(), volume->totalClusters() - 2);
}

TEST(Reload, ReadsTheHeaderAnew) {
  const ImageBuilder image;
  const MountedVolume volume(image);
  patchBytes(volume.imagePath(), 44, Bytes{5, 0, 0, 0});
  patchBytes(volume.imagePath(), 40, Bytes{0, 0, 0, 0});
  ASSERT_TRUE(volume->reload());
  EXPECT_EQ(volume->slotSizeBlocks(), 10U);
  EXPECT_EQ(volume->fatStartBlock(), 2U);
}

TEST(Reload, FailureReportsItAndChangesNothing) {
  ImageBuilder image;
  image.root().addFile("First", {});
  const MountedVolume volume(image);
  const auto root = volume.root();
  const auto used = volume->usedBlocks();
  patchBytes(volume.imagePath(), 0, bytesOf("NOPE"));
  EMU3Error error;
  EXPECT_FALSE(volume->reload(&error));
  EXPECT_EQ(error.code, 1);
  EXPECT_EQ(error.message, "Not an E-MU 3/4 disk image (missing \"EMU3\" signature)");
  EXPECT_EQ(volume.root(), root);
  EXPECT_EQ(volume->usedBlocks(), used);
}

TEST(Reload, ObjectsOfTheOldTreeStayValidAsValues) {
  ImageBuilder image;
  image.root().addFolder("Folder").addFile("File", bytesOf("contents"));
  const MountedVolume volume(image);
  const auto folder = folderNamed(volume.root(), "Folder");
  const auto file = fileNamed(folder, "File");
  ASSERT_TRUE(volume->reload());
  EXPECT_EQ(folder->name(), "Folder");
  EXPECT_EQ(folder->parent(), nullptr); // its root went with the reload
  EXPECT_EQ(file->fileSize(), 8U);
}

} // namespace
} // namespace tessary
