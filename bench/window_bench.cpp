// window_bench import                imports 112 files of 2 MiB through the window's Import while files are
//                                    sorted and filtered and folders are clicked, and tells how long the
//                                    window stood still
// window_bench panel                 goes through 112 banks with the Down key held while the panel of their
//                                    contents is shown, and draws the wave of a sample of 30 MiB
// window_bench trees                 drops a tree of 1,000 files on the window, stops the import, does the
//                                    rest, undoes and redoes it, and tells how long the window stood still
// window_bench changes               deletes, renames, moves and copies files, also to another window, undoes
//                                    and redoes it, and tells how long the window stood still
// window_bench start IMAGE           tells where the time goes until the first folder's details are painted
// window_bench start IMAGE TESSARY   times whole starts of the program TESSARY as well
//
// Runs on the platform that QT_QPA_PLATFORM names, offscreen when it names none.

#include "app/Icons.h"
#include "app/MainWindow.h"
#include "app/MainWindowController.h"
#include "app/Settings.h"
#include "app/Spinner.h"
#include "app/StatusBar.h"
#include "app/WindowList.h"
#include "bench/PanelBench.h"
#include "bench/TreesBench.h"
#include "bench/WindowWatch.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/HostFiles.h"
#include "tests/support/TemporaryFolder.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QHeaderView>
#include <QLineEdit>
#include <QMouseEvent>
#include <QProcess>
#include <QTableView>
#include <QTimer>
#include <QTreeView>
#include <QWindow>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <functional>
#include <numeric>
#include <stdexcept>
#include <thread>
#include <vector>

namespace tessary::bench {
namespace {

// ---- Import

constexpr int importedFiles = 112;
constexpr int otherFolders = 7;
constexpr int filesInFolder = 112;

std::string makeImage(const test::TemporaryFolder &folder) {
  test::ImageBuilder image({.sizeBytes = 384 * test::kMiB});
  image.root().addFolder("Imports", {.blockCount = 7});
  for (int number = 0; number < otherFolders; ++number) {
    auto banks = image.root().addFolder("Banks " + std::to_string(number), {.blockCount = 7});
    for (int file = 0; file < filesInFolder; ++file)
      banks.addFile("BANK " + std::to_string(file), test::emulatorThreeBank("BANK", 1, 1));
  }
  const std::string path = folder.path("disk.hda");
  image.writeTo(path);
  return path;
}

QStringList makeHostFiles(const test::TemporaryFolder &folder) {
  QStringList paths;
  const test::Bytes contents = test::patternBytes(2 * test::kMiB);
  for (int number = 0; number < importedFiles; ++number) {
    const std::string path = folder.path("NEW " + std::to_string(number) + ".E4B");
    test::writeBytes(path, contents);
    paths += QFile::decodeName(path.c_str());
  }
  return paths;
}

void clickRow(QTreeView *outline, int row) {
  QWidget *plane = outline->viewport();
  const QPointF place = outline->visualRect(outline->model()->index(row, 0)).center();
  const QPointF onScreen = plane->mapToGlobal(place);
  QMouseEvent press(QEvent::MouseButtonPress, place, onScreen, Qt::LeftButton, Qt::LeftButton, {});
  QCoreApplication::sendEvent(plane, &press);
  QMouseEvent release(QEvent::MouseButtonRelease, place, onScreen, Qt::LeftButton, Qt::NoButton, {});
  QCoreApplication::sendEvent(plane, &release);
}

/// Answers the panel of Import with these files, as typing them and pressing its button does.
void confirmImport(MainWindowController &controller, const QStringList &paths) {
  controller._importFile();
  auto *panel = controller.window()->findChild<QFileDialog *>();
  panel->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))
      ->setText(QLatin1Char('"') + paths.join(QLatin1String("\" \"")) + QLatin1Char('"'));
  QMetaObject::invokeMethod(panel, "accept");
}

int measureImport() {
  const test::TemporaryFolder folder;
  const QStringList paths = makeHostFiles(folder);
  WindowList windows;
  MainWindowController controller(windows);
  controller.showWindow();
  controller.openImageAtURL(makeImage(folder));
  runUntil([&] { return controller.currentDirectory() != nullptr; });
  QTreeView *outline = controller.outlineView();
  clickRow(outline, 0); // Imports
  runUntil([&] { return SerialQueue::pendingBlocks() == 0; });

  confirmImport(controller, paths); // its panel is the toolkit's, and not watched
  const auto begin = Clock::now();
  Watch watch(controller.tableView());
  int clicks = 0;
  QTimer hand;
  controller._find();
  auto *find = controller.window()->findChild<QLineEdit *>(QStringLiteral("FindField"));
  QHeaderView *header = controller.tableView()->horizontalHeader();
  hand.callOnTimeout([&] {
    switch (clicks % 3) {
    case 0:
      watch.clicked();
      clickRow(outline, 1 + clicks / 3 % otherFolders);
      break;
    case 1:
      emit header->sectionClicked(clicks / 3 % header->count());
      break;
    default:
      find->setText(clicks % 2 == 0 ? QStringLiteral("bank 1") : QString());
    }
    ++clicks;
  });
  constexpr int millisecondsBetweenClicks = 5;
  hand.start(millisecondsBetweenClicks);
  runUntil([&] { return controller.spinner()->users() == 0; });
  const double elapsed = millisecondsSince(begin);
  hand.stop();
  runUntil([&] { return SerialQueue::pendingBlocks() == 0; });

  const EMU3DirectoryPtr imports = controller.filesystem()->rootDirectory()->subdirectories().front();
  std::printf(
      "%zu of %d files imported in %.0f ms, %d times sorted, filtered or clicked; the window says: %s\n",
      imports->allFiles().size(), importedFiles, elapsed, clicks,
      qPrintable(controller.statusLabel()->text()));
  watch.turns.print("between turns of the event loop");
  watch.work.print("its own work between turns");
  watch.paints.print("from a click to the painted files");
  return imports->allFiles().size() == importedFiles ? 0 : 1;
}

// ---- Start

/// One start of this very window, step by step. `begin` is when main() began.
void measureSteps(const std::string &image, Clock::time_point begin) {
  auto last = begin;
  const auto step = [&](const char *what) {
    std::printf("  %-44s %7.1f ms\n", what,
                std::chrono::duration<double, std::milli>(Clock::now() - last).count());
    last = Clock::now();
  };
  step("Qt and its platform");
  QApplication::setWindowIcon(applicationIcon());
  WindowList windows;
  MainWindowController controller(windows);
  step("window made");
  controller.showWindow();
  step("window shown");
  controller.openImageAtURL(image);
  runUntil([&] { return controller.window()->windowHandle()->isExposed(); });
  controller.window()->repaint();
  step("first paint, the image opening beside it");
  runUntil([&] { return controller.currentDirectory() != nullptr; });
  step("image opened, files listed");
  runUntil([&] { return SerialQueue::pendingBlocks() == 0; });
  QCoreApplication::processEvents();
  step("details read");
  controller.window()->repaint();
  step("details painted");
  std::printf("  %-44s %7.1f ms\n", "all since main()", millisecondsSince(begin));
}

/// From the start of the process until it has painted the details.
double millisecondsOfStart(const QString &program, const QString &image, const std::string &readyFile) {
  std::filesystem::remove(readyFile);
  QProcess process;
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert(QStringLiteral("TESSARY_READY_FILE"), QFile::decodeName(readyFile.c_str()));
  process.setProcessEnvironment(environment);
  const auto begin = Clock::now();
  process.start(program, {image});
  while (!std::filesystem::exists(readyFile)) {
    if (millisecondsSince(begin) > 60'000) throw std::runtime_error("the program shows nothing");
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
  const double milliseconds = millisecondsSince(begin);
  process.terminate();
  process.waitForFinished();
  return milliseconds;
}

void measureStarts(const QString &program, const QString &image) {
  constexpr int starts = 20;
  const test::TemporaryFolder folder;
  Times times;
  for (int start = 0; start < starts; ++start)
    times.add(millisecondsOfStart(program, image, folder.path("ready")));
  times.print("process start to painted details");
}

} // namespace
} // namespace tessary::bench

int main(int argc, char **argv) {
  const auto begin = std::chrono::steady_clock::now();
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
  const tessary::test::TemporaryFolder settings; // the user's own stay as they are
  qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString(settings.path()));
  QApplication application(argc, argv);
  tessary::BackupOffers::setMade(false);
  QApplication::setQuitOnLastWindowClosed(false);
  const QStringList arguments = QApplication::arguments();
  using namespace tessary::bench;
  if (arguments.size() == 2 && arguments[1] == QLatin1String("import")) return measureImport();
  if (arguments.size() == 2 && arguments[1] == QLatin1String("panel")) return measurePanel();
  if (arguments.size() == 2 && arguments[1] == QLatin1String("trees")) return measureTrees();
  if (arguments.size() == 2 && arguments[1] == QLatin1String("changes")) return measureChanges();
  if ((arguments.size() != 3 && arguments.size() != 4) || arguments[1] != QLatin1String("start")) {
    std::fputs("window_bench import\nwindow_bench panel\nwindow_bench trees\nwindow_bench "
               "changes\nwindow_bench start IMAGE [TESSARY]\n",
               stderr);
    return 2;
  }
  measureSteps(QFile::encodeName(arguments[2]).toStdString(), begin);
  if (arguments.size() == 4) measureStarts(arguments[3], arguments[2]);
  return 0;
}
