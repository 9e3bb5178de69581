// Playing the samples of the panel, and what becomes of it when the bank goes.

#include "tests/panel/PanelTest.h"
#include "tests/support/MountedVolume.h"

#include <QSlider>
#include <QTest>

namespace tessary {
namespace {

using namespace test;

class Playing : public PanelTest {
protected:
  void mountKit() {
    mount(kitImage());
    pressPanelKey();
  }
};

TEST_F(Playing, NothingSoundsByItself) {
  mountKit();
  look("KIT");
  chooseEntry("Snare");
  look("OTHER");
  EXPECT_TRUE(heard_.sounds().empty());
}

TEST_F(Playing, SpacePlaysTheChosenSampleAndStopsIt) {
  mountKit();
  look("KIT");
  chooseEntry("Snare");
  press(Qt::Key_Space);
  ASSERT_EQ(heard_.sounds().size(), 1U);
  const Sound sound = heard_.sounds().front();
  EXPECT_EQ(Bytes(sound.bytes->begin() + static_cast<std::ptrdiff_t>(sound.begin), sound.bytes->end()),
            snareAudio());
  EXPECT_EQ(sound.frames, 882U);
  EXPECT_EQ(sound.rate, 44100U);
  EXPECT_EQ(sound.start, 0U);
  EXPECT_FALSE(isPlayShown());
  press(Qt::Key_Space);
  EXPECT_FALSE(heard_.isPlaying);
  EXPECT_TRUE(isPlayShown());
}

TEST_F(Playing, SpacePlaysWhileTheFilesHaveTheKeyboard) {
  mountKit();
  look("KIT");
  ASSERT_TRUE(table()->hasFocus());
  press(Qt::Key_Space);
  EXPECT_EQ(heard_.sounds().size(), 1U);
  EXPECT_EQ(selectedFileNames(), QStringList{"KIT"});
}

TEST_F(Playing, SpaceThatGoesOnWithATypedNameDoesNotPlay) {
  mountKit();
  look("KIT");
  chooseEntry("Snare");
  activate(window());
  QTest::keyClicks(entries(), "kick l"); // one letter after the other, as a name is typed
  EXPECT_TRUE(heard_.sounds().empty());
  EXPECT_EQ(chosenEntry(), "Kick Long");
}

TEST_F(Playing, SpaceIsTheFilesOwnWhileThePanelIsOff) {
  mount(kitImage());
  look("KIT");
  press(Qt::Key_Space);
  EXPECT_TRUE(heard_.sounds().empty());
}

TEST_F(Playing, ButtonPlaysFromTheCursorAndShowsWhatIsHeard) {
  mountKit();
  look("KIT");
  chooseEntry("Kick Long");
  click(wave()->viewport(), {wave()->viewport()->width() / 2, 20});
  const std::uint64_t cursor = wave()->cursor();
  EXPECT_NEAR(static_cast<double>(cursor), 22050, 200);
  click(panel()->playButton(), panel()->playButton()->rect().center());
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_EQ(heard_.sounds().size(), 1U);
  EXPECT_EQ(heard_.sounds().front().start, cursor);
  heard_.position = 33075;
  ASSERT_TRUE(QTest::qWaitFor([this] { return wave()->heard() == 33075U; }));
  EXPECT_EQ(labelText("SampleTime"), "0.75 s / 1.00 s");
  heard_.hasEnded = true;
  ASSERT_TRUE(QTest::qWaitFor([this] { return isPlayShown(); }));
  EXPECT_EQ(wave()->heard(), std::nullopt);
  EXPECT_EQ(wave()->cursor(), cursor) << "the next time it plays from there again";
}

TEST_F(Playing, ArrowKeysGoOnPlayingTheNextAndThePreviousSample) {
  mountKit();
  look("KIT");
  chooseEntry("Kick");
  press(Qt::Key_Space);
  press(Qt::Key_Down);
  ASSERT_EQ(heard_.sounds().size(), 2U);
  EXPECT_EQ(heard_.sounds()[1].frames, 882U);
  press(Qt::Key_Up);
  ASSERT_EQ(heard_.sounds().size(), 3U);
  EXPECT_EQ(heard_.sounds()[2].frames, 441U);
  press(Qt::Key_Space);
  press(Qt::Key_Down);
  EXPECT_EQ(heard_.sounds().size(), 3U) << "what was stopped stays silent";
  EXPECT_EQ(chosenEntry(), "Snare");
}

TEST_F(Playing, ArrowKeysPassOverTheTitlesOfTheParts) {
  mountKit();
  look("KIT");
  chooseEntry("Kick");
  press(Qt::Key_Up);
  EXPECT_EQ(chosenEntry(), "Kit Soft");
  press(Qt::Key_Home);
  EXPECT_EQ(chosenEntry(), "Kit");
  press(Qt::Key_Up);
  EXPECT_EQ(chosenEntry(), "Kit");
  press(Qt::Key_End);
  EXPECT_EQ(chosenEntry(), "Kick Long");
}

TEST_F(Playing, AnotherBankEndsThePlaying) {
  mountKit();
  look("KIT");
  press(Qt::Key_Space);
  look("OTHER");
  EXPECT_FALSE(heard_.isPlaying);
  EXPECT_TRUE(isPlayShown());
}

TEST_F(Playing, RateIsThatOfWhatIsPlayedAndOfTheLengthsAndIsRemembered) {
  mountKit();
  look("KIT");
  chooseEntry("Kick Long");
  press(Qt::Key_Space);
  heard_.position = 1000;
  ASSERT_TRUE(QTest::qWaitFor([this] { return wave()->heard() == 1000U; }));
  chooseRate(22050);
  ASSERT_GE(heard_.sounds().size(), 2U);
  EXPECT_EQ(heard_.sounds().back().rate, 22050U);
  EXPECT_EQ(entryRows().last(), "Kick Long|86.1 KB|2.00 s");
  MainWindowController next(windows_);
  EXPECT_EQ(next.bankContentsPanel()->rate(), 22050U);
}

TEST_F(Playing, VolumeIsFullAtFirstAndRemembered) {
  mountKit();
  EXPECT_EQ(heard_.volume, 1.0F);
  panel()->volume()->setFocus();
  press(Qt::Key_Home);
  EXPECT_EQ(heard_.volume, 0.0F);
  MainWindowController next(windows_);
  EXPECT_EQ(next.bankContentsPanel()->volume()->value(), 0);
}

TEST_F(Playing, WithoutADeviceItSaysSoAndAllElseWorks) {
  mountKit();
  heard_.hasDevice = false;
  look("KIT");
  press(Qt::Key_Space);
  EXPECT_EQ(labelText("SampleTime"), "No sound device was found.");
  EXPECT_TRUE(isPlayShown());
  chooseEntry("Snare");
  EXPECT_EQ(wave()->frames(), 882U);
  heard_.hasDevice = true;
  press(Qt::Key_Space);
  EXPECT_EQ(heard_.sounds().size(), 1U) << "it is looked for anew";
}

// ---- The bank goes while it plays

TEST_F(Playing, BankDeletedWhileItPlaysFallsSilent) {
  mountKit();
  look("KIT");
  press(Qt::Key_Space);
  press(Qt::Key_Delete);
  clickButton(sheet<QDialog>(), "Delete");
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_FALSE(heard_.isPlaying);
  EXPECT_EQ(fileNames().contains("KIT"), false);
}

TEST_F(Playing, BankMovedByAnotherHandWhileItPlaysIsPlayedFromMemoryOrNotAtAll) {
  mountKit();
  look("KIT");
  press(Qt::Key_Space);
  const EMU3DirectoryPtr folder = controller_->currentDirectory();
  ASSERT_TRUE(controller_->filesystem()->moveFile(fileNamed(folder, "KIT"), folder,
                                                  controller_->filesystem()->rootDirectory()));
  const Sound sound = heard_.sounds().front();
  EXPECT_EQ(Bytes(sound.bytes->begin() + static_cast<std::ptrdiff_t>(sound.begin), sound.bytes->end()),
            kickAudio());
  press(Qt::Key_Space); // stops
  press(Qt::Key_Space); // what is no longer there cannot be read
  EXPECT_EQ(heard_.sounds().size(), 1U);
  EXPECT_FALSE(labelText("SampleTime").isEmpty());
  EXPECT_TRUE(isPlayShown());
}

TEST_F(Playing, ImageUnmountedWhileItPlaysFallsSilent) {
  mountKit();
  look("KIT");
  press(Qt::Key_Space);
  press(Qt::Key_E, Qt::ControlModifier);
  EXPECT_FALSE(heard_.isPlaying);
  EXPECT_EQ(labelText("BankMessage"), "Choose a bank to see what is in it.");
  press(Qt::Key_Space);
  EXPECT_EQ(heard_.sounds().size(), 1U);
}

TEST_F(Playing, SoundReadForABankThatIsNoLongerChosenIsNotPlayed) {
  const std::string path = mount(kitImage());
  pressPanelKey();
  look("KIT");
  {
    const HeldQueue held(*controller_->filesystem());
    pressKeyIn(window(), Qt::Key_Space);
    chooseFiles({"OTHER"});
    QCoreApplication::processEvents();
  }
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_TRUE(heard_.sounds().empty());
}

} // namespace
} // namespace tessary
