#include "app/NameAlert.h"
#include "tests/app/SheetTest.h"
#include "tests/support/MountedVolume.h"

#include <QLabel>
#include <QPushButton>
#include <QTest>

namespace tessary {
namespace {

using test::AlertAnswers;
using test::describe;
using test::filesOnImage;
using test::namesOnImage;
using test::patternBytes;

class RenameTest : public test::SheetTest {
protected:
  /// Opens the rename sheet of a file of folder A.
  void askForNameOf(const QString &file) {
    chooseFiles({file});
    chooseFromFileMenu(file, QStringLiteral("Rename…"));
  }
};

TEST_F(RenameTest, AsksInASheetForTheNewName) {
  mount(volume());
  askForNameOf("SECOND");
  const test::ShownAlert asked = describe(question());
  EXPECT_EQ(asked.message, "Rename File");
  EXPECT_EQ(asked.informativeText, "Enter a new name (max 15 characters):");
  EXPECT_EQ(asked.buttons.size(), 2);
  EXPECT_EQ(question().defaultButton()->text(), "Rename");
  EXPECT_EQ(question().escapeButton()->text(), "Cancel");
  EXPECT_EQ(question().windowModality(), Qt::WindowModal);
  EXPECT_EQ(field().text(), "SECOND");
  EXPECT_EQ(field().size(), QSize(240, 24));
  EXPECT_EQ(question().focusWidget(), &field());
  EXPECT_FALSE(field().accessibleName().isEmpty());
  EXPECT_GT(field().mapTo(&question(), QPoint()).y(),
            question().findChild<QLabel *>("qt_msgbox_informativelabel")->geometry().bottom());
  EXPECT_LT(field().mapTo(&question(), field().rect().bottomLeft()).y(),
            question().defaultButton()->mapTo(&question(), QPoint()).y());
}

TEST_F(RenameTest, GivesTheFileItsNewName) {
  const std::string path = mount(volume());
  askForNameOf("SECOND");
  type("RENAMED"); // replaces the old name, which is selected
  pressKey(Qt::Key_Return);
  EXPECT_EQ(fileNames(), QStringList({"FIRST", "RENAMED", "THIRD"}));
  EXPECT_EQ(selectedFileNames(), QStringList({"RENAMED"}));
  EXPECT_EQ(status(), "Renamed to \"RENAMED\".");
  EXPECT_EQ(filesOnImage(path, {"A"}), (test::StoredFiles{{"FIRST", patternBytes(600, 1)},
                                                          {"RENAMED", patternBytes(700, 2)},
                                                          {"THIRD", patternBytes(800, 3)}}));
  EXPECT_EQ(beeps_.count(), 0);
}

TEST_F(RenameTest, FocusReturnsToTheTable) {
  mount(volume());
  table()->setFocus();
  askForNameOf("FIRST");
  answerWithName("NEW");
  EXPECT_EQ(window()->focusWidget(), table());
}

TEST_F(RenameTest, CancelAndEscapeLeaveTheName) {
  const std::string path = mount(volume());
  const QString before = status();
  askForNameOf("FIRST");
  type("NEW");
  pressKey(Qt::Key_Escape);
  askForNameOf("FIRST");
  type("NEW");
  answerSheet("Cancel");
  EXPECT_EQ(status(), before);
  EXPECT_EQ(namesOnImage(path, {"A"})[0], "FIRST");
}

TEST_F(RenameTest, SpacesAndTabsAroundTheNameAreCut) {
  const std::string path = mount(volume());
  askForNameOf("FIRST");
  field().setText(" \t two words\t ");
  answerSheet("Rename");
  EXPECT_EQ(status(), "Renamed to \"two words\".");
  EXPECT_EQ(namesOnImage(path, {"A"})[0], "two words");
}

TEST_F(RenameTest, LineBreaksAroundTheNameStay) {
  const std::string path = mount(volume());
  askForNameOf("FIRST");
  field().setText("\nNEW ");
  answerSheet("Rename");
  EXPECT_EQ(status(), "Renamed to \"\\nNEW\".");
  EXPECT_EQ(fileNames().first(), "\\nNEW");
  EXPECT_EQ(namesOnImage(path, {"A"})[0], "\nNEW");
}

TEST_F(RenameTest, NameOfSpacesAloneChangesNothing) {
  const std::string path = mount(volume());
  const QString before = status();
  const AlertAnswers alerts;
  for (const char *name : {"", "   ", " \t "}) {
    askForNameOf("FIRST");
    field().setText(name);
    answerSheet("Rename");
  }
  EXPECT_EQ(status(), before);
  EXPECT_TRUE(alerts.shown().empty());
  EXPECT_EQ(beeps_.count(), 0);
  EXPECT_EQ(namesOnImage(path, {"A"})[0], "FIRST");
}

TEST_F(RenameTest, NameOf15CharactersFits) {
  const std::string path = mount(volume());
  askForNameOf("FIRST");
  answerWithName("FIFTEEN LETTERS");
  EXPECT_EQ(namesOnImage(path, {"A"})[0], "FIFTEEN LETTERS");
}

TEST_F(RenameTest, NameOf16CharactersIsRefusedInAnAlert) {
  const std::string path = mount(volume());
  const QString before = status();
  const AlertAnswers alerts;
  askForNameOf("FIRST");
  answerWithName("SIXTEEN LETTERS.");
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Name must be 1–15 characters");
  EXPECT_EQ(alerts.shown()[0].informativeText, "");
  EXPECT_EQ(alerts.shown()[0].buttons, QStringList({"OK"}));
  EXPECT_EQ(status(), before);
  EXPECT_EQ(fileNames().first(), "FIRST");
  EXPECT_EQ(namesOnImage(path, {"A"})[0], "FIRST");
}

TEST_F(RenameTest, NameOfAnotherFileIsNotRefused) {
  const std::string path = mount(volume());
  askForNameOf("FIRST");
  answerWithName("SECOND");
  EXPECT_EQ(fileNames(), QStringList({"SECOND", "SECOND", "THIRD"}));
  EXPECT_EQ(namesOnImage(path, {"A"}), (std::vector<std::string>{"SECOND", "SECOND", "THIRD"}));
}

TEST_F(RenameTest, OldNameConfirmedIsRenamedAllTheSame) {
  mount(volume());
  askForNameOf("FIRST");
  pressKey(Qt::Key_Return);
  EXPECT_EQ(status(), "Renamed to \"FIRST\".");
}

TEST_F(RenameTest, NameIsCutToItsEntryAtAWholeCharacterAndShownSo) {
  const std::string path = mount(volume());
  askForNameOf("FIRST");
  field().setText(QString::fromUtf8("\u00E9").repeated(9)); // 18 bytes
  answerSheet("Rename");
  const QString cut = QString::fromUtf8("\u00E9").repeated(7);
  EXPECT_EQ(status(), QStringLiteral("Renamed to \"%1\".").arg(cut));
  EXPECT_EQ(fileNames().first(), cut);
  EXPECT_EQ(namesOnImage(path, {"A"})[0], cut.toStdString());
}

TEST_F(RenameTest, NameThatIsNoTextIsKeptWhenItIsConfirmedAsItIs) {
  test::ImageBuilder image;
  test::FolderBuilder folder = image.root().addFolder("A");
  for (const char *name : {"\xFFRAW", "SIXTEEN LETTERS.", "                "})
    folder.addFile(name, test::patternBytes(100));
  const std::string path = mount(image);
  const test::Bytes before = test::readBytes(path);
  for (const char *shown : {"%FFRAW", "SIXTEEN LETTERS.", "%20"}) {
    askForNameOf(shown);
    EXPECT_EQ(field().text(), shown);
    pressKey(Qt::Key_Return);
    EXPECT_EQ(status(), QStringLiteral("Renamed to \"%1\".").arg(shown));
  }
  EXPECT_EQ(test::readBytes(path), before);
}

TEST_F(RenameTest, FileDeletedMeanwhileIsRefusedAlsoUnderItsOldName) {
  mount(volume());
  askForNameOf("FIRST");
  ASSERT_TRUE(controller_->filesystem()->deleteFile(test::fileNamed(folder({"A"}), "FIRST"), folder({"A"})));
  const AlertAnswers alerts;
  pressKey(Qt::Key_Return);
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Dentry block not found");
}

TEST_F(RenameTest, TwoFilesOrNoneOnlyBeep) {
  mount(volume());
  controller_->_renameSelected();
  EXPECT_EQ(beeps_.count(), 1);
  chooseFiles({"FIRST", "SECOND"});
  chooseFromFileMenu("FIRST", "Rename…");
  EXPECT_EQ(beeps_.count(), 2);
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
}

TEST_F(RenameTest, WithoutAnImageOnlyBeeps) {
  controller_->_renameSelected();
  EXPECT_EQ(beeps_.count(), 1);
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
}

TEST_F(RenameTest, OfAReadOnlyImageOnlyBeeps) {
  mountReadOnly(volume());
  const AlertAnswers alerts;
  askForNameOf("FIRST");
  EXPECT_EQ(beeps_.count(), 1);
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
  EXPECT_TRUE(alerts.shown().empty());
}

TEST_F(RenameTest, SecondSheetOnlyBeeps) {
  mount(volume());
  askForNameOf("FIRST");
  const QMessageBox *first = &question();
  controller_->_renameSelected();
  EXPECT_EQ(beeps_.count(), 1);
  EXPECT_EQ(window()->findChildren<NameAlert *>().size(), 1);
  EXPECT_EQ(&question(), first);
  answerSheet("Cancel");
}

TEST_F(RenameTest, AnswerAfterTheImageWasReplacedChangesNothing) {
  const std::string path = mount(volume());
  askForNameOf("FIRST");
  type("NEW");
  mount(volume(), "other.hda");
  const QString before = status();
  pressKey(Qt::Key_Return);
  EXPECT_EQ(status(), before);
  EXPECT_EQ(namesOnImage(path, {"A"})[0], "FIRST");
  EXPECT_EQ(namesOnImage(folder_.path("other.hda"), {"A"})[0], "FIRST");
}

TEST_F(RenameTest, AnswerAfterTheImageWasUnmountedChangesNothing) {
  const std::string path = mount(volume());
  askForNameOf("FIRST");
  type("NEW");
  controller_->_unmountImage();
  pressKey(Qt::Key_Return);
  EXPECT_EQ(status(), "No image loaded");
  EXPECT_EQ(namesOnImage(path, {"A"})[0], "FIRST");
}

TEST_F(RenameTest, FolderShownWhenTheSheetIsAnsweredDoesNotMatter) {
  const std::string path = mount(volume());
  askForNameOf("FIRST");
  type("NEW");
  outline()->setCurrentIndex(folderItem({"B"}));
  pressKey(Qt::Key_Return);
  EXPECT_EQ(status(), "Renamed to \"NEW\".");
  EXPECT_EQ(namesOnImage(path, {"A"})[0], "NEW");
}

TEST_F(RenameTest, MarkupAndPlaceholdersInANameStandAsTheyAre) {
  const std::string path = mount(volume());
  askForNameOf("FIRST");
  answerWithName("<b>%1</b>&\\n");
  EXPECT_EQ(status(), "Renamed to \"<b>%1</b>&\\n\".");
  EXPECT_EQ(fileNames().first(), "<b>%1</b>&\\n");
  EXPECT_EQ(namesOnImage(path, {"A"})[0], "<b>%1</b>&\\n");
}

TEST(NameTrimming, CutsSpacesAndTabsAtBothEndsAlone) {
  EXPECT_EQ(withoutSurroundingSpaces(""), "");
  EXPECT_EQ(withoutSurroundingSpaces(" \t "), "");
  EXPECT_EQ(withoutSurroundingSpaces("\t a\t b \t"), "a\t b");
  EXPECT_EQ(withoutSurroundingSpaces(" \n a\r\n"), "\n a\r\n");
}

} // namespace
} // namespace tessary
