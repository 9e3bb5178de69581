// An image that is mounted anew while work of its earlier mount has not ended.

#include "app/ContentController.h"
#include "tests/app/Holdings.h"
#include "tests/app/SeveralWindows.h"

#include <QLineEdit>
#include <QTest>
#include <algorithm>

namespace tessary::test {
namespace {

const QString kWaits =
    QStringLiteral("Earlier work on this image is not finished. What you do now waits for it.");
const QString kEnded = QStringLiteral("Earlier work on this image has ended.");
constexpr int kLong = 200; // milliseconds, in which what does not wait would have been done

class MountedAnew : public SeveralWindows {
protected:
  MountedAnew() : one_(open(path_)), held_(std::make_unique<HeldQueue>(*one_->filesystem())) {
    beginImport(one_, "EARLIER", patternBytes(20000, 7));
    chooseFromMenus(one_, "File", QStringLiteral("Unmount"));
  }
  /// Waits for the mounting alone.
  void mountAnewIn(Window window) const {
    window->openImageAtURL(path_);
    ASSERT_TRUE(QTest::qWaitFor([window] { return window->filesystem() != nullptr; }, 30000));
    ASSERT_TRUE(QTest::qWaitFor([window] { return !window->contentCtl()->displayedFiles().empty(); }));
  }
  std::vector<std::string> drums() const { return namesOnImage(path_, {"Drums"}); }
  bool isThere(const char *name) const {
    const std::vector<std::string> names = drums();
    return std::find(names.begin(), names.end(), name) != names.end();
  }
  static void renameFile(Window window, const QString &file, const QString &name) {
    selectFiles(window, {file});
    chooseFromMenus(window, "Edit", QStringLiteral("Rename…"));
    auto *question = sheet<QDialog>(window);
    question->findChild<QLineEdit *>()->setText(name);
    clickButton(question, QStringLiteral("Rename"));
  }
  void letGo() {
    held_->letGo();
    ASSERT_TRUE(waitUntilIdle());
  }

  const std::string path_ = writeVolume("one.hda", 1);
  const Window one_;
  std::unique_ptr<HeldQueue> held_;
};

TEST_F(MountedAnew, SaysThatEarlierWorkIsNotFinishedAndThenThatItIs) {
  mountAnewIn(one_);
  EXPECT_EQ(status(one_), kWaits);
  EXPECT_TRUE(one_->isWorking());
  letGo();
  EXPECT_EQ(status(one_), kEnded);
  EXPECT_TRUE(isThere("EARLIER"));
  EXPECT_TRUE(fileNames(one_).contains("EARLIER")) << "what has come is shown";
  EXPECT_FALSE(one_->isWorking());
}

TEST_F(MountedAnew, LongWorkComesAfterThatOfTheEarlierMount) {
  mountAnewIn(one_);
  beginImport(one_, "LATER", patternBytes(2000, 8));
  QTest::qWait(kLong);
  EXPECT_FALSE(isThere("LATER"));
  letGo();
  const std::vector<std::string> names = drums();
  ASSERT_GE(names.size(), 2U);
  EXPECT_EQ(names[names.size() - 2], "EARLIER") << "in the order in which they were asked for";
  EXPECT_EQ(names.back(), "LATER");
}

TEST_F(MountedAnew, SingleChangeComesAfterTheEarlierWorkToo) {
  mountAnewIn(one_);
  renameFile(one_, "KICK", "LATER");
  QTest::qWait(kLong);
  EXPECT_FALSE(isThere("LATER"));
  letGo();
  EXPECT_TRUE(isThere("LATER"));
  EXPECT_TRUE(isThere("EARLIER"));
}

TEST_F(MountedAnew, InAnotherWindowItWaitsToo) {
  mountAnewIn(one_);
  beginImport(one_, "LATER", patternBytes(2000, 8));
  chooseFromMenus(one_, "File", QStringLiteral("Unmount"));
  const Window other = delegate_->windows().openWindow();
  mountAnewIn(other); // waits for the work of two mounts
  EXPECT_EQ(status(other), kWaits);
  renameFile(other, "KICK", "LAST");
  QTest::qWait(kLong);
  EXPECT_FALSE(isThere("LATER"));
  EXPECT_FALSE(isThere("LAST"));
  letGo();
  EXPECT_TRUE(isThere("EARLIER"));
  EXPECT_TRUE(isThere("LATER"));
  EXPECT_TRUE(isThere("LAST"));
  EXPECT_TRUE(fileNames(other).contains("LATER"));
}

TEST_F(MountedAnew, StepOfTheEarlierMountIsUndoneInTheSameWindow) {
  const Holdings before = holdingsOf(path_);
  mountAnewIn(one_);
  EXPECT_FALSE(one_->undoManager()->canUndo());
  letGo();
  ASSERT_TRUE(one_->undoManager()->canUndo());
  one_->_undo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(holdingsOf(path_), before);
}

// A deletion that had not begun, and is done by the earlier mount.
TEST_F(MountedAnew, DeletionOfTheEarlierMountIsDoneAndUndone) {
  letGo(); // of the import
  mountAnewIn(one_);
  ASSERT_TRUE(waitUntilIdle());
  const Holdings before = holdingsOf(path_);
  held_ = std::make_unique<HeldQueue>(*one_->filesystem());
  selectFiles(one_, {"KICK"});
  chooseFromMenus(one_, "Edit", QStringLiteral("Delete"));
  clickButton(sheet<QDialog>(one_), QStringLiteral("Delete"));
  chooseFromMenus(one_, "File", QStringLiteral("Unmount"));
  mountAnewIn(one_);
  EXPECT_FALSE(one_->undoManager()->canUndo());
  letGo();
  EXPECT_FALSE(isThere("KICK"));
  EXPECT_FALSE(fileNames(one_).contains("KICK"));
  ASSERT_EQ(one_->undoManager()->undoName(), QStringLiteral("Delete"));
  one_->_undo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(holdingsOf(path_), before);
  one_->_undo(); // of the import: what it means was found in this mount
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_FALSE(isThere("EARLIER"));
}

TEST_F(MountedAnew, UndoThatTheEarlierMountHadBegunIsRedone) {
  letGo();
  mountAnewIn(one_);
  ASSERT_TRUE(waitUntilIdle());
  const Holdings before = holdingsOf(path_);
  held_ = std::make_unique<HeldQueue>(*one_->filesystem());
  one_->_undo(); // of the import
  chooseFromMenus(one_, "File", QStringLiteral("Unmount"));
  mountAnewIn(one_);
  letGo();
  EXPECT_FALSE(isThere("EARLIER"));
  ASSERT_EQ(one_->undoManager()->redoName(), QStringLiteral("Import"));
  one_->_redo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(holdingsOf(path_), before);
}

TEST_F(MountedAnew, AnotherImageWaitsForNothing) {
  const std::string other = writeVolume("other.hda", 100);
  one_->openImageAtURL(other);
  ASSERT_TRUE(QTest::qWaitFor([this] { return one_->filesystem() != nullptr; }, 30000));
  beginImport(one_, "LATER", patternBytes(2000, 8));
  EXPECT_TRUE(QTest::qWaitFor([&] { return status(one_) == "Imported 1 file(s)."; }, 30000));
  letGo();
}

TEST_F(MountedAnew, WithoutEarlierWorkNothingIsSaid) {
  letGo();
  mountAnewIn(one_);
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(one_), "Drums — 3 file(s)");
}

} // namespace
} // namespace tessary::test
