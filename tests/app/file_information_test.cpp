#include "filesystem/TreeEditor.h"
#include "tests/app/SheetTest.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/MountedVolume.h"

#include <QFileDialog>
#include <QLabel>
#include <QPushButton>
#include <QTest>

namespace tessary {
namespace {

using test::describe;
using test::FolderBuilder;
using test::IffBank;
using test::ImageBuilder;
using test::patternBytes;

class FileInformationTest : public test::SheetTest {
protected:
  static ImageBuilder banks() {
    ImageBuilder image;
    FolderBuilder folder = image.root().addFolder("BANKS");
    folder.addFile("Three", test::emulatorThreeBank("EIII BANK", 3, 11));
    folder.addFile("ThreeX", test::emulator3XBank("E3X BANK", 1, 2));
    folder.addFile("Esi", test::esi32Bank("ESI BANK", 4, 5));
    folder.addFile("Four", IffBank().preset("P").sample("S", patternBytes(100)).build());
    folder.addFile("Nothing", patternBytes(8));
    folder.addFile("System", patternBytes(2048), {.type = 0x80});
    folder.addFile("Plain", patternBytes(10), {.type = 0x82});
    return image;
  }

  void doubleClick(const QString &file, Qt::MouseButton button = Qt::LeftButton,
                   Qt::KeyboardModifiers modifiers = {}) {
    const QPoint place = table()->visualRect(fileItem(file)).center();
    QTest::mouseDClick(window()->windowHandle(), button, modifiers,
                       table()->viewport()->mapTo(window(), place));
  }
  /// What the sheet tells about the file; closes it.
  QString informationOn(const QString &file) {
    doubleClick(file);
    const QString text = question().informativeText();
    answerSheet("OK");
    return text;
  }
};

TEST_F(FileInformationTest, DoubleClickShowsItInASheet) {
  mount(banks());
  doubleClick("Esi");
  const test::ShownAlert shown = describe(question());
  EXPECT_EQ(shown.message, "Esi");
  EXPECT_EQ(shown.informativeText,
            "Name:    ESI BANK\nFormat:  ESI-32 v3\nSize:    2.0 KB\nPresets: 4\nSamples: 5");
  EXPECT_EQ(shown.buttons.size(), 2);
  EXPECT_EQ(question().defaultButton()->text(), "OK");
  EXPECT_EQ(question().escapeButton()->text(), "OK");
  ASSERT_EQ(question().buttons().size(), 2);
  EXPECT_TRUE(shown.buttons.contains("Export…"));
  EXPECT_EQ(question().windowModality(), Qt::WindowModal);
  EXPECT_EQ(question().focusWidget(), question().defaultButton());
  EXPECT_EQ(beeps_.count(), 0);
}

TEST_F(FileInformationTest, EachFormatHasItsName) {
  mount(banks());
  EXPECT_EQ(informationOn("Three"),
            "Name:    EIII BANK\nFormat:  Emulator III\nSize:    2.0 KB\nPresets: 3\nSamples: 11");
  EXPECT_EQ(informationOn("ThreeX"),
            "Name:    E3X BANK\nFormat:  Emulator 3X\nSize:    2.0 KB\nPresets: 1\nSamples: 2");
  const QString four = informationOn("Four");
  EXPECT_TRUE(four.contains("\nFormat:  Emulator IV\n")) << four.toStdString();
  EXPECT_TRUE(four.endsWith("\nPresets: 1\nSamples: 1")) << four.toStdString();
}

TEST_F(FileInformationTest, BankThatCannotBeReadHasItsFilesName) {
  mount(banks());
  EXPECT_EQ(informationOn("Nothing"),
            "Name:    Nothing\nFormat:  Unknown\nSize:    8 B\nPresets: 0\nSamples: 0");
}

TEST_F(FileInformationTest, OtherFilesHaveTheirTypeAndSize) {
  mount(banks());
  EXPECT_EQ(informationOn("System"), "Name: System\nType: System\nSize: 2.0 KB");
  EXPECT_EQ(informationOn("Plain"), "Name: Plain\nType: File\nSize: 10 B");
}

TEST_F(FileInformationTest, BankIsReadWhenItIsAskedFor) {
  const std::string path = writeImage(banks());
  EMU3FilesystemPtr filesystem;
  openImage(path);
  test::HeldQueue held(*controller_->filesystem());
  const EMU3FilePtr bank = test::fileNamed(folder({"BANKS"}), "Esi");
  TreeEditor::setBankDetails(*bank, {}); // as before the folder's banks have been read
  doubleClick("Esi");
  EXPECT_TRUE(question().informativeText().contains("ESI-32 v3"));
}

TEST_F(FileInformationTest, ReturnAndEnterInTheTableShowIt) {
  mount(banks());
  chooseFiles({"Plain"});
  pressKeyInTable(Qt::Key_Return);
  EXPECT_EQ(question().text(), "Plain");
  pressKey(Qt::Key_Return);
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
  pressKeyInTable(Qt::Key_Enter);
  EXPECT_EQ(question().text(), "Plain");
  pressKey(Qt::Key_Escape);
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
  test::pressKeyIn(window(), Qt::Key_Enter, Qt::KeypadModifier);
  EXPECT_EQ(question().text(), "Plain");
}

TEST_F(FileInformationTest, KeysElsewhereDoNotShowIt) {
  mount(banks());
  chooseFiles({"Plain"});
  outline()->setFocus();
  test::pressKeyIn(window(), Qt::Key_Return);
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
}

TEST_F(FileInformationTest, OfTwoFilesOrNoneDoesNothing) {
  mount(banks());
  pressKeyInTable(Qt::Key_Return);
  chooseFiles({"Three"});
  doubleClick("Plain", Qt::LeftButton, Qt::ControlModifier);
  chooseFiles({"Three", "Esi"});
  pressKeyInTable(Qt::Key_Return);
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
  EXPECT_EQ(beeps_.count(), 0);
}

TEST_F(FileInformationTest, WithoutAnImageDoesNothing) {
  pressKeyInTable(Qt::Key_Return);
  controller_->_tableDoubleClick();
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
  EXPECT_EQ(beeps_.count(), 0);
}

TEST_F(FileInformationTest, DoubleClickBelowTheRowsOrWithAnotherButtonDoesNothing) {
  mount(banks());
  chooseFiles({"Plain"});
  QTest::mouseDClick(window()->windowHandle(), Qt::LeftButton, {},
                     table()->viewport()->mapTo(window(), test::emptyPlace(table())));
  doubleClick("Plain", Qt::MiddleButton);
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
}

TEST_F(FileInformationTest, OkAndEscapeOnlyCloseTheSheet) {
  mount(banks());
  const QString before = status();
  doubleClick("Plain");
  answerSheet("OK");
  doubleClick("Plain");
  pressKey(Qt::Key_Escape);
  EXPECT_EQ(sheet<QDialog>(), nullptr);
  EXPECT_EQ(status(), before);
}

TEST_F(FileInformationTest, ExportExportsTheFile) {
  mount(banks());
  doubleClick("Plain");
  answerSheet("Export…");
  ASSERT_NE(sheet<QFileDialog>(), nullptr);
  EXPECT_EQ(sheet<QFileDialog>()->windowTitle(), "Export 1 file(s) to folder");
  const std::string target = hostFolder("export");
  confirmPanel({target});
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(test::namesIn(target), std::vector<std::string>{"Plain.E4B"});
  EXPECT_EQ(beeps_.count(), 0);
}

TEST_F(FileInformationTest, ExportAfterTheImageWasReplacedDoesNothing) {
  mount(banks());
  doubleClick("Plain");
  ASSERT_EQ(question().text(), "Plain");
  mount(banks(), "other.hda");
  answerSheet("Export…");
  EXPECT_EQ(sheet<QFileDialog>(), nullptr);
  EXPECT_EQ(beeps_.count(), 0);
}

TEST_F(FileInformationTest, NamesStandAsTheyAre) {
  ImageBuilder image;
  FolderBuilder folder = image.root().addFolder("A");
  folder.addFile("<b>%1</b>\n", patternBytes(10), {.type = 0x82});
  folder.addFile("Esi", test::esi32Bank("<i>%2\n</i>", 0, 0));
  mount(image);
  doubleClick("<b>%1</b>\\n");
  EXPECT_EQ(question().text(), "<b>%1</b>\\n");
  EXPECT_EQ(question().informativeText(), "Name: <b>%1</b>\\n\nType: File\nSize: 10 B");
  for (const QLabel *label : question().findChildren<QLabel *>())
    EXPECT_EQ(label->textFormat(), label->text().isEmpty() ? label->textFormat() : Qt::PlainText);
  answerSheet("OK");
  EXPECT_TRUE(informationOn("Esi").startsWith("Name:    <i>%2\\n</i>\n"));
}

TEST_F(FileInformationTest, FileWithoutANameIsFileInfo) {
  mount(banks());
  TreeEditor::setName(*test::fileNamed(folder({"BANKS"}), "Plain"), "");
  chooseFiles({"Plain"});
  pressKeyInTable(Qt::Key_Return);
  EXPECT_EQ(question().text(), "File Info");
}

} // namespace
} // namespace tessary
