// Samples leave the panel as WAV files: exported, and dragged.

#include "app/FileURLs.h"
#include "tests/app/FileDrag.h"
#include "tests/panel/PanelTest.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/MountedVolume.h"

#include <QFileDialog>
#include <QMimeData>
#include <QPushButton>
#include <QTimer>
#include <filesystem>
#include <unistd.h>

namespace tessary {
namespace {

using namespace test;

/// The rate that a WAV file's header tells.
std::uint32_t rateOf(const Bytes &wav) {
  return wav[24] | wav[25] << 8 | wav[26] << 16 | static_cast<std::uint32_t>(wav[27]) << 24;
}

Bytes audioOf(const Bytes &wav) {
  return {wav.begin() + 44, wav.end()};
}

class SamplesOut : public PanelTest {
protected:
  void lookAtKit() {
    mount(kitImage());
    pressPanelKey();
    look("KIT");
  }
  void exportChosen(const std::string &folder) {
    click(panel()->exportButton(), panel()->exportButton()->rect().center());
    confirmPanel({folder});
    ASSERT_TRUE(waitUntilIdle());
  }
  /// What a drag of the chosen rows brings.
  std::unique_ptr<DraggedData> dragged() { return entries()->dragData(); }
  std::string dragFolder() const {
    return folder_.path("tmp/tessary-" + std::to_string(::geteuid()) + "/EMU3Drag");
  }
};

TEST_F(SamplesOut, ExportWritesTheChosenOneUnderItsNameWithTheChosenRate) {
  lookAtKit();
  chooseRate(32000);
  chooseEntry("Snare");
  const std::string folder = hostFolder("out");
  exportChosen(folder);
  EXPECT_EQ(status(), "Exported 1 sample(s) successfully.");
  EXPECT_EQ(namesIn(folder), std::vector<std::string>{"KIT_Snare.wav"});
  const Bytes wav = readBytes(folder + "/KIT_Snare.wav");
  EXPECT_EQ(audioOf(wav), snareAudio());
  EXPECT_EQ(rateOf(wav), 32000U);
}

TEST_F(SamplesOut, ExportWritesSeveralAndLeavesPresetsOut) {
  lookAtKit();
  chooseEntry("Kit");
  chooseEntry("Kick", Qt::ControlModifier);
  chooseEntry("Snare", Qt::ControlModifier);
  const std::string folder = hostFolder("out");
  exportChosen(folder);
  EXPECT_EQ(namesIn(folder), (std::vector<std::string>{"KIT_Kick.wav", "KIT_Snare.wav"}));
  EXPECT_EQ(audioOf(readBytes(folder + "/KIT_Kick.wav")), kickAudio());
}

TEST_F(SamplesOut, PresetsAloneCannotBeExported) {
  lookAtKit();
  chooseEntry("Kit");
  EXPECT_FALSE(panel()->exportButton()->isEnabled());
  EXPECT_EQ(dragged(), nullptr);
}

TEST_F(SamplesOut, ExportAsksAboutWhatIsThere) {
  lookAtKit();
  const std::string folder = hostFolder("out");
  writeText(folder + "/KIT_Kick.wav", "mine");
  exportChosen(folder);
  answerSheet("Keep Both");
  EXPECT_EQ(readText(folder + "/KIT_Kick.wav"), "mine");
  EXPECT_EQ(audioOf(readBytes(folder + "/KIT_Kick (2).wav")), kickAudio());
}

TEST_F(SamplesOut, DragBringsWavFilesNamedAfterBankAndSample) {
  lookAtKit();
  chooseRate(22050);
  chooseEntry("Kick");
  chooseEntry("Snare", Qt::ControlModifier);
  const auto data = dragged();
  ASSERT_TRUE(data);
  const std::vector<std::string> paths = filePaths(*data);
  ASSERT_EQ(paths.size(), 2U);
  EXPECT_EQ(std::filesystem::path(paths[0]).filename(), "KIT_Kick.wav");
  EXPECT_EQ(std::filesystem::path(paths[1]).filename(), "KIT_Snare.wav");
  EXPECT_EQ(audioOf(readBytes(paths[0])), kickAudio());
  EXPECT_EQ(rateOf(readBytes(paths[0])), 22050U);
  EXPECT_EQ(data->formats(), QStringList{"text/uri-list"});
}

TEST_F(SamplesOut, DragThatIsStoppedGivesNothing) {
  const std::string path = mount(kitImage());
  pressPanelKey();
  look("KIT");
  chooseEntry("Kick");
  chooseEntry("Snare", Qt::ControlModifier);
  const auto data = dragged();
  HeldVolume held(path);
  auto *stop = window()->findChild<QPushButton *>(QStringLiteral("WorkStop"));
  QTimer look;
  look.callOnTimeout([&] {
    if (!stop->isVisible()) return;
    look.stop();
    click(stop, stop->rect().center());
    held.letGo();
  });
  look.start(10);
  EXPECT_TRUE(data->urls().isEmpty());
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), "Stopped. Exported 1 of 2 sample(s).");
  EXPECT_TRUE(std::filesystem::is_empty(dragFolder()));
}

TEST_F(SamplesOut, SamplesOfOneNameDoNotReplaceEachOther) {
  ImageBuilder image;
  image.root().addFolder("Twins").addFile("TWINS", IffBank()
                                                       .sample("Twin", patternBytes(10, 1), "E4S1")
                                                       .sample("Twin", patternBytes(10, 2), "E4S2")
                                                       .build());
  mount(image);
  pressPanelKey();
  look("TWINS");
  entries()->selectAll();
  const auto data = dragged();
  ASSERT_TRUE(data);
  const std::vector<std::string> paths = filePaths(*data);
  ASSERT_EQ(paths.size(), 2U);
  EXPECT_EQ(std::filesystem::path(paths[1]).filename(), "TWINS_Twin (2).wav");
  EXPECT_EQ(audioOf(readBytes(paths[0])), patternBytes(10, 1));
  EXPECT_EQ(audioOf(readBytes(paths[1])), patternBytes(10, 2));
}

TEST_F(SamplesOut, DragExportsNothingBeforeAnotherProgramAsks) {
  lookAtKit();
  chooseEntry("Kick");
  chooseEntry("Snare", Qt::ControlModifier);
  const auto data = dragged();
  ASSERT_TRUE(data);
  EXPECT_TRUE(data->hasUrls());
  EXPECT_EQ(data->names(), (QStringList{"KIT_Kick.wav", "KIT_Snare.wav"}));
  EXPECT_FALSE(std::filesystem::exists(dragFolder()));
  EXPECT_EQ(data->urls(), data->urls());
  EXPECT_EQ(namesIn(dragFolder()).size(), 1U);
}

TEST_F(SamplesOut, DragIsRefusedByTheWindowItselfAndExportsNothing) {
  lookAtKit();
  chooseEntry("Kick");
  FileDrag drag(dragged().release());
  EXPECT_EQ(drag.dropOn(table()->viewport(), emptyPlace(table())), Qt::IgnoreAction);
  EXPECT_EQ(drag.dropOn(outline()->viewport(), emptyPlace(outline())), Qt::IgnoreAction);
  EXPECT_FALSE(std::filesystem::exists(dragFolder()));
}

TEST_F(SamplesOut, DragOfABankThatIsGoneIsNothingAndTold) {
  lookAtKit();
  chooseEntry("Kick");
  const auto data = dragged();
  const EMU3DirectoryPtr folder = controller_->currentDirectory();
  ASSERT_TRUE(controller_->filesystem()->deleteFile(fileNamed(folder, "KIT"), folder));
  const CapturedLog log;
  const AlertAnswers alerts;
  EXPECT_TRUE(data->urls().isEmpty());
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(log.lines(),
            std::vector<std::string>{"Drag export failed for KIT[Kick]: "
                                     "Error Domain=com.tessary.error Code=5 \"Dentry block not found\""});
  EXPECT_EQ(status(), "Exported 0 sample(s) with 1 failure(s).");
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Sample Export Failed (1)");
  EXPECT_EQ(alerts.shown()[0].failures, QStringList{"KIT[Kick]: Dentry block not found"});
}

TEST_F(SamplesOut, NameThatSteersAPathStaysInItsFolder) {
  ImageBuilder image;
  image.root().addFolder("Odd").addFile("ODD", IffBank().sample("../../up", patternBytes(10)).build());
  mount(image);
  pressPanelKey();
  look("ODD");
  const auto data = dragged();
  ASSERT_TRUE(data);
  EXPECT_EQ(std::filesystem::path(filePaths(*data).front()).filename(), "ODD_..%2F..%2Fup.wav");
}

TEST_F(SamplesOut, ChangesNothingOnTheImage) {
  const std::string path = mount(kitImage());
  const Bytes before = readBytes(path);
  pressPanelKey();
  look("KIT");
  chooseEntry("Snare");
  press(Qt::Key_Space);
  exportChosen(hostFolder("out"));
  EXPECT_EQ(readBytes(path), before);
  EXPECT_FALSE(controller_->undoManager()->canUndo());
}

} // namespace
} // namespace tessary
