#include "app/ContentController.h"
#include "tests/app/SheetTest.h"
#include "tests/support/BankBuilder.h"

#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QTest>

namespace tessary::test {
namespace {

class Finding : public SheetTest {
protected:
  static ImageBuilder banks() {
    ImageBuilder image;
    FolderBuilder drums = image.root().addFolder("Drums");
    drums.addFile("KIT 10", emulatorThreeBank("KIT", 9, 100));
    drums.addFile("kit 9", emulatorThreeBank("KIT", 10, 20));
    drums.addFile("NOTES", patternBytes(5000, 1), {.type = 0x82});
    drums.addFile("BASS", esi32Bank("BASS", 2, 3));
    FolderBuilder kits = drums.addFolder("Kits");
    kits.addFile("DEEP KIT", emulatorThreeBank("DEEP", 1, 1));
    image.root().addFolder("Pads").addFile("WARM", emulatorThreeBank("WARM", 1, 1));
    image.root().addFile("ROOT KIT");
    return image;
  }

  QLineEdit *findField() const { return window()->findChild<QLineEdit *>("FindField"); }
  QString count() const { return window()->findChild<QLabel *>("FindCount")->text(); }
  QWidget *bar() const { return window()->findChild<QWidget *>("FindBar"); }
  void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const {
    pressKeyIn(window(), key, modifiers);
    EXPECT_TRUE(waitUntilIdle());
  }
  void typeIntoField(const QString &text) const {
    ASSERT_TRUE(findField()->hasFocus());
    for (const QChar character : text)
      QTest::keyClick(window()->windowHandle(), character.toLatin1());
    EXPECT_TRUE(waitUntilIdle());
  }
  void find(const QString &text) const {
    press(Qt::Key_F, Qt::ControlModifier);
    typeIntoField(text);
  }
  void findEverywhere(const QString &text) const {
    press(Qt::Key_F, Qt::ControlModifier | Qt::ShiftModifier);
    typeIntoField(text);
  }
  void clickHeader(int column) const {
    QHeaderView *header = table()->horizontalHeader();
    click(header->viewport(), QPoint(header->sectionViewportPosition(column) + 20, header->height() / 2));
  }
};

// ---- Sorting

TEST_F(Finding, HeaderClicksSortUpwardsDownwardsAndNotAtAll) {
  mount(banks());
  ASSERT_TRUE(waitUntilIdle());
  const QStringList unsorted = fileNames();
  clickHeader(0);
  EXPECT_EQ(fileNames(), (QStringList{"BASS", "kit 9", "KIT 10", "NOTES"}));
  clickHeader(0);
  EXPECT_EQ(fileNames(), (QStringList{"NOTES", "KIT 10", "kit 9", "BASS"}));
  clickHeader(0);
  EXPECT_EQ(fileNames(), unsorted);
}

TEST_F(Finding, QuickClicksOnAHeaderCountToo) {
  mount(banks());
  QHeaderView *header = table()->horizontalHeader();
  const QPoint place(20, header->height() / 2);
  QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, place);
  QTest::mouseDClick(header->viewport(), Qt::LeftButton, {}, place); // which is the press alone
  EXPECT_EQ(fileNames().first(), "NOTES");
}

TEST_F(Finding, EachColumnSortsByWhatItHoldsNumbersAsNumbers) {
  mount(banks());
  ASSERT_TRUE(waitUntilIdle());
  const QStringList orders[] = {{"BASS", "kit 9", "KIT 10", "NOTES"},  // name
                                {"KIT 10", "kit 9", "BASS", "NOTES"},  // type: Bank, File
                                {"NOTES", "KIT 10", "kit 9", "BASS"},  // format: —, Emulator III, ESI-32
                                {"NOTES", "BASS", "KIT 10", "kit 9"},  // presets: none, 2, 9, 10
                                {"NOTES", "BASS", "kit 9", "KIT 10"},  // samples: none, 3, 20, 100
                                {"KIT 10", "kit 9", "BASS", "NOTES"}}; // size: 2048 three times, 5000
  for (int column = 0; column < 6; ++column) {
    clickHeader(column);
    EXPECT_EQ(fileNames(), orders[column]) << column;
  }
}

TEST_F(Finding, SortingKeepsTheSelection) {
  mount(banks());
  chooseFiles({"KIT 10", "BASS"});
  clickHeader(0);
  EXPECT_EQ(selectedFileNames(), (QStringList{"BASS", "KIT 10"}));
}

TEST_F(Finding, DetailsThatArriveAreSortedIn) {
  const std::string path = writeImage(banks());
  HeldVolume held(path);
  clickHeader(3); // presets
  controller_->openImageAtURL(path);
  held.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(fileNames(), (QStringList{"NOTES", "BASS", "KIT 10", "kit 9"}));
}

// ---- In the folder

TEST_F(Finding, FiltersTheFolderAsOneTypes) {
  mount(banks());
  EXPECT_FALSE(bar()->isVisible());
  find("k");
  EXPECT_EQ(fileNames(), (QStringList{"KIT 10", "kit 9"}));
  typeIntoField("it 1");
  EXPECT_EQ(fileNames(), QStringList{"KIT 10"});
  EXPECT_EQ(count(), "1 of 4");
  EXPECT_EQ(table()->model()->columnCount(), 6);
}

TEST_F(Finding, EscapeShowsAllFilesAgain) {
  mount(banks());
  find("bass");
  press(Qt::Key_Return);
  EXPECT_EQ(selectedFileNames(), QStringList{"BASS"});
  EXPECT_TRUE(table()->hasFocus());
  press(Qt::Key_Escape);
  EXPECT_FALSE(bar()->isVisible());
  EXPECT_EQ(fileNames().size(), 4);
  EXPECT_EQ(selectedFileNames(), QStringList{"BASS"}) << "what was found stays selected";
  find("x");
  press(Qt::Key_Escape);
  EXPECT_EQ(fileNames().size(), 4);
  EXPECT_TRUE(table()->hasFocus());
}

TEST_F(Finding, OtherFolderIsFilteredToo) {
  mount(banks());
  find("warm");
  EXPECT_EQ(fileNames(), QStringList());
  chooseFolder({"Pads"});
  EXPECT_EQ(fileNames(), QStringList{"WARM"});
  EXPECT_EQ(count(), "1 of 1");
}

TEST_F(Finding, DownGoesOnToTheFiles) {
  mount(banks());
  find("kit");
  press(Qt::Key_Down);
  EXPECT_TRUE(table()->hasFocus());
  EXPECT_EQ(selectedFileNames(), QStringList{"KIT 10"});
}

TEST_F(Finding, DeleteInTheFieldEditsIt) {
  mount(banks());
  find("kit");
  press(Qt::Key_Backspace, Qt::ControlModifier);
  EXPECT_EQ(findField()->text(), QString());
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
}

// ---- In all folders

TEST_F(Finding, AllFoldersAreSearchedAndNamed) {
  mount(banks());
  findEverywhere("kit");
  EXPECT_EQ(fileNames(), (QStringList{"ROOT KIT", "KIT 10", "kit 9", "DEEP KIT"}));
  ASSERT_EQ(table()->model()->columnCount(), 7);
  EXPECT_EQ(table()->model()->headerData(6, Qt::Horizontal).toString(), "Folder");
  QStringList folders;
  for (int row = 0; row < 4; ++row)
    folders += rowTexts(*table()->model(), row)[6];
  EXPECT_EQ(folders, (QStringList{"/", "/Drums", "/Drums", "/Drums/Kits"}));
  EXPECT_EQ(rowTexts(*table()->model(), 3)[2], "Emulator III") << "details of other folders are read too";
  clickHeader(6);
  EXPECT_EQ(fileNames().last(), "DEEP KIT");
}

TEST_F(Finding, ReturnGoesToTheFolderOfWhatWasFound) {
  mount(banks());
  findEverywhere("deep");
  press(Qt::Key_Return);
  EXPECT_FALSE(bar()->isVisible());
  EXPECT_EQ(fileNames(), QStringList{"DEEP KIT"});
  EXPECT_EQ(selectedFileNames(), QStringList{"DEEP KIT"});
  EXPECT_EQ(highlightedLabel(), "Kits (1)");
  EXPECT_EQ(table()->model()->columnCount(), 6);
}

TEST_F(Finding, ReturnInTheResultsGoesThereToo) {
  mount(banks());
  findEverywhere("kit");
  press(Qt::Key_Down);
  press(Qt::Key_Down); // KIT 10
  press(Qt::Key_Return);
  EXPECT_EQ(selectedFileNames(), QStringList{"KIT 10"});
  EXPECT_EQ(highlightedLabel(), "Drums (4)");
}

TEST_F(Finding, WhereToLookIsChosenInTheBar) {
  mount(banks());
  find("kit");
  window()->findChild<QComboBox *>("FindWhere")->setCurrentIndex(1);
  EXPECT_EQ(fileNames().size(), 4);
  window()->findChild<QComboBox *>("FindWhere")->setCurrentIndex(0);
  EXPECT_EQ(fileNames().size(), 2);
}

TEST_F(Finding, ChoosingAFolderEndsTheSearchOfAll) {
  mount(banks());
  findEverywhere("kit");
  chooseFolder({"Pads"});
  EXPECT_EQ(fileNames(), QStringList{"WARM"});
  EXPECT_FALSE(bar()->isVisible());
  findEverywhere("kit");
  chooseFolder({"Pads"}); // the folder it was begun in
  EXPECT_EQ(fileNames(), QStringList{"WARM"});
}

TEST_F(Finding, CommandsActOnFilesInTheirOwnFolders) {
  const std::string path = mount(banks());
  findEverywhere("kit");
  chooseFiles({"ROOT KIT", "DEEP KIT"});
  press(Qt::Key_Delete);
  answerSheet("Delete");
  EXPECT_EQ(status(), "Deleted 2 file(s).");
  EXPECT_TRUE(namesOnImage(path, {}).empty());
  EXPECT_TRUE(namesOnImage(path, {"Drums", "Kits"}).empty());
  EXPECT_EQ(fileNames(), (QStringList{"KIT 10", "kit 9"}));
  pressUndoKey();
  EXPECT_EQ(namesOnImage(path, {}), std::vector<std::string>{"ROOT KIT"});
  EXPECT_EQ(namesOnImage(path, {"Drums", "Kits"}), std::vector<std::string>{"DEEP KIT"});
}

TEST_F(Finding, UnmountingEndsIt) {
  mount(banks());
  findEverywhere("kit");
  controller_->_unmountImage();
  EXPECT_FALSE(bar()->isVisible());
  EXPECT_EQ(table()->model()->rowCount(), 0);
}

} // namespace
} // namespace tessary::test
