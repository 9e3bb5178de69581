#include "app/Alert.h"
#include "app/ContentController.h"
#include "app/Spinner.h"
#include "app/WorkQueue.h"
#include "tests/app/FileCommandTest.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/MountedVolume.h"

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QSet>
#include <QTest>
#include <QThreadPool>
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <sys/resource.h>
#include <sys/stat.h>

namespace tessary::test {
namespace {

const QString kDelete = QStringLiteral("Delete");
const QString kCancel = QStringLiteral("Cancel");

class Delete : public FileCommandTest {
protected:
  /// Where the copies for undo would go in this folder there is a file.
  void putInTheWay(const std::string &folder) const {
    std::filesystem::create_directories(folder_.path(folder));
    writeText(folder_.path(folder) + "/tessary-" + std::to_string(::geteuid()), "in the way");
  }
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
    return folder_.path("cache") + "/tessary-" + std::to_string(::geteuid()) + "/Undo";
  }
  /// Names of the backups, each as "step/NAME", steps in no particular order.
  std::vector<std::vector<std::string>> backups() const {
    std::vector<std::vector<std::string>> steps;
    for (const std::string &step : namesIn(backupFolder()))
      steps.push_back(namesIn(backupFolder() + "/" + step));
    return steps;
  }

  Bytes entryAt(EntryPlace place) const {
    return readBytes(imagePath_, place.block * kBlockBytes + place.index * sizeof(RawEntry),
                     sizeof(RawEntry));
  }

  std::string imagePath_;
};

/// An entry without what says where the file lies: its id and its slot.
Bytes withoutPlace(Bytes entry) {
  for (const std::size_t byte : {17U, 18U, 19U})
    entry[byte] = 0;
  return entry;
}

/// Lets no host file grow larger than so many bytes, as long as it lives.
class LargestHostFile {
public:
  explicit LargestHostFile(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    ::getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{bytes, before_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~LargestHostFile() {
    ::setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  LargestHostFile(const LargestHostFile &) = delete;
  LargestHostFile &operator=(const LargestHostFile &) = delete;

private:
  void (*handler_)(int);
  rlimit before_{};
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
  EXPECT_EQ(shown.informativeText, QStringLiteral("You can undo with %1.").arg(kUndoKey));
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

TEST_F(Delete, KeyWhileTheQuestionIsUpAsksNoSecondTime) {
  mountDrums(drums());
  chooseFiles({QStringLiteral("KICK")});
  clickToolbar("DeleteItem");
  pressKeyIn(sheet<Alert>(), Qt::Key_Backspace, Qt::ControlModifier);
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
  EXPECT_EQ(controller_->undoManager()->undoName(), kDelete);
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

TEST_F(Delete, BacksUpInTheTemporaryDirectoryWhereTheCacheCannotBeWritten) {
  mountDrums(drums());
  putInTheWay("cache");
  const StoredFiles before = sorted(drumsOnImage());
  deleteFiles({QStringLiteral("KICK"), QStringLiteral("HAT")});
  EXPECT_EQ(status(), QStringLiteral("Deleted 2 file(s)."));
  const std::string copies = folder_.path("tmp") + "/tessary-" + std::to_string(::geteuid()) + "/Undo";
  EXPECT_EQ(namesIn(copies).size(), 1U);
  undo();
  EXPECT_EQ(sorted(drumsOnImage()), before);
}

TEST_F(Delete, LeavesAFileThatCannotBeBackedUp) {
  const AlertAnswers alerts;
  mountDrums(drums());
  putInTheWay("cache");
  putInTheWay("tmp");
  const Bytes before = readBytes(imagePath_);
  const CapturedLog log;
  deleteFiles({QStringLiteral("KICK"), QStringLiteral("HAT")});
  EXPECT_EQ(status(), QStringLiteral("Deleted 0 file(s)."));
  EXPECT_EQ(readBytes(imagePath_), before);
  EXPECT_EQ(fileNames().size(), 3);
  EXPECT_FALSE(canUndo());
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(Delete, LeavesTheOneFileWhoseBackupFails) {
  const AlertAnswers alerts;
  mountDrums(drums());
  const CapturedLog log;
  {
    const LargestHostFile limit(1500);
    deleteFiles({QStringLiteral("KICK"), QStringLiteral("SNARE"), QStringLiteral("HAT")});
  }
  EXPECT_EQ(status(), QStringLiteral("Deleted 1 file(s)."));
  EXPECT_EQ(fileNames(), (QStringList{QStringLiteral("SNARE"), QStringLiteral("HAT")}));
  EXPECT_EQ(sheet<QDialog>(), nullptr);
  EXPECT_TRUE(log.lines().empty());
  undo();
  EXPECT_EQ(drumsOnImage().size(), 3U);
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
  EXPECT_TRUE(workQueue().waitForDone());
  EXPECT_EQ(backups().size(), 1U) << "copies go when no step needs them";
  EXPECT_EQ(controller_->undoManager()->undoName(), kDelete);
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
  const AlertAnswers alerts;
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK")});
  undo();
  std::filesystem::permissions(backupFolder(),
                               std::filesystem::perms::owner_all | std::filesystem::perms::others_read);
  putInTheWay("tmp");
  deleteFiles({QStringLiteral("HAT")});
  EXPECT_EQ(status(), QStringLiteral("Deleted 0 file(s)."));
  EXPECT_TRUE(canRedo());
}

TEST_F(Delete, RestoredFileIsWhatItWasAtTheEndOfTheTable) {
  ImageBuilder image;
  auto folder = image.root().addFolder("Drums");
  const EntryPlace place =
      folder.addFile("SYS", patternBytes(600), {.type = 0x80, .byte16 = 7, .byte27 = 9}).entry;
  folder.addFile("KICK", patternBytes(700));
  mountDrums(image);
  const Bytes before = entryAt(place);
  deleteFiles({QStringLiteral("SYS")});
  undo();
  EXPECT_EQ(rowTexts(*table()->model(), 1).first(2),
            (QStringList{QStringLiteral("SYS"), QStringLiteral("System")}));
  EXPECT_EQ(drumsOnImage(), (StoredFiles{{"SYS", patternBytes(600)}, {"KICK", patternBytes(700)}}));
  EXPECT_EQ(withoutPlace(entryAt(place)), withoutPlace(before)) << "at the first free place";
}

TEST_F(Delete, TwoFilesOfOneNameHaveTwoBackupsAndComeBackEachAsItWas) {
  mountDrums(drums({"KICK", "SNARE", "KICK"}));
  const StoredFiles before = sorted(drumsOnImage());
  clickRow(table(), table()->model()->index(0, 0));
  clickRow(table(), table()->model()->index(2, 0), Qt::LeftButton, Qt::ControlModifier);
  clickToolbar("DeleteItem");
  answerSheet(kDelete);
  EXPECT_EQ(status(), QStringLiteral("Deleted 2 file(s)."));
  ASSERT_EQ(backups().size(), 1U);
  EXPECT_EQ(backups()[0].size(), 2U);
  undo();
  EXPECT_EQ(status(), QStringLiteral("Restored 2 file(s)."));
  EXPECT_EQ(sorted(drumsOnImage()), before);
  redo();
  EXPECT_EQ(status(), QStringLiteral("Deleted 2 file(s)."));
  EXPECT_EQ(drumsOnImage(), (StoredFiles{{"SNARE", patternBytes(1700, 1)}}));
  undo();
  EXPECT_EQ(sorted(drumsOnImage()), before);
}

TEST_F(Delete, RedoDeletesTheRestoredFileAndNoOtherOfItsName) {
  mountDrums(drums({"KICK", "SNARE", "KICK"}));
  clickRow(table(), table()->model()->index(2, 0));
  clickToolbar("DeleteItem");
  answerSheet(kDelete);
  undo();
  redo();
  EXPECT_EQ(status(), QStringLiteral("Deleted 1 file(s)."));
  EXPECT_EQ(drumsOnImage(), (StoredFiles{{"KICK", patternBytes(1000, 0)}, {"SNARE", patternBytes(1700, 1)}}));
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

TEST_F(Delete, UndoBringsBackNamesThatAreNoTextAndLongOnes) {
  const std::vector<std::string> names = {"\xFF\xFE RAW", "                ", "SIXTEEN OF THEM!",
                                          std::string("NUL\0AFTER", 9), "CUT \xC3"};
  ImageBuilder image;
  FolderBuilder folder = image.root().addFolder("Drums");
  std::vector<EntryPlace> places;
  places.reserve(names.size());
  for (const std::string &name : names)
    places.push_back(folder.addFile(name, patternBytes(600)).entry);
  mountDrums(image);
  ASSERT_EQ(fileNames(), (QStringList{"%FF%FE RAW", "%20", "SIXTEEN OF THEM!", "NUL", "CUT %C3"}));
  std::vector<Bytes> before;
  before.reserve(places.size());
  for (const EntryPlace &place : places)
    before.push_back(withoutPlace(entryAt(place)));
  table()->selectAll();
  clickToolbar("DeleteItem");
  answerSheet(kDelete);
  EXPECT_EQ(status(), QStringLiteral("Deleted 5 file(s)."));
  undo();
  EXPECT_EQ(status(), QStringLiteral("Restored 5 file(s)."));
  for (std::size_t index = 0; index < names.size(); ++index)
    EXPECT_EQ(withoutPlace(entryAt(places[index])), before[index]) << index;
  EXPECT_EQ(fileNames(), (QStringList{"%FF%FE RAW", "%20", "SIXTEEN OF THEM!", "NUL", "CUT %C3"}));
}

TEST_F(Delete, UndoLogsWhatItCannotRestoreAndKeepsItUndoable) {
  const AlertAnswers alerts;
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK"), QStringLiteral("HAT")});
  const std::string backup = backupFolder() + "/" + namesIn(backupFolder())[0] + "/KICK.E4B";
  std::filesystem::rename(backup, backup + " elsewhere");
  const CapturedLog log;
  undo();
  EXPECT_EQ(status(), QStringLiteral("Restored 1 file(s), 1 failed."));
  EXPECT_EQ(log.lines(),
            std::vector<std::string>{"Restore import failed: " + hostError(ENOENT, backup).description()});
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"HAT", "SNARE"}));
  EXPECT_TRUE(canUndo());
  EXPECT_TRUE(canRedo());
  std::filesystem::rename(backup + " elsewhere", backup);
  undo();
  EXPECT_EQ(status(), QStringLiteral("Restored 1 file(s)."));
  EXPECT_EQ(drumsOnImage().size(), 3U);
  EXPECT_FALSE(canUndo());
  redo();
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"HAT", "SNARE"})) << "KICK came back last";
  redo();
  EXPECT_EQ(drumNames(), std::vector<std::string>{"SNARE"});
}

TEST_F(Delete, UndoOnAFullImageGoesOnWhenThereIsRoomAgain) {
  const AlertAnswers alerts;
  ImageBuilder image;
  auto folder = image.root().addFolder("Drums");
  folder.addFile("LARGE", patternBytes(3 * kMiB, 1));
  folder.addFile("SMALL", patternBytes(100, 2));
  mountDrums(image);
  deleteFiles({QStringLiteral("LARGE")});
  const EMU3FilesystemPtr filesystem = controller_->filesystem();
  ASSERT_TRUE(filesystem->importFileAtURL(writeHostFile("FILLER", patternBytes(2 * kMiB, 3)),
                                          filesystem->rootDirectory()));
  const CapturedLog log;
  undo();
  EXPECT_EQ(status(), QStringLiteral("Restored 0 file(s), 1 failed."));
  EXPECT_EQ(log.lines(), std::vector<std::string>{"Restore import failed: Error Domain=com.tessary.error "
                                                  "Code=4 \"Not enough free space on image\""});
  EXPECT_EQ(drumNames(), std::vector<std::string>{"SMALL"});
  EXPECT_TRUE(canUndo());
  EXPECT_FALSE(canRedo());
  ASSERT_TRUE(
      filesystem->deleteFile(fileNamed(filesystem->rootDirectory(), "FILLER"), filesystem->rootDirectory()));
  undo();
  EXPECT_EQ(status(), QStringLiteral("Restored 1 file(s)."));
  EXPECT_EQ(sorted(drumsOnImage()),
            (StoredFiles{{"LARGE", patternBytes(3 * kMiB, 1)}, {"SMALL", patternBytes(100, 2)}}));
}

TEST_F(Delete, UndoThatRestoresNothingRegistersNoRedoAndStaysUndoable) {
  const AlertAnswers alerts;
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK")});
  std::filesystem::remove_all(backupFolder());
  const CapturedLog log;
  undo();
  EXPECT_EQ(status(), QStringLiteral("Restored 0 file(s), 1 failed."));
  EXPECT_EQ(log.lines().size(), 1U);
  EXPECT_TRUE(canUndo());
  EXPECT_FALSE(canRedo());
}

TEST_F(Delete, UndoIntoADeletedFolderChangesNothing) {
  const AlertAnswers alerts;
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK")});
  const EMU3FilesystemPtr filesystem = controller_->filesystem();
  ASSERT_TRUE(filesystem->deleteDirectory(controller_->currentDirectory(), filesystem->rootDirectory()));
  const Bytes before = readBytes(imagePath_);
  const CapturedLog log;
  undo();
  EXPECT_EQ(status(), QStringLiteral("Restored 0 file(s), 1 failed."));
  EXPECT_EQ(log.lines(), std::vector<std::string>{"Restore import failed: Error Domain=com.tessary.error "
                                                  "Code=5 \"Dentry block not found\""});
  EXPECT_EQ(readBytes(imagePath_), before);
}

TEST_F(Delete, UndoThatRestoresNothingDoesNotStandInTheWayOfEarlierOnes) {
  const AlertAnswers alerts;
  ImageBuilder image = drums();
  image.root().addFolder("Gone").addFile("LOST", patternBytes(10));
  mountDrums(image);
  deleteFiles({QStringLiteral("KICK")});
  chooseFolder({QStringLiteral("Gone")});
  deleteFiles({QStringLiteral("LOST")});
  const EMU3FilesystemPtr filesystem = controller_->filesystem();
  ASSERT_TRUE(filesystem->deleteDirectory(controller_->currentDirectory(), filesystem->rootDirectory()));
  const CapturedLog log;
  undo();
  EXPECT_EQ(status(), QStringLiteral("Restored 0 file(s), 1 failed."));
  undo();
  EXPECT_EQ(status(), QStringLiteral("Restored 1 file(s)."));
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"HAT", "KICK", "SNARE"}));
  undo();
  EXPECT_EQ(status(), QStringLiteral("Restored 0 file(s), 1 failed.")) << "kept all the same";
}

TEST_F(Delete, RedoNamesARestoredFileThatWasMovedAway) {
  const AlertAnswers alerts;
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK")});
  undo();
  const EMU3FilesystemPtr filesystem = controller_->filesystem();
  ASSERT_TRUE(filesystem->moveFile(controller_->contentCtl()->displayedFiles().back(),
                                   controller_->currentDirectory(),
                                   filesystem->rootDirectory()->subdirectories()[1]));
  redo();
  EXPECT_EQ(status(), QStringLiteral("Deleted 0 file(s)."));
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].failures, QStringList{"KICK: It is no longer in its folder."});
  EXPECT_EQ(namesOnImage(imagePath_, {"Pads"}), std::vector<std::string>{"KICK"});
  EXPECT_FALSE(canUndo());
}

// ---- Contents that are incomplete

class DeleteForGood : public Delete {
protected:
  /// Drums with KICK, whole, and CUT 1 and CUT 2, whose contents reach beyond the image's end.
  static ImageBuilder damaged() {
    ImageBuilder image;
    FolderBuilder folder = image.root().addFolder("Drums");
    addIncompleteFile(image, folder, "CUT 1");
    folder.addFile("KICK", patternBytes(1000));
    addIncompleteFile(image, folder, "CUT 2");
    image.root().addFolder("Pads");
    return image;
  }
  void deleteAll() {
    table()->selectAll();
    clickToolbar("DeleteItem");
    answerSheet(kDelete);
  }
  /// The question that is up.
  QString asked() const { return sheet<Alert>() ? sheet<Alert>()->text() : QString(); }
};

TEST_F(DeleteForGood, IsAskedByItselfWhenTheOthersAreDeleted) {
  mountDrums(damaged());
  const CapturedLog log;
  deleteAll();
  EXPECT_EQ(status(), QStringLiteral("Deleted 1 file(s)."));
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"CUT 1", "CUT 2"}));
  auto *question = sheet<Alert>();
  ASSERT_NE(question, nullptr);
  const ShownAlert shown = describe(*question);
  EXPECT_EQ(shown.message, QStringLiteral("Delete “CUT 1” for good?"));
  EXPECT_EQ(shown.informativeText,
            QStringLiteral("Its contents are incomplete, so it cannot be brought back."));
  EXPECT_EQ(QSet<QString>(shown.buttons.begin(), shown.buttons.end()), (QSet<QString>{kDelete, kCancel}));
  EXPECT_EQ(question->defaultButton()->text(), kDelete);
  EXPECT_EQ(question->buttonRole(question->defaultButton()), QMessageBox::DestructiveRole);
  EXPECT_EQ(question->escapeButton()->text(), kCancel);
  EXPECT_EQ(question->windowModality(), Qt::WindowModal);
  EXPECT_TRUE(log.lines().empty());
  EXPECT_EQ(backups(), (std::vector<std::vector<std::string>>{{"KICK.E4B"}})) << "nothing passed on in part";
  answerSheet(kCancel);
  answerSheet(kCancel);
}

TEST_F(DeleteForGood, IsAskedForEachFileAndCounted) {
  mountDrums(damaged());
  deleteAll();
  answerSheet(kDelete);
  EXPECT_EQ(status(), QStringLiteral("Deleted 2 file(s)."));
  EXPECT_EQ(drumNames(), std::vector<std::string>{"CUT 2"});
  EXPECT_EQ(fileNames(), QStringList{QStringLiteral("CUT 2")});
  ASSERT_EQ(asked(), QStringLiteral("Delete “CUT 2” for good?"));
  answerSheet(kDelete);
  EXPECT_EQ(status(), QStringLiteral("Deleted 3 file(s)."));
  EXPECT_TRUE(drumNames().empty());
  EXPECT_EQ(outlineLabels().first(), QStringLiteral("Drums"));
  EXPECT_EQ(sheet<QDialog>(), nullptr);
  undo();
  EXPECT_EQ(status(), QStringLiteral("Restored 1 file(s)."));
  EXPECT_EQ(drumNames(), std::vector<std::string>{"KICK"});
}

TEST_F(DeleteForGood, DeclinedLeavesTheFileAndAsksForTheNext) {
  mountDrums(damaged());
  deleteAll();
  QTest::keyClick(sheet<Alert>(), Qt::Key_Escape);
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(asked(), QStringLiteral("Delete “CUT 2” for good?"));
  answerSheet(kDelete);
  EXPECT_EQ(status(), QStringLiteral("Deleted 2 file(s)."));
  EXPECT_EQ(drumNames(), std::vector<std::string>{"CUT 1"});
  EXPECT_EQ(beeps_.count(), 0);
}

TEST_F(DeleteForGood, OfASingleFileDeclinedChangesNothing) {
  mountDrums(damaged());
  const Bytes before = readBytes(imagePath_);
  deleteFiles({QStringLiteral("CUT 2")});
  ASSERT_EQ(asked(), QStringLiteral("Delete “CUT 2” for good?"));
  answerSheet(kCancel);
  EXPECT_EQ(status(), QStringLiteral("Deleted 0 file(s)."));
  EXPECT_EQ(readBytes(imagePath_), before);
  EXPECT_FALSE(canUndo());
}

TEST_F(DeleteForGood, LeavesWhatCanBeUndoneAndRedone) {
  mountDrums(damaged());
  deleteFiles({QStringLiteral("KICK")});
  undo();
  deleteFiles({QStringLiteral("CUT 1")});
  answerSheet(kDelete);
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"CUT 2", "KICK"}));
  EXPECT_FALSE(canUndo());
  EXPECT_TRUE(canRedo());
  redo();
  EXPECT_EQ(drumNames(), std::vector<std::string>{"CUT 2"});
}

TEST_F(DeleteForGood, IsAskedWhenTheDialogThatCameBetweenIsAnswered) {
  mountDrums(damaged());
  HeldQueue queue(*controller_->filesystem());
  chooseFiles({QStringLiteral("CUT 1")});
  clickToolbar("DeleteItem");
  clickButton(sheet<Alert>(), kDelete);
  clickToolbar("ImportItem");
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(sheet<Alert>(), nullptr);
  EXPECT_EQ(beeps_.count(), 0);
  ASSERT_NE(sheet<QFileDialog>(), nullptr);
  QTest::keyClick(sheet<QFileDialog>(), Qt::Key_Escape);
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_EQ(asked(), QStringLiteral("Delete “CUT 1” for good?"));
  answerSheet(kDelete);
  EXPECT_EQ(status(), QStringLiteral("Deleted 1 file(s)."));
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"CUT 2", "KICK"}));
}

TEST_F(DeleteForGood, AnsweredAfterTheImageWasReplacedDoesNothing) {
  mountDrums(damaged());
  deleteFiles({QStringLiteral("CUT 1"), QStringLiteral("CUT 2")});
  mount(drums({"PAD"}), "other.hda");
  answerSheet(kDelete);
  EXPECT_EQ(sheet<QDialog>(), nullptr);
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"CUT 1", "CUT 2", "KICK"}));
  EXPECT_EQ(status(), QStringLiteral("Drums — 1 file(s)"));
}

TEST_F(DeleteForGood, IsNotAskedWhenTheImageWasReplacedBehindADialog) {
  mountDrums(damaged());
  HeldQueue queue(*controller_->filesystem());
  chooseFiles({QStringLiteral("CUT 1")});
  clickToolbar("DeleteItem");
  clickButton(sheet<Alert>(), kDelete);
  clickToolbar("ImportItem");
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  mount(drums({"PAD"}), "other.hda");
  QTest::keyClick(sheet<QFileDialog>(), Qt::Key_Escape);
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(sheet<QDialog>(), nullptr);
}

TEST_F(DeleteForGood, OfAFileDeletedMeanwhileIsNotCounted) {
  mountDrums(damaged());
  deleteFiles({QStringLiteral("CUT 1")});
  const EMU3DirectoryPtr folder = controller_->currentDirectory();
  ASSERT_TRUE(controller_->filesystem()->deleteFile(fileNamed(folder, "CUT 1"), folder));
  const CapturedLog log;
  answerSheet(kDelete);
  EXPECT_EQ(status(), QStringLiteral("Deleted 0 file(s)."));
  EXPECT_EQ(log.lines(), std::vector<std::string>{"Delete failed for CUT 1: Error Domain=com.tessary.error "
                                                  "Code=5 \"Dentry block not found\""});
}

TEST_F(DeleteForGood, IsAskedNoMoreWhenTheWindowGoes) {
  mountDrums(damaged());
  deleteFiles({QStringLiteral("CUT 1"), QStringLiteral("CUT 2")});
  controller_->prepareToQuit();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(sheet<QDialog>(), nullptr);
  EXPECT_EQ(drumNames().size(), 3U);
}

TEST_F(DeleteForGood, NameStandsAsItIs) {
  ImageBuilder image;
  FolderBuilder folder = image.root().addFolder("Drums");
  addIncompleteFile(image, folder, "<b>%1\n");
  mountDrums(image);
  table()->selectAll();
  clickToolbar("DeleteItem");
  answerSheet(kDelete);
  EXPECT_EQ(asked(), QStringLiteral("Delete “<b>%1\\n” for good?"));
  EXPECT_EQ(sheet<Alert>()->textFormat(), Qt::PlainText);
  answerSheet(kCancel);
}

// ---- Undo and the life of the image

TEST_F(Delete, UndoWithoutAnImageBeepsAndWaitsForTheImage) {
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK")});
  clickToolbar("UnmountItem");
  EXPECT_FALSE(canUndo());
  pressUndoKey();
  EXPECT_EQ(beeps_.count(), 1);
  EXPECT_EQ(status(), QStringLiteral("No image loaded"));
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"HAT", "SNARE"}));
  openImage(imagePath_);
  undo();
  EXPECT_EQ(status(), QStringLiteral("Restored 1 file(s).")) << "the step was not used up";
  EXPECT_EQ(drumNames().size(), 3U);
}

TEST_F(Delete, UndoAndRedoWaitWhileAnotherImageIsMounted) {
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK")});
  deleteFiles({QStringLiteral("HAT")});
  undo();
  const std::string other = mount(drums(), "other.hda");
  const Bytes before = readBytes(other);
  EXPECT_FALSE(canUndo());
  EXPECT_FALSE(canRedo());
  pressUndoKey();
  EXPECT_EQ(beeps_.count(), 1);
  pressRedoKey();
  EXPECT_EQ(beeps_.count(), 2);
  EXPECT_EQ(status(), QStringLiteral("Drums — 3 file(s)"));
  EXPECT_EQ(readBytes(other), before);
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"HAT", "SNARE"}));
  openImage(imagePath_);
  undo();
  redo();
  redo();
  undo();
  undo();
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"HAT", "KICK", "SNARE"}));
}

TEST_F(Delete, FirstChangeOfAnotherImageEndsTheStepsOfTheFormer) {
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK")});
  const std::string first = imagePath_;
  imagePath_ = mount(drums(), "other.hda");
  deleteFiles({QStringLiteral("HAT")});
  EXPECT_TRUE(canUndo());
  openImage(first);
  EXPECT_FALSE(canUndo());
  openImage(imagePath_);
  undo();
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"HAT", "KICK", "SNARE"}));
  EXPECT_FALSE(canUndo());
}

TEST_F(Delete, UndoWorksWhenTheSameImageWasOpenedAgain) {
  mountDrums(drums());
  deleteFiles({QStringLiteral("KICK")});
  openImage(imagePath_);
  undo();
  EXPECT_EQ(beeps_.count(), 0);
  EXPECT_EQ(drumNames(), (std::vector<std::string>{"HAT", "KICK", "SNARE"}));
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
