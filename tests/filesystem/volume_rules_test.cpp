// Where the bare and the guarded rules differ, asked by themselves. What the differences do to an image is
// in tests/writing/guards_test.cpp.

#include "filesystem/TreeEditor.h"
#include "filesystem/VolumeRules.h"
#include "tests/writing/EngineParts.h"

#include <gtest/gtest.h>

#include <optional>

namespace tessary::test {
namespace {

// A file of which only the entry is laid out.
FileOptions inSlot(std::uint16_t slot) {
  return {.slot = slot, .storesContents = false};
}

std::optional<std::uint16_t> slotFor(ImageBuilder image, MountRules rules) {
  const EngineParts parts(std::move(image));
  return rulesFor(rules).slotForNewFile(parts.tree, parts.geometry);
}

// --- Choosing a slot -------------------------------------------------------------------------------

TEST(SlotChoice, VolumeWithoutFilesGivesSlotOne) {
  EXPECT_EQ(slotFor(ImageBuilder(smallLayout()), MountRules::bare), std::uint16_t{1});
}

TEST(SlotChoice, GoesAboveTheHighestSlotAndIgnoresTheGapsBelow) {
  ImageBuilder image(smallLayout());
  image.root().addFile("three", bytesOf("x"), inSlot(3));
  image.root().addFile("seven", bytesOf("x"), inSlot(7));
  EXPECT_EQ(slotFor(std::move(image), MountRules::bare), std::uint16_t{8});
}

TEST(SlotChoice, LooksIntoFoldersOfEveryDepth) {
  ImageBuilder image(smallLayout());
  auto inner = image.root().addFolder("outer").addFolder("middle").addFolder("inner");
  image.root().addFile("top", bytesOf("x"), inSlot(4));
  inner.addFile("deep", bytesOf("x"), inSlot(9));
  EXPECT_EQ(slotFor(std::move(image), MountRules::bare), std::uint16_t{10});
}

TEST(SlotChoice, CountsDeletedFilesThatAreStillListed) {
  ImageBuilder image(smallLayout());
  image.root().addFile("live", bytesOf("x"), inSlot(2));
  FileOptions gone = inSlot(30);
  gone.type = 0;
  image.root().addFile("gone", bytesOf("x"), gone);
  EXPECT_EQ(slotFor(std::move(image), MountRules::bare), std::uint16_t{31});
}

TEST(SlotChoice, FoldersHoldNoSlot) {
  ImageBuilder image(smallLayout());
  image.root().addFolder("folder", {.blockList = {9, 10, 11}});
  EXPECT_EQ(slotFor(std::move(image), MountRules::bare), std::uint16_t{1});
}

TEST(SlotChoice, LengthAndClusterCountPlayNoPartInTheBareRule) {
  ImageBuilder image(smallLayout());
  image.root().addFile("long", patternBytes(5 * 8 * 512), {.slot = std::uint16_t{3}});
  FileOptions claims = inSlot(2);
  claims.clusterCount = 900;
  image.root().addFile("claims", bytesOf("x"), claims);
  EXPECT_EQ(slotFor(std::move(image), MountRules::bare), std::uint16_t{4});
}

TEST(SlotChoice, AboveSlot65535ComesSlotZero) {
  EXPECT_EQ(slotFor(volumeWithSlot65535(), MountRules::bare), std::uint16_t{0});
}

// --- Guarded, the slot is above every slot reached --------------------------------------------------

struct Reach {
  std::uint16_t slot;
  std::uint16_t clusters;
  std::uint16_t blocks;
  std::optional<std::uint16_t> next; ///< guarded
};

void PrintTo(const Reach &reach, std::ostream *out) {
  *out << "slot " << reach.slot << ", " << reach.clusters << " clusters, " << reach.blocks << " blocks";
}

class SlotGuard : public testing::TestWithParam<Reach> {
protected:
  static ImageBuilder image(std::uint8_t type = 0x81) {
    ImageBuilder builder(smallLayout());
    const Reach &reach = GetParam();
    builder.root().addFolder("folder").addFile("far", bytesOf("x"),
                                               {.type = type,
                                                .slot = reach.slot,
                                                .clusterCount = reach.clusters,
                                                .blocksInLastCluster = reach.blocks,
                                                .storesContents = false});
    return builder;
  }
};

TEST_P(SlotGuard, CountsClustersAndBlocks) {
  EXPECT_EQ(slotFor(image(), MountRules::guarded), GetParam().next);
}

TEST_P(SlotGuard, CountsThoseOfDeletedFilesToo) {
  EXPECT_EQ(slotFor(image(0), MountRules::guarded), GetParam().next);
}

TEST_P(SlotGuard, OffLooksAtTheSlotAlone) {
  EXPECT_EQ(slotFor(image(), MountRules::bare), static_cast<std::uint16_t>(GetParam().slot + 1));
}

INSTANTIATE_TEST_SUITE_P(Reaches, SlotGuard,
                         testing::Values(Reach{3, 1, 8, 4}, Reach{3, 1, 9, 5}, Reach{3, 1, 16, 5},
                                         Reach{3, 1, 17, 6}, Reach{3, 4, 1, 7}, Reach{3, 4, 41, 9},
                                         Reach{3, 0, 0, 4}, Reach{0, 0, 0, 2}, Reach{0, 1, 1, 2},
                                         Reach{0, 1, 17, 4}, Reach{1, 1, 65535, 8193},
                                         Reach{65534, 1, 8, 65535}, Reach{65534, 2, 1, std::nullopt},
                                         Reach{65534, 1, 9, std::nullopt}, Reach{65535, 1, 1, std::nullopt},
                                         Reach{65535, 65535, 65535, std::nullopt},
                                         Reach{2, 65534, 0, std::nullopt}, Reach{2, 65533, 0, 65535}));

TEST(SlotGuardOfAnEmptyVolume, GivesSlotOne) {
  EXPECT_EQ(slotFor(ImageBuilder(smallLayout()), MountRules::guarded), std::uint16_t{1});
}

TEST(SlotGuardOfManyFiles, TakesTheFarthestReachNotTheHighestSlot) {
  ImageBuilder image(smallLayout());
  image.root().addFile("long", bytesOf("x"),
                       {.slot = std::uint16_t{2}, .clusterCount = std::uint16_t{9}, .storesContents = false});
  image.root().addFile("high", bytesOf("x"), {.slot = std::uint16_t{7}, .storesContents = false});
  EXPECT_EQ(slotFor(std::move(image), MountRules::guarded), std::uint16_t{11});
}

// --- Names -----------------------------------------------------------------------------------------

std::string_view stored(MountRules rules, const std::string &name) {
  return rulesFor(rules).storedName(name);
}

class StoredName : public testing::TestWithParam<MountRules> {};
INSTANTIATE_TEST_SUITE_P(Rules, StoredName, testing::Values(MountRules::bare, MountRules::guarded),
                         rulesName);

TEST_P(StoredName, IsCutAfterFifteenBytes) {
  EXPECT_EQ(stored(GetParam(), ""), "");
  EXPECT_EQ(stored(GetParam(), "abc"), "abc");
  EXPECT_EQ(stored(GetParam(), "15 characters.."), "15 characters..");
  EXPECT_EQ(stored(GetParam(), "16 characters..x"), "16 characters..");
  EXPECT_EQ(stored(GetParam(), "a name of more than sixteen characters"), "a name of more ");
}

TEST_P(StoredName, WithoutAUtf8FormIsEmpty) {
  EXPECT_EQ(stored(GetParam(), "kick\xFF"), "");
}

TEST(StoredNameByTheBareRules, IsCutAlsoThroughACharacter) {
  EXPECT_EQ(stored(MountRules::bare, "abcdefghijklmn\u00e9"), "abcdefghijklmn\xC3");
  EXPECT_EQ(stored(MountRules::bare, "\u20ac\u20ac\u20ac\u20ac\u20ac"), "\u20ac\u20ac\u20ac\u20ac\u20ac");
  EXPECT_EQ(stored(MountRules::bare, "a\u20ac\u20ac\u20ac\u20ac\u20ac"), "a\u20ac\u20ac\u20ac\u20ac\xE2\x82");
}

TEST(StoredNameByTheGuardedRules, KeepsWholeCharacters) {
  EXPECT_EQ(stored(MountRules::guarded, "abcdefghijklmn\u00e9"), "abcdefghijklmn");
  EXPECT_EQ(stored(MountRules::guarded, "a\u20ac\u20ac\u20ac\u20ac\u20ac"), "a\u20ac\u20ac\u20ac\u20ac");
  EXPECT_EQ(stored(MountRules::guarded, "abcdefghijklm\U0001F941"), "abcdefghijklm");
}

// --- Size ------------------------------------------------------------------------------------------

TEST(MostBlocksOfAFile, AreWhatItsEntryCanCountOnlyByTheGuardedRules) {
  EXPECT_EQ(rulesFor(MountRules::guarded).mostBlocksOfAFile(), 65535U);
  EXPECT_EQ(rulesFor(MountRules::bare).mostBlocksOfAFile(), ~std::uint64_t{0});
}

TEST(VolumeRules, TellWhichTheyAre) {
  EXPECT_EQ(rulesFor(MountRules::bare).kind(), MountRules::bare);
  EXPECT_EQ(rulesFor(MountRules::guarded).kind(), MountRules::guarded);
}

// --- Where marks and folders may go ----------------------------------------------------------------

VolumeGeometry tableInBlocks6To9() {
  return {
      .totalBlocks = 40000, .rootDirBlock = 4, .dataAreaBlock = 10, .fatStartBlock = 6, .slotSizeBlocks = 8};
}

TEST(Marks, StayInsideTheTableOnlyByTheGuardedRules) {
  const VolumeGeometry geometry = tableInBlocks6To9();
  const VolumeRules &guarded = rulesFor(MountRules::guarded);
  EXPECT_TRUE(guarded.mayMarkIn(6, geometry));
  EXPECT_TRUE(guarded.mayMarkIn(9, geometry));
  EXPECT_FALSE(guarded.mayMarkIn(10, geometry));
  EXPECT_FALSE(guarded.mayMarkIn(~std::uint64_t{0}, geometry));
  EXPECT_TRUE(rulesFor(MountRules::bare).mayMarkIn(10, geometry));
}

TEST(FoldersBlock, LiesOutsideTheTableAndBelow32768OnlyByTheGuardedRules) {
  const VolumeGeometry geometry = tableInBlocks6To9();
  const VolumeRules &guarded = rulesFor(MountRules::guarded);
  EXPECT_TRUE(guarded.mayHoldFolder(5, geometry));
  EXPECT_FALSE(guarded.mayHoldFolder(6, geometry));
  EXPECT_FALSE(guarded.mayHoldFolder(9, geometry));
  EXPECT_TRUE(guarded.mayHoldFolder(10, geometry));
  EXPECT_TRUE(guarded.mayHoldFolder(32767, geometry));
  EXPECT_FALSE(guarded.mayHoldFolder(32768, geometry));
  const VolumeRules &bare = rulesFor(MountRules::bare);
  EXPECT_TRUE(bare.mayHoldFolder(6, geometry));
  EXPECT_TRUE(bare.mayHoldFolder(32768, geometry));
}

// --- What has left the tree ------------------------------------------------------------------------

class ObjectsOfATree : public testing::Test {
protected:
  static ImageBuilder image() {
    ImageBuilder builder(smallLayout());
    builder.root().addFile("file", bytesOf("x"));
    builder.root().addFolder("folder").addFile("inside", bytesOf("x"));
    return builder;
  }

  EngineParts parts{image()};
  EMU3DirectoryPtr root = parts.root();
  EMU3FilePtr file = fileNamed(root, "file");
  EMU3DirectoryPtr folder = folderNamed(root, "folder");
  EMU3FilePtr inside = fileNamed(folder, "inside");
};

TEST_F(ObjectsOfATree, MayBeUsedWhereTheyAre) {
  for (const MountRules kind : {MountRules::bare, MountRules::guarded}) {
    const VolumeRules &rules = rulesFor(kind);
    EXPECT_TRUE(rules.mayUse(parts.tree, root));
    EXPECT_TRUE(rules.mayUse(parts.tree, folder));
    EXPECT_TRUE(rules.mayUse(parts.tree, folder, inside));
    EXPECT_TRUE(rules.mayUse(parts.tree, root, folder));
    EXPECT_TRUE(rules.mayRead(parts.tree, inside));
  }
}

TEST_F(ObjectsOfATree, ThatHaveLeftItMayBeUsedOnlyByTheBareRules) {
  TreeEditor::removeSubdirectory(root, folder);
  TreeEditor::removeFile(root, file);
  for (const MountRules kind : {MountRules::bare, MountRules::guarded}) {
    const VolumeRules &rules = rulesFor(kind);
    const bool isBare = kind == MountRules::bare;
    EXPECT_EQ(rules.mayUse(parts.tree, folder), isBare);
    EXPECT_EQ(rules.mayUse(parts.tree, folder, inside), isBare);
    EXPECT_EQ(rules.mayUse(parts.tree, root, file), isBare);
    EXPECT_EQ(rules.mayUse(parts.tree, root, folder), isBare);
    EXPECT_EQ(rules.mayRead(parts.tree, file), isBare);
    EXPECT_EQ(rules.mayRead(parts.tree, inside), isBare);
  }
}

TEST_F(ObjectsOfATree, FromElsewhereThanWhereTheyAreMayBeUsedOnlyByTheBareRules) {
  for (const MountRules kind : {MountRules::bare, MountRules::guarded}) {
    const bool isBare = kind == MountRules::bare;
    EXPECT_EQ(rulesFor(kind).mayUse(parts.tree, root, inside), isBare);
    EXPECT_EQ(rulesFor(kind).mayUse(parts.tree, folder, root), isBare);
  }
}

// --- A place that something new takes --------------------------------------------------------------

TEST_F(ObjectsOfATree, EntryOfAFolderIsFreeOnlyByTheBareRules) {
  const RawEntry entry = rawFolderEntry("folder", 0x40, {});
  const tessary::EntryPlace place = folder->place();
  EXPECT_TRUE(rulesFor(MountRules::bare).isFree(entry.data(), place, parts.tree));
  EXPECT_FALSE(rulesFor(MountRules::guarded).isFree(entry.data(), place, parts.tree));
  EXPECT_TRUE(rulesFor(MountRules::guarded).isFree(entry.data(), {place.block, place.index + 1}, parts.tree))
      << "no folder of the tree is there";
}

TEST_F(ObjectsOfATree, EmptyOrDeletedEntryIsFreeAndALiveFilesIsNot) {
  const tessary::EntryPlace place = file->place();
  for (const MountRules kind : {MountRules::bare, MountRules::guarded}) {
    const VolumeRules &rules = rulesFor(kind);
    EXPECT_TRUE(rules.isFree(RawEntry{}.data(), place, parts.tree));
    EXPECT_TRUE(rules.isFree(rawFileEntry("gone", 0, 1, 1, 1, 1, 1).data(), place, parts.tree));
    EXPECT_FALSE(rules.isFree(rawFileEntry("file", 0x81, 1, 1, 1, 1, 1).data(), place, parts.tree));
  }
}

TEST_F(ObjectsOfATree, DeletedFileWhoseEntryWasTakenLeavesTheListOnlyByTheGuardedRules) {
  const auto addGone = [&](tessary::EntryPlace place) {
    EMU3FileFields fields;
    fields.name = "gone";
    fields.dentryBlock = place.block;
    fields.dentryOffset = place.index;
    TreeEditor::appendFile(folder, std::make_shared<EMU3File>(fields));
  };
  const tessary::EntryPlace place{inside->place().block, 5};
  addGone(place);
  addGone({place.block, 6});
  rulesFor(MountRules::bare).entryWasTaken(folder, place);
  EXPECT_EQ(folder->files().size(), 3U);
  rulesFor(MountRules::guarded).entryWasTaken(folder, place);
  EXPECT_EQ(folder->files().size(), 2U) << "the one of that place alone";
  rulesFor(MountRules::guarded).entryWasTaken(folder, inside->place());
  EXPECT_EQ(folder->files().size(), 2U) << "a live file stays";
}

} // namespace
} // namespace tessary::test
