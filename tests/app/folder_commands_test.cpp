#include "app/ContentController.h"
#include "tests/app/SheetTest.h"
#include "tests/support/MountedVolume.h"
#include "tests/support/SampleVolumes.h"

#include <QLabel>
#include <QPushButton>
#include <QTest>

namespace tessary {
namespace {

using test::AlertAnswers;
using test::Bytes;
using test::describe;
using test::filesOnImage;
using test::FolderBuilder;
using test::ImageBuilder;
using test::patternBytes;
using test::readBytes;

using Names = std::vector<std::string>;

class FolderCommandTest : public test::SheetTest {
protected:
  static Names foldersOnImage(const std::string &imagePath, const Names &path = {}) {
    const EMU3FilesystemPtr filesystem = test::readAnew(imagePath);
    EMU3DirectoryPtr directory = filesystem->rootDirectory();
    for (const std::string &name : path)
      directory = test::folderNamed(directory, name);
    return test::namesOf(directory->subdirectories());
  }

  void askForNewFolder() { chooseFromMenu(outline(), test::emptyPlace(outline()), "New Folder…"); }
  void askToDelete(const QStringList &path) { chooseFromFolderMenu(path, "Delete Folder"); }
  void deleteFolder(const QStringList &path) {
    askToDelete(path);
    answerSheet("Delete");
  }
  void askForNameOf(const QStringList &path) { chooseFromFolderMenu(path, "Rename Folder"); }
  void clearSelection() { test::click(outline()->viewport(), test::emptyPlace(outline())); }

  void expectReadOnlyAlert(const AlertAnswers &alerts) const {
    ASSERT_EQ(alerts.shown().size(), 1U);
    EXPECT_EQ(alerts.shown()[0].message, "Read-Only Image");
    EXPECT_EQ(alerts.shown()[0].informativeText, "This image is opened read-only and cannot be modified.");
    EXPECT_EQ(sheet<QMessageBox>(), nullptr);
    EXPECT_EQ(beeps_.count(), 0);
  }
};

// ---- New Folder

using NewFolderTest = FolderCommandTest;

TEST_F(NewFolderTest, AsksInASheetForTheName) {
  mount(volume());
  askForNewFolder();
  const test::ShownAlert asked = describe(question());
  EXPECT_EQ(asked.message, "New Folder");
  EXPECT_EQ(asked.informativeText, "Create a new folder inside 'A' (max 15 characters):");
  EXPECT_EQ(asked.buttons.size(), 2);
  EXPECT_EQ(question().defaultButton()->text(), "Create");
  EXPECT_EQ(question().escapeButton()->text(), "Cancel");
  EXPECT_EQ(question().windowModality(), Qt::WindowModal);
  EXPECT_EQ(field().text(), "");
  EXPECT_EQ(field().placeholderText(), "Folder name");
  EXPECT_EQ(field().size(), QSize(240, 24));
  EXPECT_EQ(question().focusWidget(), &field());
  EXPECT_FALSE(field().accessibleName().isEmpty());
}

TEST_F(NewFolderTest, IsCreatedInTheFolderShownAndShown) {
  const std::string path = mount(volume());
  const QString space = diskSpace();
  askForNewFolder();
  answerWithName(" Drums  ");
  EXPECT_EQ(status(), "Created folder 'Drums'.");
  EXPECT_EQ(outlineLabels(), QStringList({"A (3)", "A1", "A2", "Drums", "B (1)"}));
  EXPECT_EQ(highlightedLabel(), "Drums");
  EXPECT_EQ(controller_->currentDirectory(), folder({"A", "Drums"}));
  EXPECT_EQ(table()->model()->rowCount(), 0);
  EXPECT_EQ(diskSpace(), space);
  EXPECT_EQ(foldersOnImage(path, {"A"}), (Names{"A1", "A2", "Drums"}));
}

TEST_F(NewFolderTest, IsCreatedInTheRootWhenThatIsShown) {
  const std::string path = mount(volume());
  clearSelection();
  askForNewFolder();
  EXPECT_EQ(question().informativeText(),
            QStringLiteral("Create a new folder inside '%1' (max 15 characters):")
                .arg(QString::fromStdString(folder({})->name())));
  answerWithName("Drums");
  EXPECT_EQ(outlineLabels(), QStringList({"A (3)", "B (1)", "Drums"}));
  EXPECT_EQ(highlightedLabel(), "Drums");
  EXPECT_EQ(foldersOnImage(path), (Names{"A", "B", "Drums"}));
}

TEST_F(NewFolderTest, IsCreatedInTheRootWhenNoFolderIsShown) {
  const std::string path = mount(ImageBuilder());
  ASSERT_EQ(controller_->currentDirectory(), nullptr);
  askForNewFolder();
  answerWithName("Drums");
  EXPECT_EQ(status(), "Created folder 'Drums'.");
  EXPECT_EQ(outlineLabels(), QStringList({"Drums"}));
  EXPECT_EQ(highlightedLabel(), "Drums");
  EXPECT_EQ(controller_->currentDirectory(), folder({"Drums"}));
  EXPECT_EQ(foldersOnImage(path), Names{"Drums"});
}

TEST_F(NewFolderTest, ClickedRowIsNotItsParent) {
  const std::string path = mount(volume());
  chooseFromFolderMenu({"B"}, "New Folder…");
  answerWithName("Drums");
  EXPECT_EQ(foldersOnImage(path, {"A"}), (Names{"A1", "A2", "Drums"}));
}

TEST_F(NewFolderTest, ParentIsTheFolderThatWasShownWhenItWasAskedFor) {
  const std::string path = mount(volume());
  askForNewFolder();
  outline()->setCurrentIndex(folderItem({"B"}));
  answerWithName("Drums");
  EXPECT_EQ(foldersOnImage(path, {"A"}), (Names{"A1", "A2", "Drums"}));
  EXPECT_EQ(highlightedLabel(), "Drums");
}

TEST_F(NewFolderTest, InAClosedFolderOpensIt) {
  const std::string path = mount(volume());
  chooseFolder({"A", "A1"});
  outline()->collapse(folderItem({"A"}));
  askForNewFolder();
  answerWithName("Drums");
  EXPECT_EQ(status(), "Created folder 'Drums'.");
  EXPECT_EQ(outlineLabels(), QStringList({"A (3)", "A1", "Drums", "A2", "B (1)"}));
  EXPECT_EQ(controller_->currentDirectory(), folder({"A", "A1", "Drums"}));
  EXPECT_EQ(highlightedLabel(), "Drums");
  EXPECT_EQ(foldersOnImage(path, {"A", "A1"}), Names{"Drums"});
}

TEST_F(NewFolderTest, FarDownIsScrolledIntoView) {
  ImageBuilder image;
  FolderBuilder many = image.root().addFolder("MANY", {.blockCount = 7});
  for (int number = 0; number < 100; ++number)
    many.addFolder("Sub " + std::to_string(number));
  mount(image);
  chooseFromFolderMenu({"MANY"}, "New Folder…");
  answerWithName("Drums");
  EXPECT_EQ(highlightedLabel(), "Drums");
  EXPECT_TRUE(highlightedRowIsInSight());
}

TEST_F(NewFolderTest, NameOfSpacesAloneCreatesNothing) {
  const std::string path = mount(volume());
  const QString before = status();
  const AlertAnswers alerts;
  for (const char *name : {"", "    ", "\t \t"}) {
    askForNewFolder();
    field().setText(name);
    answerSheet("Create");
  }
  EXPECT_EQ(status(), before);
  EXPECT_TRUE(alerts.shown().empty());
  EXPECT_EQ(foldersOnImage(path, {"A"}), (Names{"A1", "A2"}));
}

TEST_F(NewFolderTest, CancelAndEscapeCreateNothing) {
  const std::string path = mount(volume());
  askForNewFolder();
  type("Drums");
  pressKey(Qt::Key_Escape);
  askForNewFolder();
  type("Drums");
  answerSheet("Cancel");
  EXPECT_EQ(foldersOnImage(path, {"A"}), (Names{"A1", "A2"}));
}

TEST_F(NewFolderTest, NameOf16CharactersIsRefusedInAnAlert) {
  const std::string path = mount(volume());
  const QString before = status();
  const AlertAnswers alerts;
  askForNewFolder();
  answerWithName("SIXTEEN LETTERS.");
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Name must be 1–15 characters");
  EXPECT_EQ(alerts.shown()[0].informativeText, "");
  EXPECT_EQ(status(), before);
  EXPECT_EQ(highlightedLabel(), "A (3)");
  EXPECT_EQ(foldersOnImage(path, {"A"}), (Names{"A1", "A2"}));
}

TEST_F(NewFolderTest, InAFullFolderMakesThatGrow) {
  ImageBuilder image;
  FolderBuilder full = image.root().addFolder("FULL");
  for (int number = 0; number < 16; ++number)
    full.addFile("File " + std::to_string(number), {});
  const std::string path = mount(image);
  for (const char *name : {"Drums", "Pads"}) {
    chooseFolder({"FULL"});
    askForNewFolder();
    answerWithName(name);
    EXPECT_EQ(status(), QStringLiteral("Created folder '%1'.").arg(name));
  }
  EXPECT_EQ(outlineLabels(), QStringList({"FULL (16)", "Drums", "Pads"}));
  EXPECT_EQ(foldersOnImage(path, {"FULL"}), (Names{"Drums", "Pads"}));
  EXPECT_EQ(filesOnImage(path, {"FULL"}).size(), 16U);
}

TEST_F(NewFolderTest, InTheRootThatIsFullIsRefusedInAnAlert) {
  ImageBuilder image;
  for (int number = 0; number < 16; ++number)
    image.root().addFile("File " + std::to_string(number), {});
  const std::string path = mount(image);
  const Bytes before = readBytes(path);
  const AlertAnswers alerts;
  askForNewFolder();
  answerWithName("Drums");
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Parent directory is full");
  EXPECT_EQ(outlineLabels(), QStringList());
  EXPECT_EQ(readBytes(path), before);
}

TEST_F(NewFolderTest, InAFolderThatCannotGrowAnyMoreIsRefusedInAnAlert) {
  ImageBuilder image;
  FolderBuilder full = image.root().addFolder("FULL", {.blockCount = 7});
  for (int number = 0; number < 112; ++number)
    full.addRaw(test::rawFileEntry("File " + std::to_string(number), 0x81, 1, 1, 1, 0, 0));
  mount(image);
  const AlertAnswers alerts;
  askForNewFolder();
  answerWithName("Drums");
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Parent directory is full");
  EXPECT_EQ(outlineLabels(), QStringList({"FULL (112)"}));
}

TEST_F(NewFolderTest, IsNotOverwrittenByWhatIsMadeNext) {
  const std::string path = mount(volume());
  for (const char *name : {"Drums", "Pads"}) {
    clearSelection();
    askForNewFolder();
    answerWithName(name);
  }
  clearSelection();
  clickToolbar("ImportItem");
  confirmPanel({writeHostFile("SNARE.E4B", patternBytes(50))});
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(outlineLabels(), QStringList({"A (3)", "B (1)", "Drums", "Pads"}));
  EXPECT_EQ(foldersOnImage(path), (Names{"A", "B", "Drums", "Pads"}));
  EXPECT_EQ(test::namesOnImage(path, {}), Names{"SNARE"});
}

TEST_F(NewFolderTest, NameIsCutToItsEntryAtAWholeCharacterAndShownSo) {
  const std::string path = mount(volume());
  askForNewFolder();
  field().setText(QString::fromUtf8("\u00E9").repeated(9)); // 18 bytes
  answerSheet("Create");
  const QString cut = QString::fromUtf8("\u00E9").repeated(7);
  EXPECT_EQ(status(), QStringLiteral("Created folder '%1'.").arg(cut));
  EXPECT_EQ(highlightedLabel(), cut);
  EXPECT_EQ(foldersOnImage(path, {"A"}), (Names{"A1", "A2", cut.toStdString()}));
}

TEST_F(NewFolderTest, OnAVolumeWithoutAFreeDirectoryBlockIsRefusedInAnAlert) {
  ImageBuilder image({.directoryBlocks = 2}); // the root's and A's
  image.root().addFolder("A");
  mount(image);
  const AlertAnswers alerts;
  askForNewFolder();
  answerWithName("Drums");
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "No free directory block available");
}

TEST_F(NewFolderTest, OfAReadOnlyImageIsRefusedInAnAlert) {
  mountReadOnly(volume());
  const AlertAnswers alerts;
  askForNewFolder();
  expectReadOnlyAlert(alerts);
}

TEST_F(NewFolderTest, WithoutAnImageOnlyBeeps) {
  const AlertAnswers alerts;
  askForNewFolder();
  EXPECT_EQ(beeps_.count(), 1);
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
  EXPECT_TRUE(alerts.shown().empty());
}

TEST_F(NewFolderTest, WaitsForNothingThatIsQueued) {
  const std::string path = mount(volume());
  test::HeldQueue held(*controller_->filesystem());
  askForNewFolder();
  type("Drums");
  QTest::keyClick(question().windowHandle(), Qt::Key_Return);
  ASSERT_TRUE(QTest::qWaitFor([this] { return status() == "Created folder 'Drums'."; }, 30000));
  EXPECT_EQ(foldersOnImage(path, {"A"}), (Names{"A1", "A2", "Drums"}));
}

TEST_F(NewFolderTest, AnswerAfterTheImageWasReplacedDoesNothing) {
  const std::string path = mount(volume());
  askForNewFolder();
  type("Drums");
  const std::string other = mount(volume(), "other.hda");
  const QString before = status();
  pressKey(Qt::Key_Return);
  EXPECT_EQ(status(), before);
  EXPECT_EQ(foldersOnImage(path, {"A"}), (Names{"A1", "A2"}));
  EXPECT_EQ(foldersOnImage(other, {"A"}), (Names{"A1", "A2"}));
}

TEST_F(NewFolderTest, ParentsNameStandsAsItIs) {
  ImageBuilder image;
  image.root().addFolder("<i>%1</i>\n & &C");
  mount(image);
  askForNewFolder();
  EXPECT_EQ(question().informativeText(),
            "Create a new folder inside '<i>%1</i>\\n & &C' (max 15 characters):");
  EXPECT_EQ(question().findChild<QLabel *>("qt_msgbox_informativelabel")->buddy(), nullptr);
  answerWithName("<b>%1</b>");
  EXPECT_EQ(status(), "Created folder '<b>%1</b>'.");
}

// ---- Delete Folder

using DeleteFolderTest = FolderCommandTest;

TEST_F(DeleteFolderTest, AsksWithTheNumbersOfAllThatIsInIt) {
  ImageBuilder image = volume();
  FolderBuilder c = image.root().addFolder("C");
  c.addFile("ONE", {});
  c.addFile("TWO", {});
  c.addFile("THREE", {});
  c.addFolder("C1").addFile("BELOW", {});
  mount(image);
  askToDelete({"C"});
  const test::ShownAlert asked = describe(question());
  EXPECT_EQ(asked.message, "Delete folder 'C'?");
  EXPECT_EQ(asked.informativeText,
            QStringLiteral("This will delete 4 file(s) and 2 folder(s).\nYou can undo with %1.")
                .arg(test::kUndoKey));
  EXPECT_EQ(asked.buttons.size(), 2);
  EXPECT_EQ(question().defaultButton()->text(), "Delete");
  EXPECT_EQ(question().buttonRole(question().defaultButton()), QMessageBox::DestructiveRole);
  EXPECT_EQ(question().escapeButton()->text(), "Cancel");
  EXPECT_EQ(question().windowModality(), Qt::WindowModal);
  EXPECT_EQ(question().focusWidget(), question().defaultButton());
}

TEST_F(DeleteFolderTest, AsksForAnEmptyFolderAsForAnyOther) {
  mount(volume());
  outline()->expand(folderItem({"A"}));
  askToDelete({"A", "A1"});
  EXPECT_EQ(question().text(), "Delete folder 'A1'?");
  EXPECT_TRUE(question().informativeText().startsWith("This will delete 0 file(s) and 1 folder(s).\n"));
}

TEST_F(DeleteFolderTest, CancelAndEscapeDeleteNothing) {
  const std::string path = mount(volume());
  const QString before = status();
  askToDelete({"B"});
  pressKey(Qt::Key_Escape);
  askToDelete({"B"});
  answerSheet("Cancel");
  EXPECT_EQ(status(), before);
  EXPECT_EQ(foldersOnImage(path), (Names{"A", "B"}));
}

TEST_F(DeleteFolderTest, TakesEverythingInItAndGivesTheSpaceBack) {
  const std::string path = mount(volume());
  const std::uint64_t freeBefore = controller_->filesystem()->freeBlocks();
  deleteFolder({"A"});
  EXPECT_EQ(status(), "Deleted folder 'A'.");
  EXPECT_EQ(outlineLabels(), QStringList({"B (1)"}));
  EXPECT_EQ(foldersOnImage(path), Names{"B"});
  EXPECT_EQ(filesOnImage(path, {"B"}), (test::StoredFiles{{"OTHER", patternBytes(900, 4)}}));
  const EMU3FilesystemPtr filesystem = controller_->filesystem();
  EXPECT_GT(filesystem->freeBlocks(), freeBefore);
  EXPECT_EQ(diskSpace(), diskSpaceText(filesystem->usedBlocks(), filesystem->freeBlocks()));
  EXPECT_EQ(controller_->undoManager()->undoName(), "Delete Folder");
}

TEST_F(DeleteFolderTest, ThatIsShownShowsItsParent) {
  const std::string path = mount(volume());
  chooseFolder({"A", "A2"});
  deleteFolder({"A", "A2"});
  EXPECT_EQ(status(), "Deleted folder 'A2'.");
  EXPECT_EQ(controller_->currentDirectory(), folder({"A"}));
  EXPECT_EQ(highlightedLabel(), "A (3)");
  EXPECT_EQ(fileNames(), QStringList({"FIRST", "SECOND", "THIRD"}));
  EXPECT_EQ(foldersOnImage(path, {"A"}), Names{"A1"});
}

TEST_F(DeleteFolderTest, OfTheRootThatIsShownShowsTheFirstRow) {
  mount(volume());
  chooseFolder({"B"});
  deleteFolder({"B"});
  EXPECT_EQ(controller_->currentDirectory(), folder({"A"}));
  EXPECT_EQ(highlightedLabel(), "A (3)");
  EXPECT_EQ(fileNames(), QStringList({"FIRST", "SECOND", "THIRD"}));
  EXPECT_EQ(status(), "Deleted folder 'B'.");
}

TEST_F(DeleteFolderTest, AboveTheOneShownShowsItsOwnParent) {
  ImageBuilder image = volume();
  FolderBuilder c = image.root().addFolder("C");
  c.addFile("IN C", {});
  c.addFolder("D").addFolder("E").addFolder("F").addFile("DEEP", {});
  const std::string path = mount(image);
  chooseFolder({"C", "D", "E", "F"});
  deleteFolder({"C", "D"});
  EXPECT_EQ(controller_->currentDirectory(), folder({"C"}));
  EXPECT_EQ(highlightedLabel(), "C (1)");
  EXPECT_EQ(fileNames(), QStringList({"IN C"}));
  EXPECT_EQ(foldersOnImage(path, {"C"}), Names{});
}

TEST_F(DeleteFolderTest, AtTheTopAboveTheOneShownShowsTheFirstRow) {
  mount(volume());
  chooseFolder({"A", "A1"});
  deleteFolder({"A"});
  EXPECT_EQ(controller_->currentDirectory(), folder({"B"}));
  EXPECT_EQ(highlightedLabel(), "B (1)");
  EXPECT_EQ(fileNames(), QStringList({"OTHER"}));
}

TEST_F(DeleteFolderTest, ElsewhereShowsItsParentToo) {
  mount(volume());
  outline()->expand(folderItem({"A"}));
  chooseFolder({"B"});
  deleteFolder({"A", "A1"});
  EXPECT_EQ(controller_->currentDirectory(), folder({"A"}));
  EXPECT_EQ(highlightedLabel(), "A (3)");
  EXPECT_EQ(fileNames(), QStringList({"FIRST", "SECOND", "THIRD"}));
}

TEST_F(DeleteFolderTest, ThatWasTheLastShowsTheRoot) {
  ImageBuilder image;
  image.root().addFile("IN ROOT", {});
  image.root().addFolder("ONLY").addFile("FILE", {});
  const std::string path = mount(image);
  deleteFolder({"ONLY"});
  EXPECT_EQ(outlineLabels(), QStringList());
  EXPECT_EQ(controller_->currentDirectory(), folder({}));
  EXPECT_EQ(controller_->contentCtl()->directory(), folder({}));
  EXPECT_EQ(fileNames(), QStringList({"IN ROOT"}));
  EXPECT_EQ(status(), "Deleted folder 'ONLY'.");
  EXPECT_EQ(foldersOnImage(path), Names{});
}

TEST_F(DeleteFolderTest, LeavesOtherFoldersOpen) {
  ImageBuilder image = volume();
  image.root().addFolder("C").addFolder("C1");
  mount(image);
  outline()->expand(folderItem({"A"}));
  outline()->expand(folderItem({"C"}));
  deleteFolder({"B"});
  EXPECT_EQ(outlineLabels(), QStringList({"A (3)", "A1", "A2", "C", "C1"}));
}

TEST_F(DeleteFolderTest, SelectedRowIsMeantWhenTheEmptyAreaWasClicked) {
  mount(volume());
  chooseFolder({"B"});
  chooseFromMenu(outline(), test::emptyPlace(outline()), "Delete Folder");
  EXPECT_EQ(question().text(), "Delete folder 'B'?");
}

TEST_F(DeleteFolderTest, SelectedRowIsMeantWhenTheKeyboardAsked) {
  const std::string path = mount(volume());
  chooseFolder({"B"});
  chooseFromFolderMenuByKeyboard("Delete Folder");
  EXPECT_EQ(question().text(), "Delete folder 'B'?");
  pressKey(Qt::Key_Return);
  EXPECT_EQ(foldersOnImage(path), Names{"A"});
}

TEST_F(DeleteFolderTest, RowClickedIsMeantAndNotTheSelectedOne) {
  mount(volume());
  chooseFolder({"A"});
  askToDelete({"B"});
  EXPECT_EQ(question().text(), "Delete folder 'B'?");
  EXPECT_EQ(highlightedLabel(), "A (3)"); // the right button selects nothing
}

TEST_F(DeleteFolderTest, WithTheRootOrNothingChosenOnlyBeeps) {
  mount(volume());
  clearSelection();
  ASSERT_EQ(controller_->currentDirectory(), folder({}));
  chooseFromMenu(outline(), test::emptyPlace(outline()), "Delete Folder");
  EXPECT_EQ(beeps_.count(), 1);
  chooseFromFolderMenuByKeyboard("Delete Folder"); // whatever row lies where the menu comes up
  EXPECT_EQ(beeps_.count(), 2);
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
}

TEST_F(DeleteFolderTest, WithTheSelectedRowOutOfSightOnlyBeeps) {
  mount(volume());
  chooseFolder({"A", "A1"});
  outline()->collapse(folderItem({"A"}));
  chooseFromMenu(outline(), test::emptyPlace(outline()), "Delete Folder");
  EXPECT_EQ(beeps_.count(), 1);
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
}

TEST_F(DeleteFolderTest, OfAReadOnlyImageIsRefusedInAnAlert) {
  mountReadOnly(volume());
  const AlertAnswers alerts;
  askToDelete({"A"});
  expectReadOnlyAlert(alerts);
}

TEST_F(DeleteFolderTest, WithoutAnImageOnlyBeeps) {
  chooseFromMenu(outline(), test::emptyPlace(outline()), "Delete Folder");
  EXPECT_EQ(beeps_.count(), 1);
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
}

TEST_F(DeleteFolderTest, ThatIsGoneAlreadyIsRefusedInAnAlert) {
  const std::string path = mount(volume());
  askToDelete({"B"});
  ASSERT_TRUE(controller_->filesystem()->deleteDirectory(folder({"B"}), folder({})));
  const Bytes before = readBytes(path);
  const QString statusBefore = status();
  const AlertAnswers alerts;
  answerSheet("Delete");
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Dentry block not found");
  EXPECT_EQ(status(), statusBefore);
  EXPECT_EQ(readBytes(path), before);
}

TEST_F(DeleteFolderTest, AnswerAfterTheImageWasReplacedDoesNothing) {
  const std::string path = mount(volume());
  askToDelete({"B"});
  const std::string other = mount(volume(), "other.hda");
  const QString before = status();
  answerSheet("Delete");
  EXPECT_EQ(status(), before);
  EXPECT_EQ(foldersOnImage(path), (Names{"A", "B"}));
  EXPECT_EQ(foldersOnImage(other), (Names{"A", "B"}));
}

TEST_F(DeleteFolderTest, NameStandsAsItIs) {
  ImageBuilder image;
  image.root().addFolder("<b>%1</b>\n");
  mount(image);
  askToDelete({"<b>%1</b>\n"});
  EXPECT_EQ(question().text(), "Delete folder '<b>%1</b>\\n'?");
  EXPECT_EQ(question().textFormat(), Qt::PlainText);
  answerSheet("Delete");
  EXPECT_EQ(status(), "Deleted folder '<b>%1</b>\\n'.");
}

TEST_F(DeleteFolderTest, Of32000NestedFoldersTakesThemAll) {
  const std::string path = mount(test::nestedVolume(32000));
  deleteFolder({"Level 01"});
  EXPECT_EQ(outlineLabels(), QStringList());
  EXPECT_EQ(foldersOnImage(path), Names{});
}

// ---- Rename Folder

using RenameFolderTest = FolderCommandTest;

TEST_F(RenameFolderTest, AsksInASheetForTheNewName) {
  mount(volume());
  askForNameOf({"B"});
  const test::ShownAlert asked = describe(question());
  EXPECT_EQ(asked.message, "Rename Folder");
  EXPECT_EQ(asked.informativeText, "Enter a new name (max 15 characters):");
  EXPECT_EQ(asked.buttons.size(), 2);
  EXPECT_EQ(question().defaultButton()->text(), "Rename");
  EXPECT_EQ(question().escapeButton()->text(), "Cancel");
  EXPECT_EQ(field().text(), "B");
  EXPECT_EQ(field().size(), QSize(240, 24));
  EXPECT_EQ(question().focusWidget(), &field());
}

TEST_F(RenameFolderTest, IsWrittenToTheImage) {
  const std::string path = mount(volume());
  askForNameOf({"A"});
  answerWithName(" NEW ");
  EXPECT_EQ(status(), "Renamed to 'NEW'.");
  EXPECT_EQ(outlineLabels(), QStringList({"NEW (3)", "B (1)"}));
  EXPECT_EQ(folder({"NEW"})->name(), "NEW");
  EXPECT_EQ(foldersOnImage(path), (Names{"NEW", "B"}));
  EXPECT_EQ(filesOnImage(path, {"NEW"}).size(), 3U);
  openImage(path);
  EXPECT_EQ(outlineLabels(), QStringList({"NEW (3)", "B (1)"}));
}

TEST_F(RenameFolderTest, NameIsCutToItsEntryAtAWholeCharacterAndShownSo) {
  const std::string path = mount(volume());
  askForNameOf({"B"});
  field().setText(QString::fromUtf8("\u00E9").repeated(9)); // 18 bytes
  answerSheet("Rename");
  const QString cut = QString::fromUtf8("\u00E9").repeated(7);
  EXPECT_EQ(status(), QStringLiteral("Renamed to '%1'.").arg(cut));
  EXPECT_EQ(outlineLabels(), QStringList({"A (3)", cut + " (1)"}));
  EXPECT_EQ(foldersOnImage(path), (Names{"A", cut.toStdString()}));
}

TEST_F(RenameFolderTest, ThatIsGoneIsRefusedInAnAlert) {
  const std::string path = mount(volume());
  askForNameOf({"B"});
  ASSERT_TRUE(controller_->filesystem()->deleteDirectory(folder({"B"}), folder({})));
  const Bytes before = readBytes(path);
  const QString statusBefore = status();
  const AlertAnswers alerts;
  answerWithName("NEW");
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Dentry block not found");
  EXPECT_EQ(status(), statusBefore);
  EXPECT_EQ(readBytes(path), before);
}

TEST_F(RenameFolderTest, LeavesSelectionScrollAndOpenFolders) {
  mount(volume());
  chooseFolder({"A", "A1"});
  askForNameOf({"A"});
  answerWithName("NEW");
  EXPECT_EQ(outlineLabels(), QStringList({"NEW (3)", "A1", "A2", "B (1)"}));
  EXPECT_EQ(highlightedLabel(), "A1");
  EXPECT_EQ(controller_->currentDirectory(), folder({"NEW", "A1"}));
}

TEST_F(RenameFolderTest, NameOf16CharactersIsRefusedInAnAlert) {
  const std::string path = mount(volume());
  const QString before = status();
  const AlertAnswers alerts;
  askForNameOf({"B"});
  answerWithName("SIXTEEN LETTERS.");
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Name must be 1–15 characters");
  EXPECT_EQ(alerts.shown()[0].informativeText, "");
  EXPECT_EQ(status(), before);
  EXPECT_EQ(outlineLabels(), QStringList({"A (3)", "B (1)"}));
  EXPECT_EQ(foldersOnImage(path), (Names{"A", "B"}));
}

TEST_F(RenameFolderTest, LineBreaksAroundTheNameStay) {
  mount(volume());
  askForNameOf({"B"});
  field().setText(" \nB ");
  answerSheet("Rename");
  EXPECT_EQ(status(), "Renamed to '\\nB'.");
  EXPECT_EQ(outlineLabels(), QStringList({"A (3)", "\\nB (1)"}));
}

TEST_F(RenameFolderTest, EmptyOrEqualNameChangesNothing) {
  mount(volume());
  const QString before = status();
  for (const char *name : {"", " \t", "B", "  B\t"}) {
    askForNameOf({"B"});
    field().setText(name);
    answerSheet("Rename");
  }
  EXPECT_EQ(status(), before);
  EXPECT_EQ(outlineLabels(), QStringList({"A (3)", "B (1)"}));
}

TEST_F(RenameFolderTest, CancelAndEscapeLeaveTheName) {
  mount(volume());
  askForNameOf({"B"});
  type("NEW");
  pressKey(Qt::Key_Escape);
  askForNameOf({"B"});
  type("NEW");
  answerSheet("Cancel");
  EXPECT_EQ(outlineLabels(), QStringList({"A (3)", "B (1)"}));
}

TEST_F(RenameFolderTest, SelectedRowIsMeantWhenTheKeyboardAsked) {
  mount(volume());
  chooseFolder({"B"});
  chooseFromFolderMenuByKeyboard("Rename Folder");
  answerWithName("NEW");
  EXPECT_EQ(outlineLabels(), QStringList({"A (3)", "NEW (1)"}));
}

TEST_F(RenameFolderTest, WithTheRootOrNothingChosenOnlyBeeps) {
  mount(volume());
  clearSelection();
  chooseFromMenu(outline(), test::emptyPlace(outline()), "Rename Folder");
  EXPECT_EQ(beeps_.count(), 1);
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
}

TEST_F(RenameFolderTest, WithoutAnImageOnlyBeeps) {
  chooseFromMenu(outline(), test::emptyPlace(outline()), "Rename Folder");
  EXPECT_EQ(beeps_.count(), 1);
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
}

TEST_F(RenameFolderTest, OfAReadOnlyImageOnlyBeeps) {
  mountReadOnly(volume());
  const AlertAnswers alerts;
  askForNameOf({"A"});
  EXPECT_EQ(beeps_.count(), 1);
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
  EXPECT_TRUE(alerts.shown().empty());
}

TEST_F(RenameFolderTest, AnswerAfterTheImageWasReplacedDoesNothing) {
  mount(volume());
  askForNameOf({"B"});
  type("NEW");
  mount(volume(), "other.hda");
  const QString before = status();
  pressKey(Qt::Key_Return);
  EXPECT_EQ(status(), before);
  EXPECT_EQ(outlineLabels(), QStringList({"A (3)", "B (1)"}));
}

} // namespace
} // namespace tessary
