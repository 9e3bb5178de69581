#include "bench/TreesBench.h"

#include "app/ContentController.h"
#include "app/FileURLs.h"
#include "app/MainWindow.h"
#include "app/MainWindowController.h"
#include "app/StatusBar.h"
#include "app/progress/WorkBar.h"
#include "bench/WindowWatch.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/HostFiles.h"
#include "tests/support/MediumFaults.h"
#include "tests/support/TemporaryFolder.h"

#include <QMimeData>
#include <QPushButton>
#include <chrono>
#include <cstdio>
#include <filesystem>

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

} // namespace

int measureTrees() {
  const test::TemporaryFolder folder;
  test::MediumFaults card;
  QMimeData dragged;
  dragged.setUrls({fileURL(makeTree(folder))});
  MainWindowController controller;
  controller.showWindow();
  controller.openImageAtURL(makeImage(folder));
  runUntil([&] { return controller.currentDirectory() != nullptr; });
  runUntil([] { return SerialQueue::pendingBlocks() == 0; });
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
  const std::vector<EMU3DirectoryPtr> all = directoriesInPreOrder(controller.filesystem()->rootDirectory());
  std::size_t files = 0;
  for (const EMU3DirectoryPtr &each : all)
    files += each->allFiles().size();
  return files == kFolders * kFilesInFolder + 1 ? 0 : 1;
}

} // namespace tessary::bench
