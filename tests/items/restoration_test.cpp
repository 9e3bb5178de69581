// What was deleted or renamed comes back as it was.

#include "tests/items/ItemsTest.h"

#include <algorithm>
#include <cstdint>

namespace tessary::test {
namespace {

constexpr std::size_t kNameBytes = 16;

/// A name of 16 bytes that is no text in UTF-8: no rename can give it.
constexpr std::string_view kOddName = "Caf\xE9 of 16 bytes";

ImageBuilder volumeWithOddNames() {
  ImageBuilder image;
  FolderBuilder folder = image.root().addFolder(kOddName, {.blockCount = 2});
  folder.addFile(kOddName, patternBytes(700, 1), {.type = 0x80});
  folder.addFile("SNARE", patternBytes(5000, 2));
  folder.addFolder("Empty");
  folder.addFolder("Deep").addFile("TOM", patternBytes(10, 3));
  image.root().addFile("KICK", patternBytes(20, 4));
  return image;
}

class Restoration : public testing::Test {
protected:
  EMU3DirectoryPtr oddFolder() const { return volume_.root()->subdirectories().front(); }
  EMU3FilePtr oddFile() const { return oddFolder()->allFiles().front(); }

  StoredTree stored(const EMU3DirectoryPtr &folder) {
    StoredTree tree;
    for (const TreeEntry &entry : volume_->entriesOfTree(folder)) {
      StoredItem item{entry.folder, entry.entry};
      if (entry.file) {
        item.contents = host_.path(std::to_string(tree.size()));
        EXPECT_TRUE(volume_->exportFile(entry.file, item.contents));
      }
      tree.push_back(item);
    }
    return tree;
  }

  const GuardedVolume volume_{volumeWithOddNames()};
  const TemporaryFolder host_;
};

std::string nameIn(const RawEntry &entry) {
  return {entry.begin(), entry.begin() + kNameBytes};
}

TEST_F(Restoration, FolderComesBackWithItsTreeItsNamesAndItsKinds) {
  const Contents before = contentsBelow(volume_);
  const std::vector<std::string> order = namesOf(oddFolder()->subdirectories());
  const RawEntry fileBefore = entryOf(volume_, *oddFile());
  const StoredTree kept = stored(oddFolder());
  ASSERT_TRUE(volume_->deleteDirectory(oddFolder(), volume_.root()));
  ASSERT_EQ(contentsBelow(volume_).size(), 1U);

  const auto operation = volume_->manyItems();
  operation->restoreTree(kept, volume_.root());
  runWell(*operation);
  EXPECT_EQ(contentsBelow(volume_), before);
  EXPECT_EQ(namesOf(oddFolder()->subdirectories()), order);
  EXPECT_EQ(nameIn(entryOf(volume_, *oddFolder())), kOddName);
  EXPECT_EQ(nameIn(entryOf(volume_, *oddFile())), kOddName);
  constexpr std::size_t kindByte = 26;
  EXPECT_EQ(entryOf(volume_, *oddFile())[kindByte], fileBefore[kindByte]);
  EXPECT_EQ(fileBefore[kindByte], 0x80);
  EXPECT_TRUE(volume_.isAsReadAnew());
  EXPECT_EQ(harmIn(*volume_), std::vector<std::string>{});
}

TEST_F(Restoration, FolderFromWhatIsNoEntryIsRefusedWithAllThatIsInIt) {
  StoredTree kept = stored(oddFolder());
  kept.front().entry = {};
  const Bytes before = readBytes(volume_.imagePath());
  const auto operation = volume_->manyItems();
  operation->restoreTree(kept, volume_.root());
  std::vector<std::int64_t> codes;
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) { codes.push_back(end.error ? end.error->code : 0); };
  operation->run(watcher);
  EXPECT_EQ(codes, std::vector<std::int64_t>(6, 6));
  EXPECT_EQ(readBytes(volume_.imagePath()), before);
}

TEST_F(Restoration, NameComesBackWithAll16Bytes) {
  const EMU3FilePtr file = oddFile();
  const EMU3DirectoryPtr folder = oddFolder();
  const std::string shownFile = file->name();
  const std::string shownFolder = folder->name();
  const Bytes before = readBytes(volume_.imagePath());
  const EntryBytes ofFile = volume_->entryOfFile(file).value();
  const EntryBytes ofFolder = volume_->entryOfDirectory(folder).value();
  const auto renaming = volume_->manyItems();
  renaming->renameFile(file, "SHORT", folder);
  renaming->renameFolder(folder, "Short");
  runWell(*renaming);
  EXPECT_EQ(file->name(), "SHORT");
  EXPECT_EQ(folder->name(), "Short");
  ASSERT_NE(readBytes(volume_.imagePath()), before);

  const auto restoring = volume_->manyItems();
  restoring->restoreName(file, ofFile, folder);
  restoring->restoreName(folder, ofFolder);
  runWell(*restoring);
  EXPECT_EQ(readBytes(volume_.imagePath()), before);
  EXPECT_EQ(file->name(), shownFile);
  EXPECT_EQ(folder->name(), shownFolder);
  EXPECT_TRUE(volume_.isAsReadAnew());
}

TEST_F(Restoration, NameOfWhatIsNoEntryIsRefused) {
  const auto restoring = volume_->manyItems();
  restoring->restoreName(oddFile(), {}, oddFolder());
  restoring->restoreName(oddFolder(), {});
  std::vector<std::int64_t> codes;
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) { codes.push_back(end.error ? end.error->code : 0); };
  const Bytes before = readBytes(volume_.imagePath());
  restoring->run(watcher);
  EXPECT_EQ(codes, (std::vector<std::int64_t>{6, 6}));
  EXPECT_EQ(readBytes(volume_.imagePath()), before);
}

TEST_F(Restoration, EntriesOfATreeAreThoseOnTheImageEachFolderBeforeItsMembers) {
  const EMU3DirectoryPtr top = oddFolder();
  const std::vector<EMU3DirectoryPtr> below = top->subdirectories();
  const std::vector<TreeEntry> entries = volume_->entriesOfTree(top);
  std::vector<std::optional<std::size_t>> folders;
  for (const TreeEntry &entry : entries) {
    folders.push_back(entry.folder);
    EXPECT_EQ((entry.file ? entryOf(volume_, *entry.file) : entryOf(volume_, *entry.directory)), entry.entry);
  }
  EXPECT_EQ(folders, (std::vector<std::optional<std::size_t>>{std::nullopt, 0, 0, 0, 0, 4}));
  EXPECT_EQ(entries[0].directory, top);
  EXPECT_EQ(entries[1].file, top->allFiles()[0]);
  EXPECT_EQ(entries[2].file, top->allFiles()[1]);
  EXPECT_EQ(entries[3].directory, below[0]);
  EXPECT_EQ(entries[4].directory, below[1]);
  EXPECT_EQ(entries[5].file, below[1]->allFiles()[0]);
}

TEST_F(Restoration, EntriesOfTheRootAndOfAFolderThatHasLeftTheTreeAreNone) {
  EMU3Error error;
  EXPECT_TRUE(volume_->entriesOfTree(volume_.root(), &error).empty());
  EXPECT_EQ(error.code, 5);
  const EMU3DirectoryPtr folder = oddFolder();
  ASSERT_TRUE(volume_->deleteDirectory(folder, volume_.root()));
  error = {};
  EXPECT_TRUE(volume_->entriesOfTree(folder, &error).empty());
  EXPECT_EQ(error.code, 5);
}

TEST_F(Restoration, EntryOfAFolderThatHasLeftTheTreeIsNotThere) {
  const EMU3DirectoryPtr folder = oddFolder();
  ASSERT_TRUE(volume_->deleteDirectory(folder, volume_.root()));
  EMU3Error error;
  EXPECT_FALSE(volume_->entryOfDirectory(folder, &error));
  EXPECT_EQ(error.code, 5);
}

} // namespace
} // namespace tessary::test
