#include "bench/TreesBench.h"

#include "app/ContentController.h"
#include "app/FileURLs.h"
#include "app/MainWindow.h"
#include "app/MainWindowController.h"
#include "app/SidebarController.h"
#include "app/StatusBar.h"
#include "app/WindowList.h"
#include "app/progress/WorkBar.h"
#include "bench/WindowWatch.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/HostFiles.h"
#include "tests/support/MediumFaults.h"
#include "tests/support/TemporaryFolder.h"

#include <QComboBox>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>

namespace tessary::bench {
namespace {

constexpr int kFolders = 20;
constexpr int kFilesInFolder = 50;
constexpr std::size_t kFileBytes = 64 * 1024;
constexpr std::chrono::milliseconds kFlush(50); // of a card; so that there is something to stop

std::string makeImage(const test::TemporaryFolder &folder) {
  test::ImageBuilder image({.sizeBytes = 256 * test::kMiB});
  image.root()
      .addFolder("Imports", {.blockCount = 2})
      .addFile("FIRST", test::emulatorThreeBank("FIRST", 1, 1));
  const std::string path = folder.path("disk.hda");
  image.writeTo(path);
  return path;
}

std::string makeTree(const test::TemporaryFolder &folder) {
  const test::Bytes contents = test::patternBytes(kFileBytes);
  for (int number = 0; number < kFolders; ++number) {
    const std::string path = folder.path("Tree/Folder " + std::to_string(number));
    std::filesystem::create_directories(path);
    for (int file = 0; file < kFilesInFolder; ++file)
      test::writeBytes(path + "/NEW " + std::to_string(file) + ".E4B", contents);
  }
  return folder.path("Tree");
}

/// Does it, waits for its end and tells how long the window stood still meanwhile.
void measure(MainWindowController &controller, const char *what, const std::function<void()> &begin) {
  const auto start = Clock::now();
  Watch watch(controller.tableView());
  begin();
  runUntil([] { return SerialQueue::pendingBlocks() == 0; });
  runUntil([&, turns = watch.turns.count()] { return watch.turns.count() > turns + 2; }); // what it shows
  std::printf("%s: %.0f ms; the window says: %s\n", what, millisecondsSince(start),
              qPrintable(controller.statusLabel()->text()));
  watch.turns.print("between turns of the event loop");
  watch.work.print("its own work between turns");
}

std::size_t filesOn(const MainWindowController &controller) {
  std::size_t files = 0;
  for (const EMU3DirectoryPtr &each : directoriesInPreOrder(controller.filesystem()->rootDirectory()))
    files += each->allFiles().size();
  return files;
}

void openIn(MainWindowController &controller, const std::string &path) {
  controller.showWindow();
  controller.openImageAtURL(path);
  runUntil([&] { return controller.currentDirectory() != nullptr; });
  runUntil([] { return SerialQueue::pendingBlocks() == 0; });
}

/// Does the change, undoes it, redoes it, and undoes it again.
void measureChange(MainWindowController &controller, const char *what, const std::function<void()> &change) {
  const std::string name = what;
  measure(controller, what, change);
  measure(controller, (name + ", undone").c_str(), [&] { controller._undo(); });
  measure(controller, (name + ", redone").c_str(), [&] { controller._redo(); });
  measure(controller, (name + ", undone again").c_str(), [&] { controller._undo(); });
}

/// Presses the button of the sheet that is up, once it has been answered by `fill`.
void answer(const MainWindowController &controller, const std::function<void(QDialog &)> &fill = {}) {
  for (auto *dialog : controller.window()->findChildren<QMessageBox *>()) {
    if (!dialog->isVisible()) continue;
    if (fill) fill(*dialog);
    dialog->defaultButton()->click();
    return;
  }
  throw std::runtime_error("no question is up");
}

std::string makeFullImage(const test::TemporaryFolder &folder) {
  test::ImageBuilder image({.sizeBytes = 256 * test::kMiB});
  for (int number = 0; number < kFolders / 2; ++number) {
    auto banks = image.root().addFolder("Banks " + std::to_string(number), {.blockCount = 7});
    for (int file = 0; file < 2 * kFilesInFolder; ++file)
      banks.addFile("BANK " + std::to_string(file), test::emulatorThreeBank("BANK", 1, 1));
  }
  image.root().addFolder("Other", {.blockCount = 7});
  const std::string path = folder.path("full.hda");
  image.writeTo(path);
  return path;
}

/// To the last folder of the list of all folders.
void transfer(MainWindowController &controller, bool moves) {
  controller.tableView()->selectAll();
  moves ? controller._moveToDir() : controller._copyToDir();
  answer(controller, [](QDialog &question) {
    auto *folders = question.findChild<QComboBox *>();
    folders->setCurrentIndex(folders->count() - 1);
  });
}

} // namespace

int measureTrees() {
  const test::TemporaryFolder folder;
  test::MediumFaults card;
  QMimeData dragged;
  dragged.setUrls({fileURL(makeTree(folder))});
  WindowList windows;
  MainWindowController controller(windows);
  openIn(controller, makeImage(folder));
  card.delayFlushes(kFlush);
  auto *bar = controller.window()->findChild<WorkBar *>();
  auto *stop = bar->findChild<QPushButton *>(QStringLiteral("WorkStop"));
  measure(controller, "dropped and stopped as soon as the bar was there", [&] {
    controller.contentCtl()->dropMimeData(&dragged, Qt::CopyAction, -1, -1, {});
    runUntil([&] { return bar->isVisible() || SerialQueue::pendingBlocks() == 0; });
    stop->click();
  });
  measure(controller, "continued", [&] { controller._redo(); });
  measure(controller, "undone, the second part", [&] { controller._undo(); });
  measure(controller, "undone, the first part", [&] { controller._undo(); });
  measure(controller, "redone, the first part", [&] { controller._redo(); });
  measure(controller, "redone, the second part", [&] { controller._redo(); });
  return filesOn(controller) == kFolders * kFilesInFolder + 1 ? 0 : 1;
}

int measureChanges() {
  const test::TemporaryFolder folder;
  test::MediumFaults card;
  WindowList windows;
  MainWindowController controller(windows);
  openIn(controller, makeFullImage(folder));
  const std::size_t files = filesOn(controller);
  card.delayFlushes(kFlush);
  const auto chooseFiles = [&] { controller.tableView()->selectAll(); };
  measureChange(controller, "a folder's files deleted", [&] {
    chooseFiles();
    controller._deleteSelected();
    answer(controller);
  });
  measureChange(controller, "a file renamed", [&] {
    controller.tableView()->selectRow(0);
    controller._renameSelected();
    answer(controller,
           [](QDialog &question) { question.findChild<QLineEdit *>()->setText(QStringLiteral("ANOTHER")); });
  });

  MainWindowController other(windows);
  openIn(other, makeImage(folder));
  measureChange(other, "a folder's files copied to another window", [&] {
    controller.tableView()->selectAll();
    const std::unique_ptr<QMimeData> rows(
        controller.contentCtl()->mimeData(controller.tableView()->selectionModel()->selectedIndexes()));
    other.contentCtl()->dropMimeData(rows.get(), Qt::CopyAction, -1, -1, {});
  });
  measureChange(other, "a tree copied to another window", [&] {
    const EMU3DirectoryPtr top = controller.filesystem()->rootDirectory()->subdirectories().front();
    const std::unique_ptr<QMimeData> tree(
        controller.sidebarCtl()->mimeData({controller.sidebarCtl()->indexOf(top)}));
    other.contentCtl()->dropMimeData(tree.get(), Qt::CopyAction, -1, -1, {});
  });
  measureChange(controller, "a folder's files moved", [&] { transfer(controller, true); });
  measureChange(controller, "a folder's files copied", [&] { transfer(controller, false); });
  return filesOn(controller) == files && filesOn(other) == 1 ? 0 : 1;
}

} // namespace tessary::bench
