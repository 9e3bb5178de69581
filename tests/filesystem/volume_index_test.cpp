// What a guarded volume keeps at hand about its tree is what the tree says, after every change.

#include "filesystem/TreeEditor.h"
#include "filesystem/VolumeIndex.h"
#include "tests/support/TreeBuilder.h"
#include "tests/writing/EngineParts.h"
#include "tests/writing/Random.h"
#include "tests/writing/RandomVolumes.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace tessary::test {
namespace {

using Blocks = std::vector<std::int64_t>;

// A folder with these blocks whose entry is at {4, index}.
EMU3DirectoryPtr folderWith(Blocks blocks, std::int64_t index, const EMU3DirectoryPtr &parent = nullptr) {
  EMU3DirectoryPtr folder = makeFolder("folder", parent);
  TreeEditor::setBlockList(*folder, std::move(blocks));
  TreeEditor::setPlace(*folder, {4, index});
  return folder;
}

class Index : public testing::Test {
protected:
  EngineParts parts{ImageBuilder(smallLayout())};
  BlockCounters counters;
  VolumeIndex index{parts.table, counters};
};

TEST_F(Index, KnowsTheBlocksAndPlacesOfEveryFolder) {
  const EMU3DirectoryPtr root = folderWith({4}, 9);
  const EMU3DirectoryPtr outer = folderWith({5, 6}, 1, root);
  folderWith({7, 30000}, 2, outer);
  index.build(parts.geometry, root);
  for (const std::int64_t block : {4, 5, 6, 7, 30000})
    EXPECT_TRUE(index.namesBlock(block)) << block;
  for (const std::int64_t block : {0, 3, 8, -1})
    EXPECT_FALSE(index.namesBlock(block)) << block;
  EXPECT_TRUE(index.isFolderEntry({4, 1}));
  EXPECT_TRUE(index.isFolderEntry({4, 2}));
  EXPECT_FALSE(index.isFolderEntry({4, 9})) << "the root has no entry";
  EXPECT_FALSE(index.isFolderEntry({5, 1}));
}

TEST_F(Index, KnowsBlocksThatSeveralFoldersName) {
  const EMU3DirectoryPtr root = folderWith({4}, 0);
  const EMU3DirectoryPtr first = folderWith({5, 6}, 1, root);
  const EMU3DirectoryPtr second = folderWith({6, 7, 7}, 2, root);
  index.build(parts.geometry, root);
  EXPECT_TRUE(index.hasSharedBlocks());
  index.folderWent(*first);
  EXPECT_TRUE(index.namesBlock(6));
  EXPECT_FALSE(index.namesBlock(5));
  EXPECT_TRUE(index.hasSharedBlocks()) << "block 7 is twice in one list";
  index.folderBlocksChanged({6, 7, 7}, {6, 7});
  EXPECT_FALSE(index.hasSharedBlocks());
  index.folderBlocksChanged({6, 7}, {6, 7, 4});
  EXPECT_TRUE(index.hasSharedBlocks()) << "the root's";
  index.folderBlocksChanged({6, 7, 4}, {6, 7});
  index.folderWent(*second);
  EXPECT_FALSE(index.hasSharedBlocks());
  EXPECT_FALSE(index.namesBlock(6));
  EXPECT_FALSE(index.namesBlock(7));
  EXPECT_FALSE(index.isFolderEntry({4, 2}));
}

TEST_F(Index, FollowsAFolderThatGrows) {
  const EMU3DirectoryPtr root = folderWith({4}, 0);
  const EMU3DirectoryPtr folder = folderWith({5}, 1, root);
  index.build(parts.geometry, root);
  index.folderBlocksChanged({5}, {5, 20});
  EXPECT_TRUE(index.namesBlock(5));
  EXPECT_TRUE(index.namesBlock(20));
  EXPECT_EQ(counters.free(), 488U) << "block 20 lies in a slot";
  index.folderBlocksChanged({5, 20}, {5});
  EXPECT_FALSE(index.namesBlock(20));
  EXPECT_EQ(counters.free(), 496U);
}

TEST_F(Index, FollowsFilesThatComeAndGo) {
  index.build(parts.geometry, folderWith({4}, 0));
  EMU3FileFields fields;
  fields.startCluster = 3;
  fields.rawType = 0x81;
  const EMU3File file(fields);
  index.fileCame(file);
  EXPECT_TRUE(index.slots().isReached(3));
  EXPECT_EQ(counters.free(), 488U);
  index.fileWent(file);
  EXPECT_FALSE(index.slots().isReached(3));
  EXPECT_EQ(counters.free(), 496U);
}

TEST_F(Index, ForgetsEverythingWhenItIsBuiltAnew) {
  const EMU3DirectoryPtr root = folderWith({4}, 0);
  folderWith({5}, 1, root);
  index.build(parts.geometry, root);
  index.build(parts.geometry, folderWith({8}, 0));
  EXPECT_FALSE(index.namesBlock(4));
  EXPECT_FALSE(index.namesBlock(5));
  EXPECT_FALSE(index.isFolderEntry({4, 1}));
  EXPECT_TRUE(index.namesBlock(8));
}

// --- After any change of a volume --------------------------------------------------------------------

class IndexOfAVolume : public testing::TestWithParam<std::uint32_t> {
protected:
  static ImageBuilder image(Random &random) {
    ImageBuilder builder = randomVolume(random, MountRules::guarded);
    // A damaged entry now and then: folders that share blocks, also with the data area and the table.
    for (std::size_t left = random.below(4); left > 0; --left) {
      const std::int16_t blocks[] = {anyBlock(random), anyBlock(random), anyBlock(random)};
      const auto index = static_cast<std::size_t>(random.below(16));
      builder.pokeEntry({builder.rootDirBlock(), index}, rawFolderEntry("odd", 0x40, blocks));
    }
    return builder;
  }
  static std::int16_t anyBlock(Random &random) { return static_cast<std::int16_t>(random.between(2, 60)); }

  EMU3DirectoryPtr anyFolder() { return random.pick(directoriesInPreOrder(volume->rootDirectory())); }

  void change() {
    const EMU3DirectoryPtr folder = anyFolder();
    const std::vector<EMU3FilePtr> files = folder->files();
    const EMU3FilePtr file = files.empty() ? nullptr : random.pick(files);
    switch (random.below(9)) {
    case 0:
    case 1:
      writeBytes(host.path("file"), patternBytes(random.below(9000), 1));
      volume->importFileAtURL(host.path("file"), folder);
      break;
    case 2:
      if (file) volume->copyFile(file, anyFolder());
      break;
    case 3:
      if (file) volume->moveFile(file, folder, anyFolder());
      break;
    case 4:
      if (file) volume->deleteFile(file, folder);
      break;
    case 5:
      volume->createDirectoryNamed("new", folder);
      break;
    case 6:
      volume->moveDirectory(folder, anyFolder());
      break;
    case 7:
      if (random.chance(30)) volume->deleteDirectory(folder, folder->parent());
      break;
    default:
      if (random.chance(30)) volume->reload();
    }
  }

  void expectIndexIsAsBuiltAnew() {
    const std::shared_ptr<Volume> opened =
        Volume::open(path, MountRules::guarded, ImageClaim::atFirstChange, nullptr); // the same one
    Volume &same = *opened;
    const WriteLock lock(same.lock);
    BlockCounters counters;
    VolumeIndex fresh(same.table, counters);
    fresh.build(same.geometry(), same.tree.root());
    EXPECT_EQ(same.counters.free(), counters.free());
    EXPECT_EQ(same.counters.used(), counters.used());
    for (std::int64_t block = 0; block < 1000; ++block) {
      EXPECT_EQ(same.index->namesBlock(block), fresh.namesBlock(block)) << block;
      for (std::int64_t entry = 0; entry < 16; ++entry)
        EXPECT_EQ(same.index->isFolderEntry({block, entry}), fresh.isFolderEntry({block, entry})) << block;
    }
    EXPECT_EQ(same.index->hasSharedBlocks(), fresh.hasSharedBlocks());
    for (std::uint64_t slot = 0; slot <= fresh.slots().slotCount(); ++slot)
      EXPECT_EQ(same.index->slots().isReached(slot), fresh.slots().isReached(slot)) << slot;
    for (const std::uint64_t blocks : {1U, 2U, 5U, 9U, 20U, 50U})
      EXPECT_EQ(same.index->slots().placeFor(blocks), fresh.slots().placeFor(blocks)) << blocks;
  }

  Random random{GetParam()};
  TemporaryFolder host;
  const std::string path = host.path("disk.hda");
  EMU3FilesystemPtr volume = [&] {
    image(random).writeTo(path);
    return mounted(path, MountRules::guarded);
  }();
};

TEST_P(IndexOfAVolume, IsAsOneThatIsBuiltAnewAfterEveryChange) {
  expectIndexIsAsBuiltAnew();
  for (int step = 0; step < 40 && !HasFailure(); ++step) {
    change();
    const testing::ScopedTrace trace(__FILE__, __LINE__, "step " + std::to_string(step));
    expectIndexIsAsBuiltAnew();
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, IndexOfAVolume, testing::Range(1U, 41U));

} // namespace
} // namespace tessary::test
