#include "bench/PanelBench.h"

#include "app/FileTable.h"
#include "app/MainWindow.h"
#include "app/MainWindowController.h"
#include "app/WindowList.h"
#include "app/panel/BankContents.h"
#include "app/panel/BankContentsPanel.h"
#include "app/panel/WaveView.h"
#include "bench/WindowWatch.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/TemporaryFolder.h"

#include <QKeyEvent>
#include <cstdio>

namespace tessary::bench {
namespace {

constexpr int kBanks = 112;
constexpr int kSamples = 24;
constexpr std::size_t kLongSample = 30 * test::kMiB;

std::string makeImage(const test::TemporaryFolder &folder) {
  test::ImageBuilder image({.sizeBytes = 384 * test::kMiB});
  auto banks = image.root().addFolder("Banks", {.blockCount = 7});
  for (int number = 0; number < kBanks; ++number) {
    test::IffBank bank;
    for (int preset = 0; preset < kSamples; ++preset)
      bank.preset("Preset " + std::to_string(preset));
    for (int sample = 0; sample < kSamples; ++sample)
      bank.sample("Sample " + std::to_string(sample), test::patternBytes(64 * 1024), "E4S1");
    banks.addFile("BANK " + std::to_string(number), bank.build(), {.e4b0Mark = true});
  }
  image.root().addFolder("Long").addFile(
      "LONG", test::IffBank().sample("Long", test::patternBytes(kLongSample)).build(), {.e4b0Mark = true});
  const std::string path = folder.path("disk.hda");
  image.writeTo(path);
  return path;
}

void settle() {
  runUntil([] { return SerialQueue::pendingBlocks() == 0; });
  QCoreApplication::processEvents();
}

/// The Down key as a keyboard repeats it, thirty times a second.
void holdDownKey(QTableView *table, Watch *watch) {
  constexpr int millisecondsBetweenRepeats = 33;
  int pressed = 0;
  QTimer keyboard;
  keyboard.callOnTimeout([&] {
    watch->clicked();
    QKeyEvent event(QEvent::KeyPress, Qt::Key_Down, Qt::NoModifier, {}, pressed > 0);
    QCoreApplication::sendEvent(table, &event);
    ++pressed;
  });
  keyboard.start(millisecondsBetweenRepeats);
  runUntil([&] { return pressed >= kBanks - 1; });
  keyboard.stop();
}

void printCounts(const char *what, const LatestReading::Counts &counts) {
  std::printf("%-34s %6lu asked for, %lu begun, %lu read for nothing\n", what,
              static_cast<unsigned long>(counts.asked), static_cast<unsigned long>(counts.begun),
              static_cast<unsigned long>(counts.begun - counts.used));
}

void measureWave(MainWindowController &controller) {
  const EMU3DirectoryPtr folder = controller.filesystem()->rootDirectory()->subdirectories().back();
  Times waves;
  for (int i = 0; i < 10; ++i) {
    const auto begin = Clock::now();
    SamplePeaks peaks;
    const EMU3FilePtr bank = folder->allFiles().front();
    const auto entries = controller.filesystem()->contentsOfBankFile(bank);
    const BankRange audio = audioIn(*entries.front().chunk);
    constexpr std::uint64_t pieceSize = 1024 * 1024;
    for (std::uint64_t done = 0; done < audio.size; done += pieceSize)
      peaks.add(*controller.filesystem()->pieceOfFile(bank, audio.offset + done,
                                                      std::min(pieceSize, audio.size - done)));
    waves.add(millisecondsSince(begin));
  }
  waves.print("wave of a sample of 30 MiB");
}

} // namespace

int measurePanel() {
  const test::TemporaryFolder folder;
  WindowList windows;
  MainWindowController controller(windows);
  controller.showWindow();
  controller._toggleBankContents();
  controller.openImageAtURL(makeImage(folder));
  runUntil([&] { return controller.currentDirectory() != nullptr; });
  settle();
  QTableView *table = controller.tableView();
  table->setFocus();
  table->selectRow(0);
  settle();
  const BankContents &contents = *controller.bankContents();
  Watch watch(table);
  holdDownKey(table, &watch);
  settle();
  watch.turns.print("between turns of the event loop");
  watch.paints.print("from a key to the painted row");
  printCounts("banks", contents.reader().bankCounts());
  printCounts("waves", contents.reader().waveCounts());
  measureWave(controller);
  return table->currentIndex().row() == kBanks - 1 ? 0 : 1;
}

} // namespace tessary::bench
