#include "app/Settings.h"
#include "tests/app/FileDrag.h"
#include "tests/app/SheetTest.h"

#include <QCheckBox>
#include <QTest>
#include <filesystem>

namespace tessary::test {
namespace {

/// The question that comes before the first change of an image.
class BackupOffer : public SheetTest {
protected:
  BackupOffer() { BackupOffers::setMade(true); }

  void askToRename() {
    chooseFiles({"FIRST"});
    chooseFromFileMenu("FIRST", "Rename…");
  }
  bool offers() const { return sheet<QMessageBox>() && question().text().startsWith("Back up “"); }
  QCheckBox *notAgain() const { return question().findChild<QCheckBox *>(); }
};

TEST_F(BackupOffer, ComesBeforeTheFirstChange) {
  mount(volume());
  EXPECT_EQ(sheet<QMessageBox>(), nullptr) << "looking changes nothing";
  askToRename();
  const ShownAlert asked = describe(question());
  EXPECT_EQ(asked.message, "Back up “disk.hda” first?");
  EXPECT_EQ(asked.buttons.size(), 2);
  EXPECT_TRUE(asked.buttons.contains("Back Up…") && asked.buttons.contains("Not Now"));
  EXPECT_EQ(notAgain()->text(), QStringLiteral("Don’t ask again for this image"));
  EXPECT_FALSE(notAgain()->isChecked());
  EXPECT_EQ(question().defaultButton()->text(), "Back Up…");
  answerSheet("Not Now");
  EXPECT_EQ(question().text(), "Rename File") << "the change goes on";
  answerSheet("Cancel");
}

TEST_F(BackupOffer, ComesOnce) {
  mount(volume());
  askToRename();
  answerSheet("Not Now");
  answerWithName("NEW");
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), "Renamed to \"NEW\".");
  chooseFiles({"SECOND"});
  chooseFromFileMenu("SECOND", "Rename…");
  EXPECT_EQ(question().text(), "Rename File");
  answerSheet("Cancel");
}

TEST_F(BackupOffer, ComesAgainWhenTheImageIsMountedAgain) {
  const std::string path = mount(volume());
  askToRename();
  answerSheet("Not Now");
  answerSheet("Cancel");
  controller_->_unmountImage();
  openImage(path);
  askToRename();
  EXPECT_TRUE(offers());
  answerSheet("Not Now");
  answerSheet("Cancel");
}

TEST_F(BackupOffer, EscapeLeavesTheStepThatWasToBeUndone) {
  const std::string path = mount(volume());
  chooseFiles({"FIRST"});
  clickToolbar("DeleteItem");
  answerSheet("Not Now");
  answerSheet("Delete");
  ASSERT_TRUE(waitUntilIdle());
  controller_->_unmountImage();
  openImage(path);
  clickToolbar("UndoItem");
  ASSERT_TRUE(offers());
  QTest::keyClick(sheet<QMessageBox>(), Qt::Key_Escape);
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_FALSE(fileNames().contains("FIRST"));
  ASSERT_TRUE(toolbarButton("UndoItem")->isEnabled());
  clickToolbar("UndoItem");
  answerSheet("Not Now");
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_TRUE(fileNames().contains("FIRST"));
}

TEST_F(BackupOffer, IsMadeNoMoreForAnImageThatTheUserSaysSoOf) {
  const std::string path = mount(volume());
  askToRename();
  notAgain()->click();
  answerSheet("Not Now");
  answerSheet("Cancel");
  openImage(path);
  askToRename();
  EXPECT_FALSE(offers());
  answerSheet("Cancel");
  mount(volume(), "other.hda");
  askToRename();
  EXPECT_TRUE(offers()) << "another image";
  answerSheet("Not Now");
  answerSheet("Cancel");
}

TEST_F(BackupOffer, EscapeTakesTheChangeBackAndLetsItBeMadeAgain) {
  const std::string path = mount(volume());
  askToRename();
  notAgain()->click();
  pressKey(Qt::Key_Escape);
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
  EXPECT_EQ(namesOnImage(path, {"A"})[0], "FIRST");
  askToRename();
  EXPECT_TRUE(offers());
  pressKey(Qt::Key_Escape);
}

TEST_F(BackupOffer, BacksUpAndThenGoesOnWithTheChange) {
  const ImageBuilder image = volume();
  const std::string path = mount(image);
  const Bytes before = readBytes(path);
  askToRename();
  answerSheet("Back Up…");
  const std::string copy = hostFolder("copies") + "/copy.hda";
  confirmPanel({copy});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(readBytes(copy), before);
  answerWithName("NEW");
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(namesOnImage(path, {"A"})[0], "NEW");
}

TEST_F(BackupOffer, ChangeIsNotMadeWhereTheBackupFailsOrIsCancelled) {
  mount(volume());
  askToRename();
  answerSheet("Back Up…");
  sheet<QFileDialog>()->reject();
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
  askToRename();
  EXPECT_TRUE(offers());
  answerSheet("Back Up…");
  const AlertAnswers alerts;
  emit sheet<QFileDialog>()->fileSelected(QString::fromStdString(folder_.path("no folder") + "/copy.hda"));
  sheet<QFileDialog>()->reject();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(status(), "The backup failed.");
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
}

TEST_F(BackupOffer, StandsBeforeEveryKindOfChange) {
  const char *const images[] = {"1.hda", "2.hda", "3.hda", "4.hda", "5.hda", "6.hda"};
  const std::function<void()> commands[] = {[this] { controller_->_newFolder(); },
                                            [this] { controller_->_importFile(); },
                                            [this] {
                                              chooseFiles({"FIRST"});
                                              controller_->_deleteSelected();
                                            },
                                            [this] {
                                              chooseFiles({"FIRST"});
                                              controller_->_moveToDir();
                                            },
                                            [this] { controller_->_deleteFolder(); },
                                            [this] {
                                              FileDrag drag({writeHostFile("NEW", bytesOf("new"))});
                                              drag.dropOn(table()->viewport(), emptyPlace(table()));
                                            }};
  for (int command = 0; command < 6; ++command) {
    mount(volume(), images[command]);
    commands[command]();
    EXPECT_TRUE(offers()) << command;
    pressKey(Qt::Key_Escape);
  }
}

TEST_F(BackupOffer, IsNotMadeForWhatIsOnlyRead) {
  mount(volume());
  chooseFiles({"FIRST"});
  clickToolbar("ExportItem");
  ASSERT_NE(sheet<QFileDialog>(), nullptr);
  sheet<QFileDialog>()->reject();
  controller_->_backUpImage();
  ASSERT_NE(sheet<QFileDialog>(), nullptr);
  sheet<QFileDialog>()->reject();
}

TEST_F(BackupOffer, CanBeTurnedOffInTheSettings) {
  BackupOffers::setMade(false);
  mount(volume());
  askToRename();
  EXPECT_FALSE(offers());
  answerSheet("Cancel");
}

} // namespace
} // namespace tessary::test
