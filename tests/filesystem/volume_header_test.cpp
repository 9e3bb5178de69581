// Geometry, defaults, the count of the allocation table, block access, reading anew.

#include "filesystem/EMU3Filesystem.h"
#include "tests/support/EngineInternals.h"
#include "tests/support/HostFiles.h"
#include "tests/support/MountedVolume.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <limits>

namespace tessary {
namespace {

using namespace test;
using Internals = EMU3FilesystemInternals;

constexpr std::uint64_t kMaxBlock = std::numeric_limits<std::uint64_t>::max();

TEST(VolumeHeader, FieldsAreTakenAsTheyStand) {
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
}

TEST(VolumeHeader, FieldsAreLittleEndianAndUnsigned) {
  ImageBuilder image;
  image.poke(8, {0x01, 0x02, 0x03, 0x84}).poke(32, {0x05, 0x06, 0x07, 0x88});
  image.poke(40, {0x09, 0x0A, 0x0B, 0x8C}).poke(44, {0x0D, 0x0E, 0x0F, 0x90});
  const MountedVolume volume(image);
  EXPECT_EQ(volume->rootDirBlock(), 0x84030201U);
  EXPECT_EQ(volume->dataAreaBlock(), 0x88070605U);
  EXPECT_EQ(volume->fatStartBlock(), 0x8C0B0A09U);
  EXPECT_EQ(volume->slotSizeBlocks(), 2 * 0x900F0E0DULL);
}

TEST(VolumeHeader, BytesBetweenTheFieldsAreIgnored) {
  ImageBuilder image;
  image.root().addFolder("Folder");
  for (const auto &[from, to] : {std::pair{4, 8}, {12, 32}, {36, 40}, {48, 512}})
    image.poke(static_cast<std::uint64_t>(from), Bytes(static_cast<std::size_t>(to - from), 0xA5));
  const MountedVolume volume(image);
  EXPECT_EQ(volume->rootDirBlock(), image.rootDirBlock());
  EXPECT_EQ(volume->dataAreaBlock(), image.dataAreaBlock());
  EXPECT_EQ(volume->fatStartBlock(), image.fatStartBlock());
  EXPECT_EQ(volume->slotSizeBlocks(), image.slotSizeBlocks());
  EXPECT_EQ(namesOf(volume.root()->subdirectories()), std::vector<std::string>{"Folder"});
}

TEST(VolumeHeader, ZeroFieldsGetTheirDefaults) {
  const MountedVolume volume(ImageBuilder(VolumeLayout::zeroHeader(4 * kMiB)));
  EXPECT_EQ(volume->rootDirBlock(), 6U);
  EXPECT_EQ(volume->dataAreaBlock(), 175U);
  EXPECT_EQ(volume->fatStartBlock(), 2U);
  EXPECT_EQ(volume->slotSizeBlocks(), 4096U);
}

TEST(VolumeHeader, EachFieldIsDefaultedByItself) {
  const VolumeLayout sound{.sizeBytes = 2 * kMiB,
                           .fatStartBlock = 3,
                           .rootDirBlock = 40,
                           .dataAreaBlock = 77,
                           .slotSizeBlocks = 10};
  struct Field {
    std::uint64_t offset;
    std::uint64_t (EMU3Filesystem::*value)() const;
    std::uint64_t byDefault;
    std::uint64_t stored;
  };
  const Field fields[] = {{8, &EMU3Filesystem::rootDirBlock, 6, 40},
                          {32, &EMU3Filesystem::dataAreaBlock, 175, 77},
                          {40, &EMU3Filesystem::fatStartBlock, 2, 3},
                          {44, &EMU3Filesystem::slotSizeBlocks, 4096, 10}};
  for (const Field &zeroed : fields) {
    ImageBuilder image(sound);
    image.poke32(zeroed.offset, 0);
    const MountedVolume volume(image);
    for (const Field &field : fields)
      EXPECT_EQ(((*volume).*field.value)(), field.offset == zeroed.offset ? field.byDefault : field.stored)
          << "field at " << field.offset << " with a zero at " << zeroed.offset;
  }
}

TEST(VolumeHeader, DefaultedRootIsTheOneThatIsRead) {
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
    EXPECT_EQ(Internals::fatEntry(*volume, 0), 0U) << start;
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

TEST(TableCount, DescribedBlocksEndWhereTheRootOrTheDataAreaBegins) {
  const auto described = [](std::uint32_t table, std::uint32_t root, std::uint32_t data) {
    const MountedVolume volume(ImageBuilder({.sizeBytes = 300 * kBlockBytes,
                                             .fatStartBlock = table,
                                             .rootDirBlock = root,
                                             .dataAreaBlock = data}));
    return volume->describedBlocks();
  };
  EXPECT_EQ(described(2, 6, 175), 4 * 256U);
  EXPECT_EQ(described(2, 175, 6), 4 * 256U);
  EXPECT_EQ(described(10, 6, 175), 165 * 256U);  // the root lies below the table and does not end it
  EXPECT_EQ(described(200, 6, 175), 100 * 256U); // neither does: the image's end does
}

TEST(BlockAccess, ReachesTheLastWholeBlockAndNoFurther) {
  ImageBuilder image({.sizeBytes = 100 * kBlockBytes + 300});
  image.poke(99 * kBlockBytes, {1, 2, 3}).poke(100 * kBlockBytes, {4, 5, 6});
  const MountedVolume volume(image);
  const auto last = Internals::blockPtr(*volume, 99);
  ASSERT_TRUE(last);
  EXPECT_EQ((*last)[2], 3);
  EXPECT_FALSE(Internals::blockPtr(*volume, 100));
  EXPECT_TRUE(Internals::mutableBlockPtr(*volume, 99));
  EXPECT_FALSE(Internals::mutableBlockPtr(*volume, 100));
}

TEST(BlockAccess, NumbersWhoseByteOffsetWrapsLieOutside) {
  const MountedVolume volume{ImageBuilder()};
  for (const std::uint64_t block : {kMaxBlock, kMaxBlock / 512, kMaxBlock / 512 + 1, kMaxBlock / 512 + 2,
                                    std::uint64_t{1} << 63, std::uint64_t{1} << 55}) {
    EXPECT_FALSE(Internals::blockPtr(*volume, block)) << block;
    EXPECT_FALSE(Internals::mutableBlockPtr(*volume, block)) << block;
  }
}

TEST(TableAccess, EntryLiesAtTwiceItsBlockNumber) {
  ImageBuilder image;
  image.setFatEntry(0, 0x1234).setFatEntry(255, 0x5678).setFatEntry(256, 0x9ABC).setFatEntry(5000, 0xDEF0);
  const MountedVolume volume(image);
  EXPECT_EQ(Internals::fatEntry(*volume, 0), 0x1234);
  EXPECT_EQ(Internals::fatEntry(*volume, 255), 0x5678);
  EXPECT_EQ(Internals::fatEntry(*volume, 256), 0x9ABC);
  EXPECT_EQ(Internals::fatEntry(*volume, 5000), 0xDEF0);
}

TEST(TableAccess, EntryOfAZeroHeaderLiesBehindBlockTwo) {
  ImageBuilder image(VolumeLayout::zeroHeader(4 * kMiB));
  image.poke16(2 * kBlockBytes + 2 * 300, 0x4321);
  const MountedVolume volume(image);
  EXPECT_EQ(Internals::fatEntry(*volume, 300), 0x4321);
}

TEST(TableAccess, EntryOutsideTheImageReadsAsFree) {
  const MountedVolume volume(ImageBuilder({.sizeBytes = 4 * kBlockBytes}));
  EXPECT_EQ(Internals::fatEntry(*volume, 512), 0);
  EXPECT_EQ(Internals::fatEntry(*volume, kMaxBlock), 0);
}

TEST(TableAccess, WrittenEntryChangesItsTwoBytesAlone) {
  const ImageBuilder image;
  const MountedVolume volume(image);
  Internals::setFatEntry(*volume, 4321, 0xBEEF);
  EXPECT_EQ(Internals::fatEntry(*volume, 4321), 0xBEEF);
  Bytes expected = image.build();
  expected[2 * kBlockBytes + 2 * 4321] = 0xEF;
  expected[2 * kBlockBytes + 2 * 4321 + 1] = 0xBE;
  EXPECT_EQ(readBytes(volume.imagePath()), expected);
}

TEST(TableAccess, WritingOutsideTheImageDoesNothing) {
  const ImageBuilder image({.sizeBytes = 40 * kBlockBytes});
  const MountedVolume volume(image);
  for (const std::uint64_t index :
       {std::uint64_t{38 * 256}, std::uint64_t{1} << 40, kMaxBlock - 1, kMaxBlock})
    Internals::setFatEntry(*volume, index, 0xBEEF);
  EXPECT_EQ(readBytes(volume.imagePath()), image.build());
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
