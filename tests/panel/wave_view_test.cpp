// The wave: what is drawn of it, zooming, scrolling, the cursor.

#include "app/Colors.h"
#include "app/panel/WaveView.h"
#include "tests/app/Contrast.h"

#include <QApplication>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>
#include <gtest/gtest.h>

namespace tessary {
namespace {

constexpr std::uint64_t kFrames = 1'000'000;

/// Silence, and a loud second half.
std::shared_ptr<SamplePeaks> halfLoud() {
  auto peaks = std::make_shared<SamplePeaks>();
  std::vector<std::uint8_t> audio(kFrames * 2, 0);
  for (std::size_t frame = kFrames / 2; frame < kFrames; ++frame)
    audio[frame * 2 + 1] = frame % 2 == 0 ? 0x70 : 0x90; // about ±28,672
  peaks->add(audio);
  return peaks;
}

class Wave : public testing::Test {
protected:
  Wave() {
    view_.resize(500, 200);
    view_.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&view_));
    view_.setSample("Loud", kFrames);
    view_.setPeaks(halfLoud());
  }

  void turnWheel(int notches, double x, Qt::KeyboardModifiers modifiers = {}) {
    const QPointF place(x, 50);
    QWheelEvent event(place, view_.viewport()->mapToGlobal(place), {}, {0, notches * 120}, Qt::NoButton,
                      modifiers, Qt::NoScrollPhase, false);
    QApplication::sendEvent(view_.viewport(), &event);
  }
  /// How many pixels of a column of the picture are the wave's.
  int waveHeightAt(int x) {
    const QImage picture = view_.viewport()->grab().toImage();
    const QColor base = view_.palette().color(QPalette::Base);
    int height = 0;
    for (int y = 10; y < 170; ++y)
      height += picture.pixelColor(x, y).rgb() != base.rgb();
    return height;
  }

  WaveView view_;
};

TEST_F(Wave, IsDrawnWhereItIsLoud) {
  EXPECT_LE(waveHeightAt(100), 2);
  EXPECT_GT(waveHeightAt(400), 100);
}

TEST_F(Wave, IsEasilySeenInBothSchemes) {
  QPalette dark(QColor(50, 50, 50), QColor(35, 35, 35));
  dark.setColor(QPalette::Highlight, QColor(42, 130, 218));
  for (const QPalette &scheme : {QPalette(Qt::lightGray, Qt::white), QPalette(Qt::white), dark}) {
    EXPECT_GE(test::contrast(waveColor(scheme), scheme.color(QPalette::Base)), 4.5);
    EXPECT_GE(test::contrast(heardColor(scheme), scheme.color(QPalette::Base)), 4.5);
  }
}

TEST_F(Wave, WholeSampleIsShownAtFirstAndStaysSoInAnotherSize) {
  EXPECT_EQ(view_.section().first, 0);
  EXPECT_DOUBLE_EQ(view_.section().framesPerPixel, kFrames / 500.0);
  view_.resize(1000, 200);
  EXPECT_DOUBLE_EQ(view_.section().framesPerPixel, kFrames / 1000.0);
}

TEST_F(Wave, WheelZoomsAroundThePointer) {
  const double under = view_.section().frameAt(400);
  turnWheel(1, 400);
  EXPECT_LT(view_.section().framesPerPixel, kFrames / 500.0);
  EXPECT_NEAR(view_.section().frameAt(400), under, 1);
  turnWheel(-5, 400);
  EXPECT_DOUBLE_EQ(view_.section().framesPerPixel, kFrames / 500.0) << "no further than the whole";
  EXPECT_EQ(view_.section().first, 0);
}

TEST_F(Wave, ShiftWithTheWheelAndTheBarScroll) {
  turnWheel(5, 0);
  const double before = view_.section().first;
  turnWheel(-1, 0, Qt::ShiftModifier);
  EXPECT_GT(view_.section().first, before);
  view_.horizontalScrollBar()->setValue(view_.horizontalScrollBar()->maximum());
  EXPECT_NEAR(view_.section().frameAt(500), kFrames, 2 * view_.section().framesPerPixel);
}

TEST_F(Wave, KeysZoomScrollAndMoveTheCursor) {
  view_.setFocus();
  QTest::keyClick(&view_, Qt::Key_Plus);
  QTest::keyClick(&view_, Qt::Key_Plus);
  EXPECT_NEAR(view_.section().framesPerPixel, kFrames / 500.0 / 2.25, 1);
  QTest::keyClick(&view_, Qt::Key_PageDown);
  EXPECT_GT(view_.section().first, 0);
  QTest::keyClick(&view_, Qt::Key_0);
  EXPECT_EQ(view_.section().first, 0);
  QTest::keyClick(&view_, Qt::Key_Right);
  EXPECT_EQ(view_.cursor(), kFrames / 50);
  QTest::keyClick(&view_, Qt::Key_Left);
  EXPECT_EQ(view_.cursor(), 0U);
  QTest::keyClick(&view_, Qt::Key_End);
  EXPECT_EQ(view_.cursor(), kFrames);
  QTest::keyClick(&view_, Qt::Key_Home);
  EXPECT_EQ(view_.cursor(), 0U);
}

TEST_F(Wave, ClickPutsTheCursorThere) {
  QSignalSpy moves(&view_, &WaveView::cursorMoved);
  QTest::mouseClick(view_.viewport(), Qt::LeftButton, {}, {250, 50});
  EXPECT_EQ(view_.cursor(), kFrames / 2);
  EXPECT_EQ(moves.count(), 1);
}

TEST_F(Wave, AsksForTheFramesThemselvesWhereItIsClose) {
  QSignalSpy wanted(&view_, &WaveView::closeUpWanted);
  for (int i = 0; i < 5; ++i)
    turnWheel(1, 250);
  EXPECT_GE(view_.section().framesPerPixel, 256);
  EXPECT_EQ(wanted.count(), 0);
  while (view_.section().framesPerPixel > 4)
    turnWheel(1, 250);
  ASSERT_GE(wanted.count(), 1);
  const auto first = wanted.last().at(0).value<std::uint64_t>();
  const auto frames = wanted.last().at(1).value<std::uint64_t>();
  EXPECT_LE(static_cast<double>(first), view_.section().first);
  EXPECT_GE(static_cast<double>(first + frames), view_.section().frameAt(500));
  EXPECT_LE(frames, 3U * 500U * 256U + 2U) << "never much more than is seen";
}

TEST_F(Wave, FollowsWhatIsHeardOutOfSight) {
  turnWheel(5, 0);
  view_.setHeard(kFrames / 2);
  EXPECT_LE(view_.section().first, kFrames / 2.0);
  EXPECT_GT(view_.section().frameAt(500), kFrames / 2.0);
}

TEST_F(Wave, ScreenReadersAreToldWhatItShows) {
  EXPECT_EQ(view_.accessibleName(), "Wave of Loud, 22.68 s, cursor at 0.00 s");
  view_.setNothing("Nothing here");
  EXPECT_EQ(view_.accessibleName(), "Nothing here");
}

TEST_F(Wave, AnotherSampleBeginsAtItsBeginning) {
  turnWheel(5, 400);
  QTest::mouseClick(view_.viewport(), Qt::LeftButton, {}, {250, 50});
  view_.setSample("Next", 10);
  EXPECT_EQ(view_.cursor(), 0U);
  EXPECT_EQ(view_.section().first, 0);
}

} // namespace
} // namespace tessary
