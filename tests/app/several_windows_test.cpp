// Windows beside each other, each on an image of its own.

#include "app/AboutPanel.h"
#include "app/NewImageAlert.h"
#include "app/RecentImages.h"
#include "app/WindowPlace.h"
#include "tests/app/Holdings.h"
#include "tests/app/SeveralWindows.h"

#include <QApplication>
#include <QLineEdit>
#include <QMenuBar>
#include <QTest>
#include <algorithm>
#include <filesystem>

namespace tessary::test {
namespace {

QStringList itemsOf(const MainWindowController *window, const char *title) {
  QStringList items;
  for (const QAction *each : window->window()->menuBar()->actions()) {
    if (each->text() != QLatin1String(title)) continue;
    emit each->menu()->aboutToShow();
    for (const QAction *item : each->menu()->actions())
      items += (item->isChecked() ? QStringLiteral("✓ ") : QString()) + item->text();
  }
  return items;
}

// ---- New windows

TEST_F(SeveralWindows, NewOneIsEmptyAndBesideTheOneBeforeWithItsSize) {
  const Window first = windows().front();
  first->window()->setGeometry(100, 120, 900, 600);
  QCoreApplication::processEvents();
  chooseFromMenus(first, "File", QStringLiteral("New Window"));
  ASSERT_EQ(windows().size(), 2U);
  const Window second = windows().back();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(second->window()));
  EXPECT_EQ(status(second), QStringLiteral("No image loaded"));
  EXPECT_EQ(second->window()->size(), first->window()->size());
  const QPoint apart = second->window()->pos() - first->window()->pos();
  EXPECT_GT(apart.x(), 0);
  EXPECT_LT(apart.x(), 100);
  EXPECT_GT(apart.y(), 0);
  EXPECT_LT(apart.y(), 100);
}

TEST_F(SeveralWindows, KeyOpensANewOneAndAnotherClosesIt) {
  pressKeyIn(windows().front()->window(), Qt::Key_N, Qt::ControlModifier | Qt::AltModifier);
  ASSERT_EQ(windows().size(), 2U);
  pressKeyIn(windows().back()->window(), Qt::Key_W, Qt::ControlModifier);
  EXPECT_EQ(windows().size(), 1U);
}

TEST(WindowPlaces, OneBesideAnotherStaysOnTheScreen) {
  const QRect screen(0, 30, 1600, 1000);
  EXPECT_GT(placeBeside({100, 100, 800, 600}, screen).x(), 100);
  EXPECT_GT(placeBeside({100, 100, 800, 600}, screen).y(), 100);
  EXPECT_EQ(placeBeside({790, 100, 800, 600}, screen).x(), 0);
  EXPECT_GT(placeBeside({790, 100, 800, 600}, screen).y(), 100);
  EXPECT_EQ(placeBeside({100, 420, 800, 600}, screen).y(), 30);
}

TEST_F(SeveralWindows, EachHasItsOwnImageAndUndo) {
  const std::string onePath = writeVolume("one.hda", 1), otherPath = writeVolume("other.hda", 100);
  const Holdings oneBefore = holdingsOf(onePath), otherBefore = holdingsOf(otherPath);
  const Window one = open(onePath), other = open(otherPath);
  ASSERT_NE(one, other);
  deleteFiles(one, {"KICK"});
  deleteFiles(other, {"SIXTEEN BYTES 16"});
  deleteFiles(other, {"KICK"});
  const Holdings otherAfter = holdingsOf(otherPath);
  chooseFromMenus(one, "Edit", QStringLiteral("Undo Delete"));
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(holdingsOf(onePath), oneBefore);
  EXPECT_EQ(holdingsOf(otherPath), otherAfter);
  EXPECT_FALSE(one->undoManager()->canUndo());
  for (int steps = 0; steps < 2; ++steps) {
    chooseFromMenus(other, "Edit", QStringLiteral("Undo Delete"));
    ASSERT_TRUE(waitUntilIdle());
  }
  EXPECT_EQ(holdingsOf(otherPath), otherBefore);
  EXPECT_EQ(beeps_.count(), 0);
}

TEST_F(SeveralWindows, UndoOutlastsTheClosingOfAnotherWindow) {
  const std::string onePath = writeVolume("one.hda", 1);
  const Holdings before = holdingsOf(onePath);
  const Window one = open(onePath), other = open(writeVolume("other.hda", 100));
  deleteFiles(one, {"KICK"});
  deleteFiles(other, {"KICK"});
  chooseFromMenus(other, "File", QStringLiteral("Close Window"));
  ASSERT_TRUE(waitUntilIdle());
  chooseFromMenus(one, "Edit", QStringLiteral("Undo Delete"));
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(holdingsOf(onePath), before);
}

TEST_F(SeveralWindows, AboutStandsOnTheOneWhoseMenuItWasChosenIn) {
  delegate_->windows().openWindow();
  for (const Window window : windows()) {
    const QWidget *above = nullptr;
    QTimer look;
    look.callOnTimeout([&] {
      auto *panel = qobject_cast<AboutPanel *>(QApplication::activeModalWidget());
      if (!panel) return;
      above = panel->parentWidget();
      panel->accept();
    });
    look.start(5);
    chooseFromMenus(window, "Tessary", QStringLiteral("About Tessary"));
    EXPECT_EQ(above, window->window());
  }
}

TEST_F(SeveralWindows, MenuListsThemByTheirImagesAndBringsTheChosenOneToTheFront) {
  std::filesystem::create_directory(folder_.path("copy"));
  const Window one = open(writeVolume("one.hda", 1));
  const Window other = open(writeVolume("other & more.hda", 1));
  const Window copy = open(writeVolume("copy/one.hda", 1));
  delegate_->windows().openWindow();
  EXPECT_EQ(itemsOf(other, "Window"),
            (QStringList{QStringLiteral("one.hda — %1").arg(QString::fromStdString(folder_.path())),
                         QStringLiteral("✓ other && more.hda"),
                         QStringLiteral("one.hda — %1/copy").arg(QString::fromStdString(folder_.path())),
                         QStringLiteral("No Image")}));
  chooseFromMenus(other, "Window", itemsOf(other, "Window").at(2));
  EXPECT_TRUE(waitUntilActive(copy->window()));
  chooseFromMenus(copy, "Window", itemsOf(copy, "Window").at(0));
  EXPECT_TRUE(waitUntilActive(one->window()));
}

TEST_F(SeveralWindows, DesktopIsAnsweredByTheOneUsedLast) {
  const Window first = windows().front();
  const Window second = delegate_->windows().openWindow();
  activate(second->window()); // as a window manager does
  EXPECT_EQ(delegate_->mainWC(), second);
  activate(first->window());
  EXPECT_EQ(delegate_->mainWC(), first);
  activate(second->window());
  second->window()->close();
  EXPECT_EQ(delegate_->mainWC(), first);
  first->window()->showMinimized();
  delegate_->activate();
  EXPECT_FALSE(first->window()->isMinimized());
}

TEST_F(SeveralWindows, SheetHoldsUpItsOwnWindowAlone) {
  const Window one = open(writeVolume("one.hda", 1)), other = open(writeVolume("other.hda", 100));
  selectFiles(one, {"KICK"});
  chooseFromMenus(one, "Edit", QStringLiteral("Delete"));
  ASSERT_TRUE(hasSheet(one));
  deleteFiles(other, {"KICK"});
  EXPECT_EQ(status(other), QStringLiteral("Deleted 1 file(s)."));
  EXPECT_EQ(beeps_.count(), 0);
  EXPECT_TRUE(hasSheet(one)) << "its question is still to be answered";
  clickButton(sheet<QDialog>(one), QStringLiteral("Cancel"));
}

// ---- One image, one window

class OneImage : public SeveralWindows {
protected:
  OneImage() {
    shown_ = open(path_);
    asking_ = open(other_);
    activate(asking_->window());
    before_ = asking_->filesystem();
    statusBefore_ = status(asking_);
  }
  void expectShownIsRaised() {
    EXPECT_TRUE(waitUntilActive(shown_->window()));
    EXPECT_EQ(asking_->filesystem(), before_);
    EXPECT_EQ(status(asking_), statusBefore_);
    EXPECT_EQ(windows().size(), 2U);
    EXPECT_FALSE(asking_->isEmpty());
    activate(asking_->window());
  }

  const std::string path_ = writeVolume("one.hda", 1);
  const std::string other_ = writeVolume("other.hda", 100);
  Window shown_, asking_;
  EMU3FilesystemPtr before_;
  QString statusBefore_;
};

TEST_F(OneImage, IsNotMountedByTwoWhateverThePathThatLeadsToIt) {
  const std::string link = folder_.path("link.hda"), hardLink = folder_.path("hard link.hda");
  std::filesystem::create_symlink(path_, link);
  std::filesystem::create_hard_link(path_, hardLink);
  for (const std::string &path : {path_, link, hardLink}) {
    mountIn(asking_, path);
    expectShownIsRaised();
    delegate_->application(path);
    ASSERT_TRUE(waitUntilIdle());
    expectShownIsRaised();
  }
}

TEST_F(OneImage, IsFoundFromTheMenuOfRecentOnes) {
  QMenu *recent = nullptr;
  for (QMenu *menu : asking_->menus())
    for (const QAction *item : menu->actions())
      if (item->text() == QLatin1String("Open Recent")) recent = item->menu();
  ASSERT_NE(recent, nullptr);
  emit recent->aboutToShow();
  ASSERT_EQ(recent->actions().at(1)->text(), QStringLiteral("one.hda"));
  recent->actions().at(1)->trigger();
  ASSERT_TRUE(waitUntilIdle());
  expectShownIsRaised();
}

TEST_F(OneImage, IsNotRaisedForWhatLiesAtItsPathMeanwhile) {
  std::filesystem::rename(path_, folder_.path("moved away.hda"));
  writeVolume("one.hda", 200);
  mountIn(asking_, path_);
  EXPECT_NE(asking_->filesystem(), before_);
  EXPECT_EQ(title(asking_), QStringLiteral("Tessary — one.hda"));
}

TEST_F(OneImage, MountedAnewInItsOwnWindowIsShownThere) {
  const EMU3FilesystemPtr earlier = shown_->filesystem();
  mountIn(shown_, path_);
  EXPECT_NE(shown_->filesystem(), earlier);
}

TEST_F(OneImage, AskedForByTwoAtOnceIsShownByTheFirst) {
  const std::string third = writeVolume("third.hda", 300);
  shown_->openImageAtURL(third);
  asking_->openImageAtURL(third);
  ASSERT_TRUE(waitUntilIdle());
  const QStringList titles{title(shown_), title(asking_)};
  EXPECT_EQ(titles.count(QStringLiteral("Tessary — third.hda")), 1);
}

// ---- Closing

TEST_F(SeveralWindows, ClosingOneLeavesTheOthersAndWhatTheyDo) {
  const Window one = open(writeVolume("one.hda", 1));
  const std::string otherPath = writeVolume("other.hda", 100);
  const QPointer<MainWindowController> other = open(otherPath);
  chooseFromMenus(other, "File", QStringLiteral("Close Window"));
  EXPECT_EQ(windows(), std::vector<Window>{one});
  EXPECT_TRUE(QTest::qWaitFor([&] { return other.isNull(); }));
  deleteFiles(one, {"KICK"});
  EXPECT_EQ(status(one), QStringLiteral("Deleted 1 file(s)."));
}

TEST_F(SeveralWindows, ImageIsOpenedThoughTheWindowThatBeganItWasClosed) {
  const Window first = open(writeVolume("one.hda", 1));
  const Window second = open(writeVolume("two.hda", 2));
  activate(second->window());
  const std::string third = writeVolume("three.hda", 3);
  {
    HeldWorkQueue held;
    delegate_->application(third);
    EXPECT_EQ(status(second), "Opening image…");
    second->window()->close();
    EXPECT_EQ(windows(), std::vector<Window>{first});
    QTest::qWait(200); // until it has ended
  }
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_EQ(windows().size(), 2U);
  EXPECT_TRUE(title(windows().back()).contains("three.hda"));
}

TEST_F(SeveralWindows, ImageIsOpenedThoughTheLastWindowWasClosed) {
  const Window first = open(writeVolume("one.hda", 1));
  {
    HeldWorkQueue held;
    delegate_->application(writeVolume("two.hda", 2));
    first->window()->close();
    ASSERT_EQ(windows().size(), 1U) << "a new one waits for the image";
    EXPECT_NE(windows().front(), first);
  }
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_EQ(windows().size(), 1U);
  EXPECT_TRUE(title(windows().front()).contains("two.hda"));
}

TEST_F(SeveralWindows, WhyAnImageWasNotOpenedIsToldThoughTheWindowThatBeganItWasClosed) {
  const Window first = open(writeVolume("one.hda", 1));
  const Window second = open(writeVolume("two.hda", 2));
  activate(second->window());
  const std::string broken = folder_.path("broken.hda");
  writeBytes(broken, patternBytes(5000));
  const AlertAnswers alerts;
  {
    HeldWorkQueue held;
    delegate_->application(broken);
    second->window()->close();
  }
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Cannot Open Image");
  EXPECT_TRUE(alerts.shown()[0].informativeText.contains("broken.hda"));
  EXPECT_EQ(windows(), std::vector<Window>{first});
}

TEST_F(SeveralWindows, ImageOfAClosedOneCanBeOpenedAgain) {
  open(writeVolume("one.hda", 1));
  const std::string otherPath = writeVolume("other.hda", 100);
  const Window other = open(otherPath);
  other->window()->close();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_NE(open(otherPath), nullptr);
  EXPECT_EQ(windows().size(), 2U);
}

} // namespace
} // namespace tessary::test
