#include "app/Spinner.h"
#include "tessary/SerialQueue.h"
#include "tests/app/SheetTest.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/MountedVolume.h"
#include "tests/support/SampleVolumes.h"

#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <thread>

namespace tessary {
namespace {

using test::AlertAnswers;
using test::describe;
using test::filesOnImage;
using test::HeldQueue;
using test::ImageBuilder;
using test::kMiB;
using test::namesOnImage;
using test::patternBytes;
using test::StoredFiles;

enum FolderPosition { kRoot, kA, kA1, kA2, kB }; // of SheetTest::volume() in the pop-up menu

class TransferTest : public test::SheetTest {
protected:
  void askWhereTo(const QString &command, const QStringList &files) {
    chooseFiles(files);
    chooseFromFileMenu(files.first(), command);
  }
  void askWhereToCopy(const QStringList &files) { askWhereTo("Copy to…", files); }
  void askWhereToMove(const QStringList &files) { askWhereTo("Move to…", files); }

  bool spins() const { return controller_->spinner()->isVisible(); }
};

// ---- The question

TEST_F(TransferTest, CopyAsksInASheetForTheDestination) {
  mount(volume());
  askWhereToCopy({"FIRST"});
  const test::ShownAlert asked = describe(question());
  EXPECT_EQ(asked.message, "Copy To Directory");
  EXPECT_EQ(asked.informativeText, "Select a destination directory:");
  EXPECT_EQ(asked.buttons.size(), 2);
  EXPECT_EQ(question().defaultButton()->text(), "Copy");
  EXPECT_EQ(question().escapeButton()->text(), "Cancel");
  EXPECT_EQ(question().windowModality(), Qt::WindowModal);
  EXPECT_EQ(popUp().size(), QSize(260, 26));
  EXPECT_EQ(popUp().currentIndex(), kRoot);
  EXPECT_EQ(question().focusWidget(), &popUp());
  EXPECT_FALSE(popUp().accessibleName().isEmpty());
  EXPECT_GT(popUp().mapTo(&question(), QPoint()).y(),
            question().findChild<QLabel *>("qt_msgbox_informativelabel")->geometry().bottom());
  EXPECT_LT(popUp().mapTo(&question(), popUp().rect().bottomLeft()).y(),
            question().defaultButton()->mapTo(&question(), QPoint()).y());
}

TEST_F(TransferTest, MoveAsksInASheetForTheDestination) {
  mount(volume());
  askWhereToMove({"FIRST"});
  const test::ShownAlert asked = describe(question());
  EXPECT_EQ(asked.message, "Move To Directory");
  EXPECT_EQ(asked.informativeText, "Select a destination directory:");
  EXPECT_EQ(asked.buttons.size(), 2);
  EXPECT_EQ(question().defaultButton()->text(), "Move");
  EXPECT_EQ(question().escapeButton()->text(), "Cancel");
}

TEST_F(TransferTest, FoldersAreListedEachBeforeItsSubfolders) {
  mount(volume());
  askWhereToCopy({"FIRST"});
  EXPECT_EQ(popUpTitles(), QStringList({QString::fromStdString(folder({})->name()), "A", "A1", "A2", "B"}));
}

TEST_F(TransferTest, NamesOfFoldersStandAsTheyAre) {
  ImageBuilder image;
  image.root().addFolder("Drums & &Bass").addFile("FIRST", patternBytes(100));
  image.root().addFolder("<b>bold</b>");
  image.root().addFolder("two\nlines");
  mount(image);
  askWhereToCopy({"FIRST"});
  EXPECT_EQ(popUpTitles().mid(1), QStringList({"Drums & &Bass", "<b>bold</b>", "two\\nlines"}));
}

TEST_F(TransferTest, CancelAndEscapeTransferNothing) {
  const std::string path = mount(volume());
  const QString before = status();
  askWhereToMove({"FIRST"});
  answerWithFolder(kB, "Cancel");
  askWhereToMove({"FIRST"});
  popUp().setCurrentIndex(kB);
  pressKey(Qt::Key_Escape);
  EXPECT_EQ(status(), before);
  EXPECT_EQ(namesOnImage(path, {"A"}).size(), 3U);
}

TEST_F(TransferTest, PositionOutsideTheListOfFoldersTransfersNothing) {
  const std::string path = mount(volume());
  const QString before = status();
  askWhereToMove({"FIRST"});
  answerWithFolder(-1, "Move");
  EXPECT_EQ(status(), before);
  askWhereToMove({"FIRST"});
  popUp().addItem("beyond the last");
  answerWithFolder(kB + 1, "Move");
  EXPECT_EQ(status(), before);
  EXPECT_EQ(beeps_.count(), 0);
  EXPECT_EQ(namesOnImage(path, {"A"}).size(), 3U);
}

TEST_F(TransferTest, DestinationIsChosenByKeyboard) {
  const std::string path = mount(volume());
  askWhereToMove({"FIRST"});
  QTest::keyClick(question().windowHandle(), Qt::Key_End); // the last folder is B
  pressKey(Qt::Key_Return);
  EXPECT_EQ(status(), "Moved 1 file(s).");
  EXPECT_EQ(namesOnImage(path, {"B"}), (std::vector<std::string>{"OTHER", "FIRST"}));
}

TEST_F(TransferTest, WithoutSelectionOrImageOnlyBeeps) {
  controller_->_copyToDir();
  controller_->_moveToDir();
  EXPECT_EQ(beeps_.count(), 2);
  mount(volume());
  controller_->_copyToDir();
  controller_->_moveToDir();
  EXPECT_EQ(beeps_.count(), 4);
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
}

TEST_F(TransferTest, OfAReadOnlyImageOnlyBeeps) {
  mountReadOnly(volume());
  const AlertAnswers alerts;
  askWhereToCopy({"FIRST"});
  EXPECT_EQ(beeps_.count(), 1);
  askWhereToMove({"FIRST"});
  EXPECT_EQ(beeps_.count(), 2);
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
  EXPECT_TRUE(alerts.shown().empty());
}

// ---- The transfer

TEST_F(TransferTest, CopyLeavesTheFilesAndShowsTheDestination) {
  const std::string path = mount(volume());
  const QString spaceBefore = diskSpace();
  askWhereToCopy({"SECOND", "FIRST"});
  answerWithFolder(kB, "Copy");
  EXPECT_EQ(status(), "Copied 2 file(s).");
  EXPECT_EQ(fileNames(), QStringList({"OTHER", "FIRST", "SECOND"})); // in row order
  EXPECT_EQ(highlightedLabel(), "B (3)");
  EXPECT_EQ(outlineLabels(), QStringList({"A (3)", "B (3)"}));
  EXPECT_EQ(controller_->currentDirectory(), folder({"B"}));
  const EMU3FilesystemPtr filesystem = controller_->filesystem();
  EXPECT_EQ(diskSpace(), diskSpaceText(filesystem->usedBlocks(), filesystem->freeBlocks()));
  EXPECT_NE(diskSpace(), spaceBefore);
  EXPECT_FALSE(spins());
  const StoredFiles inA = {
      {"FIRST", patternBytes(600, 1)}, {"SECOND", patternBytes(700, 2)}, {"THIRD", patternBytes(800, 3)}};
  const StoredFiles inB = {
      {"OTHER", patternBytes(900, 4)}, {"FIRST", patternBytes(600, 1)}, {"SECOND", patternBytes(700, 2)}};
  EXPECT_EQ(filesOnImage(path, {"A"}), inA);
  EXPECT_EQ(filesOnImage(path, {"B"}), inB);
}

TEST_F(TransferTest, MoveTakesTheFilesAway) {
  const std::string path = mount(volume());
  askWhereToMove({"FIRST", "THIRD"});
  answerWithFolder(kB, "Move");
  EXPECT_EQ(status(), "Moved 2 file(s).");
  EXPECT_EQ(fileNames(), QStringList({"OTHER", "FIRST", "THIRD"}));
  EXPECT_EQ(outlineLabels(), QStringList({"A (1)", "B (3)"}));
  EXPECT_EQ(filesOnImage(path, {"A"}), (StoredFiles{{"SECOND", patternBytes(700, 2)}}));
  const StoredFiles inB = {
      {"OTHER", patternBytes(900, 4)}, {"FIRST", patternBytes(600, 1)}, {"THIRD", patternBytes(800, 3)}};
  EXPECT_EQ(filesOnImage(path, {"B"}), inB);
}

TEST_F(TransferTest, StatusAndSpinnerTellWhatIsGoingOn) {
  mount(volume());
  for (const bool move : {false, true}) {
    askWhereTo(move ? "Move to…" : "Copy to…", {fileNames().first()});
    HeldQueue held(*controller_->filesystem());
    popUp().setCurrentIndex(kB);
    test::clickButton(&question(), move ? "Move" : "Copy");
    EXPECT_EQ(status(), move ? "Moving…" : "Copying…");
    EXPECT_TRUE(spins());
    held.letGo();
    ASSERT_TRUE(test::waitUntilIdle());
    EXPECT_FALSE(spins());
    EXPECT_EQ(status(), move ? "Moved 1 file(s)." : "Copied 1 file(s).");
  }
}

TEST_F(TransferTest, DestinationInAClosedFolderIsOpenedAndHighlighted) {
  mount(volume());
  askWhereToCopy({"FIRST"});
  answerWithFolder(kA1, "Copy");
  EXPECT_EQ(fileNames(), QStringList({"FIRST"}));
  EXPECT_EQ(controller_->currentDirectory(), folder({"A", "A1"}));
  EXPECT_EQ(highlightedLabel(), "A1 (1)");
  EXPECT_EQ(outlineLabels(), QStringList({"A (3)", "A1 (1)", "A2", "B (1)"}));
  EXPECT_EQ(status(), "Copied 1 file(s).");
}

TEST_F(TransferTest, DestinationInAnOpenFolderIsHighlightedAlone) {
  mount(volume());
  outline()->expand(folderItem({"A"}));
  askWhereToCopy({"FIRST"});
  answerWithFolder(kA2, "Copy");
  EXPECT_EQ(highlightedLabel(), "A2 (1)");
  EXPECT_EQ(outline()->selectionModel()->selectedRows().size(), 1);
  EXPECT_EQ(outlineLabels(), QStringList({"A (3)", "A1", "A2 (1)", "B (1)"}));
}

TEST_F(TransferTest, RootAsDestinationIsShown) {
  const std::string path = mount(volume());
  askWhereToMove({"FIRST"});
  answerWithFolder(kRoot, "Move");
  EXPECT_EQ(fileNames(), QStringList({"FIRST"}));
  EXPECT_EQ(highlightedLabel(), QString()); // the root has no row
  EXPECT_EQ(controller_->currentDirectory(), folder({}));
  EXPECT_EQ(namesOnImage(path, {}), (std::vector<std::string>{"FIRST"}));
}

TEST_F(TransferTest, DestinationFarDownIsScrolledIntoView) {
  ImageBuilder image;
  test::FolderBuilder first = image.root().addFolder("FIRST", {.blockCount = 2});
  first.addFile("FILE", patternBytes(100));
  test::FolderBuilder many = image.root().addFolder("MANY", {.blockCount = 7});
  for (int number = 0; number < 100; ++number)
    many.addFolder("Sub " + std::to_string(number));
  mount(image);
  outline()->expand(folderItem({"MANY"}));
  askWhereToCopy({"FILE"});
  answerWithFolder(popUp().count() - 1, "Copy");
  EXPECT_EQ(highlightedLabel(), "Sub 99 (1)");
  EXPECT_TRUE(highlightedRowIsInSight());
}

TEST_F(TransferTest, FoldersOfOneNameStayApart) {
  ImageBuilder image;
  image.root().addFolder("SAME").addFile("FIRST", patternBytes(100));
  for (const char *file : {"ONE", "TWO", "THREE"})
    image.root().addFolder("SAME").addFile(file, patternBytes(100));
  mount(image);
  askWhereToCopy({"FIRST"});
  EXPECT_EQ(popUpTitles().mid(1), QStringList({"SAME", "SAME", "SAME", "SAME"}));
  answerWithFolder(3, "Copy");
  EXPECT_EQ(fileNames(), QStringList({"TWO", "FIRST"}));
}

TEST_F(TransferTest, FileThatDoesNotFitIsLoggedAndCounted) {
  ImageBuilder image({.sizeBytes = 4 * kMiB});
  test::FolderBuilder a = image.root().addFolder("A");
  a.addFile("SMALL", patternBytes(600, 1));
  a.addFile("LARGE", patternBytes(2 * kMiB, 2));
  a.addFile("TINY", patternBytes(10, 3));
  image.root().addFolder("B");
  const std::string path = mount(image);
  const test::CapturedLog log;
  const AlertAnswers alerts;
  askWhereToCopy({"SMALL", "LARGE", "TINY"});
  answerWithFolder(2, "Copy");
  EXPECT_EQ(status(), "Copied 2 file(s) (1 failed).");
  EXPECT_EQ(fileNames(), QStringList({"SMALL", "TINY"}));
  EXPECT_EQ(highlightedLabel(), "B (2)");
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_TRUE(log.lines()[0].starts_with("Transfer failed: Error Domain=com.tessary.error Code=4 \""))
      << log.lines()[0];
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_TRUE(alerts.shown()[0].failures.value(0).startsWith("LARGE: "));
  const StoredFiles inB = {{"SMALL", patternBytes(600, 1)}, {"TINY", patternBytes(10, 3)}};
  EXPECT_EQ(filesOnImage(path, {"B"}), inB);
}

TEST_F(TransferTest, MoveThatFailsWholeCountsNothingMoved) {
  const AlertAnswers alerts;
  ImageBuilder image;
  test::FolderBuilder a = image.root().addFolder("A");
  a.addFile("FIRST", patternBytes(100));
  a.addFile("SECOND", patternBytes(100));
  test::FolderBuilder full = image.root().addFolder("FULL", {.blockCount = 7});
  for (int number = 0; number < 112; ++number)
    full.addFolder("Sub " + std::to_string(number));
  const std::string path = mount(image);
  const test::Bytes before = test::readBytes(path);
  const test::CapturedLog log;
  askWhereToMove({"FIRST", "SECOND"});
  answerWithFolder(2, "Move");
  EXPECT_EQ(status(), "Moved 0 file(s) (2 failed).");
  EXPECT_EQ(log.lines(), std::vector<std::string>(2, "Transfer failed: Error Domain=com.tessary.error Code=7 "
                                                     "\"Destination directory is full\""));
  EXPECT_EQ(highlightedLabel(), "FULL");
  EXPECT_EQ(namesOnImage(path, {"A"}).size(), 2U);
  EXPECT_EQ(test::readBytes(path), before);
}

TEST_F(TransferTest, IntoAFullFolderMakesThatGrow) {
  ImageBuilder image;
  test::FolderBuilder a = image.root().addFolder("A");
  for (int number = 0; number < 3; ++number)
    a.addFile("File " + std::to_string(number), patternBytes(100));
  test::FolderBuilder full = image.root().addFolder("FULL");
  for (int number = 0; number < 16; ++number)
    full.addFolder("Sub " + std::to_string(number));
  const std::string path = mount(image);
  askWhereToMove({"File 0", "File 1"});
  answerWithFolder(2, "Move");
  EXPECT_EQ(status(), "Moved 2 file(s).");
  chooseFolder({"A"});
  askWhereToCopy({"File 2"});
  answerWithFolder(2, "Copy");
  EXPECT_EQ(fileNames(), QStringList({"File 0", "File 1", "File 2"}));
  EXPECT_EQ(namesOnImage(path, {"FULL"}), (std::vector<std::string>{"File 0", "File 1", "File 2"}));
}

TEST_F(TransferTest, CopyAndMoveKeepKindAndWholeName) {
  ImageBuilder image;
  test::FolderBuilder a = image.root().addFolder("A");
  a.addFile("SIXTEEN OF THEM!", patternBytes(600, 1), {.type = 0x80});
  a.addFile("\xFFRAW", patternBytes(700, 2), {.type = 0x82});
  image.root().addFolder("B");
  mount(image);
  askWhereToCopy({"SIXTEEN OF THEM!", "%FFRAW"});
  answerWithFolder(2, "Copy");
  EXPECT_EQ(fileNames(), QStringList({"SIXTEEN OF THEM!", "%FFRAW"}));
  EXPECT_EQ(test::rowTexts(*table()->model(), 0)[1], "System");
  EXPECT_EQ(test::rowTexts(*table()->model(), 1)[1], "File");
  askWhereToMove({"SIXTEEN OF THEM!", "%FFRAW"});
  answerWithFolder(0, "Move");
  EXPECT_EQ(fileNames(), QStringList({"SIXTEEN OF THEM!", "%FFRAW"}));
  EXPECT_EQ(test::rowTexts(*table()->model(), 0)[1], "System");
  EXPECT_EQ(test::rowTexts(*table()->model(), 1)[1], "File");
}

TEST_F(TransferTest, MoveNeedsNoRoomAndLeavesTheFigures) {
  ImageBuilder image;
  image.root().addFolder("A").addFile("LARGE", patternBytes(3 * kMiB, 1));
  image.root().addFolder("B");
  const std::string path = mount(image);
  const QString space = diskSpace();
  askWhereToMove({"LARGE"});
  answerWithFolder(2, "Move");
  EXPECT_EQ(status(), "Moved 1 file(s).");
  EXPECT_EQ(diskSpace(), space);
  EXPECT_EQ(filesOnImage(path, {"B"}), (StoredFiles{{"LARGE", patternBytes(3 * kMiB, 1)}}));
}

TEST_F(TransferTest, CopyUsesRoomThatIsFreeBelowTheLastFile) {
  ImageBuilder image({.sizeBytes = 4 * kMiB});
  test::FolderBuilder a = image.root().addFolder("A");
  a.addFile("SMALL", patternBytes(600, 1));
  const auto lastSlot = static_cast<std::uint16_t>((image.totalBlocks() - image.dataAreaBlock()) /
                                                   image.slotSizeBlocks()); // the last whole one
  a.addFile("LAST", patternBytes(700, 2), {.slot = lastSlot});
  image.root().addFolder("B");
  const std::string path = mount(image);
  askWhereToCopy({"SMALL", "LAST"});
  answerWithFolder(2, "Copy");
  EXPECT_EQ(status(), "Copied 2 file(s).");
  const StoredFiles both = {{"SMALL", patternBytes(600, 1)}, {"LAST", patternBytes(700, 2)}};
  EXPECT_EQ(filesOnImage(path, {"A"}), both);
  EXPECT_EQ(filesOnImage(path, {"B"}), both);
}

TEST_F(TransferTest, CopyOfIncompleteContentsFailsAndMoveDoesNot) {
  const AlertAnswers alerts;
  ImageBuilder image;
  test::FolderBuilder a = image.root().addFolder("A");
  addIncompleteFile(image, a, "CUT");
  a.addFile("WHOLE", patternBytes(100));
  image.root().addFolder("B");
  const std::string path = mount(image);
  const test::CapturedLog log;
  askWhereToCopy({"CUT", "WHOLE"});
  answerWithFolder(2, "Copy");
  EXPECT_EQ(status(), "Copied 1 file(s) (1 failed).");
  EXPECT_EQ(log.lines(), std::vector<std::string>{"Transfer failed: Error Domain=com.tessary.error Code=2 "
                                                  "\"File contents are incomplete\""});
  EXPECT_EQ(namesOnImage(path, {"B"}), std::vector<std::string>{"WHOLE"});
  chooseFolder({"A"});
  askWhereToMove({"CUT"});
  answerWithFolder(2, "Move");
  EXPECT_EQ(status(), "Moved 1 file(s).") << "nothing is read for it";
  EXPECT_EQ(namesOnImage(path, {"B"}), (std::vector<std::string>{"WHOLE", "CUT"}));
}

TEST_F(TransferTest, MoveIntoTheSourceFolderCountsAndChangesNothing) {
  const std::string path = mount(volume());
  const test::Bytes before = test::readBytes(path);
  askWhereToMove({"FIRST", "SECOND", "THIRD"});
  answerWithFolder(kA, "Move");
  EXPECT_EQ(status(), "Moved 3 file(s).");
  EXPECT_EQ(fileNames(), QStringList({"FIRST", "SECOND", "THIRD"}));
  EXPECT_EQ(test::readBytes(path), before);
}

TEST_F(TransferTest, CopyIntoTheSourceFolderMakesSecondFilesOfTheName) {
  const std::string path = mount(volume());
  askWhereToCopy({"FIRST", "SECOND"});
  answerWithFolder(kA, "Copy");
  EXPECT_EQ(status(), "Copied 2 file(s).");
  EXPECT_EQ(fileNames(), QStringList({"FIRST", "SECOND", "THIRD", "FIRST", "SECOND"}));
  EXPECT_EQ(namesOnImage(path, {"A"}),
            (std::vector<std::string>{"FIRST", "SECOND", "THIRD", "FIRST", "SECOND"}));
}

// ---- What changes meanwhile

TEST_F(TransferTest, FilesAreTakenFromTheirFolderWhateverIsShownWhenTheSheetIsAnswered) {
  const std::string path = mount(volume());
  askWhereToMove({"FIRST"});
  outline()->setCurrentIndex(folderItem({"B"}));
  answerWithFolder(kA2, "Move");
  EXPECT_EQ(status(), "Moved 1 file(s).");
  EXPECT_EQ(namesOnImage(path, {"A"}).size(), 2U);
  EXPECT_EQ(namesOnImage(path, {"A", "A2"}), std::vector<std::string>{"FIRST"});
}

TEST_F(TransferTest, AnswerAfterTheImageWasReplacedDoesNothing) {
  const std::string path = mount(volume());
  askWhereToMove({"FIRST"});
  popUp().setCurrentIndex(kB);
  mount(volume(), "other.hda");
  const QString before = status();
  answerSheet("Move");
  EXPECT_EQ(status(), before);
  EXPECT_FALSE(spins());
  EXPECT_EQ(namesOnImage(path, {"A"}).size(), 3U);
  EXPECT_EQ(namesOnImage(folder_.path("other.hda"), {"A"}).size(), 3U);
}

TEST_F(TransferTest, OfAnImageReplacedMeanwhileOnlyStopsTheSpinner) {
  const std::string path = mount(volume());
  askWhereToCopy({"FIRST"});
  HeldQueue held(*controller_->filesystem());
  popUp().setCurrentIndex(kB);
  test::clickButton(&question(), "Copy");
  EXPECT_TRUE(spins());
  controller_->_unmountImage();
  EXPECT_TRUE(spins());
  held.letGo();
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_FALSE(spins());
  EXPECT_EQ(status(), "No image loaded");
  EXPECT_EQ(diskSpace(), "");
  EXPECT_EQ(table()->model()->rowCount(), 0);
  EXPECT_EQ(namesOnImage(path, {"B"}), (std::vector<std::string>{"OTHER", "FIRST"})); // it was done
}

TEST_F(TransferTest, IntoAFolderDeletedMeanwhileFailsAndDoesNotShowIt) {
  const AlertAnswers alerts;
  const std::string path = mount(volume());
  const test::CapturedLog log;
  askWhereToCopy({"FIRST"});
  HeldQueue held(*controller_->filesystem());
  popUp().setCurrentIndex(kB);
  test::clickButton(&question(), "Copy");
  ASSERT_TRUE(controller_->filesystem()->deleteDirectory(folder({"B"}), folder({})));
  const test::Bytes deleted = test::readBytes(path);
  held.letGo();
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), "Copied 0 file(s) (1 failed).");
  EXPECT_EQ(log.lines(), std::vector<std::string>{"Transfer failed: Error Domain=com.tessary.error Code=5 "
                                                  "\"Dentry block not found\""});
  EXPECT_EQ(controller_->currentDirectory(), folder({"A"}));
  EXPECT_EQ(fileNames(), QStringList({"FIRST", "SECOND", "THIRD"}));
  EXPECT_EQ(test::readBytes(path), deleted);
}

TEST_F(TransferTest, FilesMovedIntoAFolderDeletedBeforeThatIsShownAreListedNoMore) {
  mount(volume());
  const EMU3DirectoryPtr b = folder({"B"});
  askWhereToMove({"FIRST", "THIRD"});
  popUp().setCurrentIndex(kB);
  test::clickButton(&question(), "Move");
  // The files move while the main thread waits here; that they did reaches it later.
  while (SerialQueue::pendingBlocks() > 0)
    std::this_thread::yield();
  ASSERT_EQ(b->allFiles().size(), 3U);
  ASSERT_TRUE(controller_->filesystem()->deleteDirectory(b, folder({})));
  ASSERT_EQ(fileNames(), QStringList({"FIRST", "SECOND", "THIRD"}));
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), "Moved 2 file(s).");
  EXPECT_EQ(fileNames(), QStringList({"SECOND"}));
  EXPECT_EQ(outlineLabels(), QStringList({"A (1)"}));
  EXPECT_EQ(controller_->currentDirectory(), folder({"A"}));
}

TEST_F(TransferTest, FileDeletedMeanwhileFails) {
  const AlertAnswers alerts;
  const std::string path = mount(volume());
  const test::CapturedLog log;
  askWhereToCopy({"FIRST", "THIRD"});
  HeldQueue held(*controller_->filesystem());
  popUp().setCurrentIndex(kB);
  test::clickButton(&question(), "Copy");
  ASSERT_TRUE(controller_->filesystem()->deleteFile(test::fileNamed(folder({"A"}), "FIRST"), folder({"A"})));
  held.letGo();
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), "Copied 1 file(s) (1 failed).");
  EXPECT_EQ(namesOnImage(path, {"B"}), (std::vector<std::string>{"OTHER", "THIRD"}));
}

// ---- Depth

TEST_F(TransferTest, EveryOneOf32000NestedFoldersCanBeChosen) {
  ImageBuilder image = test::nestedVolume(32000);
  image.root().addFile("FILE", patternBytes(100));
  const std::string path = mount(image);
  outline()->selectionModel()->clear(); // shows the root
  askWhereToCopy({"FILE"});
  EXPECT_EQ(popUp().count(), 32001);
  answerWithFolder(32000, "Copy");
  EXPECT_EQ(status(), "Copied 1 file(s).");
  EXPECT_EQ(fileNames(), QStringList({"At the bottom", "FILE"}));
}

} // namespace
} // namespace tessary
