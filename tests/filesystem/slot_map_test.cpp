// Which slots are taken, where a file may go, how much room there is.

#include "filesystem/SlotMap.h"
#include "filesystem/TreeEditor.h"
#include "tests/support/TreeBuilder.h"
#include "tests/writing/EngineParts.h"
#include "tests/writing/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <optional>
#include <set>

namespace tessary::test {
namespace {

EMU3FileFields fileIn(std::uint64_t slot, std::uint64_t clusters = 1, std::uint64_t blocks = 1,
                      std::uint8_t type = 0x81) {
  EMU3FileFields fields;
  fields.startCluster = static_cast<std::uint16_t>(slot);
  fields.clusterCount = static_cast<std::uint16_t>(clusters);
  fields.blocksInLastCluster = static_cast<std::uint16_t>(blocks);
  fields.rawType = type;
  return fields;
}

/// What is in a volume: files and folders' blocks, besides the root's.
struct Contents {
  std::vector<EMU3FileFields> files;
  std::vector<std::vector<std::int64_t>> folders;

  EMU3DirectoryPtr tree(std::int64_t rootBlock) const {
    EMU3DirectoryPtr root = makeFolder("root");
    TreeEditor::setBlockList(*root, {rootBlock});
    std::vector<EMU3FilePtr> list;
    for (const EMU3FileFields &fields : files)
      list.push_back(std::make_shared<EMU3File>(fields));
    TreeEditor::setFiles(root, list);
    for (const std::vector<std::int64_t> &blocks : folders)
      TreeEditor::setBlockList(*makeFolder("folder", root), blocks);
    return root;
  }
};

/// A volume's slots by the plainest reading of the rules: block by block, slot by slot.
class PlainSlots {
public:
  PlainSlots(const VolumeGeometry &geometry, const AllocationTable &table, const Contents &contents,
             std::uint64_t rootBlock)
      : geometry_(geometry) {
    while (count < 65535 && firstBlock(count + 1) < geometry.totalBlocks)
      ++count;
    reached.assign(count + 1, false);
    taken_.assign(count + 1, false);
    for (const EMU3FileFields &file : contents.files)
      add(file);
    std::set<std::uint64_t> fixed{0, rootBlock};
    for (const auto &folder : contents.folders)
      fixed.insert(folder.begin(), folder.end());
    for (std::uint64_t slot = 1; slot <= count; ++slot) {
      taken_[slot] = reached[slot];
      for (std::uint64_t block = firstBlock(slot); block < endBlock(slot); ++block) {
        const bool isMarked = block < geometry.describedBlocks() && table.mark(block) != 0;
        if (isMarked || fixed.contains(block) || geometry.isInTable(block)) taken_[slot] = true;
      }
      if (!taken_[slot]) free += endBlock(slot) - firstBlock(slot);
    }
  }

  std::optional<std::uint16_t> placeFor(std::uint64_t blocks) const {
    for (const std::uint64_t from : {highest_ + 1, std::uint64_t{1}}) {
      for (std::uint64_t slot = from; slot <= count; ++slot) {
        if (isPlace(slot, blocks)) return static_cast<std::uint16_t>(slot);
      }
    }
    return std::nullopt;
  }

  std::uint64_t count = 0;
  std::uint64_t free = 0;
  std::vector<bool> reached;

private:
  std::uint64_t firstBlock(std::uint64_t slot) const {
    return geometry_.dataAreaBlock + geometry_.slotSizeBlocks * (slot - 1);
  }
  std::uint64_t endBlock(std::uint64_t slot) const {
    return std::min(firstBlock(slot) + geometry_.slotSizeBlocks, geometry_.totalBlocks);
  }
  std::uint64_t slotsOf(std::uint64_t blocks) const {
    return (blocks + geometry_.slotSizeBlocks - 1) / geometry_.slotSizeBlocks;
  }
  void add(const EMU3FileFields &file) {
    const std::uint64_t first = file.startCluster == 0 ? 1 : file.startCluster;
    const std::uint64_t slots =
        std::max<std::uint64_t>({1, file.clusterCount, slotsOf(file.blocksInLastCluster)});
    highest_ = std::max(highest_, first + slots - 1);
    if (file.rawType == 0) return;
    for (std::uint64_t slot = first; slot < first + slots && slot <= count; ++slot)
      reached[slot] = true;
  }
  bool isPlace(std::uint64_t first, std::uint64_t blocks) const {
    for (std::uint64_t slot = first; slot < first + slotsOf(blocks); ++slot) {
      if (slot > count || taken_[slot]) return false;
    }
    return firstBlock(first) + blocks <= geometry_.totalBlocks;
  }

  const VolumeGeometry &geometry_;
  std::vector<bool> taken_;
  std::uint64_t highest_ = 0;
};

/// A slot map over an image, beside the plain reading of the same.
class Map {
public:
  explicit Map(ImageBuilder image) : parts(std::move(image)) {}

  std::int64_t rootBlock() const { return static_cast<std::int64_t>(parts.geometry.rootDirBlock); }
  void build() { slots.build(parts.geometry, contents.tree(rootBlock())); }
  PlainSlots plain() const { return {parts.geometry, parts.table, contents, parts.geometry.rootDirBlock}; }

  testing::AssertionResult isRight(const SlotMap &map, const BlockCounters &figures) const {
    const PlainSlots expected = plain();
    if (map.slotCount() != expected.count)
      return testing::AssertionFailure() << map.slotCount() << " slots instead of " << expected.count;
    if (figures.free() != expected.free || figures.used() != parts.geometry.totalBlocks - expected.free)
      return testing::AssertionFailure() << figures.free() << " free instead of " << expected.free;
    const bool hasDeletedFiles = std::any_of(contents.files.begin(), contents.files.end(),
                                             [](const EMU3FileFields &file) { return file.rawType == 0; });
    if (map.hasDeletedFiles() != hasDeletedFiles)
      return testing::AssertionFailure() << "deleted files: " << map.hasDeletedFiles();
    for (std::uint64_t slot = 1; slot <= expected.count; ++slot) {
      if (map.isReached(slot) != expected.reached[slot])
        return testing::AssertionFailure() << "slot " << slot << " is reached: " << map.isReached(slot);
    }
    for (const std::uint64_t blocks : {1U, 2U, 7U, 8U, 9U, 16U, 17U, 40U, 100U, 500U, 65535U}) {
      if (map.placeFor(blocks) != expected.placeFor(blocks))
        return testing::AssertionFailure() << blocks << " blocks go to " << map.placeFor(blocks).value_or(0)
                                           << " instead of " << expected.placeFor(blocks).value_or(0);
    }
    return testing::AssertionSuccess();
  }
  testing::AssertionResult isRight() const { return isRight(slots, counters); }

  EngineParts parts;
  Contents contents;
  BlockCounters counters;
  SlotMap slots{parts.table, counters};
};

// --- Building --------------------------------------------------------------------------------------

TEST(SlotMapBuilding, OfAnEmptyVolumeHasAllSlots) {
  Map map{ImageBuilder(smallLayout())};
  map.build();
  EXPECT_EQ(map.slots.slotCount(), 62U);
  EXPECT_EQ(map.counters.free(), 496U);
  EXPECT_EQ(map.counters.used(), 16U);
  EXPECT_EQ(map.slots.placeFor(1), std::uint16_t{1});
  EXPECT_EQ(map.slots.placeFor(496), std::uint16_t{1});
  EXPECT_EQ(map.slots.placeFor(497), std::nullopt);
  EXPECT_TRUE(map.isRight());
}

TEST(SlotMapBuilding, SlotsForBlocksAreOneAtLeast) {
  Map map{ImageBuilder(smallLayout())};
  map.build();
  for (const auto &[blocks, slots] : {std::pair{0U, 1U}, {1U, 1U}, {8U, 1U}, {9U, 2U}, {65535U, 8192U}})
    EXPECT_EQ(map.slots.slotsFor(blocks), slots) << blocks;
}

TEST(SlotMapBuilding, NumbersThatAreNoSlotAreNotReached) {
  Map map{ImageBuilder(smallLayout())};
  map.contents.files = {fileIn(62, 65535)};
  map.build();
  EXPECT_TRUE(map.slots.isReached(62));
  for (const std::uint64_t slot : {std::uint64_t{0}, std::uint64_t{63}, ~std::uint64_t{0}})
    EXPECT_FALSE(map.slots.isReached(slot)) << slot;
}

TEST(SlotMapBuilding, LooksAtEverythingThatTakesASlot) {
  ImageBuilder image(smallLayout());
  image.setFatEntry(16 + 8 * 20 + 7, 1);
  Map map(std::move(image));
  map.contents.files = {fileIn(3, 1, 17), fileIn(0, 2), fileIn(30, 0, 0), fileIn(40, 5, 1, 0)};
  map.contents.folders = {{5, 6}, {16 + 8 * 9, 600, 32767}, {}};
  map.build();
  EXPECT_TRUE(map.isRight());
  EXPECT_EQ(map.counters.free(), 496U - 8 * 8) << "slots 1 to 5, 10, 21 and 30";
  EXPECT_EQ(map.slots.placeFor(1), std::uint16_t{45});
}

TEST(SlotMapBuilding, HoldsForOddGeometries) {
  struct Case {
    std::uint64_t bytes;
    std::uint32_t table, root, data, slot;
  };
  for (const Case &one :
       {Case{300 * 512, 2, 4, 16, 8}, Case{301 * 512 + 77, 2, 4, 16, 8}, Case{300 * 512, 100, 4, 16, 8},
        Case{300 * 512, 299, 4, 16, 8}, Case{300 * 512, 16, 16, 16, 8}, Case{300 * 512, 2, 200, 16, 8},
        Case{300 * 512, 2, 3, 299, 8}, Case{300 * 512, 2, 3, 300, 8}, Case{300 * 512, 2, 3, 10000, 8},
        Case{300 * 512, 2, 3, 10, 4096}, Case{300 * 512, 900, 3, 10, 2}, Case{300 * 512, 1, 2, 1, 2},
        Case{2000 * 512, 50, 40, 30, 6}}) {
    ImageBuilder image({.sizeBytes = one.bytes,
                        .fatStartBlock = one.table,
                        .rootDirBlock = one.root,
                        .dataAreaBlock = one.data,
                        .slotSizeBlocks = one.slot,
                        .marksBlocks = false});
    Map map(std::move(image));
    map.contents.files = {fileIn(2, 1, 9), fileIn(5)};
    map.contents.folders = {{20, 33}};
    map.build();
    EXPECT_TRUE(map.isRight()) << one.table << " " << one.root << " " << one.data;
  }
}

TEST(SlotMapBuilding, IsDoneAnewForAnotherGeometry) {
  Map map{ImageBuilder(smallLayout())};
  map.contents.files = {fileIn(7, 3)};
  map.build();
  VolumeGeometry other = map.parts.geometry;
  other.slotSizeBlocks = 16;
  map.contents.files = {fileIn(2)};
  map.slots.build(other, map.contents.tree(map.rootBlock()));
  EXPECT_EQ(map.slots.slotCount(), 31U);
  EXPECT_EQ(map.counters.free(), 480U);
  EXPECT_EQ(map.slots.placeFor(1), std::uint16_t{3});
  EXPECT_FALSE(map.slots.isReached(7));
}

// The image is cut short underneath: the table goes from block 8 on, 256 marks a block.
TEST(SlotMapBuilding, WhatCannotBeReadOfTheTableIsTaken) {
  for (const std::uint64_t readable : {0U, 8U, 9U, 64U}) {
    ImageBuilder image(
        {.sizeBytes = 8 * kMiB, .fatStartBlock = 8, .slotSizeBlocks = 64, .marksBlocks = false});
    Map map(std::move(image));
    std::filesystem::resize_file(map.parts.path(), (8 + readable) * kBlockBytes);
    map.build();
    const std::uint64_t data = map.parts.geometry.dataAreaBlock;
    const std::uint64_t readableBlocks = readable * 256;
    const std::uint64_t slots = readableBlocks > data ? (readableBlocks - data) / 64 : 0;
    const std::uint64_t last = readable == 64 ? (16384 - data) % 64 : 0; // the cut-off slot, whole here
    EXPECT_EQ(map.counters.free(), slots * 64 + last) << readable;
    EXPECT_EQ(map.slots.placeFor(1).has_value(), slots > 0) << readable;
    EXPECT_EQ(map.slots.placeFor((slots + 1) * 64), std::nullopt) << readable;
  }
}

// --- 65535 slots -----------------------------------------------------------------------------------

ImageBuilder largeVolume() {
  return ImageBuilder(
      {.sizeBytes = 70000 * 2 * kBlockBytes, .rootDirBlock = 600, .dataAreaBlock = 700, .slotSizeBlocks = 2});
}

TEST(AllSlots, EndAt65535) {
  Map map(largeVolume());
  map.build();
  EXPECT_EQ(map.slots.slotCount(), 65535U);
  EXPECT_EQ(map.counters.free(), 65535U * 2);
  EXPECT_EQ(map.counters.used(), 70000U * 2 - 65535 * 2);
  map.contents.files = {fileIn(65534)};
  map.build();
  EXPECT_EQ(map.slots.placeFor(2), std::uint16_t{65535});
  EXPECT_EQ(map.slots.placeFor(3), std::uint16_t{1});
  map.slots.fileCame(fileIn(65535));
  EXPECT_EQ(map.slots.placeFor(2), std::uint16_t{1});
  map.slots.fileCame(fileIn(1, 65535, 65535));
  EXPECT_EQ(map.slots.placeFor(1), std::nullopt);
  EXPECT_EQ(map.counters.free(), 0U);
  map.slots.fileWent(fileIn(1, 65535, 65535));
  EXPECT_TRUE(map.slots.isReached(65534) && map.slots.isReached(65535));
  EXPECT_EQ(map.counters.free(), 65533U * 2);
}

TEST(AllSlots, ClaimedByManyFilesAtOnceAreCountedInPassing) {
  Map map(largeVolume());
  for (std::uint64_t number = 0; number < 50000; ++number)
    map.contents.files.push_back(fileIn(number % 3 + 1, 65535, 65535, number % 2 == 0 ? 0x81 : 0));
  const EMU3DirectoryPtr root = map.contents.tree(map.rootBlock());
  const auto begin = std::chrono::steady_clock::now();
  map.slots.build(map.parts.geometry, root);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5)); // three billion would be more
  EXPECT_EQ(map.counters.free(), 0U);
  EXPECT_EQ(map.slots.placeFor(1), std::nullopt);
}

// --- Changes ---------------------------------------------------------------------------------------

TEST(SlotMapChanges, HighestIsThatOfTheFilesThatAreLeft) {
  Map map{ImageBuilder(smallLayout())};
  map.build();
  map.slots.fileCame(fileIn(5));
  map.slots.fileCame(fileIn(9, 3));
  map.slots.fileCame(fileIn(20, 1, 1, 0));
  EXPECT_EQ(map.slots.placeFor(1), std::uint16_t{21});
  map.slots.fileWent(fileIn(20, 1, 1, 0));
  EXPECT_EQ(map.slots.placeFor(1), std::uint16_t{12});
  map.slots.fileWent(fileIn(9, 3));
  EXPECT_EQ(map.slots.placeFor(1), std::uint16_t{6});
  map.slots.fileCame(fileIn(65535, 65535, 65535, 0));
  EXPECT_EQ(map.slots.placeFor(1), std::uint16_t{1}) << "nothing lies above that";
  map.slots.fileWent(fileIn(65535, 65535, 65535, 0));
  map.slots.fileWent(fileIn(5));
  EXPECT_EQ(map.slots.placeFor(1), std::uint16_t{1});
  EXPECT_TRUE(map.isRight());
}

TEST(SlotMapChanges, SlotStaysTakenUntilTheLastReasonIsGone) {
  Map map{ImageBuilder(smallLayout())};
  map.build();
  const auto isFree = [&] { return map.counters.free() == 496U; };
  map.slots.fileCame(fileIn(3));
  map.slots.fileCame(fileIn(2, 2));
  map.slots.fileWent(fileIn(2, 2));
  map.slots.folderBlocksCame({33, 34, 33});
  map.slots.fileWent(fileIn(3));
  EXPECT_EQ(map.counters.free(), 488U);
  map.slots.folderBlocksWent({34, 33});
  EXPECT_FALSE(isFree());
  map.slots.folderBlocksWent({33});
  EXPECT_TRUE(isFree());
}

TEST(SlotMapChanges, MarksAreLookedAtWhereTheyWereWritten) {
  Map map{ImageBuilder(smallLayout())};
  map.build();
  const auto write = [&](std::uint64_t first, std::uint64_t count, std::uint16_t value) {
    map.parts.table.setMarks(first, count, value, [](std::uint64_t) { return true; });
    map.slots.marksChanged(first, count);
    EXPECT_TRUE(map.isRight()) << first;
  };
  write(20, 30, 0x8000);
  write(0, 512, 0);
  write(511, 1, 1);
  write(15, 2, 1);
  write(0, 512, 0);
  map.slots.marksChanged(16, 0);
  map.slots.marksChanged(0, 10);
  map.slots.marksChanged(500, 100000);
  map.slots.marksChanged(~std::uint64_t{0}, 5);
  EXPECT_TRUE(map.isRight());
}

// Many random changes; after each the map is right, and so is one that is built anew.
class RandomChanges : public testing::TestWithParam<std::uint32_t> {
protected:
  static ImageBuilder image(Random &random) {
    const auto table = static_cast<std::uint32_t>(random.chance(70) ? 2 : random.between(1, 300));
    return ImageBuilder({.sizeBytes = random.between(100, 700) * kBlockBytes + random.below(600),
                         .fatStartBlock = table,
                         .rootDirBlock = static_cast<std::uint32_t>(random.between(1, 40)),
                         .dataAreaBlock = static_cast<std::uint32_t>(random.between(2, 60)),
                         .slotSizeBlocks = random.pick(std::vector<std::uint32_t>{2, 4, 8, 64}),
                         .marksBlocks = false});
  }

  EMU3FileFields anyFile() {
    const auto number = [&](std::uint64_t usual) {
      return random.chance(10) ? random.below(65536) : random.below(usual);
    };
    return fileIn(number(80), number(5), number(30), random.chance(20) ? 0 : 0x81);
  }
  std::vector<std::int64_t> anyBlocks() {
    std::vector<std::int64_t> blocks;
    for (std::size_t left = random.below(8); left > 0; --left)
      blocks.push_back(
          static_cast<std::int64_t>(random.chance(20) ? random.between(1, 32767) : random.between(1, 500)));
    return blocks;
  }

  void change() {
    auto &[files, folders] = map.contents;
    switch (random.below(5)) {
    case 0:
      files.push_back(anyFile());
      map.slots.fileCame(files.back());
      break;
    case 1:
      if (files.empty()) break;
      std::swap(files[random.below(files.size())], files.back());
      map.slots.fileWent(files.back());
      files.pop_back();
      break;
    case 2:
      folders.push_back(anyBlocks());
      map.slots.folderBlocksCame(folders.back());
      break;
    case 3:
      if (folders.empty()) break;
      std::swap(folders[random.below(folders.size())], folders.back());
      map.slots.folderBlocksWent(folders.back());
      folders.pop_back();
      break;
    default:
      const std::uint64_t described = map.parts.geometry.describedBlocks();
      if (described == 0) break;
      const std::uint64_t first = random.below(described);
      const std::uint64_t count = random.below(described - first + 1);
      // Never where a header would be changed, which this map knows nothing of.
      map.parts.table.setMarks(first, count, random.chance(50) ? 0x8000 : 0,
                               [](std::uint64_t block) { return block != 0; });
      map.slots.marksChanged(first, count);
    }
  }

  Random random{GetParam()};
  Map map{image(random)};
};

TEST_P(RandomChanges, LeaveTheMapAsOneThatIsBuiltAnew) {
  map.build();
  for (int step = 0; step < 60 && !HasFailure(); ++step) {
    change();
    EXPECT_TRUE(map.isRight()) << step;
    BlockCounters counters;
    SlotMap fresh(map.parts.table, counters);
    fresh.build(map.parts.geometry, map.contents.tree(map.rootBlock()));
    EXPECT_TRUE(map.isRight(fresh, counters)) << step;
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomChanges, testing::Range(1U, 41U));

} // namespace
} // namespace tessary::test
