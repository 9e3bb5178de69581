// What steps of the history mean, when something else has come to the place of an item that was deleted, and
// the image is mounted anew.

#include "app/history/LastingItems.h"
#include "tests/app/HistoryTest.h"

#include <memory>

namespace tessary::test {
namespace {

constexpr std::size_t kMany = 40; // enough that their tables grow several times

class HistoryMountedAnew : public HistoryTest {
protected:
  void mountAnew() {
    changeByOther([](EMU3Filesystem &) {});
  }
  EMU3DirectoryPtr inA(const char *folder) const {
    const EMU3DirectoryPtr a = folderNamed(controller_->filesystem()->rootDirectory(), "A");
    return folder ? folderNamed(a, folder) : a;
  }
  void note() { states_.push_back(holdingsOf(path_)); }
  void doAndNote(const std::function<void()> &change) {
    change();
    ASSERT_TRUE(waitUntilIdle());
    note();
    ASSERT_NE(states_.back(), states_[states_.size() - 2]) << "nothing has changed";
  }
  /// Undoes and redoes all that was noted, twice, looking at the volume each time.
  void expectEachDoesItsOwn(bool mountsEachTime) {
    const AlertAnswers alerts;
    for (int times = 0; times < 2; ++times) {
      for (std::size_t state = states_.size() - 1; state-- > 0;) {
        if (mountsEachTime) mountAnew();
        undo();
        EXPECT_EQ(holdingsOf(path_), states_[state]) << "undone to " << state;
      }
      for (std::size_t state = 1; state < states_.size(); ++state) {
        if (mountsEachTime) mountAnew();
        redo();
        EXPECT_EQ(holdingsOf(path_), states_[state]) << "redone to " << state;
      }
    }
    EXPECT_TRUE(alerts.shown().empty());
    EXPECT_EQ(beeps_.count(), 0);
  }

  void replaceFolder() {
    ImageBuilder image;
    FolderBuilder a = image.root().addFolder("A", {.blockCount = 2});
    a.addFile("ONE", patternBytes(600, 1));
    a.addFolder("D").addFile("INNER", patternBytes(900, 2));
    path_ = mount(image);
    chooseFolder({"A"});
    note();
    const EMU3DirectoryPtr d = inA("D");
    const auto place = d->place();
    const auto block = d->blockList().front();
    doAndNote([this] { deleteFolder({"A", "D"}); });
    doAndNote([this] {
      chooseFolder({"A"});
      newFolder("E");
    });
    ASSERT_EQ(inA("E")->place(), place);
    ASSERT_EQ(inA("E")->blockList().front(), block);
    doAndNote([this] { renameFolder({"A", "E"}, "F"); });
  }
  void replaceFiles() {
    ImageBuilder image;
    image.root().addFolder("A", {.blockCount = 7}).addFile("ONE", patternBytes(600, 1));
    path_ = mount(image);
    chooseFolder({"A"});
    std::vector<std::string> paths;
    QStringList names;
    for (std::uint32_t i = 0; i < kMany; ++i) {
      names.append(QStringLiteral("FILE %1").arg(i));
      paths.push_back(writeHostFile(names.back().toStdString() + ".E4B", patternBytes(1000 + i, i)));
    }
    const auto importAll = [this, paths] {
      clickToolbar("ImportItem");
      confirmPanel(paths);
    };
    note();
    doAndNote(importAll);
    const EMU3FilePtr first = fileNamed(inA(nullptr), "FILE 7");
    doAndNote([this, names] {
      chooseFiles(names);
      clickToolbar("DeleteItem");
      answerSheet(QStringLiteral("Delete"));
    });
    doAndNote(importAll);
    const EMU3FilePtr second = fileNamed(inA(nullptr), "FILE 7");
    ASSERT_NE(first, second);
    ASSERT_EQ(second->fields().startCluster, first->fields().startCluster);
  }

  std::vector<Holdings> states_;
};

TEST_F(HistoryMountedAnew, NewFolderInThePlaceOfADeletedOneIsAnother) {
  replaceFolder();
  mountAnew();
  expectEachDoesItsOwn(false);
}

TEST_F(HistoryMountedAnew, BeforeEachStepFoldersAreNotMistaken) {
  replaceFolder();
  expectEachDoesItsOwn(true);
}

TEST_F(HistoryMountedAnew, FilesThatCameAgainAreNotThoseThatWereDeleted) {
  replaceFiles();
  mountAnew();
  expectEachDoesItsOwn(false);
}

TEST_F(HistoryMountedAnew, BeforeEachStepFilesAreNotMistaken) {
  replaceFiles();
  expectEachDoesItsOwn(true);
}

TEST_F(HistoryMountedAnew, FolderInThePlaceOfOneThatWasDeletedForGoodKeepsItsName) {
  ImageBuilder image;
  FolderBuilder a = image.root().addFolder("A", {.blockCount = 2});
  FolderBuilder d = a.addFolder("D");
  addIncompleteFile(image, d, "CUT");
  path_ = mount(image);
  const auto place = inA("D")->place();
  const auto block = inA("D")->blockList().front();
  renameFolder({"A", "D"}, "E");
  deleteFolder({"A", "E"});
  answerSheet(QStringLiteral("Delete"));
  ASSERT_TRUE(waitUntilIdle());
  changeByOther([&](EMU3Filesystem &theirs) {
    const EMU3DirectoryPtr parent = folderNamed(theirs.rootDirectory(), "A");
    ASSERT_TRUE(theirs.createDirectoryNamed("E", parent, nullptr));
  });
  ASSERT_EQ(inA("E")->place(), place);
  ASSERT_EQ(inA("E")->blockList().front(), block);
  const Holdings theirs = holdingsOf(path_);
  const AlertAnswers alerts;
  undo();
  EXPECT_EQ(holdingsOf(path_), theirs);
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].failures, QStringList{"E: It is no longer in its folder."});
}

// ---- The items alone

class LastingItemsAnew : public testing::Test {
protected:
  void SetUp() override {
    ImageBuilder image;
    FolderBuilder a = image.root().addFolder("A", {.blockCount = 7});
    for (std::size_t i = 0; i < kMany; ++i)
      a.addFolder(nameOf("OLD", i));
    path_ = folder_.path("disk.hda");
    image.writeTo(path_);
    mountAnew();
  }
  static std::string nameOf(const char *word, std::size_t number) { return word + std::to_string(number); }
  void mountAnew() {
    const EMU3FilesystemPtr before = std::move(volume_); // its objects stay, as steps may mean them
    volume_ = readAnew(path_);
    items_.findIn(volume_->rootDirectory());
  }
  EMU3DirectoryPtr folder(const char *word, std::size_t number) const {
    return folderNamed(folderNamed(volume_->rootDirectory(), "A"), nameOf(word, number).c_str());
  }
  std::vector<LastingFolder> all(const char *word) {
    std::vector<LastingFolder> lasting;
    for (std::size_t i = 0; i < kMany; ++i)
      lasting.push_back(items_.of(folder(word, i)));
    return lasting;
  }
  // Another program does it.
  void deleteAll() {
    const EMU3FilesystemPtr theirs = mounted(path_, MountRules::guarded);
    const EMU3DirectoryPtr a = folderNamed(theirs->rootDirectory(), "A");
    for (std::size_t i = 0; i < kMany; ++i)
      ASSERT_TRUE(theirs->deleteDirectory(folderNamed(a, nameOf("OLD", i).c_str()), a));
    ASSERT_TRUE(a->subdirectories().empty());
  }
  void makeAll() {
    const EMU3FilesystemPtr theirs = mounted(path_, MountRules::guarded);
    const EMU3DirectoryPtr a = folderNamed(theirs->rootDirectory(), "A");
    for (std::size_t i = 0; i < kMany; ++i)
      ASSERT_TRUE(theirs->createDirectoryNamed(nameOf("NEW", i), a, nullptr));
  }
  void expectAllAre(const std::vector<LastingFolder> &lasting, const char *word) {
    for (std::size_t i = 0; i < kMany; ++i) {
      EXPECT_EQ(lasting[i]->object(), folder(word, i)) << i;
      EXPECT_EQ(items_.of(folder(word, i)), lasting[i]) << i << " follows no more";
    }
  }

  const TemporaryFolder folder_;
  std::string path_;
  EMU3FilesystemPtr volume_;
  LastingItems items_;
};

TEST_F(LastingItemsAnew, AreFoundAgain) {
  const std::vector<LastingFolder> old = all("OLD");
  mountAnew();
  expectAllAre(old, "OLD");
}

TEST_F(LastingItemsAnew, DeletedOnesAreNotWhatHasComeToTheirPlaces) {
  const std::vector<LastingFolder> old = all("OLD");
  std::vector<EMU3DirectoryPtr> objects;
  for (const LastingFolder &each : old) {
    objects.push_back(each->object());
    items_.deleted(each->object());
  }
  deleteAll();
  makeAll();
  mountAnew();
  const std::vector<LastingFolder> come = all("NEW");
  mountAnew();
  expectAllAre(come, "NEW");
  for (std::size_t i = 0; i < kMany; ++i)
    EXPECT_EQ(old[i]->object(), objects[i]) << i;
}

TEST_F(LastingItemsAnew, DeletedOneThatIsBackIsFoundAgain) {
  const std::vector<LastingFolder> old = all("OLD");
  for (const LastingFolder &each : old)
    items_.deleted(each->object());
  volume_ = readAnew(path_);
  for (std::size_t i = 0; i < kMany; ++i)
    items_.became(old[i]->object(), folder("OLD", i));
  mountAnew();
  expectAllAre(old, "OLD");
}

TEST_F(LastingItemsAnew, ThoseThatAnotherProgramDeletedTakeNoneFromTheirNextOnes) {
  const std::vector<LastingFolder> old = all("OLD");
  deleteAll();
  mountAnew(); // they are missed
  makeAll();
  volume_ = readAnew(path_);
  const std::vector<LastingFolder> come = all("NEW");
  mountAnew();
  expectAllAre(come, "NEW");
}

} // namespace
} // namespace tessary::test
