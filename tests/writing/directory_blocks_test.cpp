#include "tests/support/EngineInternals.h"
#include "tests/writing/WritableVolume.h"

#include <gtest/gtest.h>

#include <set>

namespace tessary::test {
namespace {

using Internals = EMU3FilesystemInternals;

std::uint64_t freeDirectoryBlock(ImageBuilder image, Guards guards = Guards::off) {
  const WritableVolume volume(std::move(image), guards);
  return Internals::findFreeDirectoryBlock(*volume);
}

TEST(DirectoryBlocks, AreCollectedFromEveryDepth) {
  ImageBuilder image(smallLayout());
  auto outer = image.root().addFolder("outer", {.blockList = {5, 9}});
  outer.addFolder("inner", {.blockList = {7}}).addFolder("innermost", {.blockList = {15}});
  const MountedVolume volume(image);
  std::set<std::int64_t> blocks{100};
  Internals::collectDirectoryBlocks(*volume, volume.root(), &blocks);
  EXPECT_EQ(blocks, (std::set<std::int64_t>{4, 5, 7, 9, 15, 100}));
  blocks.clear();
  Internals::collectDirectoryBlocks(*volume, folderNamed(volume.root(), "outer"), &blocks);
  EXPECT_EQ(blocks, (std::set<std::int64_t>{5, 7, 9, 15}));
}

TEST(FreeDirectoryBlock, OfAFreshVolumeFollowsTheRoot) {
  EXPECT_EQ(freeDirectoryBlock(ImageBuilder(smallLayout())), 5U);
}

TEST(FreeDirectoryBlock, IsTheLowestThatNoFolderUses) {
  ImageBuilder image(smallLayout());
  auto outer = image.root().addFolder("outer", {.blockList = {5, 8}});
  outer.addFolder("inner", {.blockList = {6}});
  EXPECT_EQ(freeDirectoryBlock(std::move(image)), 7U);
}

TEST(FreeDirectoryBlock, WhateverStandsInItCounts) {
  ImageBuilder image(smallLayout());
  image.poke(5 * kBlockBytes, patternBytes(kBlockBytes, 1));
  EXPECT_EQ(freeDirectoryBlock(std::move(image)), 5U);
}

TEST(FreeDirectoryBlock, LiesBelowTheDataArea) {
  ImageBuilder image(smallLayout());
  image.root().addFolder("first", {.blockList = {5, 6, 7, 8, 9, 10, 11}});
  image.root().addFolder("second", {.blockList = {12, 13, 14}});
  EXPECT_EQ(freeDirectoryBlock(std::move(image)), 15U);
}

TEST(FreeDirectoryBlock, IsZeroWhenAllAreInUse) {
  ImageBuilder image(smallLayout());
  image.root().addFolder("first", {.blockList = {5, 6, 7, 8, 9, 10, 11}});
  image.root().addFolder("second", {.blockList = {12, 13, 14, 15}});
  EXPECT_EQ(freeDirectoryBlock(std::move(image)), 0U);
}

TEST(FreeDirectoryBlock, IsZeroWhenTheRootLiesBehindTheDataArea) {
  VolumeLayout layout = smallLayout();
  layout.rootDirBlock = 20;
  layout.dataAreaBlock = 20;
  EXPECT_EQ(freeDirectoryBlock(ImageBuilder(layout)), 0U);
  layout.dataAreaBlock = 16;
  EXPECT_EQ(freeDirectoryBlock(ImageBuilder(layout)), 0U);
}

TEST(FreeDirectoryBlock, IsNeverSearchedBelowTheRoot) {
  VolumeLayout layout = smallLayout();
  layout.rootDirBlock = 14;
  layout.dataAreaBlock = 16;
  ImageBuilder image(layout);
  image.root().addFolder("folder", {.blockList = {15}});
  EXPECT_EQ(freeDirectoryBlock(std::move(image)), 0U);
}

VolumeLayout layoutWithRootAt(std::uint32_t rootBlock, std::uint32_t dataArea) {
  return {.sizeBytes = 20 * kMiB, .rootDirBlock = rootBlock, .dataAreaBlock = dataArea, .slotSizeBlocks = 8};
}

TEST(FreeDirectoryBlock, BareMayBeANumberThatNoEntryCanHold) {
  EXPECT_EQ(freeDirectoryBlock(ImageBuilder(layoutWithRootAt(32767, 33000))), 32768U);
}

TEST(FreeDirectoryBlock, GuardedIsAtMost32767) {
  EXPECT_EQ(freeDirectoryBlock(ImageBuilder(layoutWithRootAt(32766, 33000)), Guards::on), 32767U);
  EXPECT_EQ(freeDirectoryBlock(ImageBuilder(layoutWithRootAt(32767, 33000)), Guards::on), 0U);
  EXPECT_EQ(freeDirectoryBlock(ImageBuilder(layoutWithRootAt(32800, 33000)), Guards::on), 0U);
}

// The table in blocks 6 to 9, between the root block and the data area.
VolumeLayout layoutWithTableBehindRoot() {
  return {.sizeBytes = 256 * kKiB,
          .fatStartBlock = 6,
          .rootDirBlock = 5,
          .dataAreaBlock = 10,
          .slotSizeBlocks = 8};
}

TEST(FreeDirectoryBlock, BareMayLieInTheAllocationTable) {
  EXPECT_EQ(freeDirectoryBlock(ImageBuilder(layoutWithTableBehindRoot())), 6U);
}

TEST(FreeDirectoryBlock, GuardedNeverLiesInTheAllocationTable) {
  EXPECT_EQ(freeDirectoryBlock(ImageBuilder(layoutWithTableBehindRoot()), Guards::on), 0U);
}

TEST(FreeDirectoryBlock, GuardedUsesTheBlocksBeforeTheTable) {
  VolumeLayout layout = layoutWithTableBehindRoot();
  layout.rootDirBlock = 3;
  ImageBuilder image(layout);
  image.root().addFolder("folder", {.blockList = {4}});
  EXPECT_EQ(freeDirectoryBlock(std::move(image), Guards::on), 5U);
}

} // namespace
} // namespace tessary::test
