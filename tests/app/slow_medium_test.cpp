#include "app/Spinner.h"
#include "app/UndoManager.h"
#include "tests/app/SheetTest.h"
#include "tests/app/Stalls.h"
#include "tests/support/MediumFaults.h"
#include "tests/support/MountedVolume.h"

#include <QElapsedTimer>
#include <QTest>
#include <chrono>
#include <cstdio>
#include <functional>
#include <utility>
#include <vector>

namespace tessary::test {
namespace {

using namespace std::chrono_literals;

constexpr int kLongestWait = 30000;

/// The window over a medium that takes its time, or breaks.
class SlowMedium : public SheetTest {
protected:
  // Before anything is torn down that still has work.
  void TearDown() override {
    medium_.letGo();
    EXPECT_TRUE(waitUntilIdle());
  }

  /// Gives the command, up to the answer of its sheet; waits for nothing.
  void renameFile(const QString &file, const QString &name) {
    chooseFiles({file});
    chooseFromFileMenu(file, QStringLiteral("Rename…"));
    confirmName(name);
  }
  /// The medium does not take it.
  void renameInVain(const AlertAnswers &alerts) {
    medium_.failFlushes();
    renameFile("FIRST", "RENAMED");
    ASSERT_TRUE(waitUntilIdle());
    ASSERT_EQ(alerts.shown().size(), 1U);
    EXPECT_EQ(alerts.shown()[0].message, "Data write failed");
  }
  void makeFolder(const QString &name) {
    chooseFromMenu(outline(), emptyPlace(outline()), QStringLiteral("New Folder…"));
    confirmName(name);
  }
  void deleteFolder(const QStringList &path) {
    chooseFromFolderMenu(path, QStringLiteral("Delete Folder"));
    clickButton(&question(), QStringLiteral("Delete"));
  }
  void importFile(const std::string &name, const Bytes &contents) {
    clickToolbar("ImportItem");
    confirmPanel({writeHostFile(name, contents)});
  }
  void confirmName(const QString &name) {
    field().setText(name);
    QTest::keyClick(question().windowHandle(), Qt::Key_Return);
  }
  bool isBusy() const { return controller_->spinner()->users() > 0; }
  /// Waits until a flush is held.
  bool waitForFlush() {
    return QTest::qWaitFor([this] { return medium_.waiting() > 0; }, kLongestWait);
  }
  std::vector<std::string> foldersOnImage(const std::string &path, const std::vector<std::string> &of) {
    const EMU3FilesystemPtr filesystem = readAnew(path);
    EMU3DirectoryPtr directory = filesystem->rootDirectory();
    for (const std::string &name : of)
      directory = folderNamed(directory, name);
    return namesOf(directory->subdirectories());
  }

  MediumFaults medium_;
};

// ---- The window goes on meanwhile

TEST_F(SlowMedium, WindowLivesWhileAChangeWaitsForTheMedium) {
  constexpr auto delay = 2s;
  const std::string path = mount(volume());
  const std::string host = writeHostFile("SNARE.E4B", patternBytes(20000, 9));
  const std::vector<std::pair<const char *, std::function<void()>>> commands = {
      {"rename", [this] { renameFile("FIRST", "RENAMED"); }},
      {"new folder", [this] { makeFolder("Drums"); }},
      {"import",
       [&] {
         chooseFolder({"B"});
         clickToolbar("ImportItem");
         confirmPanel({host});
       }},
  };
  medium_.delayFlushes(delay);
  for (const auto &[name, command] : commands) {
    QElapsedTimer whole;
    whole.start(); // before the change can have begun to wait
    command();
    ASSERT_TRUE(isBusy()) << name;
    const Stalls stalls;
    ASSERT_TRUE(QTest::qWaitFor([this] { return !isBusy(); }, kLongestWait)) << name;
    std::printf("[  FIGURES ] %s: %lld ms, %d turns of the event loop, the longest %.1f ms\n", name,
                static_cast<long long>(whole.elapsed()), stalls.turns(), stalls.longest());
    EXPECT_GE(std::chrono::milliseconds(whole.elapsed()), delay) << name << " waits for the medium";
    EXPECT_GE(stalls.turns(), 50) << name;
    EXPECT_LT(stalls.longest(), 1000) << name;
  }
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), "Imported 1 file(s).");
  EXPECT_EQ(namesOnImage(path, {"A"}), (std::vector<std::string>{"RENAMED", "SECOND", "THIRD"}));
  EXPECT_EQ(namesOnImage(path, {"B"}), (std::vector<std::string>{"OTHER", "SNARE"}));
  EXPECT_EQ(foldersOnImage(path, {"A"}), (std::vector<std::string>{"A1", "A2", "Drums"}));
}

TEST_F(SlowMedium, FoldersAndFilesAreShownMeanwhile) {
  mount(volume());
  medium_.holdFlushes();
  renameFile("FIRST", "RENAMED");
  ASSERT_TRUE(waitForFlush());
  chooseFolder({"B"});
  EXPECT_EQ(status(), "B — 1 file(s)");
  EXPECT_EQ(fileNames(), QStringList{"OTHER"});
  chooseFiles({"OTHER"});
  controller_->_tableDoubleClick();
  EXPECT_EQ(question().text(), "OTHER");
  clickButton(&question(), "OK");
  EXPECT_TRUE(isBusy());
  medium_.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), "Renamed to \"RENAMED\".");
  EXPECT_EQ(fileNames(), QStringList{"OTHER"});
  EXPECT_FALSE(isBusy());
}

TEST_F(SlowMedium, SingleChangeIsNotBehindQueuedWork) {
  mount(volume());
  HeldQueue held(*controller_->filesystem());
  importFile("SNARE.E4B", patternBytes(100));
  renameFile("FIRST", "RENAMED");
  ASSERT_TRUE(QTest::qWaitFor([this] { return status() == "Renamed to \"RENAMED\"."; }, kLongestWait));
  EXPECT_EQ(controller_->spinner()->users(), 1) << "the import has not begun";
}

// ---- What a change acts on

TEST_F(SlowMedium, ChangesActOnWhatWasChosenWhenTheyWereGiven) {
  const std::string path = mount(volume());
  medium_.holdFlushes();
  makeFolder("FIRST ONE");
  ASSERT_TRUE(waitForFlush());
  makeFolder("SECOND ONE");
  chooseFolder({"B"});
  makeFolder("IN B");
  medium_.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(foldersOnImage(path, {"A"}), (std::vector<std::string>{"A1", "A2", "FIRST ONE", "SECOND ONE"}));
  EXPECT_EQ(foldersOnImage(path, {"B"}), std::vector<std::string>{"IN B"});
  EXPECT_EQ(highlightedLabel(), "IN B");
  EXPECT_EQ(status(), "Created folder 'IN B'.");
}

TEST_F(SlowMedium, QuickCommandsCountInTheOrderTheyWereGiven) {
  const std::string path = mount(volume());
  const QModelIndex row = folderItem({"B"});
  const auto renameB = [&](const QString &name) {
    chooseFromMenu(outline(), outline()->visualRect(row).center(), "Rename Folder");
    confirmName(name);
  };
  medium_.holdFlushes();
  renameB("X");
  ASSERT_TRUE(waitForFlush());
  renameB("Y");
  renameB("B");
  renameFile("FIRST", "ONE");
  renameFile("FIRST", "TWO");
  medium_.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(foldersOnImage(path, {}), (std::vector<std::string>{"A", "B"}));
  EXPECT_EQ(namesOnImage(path, {"A"}), (std::vector<std::string>{"TWO", "SECOND", "THIRD"}));
  EXPECT_EQ(outlineLabels(), QStringList({"A (3)", "B (1)"}));
  EXPECT_EQ(fileNames(), QStringList({"TWO", "SECOND", "THIRD"}));
  EXPECT_EQ(status(), "Renamed to \"TWO\".");
}

TEST_F(SlowMedium, FolderDeletedWhileOneOfItsOwnWasChosenShowsItsParent) {
  const std::string path = mount(volume());
  chooseFolder({"B"});
  outline()->expand(folderItem({"A"}));
  medium_.holdFlushes();
  deleteFolder({"A", "A2"});
  ASSERT_TRUE(waitForFlush());
  outline()->setCurrentIndex(folderItem({"A", "A1"}));
  medium_.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(highlightedLabel(), "A (3)");
  EXPECT_EQ(controller_->currentDirectory(), folder({"A"}));
  EXPECT_EQ(foldersOnImage(path, {"A"}), std::vector<std::string>{"A1"});
}

TEST_F(SlowMedium, ChangeOfAnImageThatWasReplacedStopsTheSpinnerAlone) {
  const std::string path = mount(volume());
  medium_.holdFlushes();
  renameFile("FIRST", "RENAMED");
  ASSERT_TRUE(waitForFlush());
  makeFolder("Drums");
  ImageBuilder image;
  image.root().addFolder("OTHERS").addFile("LONE", patternBytes(10));
  controller_->openImageAtURL(writeImage(image, "other.hda"));
  const auto isOther = [this] { return title() == "Tessary — other.hda"; };
  ASSERT_TRUE(QTest::qWaitFor(isOther, kLongestWait));
  EXPECT_EQ(controller_->spinner()->users(), 2);
  medium_.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_FALSE(isBusy());
  EXPECT_TRUE(isOther());
  EXPECT_EQ(status(), "OTHERS — 1 file(s)");
  EXPECT_EQ(fileNames(), QStringList{"LONE"});
  EXPECT_EQ(outlineLabels(), QStringList{"OTHERS (1)"});
  EXPECT_EQ(namesOnImage(path, {"A"})[0], "RENAMED");
  EXPECT_EQ(foldersOnImage(path, {"A"}), (std::vector<std::string>{"A1", "A2", "Drums"}));
}

TEST_F(SlowMedium, NothingIsUndoneWhileASingleChangeIsOnItsWay) {
  mount(volume());
  importFile("SNARE.E4B", patternBytes(2000, 9));
  ASSERT_TRUE(waitUntilIdle());
  const UndoManager &undo = *controller_->undoManager();
  ASSERT_EQ(undo.undoName(), "Import");
  const std::vector<std::pair<std::function<void()>, QString>> changes = {
      {[this] { renameFile("FIRST", "RENAMED"); }, "Rename"},
      {[this] { makeFolder("Drums"); }, "New Folder"},
      {[this] {
         chooseFromFolderMenu({"A"}, QStringLiteral("Rename Folder"));
         confirmName("Other");
       },
       "Rename Folder"}};
  for (const auto &[change, name] : changes) {
    medium_.holdFlushes();
    change();
    ASSERT_TRUE(waitForFlush());
    EXPECT_FALSE(undo.canUndo()) << name.toStdString();
    EXPECT_FALSE(toolbarButton("UndoItem")->isEnabled());
    medium_.letGo();
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_TRUE(undo.canUndo());
    EXPECT_EQ(undo.undoName(), name);
  }
}

TEST_F(SlowMedium, SingleChangeThatFailsLeavesTheStepBeforeIt) {
  mount(volume());
  importFile("SNARE.E4B", patternBytes(2000, 9));
  ASSERT_TRUE(waitUntilIdle());
  const AlertAnswers alerts;
  ASSERT_NO_FATAL_FAILURE(renameInVain(alerts));
  EXPECT_TRUE(controller_->undoManager()->canUndo());
  EXPECT_EQ(controller_->undoManager()->undoName(), "Import");
}

TEST_F(SlowMedium, SingleChangeThatEndsAfterAnUnmountCanBeUndone) {
  const std::string path = mount(volume());
  medium_.holdFlushes();
  renameFile("FIRST", "RENAMED");
  ASSERT_TRUE(waitForFlush());
  clickToolbar("UnmountItem");
  medium_.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(namesOnImage(path, {"A"})[0], "RENAMED");
  openImage(path);
  ASSERT_EQ(controller_->undoManager()->undoName(), "Rename");
  clickToolbar("UndoItem");
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(namesOnImage(path, {"A"})[0], "FIRST");
}

TEST_F(SlowMedium, DeletionRightAfterARenamingIsUndoneWithTheNewName) {
  const std::string path = mount(volume());
  const AlertAnswers alerts;
  medium_.holdFlushes();
  renameFile("SECOND", "OTHER");
  ASSERT_TRUE(waitForFlush());
  renameFile("FIRST", "RENAMED"); // waits for its turn
  chooseFiles({"FIRST"});
  clickToolbar("DeleteItem");
  clickButton(&question(), QStringLiteral("Delete"));
  QTest::qWait(200); // in which it would have begun
  medium_.letGo();
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_EQ(namesOnImage(path, {"A"}), (std::vector<std::string>{"OTHER", "THIRD"}));
  const std::vector<std::vector<std::string>> undone{
      {"RENAMED", "OTHER", "THIRD"}, {"FIRST", "OTHER", "THIRD"}, {"FIRST", "SECOND", "THIRD"}};
  for (const std::vector<std::string> &names : undone) {
    clickToolbar("UndoItem");
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_EQ(namesOnImage(path, {"A"}), names);
  }
  EXPECT_TRUE(alerts.shown().empty());
}

TEST_F(SlowMedium, ChangeOfAnotherImageDoesNotWaitForTheOneBefore) {
  mount(volume());
  medium_.holdFlushes();
  renameFile("FIRST", "RENAMED");
  ASSERT_TRUE(waitForFlush());
  controller_->openImageAtURL(writeImage(volume(), "other.hda"));
  ASSERT_TRUE(QTest::qWaitFor([this] { return title() == "Tessary — other.hda"; }, kLongestWait));
  renameFile("SECOND", "OWN");
  EXPECT_TRUE(QTest::qWaitFor([this] { return medium_.waiting() == 2; }, kLongestWait));
}

// ---- A medium that breaks

TEST_F(SlowMedium, SingleChangeThatTheMediumDoesNotTakeMakesTheImageReadOnly) {
  mount(volume());
  const AlertAnswers alerts;
  ASSERT_NO_FATAL_FAILURE(renameInVain(alerts));
  EXPECT_EQ(title(), "Tessary — disk.hda (read-only)");
  EXPECT_EQ(status(), "Read-only: the medium did not take a change.");
  EXPECT_FALSE(isBusy());
  chooseFromMenu(outline(), emptyPlace(outline()), "New Folder…");
  ASSERT_EQ(alerts.shown().size(), 2U);
  EXPECT_EQ(alerts.shown()[1].message, "Read-Only Image");
}

TEST_F(SlowMedium, QueuedChangeThatTheMediumDoesNotTakeMakesTheImageReadOnly) {
  mount(volume());
  const AlertAnswers alerts;
  medium_.failFlushes();
  importFile("SNARE.E4B", patternBytes(5000));
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Import Failed (1 of 1)");
  EXPECT_TRUE(alerts.shown()[0].failures.value(0).endsWith(": Data write failed"));
  EXPECT_EQ(title(), "Tessary — disk.hda (read-only)");
  EXPECT_EQ(status(), "Imported 0 file(s) (1 failed). Read-only: the medium did not take a change.");
  chooseFolder({"B"});
  EXPECT_EQ(status(), "B — 1 file(s)") << "it is told once";
}

} // namespace
} // namespace tessary::test
