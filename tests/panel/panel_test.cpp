// What the panel shows of the selected file, and where.

#include "tests/panel/PanelTest.h"
#include "tests/support/MountedVolume.h"

#include <QApplication>
#include <QClipboard>
#include <QTest>

namespace tessary {
namespace {

using namespace test;

class Panel : public PanelTest {
protected:
  void mountKit() {
    mount(kitImage());
    pressPanelKey();
  }
};

TEST_F(Panel, IsOffAtFirstAndShownByItsKeyFromThenOn) {
  mount(kitImage());
  EXPECT_FALSE(panel()->isVisible());
  pressPanelKey();
  EXPECT_TRUE(panel()->isVisible());
  EXPECT_TRUE(menuItem("View", "Bank Contents")->isChecked());
  MainWindowController next(windows_);
  next.showWindow();
  EXPECT_TRUE(next.bankContentsPanel()->isVisible()) << "it is remembered";
  pressPanelKey();
  EXPECT_FALSE(panel()->isVisible());
}

TEST_F(Panel, ReadsNothingWhileItIsOff) {
  mount(kitImage());
  look("KIT");
  EXPECT_EQ(controller_->bankContents()->reader().bankCounts().asked, 0U);
}

TEST_F(Panel, ListsPresetsAndSamplesWithSizeAndLength) {
  mountKit();
  look("KIT");
  EXPECT_EQ(labelText("BankTitle"), "KIT");
  EXPECT_EQ(labelText("BankFacts"), "Emulator IV · 2 presets · 3 samples");
  EXPECT_EQ(labelText("BankMessage"), "");
  // The chunk of a preset is what the builder makes it; those of the samples are their audio.
  const QStringList rows = entryRows();
  ASSERT_EQ(rows.size(), 7);
  EXPECT_EQ(rows[0], "Presets||");
  EXPECT_TRUE(rows[1].startsWith("Kit|")) << rows[1].toStdString();
  EXPECT_TRUE(rows[2].startsWith("Kit Soft|")) << rows[2].toStdString();
  EXPECT_EQ(rows.mid(3), (QStringList{"Samples||", "Kick|882 B|0.01 s", "Snare|1.7 KB|0.02 s",
                                      "Kick Long|86.1 KB|1.00 s"}));
}

TEST_F(Panel, ChoosesTheFirstSampleAndShowsItsWave) {
  mountKit();
  look("KIT");
  EXPECT_EQ(chosenEntry(), "Kick");
  EXPECT_EQ(wave()->frames(), 441U);
  EXPECT_EQ(labelText("SampleTime"), "0.00 s / 0.01 s");
}

TEST_F(Panel, TellsWhatIsKnownOfBanksThatHaveNoList) {
  mountKit();
  look("OLD");
  EXPECT_EQ(labelText("BankTitle"), "OLD");
  EXPECT_EQ(labelText("BankFacts"), "Emulator III · 5 presets · 12 samples");
  EXPECT_EQ(labelText("BankMessage"), "Of banks of this format no list of presets and samples can be read.");
  EXPECT_FALSE(entries()->isVisible());
  EXPECT_FALSE(panel()->playButton()->isEnabled());
}

TEST_F(Panel, TellsOfFilesThatAreNoBanksOfNoneAndOfSeveral) {
  mountKit();
  EXPECT_EQ(labelText("BankMessage"), "Choose a bank to see what is in it.");
  look("NOTES");
  EXPECT_EQ(labelText("BankMessage"), "This file is no bank.");
  chooseFiles({"KIT", "OTHER"});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(labelText("BankMessage"), "Choose one bank alone to see what is in it.");
}

TEST_F(Panel, FollowsTheSelectionAndDropsWhatWasAskedForBefore) {
  const std::string path = mount(kitImage());
  pressPanelKey();
  {
    const HeldQueue held(*controller_->filesystem());
    for (const char *file : {"KIT", "OLD", "OTHER"}) {
      chooseFiles({file});
      QCoreApplication::processEvents();
    }
  }
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(labelText("BankTitle"), "OTHER");
  const auto &counts = controller_->bankContents()->reader().bankCounts();
  EXPECT_EQ(counts.asked, 3U);
  EXPECT_EQ(counts.begun, 1U) << "what was not begun is not read any more";
  EXPECT_EQ(counts.used, 1U);
}

TEST_F(Panel, NamesOfControlCharactersAndMarkupAreShownAsText) {
  ImageBuilder image;
  image.root().addFolder("Odd").addFile(
      "ODD", IffBank().preset("<b>Bold</b>").sample("A\nB\x1B[0m", patternBytes(20)).build());
  mount(image);
  pressPanelKey();
  look("ODD");
  const QStringList rows = entryRows();
  EXPECT_TRUE(rows[1].startsWith("<b>Bold</b>|"));
  EXPECT_TRUE(rows[3].startsWith("A\\nB\\")) << rows[3].toStdString();
  EXPECT_FALSE(rows[3].contains(QChar(0x1B)));
}

// ---- Names

TEST_F(Panel, NamesAreCopiedAsText) {
  mountKit();
  look("KIT");
  chooseEntry("Kit");
  chooseEntry("Kit Soft", Qt::ControlModifier);
  press(Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(QApplication::clipboard()->text(), "Kit\nKit Soft");
}

TEST_F(Panel, KeysForTheFilesDoNotReachThemFromThePanel) {
  mountKit();
  look("KIT");
  chooseEntry("Snare");
  press(Qt::Key_Delete);
  press(Qt::Key_F2);
  EXPECT_EQ(beeps_.count(), 2);
  EXPECT_EQ(sheet<QDialog>(), nullptr);
  press(Qt::Key_A, Qt::ControlModifier);
  EXPECT_EQ(entries()->chosenRows().size(), 5U);
  EXPECT_EQ(selectedFileNames(), QStringList{"KIT"});
}

// ---- Place

TEST_F(Panel, IsRightOfTheTableOrBelowItAsTheUserLikes) {
  mountKit();
  const auto place = [this](QWidget *widget) { return widget->mapTo(window(), QPoint()); };
  EXPECT_GT(place(panel()).x(), place(table()).x() + table()->width() - 1);
  for (QAction *item : menuItem("View", "Bank Contents’ Place")->menu()->actions())
    if (item->text() == "Below Table") item->trigger();
  QCoreApplication::processEvents();
  EXPECT_GT(place(panel()).y(), place(table()).y() + table()->height() - 1);
  EXPECT_EQ(place(panel()).x(), place(table()).x());
}

TEST_F(Panel, IsBelowWhereTheWindowIsTooNarrowForBoth) {
  mountKit();
  window()->resize(800, 500);
  QCoreApplication::processEvents();
  EXPECT_GT(panel()->mapTo(window(), QPoint()).y(), table()->mapTo(window(), QPoint()).y());
  EXPECT_LE(panel()->mapTo(window(), QPoint(0, panel()->height())).y(), window()->height());
}

} // namespace
} // namespace tessary
