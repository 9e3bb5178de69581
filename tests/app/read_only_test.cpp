#include "app/ContentController.h"
#include "tests/app/FileDrag.h"
#include "tests/app/SheetTest.h"
#include "tests/support/MountedVolume.h"
#include "tests/support/OtherProgram.h"

#include <QTest>
#include <fstream>
#include <ostream>

namespace tessary::test {
namespace {

const QString kTitle = QStringLiteral("Tessary — disk.hda");
const QString kReadOnlyTitle = QStringLiteral("Tessary — disk.hda (read-only)");

/// Writes what another program has made of an image into its file.
void writeInPlace(const std::string &path, const ImageBuilder &image, const std::string &scratch) {
  image.writeTo(scratch);
  const Bytes bytes = readBytes(scratch);
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  file.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!file.flush()) throw std::runtime_error(path + " cannot be written");
}

class ReadOnly : public SheetTest {
protected:
  /// Opens an image that another program has.
  void openClaimedImage() {
    path_ = writeImage(volume());
    other_ = std::make_unique<OtherProgram>(path_);
    openImage(path_);
    before_ = readBytes(path_);
  }
  void otherProgramMakes(const ImageBuilder &image) {
    writeInPlace(path_, image, folder_.path("scratch.hda"));
  }
  QMessageBox *waitForQuestion() {
    EXPECT_TRUE(QTest::qWaitFor([this] { return sheet<QMessageBox>() != nullptr; }, 30000));
    return &question();
  }

  std::string path_;
  Bytes before_;
  std::unique_ptr<OtherProgram> other_;
};

// ---- Title and status line

TEST_F(ReadOnly, TitleAndStatusTellOfAHostFileThatCannotBeWritten) {
  mountReadOnly(volume());
  EXPECT_EQ(title(), kReadOnlyTitle);
  EXPECT_EQ(status(), "Opened read-only: the image file cannot be written.");
  clickToolbar("UnmountItem");
  EXPECT_EQ(title(), "Tessary");
  mount(volume(), "writable.hda");
  EXPECT_EQ(title(), "Tessary — writable.hda");
  EXPECT_EQ(status(), "A — 3 file(s)");
}

TEST_F(ReadOnly, TitleAndStatusTellOfAnotherProgram) {
  openClaimedImage();
  EXPECT_EQ(title(), kReadOnlyTitle);
  EXPECT_EQ(status(), "Opened read-only: another program has it open.");
  EXPECT_EQ(fileNames(), QStringList({"FIRST", "SECOND", "THIRD"}));
}

// ---- Commands ask again

/// A command of the user, up to what it does when the image can be changed.
struct ChangingCommand {
  const char *name;
  bool hasAlert; ///< when the image is read-only
  void (*begin)(class ClaimingCommand &);
  void (*finish)(class ClaimingCommand &); ///< answers what it asks
};
void PrintTo(const ChangingCommand &command, std::ostream *out) {
  *out << command.name;
}

class ClaimingCommand : public ReadOnly, public testing::WithParamInterface<ChangingCommand> {
public:
  void fromFolderMenu(const QString &text) { chooseFromFolderMenu({"B"}, text); }
  void fromFileMenu(const QString &text) {
    chooseFiles({"FIRST"});
    chooseFromFileMenu("FIRST", text);
  }
  void pressDelete() {
    chooseFiles({"FIRST"});
    clickToolbar("DeleteItem");
  }
  void pressImport() { clickToolbar("ImportItem"); }
  void dropOnTable() {
    FileDrag drag({writeHostFile("SNARE.E4B", patternBytes(10))});
    EXPECT_EQ(drag.dropOn(table()->viewport(), emptyPlace(table())), Qt::CopyAction);
  }
  void dropOnSidebar() {
    FileDrag drag({writeHostFile("SNARE.E4B", patternBytes(10))});
    EXPECT_EQ(drag.dropOn(outline()->viewport(), outline()->visualRect(folderItem({"B"})).center()),
              Qt::CopyAction);
  }
  void nothingToAnswer() {}
  void answerName() {
    waitForQuestion();
    field().setText("NEW");
    pressKey(Qt::Key_Return);
  }
  void answerDefault() {
    QMessageBox *asked = waitForQuestion();
    clickButton(asked, asked->defaultButton()->text());
  }
  void answerPanel() {
    ASSERT_TRUE(QTest::qWaitFor([this] { return sheet<QFileDialog>() != nullptr; }, 30000));
    confirmPanel({writeHostFile("SNARE.E4B", patternBytes(10))});
  }
};

TEST_P(ClaimingCommand, IsRefusedWhileTheOtherProgramHasTheImageAndGoesOnWhenItHasLetGo) {
  openClaimedImage();
  const AlertAnswers alerts;
  GetParam().begin(*this);
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(alerts.shown().size(), GetParam().hasAlert ? 1U : 0U);
  EXPECT_EQ(sheet<QDialog>(), nullptr);
  EXPECT_EQ(title(), kReadOnlyTitle);
  EXPECT_EQ(status(), "Read-only: another program has it open.");
  EXPECT_EQ(readBytes(path_), before_);

  other_->letGo();
  GetParam().begin(*this);
  GetParam().finish(*this);
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(alerts.shown().size(), GetParam().hasAlert ? 1U : 0U);
  EXPECT_EQ(title(), kTitle);
  EXPECT_NE(readBytes(path_), before_);
}

INSTANTIATE_TEST_SUITE_P(
    ReadOnly, ClaimingCommand,
    testing::Values(
        ChangingCommand{"NewFolder", true, [](ClaimingCommand &test) { test.fromFolderMenu("New Folder…"); },
                        [](ClaimingCommand &test) { test.answerName(); }},
        ChangingCommand{"RenameFolder", false,
                        [](ClaimingCommand &test) { test.fromFolderMenu("Rename Folder"); },
                        [](ClaimingCommand &test) { test.answerName(); }},
        ChangingCommand{"DeleteFolder", true,
                        [](ClaimingCommand &test) { test.fromFolderMenu("Delete Folder"); },
                        [](ClaimingCommand &test) { test.answerDefault(); }},
        ChangingCommand{"Rename", false, [](ClaimingCommand &test) { test.fromFileMenu("Rename…"); },
                        [](ClaimingCommand &test) { test.answerName(); }},
        ChangingCommand{"Copy", false, [](ClaimingCommand &test) { test.fromFileMenu("Copy to…"); },
                        [](ClaimingCommand &test) { test.answerDefault(); }},
        ChangingCommand{"Move", false, [](ClaimingCommand &test) { test.fromFileMenu("Move to…"); },
                        [](ClaimingCommand &test) { test.answerDefault(); }},
        ChangingCommand{"Delete", true, [](ClaimingCommand &test) { test.pressDelete(); },
                        [](ClaimingCommand &test) { test.answerDefault(); }},
        ChangingCommand{"Import", true, [](ClaimingCommand &test) { test.pressImport(); },
                        [](ClaimingCommand &test) { test.answerPanel(); }},
        ChangingCommand{"DropOnTable", false, [](ClaimingCommand &test) { test.dropOnTable(); },
                        [](ClaimingCommand &test) { test.nothingToAnswer(); }},
        ChangingCommand{"DropOnSidebar", false, [](ClaimingCommand &test) { test.dropOnSidebar(); },
                        [](ClaimingCommand &test) { test.nothingToAnswer(); }}),
    [](const auto &command) { return std::string(command.param.name); });

TEST_F(ReadOnly, RefusedCommandsBeepOrShowTheAlertOfAnyReadOnlyImage) {
  openClaimedImage();
  const AlertAnswers alerts;
  chooseFiles({"FIRST"});
  chooseFromFileMenu("FIRST", "Rename…");
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(beeps_.count(), 1);
  clickToolbar("ImportItem");
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Read-Only Image");
  EXPECT_EQ(alerts.shown()[0].informativeText,
            "This image is opened read-only and cannot be modified.\n\nMake sure the .hda file is not locked "
            "and has write permissions.");
}

TEST_F(ReadOnly, TwoRefusalsAtOnceShowOneAlert) {
  openClaimedImage();
  const AlertAnswers alerts;
  controller_->_newFolder();
  controller_->_newFolder();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(beeps_.count(), 1);
}

TEST_F(ReadOnly, AnswerForAnImageThatWasReplacedChangesNothing) {
  openClaimedImage();
  const AlertAnswers alerts;
  {
    const HeldVolume held(path_); // the claim waits
    controller_->_newFolder();
    controller_->openImageAtURL(writeImage(volume(), "other.hda"));
    ASSERT_TRUE(QTest::qWaitFor([this] { return title() == "Tessary — other.hda"; }, 30000));
  }
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_TRUE(alerts.shown().empty());
  EXPECT_EQ(title(), "Tessary — other.hda");
  EXPECT_EQ(status(), "A — 3 file(s)");
}

// ---- What the other program has left

TEST_F(ReadOnly, ImageIsShownAsTheOtherProgramHasLeftIt) {
  openClaimedImage();
  outline()->expand(folderItem({"A"}));
  chooseFiles({"SECOND"});
  ImageBuilder image = volume();
  image.root().addFolder("C").addFile("LATER", patternBytes(40, 5));
  otherProgramMakes(image);
  other_->letGo();
  const QString space = diskSpace();
  chooseFromFileMenu("SECOND", "Rename…");
  waitForQuestion();
  EXPECT_EQ(title(), kTitle);
  EXPECT_EQ(outlineLabels(), QStringList({"A (3)", "A1", "A2", "B (1)", "C (1)"}));
  EXPECT_EQ(highlightedLabel(), "A (3)");
  EXPECT_EQ(selectedFileNames(), QStringList{"SECOND"});
  EXPECT_NE(diskSpace(), space);
  answerWithName("NEW");
  EXPECT_EQ(status(), "Renamed to \"NEW\".");
  EXPECT_EQ(namesOnImage(path_, {"A"}), (std::vector<std::string>{"FIRST", "NEW", "THIRD"}));
  EXPECT_EQ(namesOnImage(path_, {"C"}), std::vector<std::string>{"LATER"});
}

TEST_F(ReadOnly, FileThatTheOtherProgramHasReplacedIsNotRenamed) {
  openClaimedImage();
  chooseFiles({"FIRST"});
  ImageBuilder image;
  FolderBuilder a = image.root().addFolder("A");
  a.addFile("FOREIGN", patternBytes(600, 7));
  a.addFile("SECOND", patternBytes(700, 2), {.type = 0x80});
  otherProgramMakes(image);
  other_->letGo();
  const AlertAnswers alerts;
  chooseFromFileMenu("FIRST", "Rename…");
  waitForQuestion();
  EXPECT_EQ(fileNames(), QStringList({"SECOND", "FOREIGN"})) << "what was there before comes first";
  EXPECT_EQ(selectedFileNames(), QStringList());
  answerWithName("NEW");
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Dentry block not found");
  EXPECT_EQ(namesOnImage(path_, {"A"}), (std::vector<std::string>{"FOREIGN", "SECOND"}));
}

TEST_F(ReadOnly, WhereTheFolderShownIsGoneTheImageIsShownAsIfItWereNew) {
  openClaimedImage();
  chooseFolder({"B"});
  ImageBuilder image;
  image.root().addFolder("ALONE").addFile("LONE", patternBytes(40, 5));
  otherProgramMakes(image);
  other_->letGo();
  clickToolbar("ImportItem");
  ASSERT_TRUE(QTest::qWaitFor([this] { return sheet<QFileDialog>() != nullptr; }, 30000));
  EXPECT_EQ(outlineLabels(), QStringList{"ALONE (1)"});
  EXPECT_EQ(highlightedLabel(), "ALONE (1)");
  EXPECT_EQ(fileNames(), QStringList{"LONE"});
  confirmPanel({writeHostFile("SNARE.E4B", patternBytes(10))});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(namesOnImage(path_, {"ALONE"}), (std::vector<std::string>{"LONE", "SNARE"}));
}

} // namespace
} // namespace tessary::test
