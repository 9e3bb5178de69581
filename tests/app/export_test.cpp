#include "app/Alert.h"
#include "app/Spinner.h"
#include "tests/app/FileCommandTest.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/MountedVolume.h"

#include <QApplication>
#include <QTest>
#include <cerrno>
#include <filesystem>

namespace tessary::test {
namespace {

const QString kReplace = QStringLiteral("Replace");

class Export : public FileCommandTest {
protected:
  /// A bank, a system file and a plain file.
  static ImageBuilder mixed() {
    ImageBuilder image;
    auto folder = image.root().addFolder("Mixed");
    folder.addFile("BANK", patternBytes(900, 1));
    folder.addFile("SYS", patternBytes(1500, 2), {.type = 0x80});
    folder.addFile("PLAIN", patternBytes(0, 3), {.type = 0x44});
    image.root().addFolder("Empty");
    return image;
  }

  void beginExport(const QStringList &names) {
    chooseFiles(names);
    clickToolbar("ExportItem");
  }
  void exportTo(const QStringList &names, const std::string &folder) {
    beginExport(names);
    confirmPanel({folder});
    EXPECT_TRUE(waitUntilIdle());
  }

  const QStringList all_{QStringLiteral("BANK"), QStringLiteral("SYS"), QStringLiteral("PLAIN")};
};

TEST_F(Export, WithNothingSelectedBeepsAndOpensNoChooser) {
  mount(mixed());
  clickToolbar("ExportItem");
  EXPECT_EQ(beeps_.count(), 1);
  EXPECT_EQ(sheet<QDialog>(), nullptr);
}

TEST_F(Export, WithoutAnImageBeeps) {
  EXPECT_FALSE(toolbarButton("ExportItem")->isEnabled());
  controller_->_exportSelected();
  EXPECT_EQ(beeps_.count(), 1);
  EXPECT_EQ(sheet<QDialog>(), nullptr);
}

TEST_F(Export, AsksForAFolder) {
  mount(mixed());
  beginExport({QStringLiteral("BANK"), QStringLiteral("SYS")});
  auto *chooser = sheet<QFileDialog>();
  ASSERT_NE(chooser, nullptr);
  EXPECT_EQ(chooser->windowTitle(), QStringLiteral("Export 2 file(s) to folder"));
  EXPECT_EQ(chooser->labelText(QFileDialog::Accept), QStringLiteral("Export Here"));
  EXPECT_EQ(chooser->fileMode(), QFileDialog::Directory);
  EXPECT_EQ(chooser->acceptMode(), QFileDialog::AcceptOpen);
  EXPECT_TRUE(chooser->testOption(QFileDialog::ShowDirsOnly));
  EXPECT_FALSE(chooser->testOption(QFileDialog::ReadOnly)) << "new folders can be made";
  chooser->reject();
}

TEST_F(Export, CancelledLeavesTheStatusAndTheHostAlone) {
  mount(mixed());
  const QString before = status();
  beginExport({QStringLiteral("BANK")});
  pressKeyIn(sheet<QFileDialog>(), Qt::Key_Escape);
  EXPECT_EQ(sheet<QDialog>(), nullptr);
  EXPECT_EQ(status(), before);
  EXPECT_EQ(selectedFileNames(), QStringList{QStringLiteral("BANK")});
  activate(window());
  EXPECT_EQ(QApplication::focusWidget(), table());
}

TEST_F(Export, WritesEveryFileWholeWithTheExtensionOfABank) {
  mount(mixed());
  const std::string folder = hostFolder("out");
  exportTo(all_, folder);
  EXPECT_EQ(status(), QStringLiteral("Exported 3 file(s) successfully."));
  EXPECT_EQ(namesIn(folder), (std::vector<std::string>{"BANK.E4B", "PLAIN.E4B", "SYS.E4B"}));
  EXPECT_EQ(readBytes(folder + "/BANK.E4B"), patternBytes(900, 1));
  EXPECT_EQ(readBytes(folder + "/SYS.E4B"), patternBytes(1500, 2));
  EXPECT_EQ(readBytes(folder + "/PLAIN.E4B"), Bytes());
  EXPECT_EQ(selectedFileNames(), all_);
}

TEST_F(Export, IsReachedFromTheMenu) {
  mount(mixed());
  chooseFromFileMenu(QStringLiteral("SYS"), kExportCommand);
  confirmPanel({hostFolder("out")});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(namesIn(hostFolder("out")), std::vector<std::string>{"SYS.E4B"});
}

TEST_F(Export, RunsOnTheImagesQueueWithoutTheSpinner) {
  mount(mixed());
  const QString before = status();
  HeldQueue queue(*controller_->filesystem());
  beginExport({QStringLiteral("BANK")});
  confirmPanel({hostFolder("out")});
  EXPECT_EQ(status(), before);
  EXPECT_FALSE(controller_->spinner()->isVisible());
  EXPECT_TRUE(namesIn(hostFolder("out")).empty());
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), QStringLiteral("Exported 1 file(s) successfully."));
  EXPECT_EQ(namesIn(hostFolder("out")).size(), 1U);
}

TEST_F(Export, OfAnImageThatWasReplacedIsWrittenAndNotTold) {
  mount(mixed());
  HeldQueue queue(*controller_->filesystem());
  beginExport({QStringLiteral("BANK")});
  confirmPanel({hostFolder("out")});
  controller_->_unmountImage();
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), QStringLiteral("No image loaded"));
  EXPECT_EQ(readBytes(hostFolder("out") + "/BANK.E4B"), patternBytes(900, 1));
}

TEST_F(Export, WorksOnAReadOnlyImage) {
  mountReadOnly(mixed());
  exportTo({QStringLiteral("BANK")}, hostFolder("out"));
  EXPECT_EQ(status(), QStringLiteral("Exported 1 file(s) successfully."));
  EXPECT_EQ(readBytes(hostFolder("out") + "/BANK.E4B"), patternBytes(900, 1));
}

TEST_F(Export, CountsAndLogsWhatFailsAndWritesTheRest) {
  const AlertAnswers alerts;
  mount(mixed());
  const std::string folder = hostFolder("out");
  std::filesystem::create_directory(folder + "/SYS.E4B");
  const CapturedLog log;
  exportTo(all_, folder);
  answerSheet(kReplace);
  EXPECT_EQ(status(), QStringLiteral("Exported with 1 failure(s)."));
  EXPECT_EQ(readBytes(folder + "/BANK.E4B"), patternBytes(900, 1));
  EXPECT_EQ(readBytes(folder + "/PLAIN.E4B"), Bytes());
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_EQ(log.lines()[0], "Export failed for SYS: " + hostError(EISDIR, folder + "/SYS.E4B").description());
}

TEST_F(Export, FilesOfOneNameDoNotReplaceEachOther) {
  ImageBuilder image;
  FolderBuilder folder = image.root().addFolder("Twins");
  folder.addFile("TWIN", bytesOf("one"));
  folder.addFile("OTHER", bytesOf("other"));
  folder.addFile("TWIN", bytesOf("two"));
  folder.addFile("TWIN", bytesOf("three"));
  mount(image);
  const std::string out = hostFolder("out");
  writeText(out + "/TWIN.E4B", "an earlier export");
  table()->selectAll();
  clickToolbar("ExportItem");
  confirmPanel({out});
  ASSERT_TRUE(waitUntilIdle());
  answerSheet(kReplace);
  EXPECT_EQ(status(), QStringLiteral("Exported 4 file(s) successfully."));
  EXPECT_EQ(namesIn(out),
            (std::vector<std::string>{"OTHER.E4B", "TWIN (2).E4B", "TWIN (3).E4B", "TWIN.E4B"}));
  EXPECT_EQ(readText(out + "/TWIN.E4B"), "one");
  EXPECT_EQ(readText(out + "/TWIN (2).E4B"), "two");
  EXPECT_EQ(readText(out + "/TWIN (3).E4B"), "three");
  EXPECT_EQ(readText(out + "/OTHER.E4B"), "other");
}

TEST_F(Export, ReplacesAFileOfThatName) {
  mount(mixed());
  writeText(hostFolder("out") + "/BANK.E4B", "an earlier export");
  exportTo({QStringLiteral("BANK")}, hostFolder("out"));
  answerSheet(kReplace);
  EXPECT_EQ(readBytes(hostFolder("out") + "/BANK.E4B"), patternBytes(900, 1));
}

TEST_F(Export, NeverReplacesTheImageItself) {
  const AlertAnswers alerts;
  const std::string path = mount(mixed(), "BANK.E4B");
  const Bytes before = readBytes(path);
  const CapturedLog log;
  exportTo({QStringLiteral("BANK")}, folder_.path());
  answerSheet(kReplace);
  EXPECT_EQ(status(), QStringLiteral("Exported with 1 failure(s)."));
  EXPECT_EQ(readBytes(path), before);
  EXPECT_EQ(log.lines(),
            std::vector<std::string>{"Export failed for BANK: Error Domain=posix Code=" +
                                     std::to_string(EBUSY) + " \"" + path + ": This is a mounted image\""});
}

TEST_F(Export, NeverReplacesAnImageThatIsMountedElsewhere) {
  const AlertAnswers alerts;
  mount(mixed());
  const std::string other = writeImage(mixed(), "BANK.E4B");
  const EMU3FilesystemPtr elsewhere = mounted(other, MountRules::guarded);
  const Bytes before = readBytes(other);
  const CapturedLog log;
  exportTo({QStringLiteral("BANK")}, folder_.path());
  answerSheet(kReplace);
  EXPECT_EQ(status(), QStringLiteral("Exported with 1 failure(s)."));
  EXPECT_EQ(readBytes(other), before);
  EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(Export, OfIncompleteContentsIsAFailureAndLeavesTheEarlierFile) {
  const AlertAnswers alerts;
  ImageBuilder image;
  FolderBuilder folder = image.root().addFolder("Mixed");
  folder.addFile("WHOLE", patternBytes(900, 1));
  addIncompleteFile(image, folder, "CUT");
  addIncompleteFile(image, folder, "NEW");
  mount(image);
  writeText(hostFolder("out") + "/CUT.E4B", "an earlier export");
  const CapturedLog log;
  exportTo({"WHOLE", "CUT", "NEW"}, hostFolder("out"));
  answerSheet(kReplace);
  EXPECT_EQ(status(), QStringLiteral("Exported with 2 failure(s)."));
  EXPECT_EQ(namesIn(hostFolder("out")), (std::vector<std::string>{"CUT.E4B", "WHOLE.E4B"}));
  EXPECT_EQ(readText(hostFolder("out") + "/CUT.E4B"), "an earlier export");
  EXPECT_EQ(log.lines(),
            (std::vector<std::string>{
                "Export failed for CUT: " + engineError(EngineError::contentsIncomplete).description(),
                "Export failed for NEW: Error Domain=com.tessary.error Code=2 \"File contents "
                "are incomplete\""}));
}

TEST_F(Export, NamesNeverSteerThePath) {
  ImageBuilder image;
  auto folder = image.root().addFolder("Names");
  for (const char *name : {"../up", "..", "A/B", "C\nD", "100%"})
    folder.addFile(name, bytesOf(name));
  mount(image);
  table()->selectAll();
  clickToolbar("ExportItem");
  confirmPanel({hostFolder("out")});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), QStringLiteral("Exported 5 file(s) successfully."));
  EXPECT_EQ(namesIn(hostFolder("out")),
            (std::vector<std::string>{"%2E%2E.E4B", "..%2Fup.E4B", "100%.E4B", "A%2FB.E4B", "C%0AD.E4B"}));
}

TEST_F(Export, OfAFileDeletedMeanwhileFails) {
  const AlertAnswers alerts;
  mount(mixed());
  HeldQueue queue(*controller_->filesystem());
  chooseFiles({QStringLiteral("BANK")});
  clickToolbar("DeleteItem");
  clickButton(sheet<Alert>(), QStringLiteral("Delete"));
  clickToolbar("ExportItem");
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  const CapturedLog log;
  confirmPanel({hostFolder("out")});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), QStringLiteral("Exported with 1 failure(s)."));
  EXPECT_TRUE(namesIn(hostFolder("out")).empty());
  EXPECT_EQ(log.lines(), std::vector<std::string>{"Export failed for BANK: Error Domain=com.tessary.error "
                                                  "Code=5 \"Dentry block not found\""});
}

TEST_F(Export, AnsweredAfterTheImageWasReplacedDoesNothing) {
  mount(mixed());
  beginExport({QStringLiteral("BANK")});
  mount(mixed(), "other.hda");
  const QString before = status();
  confirmPanel({hostFolder("out")});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_TRUE(namesIn(hostFolder("out")).empty());
  EXPECT_EQ(status(), before);
}

// ---- Samples

class ExportSamples : public FileCommandTest {
protected:
  static Bytes brass() {
    return IffBank()
        .preset("Brass")
        .sample("Brass C1", patternBytes(400, 1))
        .sample("Brass C2", patternBytes(600, 2), "E4S2")
        .build();
  }

  static ImageBuilder banks() {
    ImageBuilder image;
    auto folder = image.root().addFolder("Banks", {.blockCount = 2});
    folder.addFile("BRASS", brass());
    folder.addFile("TWINS",
                   IffBank().sample("L", patternBytes(100, 1)).sample("R", patternBytes(200, 2)).build());
    folder.addFile("NOTHING", IffBank().preset("Only").build());
    folder.addFile(
        "BROKEN",
        IffBank().toc({.type = "E4S1", .name = "Gone"}).sample("Here", patternBytes(64), "E4S2").build());
    folder.addFile("OLD", emulatorThreeBank("OLD", 1, 2));
    folder.addFile("A/B", IffBank().sample("S/\n", patternBytes(50)).build());
    folder.addFile("SYS", brass(), {.type = 0x80});
    return image;
  }

  void beginExport(const QStringList &names) {
    chooseFiles(names.first(names.size() - 1));
    const QModelIndex last = fileItem(names.last());
    if (names.size() == 1) return chooseFromFileMenu(names.last(), kCommand);
    clickRow(table(), last, Qt::LeftButton, Qt::ControlModifier);
    chooseFromFileMenu(names.last(), kCommand);
  }
  void exportFrom(const QStringList &names) {
    beginExport(names);
    confirmPanel({out_});
    ASSERT_TRUE(waitUntilIdle());
  }
  std::vector<std::string> exported() const { return namesIn(out_); }
  /// What stands behind the header of a WAV file.
  Bytes audioOf(const std::string &name) const {
    const Bytes wav = readBytes(out_ + "/" + name);
    return {wav.begin() + 44, wav.end()};
  }

  const QString kCommand = QStringLiteral("Export Samples…");
  const std::string out_ = hostFolder("out");
};

TEST_F(ExportSamples, WithNothingSelectedBeeps) {
  mount(banks());
  controller_->_exportSamples();
  EXPECT_EQ(beeps_.count(), 1);
  EXPECT_EQ(sheet<QDialog>(), nullptr);
}

TEST_F(ExportSamples, OfSystemFilesAloneShowsAnAlertAndNoChooser) {
  mount(banks());
  AlertAnswers answers;
  beginExport({QStringLiteral("SYS")});
  ASSERT_EQ(answers.shown().size(), 1U);
  EXPECT_EQ(answers.shown()[0].message, QStringLiteral("No Banks Selected"));
  EXPECT_EQ(answers.shown()[0].informativeText,
            QStringLiteral("Please select one or more bank files to export samples from."));
  EXPECT_EQ(answers.shown()[0].buttons.size(), 1);
  EXPECT_EQ(sheet<QDialog>(), nullptr);
  EXPECT_EQ(beeps_.count(), 0);
}

TEST_F(ExportSamples, AsksForAFolderForTheBanksAmongTheFiles) {
  mount(banks());
  beginExport({QStringLiteral("BRASS"), QStringLiteral("SYS"), QStringLiteral("OLD")});
  auto *chooser = sheet<QFileDialog>();
  ASSERT_NE(chooser, nullptr);
  EXPECT_EQ(chooser->windowTitle(), QStringLiteral("Export samples from 2 bank(s)"));
  EXPECT_EQ(chooser->labelText(QFileDialog::Accept), QStringLiteral("Export Samples"));
  EXPECT_EQ(chooser->fileMode(), QFileDialog::Directory);
  EXPECT_TRUE(chooser->testOption(QFileDialog::ShowDirsOnly));
  const QString before = status();
  chooser->reject();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), before);
  EXPECT_TRUE(exported().empty());
}

TEST_F(ExportSamples, WritesAWavFileForEachSample) {
  mount(banks());
  exportFrom({QStringLiteral("BRASS")});
  EXPECT_EQ(status(), QStringLiteral("Exported 2 sample(s) successfully."));
  EXPECT_EQ(exported(), (std::vector<std::string>{"BRASS_Brass C1.wav", "BRASS_Brass C2.wav"}));
  const Bytes wav = readBytes(out_ + "/BRASS_Brass C2.wav");
  ASSERT_EQ(wav.size(), 44U + 600U);
  EXPECT_EQ(Bytes(wav.begin(), wav.begin() + 4), bytesOf("RIFF"));
  EXPECT_EQ(Bytes(wav.begin() + 44, wav.end()), patternBytes(600, 2));
}

TEST_F(ExportSamples, OfOneTypeHaveEachItsOwnNameAndAudio) {
  mount(banks());
  exportFrom({QStringLiteral("TWINS")});
  EXPECT_EQ(status(), QStringLiteral("Exported 2 sample(s) successfully."));
  EXPECT_EQ(exported(), (std::vector<std::string>{"TWINS_L.wav", "TWINS_R.wav"}));
  EXPECT_EQ(audioOf("TWINS_L.wav"), patternBytes(100, 1));
  EXPECT_EQ(audioOf("TWINS_R.wav"), patternBytes(200, 2));
}

TEST_F(ExportSamples, ThatShareANameAreNumbered) {
  ImageBuilder image;
  FolderBuilder folder = image.root().addFolder("Banks");
  const Bytes bank =
      IffBank().sample("HIT", patternBytes(100, 1)).sample("HIT", patternBytes(200, 2), "E4S2").build();
  folder.addFile("ONE", bank);
  folder.addFile("ONE", IffBank().sample("HIT", patternBytes(300, 3)).build());
  mount(image);
  writeText(out_ + "/ONE_HIT.wav", "of an earlier export");
  table()->selectAll();
  chooseFromFileMenu("ONE", kCommand);
  confirmPanel({out_});
  ASSERT_TRUE(waitUntilIdle());
  answerSheet(kReplace);
  EXPECT_EQ(status(), QStringLiteral("Exported 3 sample(s) successfully."));
  EXPECT_EQ(exported(), (std::vector<std::string>{"ONE_HIT (2).wav", "ONE_HIT (3).wav", "ONE_HIT.wav"}));
  EXPECT_EQ(audioOf("ONE_HIT.wav"), patternBytes(100, 1));
  EXPECT_EQ(audioOf("ONE_HIT (2).wav"), patternBytes(200, 2));
  EXPECT_EQ(audioOf("ONE_HIT (3).wav"), patternBytes(300, 3));
}

TEST_F(ExportSamples, WithoutANameAreCalledByTheirType) {
  ImageBuilder image;
  image.root().addFolder("Banks").addFile("BANK", IffBank().sample("", patternBytes(100, 1)).build());
  mount(image);
  exportFrom({QStringLiteral("BANK")});
  EXPECT_EQ(exported(), std::vector<std::string>{"BANK_E4S1.wav"});
}

TEST_F(ExportSamples, OfBanksThatListNoneSucceedsWithNothing) {
  mount(banks());
  exportFrom({QStringLiteral("NOTHING"), QStringLiteral("OLD")});
  EXPECT_EQ(status(), QStringLiteral("Exported 0 sample(s) successfully."));
  EXPECT_TRUE(exported().empty());
}

TEST_F(ExportSamples, CountsAndLogsWhatFailsAndGoesOn) {
  const AlertAnswers alerts;
  mount(banks());
  const CapturedLog log;
  exportFrom({QStringLiteral("BROKEN"), QStringLiteral("BRASS")});
  EXPECT_EQ(status(), QStringLiteral("Exported 3 sample(s) with 1 failure(s)."));
  EXPECT_EQ(exported(),
            (std::vector<std::string>{"BRASS_Brass C1.wav", "BRASS_Brass C2.wav", "BROKEN_Here.wav"}));
  EXPECT_EQ(log.lines(),
            std::vector<std::string>{"Sample export failed for BROKEN[E4S1]: Error "
                                     "Domain=com.tessary.error Code=2 \"Sample chunk not found\""});
}

TEST_F(ExportSamples, NamesNeverSteerThePath) {
  mount(banks());
  exportFrom({QStringLiteral("A/B")});
  EXPECT_EQ(exported(), std::vector<std::string>{"A%2FB_S%2F%0A.wav"});
}

TEST_F(ExportSamples, NeverReplacesTheImageItself) {
  const AlertAnswers alerts;
  const std::string path = mount(banks(), "BRASS_Brass C1.wav");
  const Bytes before = readBytes(path);
  const CapturedLog log;
  beginExport({QStringLiteral("BRASS")});
  confirmPanel({folder_.path()});
  ASSERT_TRUE(waitUntilIdle());
  answerSheet(kReplace);
  EXPECT_EQ(status(), QStringLiteral("Exported 1 sample(s) with 1 failure(s)."));
  EXPECT_EQ(readBytes(path), before);
}

TEST_F(ExportSamples, OfIncompleteBanksAreFailuresAndLeaveTheEarlierFile) {
  const AlertAnswers alerts;
  ImageBuilder image;
  FolderBuilder folder = image.root().addFolder("Banks");
  folder.addFile("BRASS", brass());
  addIncompleteFile(image, folder, "CUT", brass());
  mount(image);
  writeText(out_ + "/CUT_Brass C1.wav", "an earlier export");
  const CapturedLog log;
  exportFrom({QStringLiteral("BRASS"), QStringLiteral("CUT")});
  answerSheet(kReplace);
  EXPECT_EQ(status(), QStringLiteral("Exported 2 sample(s) with 2 failure(s)."));
  EXPECT_EQ(exported(),
            (std::vector<std::string>{"BRASS_Brass C1.wav", "BRASS_Brass C2.wav", "CUT_Brass C1.wav"}));
  EXPECT_EQ(readText(out_ + "/CUT_Brass C1.wav"), "an earlier export");
  EXPECT_EQ(log.lines(),
            (std::vector<std::string>{"Sample export failed for CUT[E4S1]: Error Domain=com.tessary.error "
                                      "Code=2 \"File contents are incomplete\"",
                                      "Sample export failed for CUT[E4S2]: Error Domain=com.tessary.error "
                                      "Code=2 \"File contents are incomplete\""}));
}

TEST_F(ExportSamples, OfABankWhoseListIsMissingAreAFailure) {
  const AlertAnswers alerts;
  ImageBuilder image;
  FolderBuilder folder = image.root().addFolder("Banks");
  addIncompleteFile(image, folder, "CUT");
  mount(image);
  const CapturedLog log;
  exportFrom({QStringLiteral("CUT")});
  EXPECT_EQ(status(), QStringLiteral("Exported 0 sample(s) with 1 failure(s)."));
  EXPECT_TRUE(exported().empty());
  EXPECT_EQ(log.lines(),
            std::vector<std::string>{"Sample export failed for CUT: Error Domain=com.tessary.error "
                                     "Code=2 \"File contents are incomplete\""});
}

TEST_F(ExportSamples, RunsOnTheQueueWithoutTheSpinner) {
  mount(banks());
  HeldQueue queue(*controller_->filesystem());
  const QString before = status();
  beginExport({QStringLiteral("BRASS")});
  confirmPanel({out_});
  QCoreApplication::processEvents();
  EXPECT_FALSE(controller_->spinner()->isVisible());
  EXPECT_EQ(status(), before);
  EXPECT_TRUE(exported().empty());
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(exported().size(), 2U);
}

TEST_F(ExportSamples, WorksOnAReadOnlyImage) {
  mountReadOnly(banks());
  exportFrom({QStringLiteral("BRASS")});
  EXPECT_EQ(status(), QStringLiteral("Exported 2 sample(s) successfully."));
}

TEST_F(ExportSamples, OfABankDeletedMeanwhileWritesNothing) {
  mount(banks());
  HeldQueue queue(*controller_->filesystem());
  chooseFiles({QStringLiteral("BRASS")});
  clickToolbar("DeleteItem");
  clickButton(sheet<Alert>(), QStringLiteral("Delete"));
  beginExport({QStringLiteral("BRASS")});
  confirmPanel({out_});
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), QStringLiteral("Exported 0 sample(s) successfully."));
  EXPECT_TRUE(exported().empty());
}

TEST_F(ExportSamples, FinishedAfterTheImageWasReplacedLeavesTheStatusAlone) {
  mount(banks());
  HeldQueue queue(*controller_->filesystem());
  beginExport({QStringLiteral("BRASS")});
  confirmPanel({out_});
  clickToolbar("UnmountItem");
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(exported().size(), 2U) << "queued work is done all the same";
  EXPECT_EQ(status(), QStringLiteral("No image loaded"));
}

} // namespace
} // namespace tessary::test
