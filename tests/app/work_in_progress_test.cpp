#include "app/Alert.h"
#include "app/AppDelegate.h"
#include "app/ContentController.h"
#include "app/Spinner.h"
#include "tests/app/FileCommandTest.h"
#include "tests/app/Stalls.h"
#include "tests/support/MediumFaults.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QMessageBox>
#include <QTest>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <optional>
#include <stdexcept>

namespace tessary::test {
namespace {

ImageBuilder volume() {
  ImageBuilder image({.sizeBytes = 8 * kMiB});
  image.root().addFolder("Drums", {.blockCount = 3}).addFile("KICK", patternBytes(5000, 1000));
  image.root().addFolder("Pads").addFile("PAD", patternBytes(700, 1001));
  return image;
}

// ---- Images that come and go

class WorkInProgress : public FileCommandTest {
protected:
  /// Host files of these names' beginning, each with contents of its own.
  std::vector<std::string> hostFiles(const std::string &prefix, std::uint32_t count,
                                     std::size_t length = 20000) {
    std::vector<std::string> paths;
    for (std::uint32_t i = 0; i < count; ++i) {
      const std::string name = prefix + " " + std::to_string(i);
      expected_.emplace_back(name, patternBytes(length, seed_++));
      paths.push_back(writeHostFile(name + ".E4B", expected_.back().second));
    }
    return paths;
  }
  void beginImport(const std::vector<std::string> &paths) {
    clickToolbar("ImportItem");
    confirmPanel(paths);
  }
  void openAgainAtOnce(const std::string &path) {
    const EMU3FilesystemPtr before = controller_->filesystem();
    controller_->openImageAtURL(path);
    ASSERT_TRUE(QTest::qWaitFor([&] { return controller_->filesystem() != before; }, 30000));
  }
  void expectDrumsOnImage(const std::string &path) {
    StoredFiles found = filesOnImage(path, {"Drums"});
    std::sort(found.begin(), found.end());
    std::sort(expected_.begin(), expected_.end());
    EXPECT_EQ(found, expected_);
  }

  StoredFiles expected_{{"KICK", patternBytes(5000, 1000)}};
  std::uint32_t seed_ = 0;
};

TEST_F(WorkInProgress, ImageUnmountedDuringAnImportGetsAllFiles) {
  const std::string path = mount(volume());
  beginImport(hostFiles("FILE", 20));
  clickToolbar("UnmountItem");
  EXPECT_EQ(status(), QStringLiteral("No image loaded"));
  ASSERT_TRUE(waitUntilIdle());
  expectDrumsOnImage(path);
  EXPECT_EQ(status(), QStringLiteral("No image loaded"));
  EXPECT_EQ(fileNames(), QStringList());
  EXPECT_EQ(controller_->spinner()->users(), 0);
}

TEST_F(WorkInProgress, ImageReplacedDuringAnImportGetsAllFiles) {
  const std::string path = mount(volume());
  const std::string other = writeImage(volume(), "other.hda");
  beginImport(hostFiles("FILE", 20));
  openAgainAtOnce(other);
  ASSERT_TRUE(waitUntilIdle());
  expectDrumsOnImage(path);
  EXPECT_EQ(namesOnImage(other, {"Drums"}), std::vector<std::string>{"KICK"});
  EXPECT_EQ(fileNames(), QStringList{QStringLiteral("KICK")});
  EXPECT_EQ(status(), QStringLiteral("Drums — 1 file(s)"));
  EXPECT_EQ(controller_->spinner()->users(), 0);
}

TEST_F(WorkInProgress, SameImageOpenedAgainDuringAnImportLosesNothing) {
  const std::string path = mount(volume());
  beginImport(hostFiles("EARLIER", 20));
  openAgainAtOnce(path);
  beginImport(hostFiles("LATER", 20));
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), QStringLiteral("Imported 20 file(s)."));
  expectDrumsOnImage(path);
  EXPECT_EQ(controller_->spinner()->users(), 0);
}

TEST_F(WorkInProgress, SameImageOpenedAgainBeforeQueuedDeletesAndUndosLosesNothing) {
  const std::string path = mount(volume());
  beginImport(hostFiles("FILE", 10));
  ASSERT_TRUE(waitUntilIdle());
  HeldQueue queue(*controller_->filesystem());
  chooseFiles({QStringLiteral("FILE 3")});
  clickToolbar("DeleteItem");
  clickButton(sheet<Alert>(), QStringLiteral("Delete"));
  openAgainAtOnce(path);
  beginImport(hostFiles("LATER", 10));
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  std::erase_if(expected_, [](const StoredFile &file) { return file.first == "FILE 3"; });
  expectDrumsOnImage(path);
}

TEST_F(WorkInProgress, WindowAndItsCommandsGoOnMeanwhile) {
  const std::string path = mount(volume());
  HeldQueue queue(*controller_->filesystem());
  beginImport(hostFiles("FILE", 20));
  chooseFiles({QStringLiteral("KICK")});
  clickToolbar("ExportItem");
  confirmPanel({hostFolder("out")});
  chooseFolder({QStringLiteral("Pads")});
  EXPECT_EQ(status(), QStringLiteral("Pads — 1 file(s)"));
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), QStringLiteral("Exported 1 file(s) successfully."));
  EXPECT_EQ(readBytes(hostFolder("out") + "/KICK.E4B"), patternBytes(5000, 1000));
  EXPECT_EQ(fileNames(), QStringList{QStringLiteral("PAD")});
  expectDrumsOnImage(path);
}

// ---- Responsiveness

TEST_F(WorkInProgress, WindowStaysResponsiveDuringALongImport) {
  constexpr std::uint32_t files = 50;
  constexpr std::size_t length = 2 * kMiB;
  ImageBuilder image({.sizeBytes = 160 * kMiB, .slotSizeBlocks = 4096});
  image.root().addFolder("Drums", {.blockCount = 4}).addFile("KICK", patternBytes(5000, 1000));
  for (int i = 0; i < 6; ++i) {
    auto folder = image.root().addFolder("Folder " + std::to_string(i), {.blockCount = 4});
    for (int j = 0; j < 60; ++j)
      folder.addFile("FILE " + std::to_string(j), {}, {.slot = 1, .storesContents = false});
  }
  const std::string path = mount(image);
  const std::vector<std::string> hosts = hostFiles("FILE", files, length);

  chooseFolder({QStringLiteral("Drums")});
  QElapsedTimer whole;
  whole.start();
  beginImport(hosts);
  int clicks = 0;
  {
    const Stalls stalls;
    QTimer clicking;
    clicking.callOnTimeout([&] {
      const bool importing = controller_->spinner()->users() > 0;
      if (importing) chooseFolder({QStringLiteral("Folder %1").arg(clicks++ % 6)});
    });
    clicking.start(15);
    ASSERT_TRUE(QTest::qWaitFor([&] { return controller_->spinner()->users() == 0; }, 120000));
    std::printf("[  FIGURES ] %u files of 2 MiB in %lld ms, %d folders clicked meanwhile; the main thread's "
                "events waited %.1f ms at most, of which it computed %.1f ms\n",
                files, static_cast<long long>(whole.elapsed()), clicks, stalls.longest(),
                stalls.longestComputing());
  }
  EXPECT_EQ(status(), QStringLiteral("Imported 50 file(s)."));
  EXPECT_GT(clicks, 1);
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(outlineLabels().first(), QStringLiteral("Drums (51)"));
  EXPECT_EQ(highlightedLabel(), QStringLiteral("Folder %1 (60)").arg((clicks - 1) % 6));
  EXPECT_EQ(fileNames().size(), 60);
  expectDrumsOnImage(path);
}

// ---- Ending during work

class EndingAtWork : public testing::Test {
protected:
  EndingAtWork() {
    volume().writeTo(path_);
    delegate_->applicationDidFinishLaunching();
    if (!QTest::qWaitForWindowExposed(window()) || !waitUntilIdle())
      throw std::runtime_error("the window does not come up");
  }
  ~EndingAtWork() override { EXPECT_TRUE(waitUntilIdle()); }

  MainWindowController &controller() const { return *delegate_->mainWC(); }
  MainWindow *window() const { return controller().window(); }
  template <typename Dialog> Dialog *sheet() const {
    for (Dialog *dialog : window()->template findChildren<Dialog *>())
      if (dialog->isVisible()) return dialog;
    throw std::runtime_error("no such dialog is up");
  }

  void beginImport(const std::vector<std::string> &paths) const {
    controller()._importFile();
    choosePaths(sheet<QFileDialog>(), paths);
  }
  std::vector<std::string> hostFiles(std::uint32_t count) const {
    std::vector<std::string> paths;
    for (std::uint32_t i = 0; i < count; ++i) {
      paths.push_back(folder_.path("FILE " + std::to_string(i) + ".E4B"));
      writeBytes(paths.back(), patternBytes(20000, i));
    }
    return paths;
  }
  /// Quits and presses "Quit" in the question whether to.
  void quitAndAgree() const {
    delegate_->terminate();
    clickButton(sheet<Alert>(), QStringLiteral("Quit"));
  }
  StoredFiles drumsOnImage() const { return filesOnImage(path_, {"Drums"}); }

  /// Runs the application as main() does, with `end` as the first thing that happens.
  void run(const std::function<void()> &end) const {
    QTimer::singleShot(0, window(), end);
    QTimer limit;
    limit.setSingleShot(true);
    limit.callOnTimeout([] { QCoreApplication::exit(1); });
    limit.start(60000);
    EXPECT_EQ(QApplication::exec(), 0) << "it has not ended by itself";
  }

  CleanSettings settings_;
  TemporaryFolder folder_;
  HostTemporaryDirectory temporaryDirectory_{folder_.path("tmp")};
  const std::string path_ = folder_.path("disk.hda");
  std::unique_ptr<AppDelegate> delegate_ =
      std::make_unique<AppDelegate>(std::vector<std::string>{"tessary", path_});
};

TEST_F(EndingAtWork, ClosedWindowFinishesAnImportWithoutAnAlertOnceTheUserAgrees) {
  const std::vector<std::string> hosts = hostFiles(20);
  AlertAnswers answers;
  HeldQueue queue(*controller().filesystem());
  beginImport(hosts);
  beginImport({hosts[0]});
  ASSERT_EQ(std::remove(hosts[0].c_str()), 0); // so that one fails
  run([&] {
    window()->close();
    EXPECT_TRUE(window()->isVisible()) << "the user is asked first";
    clickButton(sheet<Alert>(), QStringLiteral("Close"));
    QTimer::singleShot(50, window(), [&] { queue.letGo(); });
  });
  EXPECT_TRUE(answers.shown().empty()) << "no more is asked or told";
  const StoredFiles found = drumsOnImage();
  ASSERT_EQ(found.size(), 1U + 19U);
  for (std::uint32_t i = 1; i < 20; ++i)
    EXPECT_EQ(found[i], (StoredFile{"FILE " + std::to_string(i), patternBytes(20000, i)}));
}

TEST_F(EndingAtWork, QuitFinishesADelete) {
  HeldQueue queue(*controller().filesystem());
  controller().tableView()->selectAll();
  controller()._deleteSelected();
  clickButton(sheet<Alert>(), QStringLiteral("Delete"));
  QTimer::singleShot(50, window(), [&] { queue.letGo(); });
  run([this] { quitAndAgree(); });
  EXPECT_EQ(drumsOnImage(), StoredFiles());
}

TEST_F(EndingAtWork, QuitFinishesAnUndo) {
  controller().tableView()->selectAll();
  controller()._deleteSelected();
  clickButton(sheet<Alert>(), QStringLiteral("Delete"));
  ASSERT_TRUE(waitUntilIdle());
  HeldQueue queue(*controller().filesystem());
  controller()._undo();
  QTimer::singleShot(50, window(), [&] { queue.letGo(); });
  run([this] { quitAndAgree(); });
  EXPECT_EQ(drumsOnImage(), (StoredFiles{{"KICK", patternBytes(5000, 1000)}}));
}

TEST_F(EndingAtWork, QuitWaitsForAChangeThatTheMediumIsSlowToTake) {
  MediumFaults medium;
  std::optional<AlertAnswers> answers;
  medium.holdFlushes();
  controller().tableView()->selectRow(0);
  controller()._renameSelected();
  sheet<QMessageBox>()->findChild<QLineEdit *>()->setText(QStringLiteral("RENAMED"));
  clickButton(sheet<QMessageBox>(), QStringLiteral("Rename"));
  bool waited = false;
  QTimer::singleShot(200, window(), [&] {
    waited = medium.waiting() > 0;
    medium.failFlushes();
    medium.letGo();
  });
  run([&] {
    quitAndAgree();
    answers.emplace();
  });
  EXPECT_TRUE(waited) << "it has ended before the change";
  EXPECT_TRUE(answers->shown().empty());
}

TEST_F(EndingAtWork, QuitFinishesARename) {
  MediumFaults medium;
  medium.holdFlushes();
  controller().tableView()->selectRow(0);
  controller()._renameSelected();
  sheet<QMessageBox>()->findChild<QLineEdit *>()->setText(QStringLiteral("RENAMED"));
  clickButton(sheet<QMessageBox>(), QStringLiteral("Rename"));
  QTimer::singleShot(200, window(), [&] { medium.letGo(); });
  run([this] { quitAndAgree(); });
  EXPECT_EQ(drumsOnImage(), (StoredFiles{{"RENAMED", patternBytes(5000, 1000)}}));
}

TEST_F(EndingAtWork, QuitTakesAnUnansweredQuestionAsNo) {
  HeldQueue queue(*controller().filesystem());
  controller().tableView()->selectAll();
  controller()._deleteSelected();
  const QPointer<Alert> question = sheet<Alert>();
  bool up = true;
  QTimer::singleShot(50, window(), [&] {
    up = question && question->isVisible();
    queue.letGo();
  });
  run([this] { delegate_->terminate(); });
  EXPECT_FALSE(up) << "nothing can be answered any more";
  EXPECT_EQ(drumsOnImage().size(), 1U);
}

TEST_F(EndingAtWork, QuitUnderAnAlertEndsToo) {
  QTimer quitting;
  quitting.callOnTimeout([&] {
    if (!QApplication::activeModalWidget()) return;
    quitting.stop();
    delegate_->terminate();
  });
  quitting.start(10);
  run([this] { controller().openImageAtURL(folder_.path("missing.hda")); });
  EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

} // namespace
} // namespace tessary::test
