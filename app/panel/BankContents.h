#pragma once

#include "app/CommandTools.h"
#include "app/DragExport.h"
#include "app/panel/PlayKey.h"
#include "app/panel/SamplePlayer.h"
#include "app/panel/SampleReader.h"

#include <QObject>
#include <QTimer>
#include <functional>
#include <memory>
#include <vector>

namespace tessary {

class BankContentsPanel;

/// What the panel of a bank's contents does: follows the bank that is selected in the table, reads it off the
/// main thread, plays, hands out and exports its samples. It changes nothing on the image. Main thread only.
class BankContents final : public QObject {
  Q_OBJECT

public:
  /// Asks where to and writes these samples of a bank with that rate.
  using Export = std::function<void(const EMU3FilePtr &, const std::vector<ListedSample> &, std::uint32_t)>;

  /// `drags` is not owned.
  BankContents(const CommandTools &tools, BankContentsPanel *panel, DragExport *drags, Export exportSamples,
               QObject *parent = nullptr);

  /// While the panel is hidden nothing is read.
  void setShown(bool shown);
  [[nodiscard]] bool isShown() const { return isShown_; }
  /// Another image is mounted, or none.
  void imageReplaced();
  /// Plays the chosen sample from the cursor; stops it when it plays.
  void togglePlaying();
  void stop();

  /// How much was read, and for nothing.
  [[nodiscard]] const SampleReader &reader() const { return reader_; }

private:
  void connectPanel();
  void follow();
  [[nodiscard]] EMU3FilePtr selectedFile(std::size_t *count) const;
  void showNoBank(std::size_t selected);
  void showReading(const std::shared_ptr<const BankReading> &reading);
  void sampleChosen(int row);
  void showWaveOf(int row);
  void play(std::uint64_t from);
  void rateChosen(std::uint32_t rate);
  void showPosition(std::uint64_t frame);
  void playingEnded();
  void playingFailed(const QString &problem);
  void updateControls();
  // What leaves the panel (BankContentsOut.cpp)
  void copyNames() const;
  void exportChosen();
  [[nodiscard]] std::unique_ptr<DraggedData> dragged() const;
  [[nodiscard]] std::vector<ListedSample> chosenSamples() const;
  void showMenu(const QPoint &position);

  const CommandTools tools_;
  BankContentsPanel *const panel_;
  DragExport *const drags_;
  const Export exportSamples_;
  SampleReader reader_;
  SamplePlayer *const player_;
  PlayKey *const playKey_;
  QTimer followSoon_; ///< once after many changes of the selection
  bool isShown_ = false;
  EMU3FilePtr bank_; ///< the file that is shown; null for none
  QString bankName_; ///< its name when it was read
  int row_ = -1;     ///< of the chosen sample, with audio; -1 for none
  bool isStarting_ = false;
};

} // namespace tessary
