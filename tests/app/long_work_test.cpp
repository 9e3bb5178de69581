// Work that takes long: the bar that shows it, and what Stop leaves.

#include "app/Alert.h"
#include "app/Spinner.h"
#include "app/UndoManager.h"
#include "app/progress/LongWork.h"
#include "tests/app/Holdings.h"
#include "tests/app/LongWorkTest.h"
#include "tests/support/MountedVolume.h"

#include <QAction>
#include <QPushButton>
#include <QTest>
#include <filesystem>

namespace tessary::test {
namespace {

using namespace std::chrono_literals;

// Items that go to the medium together.
constexpr std::size_t kGroup = 64;

// ---- When it is shown

TEST(LongWorkShown, FromHalfASecondOnUntilItEnds) {
  WorkBar bar;
  LongWork work(&bar);
  const auto progress = std::make_shared<WorkProgress>();
  const WorkProgress::Clock::time_point begin = WorkProgress::Clock::now() - 1h;
  work.add(progress);
  work.look(begin + 1h);
  EXPECT_TRUE(bar.isHidden()) << "it waits for its turn";
  progress->begin(begin);
  work.look(begin + 499ms);
  EXPECT_TRUE(bar.isHidden());
  work.look(begin + 500ms);
  EXPECT_FALSE(bar.isHidden());
  work.remove(progress);
  EXPECT_TRUE(bar.isHidden());
}

TEST(LongWorkShown, TheFirstThatRunsAndStopIsForThatAlone) {
  WorkBar bar;
  LongWork work(&bar);
  const auto waiting = std::make_shared<WorkProgress>();
  const auto first = std::make_shared<WorkProgress>();
  const auto second = std::make_shared<WorkProgress>();
  const WorkProgress::Clock::time_point begin = WorkProgress::Clock::now() - 1h;
  for (const auto &each : {waiting, first, second})
    work.add(each);
  first->begin(begin);
  second->begin(begin);
  work.look(begin + 1s);
  emit bar.stopPressed();
  EXPECT_TRUE(first->isToStop());
  EXPECT_FALSE(second->isToStop());
  EXPECT_FALSE(waiting->isToStop());
  work.stop();
  EXPECT_TRUE(second->isToStop());
  EXPECT_TRUE(waiting->isToStop());
}

// ---- Its words

TEST(LongWorkWords, TellItemShareBytesAndTimeLeft) {
  const WorkBar::Shown shown = workWords(
      {.doing = "Importing", .item = "KICK.E4B", .done = 12 << 20, .all = 64 << 20, .areBytes = true}, 130s,
      false);
  EXPECT_EQ(shown.what, "Importing “KICK.E4B”");
  EXPECT_EQ(shown.figures, "12.0 MB of 64.0 MB (18%), about 2 minutes left");
  EXPECT_EQ(shown.share, 187);
  EXPECT_FALSE(shown.isStopping);
}

TEST(LongWorkWords, TellItemsWhereThereAreNoBytes) {
  const WorkBar::Shown shown =
      workWords({.doing = "Deleting", .item = "KICK", .done = 64, .all = 100}, std::nullopt, false);
  EXPECT_EQ(shown.figures, "64 of 100 (64%)");
}

TEST(LongWorkWords, TellNoFiguresBeforeAnyAreKnown) {
  const WorkBar::Shown shown = workWords({.doing = "Exporting"}, 5s, false);
  EXPECT_EQ(shown.what, "Exporting…");
  EXPECT_EQ(shown.figures, "");
  EXPECT_LT(shown.share, 0);
}

TEST(LongWorkWords, TellThatItIsStopping) {
  const WorkBar::Shown shown =
      workWords({.doing = "Deleting", .item = "A\nB", .done = 64, .all = 100}, 5s, true);
  EXPECT_EQ(shown.what, "Stopping after “A\\nB”…");
  EXPECT_EQ(shown.figures, "64 of 100 (64%)");
  EXPECT_TRUE(shown.isStopping);
}

TEST(LongWorkWords, TellTheTimeLeftNoMoreExactlyThanItIsKnown) {
  const std::vector<std::pair<std::chrono::seconds, QString>> texts = {
      {0s, "a few seconds left"},     {9s, "a few seconds left"},     {10s, "about 10 seconds left"},
      {26s, "about 30 seconds left"}, {54s, "about 50 seconds left"}, {55s, "about 1 minute left"},
      {89s, "about 1 minute left"},   {90s, "about 2 minutes left"},  {54min, "about 54 minutes left"},
      {55min, "about 1 hour left"},   {150min, "about 3 hours left"},
  };
  for (const auto &[left, text] : texts)
    EXPECT_EQ(timeLeftText(left), text) << left.count();
}

TEST(LongWorkTimeLeft, FollowsTheRateOfTheLastSeconds) {
  const TimeLeft::Clock::time_point begin;
  TimeLeft time;
  time.note(begin, 0, 1000);
  EXPECT_FALSE(time.left());
  time.note(begin + 500ms, 10, 1000);
  EXPECT_FALSE(time.left()) << "too short a while";
  time.note(begin + 2s, 20, 1000);
  EXPECT_EQ(time.left(), 98s);
  time.note(begin + 10s, 500, 1000); // it has become quicker
  time.note(begin + 20s, 900, 1000);
  EXPECT_EQ(time.left(), 2s) << "100 at 400 in ten seconds";
}

TEST(LongWorkTimeLeft, IsUnknownWhereNothingIsDone) {
  const TimeLeft::Clock::time_point begin;
  TimeLeft time;
  time.note(begin, 10, 1000);
  time.note(begin + 5s, 10, 1000);
  EXPECT_FALSE(time.left());
}

// ---- Stop

class StoppedWork : public LongWorkTest {
protected:
  QString undoName() const { return controller_->undoManager()->undoName(); }
  QString redoName() const { return controller_->undoManager()->redoName(); }
  void undo() const { clickToolbar("UndoItem"); }
  void redo() const { clickToolbar("RedoItem"); }
  void undoAndWait() const {
    undo();
    EXPECT_TRUE(waitUntilIdle());
  }
  void redoAndWait() const {
    redo();
    EXPECT_TRUE(waitUntilIdle());
  }
  void mountMany(int files) {
    path_ = mount(volumeOfMany(files));
    chooseFolder({"Many"});
  }
  void deleteAll() {
    selectAllFiles();
    clickToolbar("DeleteItem");
    clickButton(sheet<Alert>(), "Delete");
  }
  void transferAll(bool moves) {
    selectAllFiles();
    moves ? controller_->_moveToDir() : controller_->_copyToDir();
    popUp().setCurrentIndex(2); // "Other"
    clickButton(&question(), moves ? "Move" : "Copy");
  }
  std::size_t filesIn(const std::string &folder) const { return namesOnImage(path_, {folder}).size(); }

  std::string path_;
  const AlertAnswers alerts_;
};

TEST_F(StoppedWork, ImportShowsTheItemAndItsFigures) {
  mountMany(0);
  medium_.holdFlushes();
  importFiles(manyHostFiles(100)); // of 1 to 100 bytes
  waitForBar();
  EXPECT_EQ(what(), "Importing “HOST 0063.E4B”") << "the last one of the first group";
  EXPECT_EQ(figures(), "0 B of 4.9 KB (0%)");
  EXPECT_EQ(bar()->accessibleName(), "Work in progress");
  EXPECT_TRUE(stopButton()->isEnabled());
  letGoAndWait();
  EXPECT_FALSE(bar()->isVisible());
  EXPECT_EQ(status(), "Imported 100 file(s).");
}

TEST_F(StoppedWork, ImportKeepsWhatWasDoneAsOneStepAndRedoDoesTheRest) {
  mountMany(3);
  const Holdings before = holdingsOf(path_);
  medium_.holdFlushes();
  importFiles(manyHostFiles(100));
  stopAndWait();
  EXPECT_EQ(status(), "Stopped. Imported 64 of 100 file(s).");
  EXPECT_FALSE(bar()->isVisible());
  EXPECT_EQ(controller_->spinner()->users(), 0);
  EXPECT_EQ(filesIn("Many"), 3 + kGroup);
  EXPECT_EQ(selectedFileNames().size(), static_cast<int>(kGroup));
  EXPECT_EQ(undoName(), "Import");
  EXPECT_EQ(redoName(), "Import");
  redoAndWait();
  EXPECT_EQ(status(), "Imported 36 file(s).");
  const Holdings whole = holdingsOf(path_);
  EXPECT_EQ(filesIn("Many"), 103U);
  undoAndWait();
  EXPECT_EQ(filesIn("Many"), 3 + kGroup);
  undoAndWait();
  EXPECT_EQ(holdingsOf(path_), before);
  redoAndWait();
  redoAndWait();
  EXPECT_EQ(holdingsOf(path_), whole);
  EXPECT_TRUE(alerts_.shown().empty());
}

TEST_F(StoppedWork, ImportIsTakenBackWithoutTheRest) {
  mountMany(3);
  const Holdings before = holdingsOf(path_);
  medium_.holdFlushes();
  importFiles(manyHostFiles(100));
  stopAndWait();
  undoAndWait();
  EXPECT_EQ(status(), "Deleted 64 file(s).");
  EXPECT_EQ(holdingsOf(path_), before);
  EXPECT_FALSE(controller_->undoManager()->canUndo());
}

TEST_F(StoppedWork, IsStoppedByTheKeyToo) {
  mountMany(0);
  medium_.holdFlushes();
  importFiles(manyHostFiles(100));
  waitForBar();
  pressKeyIn(window(), Qt::Key_Period, Qt::ControlModifier);
  ASSERT_TRUE(QTest::qWaitFor([this] { return !stopButton()->isEnabled(); }, 30000));
  EXPECT_TRUE(what().startsWith("Stopping after “")) << what().toStdString();
  letGoAndWait();
  EXPECT_EQ(status(), "Stopped. Imported 64 of 100 file(s).");
}

TEST_F(StoppedWork, StoppedTooLateIsDone) {
  mountMany(0);
  medium_.holdFlushes();
  importFiles(manyHostFiles(2));
  stopAndWait();
  EXPECT_EQ(status(), "Imported 2 file(s).");
  EXPECT_EQ(redoName(), "");
}

TEST_F(StoppedWork, WorkQueuedBehindItShowsWhenItsTurnComes) {
  mountMany(0);
  medium_.holdFlushes();
  const std::vector<std::string> paths = manyHostFiles(101);
  importFiles({paths.begin(), paths.end() - 1});
  HeldQueue between(*controller_->filesystem());
  importFiles({paths.back()});
  waitForBar();
  click(stopButton(), stopButton()->rect().center());
  medium_.letGo();
  ASSERT_TRUE(QTest::qWaitFor([this] { return status() == "Stopped. Imported 64 of 100 file(s)."; }, 30000));
  EXPECT_FALSE(bar()->isVisible());
  medium_.holdFlushes();
  between.letGo();
  waitForBar();
  EXPECT_EQ(what(), "Importing “HOST 0100.E4B”");
  EXPECT_TRUE(stopButton()->isEnabled());
  letGoAndWait();
  EXPECT_EQ(status(), "Imported 1 file(s).");
}

TEST_F(StoppedWork, DeletionStoppedWhileItIsCopiedDeletesNothing) {
  mountMany(100);
  const Holdings before = holdingsOf(path_);
  medium_.holdFlushesOfFiles();
  deleteAll();
  waitForBar();
  EXPECT_TRUE(what().startsWith("Copying for Undo “FILE 00")) << what().toStdString();
  stopAndWait();
  EXPECT_EQ(status(), "Stopped. Deleted 0 of 100 file(s).");
  EXPECT_EQ(holdingsOf(path_), before);
  EXPECT_EQ(undoName(), "");
  EXPECT_EQ(redoName(), "Delete");
  redoAndWait();
  EXPECT_EQ(status(), "Deleted 100 file(s).");
  undoAndWait();
  EXPECT_EQ(holdingsOf(path_), before);
  EXPECT_TRUE(alerts_.shown().empty());
}

TEST_F(StoppedWork, DeletionKeepsTheRest) {
  mountMany(100);
  const Holdings before = holdingsOf(path_);
  medium_.holdFlushes();
  deleteAll();
  waitForBar();
  EXPECT_EQ(what(), "Deleting “FILE 0063”");
  EXPECT_EQ(figures(), "0 of 100 (0%)");
  stopAndWait();
  EXPECT_EQ(status(), "Stopped. Deleted 64 of 100 file(s).");
  EXPECT_EQ(filesIn("Many"), 100 - kGroup);
  undoAndWait();
  EXPECT_EQ(status(), "Restored 64 file(s).");
  EXPECT_EQ(holdingsOf(path_), before);
  redoAndWait();
  redoAndWait();
  EXPECT_EQ(status(), "Deleted 36 file(s).");
  EXPECT_EQ(filesIn("Many"), 0U);
}

TEST_F(StoppedWork, CopiesAndMovesKeepTheRest) {
  mountMany(100);
  const Holdings before = holdingsOf(path_);
  for (const bool moves : {false, true}) {
    medium_.holdFlushes();
    transferAll(moves);
    stopAndWait();
    EXPECT_EQ(status(), moves ? "Stopped. Moved 64 of 100 file(s)." : "Stopped. Copied 64 of 100 file(s).");
    EXPECT_EQ(filesIn("Other"), kGroup);
    EXPECT_EQ(redoName(), moves ? "Move" : "Copy");
    redoAndWait();
    EXPECT_EQ(filesIn("Other"), 100U);
    EXPECT_EQ(filesIn("Many"), moves ? 0U : 100U);
    undoAndWait();
    undoAndWait();
    EXPECT_EQ(holdingsOf(path_), before);
    chooseFolder({"Many"});
  }
  EXPECT_TRUE(alerts_.shown().empty());
}

TEST_F(StoppedWork, UndoGoesOnWithTheRest) {
  mountMany(3);
  const Holdings before = holdingsOf(path_);
  importFiles(manyHostFiles(100));
  ASSERT_TRUE(waitUntilIdle());
  const Holdings whole = holdingsOf(path_);
  medium_.holdFlushes();
  undo();
  stopAndWait();
  EXPECT_EQ(status(), "Stopped. Deleted 64 of 100 file(s).");
  EXPECT_EQ(undoName(), "Import") << "of the rest";
  EXPECT_EQ(redoName(), "Import") << "of what was undone";
  undoAndWait();
  EXPECT_EQ(status(), "Deleted 36 file(s).");
  EXPECT_EQ(holdingsOf(path_), before);
  redoAndWait();
  redoAndWait();
  EXPECT_EQ(holdingsOf(path_), whole);
  EXPECT_TRUE(alerts_.shown().empty());
}

TEST_F(StoppedWork, UndoStoppedBeforeAnythingWasDoneComesNextAgain) {
  mountMany(3);
  importFiles(manyHostFiles(100));
  ASSERT_TRUE(waitUntilIdle());
  const Holdings whole = holdingsOf(path_);
  controller_->_newFolder();
  answerWithName("LATER");
  undoAndWait();
  medium_.holdFlushesOfFiles();
  undo();
  stopAndWait();
  EXPECT_EQ(holdingsOf(path_), whole);
  EXPECT_EQ(undoName(), "Import");
  EXPECT_EQ(redoName(), "New Folder");
}

TEST_F(StoppedWork, RedoOfAFolderBringsItBackWholeOrNotAtAll) {
  mountMany(100);
  const Holdings before = holdingsOf(path_);
  chooseFromFolderMenu({"Many"}, "Delete Folder");
  answerSheet("Delete");
  const Holdings without = holdingsOf(path_);
  medium_.holdFlushes();
  undo();
  waitForBar();
  EXPECT_EQ(what(), "Restoring “FILE 0062”") << "the folder is the first item";
  stopAndWait();
  EXPECT_EQ(status(), "Stopped. Restored 0 of 100 file(s).");
  EXPECT_EQ(holdingsOf(path_), without);
  undoAndWait();
  EXPECT_EQ(status(), "Restored folder 'Many'.");
  EXPECT_EQ(holdingsOf(path_), before);
  EXPECT_TRUE(alerts_.shown().empty());
}

TEST_F(StoppedWork, ExportLeavesNoFileInPart) {
  mountMany(100);
  medium_.holdFlushesOfFiles();
  selectAllFiles();
  clickToolbar("ExportItem");
  confirmPanel({hostFolder("out")});
  stopAndWait();
  EXPECT_EQ(status(), "Stopped. Exported 64 of 100 file(s).");
  ASSERT_EQ(namesIn(hostFolder("out")).size(), kGroup);
  for (std::uint32_t i = 0; i < kGroup; ++i)
    EXPECT_EQ(readBytes(hostFolder("out") + "/" + namesIn(hostFolder("out"))[i]), patternBytes(600, i));
  EXPECT_TRUE(alerts_.shown().empty());
}

TEST_F(StoppedWork, BackupLeavesNothing) {
  mountMany(3);
  medium_.holdFlushesOfFiles();
  controller_->_backUpImage();
  confirmPanel({folder_.path("backup.hda")});
  waitForBar();
  EXPECT_EQ(what(), "Backing up “disk.hda”");
  stopAndWait();
  EXPECT_EQ(status(), "Stopped. The image was not backed up.");
  EXPECT_FALSE(std::filesystem::exists(folder_.path("backup.hda")));
  EXPECT_TRUE(alerts_.shown().empty());
}

TEST_F(StoppedWork, ImageUnmountedMeanwhileGoesOnUntilItIsStopped) {
  mountMany(0);
  medium_.holdFlushes();
  importFiles(manyHostFiles(100));
  waitForBar();
  clickToolbar("UnmountItem");
  EXPECT_TRUE(bar()->isVisible());
  stopAndWait();
  EXPECT_FALSE(bar()->isVisible());
  EXPECT_EQ(status(), "No image loaded");
  EXPECT_EQ(filesIn("Many"), kGroup);
}

TEST_F(StoppedWork, LongNamesDoNotWidenTheWindow) {
  mountMany(0);
  window()->resize(window()->minimumSize());
  medium_.holdFlushes();
  importFiles({writeHostFile(std::string(200, 'W'), patternBytes(100))});
  waitForBar();
  EXPECT_EQ(window()->size(), window()->minimumSize());
  EXPECT_GT(stopButton()->geometry().right(), 0);
  EXPECT_LE(stopButton()->geometry().right(), bar()->width());
}

} // namespace
} // namespace tessary::test
