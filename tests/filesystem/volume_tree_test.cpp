// Reading the tree: entries passed over, block lists, order, damaged trees; what belongs to it; adding to it.

#include "filesystem/DirectoryBlocks.h"
#include "filesystem/ImageMapping.h"
#include "filesystem/TreeEditor.h"
#include "filesystem/VolumeGeometry.h"
#include "filesystem/VolumeRules.h"
#include "filesystem/VolumeTree.h"
#include "tests/support/MountedVolume.h"
#include "tests/support/SampleVolumes.h"

#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <unordered_set>

namespace tessary {
namespace {

using namespace test;
using BlockNumbers = std::vector<std::int16_t>;

/// The tree of an image, read by itself.
class ReadTree {
public:
  explicit ReadTree(const ImageBuilder &image) {
    const TemporaryFolder folder;
    image.writeTo(folder.path("disk.hda"));
    EMU3Error error;
    mapping_ = ImageMapping::open(folder.path("disk.hda"), &error);
    if (!mapping_) throw std::runtime_error(error.description());
    geometry = readGeometry(*mapping_, &error).value();
    tree.read(entries(), static_cast<std::int64_t>(geometry.rootDirBlock), "disk.hda");
  }

  DirectoryBlocks entries() const { return DirectoryBlocks(*mapping_); }
  EMU3DirectoryPtr root() const { return tree.root(); }

  VolumeGeometry geometry;
  VolumeTree tree{rulesFor(MountRules::bare), nullptr};

private:
  std::unique_ptr<ImageMapping> mapping_;
};

TEST(TreeReading, EntriesWithoutANameArePassedOver) {
  ImageBuilder image;
  auto root = image.root();
  root.addRaw(rawFileEntry("", 0x81, 1, 1, 1, 1, 1));
  root.addRaw(rawFileEntry(std::string("\0HIDDEN", 7), 0x81, 1, 1, 1, 1, 1));
  root.addRaw(rawFileEntry("Caf\xE9", 0x81, 1, 1, 1, 1, 1));
  root.addRaw(rawFolderEntry("\xFF", 0x40, BlockNumbers{40}));
  root.addFile("After", {});
  const ReadTree volume(image);
  EXPECT_EQ(namesOf(volume.root()->files()), std::vector<std::string>{"After"});
  EXPECT_TRUE(volume.root()->subdirectories().empty());
}

TEST(TreeReading, FileHasTheFieldsOfItsEntry) {
  ImageBuilder image;
  image.root().addFile("Pad", {},
                       {.type = 0x83,
                        .entryId = std::uint8_t{200},
                        .slot = std::uint16_t{0x1234},
                        .entry = 9,
                        .clusterCount = std::uint16_t{0x5678},
                        .blocksInLastCluster = std::uint16_t{0x0302},
                        .bytesInLastBlock = std::uint16_t{0x0109},
                        .byte16 = 0xEE,
                        .byte27 = 0xDD,
                        .storesContents = false});
  const ReadTree volume(image);
  ASSERT_EQ(volume.root()->files().size(), 1U);
  const EMU3FileFields fields = volume.root()->files()[0]->fields();
  EXPECT_EQ(fields.name, "Pad");
  EXPECT_EQ(fields.rawType, 0x83);
  EXPECT_EQ(fields.fileType, kFileTypeBank);
  EXPECT_EQ(fields.entryId, 200);
  EXPECT_EQ(fields.startCluster, 0x1234);
  EXPECT_EQ(fields.clusterCount, 0x5678);
  EXPECT_EQ(fields.blocksInLastCluster, 0x0302);
  EXPECT_EQ(fields.bytesInLastBlock, 0x0109);
  EXPECT_EQ(fields.fileSize, 0x0302U * 512 + 0x0109 - 512);
  EXPECT_EQ(fields.dentryBlock, static_cast<std::int64_t>(image.rootDirBlock()));
  EXPECT_EQ(fields.dentryOffset, 9);
}

TEST(TreeReading, NewFileIsNeitherReadNorAnalysed) {
  ImageBuilder image;
  image.root().addFile("Bank", bytesOf("FORM"));
  const ReadTree volume(image);
  const auto file = volume.root()->files()[0];
  EXPECT_EQ(file->cachedData(), nullptr);
  EXPECT_EQ(file->bankDetails(), BankDetails());
}

TEST(TreeReading, FolderHasTheFieldsOfItsEntry) {
  ImageBuilder image;
  const auto block = static_cast<std::int16_t>(image.rootDirBlock() + 5);
  image.root().addFolder("Drums", {.blockList = {block}, .entryId = 0x80, .entry = 15, .byte16 = 0xEE});
  const ReadTree volume(image);
  const auto folder = folderNamed(volume.root(), "Drums");
  EXPECT_EQ(folder->entryId(), 0x80);
  EXPECT_EQ(folder->blockList(), std::vector<std::int64_t>{block});
  EXPECT_EQ(folder->parent(), volume.root());
  EXPECT_EQ(folder->dentryBlock(), static_cast<std::int64_t>(image.rootDirBlock()));
  EXPECT_EQ(folder->dentryOffset(), 15);
}

TEST(TreeReading, FoldersBlockNumbersOfZeroAndLessArePassedOver) {
  ImageBuilder image;
  image.root().addFolder("Drums", {.blockList = {7, 0, -3, 9, 0, 0, 0}});
  image.root().addFolder("None", {.blockList = {0, -1, -32768}});
  image.root().addFolder("High", {.blockList = {32767, 1}});
  const ReadTree volume(image);
  EXPECT_EQ(folderNamed(volume.root(), "Drums")->blockList(), (std::vector<std::int64_t>{7, 9}));
  EXPECT_TRUE(folderNamed(volume.root(), "None")->blockList().empty());
  EXPECT_EQ(folderNamed(volume.root(), "High")->blockList(), (std::vector<std::int64_t>{32767, 1}));
}

TEST(TreeReading, RootReadsOneBlockOf16Entries) {
  ImageBuilder image;
  for (int i = 0; i < 16; ++i)
    image.root().addFile("F" + std::to_string(i), {});
  image.pokeEntry({image.rootDirBlock() + 1, 0}, rawFileEntry("Beyond", 0x82, 0, 1, 1, 0, 0));
  const ReadTree volume(image);
  ASSERT_EQ(volume.root()->files().size(), 16U);
  EXPECT_EQ(volume.root()->files()[15]->name(), "F15");
}

TEST(TreeReading, FolderOfSevenBlocksHolds112Entries) {
  ImageBuilder image;
  auto folder = image.root().addFolder("Full", {.blockCount = 7});
  for (int i = 0; i < 112; ++i)
    folder.addFile("F" + std::to_string(i), {});
  const ReadTree volume(image);
  const auto files = folderNamed(volume.root(), "Full")->files();
  ASSERT_EQ(files.size(), 112U);
  for (std::size_t i = 0; i < 112; ++i) {
    EXPECT_EQ(files[i]->name(), "F" + std::to_string(i));
    EXPECT_EQ(files[i]->dentryBlock(), static_cast<std::int64_t>(folder.blocks()[i / 16]));
    EXPECT_EQ(files[i]->dentryOffset(), static_cast<std::int64_t>(i % 16));
  }
}

TEST(TreeReading, BlocksAreReadInTheOrderOfTheList) {
  ImageBuilder image;
  const auto high = static_cast<std::int16_t>(image.rootDirBlock() + 9);
  const auto low = static_cast<std::int16_t>(image.rootDirBlock() + 3);
  auto folder = image.root().addFolder("Folder", {.blockList = {high, low}});
  folder.addFile("In low", {}, {.entry = 16});
  folder.addFile("In high", {}, {.entry = 0});
  const ReadTree volume(image);
  EXPECT_EQ(namesOf(folderNamed(volume.root(), "Folder")->files()),
            (std::vector<std::string>{"In high", "In low"}));
}

TEST(TreeReading, BlocksBeyondTheImageArePassedOver) {
  ImageBuilder image({.sizeBytes = 200 * kBlockBytes, .directoryBlocks = 40});
  const auto inside = static_cast<std::int16_t>(image.rootDirBlock() + 1);
  image.root().addFolder("Folder", {.blockList = {30000, 200, inside, 32767}});
  image.pokeEntry({static_cast<std::uint64_t>(inside), 0}, rawFileEntry("Inside", 0x82, 0, 1, 1, 0, 0));
  const ReadTree volume(image);
  EXPECT_EQ(namesOf(folderNamed(volume.root(), "Folder")->files()), std::vector<std::string>{"Inside"});
}

TEST(TreeReading, RootBeyondTheImageGivesAnEmptyTree) {
  for (const std::uint32_t root : {8192U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    ImageBuilder image;
    image.root().addFile("File", {});
    image.poke32(8, root);
    const ReadTree volume(image);
    EXPECT_TRUE(volume.root()->files().empty()) << root;
    EXPECT_EQ(volume.root()->blockList(), std::vector<std::int64_t>{root});
  }
}

TEST(TreeReading, ListsKeepTheOrderOnDisk) {
  ImageBuilder image;
  auto root = image.root();
  root.addFolder("B");
  root.addFile("Y", {});
  root.addFolder("A");
  root.addFile("X", {});
  const ReadTree volume(image);
  EXPECT_EQ(namesOf(volume.root()->subdirectories()), (std::vector<std::string>{"B", "A"}));
  EXPECT_EQ(namesOf(volume.root()->files()), (std::vector<std::string>{"Y", "X"}));
}

TEST(TreeReading, FoldersNestAndKnowTheirParents) {
  ImageBuilder image;
  image.root().addFolder("A").addFolder("B").addFolder("C").addFile("Deep", {});
  const ReadTree volume(image);
  const auto a = folderNamed(volume.root(), "A");
  const auto b = folderNamed(a, "B");
  const auto c = folderNamed(b, "C");
  EXPECT_EQ(namesOf(c->files()), std::vector<std::string>{"Deep"});
  EXPECT_EQ(c->parent(), b);
  EXPECT_EQ(b->parent(), a);
  EXPECT_EQ(a->parent(), volume.root());
}

TEST(TreeReading, EntryWithTypeZeroAndANameIsADeletedFile) {
  ImageBuilder image;
  image.root().addRaw(rawFileEntry("Gone", 0, 3, 1, 1, 1, 1));
  image.root().addDeletedFile();
  const ReadTree volume(image);
  ASSERT_EQ(namesOf(volume.root()->files()), std::vector<std::string>{"Gone"});
  EXPECT_TRUE(volume.root()->files()[0]->isDeleted());
  EXPECT_TRUE(volume.root()->allFiles().empty());
  EXPECT_EQ(volume.root()->totalFileCount(), 0U);
}

// --- Damaged trees -----------------------------------------------------------------------------------

std::uint64_t entriesIn(const EMU3DirectoryPtr &root) {
  std::uint64_t entries = 0;
  for (const auto &folder : directoriesInPreOrder(root))
    entries += folder->files().size() + folder->subdirectories().size();
  return entries;
}

TEST(DamagedTree, BlockListedByTwoFoldersIsReadByTheFirst) {
  ImageBuilder image;
  const auto shared = static_cast<std::int16_t>(image.rootDirBlock() + 1);
  image.root().addFolder("First", {.blockList = {shared}}).addFile("File", {});
  image.root().addFolder("Second", {.blockList = {shared}});
  const ReadTree volume(image);
  EXPECT_EQ(namesOf(folderNamed(volume.root(), "First")->files()), std::vector<std::string>{"File"});
  EXPECT_TRUE(folderNamed(volume.root(), "Second")->files().empty());
  EXPECT_EQ(folderNamed(volume.root(), "Second")->blockList(), std::vector<std::int64_t>{shared});
}

TEST(DamagedTree, FirstFolderIsTheOneThatTheParseReachesFirst) {
  // Depth first: a subfolder's blocks are reached before those of the folder that follows its parent, and
  // before the next block of the parent itself.
  ImageBuilder image;
  const auto base = static_cast<std::int16_t>(image.rootDirBlock());
  const auto shared = static_cast<std::int16_t>(base + 3);
  auto outer = image.root().addFolder("Outer", {.blockList = {static_cast<std::int16_t>(base + 1), shared}});
  image.root().addFolder("Later", {.blockList = {shared}});
  outer.addFolder("Inner", {.blockList = {shared}, .entry = 0}).addFile("File", {});
  const ReadTree volume(image);
  const auto readOuter = folderNamed(volume.root(), "Outer");
  EXPECT_TRUE(readOuter->files().empty());
  EXPECT_EQ(namesOf(folderNamed(readOuter, "Inner")->files()), std::vector<std::string>{"File"});
  EXPECT_TRUE(folderNamed(volume.root(), "Later")->files().empty());
}

TEST(DamagedTree, BlockListedTwiceByOneFolderIsReadOnce) {
  ImageBuilder image;
  const auto block = static_cast<std::int16_t>(image.rootDirBlock() + 1);
  image.root().addFolder("Twice", {.blockList = {block, block}}).addFile("File", {});
  const ReadTree volume(image);
  const auto folder = folderNamed(volume.root(), "Twice");
  EXPECT_EQ(folder->files().size(), 1U);
  EXPECT_EQ(folder->blockList(), (std::vector<std::int64_t>{block, block}));
}

TEST(DamagedTree, FolderThatListsTheRootsBlockIsEmpty) {
  ImageBuilder image;
  image.root().addFolder("Upwards", {.blockList = {static_cast<std::int16_t>(image.rootDirBlock())}});
  image.root().addFile("File", {});
  const ReadTree volume(image);
  const auto folder = folderNamed(volume.root(), "Upwards");
  EXPECT_TRUE(folder->files().empty());
  EXPECT_TRUE(folder->subdirectories().empty());
}

TEST(DamagedTree, CyclesEndWithEachBlockReadOnce) {
  const ReadTree volume(cyclicVolume());
  EXPECT_EQ(namesOf(volume.root()->subdirectories()), (std::vector<std::string>{"Upwards", "Self"}));
  const auto self = folderNamed(volume.root(), "Self");
  EXPECT_EQ(namesOf(self->subdirectories()), (std::vector<std::string>{"Self again", "Other"}));
  EXPECT_EQ(namesOf(self->files()), std::vector<std::string>{"File in Self"});
  EXPECT_TRUE(folderNamed(self, "Self again")->subdirectories().empty());
  const auto other = folderNamed(self, "Other");
  EXPECT_EQ(namesOf(other->files()), std::vector<std::string>{"File in Other"});
  EXPECT_TRUE(folderNamed(other, "Back to Self")->files().empty());
}

TEST(DamagedTree, NoEntryOfAHostileVolumeIsReadTwice) {
  for (const NamedVolume &hostile : hostileVolumes()) {
    const ReadTree volume(hostile.image);
    std::set<std::pair<std::int64_t, std::int64_t>> places;
    for (const auto &folder : directoriesInPreOrder(volume.root())) {
      for (const auto &file : folder->files())
        EXPECT_TRUE(places.emplace(file->dentryBlock(), file->dentryOffset()).second) << hostile.name;
      for (const auto &below : folder->subdirectories())
        EXPECT_TRUE(places.emplace(below->dentryBlock(), below->dentryOffset()).second) << hostile.name;
    }
    EXPECT_EQ(places.size(), entriesIn(volume.root())) << hostile.name;
    EXPECT_LE(places.size(), volume.geometry.totalBlocks * 16) << hostile.name;
  }
}

// --- What belongs to the tree ------------------------------------------------------------------------

class TreeMembers : public testing::Test {
protected:
  static ImageBuilder image() {
    ImageBuilder builder;
    builder.root().addFile("File");
    builder.root().addFolder("Outer").addFolder("Inner").addFile("Deep");
    return builder;
  }

  ReadTree read{image()};
  VolumeTree &tree = read.tree;
  EMU3DirectoryPtr root = tree.root();
  EMU3FilePtr file = fileNamed(root, "File");
  EMU3DirectoryPtr outer = folderNamed(root, "Outer");
  EMU3DirectoryPtr inner = folderNamed(outer, "Inner");
  EMU3FilePtr deep = fileNamed(inner, "Deep");
};

TEST_F(TreeMembers, AreAllThatWasRead) {
  for (const EMU3DirectoryPtr &folder : {root, outer, inner})
    EXPECT_TRUE(tree.contains(folder)) << folder->name();
  EXPECT_TRUE(tree.contains(file));
  EXPECT_TRUE(tree.contains(deep));
  EXPECT_TRUE(tree.contains(inner, deep));
}

TEST_F(TreeMembers, FileIsOneOfItsOwnFolderAlone) {
  EXPECT_FALSE(tree.contains(outer, deep));
  EXPECT_FALSE(tree.contains(root, deep));
  EXPECT_FALSE(tree.contains(nullptr, deep));
}

TEST_F(TreeMembers, NothingIsNone) {
  EXPECT_FALSE(tree.contains(EMU3DirectoryPtr()));
}

TEST_F(TreeMembers, FileThatWasTakenOutIsNoneAnyMore) {
  TreeEditor::removeFile(inner, deep);
  EXPECT_FALSE(tree.contains(deep));
  EXPECT_FALSE(tree.contains(inner, deep));
}

TEST_F(TreeMembers, NothingBelowAFolderThatWasTakenOutIsOneAnyMore) {
  TreeEditor::removeSubdirectory(root, outer);
  EXPECT_FALSE(tree.contains(outer));
  EXPECT_FALSE(tree.contains(inner)) << "though the folder above still lists it";
  EXPECT_FALSE(tree.contains(deep));
  EXPECT_TRUE(tree.contains(file));
}

TEST_F(TreeMembers, OfTheTreeBeforeAreNoneAfterReadingAnew) {
  tree.read(read.entries(), static_cast<std::int64_t>(read.geometry.rootDirBlock), "disk.hda");
  EXPECT_NE(tree.root(), root);
  EXPECT_FALSE(tree.contains(root));
  EXPECT_FALSE(tree.contains(inner));
  EXPECT_FALSE(tree.contains(deep));
}

TEST_F(TreeMembers, OfAnotherTreeAreNoneOfThisOne) {
  const ReadTree other(image());
  EXPECT_FALSE(tree.contains(other.root()));
  EXPECT_FALSE(tree.contains(fileNamed(other.root(), "File")));
}

TEST(TreeReading, RootHasTheLabelAndNoPlace) {
  const ReadTree volume{ImageBuilder()};
  EXPECT_EQ(volume.root()->name(), "disk.hda");
  EXPECT_EQ(volume.root()->entryId(), 1);
  EXPECT_EQ(volume.root()->parent(), nullptr);
  EXPECT_EQ(volume.root()->place(), (tessary::EntryPlace{0, 0}));
}

TEST(TreeReading, FilesKnowTheFolderThatHoldsThem) {
  ImageBuilder image;
  image.root().addFile("File");
  image.root().addFolder("Folder").addFile("Inside");
  const ReadTree volume(image);
  EXPECT_EQ(volume.root()->files()[0]->folder(), volume.root());
  const EMU3DirectoryPtr folder = folderNamed(volume.root(), "Folder");
  EXPECT_EQ(folder->files()[0]->folder(), folder);
}

TEST(FolderBlocks, AreThoseOfEveryDepthFromTheFolderDown) {
  ImageBuilder image({.sizeBytes = 256 * kKiB, .slotSizeBlocks = 8, .directoryBlocks = 12});
  auto outer = image.root().addFolder("outer", {.blockList = {5, 9}});
  outer.addFolder("inner", {.blockList = {7}}).addFolder("innermost", {.blockList = {15}});
  const ReadTree volume(image);
  EXPECT_EQ(VolumeTree::folderBlocks(volume.root()), (std::unordered_set<std::int64_t>{4, 5, 7, 9, 15}));
  EXPECT_EQ(VolumeTree::folderBlocks(folderNamed(volume.root(), "outer")),
            (std::unordered_set<std::int64_t>{5, 7, 9, 15}));
}

// --- Adding a folder of the image to the tree --------------------------------------------------------

class FollowedTree : public testing::Test {
protected:
  FollowedTree() {
    ImageBuilder image;
    image.root().addFile("A", {}, {.slot = 1, .storesContents = false});
    image.root().addFile("B", {}, {.slot = 2, .storesContents = false});
    image.root().addFolder("Folder", {.blockList = {7}}).addFile("Inside");
    read.emplace(image);
    root = read->root();
    files = root->files();
  }

  // Entry `index` of the root's block.
  bool write(std::int64_t index, const RawEntry &entry) {
    return read->entries().write({root->blockList().front(), index}, entry);
  }

  std::optional<ReadTree> read;
  EMU3DirectoryPtr root;
  std::vector<EMU3FilePtr> files;
};

TEST_F(FollowedTree, KeepsObjectsThatTheImageHoldsInTheirOrder) {
  const EMU3DirectoryPtr folder = root->subdirectories().front();
  const EMU3FilePtr inside = folder->files().front();
  TreeEditor::setFiles(root, {files[1], files[0]});
  ASSERT_TRUE(read->tree.follow(read->entries()));
  EXPECT_EQ(read->root(), root);
  EXPECT_EQ(root->files(), (std::vector<EMU3FilePtr>{files[1], files[0]}));
  EXPECT_EQ(root->subdirectories(), std::vector<EMU3DirectoryPtr>{folder});
  EXPECT_EQ(folder->files(), std::vector<EMU3FilePtr>{inside});
}

TEST_F(FollowedTree, TakesInWhatIsNewBehindWhatWasThere) {
  ASSERT_TRUE(write(0, rawFileEntry("New", 0x81, 1, 9, 1, 1, 1)));
  ASSERT_TRUE(write(5, rawFolderEntry("More", 0x40, BlockNumbers{8})));
  ASSERT_TRUE(read->tree.follow(read->entries()));
  EXPECT_EQ(namesOf(root->files()), (std::vector<std::string>{"B", "New"}));
  EXPECT_EQ(root->files()[0], files[1]);
  EXPECT_EQ(namesOf(root->subdirectories()), (std::vector<std::string>{"Folder", "More"}));
  EXPECT_EQ(files[0]->folder(), nullptr) << "its entry leads to another slot now";
}

TEST_F(FollowedTree, LosesWhatTheImageDoesNotHold) {
  ASSERT_TRUE(write(1, RawEntry{}));
  ASSERT_TRUE(write(2, RawEntry{}));
  ASSERT_TRUE(read->tree.follow(read->entries()));
  EXPECT_EQ(root->files(), std::vector<EMU3FilePtr>{files[0]});
  EXPECT_TRUE(root->subdirectories().empty());
}

// A volume whose tree has been read before the entry of "Added" is there.
class AdoptedFolder : public testing::Test {
protected:
  AdoptedFolder() {
    ImageBuilder image({.sizeBytes = 256 * kKiB, .slotSizeBlocks = 8, .directoryBlocks = 12});
    image.root().addFolder("Known", {.blockList = {5}}).addFile("Own");
    auto added = image.root().addFolder("Added", {.blockList = {7}});
    added.addFolder("Below", {.blockList = {8}}).addFile("Deep");
    image.pokeEntry(added.place(), RawEntry{});
    read.emplace(image);
    root = read->root();
  }

  bool adopt(const RawEntry &entry) {
    EXPECT_TRUE(read->entries().write({4, 1}, entry));
    return read->tree.adoptFolder(read->entries(), {4, 1}, root);
  }

  std::optional<ReadTree> read;
  EMU3DirectoryPtr root;
};

TEST_F(AdoptedFolder, ComesWithEverythingBelowItAtTheEndOfTheList) {
  const EMU3DirectoryPtr known = folderNamed(root, "Known");
  ASSERT_TRUE(adopt(rawFolderEntry("Added", 0x40, BlockNumbers{7})));
  EXPECT_EQ(namesOf(root->subdirectories()), (std::vector<std::string>{"Known", "Added"}));
  EXPECT_EQ(root->subdirectories()[0], known);
  const EMU3DirectoryPtr added = root->subdirectories()[1];
  EXPECT_EQ(added->parent(), root);
  EXPECT_EQ(added->place(), (tessary::EntryPlace{4, 1}));
  EXPECT_EQ(added->blockList(), std::vector<std::int64_t>{7});
  EXPECT_EQ(namesOf(folderNamed(added, "Below")->files()), std::vector<std::string>{"Deep"});
}

TEST_F(AdoptedFolder, ThatSharesABlockWithTheTreeIsNotAdded) {
  EXPECT_FALSE(adopt(rawFolderEntry("Added", 0x40, BlockNumbers{7, 5})));
  EXPECT_FALSE(adopt(rawFolderEntry("Added", 0x40, BlockNumbers{4})));
  EXPECT_EQ(namesOf(root->subdirectories()), std::vector<std::string>{"Known"});
}

TEST_F(AdoptedFolder, IsNotAddedFromAnEntryThatIsNoFolders) {
  EXPECT_FALSE(adopt(RawEntry{}));
  EXPECT_FALSE(adopt(rawFileEntry("File", 0x81, 1, 1, 1, 1, 1)));
  EXPECT_EQ(namesOf(root->subdirectories()), std::vector<std::string>{"Known"});
  EXPECT_FALSE(read->tree.adoptFolder(read->entries(), {512, 0}, root)) << "outside the image";
}

} // namespace
} // namespace tessary
