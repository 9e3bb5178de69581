// Sizes and contents of files.

#include "filesystem/TreeEditor.h"
#include "tessary/EMU3Filesystem.h"
#include "tests/support/HostFiles.h"
#include "tests/support/MountedVolume.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

namespace tessary {
namespace {

using namespace test;

/// A file whose entry states these two fields, over three blocks of pattern in slot 1.
struct StatedSize {
  StatedSize(std::uint16_t blocks, std::uint16_t bytesInLast)
      : volume([&] {
          ImageBuilder image;
          image.root().addFile("File", patternBytes(3 * kBlockBytes),
                               {.blocksInLastCluster = blocks, .bytesInLastBlock = bytesInLast});
          return image;
        }()),
        file(fileNamed(volume.root(), "File")) {}

  Bytes contents() const { return contentsOf(*volume, file); }

  MountedVolume volume;
  EMU3FilePtr file;
};

Bytes beginningOfPattern(std::size_t length) {
  Bytes bytes = patternBytes(3 * kBlockBytes);
  bytes.resize(length);
  return bytes;
}

TEST(FileSize, FollowsFromBlocksAndBytesInTheLast) {
  const struct {
    std::uint16_t blocks, bytesInLast;
    std::uint64_t size;
  } cases[] = {{1, 1, 1},        {3, 512, 1536}, {0, 0, 0},   {0, 77, 0},    {2, 0, 512},
               {1, 0, 0},        {1, 512, 512},  {2, 1, 513}, {1, 600, 600}, {65535, 512, 33553920},
               {1, 65535, 65535}};
  for (const auto &stated : cases)
    EXPECT_EQ(StatedSize(stated.blocks, stated.bytesInLast).file->fileSize(), stated.size)
        << stated.blocks << ' ' << stated.bytesInLast;
}

TEST(FileContents, AreCutToTheSize) {
  EXPECT_EQ(StatedSize(1, 1).contents(), beginningOfPattern(1));
  EXPECT_EQ(StatedSize(3, 512).contents(), beginningOfPattern(1536));
  EXPECT_EQ(StatedSize(2, 1).contents(), beginningOfPattern(513));
}

TEST(FileContents, OfTwoBlocksAndNoBytesInTheLastAre512Bytes) {
  EXPECT_EQ(StatedSize(2, 0).contents(), beginningOfPattern(512));
}

TEST(FileContents, OfSizeZeroWithABlockAreNotCut) {
  EXPECT_EQ(StatedSize(1, 0).contents(), beginningOfPattern(512));
}

TEST(FileContents, AreNeverLongerThanTheBlocks) {
  EXPECT_EQ(StatedSize(1, 600).contents(), beginningOfPattern(512));
}

TEST(FileContents, OfNoBlocksAreEmptyAndCached) {
  const StatedSize empty(0, 300);
  EMU3Error error;
  const ByteBufferPtr data = empty.volume->dataForFile(empty.file, &error);
  ASSERT_NE(data, nullptr);
  EXPECT_TRUE(data->empty());
  EXPECT_EQ(empty.file->cachedData(), data);
  EXPECT_FALSE(error.isSet());
}

TEST(FileContents, BeginAtTheStartOfTheirSlot) {
  ImageBuilder image({.slotSizeBlocks = 6});
  image.root().addFile("One", patternBytes(700, 1), {.slot = std::uint16_t{1}});
  image.root().addFile("Two", patternBytes(700, 2), {.slot = std::uint16_t{2}});
  image.root().addFile("Ninety", patternBytes(700, 90), {.slot = std::uint16_t{90}});
  ASSERT_EQ(image.slotBlock(90), image.dataAreaBlock() + 6 * 89);
  const MountedVolume volume(image);
  EXPECT_EQ(contentsOf(*volume, fileNamed(volume.root(), "One")), patternBytes(700, 1));
  EXPECT_EQ(contentsOf(*volume, fileNamed(volume.root(), "Two")), patternBytes(700, 2));
  EXPECT_EQ(contentsOf(*volume, fileNamed(volume.root(), "Ninety")), patternBytes(700, 90));
}

TEST(FileContents, SlotZeroReadsAsSlotOne) {
  ImageBuilder image;
  image.root().addFile("One", patternBytes(900), {.slot = std::uint16_t{1}});
  image.root().addRaw(rawFileEntry("Zero", 0x82, 0, 0, 1, 2, 900 - 512));
  const MountedVolume volume(image);
  EXPECT_EQ(fileNamed(volume.root(), "Zero")->startCluster(), 0);
  EXPECT_EQ(contentsOf(*volume, fileNamed(volume.root(), "Zero")), patternBytes(900));
}

TEST(FileContents, RunOnIntoTheFollowingSlots) {
  ImageBuilder image({.slotSizeBlocks = 2});
  image.root().addFile("Long", patternBytes(5000));
  const MountedVolume volume(image);
  EXPECT_EQ(contentsOf(*volume, fileNamed(volume.root(), "Long")), patternBytes(5000));
}

TEST(FileContents, FollowNeitherTheTableNorTheClusterCount) {
  ImageBuilder image({.marksBlocks = false});
  image.root().addFile("File", patternBytes(5000), {.clusterCount = std::uint16_t{0}});
  image.root().addFile("Other", patternBytes(5000, 1), {.clusterCount = std::uint16_t{65535}});
  const MountedVolume volume(image);
  EXPECT_EQ(contentsOf(*volume, fileNamed(volume.root(), "File")), patternBytes(5000));
  EXPECT_EQ(contentsOf(*volume, fileNamed(volume.root(), "Other")), patternBytes(5000, 1));
}

TEST(FileContents, PastTheEndOfTheImageComeShort) {
  ImageBuilder image;
  image.root().addFile("File", patternBytes(4000));
  const std::uint64_t start = image.slotBlock(1) * kBlockBytes;
  const auto readCutTo = [&](std::uint64_t size) {
    image.resize(size);
    const MountedVolume volume(image);
    const auto file = fileNamed(volume.root(), "File");
    EXPECT_EQ(file->fileSize(), 4000U);
    return contentsOf(*volume, file);
  };
  Bytes threeBlocks = patternBytes(4000);
  threeBlocks.resize(3 * kBlockBytes);
  EXPECT_EQ(readCutTo(start + 3 * kBlockBytes + 511), threeBlocks); // the partial block is never reached
  EXPECT_EQ(readCutTo(start + 3 * kBlockBytes), threeBlocks);
  EXPECT_EQ(readCutTo(start), Bytes());
}

TEST(FileContents, OfASlotFarBehindTheImageAreEmpty) {
  for (const std::uint32_t dataArea : {0x7FFFFFFFU, 0xFFFFFFFFU}) {
    for (const std::uint32_t slotUnits : {32U, 0x80000000U, 0xFFFFFFFFU}) {
      ImageBuilder image;
      for (const std::uint16_t slot : std::initializer_list<std::uint16_t>{0, 1, 2, 65535})
        image.root().addRaw(rawFileEntry("Slot " + std::to_string(slot), 0x82, 0, slot, 1, 65535, 512));
      image.poke32(32, dataArea).poke32(44, slotUnits);
      const MountedVolume volume(image);
      for (const auto &file : volume.root()->files()) {
        const ByteBufferPtr data = volume->dataForFile(file);
        ASSERT_NE(data, nullptr);
        EXPECT_TRUE(data->empty()) << file->name() << ' ' << dataArea << ' ' << slotUnits;
      }
    }
  }
}

TEST(FileContents, LargestFileIsReadWhole) {
  ImageBuilder image({.sizeBytes = 40 * kMiB});
  image.root().addFile("Largest", {}, {.sizeBytes = 65535 * kBlockBytes});
  const std::uint64_t last = (image.slotBlock(1) + 65534) * kBlockBytes;
  image.poke(last + 511, {0x5A});
  const MountedVolume volume(image);
  const ByteBufferPtr data = volume->dataForFile(fileNamed(volume.root(), "Largest"));
  ASSERT_EQ(data->size(), 65535 * kBlockBytes);
  EXPECT_EQ(data->back(), 0x5A);
}

TEST(FileContents, AreReadOnceAndThenKept) {
  ImageBuilder image;
  image.root().addFile("File", patternBytes(1000));
  const MountedVolume volume(image);
  const auto file = fileNamed(volume.root(), "File");
  const ByteBufferPtr first = volume->dataForFile(file);
  EXPECT_EQ(file->cachedData(), first);
  patchBytes(volume.imagePath(), image.slotBlock(1) * kBlockBytes, Bytes(1000));
  EXPECT_EQ(volume->dataForFile(file), first);
  EXPECT_EQ(contentsOf(*volume, file), patternBytes(1000));
}

TEST(FileContents, AlreadyHeldByTheFileAreTheOnesGiven) {
  ImageBuilder image;
  image.root().addFile("File", patternBytes(1000));
  const MountedVolume volume(image);
  const auto file = fileNamed(volume.root(), "File");
  const auto held = std::make_shared<const ByteBuffer>(5, std::uint8_t{7});
  TreeEditor::setCachedData(*file, held);
  EXPECT_EQ(volume->dataForFile(file), held);
}

TEST(FileContents, ReadByManyThreadsAtOnceAreOneBuffer) {
  ImageBuilder image;
  image.root().addFile("File", patternBytes(200000));
  const MountedVolume volume(image);
  const auto file = fileNamed(volume.root(), "File");
  std::atomic<bool> go = false;
  std::vector<ByteBufferPtr> read(8);
  std::vector<std::thread> threads;
  for (auto &result : read)
    threads.emplace_back([&] {
      while (!go)
        std::this_thread::yield();
      result = volume->dataForFile(file);
    });
  go = true;
  for (auto &thread : threads)
    thread.join();
  for (const auto &result : read)
    EXPECT_EQ(result, file->cachedData());
  EXPECT_EQ(contentsOf(*volume, file), patternBytes(200000));
}

} // namespace
} // namespace tessary
