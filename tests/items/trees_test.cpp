// Trees: from the host, copied, moved and deleted inside a volume.

#include "tests/items/ItemsTest.h"
#include "tests/support/OtherUser.h"
#include "tests/writing/HostConditions.h"

#include <filesystem>

#include <sys/stat.h>

namespace tessary::test {
namespace {

class Trees : public testing::Test {
protected:
  EMU3DirectoryPtr folder(const std::string &name) const { return folderNamed(volume_.root(), name); }
  EMU3DirectoryPtr drums() const { return folder("Drums"); }

  const GuardedVolume volume_{volumeOfTrees()};
  const TemporaryFolder host_;
};

// ---- From the host

class HostTrees : public Trees {
protected:
  HostTrees() {
    for (const char *name : {"Kit.v2/b", "Kit.v2/a", "Kit.v2/none"})
      std::filesystem::create_directories(host_.path(name));
    writeBytes(host_.path("Kit.v2/snare.e4b"), patternBytes(3000, 1));
    writeBytes(host_.path("Kit.v2/kick.e4b"), patternBytes(100, 2));
    writeBytes(host_.path("Kit.v2/a/one"), patternBytes(10, 3));
    writeBytes(host_.path("Kit.v2/b/a name of more than 15 characters"), patternBytes(10, 4));
  }
  void add(ItemsOperation &operation, ExistingFolder existing = ExistingFolder::used) const {
    operation.importFolder(host_.path("Kit.v2"), volume_.root(), existing);
  }
  const Contents kit_{{"a/", {}},
                      {"a/one", patternBytes(10, 3)},
                      {"b/", {}},
                      {"b/a name of more", patternBytes(10, 4)}, // a space at the end is padding
                      {"kick", patternBytes(100, 2)},
                      {"none/", {}},
                      {"snare", patternBytes(3000, 1)}};
};

TEST_F(HostTrees, ComeWithAllThatIsInThemUnderNamesThatFit) {
  const auto operation = volume_->manyItems();
  add(*operation);
  EXPECT_EQ(operation->progress().bytes, 3120U);
  EXPECT_EQ(endsOf(*operation), (Ends{"Kit.v2", "kick.e4b", "snare.e4b", "a", "one", "b",
                                      "a name of more than 15 characters", "none"}));
  EXPECT_EQ(contentsBelow(volume_, "Kit.v2"), kit_);
  EXPECT_EQ(harmIn(*volume_), std::vector<std::string>{});
}

TEST_F(HostTrees, ItemsKnowTheFolderThatTheyAreIn) {
  const auto operation = volume_->manyItems();
  add(*operation);
  std::vector<std::optional<std::size_t>> parents;
  for (std::size_t i = 0; i < operation->progress().items; ++i)
    parents.push_back(operation->item(i).parent);
  EXPECT_EQ(parents, (std::vector<std::optional<std::size_t>>{std::nullopt, 0, 0, 0, 3, 0, 5, 0}));
}

TEST_F(HostTrees, GoOnInAFolderThatIsThereWhereItIsUsed) {
  for (int times = 0; times < 2; ++times) {
    const auto operation = volume_->manyItems();
    add(*operation);
    add(*operation); // also one that the same operation makes
    runWell(*operation);
  }
  const EMU3DirectoryPtr kit = folder("Kit.v2");
  EXPECT_EQ(namesOf(kit->subdirectories()), (std::vector<std::string>{"a", "b", "none"}));
  EXPECT_EQ(kit->files().size(), 8U);
  EXPECT_EQ(namesOf(volume_.root()->subdirectories()),
            (std::vector<std::string>{"Drums", "Other", "Kit.v2"}));
}

TEST_F(HostTrees, MakeAFolderOfTheirOwnWhereNoneIsUsed) {
  const auto operation = volume_->manyItems();
  add(*operation, ExistingFolder::doubled);
  add(*operation, ExistingFolder::doubled);
  runWell(*operation);
  EXPECT_EQ(namesOf(volume_.root()->subdirectories()),
            (std::vector<std::string>{"Drums", "Other", "Kit.v2", "Kit.v2"}));
}

TEST_F(HostTrees, WhatIsInAFolderThatCannotBeMadeFailsWithIt) {
  std::filesystem::create_directories(host_.path("Kit.v2/ /below"));
  writeText(host_.path("Kit.v2/ /below/deep"), "deep");
  const auto operation = volume_->manyItems();
  add(*operation);
  const std::string reason = ": Name must be 1–15 characters";
  EXPECT_EQ(endsOf(*operation),
            (Ends{"Kit.v2", "kick.e4b", "snare.e4b", " " + reason, "below" + reason, "deep" + reason, "a",
                  "one", "b", "a name of more than 15 characters", "none"}));
  EXPECT_EQ(namesOf(folder("Kit.v2")->subdirectories()), (std::vector<std::string>{"a", "b", "none"}));
}

TEST_F(HostTrees, WhatIsNoFileOrFolderIsRefusedAndLinksToFoldersAreNotFollowed) {
  ASSERT_EQ(::mkfifo(host_.path("Kit.v2/fifo").c_str(), 0600), 0);
  std::filesystem::create_directory_symlink("..", host_.path("Kit.v2/up"));
  std::filesystem::create_symlink("kick.e4b", host_.path("Kit.v2/link"));
  const auto operation = volume_->manyItems();
  add(*operation);
  const Ends ends = endsOf(*operation);
  EXPECT_EQ(ends.size(), 11U);
  EXPECT_EQ(ends[1], "fifo: " + host_.path("Kit.v2/fifo") + ": Not a regular file");
  EXPECT_EQ(ends[3], "link");
  EXPECT_EQ(ends[5], "up: " + host_.path("Kit.v2/up") + ": Is a directory");
  EXPECT_EQ(contentsBelow(volume_, "Kit.v2").at("link"), patternBytes(100, 2));
}

TEST_F(HostTrees, FolderThatCannotBeReadIsNamed) {
  setPermissions(host_.path("Kit.v2/a"), 0);
  setPermissions(volume_.folder().path(), 0777); // so that the image is found
  std::filesystem::permissions(host_.path(), std::filesystem::perms::all);
  Ends ends;
  {
    const OtherUser user;
    const auto operation = volume_->manyItems();
    add(*operation);
    ends = endsOf(*operation);
  }
  setPermissions(host_.path("Kit.v2/a"), 0700);
  EXPECT_EQ(ends,
            (Ends{"Kit.v2", "kick.e4b", "snare.e4b", "a: " + host_.path("Kit.v2/a") + ": Permission denied",
                  "b", "a name of more than 15 characters", "none"}));
}

TEST_F(HostTrees, FolderThatIsNotThereIsNamed) {
  const auto operation = volume_->manyItems();
  operation->importFolder("/nowhere/missing", volume_.root(), ExistingFolder::used);
  EXPECT_EQ(endsOf(*operation), (Ends{"missing: /nowhere/missing: No such file or directory"}));
  EXPECT_TRUE(volume_.imageIsAsExpected());
}

TEST_F(HostTrees, StoppedWorkFinishesTheItemInProgress) {
  const auto operation = volume_->manyItems();
  add(*operation);
  std::size_t began = 0;
  ItemsWatcher watcher;
  watcher.began = [&](std::size_t) { ++began; };
  watcher.isToStop = [&] { return began == 5; };
  EXPECT_EQ(endsOf(*operation, watcher), (Ends{"Kit.v2", "kick.e4b", "snare.e4b", "a", "one"}));
  EXPECT_EQ(contentsBelow(volume_, "Kit.v2"), (Contents{{"kick", patternBytes(100, 2)},
                                                        {"snare", patternBytes(3000, 1)},
                                                        {"a/", {}},
                                                        {"a/one", patternBytes(10, 3)}}));
}

// ---- Copies

TEST_F(Trees, CopyKeepsEntriesButForWhereTheirContentsAre) {
  const auto operation = volume_->manyItems();
  operation->copyFolder(drums(), folder("Other"), ExistingFolder::doubled);
  EXPECT_EQ(endsOf(*operation), (Ends{"Drums", "A", "B", "Sixteen byte dir", "C", "None"}));
  EXPECT_EQ(contentsBelow(volume_, "Other/Drums"), contentsBelow(volume_, "Drums"));
  const EMU3DirectoryPtr copy = folderNamed(folder("Other"), "Drums");
  RawEntry expected = entryOf(volume_, *drums());
  const std::uint16_t block = static_cast<std::uint16_t>(copy->blockList().at(0));
  expected[18] = static_cast<std::uint8_t>(block & 0xFF);
  expected[19] = static_cast<std::uint8_t>(block >> 8);
  EXPECT_EQ(entryOf(volume_, *copy), expected);
  EXPECT_EQ(copy->entryId(), 0x80);
  const EMU3DirectoryPtr deep = folderNamed(copy, "Sixteen byte dir");
  const EMU3FilePtr file = deep->files().at(0);
  EXPECT_EQ(file->rawType(), 0x83);
  EXPECT_TRUE(volume_.isAsReadAnew());
  EXPECT_EQ(harmIn(*volume_), std::vector<std::string>{});
}

TEST_F(Trees, CopyIntoItselfIsOfWhatWasThere) {
  const Contents before = contentsBelow(volume_, "Drums");
  const auto operation = volume_->manyItems();
  operation->copyFolder(drums(), folderNamed(drums(), "None"), ExistingFolder::used);
  runWell(*operation);
  EXPECT_EQ(contentsBelow(volume_, "Drums/None/Drums"), before);
}

TEST_F(Trees, CopyOfTheRootIsOfWhatIsInIt) {
  const Contents before = contentsBelow(volume_);
  const auto operation = volume_->manyItems();
  operation->copyFolder(volume_.root(), folder("Other"), ExistingFolder::doubled);
  runWell(*operation);
  Contents other = contentsBelow(volume_, "Other");
  other.erase("X"); // that was there
  EXPECT_EQ(other, before);
}

// ---- Moves

TEST_F(Trees, FoldersMoveByTheirEntries) {
  const auto operation = volume_->manyItems();
  operation->moveFolder(drums(), folder("Other"), ExistingFolder::used);
  operation->moveFile(volume_.file("KICK"), volume_.root(), folder("Other"));
  const Contents before = contentsBelow(volume_, "Drums");
  EXPECT_EQ(operation->progress().items, 2U);
  EXPECT_EQ(operation->progress().bytes, 0U);
  runWell(*operation);
  EXPECT_EQ(contentsBelow(volume_, "Other/Drums"), before);
  EXPECT_TRUE(volume_.isAsReadAnew());
}

TEST_F(Trees, FolderIsNotMovedIntoItselfOrBelow) {
  const EMU3DirectoryPtr below = folderNamed(drums(), "None");
  const auto operation = volume_->manyItems();
  operation->moveFolder(drums(), drums(), ExistingFolder::used);
  operation->moveFolder(drums(), below, ExistingFolder::doubled);
  EXPECT_EQ(endsOf(*operation), (Ends{"Drums: A folder cannot be moved into itself",
                                      "Drums: A folder cannot be moved into itself"}));
  EXPECT_TRUE(volume_.imageIsAsExpected());
}

TEST_F(Trees, TwoFoldersAreNotMovedIntoEachOther) {
  const Contents before = contentsBelow(volume_, "Drums");
  const auto operation = volume_->manyItems();
  operation->moveFolder(drums(), folder("Other"), ExistingFolder::used);
  operation->moveFolder(folder("Other"), drums(), ExistingFolder::used);
  EXPECT_EQ(endsOf(*operation), (Ends{"Drums", "Other: Dentry block not found"}));
  EXPECT_EQ(contentsBelow(volume_, "Other/Drums"), before);
  EXPECT_TRUE(volume_.isAsReadAnew());
}

TEST_F(Trees, FoldersAreNotMovedIntoEachOthersSubfolders) {
  ASSERT_TRUE(volume_->createDirectoryNamed("Sub", folder("Other")));
  const auto operation = volume_->manyItems();
  operation->moveFolder(drums(), folderNamed(folder("Other"), "Sub"), ExistingFolder::used);
  operation->moveFolder(folder("Other"), folderNamed(drums(), "None"), ExistingFolder::used);
  EXPECT_EQ(endsOf(*operation), (Ends{"Drums", "Other: A folder cannot be moved into itself"}));
  EXPECT_TRUE(volume_.isAsReadAnew());
  EXPECT_EQ(namesOf(volume_.root()->subdirectories()), std::vector<std::string>{"Other"});
}

TEST_F(Trees, MovedFolderGoesOnInOneThatIsThere) {
  const auto first = volume_->manyItems();
  first->copyFolder(drums(), folder("Other"), ExistingFolder::doubled);
  runWell(*first);
  ASSERT_TRUE(volume_->deleteDirectory(folderNamed(folderNamed(folder("Other"), "Drums"), "None"),
                                       folderNamed(folder("Other"), "Drums")));
  const Counters before = countersOf(*volume_);
  const auto operation = volume_->manyItems();
  operation->moveFolder(drums(), folder("Other"), ExistingFolder::used);
  EXPECT_EQ(endsOf(*operation), (Ends{"A", "B", "C", "None", "Drums", "Sixteen byte dir"}));
  EXPECT_EQ(namesOf(volume_.root()->subdirectories()), std::vector<std::string>{"Other"});
  const EMU3DirectoryPtr merged = folderNamed(folder("Other"), "Drums");
  EXPECT_EQ(namesOf(merged->files()), (std::vector<std::string>{"A", "B", "A", "B"}));
  EXPECT_EQ(namesOf(merged->subdirectories()), (std::vector<std::string>{"Sixteen byte dir", "None"}));
  EXPECT_EQ(countersOf(*volume_), before);
  EXPECT_TRUE(volume_.isAsReadAnew());
  EXPECT_EQ(harmIn(*volume_), std::vector<std::string>{});
}

// ---- Deletions

TEST_F(Trees, DeletedFolderTakesAllThatIsInItAlong) {
  const EMU3DirectoryPtr gone = drums();
  const auto operation = volume_->manyItems();
  operation->deleteFolder(gone, volume_.root());
  operation->deleteFile(gone->files().at(0), gone);
  operation->deleteFile(volume_.file("KICK"), volume_.root());
  EXPECT_EQ(endsOf(*operation), (Ends{"Drums", "A: Dentry block not found", "KICK"}));
  EXPECT_EQ(contentsBelow(volume_), (Contents{{"Sixteen bytes of", patternBytes(700, 2)},
                                              {"Other/", {}},
                                              {"Other/X", patternBytes(600, 6)}}));
  EXPECT_TRUE(volume_.isAsReadAnew());
}

TEST_F(Trees, NothingIsStoredInAFolderThatWasDeletedBefore) {
  const EMU3DirectoryPtr gone = drums();
  const auto operation = volume_->manyItems();
  operation->deleteFolder(gone, volume_.root());
  operation->copyFile(volume_.file("KICK"), gone);
  EXPECT_EQ(endsOf(*operation), (Ends{"Drums", "KICK: Dentry block not found"}));
  EXPECT_TRUE(volume_.isAsReadAnew());
}

} // namespace
} // namespace tessary::test
