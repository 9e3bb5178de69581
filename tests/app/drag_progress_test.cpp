// What is dragged out while it is being exported: the bar, Stop, and all that may happen meanwhile.

#include "app/Alert.h"
#include "app/ContentController.h"
#include "app/DraggedData.h"
#include "app/SidebarController.h"
#include "app/progress/WorkBar.h"
#include "tests/app/FileDrag.h"
#include "tests/app/LongWorkTest.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/MountedVolume.h"

#include <QApplication>
#include <QMenuBar>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <filesystem>
#include <functional>
#include <unistd.h>

namespace tessary::test {
namespace {

constexpr int kFiles = 100;

/// A drag of all files of a folder, and another program that asks for them on a slow medium.
class DragProgress : public LongWorkTest {
protected:
  void SetUp() override {
    path_ = mount(volumeOfMany(kFiles));
    putMenuBar();
    chooseFolder({"Many"});
    selectAllFiles();
    data_ = dataOfSelection();
    before_ = status();
  }

  /// Asks for the addresses, does `meanwhile` when the bar shows how they are made, and lets that go on then.
  QList<QUrl> ask(const std::function<void()> &meanwhile) {
    medium_.holdFlushesOfFiles();
    QTimer look;
    look.callOnTimeout([&] {
      if (medium_.waiting() == 0 || !what().startsWith("Exporting") || !bar()->isVisible()) return;
      look.stop();
      meanwhile();
      medium_.letGo();
    });
    look.start(10);
    const QList<QUrl> urls = data_->urls();
    EXPECT_FALSE(look.isActive()) << "it was over before the bar was shown";
    EXPECT_TRUE(waitUntilIdle());
    return urls;
  }
  std::unique_ptr<QMimeData> dataOfSelection() const {
    return std::unique_ptr<QMimeData>(
        controller_->contentCtl()->mimeData(table()->selectionModel()->selectedIndexes()));
  }
  void closeAndAnswer(const QString &button) const {
    window()->close();
    EXPECT_EQ(describe(*sheet<Alert>()).message, "Close the window while work is running?");
    clickButton(sheet<Alert>(), button);
  }
  void pressStop() const { click(stopButton(), stopButton()->rect().center()); }
  bool isAnySheetUp() const { return sheet<QDialog>() != nullptr; }
  HostCopiesPtr copies() const { return DraggedData::in(data_.get())->copies(); }
  std::filesystem::path dragFolder() const {
    return folder_.path("tmp/tessary-" + std::to_string(::geteuid()) + "/EMU3Drag");
  }

  std::string path_;
  std::unique_ptr<QMimeData> data_;
  QString before_;
  const AlertAnswers alerts_;
};

TEST_F(DragProgress, BarShowsItemFiguresAndStop) {
  const QList<QUrl> urls = ask([this] {
    EXPECT_EQ(what(), "Exporting “FILE 0063”") << "the last one of the first group";
    EXPECT_EQ(figures(), "0 B of 58.6 KB (0%)");
    EXPECT_TRUE(stopButton()->isEnabled());
  });
  EXPECT_EQ(urls.size(), kFiles);
  EXPECT_FALSE(bar()->isVisible());
  EXPECT_EQ(status(), before_);
  EXPECT_TRUE(alerts_.shown().empty());
}

TEST_F(DragProgress, StoppedGivesNothingOfItAndLeavesNoCopies) {
  EXPECT_TRUE(ask([this] { pressStop(); }).isEmpty());
  EXPECT_EQ(status(), "Stopped. Exported 64 of 100 file(s).");
  EXPECT_TRUE(std::filesystem::is_empty(dragFolder()));
  EXPECT_TRUE(alerts_.shown().empty());
  EXPECT_TRUE(data_->urls().isEmpty()) << "nor when it is asked for again";
  EXPECT_TRUE(std::filesystem::is_empty(dragFolder()));
}

TEST_F(DragProgress, KeyStopsItToo) {
  EXPECT_TRUE(ask([this] {
                pressKeyIn(window(), Qt::Key_Period, Qt::ControlModifier);
                EXPECT_TRUE(
                    QTest::qWaitFor([this] { return !stopButton()->isEnabled(); })); // it goes down first
              }).isEmpty());
  EXPECT_EQ(status(), "Stopped. Exported 64 of 100 file(s).");
}

TEST_F(DragProgress, OfAFolderIsStoppedAsAWhole) {
  data_.reset(controller_->sidebarCtl()->mimeData({folderItem({"Many"})}));
  EXPECT_TRUE(ask([this] { pressStop(); }).isEmpty());
  EXPECT_TRUE(status().startsWith("Stopped. Exported ")) << status().toStdString();
  EXPECT_TRUE(status().endsWith(" of 100 file(s).")) << status().toStdString();
  EXPECT_TRUE(std::filesystem::is_empty(dragFolder()));
}

// ---- What the user does meanwhile

TEST_F(DragProgress, NoCommandCanBeGivenMeanwhile) {
  const auto giveCommands = [this] {
    clickToolbar("DeleteItem");
    pressKeyIn(window(), Qt::Key_Backspace, Qt::ControlModifier);
    pressKeyIn(window(), Qt::Key_F, Qt::ControlModifier);
    QTest::keyClick(table(), Qt::Key_Home);
    clickRow(outline(), folderItem({"Other"}));
    clickRow(table(), table()->model()->index(1, 0), Qt::RightButton);
    click(window()->menuBar(),
          window()->menuBar()->actionGeometry(window()->menuBar()->actions().at(1)).center());
  };
  const QList<QUrl> urls = ask([&] {
    giveCommands();
    EXPECT_FALSE(isAnySheetUp());
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
    EXPECT_EQ(controller_->currentDirectory(), folder({"Many"}));
    EXPECT_EQ(selectedFileNames().size(), kFiles);
  });
  EXPECT_EQ(urls.size(), kFiles);
  EXPECT_FALSE(isAnySheetUp());
  clickRow(outline(), folderItem({"Other"}));
  EXPECT_EQ(controller_->currentDirectory(), folder({"Other"})) << "afterwards they can";
}

TEST_F(DragProgress, MenuThatIsOpenClosesSoThatStopCanBePressed) {
  clickRow(table(), table()->model()->index(0, 0), Qt::RightButton);
  ASSERT_NE(QApplication::activePopupWidget(), nullptr);
  EXPECT_TRUE(ask([this] {
                EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
                pressStop();
              }).isEmpty());
}

TEST_F(DragProgress, NothingOfAnotherProgramIsTakenMeanwhile) {
  FileDrag drag({writeHostFile("NEW", bytesOf("new"))});
  ask([&] {
    EXPECT_EQ(drag.dropOn(table()->viewport(), table()->viewport()->rect().center()), Qt::IgnoreAction);
  });
  EXPECT_EQ(fileNames().size(), kFiles);
}

TEST_F(DragProgress, AlertThatComesUpMeanwhileIsAnswered) {
  const QList<QUrl> urls = ask([this] {
    Alert("An alert", {}, window()).exec(); // returns when its button was pressed
  });
  EXPECT_EQ(alerts_.shown().size(), 1U);
  EXPECT_EQ(urls.size(), kFiles);
}

TEST_F(DragProgress, WindowThatIsClosedMeanwhileAsksAndClosesWhenTheCopiesAreGiven) {
  const QList<QUrl> urls = ask([this] {
    closeAndAnswer("Close");
    EXPECT_TRUE(window()->isVisible());
    EXPECT_TRUE(bar()->isVisible());
  });
  EXPECT_EQ(urls.size(), kFiles);
  EXPECT_FALSE(window()->isVisible());
}

TEST_F(DragProgress, StopCanStillBePressedInAWindowThatIsToClose) {
  EXPECT_TRUE(ask([this] {
                closeAndAnswer("Close");
                pressStop();
              }).isEmpty());
  EXPECT_FALSE(window()->isVisible());
}

TEST_F(DragProgress, StopAndCloseGivesNothing) {
  EXPECT_TRUE(ask([this] { closeAndAnswer("Stop and Close"); }).isEmpty());
  EXPECT_TRUE(std::filesystem::is_empty(dragFolder()));
  EXPECT_FALSE(window()->isVisible());
}

TEST_F(DragProgress, ThatWaitsForAnotherOneEndsToo) {
  QList<QUrl> later;
  ask([&] {
    const std::unique_ptr<QMimeData> second = dataOfSelection();
    data_.reset(); // its program waits no longer; what is being written goes on
    QTimer::singleShot(50, [this] {
      closeAndAnswer("Stop and Close");
      medium_.letGo();
    });
    later = second->urls();
  });
  EXPECT_TRUE(later.isEmpty());
  EXPECT_FALSE(window()->isVisible());
}

TEST_F(DragProgress, ImageThatIsUnmountedMeanwhileGivesTheCopies) {
  const QList<QUrl> urls = ask([this] {
    controller_->_unmountImage();
    EXPECT_EQ(controller_->filesystem(), nullptr);
  });
  ASSERT_EQ(urls.size(), kFiles);
  EXPECT_EQ(readBytes(urls[99].toLocalFile().toStdString()), patternBytes(600, 99));
  EXPECT_FALSE(MountedImage::isMounted(path_)) << "it is let go of when they are made";
}

TEST_F(DragProgress, StatusLineIsNotOfAnImageThatWasUnmountedMeanwhile) {
  QString unmounted;
  ask([&] {
    pressStop();
    controller_->_unmountImage();
    unmounted = status();
  });
  EXPECT_EQ(status(), unmounted);
}

TEST_F(DragProgress, StopIsForItWhileAnImportRuns) {
  chooseFolder({"Other"});
  medium_.holdFlushes();
  importFiles(manyHostFiles(3));
  waitForBar();
  EXPECT_TRUE(what().startsWith("Importing"));
  EXPECT_TRUE(ask([this] { pressStop(); }).isEmpty());
  EXPECT_EQ(filesOnImage(path_, {"Other"}).size(), 3U);
}

// ---- The program that asks

TEST_F(DragProgress, AskedForAgainMeanwhileIsTheSameCopies) {
  QList<QUrl> again;
  const QList<QUrl> urls = ask([&] {
    QTimer::singleShot(50, [this] { medium_.letGo(); });
    again = data_->urls();
  });
  EXPECT_EQ(urls.size(), kFiles);
  EXPECT_EQ(again, urls);
  EXPECT_EQ(namesIn(dragFolder().string()).size(), 1U);
}

TEST_F(DragProgress, ThatTheUserGivesUpEndsAndIsNotTold) {
  copies()->dragBegins();
  ask([this] {
    copies()->dragEnds(false);
    data_.reset();
  });
  EXPECT_TRUE(std::filesystem::is_empty(dragFolder()));
  EXPECT_EQ(status(), before_);
  EXPECT_TRUE(alerts_.shown().empty());
}

TEST_F(DragProgress, ProgramThatDoesNotWaitIsToldOf) {
  copies()->dragBegins();
  copies()->dragEnds(true);
  ask([this] { data_.reset(); }); // the end of the drag, as the other program reports it
  EXPECT_TRUE(std::filesystem::is_empty(dragFolder()));
  ASSERT_EQ(alerts_.shown().size(), 1U);
  EXPECT_EQ(alerts_.shown()[0].message, "Nothing Was Dragged Out");
  EXPECT_EQ(alerts_.shown()[0].informativeText,
            "The other program did not wait until the copies were made. Export them to a "
            "folder, and drag them from there.");
}

TEST_F(DragProgress, WhatFailsIsListedWhenTheDragIsOver) {
  const EMU3DirectoryPtr many = folder({"Many"});
  ASSERT_TRUE(controller_->filesystem()->deleteFile(fileNamed(many, "FILE 0007"), many));
  const CapturedLog log;
  copies()->dragBegins();
  EXPECT_EQ(data_->urls().size(), kFiles - 1);
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_TRUE(alerts_.shown().empty());
  copies()->dragEnds(true);
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_EQ(alerts_.shown().size(), 1U);
  EXPECT_EQ(alerts_.shown()[0].message, "Export Failed (1 of 100)");
}

// ---- Inside the program

TEST_F(DragProgress, HundredRowsToAnotherFolderMakeNoHostFile) {
  FileDrag drag(data_.release());
  EXPECT_EQ(drag.dropOn(outline()->viewport(), outline()->visualRect(folderItem({"Other"})).center()),
            Qt::CopyAction);
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(filesOnImage(path_, {"Other"}).size(), static_cast<std::size_t>(kFiles));
  EXPECT_FALSE(std::filesystem::exists(dragFolder()));
}

} // namespace
} // namespace tessary::test
