// Where the bare and the guarded rules differ, asked by themselves. What the differences do to an image is
// in tests/writing.

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

// A volume with all the slots that there can be.
VolumeLayout layoutOfAllSlots() {
  return {.sizeBytes = 260 * kMiB, .slotSizeBlocks = 8, .directoryBlocks = 12};
}

std::optional<std::uint16_t> slotFor(ImageBuilder image, MountRules rules) {
  const OpenedVolume opened(std::move(image), rules);
  Volume &volume = *opened;
  const ReadLock lock(volume.lock);
  return volume.rules().slotForNewFile(volume, 1);
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

// --- Guarded, the slot is above every slot reached, else the lowest of all ---------------------------

struct Reach {
  std::uint16_t slot;
  std::uint16_t clusters;
  std::uint16_t blocks;
  std::uint16_t next; ///< guarded
};

void PrintTo(const Reach &reach, std::ostream *out) {
  *out << "slot " << reach.slot << ", " << reach.clusters << " clusters, " << reach.blocks << " blocks";
}

class SlotGuard : public testing::TestWithParam<Reach> {
protected:
  static ImageBuilder image(std::uint8_t type = 0x81) {
    ImageBuilder builder(layoutOfAllSlots());
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
                                         Reach{65534, 1, 8, 65535}, Reach{65534, 2, 1, 1},
                                         Reach{65534, 1, 9, 1}, Reach{65535, 1, 1, 1},
                                         Reach{65535, 65535, 65535, 1}, Reach{2, 65534, 0, 1},
                                         Reach{2, 65533, 0, 65535}));

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

// --- What has left the tree ------------------------------------------------------------------------

class ObjectsOfATree : public testing::TestWithParam<MountRules> {
protected:
  static ImageBuilder image() {
    ImageBuilder builder(smallLayout());
    builder.root().addFile("file", bytesOf("x"));
    builder.root().addFolder("folder").addFile("inside", bytesOf("x"));
    return builder;
  }

  bool isBare() const { return GetParam() == MountRules::bare; }

  OpenedVolume opened{image(), GetParam()};
  Volume &volume = *opened;
  const VolumeRules &rules = volume.rules();
  EMU3DirectoryPtr root = opened.root();
  EMU3FilePtr file = fileNamed(root, "file");
  EMU3DirectoryPtr folder = folderNamed(root, "folder");
  EMU3FilePtr inside = fileNamed(folder, "inside");
};

INSTANTIATE_TEST_SUITE_P(Rules, ObjectsOfATree, testing::Values(MountRules::bare, MountRules::guarded),
                         rulesName);

TEST_P(ObjectsOfATree, MayBeUsedWhereTheyAre) {
  const ReadLock lock(volume.lock);
  EXPECT_TRUE(rules.mayUse(volume, root));
  EXPECT_TRUE(rules.mayUse(volume, folder));
  EXPECT_TRUE(rules.mayUse(volume, folder, inside));
  EXPECT_TRUE(rules.mayUse(volume, root, folder));
  EXPECT_TRUE(rules.mayErase(*inside));
  EXPECT_TRUE(rules.mayRead(volume, inside));
}

TEST_P(ObjectsOfATree, ThatHaveLeftItMayBeUsedOnlyByTheBareRules) {
  TreeEditor::removeSubdirectory(root, folder);
  TreeEditor::removeFile(root, file);
  const ReadLock lock(volume.lock);
  EXPECT_EQ(rules.mayUse(volume, folder), isBare());
  EXPECT_EQ(rules.mayUse(volume, folder, inside), isBare());
  EXPECT_EQ(rules.mayUse(volume, root, file), isBare());
  EXPECT_EQ(rules.mayUse(volume, root, folder), isBare());
  EXPECT_EQ(rules.mayRead(volume, file), isBare());
  EXPECT_EQ(rules.mayRead(volume, inside), isBare());
}

TEST_P(ObjectsOfATree, FromElsewhereThanWhereTheyAreMayBeUsedOnlyByTheBareRules) {
  const ReadLock lock(volume.lock);
  EXPECT_EQ(rules.mayUse(volume, root, inside), isBare());
  EXPECT_EQ(rules.mayUse(volume, folder, root), isBare());
}

TEST_P(ObjectsOfATree, RootIsInNoFoldersList) {
  const ReadLock lock(volume.lock);
  EXPECT_EQ(rules.mayUse(volume, root, root), isBare());
  EXPECT_EQ(rules.mayUse(volume, EMU3DirectoryPtr(), root), isBare());
}

TEST_P(ObjectsOfATree, DeletedFileOfTheListMayBeUsedOnlyByTheBareRules) {
  EMU3FileFields fields = file->fields();
  fields.rawType = 0;
  file = std::make_shared<EMU3File>(fields);
  TreeEditor::setFiles(root, {file});
  const ReadLock lock(volume.lock);
  EXPECT_EQ(rules.mayUse(volume, root, file), isBare());
  EXPECT_EQ(rules.mayErase(*file), isBare());
  EXPECT_EQ(rules.mayRead(volume, file), isBare());
}

// --- A place that something new takes --------------------------------------------------------------

TEST_P(ObjectsOfATree, EntryOfAFolderIsFreeOnlyByTheBareRules) {
  const RawEntry entry = rawFolderEntry("folder", 0x40, {});
  const tessary::EntryPlace place = folder->place();
  const ReadLock lock(volume.lock);
  EXPECT_EQ(rules.isFree(volume, entry.data(), place), isBare());
  EXPECT_TRUE(rules.isFree(volume, entry.data(), {place.block, place.index + 1}))
      << "no folder of the tree is there";
}

TEST_P(ObjectsOfATree, EmptyOrDeletedEntryIsFreeAndALiveFilesIsNot) {
  const tessary::EntryPlace place = file->place();
  const ReadLock lock(volume.lock);
  EXPECT_TRUE(rules.isFree(volume, RawEntry{}.data(), place));
  EXPECT_TRUE(rules.isFree(volume, rawFileEntry("gone", 0, 1, 1, 1, 1, 1).data(), place));
  EXPECT_FALSE(rules.isFree(volume, rawFileEntry("file", 0x81, 1, 1, 1, 1, 1).data(), place));
}

TEST_P(ObjectsOfATree, DeletedFileWhoseEntryWasTakenLeavesTheListOnlyByTheGuardedRules) {
  const WriteLock lock(volume.lock);
  const auto addGone = [&](tessary::EntryPlace place) {
    EMU3FileFields fields;
    fields.name = "gone";
    fields.dentryBlock = place.block;
    fields.dentryOffset = place.index;
    volume.tree.addFile(folder, std::make_shared<EMU3File>(fields));
  };
  const tessary::EntryPlace place{inside->place().block, 5};
  addGone(place);
  addGone({place.block, 6});
  rules.entryWasTaken(volume, folder, place);
  EXPECT_EQ(folder->files().size(), isBare() ? 3U : 2U) << "the one of that place alone";
  rules.entryWasTaken(volume, folder, inside->place());
  EXPECT_EQ(folder->files().size(), isBare() ? 3U : 2U) << "a live file stays";
}

} // namespace
} // namespace tessary::test
