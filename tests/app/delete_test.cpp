#include "app/Alert.h"
#include "app/ContentController.h"
#include "app/Spinner.h"
#include "tests/app/FileCommandTest.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/CapturedLog.h"

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QSet>
#include <QTest>
#include <algorithm>
#include <filesystem>
#include <sys/stat.h>

namespace tessary::test {
namespace {

const QString kDelete = QStringLiteral("Delete");
const QString kCancel = QStringLiteral("Cancel");

class Delete : public FileCommandTest {
protected:
  static ImageBuilder drums(std::vector<std::string> names = {"KICK", "SNARE", "HAT"}) {
    ImageBuilder image;
    auto folder = image.root().addFolder("Drums", {.blockCount = 2});
    for (std::uint32_t i = 0; i < names.size(); ++i)
      folder.addFile(names[i], patternBytes(1000 + 700 * i, i));
    image.root().addFolder("Pads");
    return image;
  }

  StoredFiles drumsOnImage() const { return filesOnImage(imagePath_, {"Drums"}); }
  /// In alphabetical order: a restored file takes the first free entry, wherever the table shows it.
  std::vector<std::string> drumNames() const {
    std::vector<std::string> names = namesOnImage(imagePath_, {"Drums"});
    std::sort(names.begin(), names.end());
    return names;
  }

  void mountDrums(const ImageBuilder &image) { imagePath_ = mount(image); }

  /// Deletes the files with the toolbar's button and waits until they are gone.
  void deleteFiles(const QStringList &names) {
    chooseFiles(names);
    clickToolbar("DeleteItem");
    answerSheet(kDelete);
  }
  void undo() {
    clickToolbar("UndoItem");
    ASSERT_TRUE(waitUntilIdle());
  }
  void redo() {
    clickToolbar("RedoItem");
    ASSERT_TRUE(waitUntilIdle());
  }
  bool canUndo() const { return toolbarButton("UndoItem")->isEnabled(); }
  bool canRedo() const { return toolbarButton("RedoItem")->isEnabled(); }

  std::string backupFolder() const {
    return folder_.path("tmp") + "/tessary-" + std::to_string(::geteuid()) + "/EMU3Delete";
  }
  /// Names of the backups, each as "step/NAME", steps in no particular order.
  std::vector<std::vector<std::string>> backups() const {
    std::vector<std::vector<std::string>> steps;
    for (const std::string &step : namesIn(backupFolder()))
      steps.push_back(namesIn(backupFolder() + "/" + step));
    return steps;
  }

  std::string imagePath_;
};

StoredFiles sorted(StoredFiles files) {
  std::sort(files.begin(), files.end());
  return files;
}

// ---- Before anything is deleted

TEST_F(Delete, WithNothingSelectedOnlyBeeps) {
  mountDrums(drums());
  clickToolbar("DeleteItem");
  EXPECT_EQ(beeps_.count(), 1);
  pressKeyIn(window(), Qt::Key_Backspace, Qt::ControlModifier);
  EXPECT_EQ(beeps_.count(), 2);
  EXPECT_EQ(sheet<QDialog>(), nullptr);
  EXPECT_EQ(status(), QStringLiteral("Drums — 3 file(s)"));
}

TEST_F(Delete, WithoutAnImageOnlyBeeps) {
  EXPECT_FALSE(toolbarButton("DeleteItem")->isEnabled());
  pressKeyIn(window(), Qt::Key_Backspace, Qt::ControlModifier);
  EXPECT_EQ(beeps_.count(), 1);
  EXPECT_EQ(sheet<QDialog>(), nullptr);
}

TEST_F(Delete, OfAReadOnlyImageIsRefusedWithAnAlert) {
  imagePath_ = mountReadOnly(drums());
  chooseFiles({QStringLiteral("KICK")});
  AlertAnswers answers;
  clickToolbar("DeleteItem");
  ASSERT_EQ(answers.shown().size(), 1U);
  EXPECT_EQ(answers.shown()[0].message, QStringLiteral("Read-Only Image"));
  EXPECT_EQ(answers.shown()[0].informativeText,
            QStringLiteral("This image is opened read-only and cannot be modified."));
  EXPECT_EQ(answers.shown()[0].buttons.size(), 1);
  EXPECT_EQ(sheet<QDialog>(), nullptr);
  EXPECT_EQ(beeps_.count(), 0);
  EXPECT_EQ(drumNames().size(), 3U);
}

TEST_F(Delete, WithNothingSelectedOnAReadOnlyImageBeeps) {
  imagePath_ = mountReadOnly(drums());
  clickToolbar("DeleteItem");
  EXPECT_EQ(beeps_.count(), 1);
}

TEST_F(Delete, AsksFirst) {
  mountDrums(drums());
  chooseFiles({QStringLiteral("KICK"), QStringLiteral("HAT")});
  clickToolbar("DeleteItem");
  auto *question = sheet<Alert>();
  ASSERT_NE(question, nullptr);
  const ShownAlert shown = describe(*question);
  EXPECT_EQ(shown.message, QStringLiteral("Delete 2 file(s)?"));
  EXPECT_EQ(shown.informativeText, QStringLiteral("You can undo with Cmd+Z."));
  EXPECT_EQ(QSet<QString>(shown.buttons.begin(), shown.buttons.end()), (QSet<QString>{kDelete, kCancel}));
  EXPECT_EQ(question->defaultButton()->text(), kDelete);
  EXPECT_EQ(question->buttonRole(question->defaultButton()), QMessageBox::DestructiveRole);
  EXPECT_EQ(drumNames().size(), 3U) << "not answered yet";
  answerSheet(kCancel);
}

TEST_F(Delete, AnsweredOtherwiseDoesNothing) {
  mountDrums(drums());
  const Bytes before = readBytes(imagePath_);
  chooseFiles({QStringLiteral("KICK")});
  clickToolbar("DeleteItem");
  answerSheet(kCancel);
  clickToolbar("DeleteItem");
  ASSERT_NE(sheet<Alert>(), nullptr);
  pressKeyIn(sheet<Alert>(), Qt::Key_Escape);
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(sheet<QDialog>(), nullptr);
  EXPECT_EQ(readBytes(imagePath_), before);
  EXPECT_EQ(status(), QStringLiteral("Drums — 3 file(s)"));
  EXPECT_EQ(selectedFileNames(), QStringList{QStringLiteral("KICK")});
  EXPECT_FALSE(canUndo());
  EXPECT_FALSE(std::filesystem::exists(backupFolder()));
}

TEST_F(Delete, KeyWhileTheQuestionIsUpBeepsAndAsksNoSecondTime) {
  mountDrums(drums());
  chooseFiles({QStringLiteral("KICK")});
  clickToolbar("DeleteItem");
  pressKeyIn(sheet<Alert>(), Qt::Key_Backspace, Qt::ControlModifier);
  EXPECT_EQ(beeps_.count(), 1);
  EXPECT_EQ(window()->findChildren<QDialog *>().size(), 1);
  answerSheet(kCancel);
}

TEST_F(Delete, KeyWhileTheReadOnlyAlertIsUpRunsNoSecondAlert) {
  imagePath_ = mountReadOnly(drums());
  chooseFiles({QStringLiteral("KICK")});
  qsizetype alerts = 0;
  QTimer pressing;
  pressing.callOnTimeout([&] {
    QWidget *alert = QApplication::activeModalWidget();
    if (!alert) return;
    pressing.stop();
    pressKeyIn(alert, Qt::Key_Backspace, Qt::ControlModifier);
    alerts = window()->findChildren<QDialog *>().size();
    alert->close();
  });
  pressing.start(10);
  clickToolbar("DeleteItem");
  EXPECT_EQ(alerts, 1);
  EXPECT_EQ(beeps_.count(), 1);
}

// ---- Deleting

TEST_F(Delete, TakesTheFilesOffTheImageAndSaysHowMany) {
  mountDrums(drums());
  const QString spaceBefore = diskSpace();
  deleteFiles({QStringLiteral("KICK"), QStringLiteral("HAT")});
  EXPECT_EQ(status(), QStringLiteral("Deleted 2 file(s)."));
  EXPECT_EQ(fileNames(), QStringList{QStringLiteral("SNARE")});
  EXPECT_EQ(outlineLabels(), (QStringList{QStringLiteral("Drums (1)"), QStringLiteral("Pads")}));
  EXPECT_NE(diskSpace(), spaceBefore);
  EXPECT_EQ(drumsOnImage(), (StoredFiles{{"SNARE", patternBytes(1700, 1)}}));
  EXPECT_TRUE(canUndo());
  EXPECT_FALSE(canRedo());
  EXPECT_EQ(controller_->undoManager()->actionName(), kDelete);
}

TEST_F(Delete, IsConfirmedWithReturn) {
  mountDrums(drums());
  chooseFiles({QStringLiteral("KICK")});
  clickToolbar("DeleteItem");
  pressKeyIn(sheet<Alert>(), Qt::Key_Return);
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"HAT", "SNARE"}));
}

TEST_F(Delete, IsReachedFromTheMenuAndTheKeyboard) {
  mountDrums(drums());
  chooseFromFileMenu(QStringLiteral("SNARE"), kDelete);
  answerSheet(kDelete);
  chooseFiles({QStringLiteral("HAT")});
  pressKeyIn(window(), Qt::Key_Delete, Qt::ControlModifier);
  answerSheet(kDelete);
  EXPECT_EQ(drumNames(), std::vector<std::string>{"KICK"});
}

TEST_F(Delete, BacksEachFileUpFirst) {
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK"), QStringLiteral("HAT")});
  ASSERT_EQ(backups(), (std::vector<std::vector<std::string>>{{"HAT.E4B", "KICK.E4B"}}));
  const std::string step = backupFolder() + "/" + namesIn(backupFolder())[0];
  EXPECT_EQ(readBytes(step + "/KICK.E4B"), patternBytes(1000, 0));
  EXPECT_EQ(readBytes(step + "/HAT.E4B"), patternBytes(2400, 2));
  struct stat status {};
  ASSERT_EQ(::stat(step.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0700U);
}

TEST_F(Delete, RunsOnTheQueueWithoutTheSpinner) {
  mountDrums(drums());
  HeldQueue queue(*controller_->filesystem());
  chooseFiles({QStringLiteral("KICK")});
  clickToolbar("DeleteItem");
  clickButton(sheet<Alert>(), kDelete);
  QCoreApplication::processEvents();
  EXPECT_FALSE(controller_->spinner()->isVisible());
  EXPECT_EQ(fileNames().size(), 3);
  EXPECT_EQ(drumNames().size(), 3U);
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(fileNames(), (QStringList{QStringLiteral("SNARE"), QStringLiteral("HAT")}));
}

TEST_F(Delete, LeavesAFileThatCannotBeBackedUp) {
  mountDrums(drums());
  writeText(folder_.path("tmp") + "/tessary-" + std::to_string(::geteuid()), "in the way");
  const Bytes before = readBytes(imagePath_);
  const CapturedLog log;
  deleteFiles({QStringLiteral("KICK"), QStringLiteral("HAT")});
  EXPECT_EQ(status(), QStringLiteral("Deleted 0 file(s)."));
  EXPECT_EQ(readBytes(imagePath_), before);
  EXPECT_EQ(fileNames().size(), 3);
  EXPECT_FALSE(canUndo());
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(Delete, PassesOverFilesThatHaveLeftTheFolderMeanwhile) {
  mountDrums(drums());
  HeldQueue queue(*controller_->filesystem());
  for (int twice = 0; twice < 2; ++twice) {
    chooseFiles({QStringLiteral("KICK")});
    clickToolbar("DeleteItem");
    clickButton(sheet<Alert>(), kDelete);
  }
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), QStringLiteral("Deleted 0 file(s)."));
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"HAT", "SNARE"}));
  undo();
  EXPECT_EQ(status(), QStringLiteral("Restored 1 file(s)."));
  EXPECT_FALSE(canUndo());
  EXPECT_EQ(drumNames().size(), 3U);
}

TEST_F(Delete, KeepsTheFocusInTheTableAndGoesOnWhereTheFileWas) {
  mountDrums(drums({"A", "B", "C", "D"}));
  chooseFiles({QStringLiteral("B"), QStringLiteral("C")});
  pressKeyIn(window(), Qt::Key_Backspace, Qt::ControlModifier);
  answerSheet(kDelete);
  activate(window());
  EXPECT_EQ(QApplication::focusWidget(), table());
  EXPECT_EQ(selectedFileNames(), QStringList());
  EXPECT_EQ(table()->currentIndex().data().toString(), QStringLiteral("D"));
  pressKeyIn(window(), Qt::Key_Up);
  EXPECT_EQ(selectedFileNames(), QStringList{QStringLiteral("A")});
}

TEST_F(Delete, OfTheLastRowsGoesOnAtTheNewLastRow) {
  mountDrums(drums({"A", "B", "C", "D"}));
  deleteFiles({QStringLiteral("C"), QStringLiteral("D")});
  EXPECT_EQ(table()->currentIndex().data().toString(), QStringLiteral("B"));
}

TEST_F(Delete, OfAFolderNoLongerShownLeavesTheTableAlone) {
  mountDrums(drums());
  HeldQueue queue(*controller_->filesystem());
  chooseFiles({QStringLiteral("KICK")});
  clickToolbar("DeleteItem");
  clickButton(sheet<Alert>(), kDelete);
  chooseFolder({QStringLiteral("Pads")});
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(fileNames(), QStringList());
  EXPECT_EQ(highlightedLabel(), QStringLiteral("Pads"));
  EXPECT_EQ(status(), QStringLiteral("Deleted 1 file(s)."));
  EXPECT_EQ(outlineLabels(), (QStringList{QStringLiteral("Drums (2)"), QStringLiteral("Pads")}));
}

// ---- Undo and redo

TEST_F(Delete, UndoneAndRedoneAgainAndAgainKeepsNamesAndBytes) {
  mountDrums(drums());
  const StoredFiles before = sorted(drumsOnImage());
  deleteFiles({QStringLiteral("KICK"), QStringLiteral("SNARE"), QStringLiteral("HAT")});
  EXPECT_EQ(status(), QStringLiteral("Deleted 3 file(s)."));
  for (int round = 0; round < 3; ++round) {
    EXPECT_TRUE(canUndo());
    EXPECT_FALSE(canRedo());
    undo();
    EXPECT_EQ(status(), QStringLiteral("Restored 3 file(s)."));
    EXPECT_EQ(sorted(drumsOnImage()), before);
    EXPECT_EQ(fileNames(),
              (QStringList{QStringLiteral("KICK"), QStringLiteral("SNARE"), QStringLiteral("HAT")}));
    EXPECT_EQ(outlineLabels().first(), QStringLiteral("Drums (3)"));
    EXPECT_FALSE(canUndo());
    EXPECT_TRUE(canRedo());
    redo();
    EXPECT_EQ(status(), QStringLiteral("Deleted 3 file(s)."));
    EXPECT_EQ(drumsOnImage(), StoredFiles());
    EXPECT_EQ(outlineLabels().first(), QStringLiteral("Drums"));
  }
  EXPECT_EQ(backups().size(), 4U) << "each delete and each redo makes backups of its own";
  EXPECT_EQ(controller_->undoManager()->actionName(), kDelete);
  EXPECT_EQ(beeps_.count(), 0);
}

TEST_F(Delete, IsTakenBackWithThePlatformsKeys) {
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK")});
  pressUndoKey();
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"HAT", "KICK", "SNARE"}));
  pressRedoKey();
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"HAT", "SNARE"}));
  pressKeyIn(window(), Qt::Key_Z, Qt::ControlModifier);
  ASSERT_TRUE(waitUntilIdle());
  pressKeyIn(window(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"HAT", "SNARE"}));
}

TEST_F(Delete, KeysOfADialogsTextFieldUndoNothingInTheImage) {
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK")});
  clickToolbar("ImportItem");
  auto *panel = sheet<QFileDialog>();
  ASSERT_NE(panel, nullptr);
  activate(panel);
  auto *field = panel->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
  field->setFocus();
  QTest::keyClick(panel->windowHandle(), Qt::Key_X);
  ASSERT_EQ(field->text(), QStringLiteral("x"));
  QTest::keySequence(panel->windowHandle(), QKeySequence::Undo);
  EXPECT_EQ(field->text(), QString()) << "undone in the field";
  QTest::keySequence(panel->windowHandle(), QKeySequence::Undo);
  panel->reject();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"HAT", "SNARE"}));
  EXPECT_TRUE(canUndo());
}

TEST_F(Delete, StepsAreTakenBackNewestFirstAlsoWhenPressedAtOnce) {
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK")});
  deleteFiles({QStringLiteral("HAT")});
  clickToolbar("UndoItem");
  clickToolbar("UndoItem");
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(fileNames(),
            (QStringList{QStringLiteral("SNARE"), QStringLiteral("HAT"), QStringLiteral("KICK")}));
  redo();
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"HAT", "SNARE"})) << "KICK was deleted first";
}

TEST_F(Delete, KeepsTenLevels) {
  std::vector<std::string> names;
  for (int i = 0; i < 11; ++i)
    names.push_back("FILE " + std::to_string(i));
  mountDrums(drums(names));
  for (const std::string &name : names)
    deleteFiles({QString::fromStdString(name)});
  for (int i = 0; i < 10; ++i) {
    ASSERT_TRUE(canUndo());
    undo();
  }
  EXPECT_FALSE(canUndo());
  EXPECT_EQ(drumNames().size(), 10U);
  EXPECT_EQ(std::count(names.begin(), names.end(), "FILE 0"), 1);
  const std::vector<std::string> restored = drumNames();
  EXPECT_EQ(std::count(restored.begin(), restored.end(), "FILE 0"), 0) << "the oldest step was dropped";
}

TEST_F(Delete, EmptiesWhatCouldBeRedone) {
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK")});
  undo();
  EXPECT_TRUE(canRedo());
  deleteFiles({QStringLiteral("HAT")});
  EXPECT_FALSE(canRedo());
  undo();
  EXPECT_EQ(drumNames().size(), 3U);
  EXPECT_FALSE(canUndo());
}

TEST_F(Delete, OfNothingLeavesWhatCanBeRedone) {
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK")});
  undo();
  std::filesystem::permissions(backupFolder(),
                               std::filesystem::perms::owner_all | std::filesystem::perms::others_read);
  deleteFiles({QStringLiteral("HAT")});
  EXPECT_EQ(status(), QStringLiteral("Deleted 0 file(s)."));
  EXPECT_TRUE(canRedo());
}

TEST_F(Delete, RestoredFileIsANewBankAtTheEndOfTheFolder) {
  ImageBuilder image;
  auto folder = image.root().addFolder("Drums");
  folder.addFile("SYS", patternBytes(600), {.type = 0x80});
  folder.addFile("KICK", patternBytes(700));
  mountDrums(image);
  deleteFiles({QStringLiteral("SYS")});
  undo();
  ASSERT_EQ(rowTexts(*table()->model(), 1).first(2),
            (QStringList{QStringLiteral("SYS"), QStringLiteral("Bank")}));
  const EMU3FileFields fields = controller_->contentCtl()->displayedFiles()[1]->fields();
  EXPECT_EQ(fields.rawType, 0x81);
  const Bytes entry = readBytes(imagePath_,
                                static_cast<std::uint64_t>(fields.dentryBlock) * 512 +
                                    static_cast<std::uint64_t>(fields.dentryOffset) * 32,
                                32);
  EXPECT_EQ(Bytes(entry.begin() + 28, entry.end()), bytesOf("E4B0"));
  EXPECT_EQ(entry[26], 0x81);
}

TEST_F(Delete, UndoImportsTheSecondOfTwoFilesOfOneNameTwice) {
  mountDrums(drums({"KICK", "SNARE", "KICK"}));
  clickRow(table(), table()->model()->index(0, 0));
  clickRow(table(), table()->model()->index(2, 0), Qt::LeftButton, Qt::ControlModifier);
  clickToolbar("DeleteItem");
  answerSheet(kDelete);
  EXPECT_EQ(status(), QStringLiteral("Deleted 2 file(s)."));
  EXPECT_EQ(backups(), (std::vector<std::vector<std::string>>{{"KICK.E4B"}}));
  undo();
  EXPECT_EQ(status(), QStringLiteral("Restored 2 file(s)."));
  const Bytes second = patternBytes(2400, 2);
  EXPECT_EQ(sorted(drumsOnImage()),
            sorted(StoredFiles{{"SNARE", patternBytes(1700, 1)}, {"KICK", second}, {"KICK", second}}));
  redo();
  EXPECT_EQ(status(), QStringLiteral("Deleted 1 file(s).")) << "both are recorded as the first of that name";
  EXPECT_EQ(sorted(drumsOnImage()), sorted(StoredFiles{{"SNARE", patternBytes(1700, 1)}, {"KICK", second}}));
}

TEST_F(Delete, RedoDeletesAnEarlierFileOfTheSameName) {
  mountDrums(drums({"KICK", "SNARE", "KICK"}));
  clickRow(table(), table()->model()->index(2, 0));
  clickToolbar("DeleteItem");
  answerSheet(kDelete);
  undo();
  redo();
  EXPECT_EQ(status(), QStringLiteral("Deleted 1 file(s)."));
  EXPECT_EQ(sorted(drumsOnImage()),
            sorted(StoredFiles{{"SNARE", patternBytes(1700, 1)}, {"KICK", patternBytes(2400, 2)}}));
}

TEST_F(Delete, UndoBringsBackTheExactName) {
  const std::vector<std::string> names = {
      "A/B", "..", ".", "%2F", "A.B", "C\nD", "100%", "a\tb.E4B", "SIXTEEN OF THEM!", "\xC3\xA9t\xC3\xA9"};
  mountDrums(drums(names));
  const StoredFiles before = drumsOnImage();
  ASSERT_EQ(before.size(), names.size());
  table()->selectAll();
  clickToolbar("DeleteItem");
  answerSheet(kDelete);
  EXPECT_EQ(status(), QStringLiteral("Deleted 10 file(s)."));
  EXPECT_EQ(drumsOnImage(), StoredFiles());
  EXPECT_EQ(backups()[0].size(), names.size()) << "one backup each";
  undo();
  EXPECT_EQ(status(), QStringLiteral("Restored 10 file(s)."));
  EXPECT_EQ(sorted(drumsOnImage()), sorted(before));
  redo();
  EXPECT_EQ(drumsOnImage(), StoredFiles());
}

TEST_F(Delete, UndoLogsWhatItCannotRestoreAndGoesOn) {
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK"), QStringLiteral("HAT")});
  const std::string backup = backupFolder() + "/" + namesIn(backupFolder())[0] + "/KICK.E4B";
  std::filesystem::remove(backup);
  const CapturedLog log;
  undo();
  EXPECT_EQ(status(), QStringLiteral("Restored 1 file(s)."));
  EXPECT_EQ(log.lines(),
            std::vector<std::string>{"Restore import failed: " + hostError(ENOENT, backup).description()});
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"HAT", "SNARE"}));
  EXPECT_TRUE(canRedo());
  redo();
  EXPECT_EQ(status(), QStringLiteral("Deleted 1 file(s)."));
}

TEST_F(Delete, UndoThatRestoresNothingRegistersNoRedo) {
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK")});
  std::filesystem::remove_all(backupFolder());
  const CapturedLog log;
  undo();
  EXPECT_EQ(status(), QStringLiteral("Restored 0 file(s)."));
  EXPECT_EQ(log.lines().size(), 1U);
  EXPECT_FALSE(canUndo());
  EXPECT_FALSE(canRedo());
}

TEST_F(Delete, UndoIntoADeletedFolderChangesNothing) {
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK")});
  const EMU3FilesystemPtr filesystem = controller_->filesystem();
  ASSERT_TRUE(filesystem->deleteDirectory(controller_->currentDirectory(), filesystem->rootDirectory()));
  const Bytes before = readBytes(imagePath_);
  const CapturedLog log;
  undo();
  EXPECT_EQ(status(), QStringLiteral("Restored 0 file(s)."));
  EXPECT_EQ(log.lines(), std::vector<std::string>{"Restore import failed: Error Domain=com.tessary.error "
                                                  "Code=5 \"Dentry block not found\""});
  EXPECT_EQ(readBytes(imagePath_), before);
}

TEST_F(Delete, RedoPassesOverARestoredFileThatWasMovedAway) {
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK")});
  undo();
  const EMU3FilesystemPtr filesystem = controller_->filesystem();
  ASSERT_TRUE(filesystem->moveFile(controller_->contentCtl()->displayedFiles().back(),
                                   controller_->currentDirectory(),
                                   filesystem->rootDirectory()->subdirectories()[1]));
  redo();
  EXPECT_EQ(status(), QStringLiteral("Deleted 0 file(s)."));
  EXPECT_EQ(namesOnImage(imagePath_, {"Pads"}), std::vector<std::string>{"KICK"});
  EXPECT_FALSE(canUndo());
}

// ---- Undo and the life of the image

TEST_F(Delete, UndoWithoutAnImageBeeps) {
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK")});
  clickToolbar("UnmountItem");
  EXPECT_TRUE(canUndo()) << "unmounting does not clear what can be undone";
  undo();
  EXPECT_EQ(beeps_.count(), 1);
  EXPECT_FALSE(canUndo());
  EXPECT_FALSE(canRedo());
  EXPECT_EQ(status(), QStringLiteral("No image loaded"));
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"HAT", "SNARE"}));
}

TEST_F(Delete, UndoAndRedoBeepWhenAnotherImageIsMounted) {
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK")});
  deleteFiles({QStringLiteral("HAT")});
  undo();
  const std::string other = mount(drums(), "other.hda");
  const Bytes before = readBytes(other);
  undo();
  EXPECT_EQ(beeps_.count(), 1);
  redo();
  EXPECT_EQ(beeps_.count(), 2);
  EXPECT_EQ(status(), QStringLiteral("Drums — 3 file(s)"));
  EXPECT_EQ(readBytes(other), before);
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"HAT", "SNARE"}));
}

TEST_F(Delete, UndoBeepsWhenTheSameImageWasOpenedAgain) {
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK")});
  openImage(imagePath_);
  undo();
  EXPECT_EQ(beeps_.count(), 1);
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"HAT", "SNARE"}));
}

TEST_F(Delete, WhatCanBeUndoneDoesNotKeepAReplacedImageOpen) {
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK")});
  const std::weak_ptr<EMU3Filesystem> replaced = controller_->filesystem();
  mount(drums(), "other.hda");
  EXPECT_TRUE(replaced.expired());
}

TEST_F(Delete, FinishedAfterTheImageWasReplacedChangesNothingInTheWindow) {
  mountDrums(drums());
  HeldQueue queue(*controller_->filesystem());
  chooseFiles({QStringLiteral("KICK")});
  clickToolbar("DeleteItem");
  clickButton(sheet<Alert>(), kDelete);
  const std::string other = writeImage(drums({"PAD"}), "other.hda");
  controller_->openImageAtURL(other);
  ASSERT_TRUE(QTest::qWaitFor([&] { return title().contains(QStringLiteral("other.hda")); }));
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"HAT", "SNARE"})) << "queued work is done all the same";
  EXPECT_EQ(status(), QStringLiteral("Drums — 1 file(s)"));
  EXPECT_EQ(fileNames(), QStringList{QStringLiteral("PAD")});
  EXPECT_FALSE(canUndo());
}

TEST_F(Delete, AnsweredAfterTheImageWasReplacedDoesNothing) {
  mountDrums(drums());
  chooseFiles({QStringLiteral("KICK")});
  clickToolbar("DeleteItem");
  const std::string other = mount(drums({"PAD"}), "other.hda");
  answerSheet(kDelete);
  EXPECT_EQ(drumNames().size(), 3U);
  EXPECT_EQ(namesOnImage(other, {"Drums"}), std::vector<std::string>{"PAD"});
  EXPECT_FALSE(canUndo());
}

TEST_F(Delete, UndoFinishedAfterUnmountingChangesNothingInTheWindow) {
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK")});
  HeldQueue queue(*controller_->filesystem());
  clickToolbar("UndoItem");
  clickToolbar("UnmountItem");
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), QStringLiteral("No image loaded"));
  EXPECT_EQ(fileNames(), QStringList());
  EXPECT_EQ(diskSpace(), QString());
  EXPECT_FALSE(canRedo());
  EXPECT_EQ(drumNames().size(), 3U);
}

} // namespace
} // namespace tessary::test
