#include "app/Alert.h"
#include "app/FindingsModel.h"
#include "app/FindingsPanel.h"
#include "app/Spinner.h"
#include "app/StatusBar.h"
#include "app/progress/WorkBar.h"
#include "tests/app/Contrast.h"
#include "tests/app/FileDrag.h"
#include "tests/app/PaletteGuard.h"
#include "tests/app/SheetTest.h"
#include "tests/support/MountedVolume.h"
#include "tests/support/SampleVolumes.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QLabel>
#include <QMenuBar>
#include <QPushButton>
#include <QTest>
#include <algorithm>

namespace tessary::test {
namespace {

/// The window with its menu bar, and the list of findings.
class CheckImage : public SheetTest {
protected:
  CheckImage() { putMenuBar(); }

  /// "KICK" in "Drums" has the same blocks as "LOW" in "Toms" below it, a folder "Gone" has one block beyond
  /// the image's end, no entry leads to a folder any more, and a size is odd.
  static ImageBuilder damaged() {
    ImageBuilder image;
    FolderBuilder drums = image.root().addFolder("Drums");
    drums.addFile("KICK", patternBytes(600, 1), {.slot = 1});
    drums.addFile("SNARE", patternBytes(600, 2), {.slot = 2});
    FolderBuilder toms = drums.addFolder("Toms");
    toms.addFile("HIGH", patternBytes(600, 3), {.slot = 3});
    toms.addFile("LOW", patternBytes(600, 1), {.slot = 1});
    const auto spare = static_cast<std::int16_t>(image.dataAreaBlock() - 1);
    image.root().addFolder("Gone", {.blockList = {spare, 20000}});
    image.root().addFile("NOTES", bytesOf("notes"), {.bytesInLastBlock = 600});
    FolderBuilder lost = image.root().addFolder("Lost");
    lost.addFile("PAD", patternBytes(700, 4), {.slot = 9});
    image.pokeEntry(lost.place(), RawEntry{});
    return image;
  }
  // Its findings, in the order of the list.
  enum Finding { kGone, kLow, kLost, kNotes, kFindings };

  static ImageBuilder sound() {
    ImageBuilder image;
    image.root().addFolder("Drums").addFile("KICK", patternBytes(600, 1));
    return image;
  }
  void doubleClick(int row) const {
    const QPoint place = list()->visualRect(list()->model()->index(row, 1)).center();
    QTest::mouseDClick(panel()->windowHandle(), Qt::LeftButton, {},
                       list()->viewport()->mapTo(panel(), place));
  }
  /// Opens the image in place of one whose queue is held.
  void replaceBy(const ImageBuilder &image) {
    const EMU3FilesystemPtr before = controller_->filesystem();
    controller_->openImageAtURL(writeImage(image, "other.hda"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return controller_->filesystem() != before; }, 30000));
  }
  QAction *item() const { return menuItem("File", "Check Image…"); }
  void chooseCheck() const {
    activate(window());
    chooseFromMenuBar(window()->menuBar(), QStringLiteral("File"), QStringLiteral("Check Image…"));
  }
  void check() const {
    chooseCheck();
    ASSERT_TRUE(waitUntilIdle());
  }
  void mountAndCheck(const ImageBuilder &image) {
    mount(image);
    check();
    ASSERT_NE(panel(), nullptr);
    QCoreApplication::processEvents();
  }

  FindingsPanel *panel() const {
    for (auto *panel : window()->findChildren<FindingsPanel *>())
      if (panel->isVisible()) return panel;
    return nullptr;
  }
  QTableView *list() const { return panel()->findChild<QTableView *>(); }
  QPushButton *button(const QString &text) const {
    for (auto *button : panel()->findChildren<QPushButton *>())
      if (button->text() == text) return button;
    throw std::runtime_error("the panel has no button " + text.toStdString());
  }
  QString summary() const { return panel()->findChild<QLabel *>()->text(); }
  QStringList column(int column) const {
    QStringList texts;
    for (int row = 0; row < list()->model()->rowCount(); ++row)
      texts += list()->model()->index(row, column).data().toString();
    return texts;
  }
  void chooseFinding(int row, Qt::KeyboardModifiers modifiers = {}) const {
    clickRow(list(), list()->model()->index(row, 0), Qt::LeftButton, modifiers);
  }
  bool canGoTo() const { return button(QStringLiteral("Go To"))->isEnabled(); }
  void goTo(int row) const {
    chooseFinding(row);
    ASSERT_TRUE(canGoTo());
    clickButton(panel(), QStringLiteral("Go To"));
  }
  static QString clipboard() { return QGuiApplication::clipboard()->text(); }
};

// ---- The command

TEST_F(CheckImage, IsDisabledWithoutAnImage) {
  EXPECT_FALSE(item()->isEnabled());
  check();
  EXPECT_EQ(panel(), nullptr);
  mount(sound());
  EXPECT_TRUE(item()->isEnabled());
  clickToolbar("UnmountItem");
  EXPECT_FALSE(item()->isEnabled());
}

TEST_F(CheckImage, RunsOnTheQueueWithTheSpinnerAndOnceAtATime) {
  mount(damaged());
  HeldQueue queue(*controller_->filesystem());
  chooseCheck();
  EXPECT_EQ(status(), "Checking…");
  EXPECT_EQ(controller_->spinner()->users(), 1);
  EXPECT_FALSE(item()->isEnabled());
  chooseCheck();
  EXPECT_EQ(controller_->spinner()->users(), 1);
  chooseFolder({"Drums", "Toms"});
  EXPECT_EQ(fileNames(), (QStringList{"HIGH", "LOW"})) << "the window is in use meanwhile";
  EXPECT_EQ(panel(), nullptr);
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_NE(panel(), nullptr);
  EXPECT_EQ(controller_->spinner()->users(), 0);
  EXPECT_TRUE(item()->isEnabled());
  EXPECT_EQ(status(), "Checked: 4 finding(s), 3 of harm.");
}

TEST_F(CheckImage, ShowsTheBarAndStopsWithoutAList) {
  const std::string path = mount(damaged());
  HeldVolume held(path);
  chooseCheck();
  auto *bar = window()->findChild<WorkBar *>();
  ASSERT_TRUE(QTest::qWaitFor([&] { return bar->isVisible(); }, 30000));
  EXPECT_EQ(bar->findChild<StatusLabel *>("WorkItem")->text(), "Checking “disk.hda”");
  auto *stop = bar->findChild<QPushButton *>("WorkStop");
  click(stop, stop->rect().center());
  held.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), "Stopped.");
  EXPECT_EQ(panel(), nullptr);
  EXPECT_FALSE(bar->isVisible());
  EXPECT_TRUE(item()->isEnabled());
  check();
  EXPECT_EQ(status(), "Checked: 4 finding(s), 3 of harm.");
}

TEST_F(CheckImage, ChangesNoByte) {
  const std::string path = mount(damaged());
  const Bytes before = readBytes(path);
  check();
  goTo(kLow);
  clickButton(panel(), "Copy");
  clickButton(panel(), "Close");
  EXPECT_EQ(readBytes(path), before);
}

TEST_F(CheckImage, WorksOnAReadOnlyImage) {
  mountReadOnly(damaged());
  check();
  ASSERT_NE(panel(), nullptr);
  EXPECT_EQ(list()->model()->rowCount(), kFindings);
  goTo(kLow);
  EXPECT_EQ(selectedFileNames(), QStringList{"LOW"});
}

TEST_F(CheckImage, OfAnImageReplacedMeanwhileOnlyStopsTheSpinner) {
  mount(damaged());
  HeldQueue queue(*controller_->filesystem());
  chooseCheck();
  replaceBy(sound());
  EXPECT_TRUE(item()->isEnabled());
  EXPECT_EQ(controller_->spinner()->users(), 1);
  const QString before = status();
  EXPECT_EQ(before, "Drums — 1 file(s)");
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(panel(), nullptr);
  EXPECT_EQ(status(), before);
  EXPECT_EQ(controller_->spinner()->users(), 0);
}

TEST_F(CheckImage, OfAnImageReplacedMeanwhileLeavesTheCheckOfTheNextOneAlone) {
  mount(damaged());
  HeldQueue first(*controller_->filesystem());
  chooseCheck();
  replaceBy(sound());
  HeldQueue second(*controller_->filesystem());
  chooseCheck();
  first.letGo();
  ASSERT_TRUE(QTest::qWaitFor([this] { return controller_->spinner()->users() == 1; }, 30000));
  EXPECT_FALSE(item()->isEnabled()) << "the second check goes on";
  EXPECT_EQ(status(), "Checking…");
  second.letGo();
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_NE(panel(), nullptr);
  EXPECT_EQ(summary(), "Nothing found.");
}

TEST_F(CheckImage, OfAnImageUnmountedMeanwhileShowsNothing) {
  mount(damaged());
  HeldQueue queue(*controller_->filesystem());
  chooseCheck();
  clickToolbar("UnmountItem");
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(panel(), nullptr);
  EXPECT_EQ(status(), "No image loaded");
  EXPECT_FALSE(item()->isEnabled());
}

TEST_F(CheckImage, ThatEndsWhileTheApplicationQuitsShowsNothing) {
  mount(damaged());
  HeldQueue queue(*controller_->filesystem());
  chooseCheck();
  controller_->prepareToQuit();
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(panel(), nullptr);
}

TEST_F(CheckImage, ThatEndsWhileAQuestionIsUpLeavesTheKeyboardToIt) {
  mount(damaged());
  HeldQueue queue(*controller_->filesystem());
  chooseCheck();
  chooseFromFolderMenu({"Drums"}, "Rename Folder");
  ASSERT_TRUE(question().isVisible());
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_NE(panel(), nullptr);
  EXPECT_TRUE(panel()->testAttribute(Qt::WA_ShowWithoutActivating));
  // The offscreen platform gives the keyboard to each window that is shown.
  if (QGuiApplication::platformName() != "offscreen") {
    EXPECT_EQ(QApplication::activeWindow(), &question());
  }
  answerSheet("Cancel");
}

// ---- The list

TEST_F(CheckImage, ListsEachFindingWithKindMessageAndPathHarmFirst) {
  mountAndCheck(damaged());
  EXPECT_EQ(panel()->windowTitle(), "Check of “disk.hda”");
  EXPECT_FALSE(panel()->isModal());
  EXPECT_EQ(column(FindingsModel::kKind), (QStringList{"Harm", "Harm", "Harm", "No harm"}));
  EXPECT_EQ(column(FindingsModel::kWhere), (QStringList{"/Gone", "/Drums/Toms/LOW", "—", "/NOTES"}));
  QStringList found;
  for (const VolumeFinding &finding : controller_->filesystem()->check())
    found += QString::fromStdString(finding.message);
  QStringList listed = column(FindingsModel::kWhat);
  std::sort(found.begin(), found.end());
  std::sort(listed.begin(), listed.end());
  EXPECT_EQ(listed, found);
  EXPECT_TRUE(summary().startsWith("4 finding(s), 3 of harm:"));
}

TEST_F(CheckImage, WithoutAFindingSaysSo) {
  mountAndCheck(sound());
  EXPECT_EQ(summary(), "Nothing found.");
  EXPECT_EQ(status(), "Checked: nothing found.");
  EXPECT_FALSE(list()->isVisible());
  EXPECT_FALSE(button("Copy")->isVisible());
  EXPECT_FALSE(button("Go To")->isVisible());
  pressKeyIn(panel(), Qt::Key_Return);
  EXPECT_EQ(panel(), nullptr);
}

TEST_F(CheckImage, WithoutHarmSaysSo) {
  ImageBuilder image;
  image.root().addFolder("Drums").addFile("KICK", bytesOf("x"), {.bytesInLastBlock = 600});
  mountAndCheck(image);
  EXPECT_EQ(summary(), "1 finding(s), none of harm: they cost room at most.");
}

TEST_F(CheckImage, AgainShowsInTheSamePanelWhatIsFoundNow) {
  mountAndCheck(damaged());
  FindingsPanel *const before = panel();
  goTo(kLow);
  clickToolbar("DeleteItem");
  clickButton(sheet<Alert>(), "Delete");
  ASSERT_TRUE(waitUntilIdle());
  check();
  EXPECT_EQ(panel(), before);
  EXPECT_FALSE(column(FindingsModel::kWhere).contains("/Drums/Toms/LOW"));
  EXPECT_EQ(list()->model()->rowCount(), kFindings - 1);
}

TEST_F(CheckImage, PanelClosesWhenAnotherImageIsMounted) {
  mountAndCheck(damaged());
  mount(sound(), "other.hda");
  EXPECT_EQ(panel(), nullptr);
  check();
  EXPECT_EQ(panel()->windowTitle(), "Check of “other.hda”");
  clickToolbar("UnmountItem");
  EXPECT_EQ(panel(), nullptr);
}

TEST_F(CheckImage, PanelClosesWithItsButtonAndEscape) {
  mountAndCheck(damaged());
  clickButton(panel(), "Close");
  EXPECT_EQ(panel(), nullptr);
  check();
  pressKeyIn(panel(), Qt::Key_Escape);
  EXPECT_EQ(panel(), nullptr);
}

TEST_F(CheckImage, NamesStandAsTheyAre) {
  ImageBuilder image;
  FolderBuilder folder = image.root().addFolder("<b>A & B</b>");
  folder.addFile("two\nlines", patternBytes(600), {.slot = 1});
  folder.addFile("<i>x</i>", patternBytes(600), {.slot = 1});
  mount(image, "<u>d[*].hda");
  check();
  EXPECT_EQ(column(FindingsModel::kWhere), QStringList{"/<b>A & B</b>/<i>x</i>"});
  const QString message = column(FindingsModel::kWhat).first();
  EXPECT_TRUE(message.contains("“two\\nlines” in the folder “<b>A & B</b>”")) << message.toStdString();
  EXPECT_EQ(panel()->windowHandle()->title(), "Check of “<u>d[*].hda”");
  EXPECT_EQ(panel()->findChild<QLabel *>()->textFormat(), Qt::PlainText);
}

TEST_F(CheckImage, EntryWhoseNameIsNoTextIsNamedItself) {
  ImageBuilder image;
  FolderBuilder drums = image.root().addFolder("Drums");
  drums.addFile("KICK", patternBytes(600));
  drums.addFile("BAD\xFF", patternBytes(600));
  drums.addFolder("SUB\xFF");
  mountAndCheck(image);
  EXPECT_EQ(column(FindingsModel::kWhere), (QStringList{"/Drums/BAD%FF", "/Drums/SUB%FF"}));
  goTo(0);
  EXPECT_EQ(selectedFileNames(), QStringList{"BAD%FF"});
  goTo(1);
  EXPECT_EQ(highlightedLabel(), "SUB%FF");
}

TEST_F(CheckImage, PathOfWhatLiesDeepIsItsEnd) {
  ImageBuilder image;
  FolderBuilder folder = image.root().addFolder("1");
  for (int depth = 2; depth <= 20; ++depth)
    folder = folder.addFolder(std::to_string(depth));
  folder.addFile("FILE", bytesOf("x"), {.bytesInLastBlock = 600});
  mountAndCheck(image);
  EXPECT_EQ(column(FindingsModel::kWhere), QStringList{"…/14/15/16/17/18/19/20/FILE"});
  goTo(0);
  EXPECT_EQ(highlightedLabel(), "20 (1)");
  EXPECT_TRUE(highlightedRowIsInSight());
  EXPECT_EQ(selectedFileNames(), QStringList{"FILE"});
}

// ---- Going to a finding

TEST_F(CheckImage, GoesToAFileInAFolderThatIsClosed) {
  mountAndCheck(damaged());
  EXPECT_FALSE(outline()->isExpanded(folderItem({"Drums"})));
  goTo(kLow);
  EXPECT_EQ(highlightedLabel(), "Toms (2)");
  EXPECT_TRUE(highlightedRowIsInSight());
  EXPECT_EQ(fileNames(), (QStringList{"HIGH", "LOW"}));
  EXPECT_EQ(selectedFileNames(), QStringList{"LOW"});
  EXPECT_TRUE(waitUntilActive(window()));
  EXPECT_TRUE(table()->hasFocus());
  EXPECT_NE(panel(), nullptr) << "it stays";
}

TEST_F(CheckImage, GoesToAFolder) {
  mountAndCheck(damaged());
  goTo(kGone);
  EXPECT_EQ(highlightedLabel(), "Gone");
  EXPECT_EQ(fileNames(), QStringList());
  EXPECT_TRUE(waitUntilActive(window()));
  EXPECT_TRUE(outline()->hasFocus());
}

TEST_F(CheckImage, GoesToAFileOfTheRoot) {
  mountAndCheck(damaged());
  goTo(kNotes);
  EXPECT_EQ(highlightedLabel(), QString());
  EXPECT_EQ(selectedFileNames(), QStringList{"NOTES"});
}

TEST_F(CheckImage, SelectsTheFileAlone) {
  mountAndCheck(damaged());
  chooseFolder({"Drums", "Toms"});
  chooseFiles({"HIGH"});
  goTo(kLow);
  EXPECT_EQ(selectedFileNames(), QStringList{"LOW"});
}

TEST_F(CheckImage, DeleteKeysInTheListLeaveTheWindowsFilesAlone) {
  mountAndCheck(damaged());
  activate(window());
  chooseFolder({"Drums"});
  chooseFiles({"KICK"});
  for (const auto &[key, modifiers] :
       {std::pair{Qt::Key_Backspace, Qt::KeyboardModifiers(Qt::ControlModifier)},
        {Qt::Key_Delete, Qt::KeyboardModifiers(Qt::ControlModifier)},
        {Qt::Key_Delete, Qt::KeyboardModifiers()}})
    pressKeyIn(panel(), key, modifiers);
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
  EXPECT_EQ(beeps_.count(), 0);
}

TEST_F(CheckImage, GoesBackToAFolderAfterAnotherWasShown) {
  mountAndCheck(damaged());
  goTo(kGone);
  FileDrag drag({writeHostFile("NEW.E4B", bytesOf("new"))});
  drag.dropOn(outline()->viewport(), outline()->visualRect(folderItem({"Drums"})).center());
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_EQ(highlightedLabel(), "Drums (3)");
  ASSERT_EQ(fileNames().size(), 3) << "those of Drums";
  goTo(kGone);
  EXPECT_EQ(highlightedLabel(), "Gone");
  EXPECT_EQ(fileNames(), QStringList());
}

TEST_F(CheckImage, DoubleClickAndReturnGoThereToo) {
  mountAndCheck(damaged());
  doubleClick(kLow);
  EXPECT_EQ(selectedFileNames(), QStringList{"LOW"});
  chooseFinding(kGone);
  list()->setFocus();
  pressKeyIn(panel(), Qt::Key_Return);
  EXPECT_EQ(highlightedLabel(), "Gone");
  EXPECT_NE(panel(), nullptr);
}

TEST_F(CheckImage, GoesToTheVeryFileOfSeveralOfOneName) {
  ImageBuilder image;
  FolderBuilder drums = image.root().addFolder("Drums");
  drums.addFile("TWIN", patternBytes(600, 1));
  drums.addFile("TWIN", patternBytes(600, 2), {.bytesInLastBlock = 600});
  drums.addFile("TWIN", patternBytes(600, 3));
  mountAndCheck(image);
  goTo(0);
  const QModelIndexList rows = table()->selectionModel()->selectedRows();
  ASSERT_EQ(rows.size(), 1);
  EXPECT_EQ(rows.first().row(), 1);
}

TEST_F(CheckImage, DeletedEntryIsGoneToByItsFolder) {
  ImageBuilder image;
  FolderBuilder drums = image.root().addFolder("Drums");
  drums.addFile("KICK", patternBytes(600));
  image.root().addFolder("Pads").addFile("GONE", {}, {.type = 0});
  mountAndCheck(image);
  goTo(0);
  EXPECT_EQ(highlightedLabel(), "Pads");
  EXPECT_EQ(selectedFileNames(), QStringList());
}

TEST_F(CheckImage, CannotGoToWhatHasNoPlaceNorToNothingNorToSeveral) {
  mountAndCheck(damaged());
  EXPECT_FALSE(canGoTo()) << "nothing is selected";
  chooseFinding(kLow);
  EXPECT_TRUE(canGoTo());
  chooseFinding(kGone, Qt::ControlModifier);
  EXPECT_FALSE(canGoTo());
  chooseFinding(kLost);
  EXPECT_FALSE(canGoTo());
  const QString before = highlightedLabel();
  list()->setFocus();
  pressKeyIn(panel(), Qt::Key_Return);
  doubleClick(kLost);
  EXPECT_EQ(highlightedLabel(), before);
}

TEST_F(CheckImage, CannotGoToAFileThatIsGone) {
  mountAndCheck(damaged());
  goTo(kLow);
  clickToolbar("DeleteItem");
  clickButton(sheet<Alert>(), "Delete");
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_FALSE(canGoTo()) << "it is still selected in the list";
  chooseFinding(kGone);
  EXPECT_TRUE(canGoTo());
}

TEST_F(CheckImage, CannotGoToAFolderThatIsGone) {
  mountAndCheck(damaged());
  chooseFinding(kGone);
  EXPECT_TRUE(canGoTo());
  chooseFromFolderMenu({"Gone"}, "Delete Folder");
  answerSheet("Delete");
  ASSERT_EQ(outlineLabels(), QStringList{"Drums (2)"});
  EXPECT_FALSE(canGoTo());
}

TEST_F(CheckImage, CannotGoIntoAFolderThatIsGone) {
  mountAndCheck(damaged());
  chooseFinding(kLow);
  chooseFromFolderMenu({"Drums"}, "Delete Folder");
  answerSheet("Delete");
  EXPECT_FALSE(canGoTo());
}

TEST_F(CheckImage, CannotGoToAFileThatWentWithoutTheWindowsKnowledge) {
  mountAndCheck(damaged());
  chooseFinding(kLow);
  const EMU3DirectoryPtr toms = folder({"Drums", "Toms"});
  ASSERT_TRUE(controller_->filesystem()->deleteFile(fileNamed(toms, "LOW"), toms));
  const QString before = highlightedLabel();
  clickButton(panel(), "Go To");
  EXPECT_FALSE(canGoTo());
  EXPECT_EQ(highlightedLabel(), before);
}

TEST_F(CheckImage, GoesNowhereWhileAQuestionIsUp) {
  mountAndCheck(damaged());
  chooseFinding(kLow);
  activate(window());
  chooseFromFolderMenu({"Drums"}, "Rename Folder");
  const QString before = highlightedLabel();
  QTest::mouseClick(button("Go To"), Qt::LeftButton);
  EXPECT_EQ(highlightedLabel(), before);
  EXPECT_EQ(beeps_.count(), 1);
  answerSheet("Cancel");
}

TEST_F(CheckImage, GoesToAFileDeeperThanTheOutlineOpens) {
  ImageBuilder image = nestedVolume(2500);
  mount(image);
  EMU3DirectoryPtr deepest = controller_->filesystem()->rootDirectory();
  while (!deepest->subdirectories().empty())
    deepest = deepest->subdirectories().front();
  const EMU3FilePtr file = deepest->allFiles().front();
  // As if its size were odd: the volume itself is sound.
  check();
  panel()->setFindings({{"oddity-size", "Odd", deepest, file, file->place()}},
                       controller_->filesystem()->rootDirectory());
  goTo(0);
  EXPECT_EQ(selectedFileNames(), QStringList{QString::fromStdString(file->name())});
  EXPECT_EQ(controller_->currentDirectory(), deepest);
}

// ---- Copying

TEST_F(CheckImage, CopiesTheSelectedFindingsAsLines) {
  mountAndCheck(damaged());
  const QString low = "Harm: /Drums/Toms/LOW: " + column(FindingsModel::kWhat)[kLow];
  const QString lost = "Harm: " + column(FindingsModel::kWhat)[kLost];
  chooseFinding(kLost);
  chooseFinding(kLow, Qt::ControlModifier);
  clickButton(panel(), "Copy");
  EXPECT_EQ(clipboard(), low + "\n" + lost);
  chooseFinding(kLow);
  list()->setFocus();
  pressKeyIn(panel(), Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(clipboard(), low);
}

TEST_F(CheckImage, CopiesAllFindingsWhenNoneIsSelected) {
  mountAndCheck(damaged());
  pressKeyIn(panel(), Qt::Key_C, Qt::ControlModifier);
  const QStringList lines = clipboard().split('\n');
  ASSERT_EQ(lines.size(), kFindings) << clipboard().toStdString();
  EXPECT_TRUE(lines[kGone].startsWith("Harm: /Gone: "));
  EXPECT_TRUE(lines[kNotes].startsWith("No harm: /NOTES: "));
  EXPECT_FALSE(QGuiApplication::clipboard()->mimeData()->hasHtml());
}

TEST_F(CheckImage, WithoutAFindingCopiesNothing) {
  QGuiApplication::clipboard()->setText("kept");
  mountAndCheck(sound());
  pressKeyIn(panel(), Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(clipboard(), "kept");
}

// ---- Reading

TEST_F(CheckImage, EveryTextIsReadInWholeAtEachSizeOfThePanel) {
  window()->resize(800, 500);
  mountAndCheck(damaged());
  EXPECT_LE(panel()->width(), 800);
  EXPECT_LE(panel()->height(), 500);
  const QFontMetrics metrics(list()->font());
  for (const QSize size : {panel()->size(), panel()->minimumSize(), QSize(1100, 500)}) {
    panel()->resize(size);
    QTest::qWait(50);
    ASSERT_EQ(panel()->size(), size);
    for (int row = 0; row < kFindings; ++row)
      for (int column = 0; column < FindingsModel::kColumnCount; ++column) {
        const QModelIndex cell = list()->model()->index(row, column);
        const QRect place = list()->visualRect(cell);
        constexpr int margin = 3; // of a cell's text, left and right
        const QRect needed = metrics.boundingRect(QRect(0, 0, place.width() - 2 * margin, 10000),
                                                  Qt::TextWordWrap, cell.data().toString());
        EXPECT_LE(needed.height(), place.height()) << "row " << row << ", column " << column;
        EXPECT_LE(needed.width(), place.width() - 2 * margin) << "row " << row << ", column " << column;
      }
    EXPECT_LE(list()->columnViewportPosition(FindingsModel::kWhere) +
                  list()->columnWidth(FindingsModel::kWhere),
              list()->viewport()->width());
  }
}

TEST_F(CheckImage, PanelLeavesFoldersAndFirstFilesInSight) {
  mountAndCheck(damaged());
  const QRect place = panel()->frameGeometry();
  const QRect rowOfFolder(outline()->viewport()->mapToGlobal(QPoint()), QSize(outline()->width(), 40));
  const QRect rowOfFile(table()->viewport()->mapToGlobal(QPoint()), QSize(table()->width(), 40));
  EXPECT_FALSE(place.intersects(rowOfFolder));
  EXPECT_FALSE(place.intersects(rowOfFile));
}

TEST_F(CheckImage, EverythingCanBeReadInLightAndDark) {
  const PaletteGuard guard;
  mountAndCheck(damaged());
  for (const QColor background : {QColor(239, 239, 239), QColor(45, 45, 48)}) {
    QApplication::setPalette(QPalette(background));
    QCoreApplication::processEvents();
    EXPECT_GE(bestContrast(panel()->findChild<QLabel *>()->grab().toImage(), background), 4.5);
    const QColor base = list()->palette().color(QPalette::Base);
    for (int column = 0; column < FindingsModel::kColumnCount; ++column) {
      const QRect cell = list()->visualRect(list()->model()->index(kLow, column));
      EXPECT_GE(bestContrast(list()->viewport()->grab(cell).toImage(), base), 4.5) << column;
    }
    for (const char *text : {"Copy", "Close"})
      EXPECT_GE(bestContrast(button(text)->grab().toImage(), background), 4.5) << text;
  }
}

TEST_F(CheckImage, EveryControlHasAnAccessibleNameAndIsReachedWithTab) {
  mountAndCheck(damaged());
  chooseFinding(kLow);
  activate(panel());
  list()->setFocus();
  QStringList reached;
  for (int press = 0; press < 4; ++press) {
    QWidget *focus = panel()->focusWidget();
    reached += QAccessible::queryAccessibleInterface(focus)->text(QAccessible::Name);
    pressKeyIn(panel(), Qt::Key_Tab);
  }
  EXPECT_EQ(reached, (QStringList{"Findings", "Go To", "Copy", "Close"}));
}

} // namespace
} // namespace tessary::test
