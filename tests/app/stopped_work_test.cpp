// Work that the user stops: what it leaves, and what goes on with it.

#include "app/Alert.h"
#include "app/Spinner.h"
#include "app/UndoManager.h"
#include "app/progress/WorkBar.h"
#include "tests/app/Holdings.h"
#include "tests/app/LongWorkTest.h"

#include <QPushButton>
#include <QTest>
#include <filesystem>
#include <sys/stat.h>

namespace tessary::test {
namespace {

// Items that go to the medium together.
constexpr std::size_t kGroup = 64;

class StoppedWork : public LongWorkTest {
protected:
  QString undoName() const { return controller_->undoManager()->undoName(); }
  QString redoName() const { return controller_->undoManager()->redoName(); }
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

TEST_F(StoppedWork, FailuresBeforeItAreToldAndTriedAgainWithTheRest) {
  mountMany(0);
  std::vector<std::string> paths = manyHostFiles(100);
  std::filesystem::remove(paths[0]);
  ASSERT_EQ(::mkfifo(paths[0].c_str(), 0600), 0);
  medium_.holdFlushes();
  importFiles(paths);
  stopAndWait();
  ASSERT_EQ(alerts_.shown().size(), 1U);
  EXPECT_EQ(alerts_.shown()[0].message, "Import Failed (1 of 64)");
  EXPECT_EQ(status(), "Stopped. Imported 63 of 100 file(s) (1 failed).");
  std::filesystem::remove(paths[0]);
  writeBytes(paths[0], patternBytes(7));
  redoAndWait();
  EXPECT_EQ(status(), "Imported 37 file(s).");
  EXPECT_EQ(filesIn("Many"), 100U);
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

TEST_F(StoppedWork, DeletionForGoodShowsTheBar) {
  ImageBuilder image;
  FolderBuilder many = image.root().addFolder("Many");
  addIncompleteFile(image, many, "CUT");
  path_ = mount(image);
  chooseFolder({"Many"});
  deleteAll();
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_EQ(sheet<Alert>()->text(), "Delete “CUT” for good?");
  medium_.holdFlushes();
  clickButton(sheet<Alert>(), "Delete");
  waitForBar();
  EXPECT_EQ(what(), "Deleting “CUT”");
  letGoAndWait();
  EXPECT_EQ(status(), "Deleted 1 file(s).");
  EXPECT_EQ(filesIn("Many"), 0U);
}

TEST_F(StoppedWork, DeletionOfAFolderForGoodShowsTheBarAndWaitsItsTurn) {
  ImageBuilder image;
  FolderBuilder many = image.root().addFolder("Many");
  addIncompleteFile(image, many, "CUT");
  path_ = mount(image);
  chooseFromFolderMenu({"Many"}, "Delete Folder");
  answerSheet("Delete");
  ASSERT_EQ(sheet<Alert>()->text(), "Delete folder 'Many' for good?");
  HeldQueue before(*controller_->filesystem());
  clickButton(sheet<Alert>(), "Delete");
  QTest::qWait(100);
  EXPECT_EQ(filesIn("Many"), 1U) << "it is behind the image's other long work";
  medium_.holdFlushes();
  before.letGo();
  waitForBar();
  EXPECT_EQ(what(), "Deleting “Many”");
  letGoAndWait();
  EXPECT_EQ(status(), "Deleted folder 'Many'.");
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
  clickToolbar("UndoItem");
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
  clickToolbar("UndoItem");
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
  clickToolbar("UndoItem");
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

TEST_F(StoppedWork, OfAnImageThatWasUnmountedMeanwhileIsTakenBackOnceThatIsOpenAgain) {
  mountMany(3);
  const Holdings before = holdingsOf(path_);
  medium_.holdFlushes();
  importFiles(manyHostFiles(100));
  waitForBar();
  clickToolbar("UnmountItem");
  stopAndWait();
  EXPECT_FALSE(controller_->undoManager()->canUndo()) << "no image is mounted";
  openImage(path_);
  EXPECT_EQ(undoName(), "Import");
  undoAndWait();
  EXPECT_EQ(holdingsOf(path_), before);
}

TEST_F(StoppedWork, IsNotUndoneWhileItRunsNorIsTheStepBeforeIt) {
  mountMany(3);
  controller_->_newFolder();
  answerWithName("Fresh");
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(undoName(), "New Folder");
  medium_.holdFlushes();
  importFiles(manyHostFiles(100));
  waitForBar();
  EXPECT_FALSE(controller_->undoManager()->canUndo());
  EXPECT_FALSE(toolbarButton("UndoItem")->isEnabled());
  stopAndWait();
  EXPECT_EQ(undoName(), "Import");
  undoAndWait();
  EXPECT_EQ(undoName(), "New Folder");
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
