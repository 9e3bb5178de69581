#pragma once

#include "app/panel/AudioOutput.h"
#include "app/panel/BankContents.h"
#include "app/panel/BankContentsPanel.h"
#include "app/panel/BankEntryTable.h"
#include "app/panel/WaveView.h"
#include "tests/app/FileCommandTest.h"
#include "tests/support/BankBuilder.h"

#include <QComboBox>
#include <QLabel>
#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tessary::test {

/// What was asked of a sound device that is not there: it "plays" until it is told to stop, or that its sound
/// has ended.
struct Heard {
  void add(const Sound &sound);
  [[nodiscard]] std::vector<Sound> sounds() const;

  std::atomic<int> stops = 0;
  std::atomic<bool> isPlaying = false;
  std::atomic<bool> hasEnded = false;
  std::atomic<float> volume = -1;
  std::atomic<std::uint64_t> position = 0;
  std::atomic<bool> hasDevice = true;

private:
  mutable std::mutex mutex_;
  std::vector<Sound> sounds_;
};

/// From now on windows play into `heard`.
struct ListenedTo {
  ListenedTo();
  ~ListenedTo();

  std::shared_ptr<Heard> heard = std::make_shared<Heard>();
};

/// The window with the panel, and what a user does with it.
class PanelTest : private ListenedTo, public FileCommandTest {
protected:
  PanelTest() : heard_(*heard) {}
  ~PanelTest() override;

  BankContentsPanel *panel() const { return controller_->bankContentsPanel(); }
  BankEntryTable *entries() const { return panel()->table(); }
  WaveView *wave() const { return panel()->wave(); }
  QString labelText(const char *name) const;

  /// Presses Ctrl+B.
  void pressPanelKey() const;
  /// Clicks the file and waits until the panel has read what it shows.
  void look(const QString &file);
  /// "Name|Size|Length" of all rows.
  QStringList entryRows() const;
  void chooseEntry(const QString &name, Qt::KeyboardModifiers modifiers = {}) const;
  [[nodiscard]] QString chosenEntry() const;
  /// Presses a key where the keyboard is.
  void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const;
  void chooseRate(std::uint32_t rate) const;
  bool isPlayShown() const { return panel()->playButton()->text() == QStringLiteral("Play"); }

  Heard &heard_;
};

/// An Emulator IV bank with the presets "Kit" and "Kit Soft" and three samples in chunks of their own: "Kick"
/// of 441, "Snare" of 882 and "Kick Long" of 44,100 frames.
Bytes kitBank();
Bytes kickAudio();
Bytes snareAudio();
/// With the bank "KIT", the bank "OTHER" of one sample, the earlier bank "OLD", and "NOTES", no bank.
ImageBuilder kitImage();

} // namespace tessary::test
