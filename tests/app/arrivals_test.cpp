#include "tests/app/FileDrag.h"
#include "tests/app/SheetTest.h"
#include "tests/support/BankBuilder.h"

#include <QTest>

namespace tessary::test {
namespace {

/// What has newly come into the image: shown at once, in its folder, with its details, selected.
class Arrivals : public SheetTest {
protected:
  static ImageBuilder banks() {
    ImageBuilder image;
    FolderBuilder drums = image.root().addFolder("Drums");
    drums.addFile("KIT", emulatorThreeBank("KIT", 9, 12));
    drums.addFile("LOOP", emulatorThreeBank("LOOP", 2, 3));
    drums.addFolder("Toms").addFolder("Low");
    image.root().addFolder("Pads").addFile("WARM", emulatorThreeBank("WARM", 1, 1));
    return image;
  }
  std::string hostBank(const std::string &name) const {
    return writeHostFile(name + ".E4B", esi32Bank("NEW", 7, 8));
  }
  QStringList details(const QString &name) const {
    return rowTexts(*table()->model(), fileItem(name).row()).mid(2, 3);
  }
};

TEST_F(Arrivals, ImportedBankIsSelectedWithItsDetails) {
  mount(banks());
  clickToolbar("ImportItem");
  confirmPanel({hostBank("NEW"), hostBank("NEWER")});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(selectedFileNames(), (QStringList{"NEW", "NEWER"}));
  EXPECT_EQ(details("NEW"), (QStringList{"ESI-32 v3", "7", "8"}));
}

TEST_F(Arrivals, BankDroppedOnTheTableIsSelectedWithItsDetails) {
  mount(banks());
  FileDrag drag({hostBank("NEW")});
  drag.dropOn(table()->viewport(), emptyPlace(table()));
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(selectedFileNames(), QStringList{"NEW"});
  EXPECT_EQ(details("NEW"), (QStringList{"ESI-32 v3", "7", "8"}));
}

TEST_F(Arrivals, BankDroppedOnAFolderIsShownThereInTableAndSidebar) {
  mount(banks());
  FileDrag drag({hostBank("NEW")});
  drag.dropOn(outline()->viewport(), outline()->visualRect(folderItem({"Pads"})).center());
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(highlightedLabel(), "Pads (2)");
  EXPECT_EQ(selectedFileNames(), QStringList{"NEW"});
  EXPECT_EQ(details("NEW"), (QStringList{"ESI-32 v3", "7", "8"}));
}

TEST_F(Arrivals, ImportThatEndsAfterAnotherFolderWasChosenLeavesThatShown) {
  mount(banks());
  HeldQueue held(*controller_->filesystem());
  clickToolbar("ImportItem");
  confirmPanel({hostBank("NEW")});
  chooseFolder({"Pads"});
  held.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(highlightedLabel(), "Pads (1)");
  EXPECT_EQ(fileNames(), QStringList{"WARM"});
  EXPECT_EQ(outlineLabels().first(), "Drums (3)");
}

TEST_F(Arrivals, RestoredFilesAreSelectedWithTheirDetails) {
  mount(banks());
  chooseFiles({"KIT"});
  clickToolbar("DeleteItem");
  answerSheet("Delete");
  pressUndoKey();
  EXPECT_EQ(selectedFileNames(), QStringList{"KIT"});
  EXPECT_EQ(details("KIT"), (QStringList{"Emulator III", "9", "12"}));
}

TEST_F(Arrivals, UndoShowsTheFolderThatTheFilesComeBackTo) {
  mount(banks());
  chooseFiles({"KIT"});
  clickToolbar("DeleteItem");
  answerSheet("Delete");
  chooseFolder({"Pads"});
  pressUndoKey();
  EXPECT_EQ(highlightedLabel(), "Drums (2)");
  EXPECT_EQ(selectedFileNames(), QStringList{"KIT"});
}

TEST_F(Arrivals, CopyIntoAClosedFolderIsShownInTableAndSidebar) {
  mount(banks());
  chooseFiles({"KIT", "LOOP"});
  chooseFromFileMenu("KIT", "Copy to…");
  answerWithFolder(3, "Copy"); // root, Drums, Toms, Low
  EXPECT_EQ(highlightedLabel(), "Low (2)");
  EXPECT_EQ(selectedFileNames(), (QStringList{"KIT", "LOOP"}));
  EXPECT_EQ(details("KIT"), (QStringList{"Emulator III", "9", "12"}));
}

TEST_F(Arrivals, MovedFilesAreSelectedWhereTheyAre) {
  mount(banks());
  chooseFiles({"LOOP"});
  chooseFromFileMenu("LOOP", "Move to…");
  answerWithFolder(4, "Move");
  EXPECT_EQ(highlightedLabel(), "Pads (2)");
  EXPECT_EQ(selectedFileNames(), QStringList{"LOOP"});
}

TEST_F(Arrivals, CopyIntoTheRootIsShownInTableAndSidebar) {
  mount(banks());
  chooseFiles({"KIT"});
  chooseFromFileMenu("KIT", "Copy to…");
  answerWithFolder(0, "Copy");
  EXPECT_EQ(highlightedLabel(), QString());
  EXPECT_TRUE(window()->findChild<QToolButton *>("RootButton")->isChecked());
  EXPECT_EQ(selectedFileNames(), QStringList{"KIT"});
}

TEST_F(Arrivals, SearchThatWouldHideThemEnds) {
  mount(banks());
  controller_->_find();
  window()->findChild<QLineEdit *>("FindField")->setText("loop");
  clickToolbar("ImportItem");
  confirmPanel({hostBank("NEW")});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(fileNames(), (QStringList{"KIT", "LOOP", "NEW"}));
  EXPECT_EQ(selectedFileNames(), QStringList{"NEW"});
}

// ---- Failures

TEST_F(Arrivals, EachFileThatWasNotImportedIsListedWithItsReason) {
  mount(banks());
  const AlertAnswers alerts;
  clickToolbar("ImportItem");
  const std::string unreadable = hostFolder("import") + "/GONE.E4B";
  writeBytes(unreadable, bytesOf("x"));
  const std::string blank = writeHostFile("   .E4B", bytesOf("y"));
  const std::string good = hostBank("NEW");
  auto *panel = sheet<QFileDialog>();
  ASSERT_NE(panel, nullptr);
  emit panel->filesSelected({QString::fromStdString(blank), QString::fromStdString(good),
                             QString::fromStdString(unreadable + " is gone")});
  panel->reject();
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Import Failed (2 of 3)");
  ASSERT_EQ(alerts.shown()[0].failures.size(), 2);
  EXPECT_TRUE(alerts.shown()[0].failures[0].startsWith("   .E4B: Name must be"));
  EXPECT_TRUE(alerts.shown()[0].failures[1].startsWith("GONE.E4B is gone: "));
  EXPECT_EQ(status(), "Imported 1 file(s) (2 failed).");
}

TEST_F(Arrivals, EachFileThatWasNotCopiedIsListedWithItsReason) {
  ImageBuilder image({.sizeBytes = kMiB});
  FolderBuilder a = image.root().addFolder("A");
  a.addFile("BIG", patternBytes(400 * 1024, 1));
  a.addFile("SMALL", patternBytes(600, 2));
  image.root().addFolder("B");
  mount(image);
  chooseFiles({"BIG", "SMALL"});
  chooseFromFileMenu("BIG", "Copy to…");
  const AlertAnswers alerts;
  answerWithFolder(2, "Copy");
  if (alerts.shown().empty()) { // there was room for one copy
    chooseFolder({"A"});
    chooseFiles({"BIG", "SMALL"});
    chooseFromFileMenu("BIG", "Copy to…");
    answerWithFolder(2, "Copy");
  }
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Copy Failed (1 of 2)");
  ASSERT_EQ(alerts.shown()[0].failures.size(), 1);
  EXPECT_TRUE(alerts.shown()[0].failures[0].startsWith("BIG: "));
  EXPECT_EQ(status(), "Copied 1 file(s) (1 failed).");
}

TEST_F(Arrivals, FailuresCanBeCopied) {
  mount(banks());
  std::vector<std::string> paths;
  for (int number = 0; number < 12; ++number)
    paths.push_back(folder_.path("missing " + std::to_string(number)));
  FileDrag drag(paths);
  QTimer::singleShot(300, [] {
    auto *alert = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
    ASSERT_NE(alert, nullptr);
    clickButton(alert, "Copy");
    EXPECT_TRUE(alert->isVisible());
    clickButton(alert, "OK");
  });
  drag.dropOn(table()->viewport(), emptyPlace(table()));
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(QGuiApplication::clipboard()->text().split('\n').size(), 12);
  EXPECT_TRUE(QGuiApplication::clipboard()->text().startsWith("missing 0: "));
}

} // namespace
} // namespace tessary::test
