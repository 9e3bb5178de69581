// What is asked when a window is closed, or the program ends, while work is running.

#include "app/Alert.h"
#include "app/ContentController.h"
#include "tests/app/SeveralWindows.h"
#include "tests/support/MediumFaults.h"

#include <QApplication>
#include <QTest>
#include <filesystem>

namespace tessary::test {
namespace {

class WorkQuestions : public SeveralWindows {
protected:
  WorkQuestions() : one_(open(onePath_)), other_(open(otherPath_)) {}

  /// Holds the queue of the window's image and begins an import on it.
  std::unique_ptr<HeldQueue> holdImport(Window window) const {
    auto held = std::make_unique<HeldQueue>(*window->filesystem());
    beginImport(window, kName, kContents);
    return held;
  }
  static bool hasImport(const std::string &path) {
    const StoredFiles files = filesOnImage(path, {"Drums"});
    return std::find(files.begin(), files.end(), StoredFile(kName, kContents)) != files.end();
  }
  /// The question whether to quit; null when it is not up.
  static Alert *quitQuestion() { return qobject_cast<Alert *>(QApplication::activeModalWidget()); }
  /// Runs the application until it ends by itself, which has to be soon.
  static void runToEnd() {
    QTimer limit;
    limit.callOnTimeout([] { QCoreApplication::exit(1); });
    limit.start(30000);
    EXPECT_EQ(QApplication::exec(), 0) << "it has not ended by itself";
  }

  static inline const std::string kName = "IMPORTED";
  static inline const Bytes kContents = patternBytes(20000, 7);
  const std::string onePath_ = writeVolume("one.hda", 1);
  const std::string otherPath_ = writeVolume("other.hda", 100);
  const Window one_, other_;
};

// ---- Closing a window

TEST_F(WorkQuestions, WindowWithoutWorkClosesAtOnce) {
  other_->window()->close();
  EXPECT_FALSE(other_->window()->isVisible());
  EXPECT_EQ(windows(), std::vector<Window>{one_});
}

TEST_F(WorkQuestions, WindowThatIsReadingWhatItShowsClosesAtOnce) {
  const HeldQueue held(*other_->filesystem());
  other_->_showRoot(); // whose details wait to be read
  other_->window()->close();
  EXPECT_EQ(windows(), std::vector<Window>{one_});
}

TEST_F(WorkQuestions, ClosingAsksWhereWorkRuns) {
  const auto held = holdImport(other_);
  other_->window()->close();
  EXPECT_TRUE(other_->window()->isVisible());
  const ShownAlert asked = describe(*sheet<Alert>(other_));
  EXPECT_EQ(asked.message, QStringLiteral("Close the window while work is running?"));
  EXPECT_EQ(asked.informativeText,
            QStringLiteral("Work on “other.hda” is not finished. “Close” lets it go on without the window; "
                           "nothing more is told of it. “Stop and Close” ends it after the item in progress: "
                           "what was done stays, the rest is not done."));
  EXPECT_EQ(asked.buttons, (QStringList{"Close", "Stop and Close", "Cancel"}));
  EXPECT_EQ(sheet<Alert>(other_)->defaultButton()->text(), QStringLiteral("Close"));
  EXPECT_EQ(sheet<Alert>(other_)->windowModality(), Qt::WindowModal);
  clickButton(sheet<Alert>(other_), QStringLiteral("Cancel"));
  EXPECT_TRUE(other_->window()->isVisible());
  EXPECT_EQ(windows().size(), 2U);
}

TEST_F(WorkQuestions, WindowThatTheUserAgreesToCloseFinishesItsWorkAndThenEnds) {
  auto held = holdImport(other_);
  const QPointer<MainWindowController> closed = other_;
  const AlertAnswers alerts;
  other_->window()->close();
  clickButton(sheet<Alert>(other_), QStringLiteral("Close"));
  EXPECT_EQ(windows(), std::vector<Window>{one_});
  EXPECT_FALSE(closed->window()->isVisible());
  QTest::qWait(200);
  EXPECT_FALSE(closed.isNull()) << "its work is not done yet";
  held->letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_TRUE(QTest::qWaitFor([&] { return closed.isNull(); }));
  EXPECT_TRUE(hasImport(otherPath_));
  EXPECT_TRUE(alerts.shown().empty());
}

TEST_F(WorkQuestions, WorkOnAnImageThatWasUnmountedCountsToo) {
  const auto held = holdImport(other_);
  chooseFromMenus(other_, "File", QStringLiteral("Unmount"));
  other_->window()->close();
  EXPECT_TRUE(describe(*sheet<Alert>(other_))
                  .informativeText.startsWith(
                      QStringLiteral("Work on an image that was unmounted is not finished.")));
  clickButton(sheet<Alert>(other_), QStringLiteral("Cancel"));
}

TEST_F(WorkQuestions, StopAndCloseBeginsNothingThatWaits) {
  auto held = holdImport(other_);
  selectFiles(other_, {"KICK"});
  chooseFromMenus(other_, "Edit", QStringLiteral("Delete"));
  clickButton(sheet<Alert>(other_), QStringLiteral("Delete"));
  const QPointer<MainWindowController> closed = other_;
  const Bytes before = readBytes(otherPath_);
  const AlertAnswers alerts;
  other_->window()->close();
  clickButton(sheet<Alert>(other_), QStringLiteral("Stop and Close"));
  EXPECT_EQ(windows(), std::vector<Window>{one_});
  held->letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_TRUE(QTest::qWaitFor([&] { return closed.isNull(); }));
  EXPECT_EQ(readBytes(otherPath_), before);
  EXPECT_TRUE(alerts.shown().empty());
}

TEST_F(WorkQuestions, StopAndCloseLeavesTheOtherWindowsWorkAlone) {
  const auto heldOne = holdImport(one_), heldOther = holdImport(other_);
  other_->window()->close();
  clickButton(sheet<Alert>(other_), QStringLiteral("Stop and Close"));
  heldOne->letGo();
  heldOther->letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_TRUE(hasImport(onePath_));
  EXPECT_FALSE(hasImport(otherPath_));
}

TEST_F(WorkQuestions, AnswerCountsThoughAnotherImageIsShownMeanwhile) {
  const auto held = holdImport(other_);
  other_->window()->close();
  other_->openImageAtURL(writeVolume("third.hda", 7));
  ASSERT_TRUE(QTest::qWaitFor([this] { return title(other_) == "Tessary — third.hda"; }, 30000));
  clickButton(sheet<Alert>(other_), QStringLiteral("Close"));
  EXPECT_EQ(windows(), std::vector<Window>{one_});
}

// ---- Quitting

TEST_F(WorkQuestions, StopAndQuitEndsWorkAfterTheItemsInProgressAndKeepsThose) {
  constexpr int files = 100, group = 64; // those go to the medium together
  MediumFaults medium;
  medium.holdFlushes();
  chooseFromMenus(other_, "File", QStringLiteral("Import…"));
  std::vector<std::string> paths;
  for (int i = 0; i < files; ++i) {
    paths.push_back(folder_.path("many/F" + std::to_string(1000 + i) + ".E4B"));
    std::filesystem::create_directories(folder_.path("many"));
    writeBytes(paths.back(), patternBytes(10));
  }
  choosePaths(sheet<QFileDialog>(other_), paths);
  ASSERT_TRUE(QTest::qWaitFor([&] { return medium.waiting() > 0; }, 30000));
  const auto heldOne = holdImport(one_); // waits, and does not begin
  delegate_->terminate();
  ASSERT_NE(quitQuestion(), nullptr);
  clickButton(quitQuestion(), QStringLiteral("Stop and Quit"));
  const AlertAnswers alerts;
  QTimer::singleShot(50, one_, [&] {
    medium.letGo();
    heldOne->letGo();
  });
  runToEnd();
  EXPECT_EQ(namesOnImage(otherPath_, {"Drums"}).size(), 2U + group);
  EXPECT_FALSE(hasImport(onePath_));
  EXPECT_TRUE(alerts.shown().empty());
}

TEST_F(WorkQuestions, StopAndQuitStopsTheWorkOfWindowsClosedBeforeToo) {
  const auto heldOne = holdImport(one_), heldOther = holdImport(other_);
  other_->window()->close();
  clickButton(sheet<Alert>(other_), QStringLiteral("Close"));
  delegate_->terminate();
  ASSERT_NE(quitQuestion(), nullptr);
  clickButton(quitQuestion(), QStringLiteral("Stop and Quit"));
  QTimer::singleShot(50, one_, [&] {
    heldOne->letGo();
    heldOther->letGo();
  });
  runToEnd();
  EXPECT_FALSE(hasImport(onePath_));
  EXPECT_FALSE(hasImport(otherPath_));
}

TEST_F(WorkQuestions, StopAndQuitFinishesAnUndoSinceItsCopiesGoWithTheWindow) {
  const StoredFiles before = filesOnImage(otherPath_, {"Drums"});
  selectFiles(other_, {"KICK"});
  chooseFromMenus(other_, "Edit", QStringLiteral("Delete"));
  clickButton(sheet<Alert>(other_), QStringLiteral("Delete"));
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_NE(filesOnImage(otherPath_, {"Drums"}), before);
  auto held = std::make_unique<HeldQueue>(*other_->filesystem());
  other_->undoManager()->undo(); // waits for its turn
  delegate_->terminate();
  ASSERT_NE(quitQuestion(), nullptr);
  clickButton(quitQuestion(), QStringLiteral("Stop and Quit"));
  QTimer::singleShot(50, one_, [&] { held->letGo(); });
  runToEnd();
  EXPECT_EQ(filesOnImage(otherPath_, {"Drums"}), before);
}

TEST_F(WorkQuestions, StopAndCloseFinishesAFolderThatIsBeingBroughtBack) {
  MediumFaults medium;
  const Bytes before = readBytes(otherPath_);
  chooseFromMenus(other_, "Folder", QStringLiteral("Delete Folder"));
  clickButton(sheet<Alert>(other_), QStringLiteral("Delete"));
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_NE(readBytes(otherPath_), before);
  medium.holdFlushes();
  other_->undoManager()->undo();
  ASSERT_TRUE(QTest::qWaitFor([&] { return medium.waiting() > 0; }, 30000));
  other_->window()->close();
  clickButton(sheet<Alert>(other_), QStringLiteral("Stop and Close"));
  medium.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(namesOnImage(otherPath_, {"Drums"}).size(), 2U);
}

TEST_F(WorkQuestions, QuittingAsksAboutTheWorkOfAWindowThatWasClosedBefore) {
  const auto held = holdImport(other_);
  other_->window()->close();
  clickButton(sheet<Alert>(other_), QStringLiteral("Close"));
  delegate_->terminate();
  ASSERT_NE(quitQuestion(), nullptr);
  EXPECT_TRUE(describe(*quitQuestion()).informativeText.contains(QStringLiteral("other.hda")));
  clickButton(quitQuestion(), QStringLiteral("Cancel"));
  held->letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_TRUE(hasImport(otherPath_));
}

TEST_F(WorkQuestions, CancelledTheWorkGoesOn) {
  const auto held = holdImport(other_);
  delegate_->terminate();
  clickButton(quitQuestion(), QStringLiteral("Cancel"));
  held->letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_TRUE(hasImport(otherPath_));
}

TEST_F(WorkQuestions, QuittingNamesTheImageThatIsWorkedOn) {
  const auto held = holdImport(other_);
  chooseFromMenus(one_, "Tessary", QStringLiteral("Quit Tessary"));
  ASSERT_NE(quitQuestion(), nullptr);
  const ShownAlert asked = describe(*quitQuestion());
  EXPECT_EQ(asked.message, QStringLiteral("Quit while work is running?"));
  EXPECT_EQ(asked.informativeText,
            QStringLiteral("Work on “other.hda” is not finished. “Quit” lets it go on; Tessary ends when all "
                           "of it is done. “Stop and Quit” ends it after the item in progress: what was done "
                           "stays, the rest is not done."));
  EXPECT_EQ(asked.buttons, (QStringList{"Quit", "Stop and Quit", "Cancel"}));
  EXPECT_EQ(quitQuestion()->defaultButton()->text(), QStringLiteral("Quit"));
  clickButton(quitQuestion(), QStringLiteral("Cancel"));
  EXPECT_EQ(quitQuestion(), nullptr);
  EXPECT_TRUE(one_->window()->isVisible());
  EXPECT_TRUE(other_->window()->isVisible());
}

TEST_F(WorkQuestions, QuittingAsksOnceForAllImagesAndThenFinishesTheWork) {
  const auto heldOne = holdImport(one_), heldOther = holdImport(other_);
  delegate_->terminate();
  ASSERT_NE(quitQuestion(), nullptr);
  EXPECT_TRUE(
      quitQuestion()->informativeText().startsWith(QStringLiteral("Work on 2 images is not finished.")));
  const Alert *question = quitQuestion();
  delegate_->terminate(); // asked again meanwhile
  EXPECT_EQ(quitQuestion(), question);
  clickButton(quitQuestion(), QStringLiteral("Quit"));
  EXPECT_FALSE(one_->window()->isVisible());
  EXPECT_FALSE(other_->window()->isVisible());
  const AlertAnswers alerts;
  QTimer::singleShot(50, one_, [&] {
    heldOne->letGo();
    heldOther->letGo();
  });
  runToEnd();
  EXPECT_TRUE(hasImport(onePath_));
  EXPECT_TRUE(hasImport(otherPath_));
  EXPECT_TRUE(alerts.shown().empty());
}

TEST_F(WorkQuestions, WorkOfWindowsClosedBeforeIsFinishedWithoutAskingAgain) {
  const auto held = holdImport(other_);
  other_->window()->close();
  clickButton(sheet<Alert>(other_), QStringLiteral("Close"));
  QTimer::singleShot(50, one_, [&] { held->letGo(); });
  one_->window()->close(); // the last one
  EXPECT_EQ(quitQuestion(), nullptr);
  runToEnd();
  EXPECT_TRUE(hasImport(otherPath_));
}

TEST_F(WorkQuestions, EndOfTheSessionAsksToo) {
  const auto held = holdImport(other_);
  QEvent ending(QEvent::Quit);
  QApplication::sendEvent(qApp, &ending);
  ASSERT_NE(quitQuestion(), nullptr);
  EXPECT_FALSE(ending.isAccepted()) << "it may still be refused";
  clickButton(quitQuestion(), QStringLiteral("Cancel"));
  EXPECT_TRUE(other_->window()->isVisible());
}

TEST_F(WorkQuestions, QuestionComesAboveTheOneThatIsUp) {
  const auto held = holdImport(other_);
  selectFiles(one_, {"KICK"});
  chooseFromMenus(one_, "Edit", QStringLiteral("Delete"));
  const QPointer<Alert> deleting = sheet<Alert>(one_);
  delegate_->terminate();
  ASSERT_NE(quitQuestion(), nullptr);
  ASSERT_NE(quitQuestion(), deleting);
  QTimer::singleShot(50, one_, [&] { held->letGo(); });
  clickButton(quitQuestion(), QStringLiteral("Quit"));
  runToEnd();
  EXPECT_TRUE(hasImport(otherPath_));
  EXPECT_EQ(namesOnImage(onePath_, {"Drums"}).size(), 2U) << "a question that is open counts as no";
}

} // namespace
} // namespace tessary::test
