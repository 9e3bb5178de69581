#include "tessary/EMU3Filesystem.h"
#include "tests/support/HostFiles.h"
#include "tests/support/ImageBuilder.h"
#include "tests/support/ImageReading.h"
#include "tests/support/OtherUser.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace tessary::test {
namespace {

/// A volume with a folder "Lost", holding KICK and a subfolder with SNARE, whose entry has been cleared.
class LostFolderTest : public testing::Test {
protected:
  LostFolderTest() {
    ImageBuilder image;
    FolderBuilder lost = image.root().addFolder("Lost");
    lost.addFile("KICK", patternBytes(600, 1));
    lost.addFolder("Inner").addFile("SNARE", patternBytes(700, 2));
    block_ = lost.blocks().front();
    image.pokeEntry(lost.place(), RawEntry{});
    image.root().addFolder("Full").addFile("PAD", patternBytes(100, 3));
    for (int i = 0; i < 14; ++i)
      image.root().addFile("F" + std::to_string(i));
    image.writeTo(path_);
    mount(MountRules::bare);
  }

  // Mounts the image again by these rules; the mount before ends.
  void mount(MountRules rules) {
    volume_.reset();
    volume_ = EMU3Filesystem::initWithURL(path_, rules);
    full_ = volume_->rootDirectory()->subdirectories().front();
  }

  TemporaryFolder folder_;
  std::string path_ = folder_.path("volume.hda");
  std::uint64_t block_ = 0;
  EMU3FilesystemPtr volume_;
  EMU3DirectoryPtr full_;
  EMU3Error error_;
};

TEST_F(LostFolderTest, IsListedWithWhatItHolds) {
  const std::vector<LostFolder> lost = volume_->lostFolders();
  ASSERT_EQ(lost.size(), 1U); // the inner folder comes back with it
  EXPECT_EQ(lost[0].block, block_);
  EXPECT_EQ(lost[0].fileCount, 1U);
  EXPECT_EQ(lost[0].folderCount, 1U);
  EXPECT_EQ(lost[0].names, (std::vector<std::string>{"KICK", "Inner"}));
}

TEST_F(LostFolderTest, ComesBackWithEverythingBelowIt) {
  EMU3DirectoryPtr made;
  ASSERT_TRUE(volume_->recoverFolder(block_, "Back", full_, &error_, &made)) << error_.message;
  EXPECT_EQ(made, full_->subdirectories().front());
  for (const EMU3FilesystemPtr &volume : {volume_, EMU3Filesystem::initWithURL(path_)}) {
    const EMU3DirectoryPtr back = volume->rootDirectory()->subdirectories().front()->subdirectories().front();
    EXPECT_EQ(back->name(), "Back");
    ASSERT_EQ(back->files().size(), 1U);
    EXPECT_EQ(back->files().front()->name(), "KICK");
    const Bytes expected = patternBytes(700, 2);
    const ByteBufferPtr snare = volume->dataForFile(back->subdirectories().front()->files().front());
    EXPECT_TRUE(std::equal(snare->begin(), snare->end(), expected.begin(), expected.end()));
    EXPECT_TRUE(volume->lostFolders().empty());
  }
}

TEST_F(LostFolderTest, ChangesOnlyTheNewEntry) {
  const Bytes before = readBytes(path_);
  ASSERT_TRUE(volume_->recoverFolder(block_, "Back", full_));
  const Bytes after = readBytes(path_);
  const std::size_t entry = static_cast<std::size_t>(full_->blockList().front()) * 512 + 32;
  for (std::size_t i = 0; i < before.size(); ++i) {
    const bool isInEntry = i >= entry && i < entry + 32;
    ASSERT_TRUE(before[i] == after[i] || isInEntry) << i;
  }
}

TEST_F(LostFolderTest, ObjectsOfTheTreeStayWhatTheyAre) {
  const EMU3FilePtr pad = full_->files().front();
  ASSERT_TRUE(volume_->recoverFolder(block_, "Back", full_));
  EXPECT_EQ(volume_->rootDirectory()->subdirectories().front(), full_);
  EXPECT_EQ(full_->files().front(), pad);
}

// Bare, a recovery brings the tree in line with the image.
TEST_F(LostFolderTest, BareAFileWhoseNameDoesNotReadBackLeavesTheTree) {
  const EMU3FilePtr pad = full_->files().front();
  ASSERT_TRUE(volume_->renameFile(pad, "   ", full_));
  EXPECT_EQ(full_->files().size(), 1U);
  ASSERT_TRUE(volume_->recoverFolder(block_, "Back", full_));
  EXPECT_TRUE(full_->files().empty());
}

TEST_F(LostFolderTest, BareAFileIsTheObjectThatItWasOverTheEntryOfADeletedOne) {
  ImageBuilder image;
  FolderBuilder lost = image.root().addFolder("Lost");
  lost.addFile("KICK");
  image.root().addFile("deleted", {}, {.type = 0, .slot = 9, .storesContents = false});
  image.pokeEntry(lost.place(), RawEntry{});
  image.root().addFile("SNARE");
  image.writeTo(path_);
  volume_.reset();
  volume_ = EMU3Filesystem::initWithURL(path_);
  const EMU3DirectoryPtr root = volume_->rootDirectory();
  // Of the two places that count as free, the deleted file's is the second.
  ASSERT_TRUE(volume_->copyFile(root->files().back(), root));
  ASSERT_TRUE(volume_->copyFile(root->files().back(), root));
  const std::vector<EMU3FilePtr> before = root->files();
  ASSERT_EQ(before.size(), 4U) << "the deleted one is still in the list";
  ASSERT_EQ(before[3]->place(), before[0]->place());
  ASSERT_TRUE(volume_->recoverFolder(lost.blocks().front(), "Back", root, &error_)) << error_.message;
  EXPECT_EQ(root->files(), (std::vector<EMU3FilePtr>{before[1], before[2], before[3]}));
}

TEST_F(LostFolderTest, NeedsAReallyFreePlace) {
  // Of the root's 16 places one is free at first; a folder's entry has 0 where the type byte would be.
  mount(MountRules::guarded);
  const EMU3DirectoryPtr root = volume_->rootDirectory();
  ASSERT_TRUE(volume_->copyFile(full_->files().front(), root));
  EXPECT_FALSE(volume_->recoverFolder(block_, "Back", root, &error_));
  EXPECT_EQ(error_.code, 7);
  EXPECT_EQ(error_.message, "Parent directory is full");
}

TEST_F(LostFolderTest, RefusesABlockThatIsNotLost) {
  const Bytes before = readBytes(path_);
  for (const std::uint64_t block :
       {std::uint64_t{0}, volume_->rootDirBlock(), block_ + 50, ~std::uint64_t{0}}) {
    EXPECT_FALSE(volume_->recoverFolder(block, "Back", full_, &error_));
    EXPECT_EQ(error_.code, 5);
  }
  EXPECT_EQ(readBytes(path_), before);
}

TEST_F(LostFolderTest, WhatIsRefusedChangesNothingAndKeepsTheFolderRecoverable) {
  const EMU3DirectoryPtr root = volume_->rootDirectory();
  ASSERT_TRUE(volume_->copyFile(full_->files().front(), root)); // its last free place
  const Bytes before = readBytes(path_);
  struct Case {
    std::uint64_t block;
    const char *name;
    EMU3DirectoryPtr folder;
    int code;
  };
  for (const Case &refused :
       {Case{block_ + 50, "Back", full_, 5}, Case{block_, "Back", nullptr, 5}, Case{block_, "    ", full_, 6},
        Case{block_, "sixteen letters!", full_, 6}, Case{block_, "Back", root, 7}}) {
    EXPECT_FALSE(volume_->recoverFolder(refused.block, refused.name, refused.folder, &error_));
    EXPECT_EQ(error_.code, refused.code);
  }
  EXPECT_EQ(readBytes(path_), before);
  EXPECT_TRUE(volume_->recoverFolder(block_, "Back", full_));
}

TEST_F(LostFolderTest, ReadOnlyImageIsRefusedBeforeAnythingElse) {
  using std::filesystem::perms;
  const Bytes before = readBytes(path_);
  volume_.reset();
  std::filesystem::permissions(path_, perms::owner_read | perms::group_read | perms::others_read);
  std::filesystem::permissions(folder_.path(""), perms::all);
  {
    const OtherUser user;
    volume_ = EMU3Filesystem::initWithURL(path_);
    ASSERT_NE(volume_, nullptr);
    EXPECT_EQ(volume_->lostFolders().size(), 1U);
    for (const char *name : {"Back", ""}) {
      EXPECT_FALSE(volume_->recoverFolder(block_, name, volume_->rootDirectory(), &error_));
      EXPECT_EQ(error_.description(), R"(Error Domain=com.tessary.error Code=3 "Image is read-only")");
    }
  }
  EXPECT_EQ(readBytes(path_), before);
}

TEST_F(LostFolderTest, RefusesNamesThatWouldNotReadBack) {
  for (const char *name : {"", "    ", "sixteen letters!"}) {
    EXPECT_FALSE(volume_->recoverFolder(block_, name, full_, &error_));
    EXPECT_EQ(error_.code, 6) << name;
  }
}

// ---- What is a lost folder

/// The lost folders of an image by their blocks, the same for both kinds of mount.
std::vector<LostFolder> lostFoldersOf(const ImageBuilder &image) {
  const TemporaryFolder folder;
  image.writeTo(folder.path("volume.hda"));
  const std::vector<LostFolder> lost =
      EMU3Filesystem::initWithURL(folder.path("volume.hda"), MountRules::guarded)->lostFolders();
  const std::vector<LostFolder> bare = EMU3Filesystem::initWithURL(folder.path("volume.hda"))->lostFolders();
  EXPECT_EQ(lost.size(), bare.size());
  return lost;
}

/// A volume with a lost folder of these entries alone.
ImageBuilder withLostFolder(const std::vector<RawEntry> &entries) {
  ImageBuilder image;
  FolderBuilder lost = image.root().addFolder("Lost");
  for (const RawEntry &entry : entries)
    lost.addRaw(entry);
  image.pokeEntry(lost.place(), RawEntry{});
  return image;
}

RawEntry file(std::string_view name, std::uint8_t type = 0x81) {
  return rawFileEntry(name, type, 0, 3, 1, 2, 100);
}

TEST(LostFolders, DeletedEntriesDoNotHideThem) {
  RawEntry cleared = file("CLEARED");
  std::fill_n(cleared.begin(), 16, std::uint8_t{0});
  const auto lost = lostFoldersOf(withLostFolder({file("GONE", 0), file("KICK"), cleared, file("", 0)}));
  ASSERT_EQ(lost.size(), 1U);
  EXPECT_EQ(lost[0].fileCount, 1U);
  EXPECT_EQ(lost[0].names, std::vector<std::string>{"KICK"});
}

TEST(LostFolders, NamesThatAreNoTextDoNotHideThem) {
  const auto lost = lostFoldersOf(withLostFolder({file("BAD\xFF"), file("   ")}));
  ASSERT_EQ(lost.size(), 1U);
  EXPECT_EQ(lost[0].fileCount, 2U);
  EXPECT_EQ(lost[0].names, (std::vector<std::string>{"BAD%FF", "%20"}));
}

TEST(LostFolders, OneDamagedFieldHidesNothing) {
  const std::vector<std::int16_t> nowhere{32000};
  for (const RawEntry &entry : {file("KICK", 0x41), rawFileEntry("KICK", 0x81, 0, 60000, 1, 2, 600),
                                rawFolderEntry("Sub", 0x40, nowhere)})
    EXPECT_EQ(lostFoldersOf(withLostFolder({entry})).size(), 1U);
}

TEST(LostFolders, DeletedEntriesAloneAreNone) {
  EXPECT_TRUE(lostFoldersOf(withLostFolder({file("GONE", 0), file("TOO", 0)})).empty());
}

TEST(LostFolders, OtherBytesAreNone) {
  ImageBuilder image;
  std::uint64_t block = image.rootDirBlock() + 3;
  for (const std::uint8_t value : Bytes{1, 0x20, 0x40, 0x55, 0x80, 0xA5, 0xFF})
    image.pokeBlock(block++, 0, Bytes(512, value));
  image.pokeBlock(block++, 0, patternBytes(512, 5));
  Bytes text;
  while (text.size() < 512)
    text.push_back(static_cast<std::uint8_t>("The quick brown fox @ "[text.size() % 22]));
  image.pokeBlock(block++, 0, text);
  EXPECT_TRUE(lostFoldersOf(image).empty());
}

TEST(LostFolders, OneInsideAnotherIsPartOfIt) {
  ImageBuilder image;
  FolderBuilder lost = image.root().addFolder("Top");
  FolderBuilder middle = lost.addFolder("Middle", {.blockCount = 2});
  middle.addFolder("Deep").addFile("KICK", patternBytes(100));
  image.pokeEntry(lost.place(), RawEntry{});
  const auto found = lostFoldersOf(image);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].block, lost.blocks().front());
  EXPECT_EQ(found[0].names, std::vector<std::string>{"Middle"});
}

TEST(LostFolders, OfACircleTheFirstIsNamed) {
  ImageBuilder image;
  const auto first = static_cast<std::int16_t>(image.rootDirBlock() + 5);
  const std::vector<std::int16_t> toFirst{first};
  const std::vector<std::int16_t> toSecond{static_cast<std::int16_t>(first + 1)};
  image.pokeBlock(static_cast<std::uint64_t>(first), 0, rawFolderEntry("Second", 0x40, toSecond));
  image.pokeBlock(static_cast<std::uint64_t>(first) + 1, 0, rawFolderEntry("First", 0x40, toFirst));
  const auto found = lostFoldersOf(image);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].block, static_cast<std::uint64_t>(first));
}

// The inner folder has no entries yet: its block is all zero, and is named by the lost one alone.
TEST(LostFolders, AFullFolderGrowsButNotIntoWhatComesBack) {
  ImageBuilder image;
  FolderBuilder full = image.root().addFolder("Full");
  for (int i = 0; i < 16; ++i)
    full.addFile("F" + std::to_string(i));
  FolderBuilder lost = image.root().addFolder("Lost");
  lost.addFile("KICK", patternBytes(600));
  const std::uint64_t inner = lost.addFolder("Inner").blocks().front();
  image.pokeEntry(lost.place(), RawEntry{});
  const TemporaryFolder folder;
  image.writeTo(folder.path("volume.hda"));
  const auto volume = EMU3Filesystem::initWithURL(folder.path("volume.hda"), MountRules::guarded);
  const EMU3DirectoryPtr target = volume->rootDirectory()->subdirectories().front();
  EMU3Error error;
  ASSERT_TRUE(volume->recoverFolder(lost.blocks().front(), "Back", target, &error)) << error.message;
  EXPECT_EQ(target->blockList(), (std::vector<std::int64_t>{static_cast<std::int64_t>(full.blocks().front()),
                                                            static_cast<std::int64_t>(inner + 1)}));
  EXPECT_EQ(target->files().size(), 16U);
  ASSERT_EQ(target->subdirectories().size(), 1U);
  EXPECT_EQ(target->subdirectories().front()->subdirectories().front()->blockList(),
            std::vector<std::int64_t>{static_cast<std::int64_t>(inner)});
  for (const VolumeFinding &finding : volume->check())
    EXPECT_FALSE(finding.isHarm()) << finding.message;
}

// ---- Nothing of them is missing

/// A file of a lost folder: where its entry stands, and what it holds.
struct KeptFile {
  EntryPlace place;
  RawEntry entry;
  Bytes contents;
};

/// An image in the making, with what its lost folders hold.
struct LosingVolume {
  explicit LosingVolume(const VolumeLayout &layout = {}) : image(layout) {}

  void addFile(FolderBuilder folder, std::string_view name, const FileOptions &options = {}) {
    const auto number = static_cast<std::uint32_t>(kept.size());
    const Bytes contents = patternBytes(300 + 40 * kept.size(), number);
    const PlacedFile file = folder.addFile(name, contents, options);
    kept.push_back({file.entry, image.entryAt(file.entry), contents});
  }
  /// Nothing stands at the folder's entry any more.
  void clearEntry(const FolderBuilder &folder) { image.pokeEntry(folder.place(), RawEntry{}); }

  ImageBuilder image;
  std::vector<KeptFile> kept;
};

/// Brings back all that is lost, of both kinds of mount, and looks on the image for every file.
void expectAllBroughtBack(const LosingVolume &volume, std::size_t folders) {
  for (const MountRules rules : {MountRules::guarded, MountRules::bare}) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, rules == MountRules::bare ? "bare" : "guarded");
    const TemporaryFolder folder;
    const std::string path = folder.path("volume.hda");
    volume.image.writeTo(path);
    EMU3FilesystemPtr mount = EMU3Filesystem::initWithURL(path, rules);
    const std::vector<LostFolder> lost = mount->lostFolders();
    EXPECT_EQ(lost.size(), folders);
    for (const LostFolder &found : lost) {
      EMU3Error error;
      EXPECT_TRUE(mount->recoverFolder(found.block, "Back " + std::to_string(found.block),
                                       mount->rootDirectory(), &error))
          << error.message;
    }
    mount.reset(); // a bare one does not show what has a name that is no text
    EXPECT_TRUE(EMU3Filesystem::initWithURL(path, MountRules::guarded)->lostFolders().empty());
    const ImageReading now(readBytes(path));
    for (const KeptFile &file : volume.kept) {
      const auto entry = now.entries.find({file.place.block, file.place.index});
      ASSERT_NE(entry, now.entries.end()) << file.place.block << ':' << file.place.index;
      EXPECT_EQ(entry->second.bytes, file.entry);
      EXPECT_EQ(now.bytesOf(file.entry), file.contents);
    }
  }
}

TEST(LostFiles, OfAFolderWhoseEntryWasClearedComeBack) {
  LosingVolume volume;
  FolderBuilder lost = volume.image.root().addFolder("Lost");
  for (int i = 0; i < 16; ++i)
    volume.addFile(lost, "F" + std::to_string(i));
  volume.clearEntry(lost);
  expectAllBroughtBack(volume, 1);
}

TEST(LostFiles, OfAFolderWhoseEntryIsAnothersComeBack) {
  const std::vector<std::int16_t> elsewhere{60};
  for (const RawEntry &other :
       {rawFileEntry("NEW", 0x81, 0, 9, 1, 1, 100), rawFolderEntry("New", 0x40, elsewhere),
        rawFileEntry("GONE", 0, 0, 9, 1, 1, 100)}) {
    LosingVolume volume;
    FolderBuilder lost = volume.image.root().addFolder("Lost");
    volume.addFile(lost, "KICK");
    volume.addFile(lost.addFolder("Inner"), "SNARE");
    volume.image.pokeEntry(lost.place(), other);
    expectAllBroughtBack(volume, 1);
  }
}

TEST(LostFiles, OfAParentAndItsChildrenComeBackWithIt) {
  LosingVolume volume;
  FolderBuilder lost = volume.image.root().addFolder("Lost");
  volume.addFile(lost, "TOP");
  for (const char *name : {"First", "Second"}) {
    FolderBuilder child = lost.addFolder(name, {.blockCount = 2});
    for (int i = 0; i < 20; ++i)
      volume.addFile(child, "F" + std::to_string(i));
    volume.addFile(child.addFolder("Deep", {.entryId = 0x80}), "DEEP");
  }
  volume.clearEntry(lost);
  expectAllBroughtBack(volume, 1);
}

TEST(LostFiles, OfChildrenComeBackWhenTheParentsBlockWasEmptied) {
  LosingVolume volume;
  FolderBuilder parent = volume.image.root().addFolder("Parent");
  FolderBuilder first = parent.addFolder("First");
  volume.addFile(first, "KICK");
  volume.addFile(first.addFolder("Inner"), "SNARE");
  volume.addFile(parent.addFolder("Second"), "PAD");
  volume.image.pokeBlock(parent.blocks().front(), 0, Bytes(512));
  expectAllBroughtBack(volume, 2);
}

// Its entry alone said which blocks belong together: each comes back as a folder.
TEST(LostFiles, OfAFolderWithSevenBlocksComeBackBlockByBlock) {
  LosingVolume volume;
  FolderBuilder lost = volume.image.root().addFolder("Lost", {.blockCount = 7});
  for (int i = 0; i < 112; ++i)
    volume.addFile(lost, "F" + std::to_string(i));
  volume.clearEntry(lost);
  expectAllBroughtBack(volume, 7);
}

TEST(LostFiles, WithNamesThatAreNoTextComeBack) {
  LosingVolume volume;
  FolderBuilder lost = volume.image.root().addFolder("Lost");
  for (const char *name : {"BAD\xFF", "\xFF\xFE\xFD", "\x01\x02", "\xE2\x82", "   "})
    volume.addFile(lost, name);
  volume.addFile(lost.addFolder("\xC3("), "SNARE");
  volume.clearEntry(lost);
  expectAllBroughtBack(volume, 1);
}

TEST(LostFiles, AmongDeletedEntriesComeBack) {
  LosingVolume volume;
  FolderBuilder lost = volume.image.root().addFolder("Lost");
  for (int i = 0; i < 5; ++i) {
    lost.addDeletedFile();
    lost.addRaw(rawFileEntry("GONE\xFF", 0, 0, 3, 1, 2, 100));
  }
  volume.addFile(lost, "KICK");
  lost.addDeletedFile();
  volume.clearEntry(lost);
  expectAllBroughtBack(volume, 1);
}

TEST(LostFiles, BelowABlockOfSubfoldersAloneComeBack) {
  for (const char *name : {"Sub", "\xFF\xFE"}) {
    for (const std::size_t blockCount : {1U, 2U, 7U}) {
      LosingVolume volume;
      FolderBuilder lost = volume.image.root().addFolder("Lost");
      for (int i = 0; i < 3; ++i)
        volume.addFile(lost.addFolder(name, {.blockCount = blockCount}), "KICK");
      volume.clearEntry(lost);
      SCOPED_TRACE(std::string(name) + " " + std::to_string(blockCount));
      expectAllBroughtBack(volume, 1);
    }
  }
}

// In each volume a lost block stands wherever a new folder may get one, and one wherever it may not.
TEST(LostFolders, AreFoundWhereverAFolderMayStand) {
  struct Layout {
    VolumeLayout volume;
    std::uint64_t tableEnd;
  };
  for (const Layout &layout :
       {Layout{{.sizeBytes = 2 * kMiB, .fatStartBlock = 2, .rootDirBlock = 18, .dataAreaBlock = 60}, 18},
        Layout{{.sizeBytes = 2 * kMiB, .fatStartBlock = 20, .rootDirBlock = 2, .dataAreaBlock = 60}, 36},
        Layout{{.sizeBytes = 2 * kMiB, .fatStartBlock = 50, .rootDirBlock = 1, .dataAreaBlock = 60}, 60},
        Layout{{.sizeBytes = 2 * kMiB, .fatStartBlock = 3000, .rootDirBlock = 1, .dataAreaBlock = 60}, 3016},
        Layout{{.sizeBytes = 2 * kMiB, .fatStartBlock = 2, .rootDirBlock = 18, .dataAreaBlock = 5000}, 18},
        Layout{{.sizeBytes = 20 * kMiB, .fatStartBlock = 2, .rootDirBlock = 200, .dataAreaBlock = 33000},
               162}}) {
    ImageBuilder image(layout.volume);
    const std::uint64_t end = std::min<std::uint64_t>({image.dataAreaBlock(), image.totalBlocks(), 32768});
    std::vector<std::uint64_t> expected;
    for (std::uint64_t block = 1; block < std::min(image.dataAreaBlock() + 40, image.totalBlocks());
         ++block) {
      const bool isFarFromEnds = block > 5100 && block < 32700; // one there is as good as any
      if (block == image.rootDirBlock() || isFarFromEnds) continue;
      image.pokeBlock(block, 0, rawFileEntry("KICK", 0x81, 0, 1, 1, 2, 100));
      const bool isInTable = block >= layout.volume.fatStartBlock && block < layout.tableEnd;
      if (block > image.rootDirBlock() && block < end && !isInTable) expected.push_back(block);
    }
    std::vector<std::uint64_t> found;
    for (const LostFolder &lost : lostFoldersOf(image))
      found.push_back(lost.block);
    EXPECT_EQ(found, expected) << layout.volume.fatStartBlock << ' ' << image.rootDirBlock();
  }
}

} // namespace
} // namespace tessary::test
