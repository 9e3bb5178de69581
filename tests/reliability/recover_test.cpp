#include "filesystem/EMU3Filesystem.h"
#include "tests/support/HostFiles.h"
#include "tests/support/ImageBuilder.h"
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

  // In place of the mount before.
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
  ASSERT_TRUE(volume_->recoverFolder(block_, "Back", full_, &error_)) << error_.message;
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

TEST_F(LostFolderTest, NeedsAReallyFreePlace) {
  // Of the root's 16 places one is free at first; the folder's own entry has no type byte.
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

TEST_F(LostFolderTest, AskingFirstGivesTheAnswerOfTheChangeAndChangesNothing) {
  const EMU3DirectoryPtr root = volume_->rootDirectory();
  ASSERT_TRUE(volume_->copyFile(full_->files().front(), root)); // its last free place
  const Bytes before = readBytes(path_);
  struct Case {
    std::uint64_t block;
    const char *name;
    EMU3DirectoryPtr folder;
  };
  for (const Case &refused :
       {Case{block_ + 50, "Back", full_}, Case{block_, "Back", nullptr}, Case{block_, "    ", full_},
        Case{block_, "sixteen letters!", full_}, Case{block_, "Back", root}}) {
    EMU3Error asked;
    EXPECT_FALSE(volume_->canRecoverFolder(refused.block, refused.name, refused.folder, &asked));
    EXPECT_FALSE(volume_->recoverFolder(refused.block, refused.name, refused.folder, &error_));
    EXPECT_EQ(asked.description(), error_.description());
  }
  EMU3Error none;
  EXPECT_TRUE(volume_->canRecoverFolder(block_, "Back", full_, &none));
  EXPECT_FALSE(none.isSet());
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
      EMU3Error asked;
      EXPECT_FALSE(volume_->canRecoverFolder(block_, name, volume_->rootDirectory(), &asked));
      EXPECT_FALSE(volume_->recoverFolder(block_, name, volume_->rootDirectory(), &error_));
      EXPECT_EQ(error_.description(), R"(Error Domain=com.tessary.error Code=3 "Image is read-only")");
      EXPECT_EQ(asked.description(), error_.description());
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

} // namespace
} // namespace tessary::test
