#pragma once

#include "app/ThinSplitter.h"
#include "app/panel/BankContentsModel.h"

#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QWidget>
#include <cstdint>

namespace tessary {

class BankEntryTable;
class WaveView;

/// The panel as it is seen: what a bank is, its presets and samples, and the wave of one of them above the
/// controls. It decides nothing: `BankContents` fills it and does what is asked. Wider than high, it has the
/// list at its left.
class BankContentsPanel final : public QWidget {
  Q_OBJECT

public:
  explicit BankContentsPanel(QWidget *parent = nullptr);

  /// The system's text size has changed.
  void followTextSize();

  /// What is above the list; plain text. `message` stands in the list's place; the list is shown where it is
  /// empty.
  void setTexts(const QString &title, const QString &facts, const QString &message);
  /// Below the wave: where it is and how long it is, or why it does not play.
  void setTime(const QString &text);
  void setProblem(const QString &text);
  void setPlaying(bool playing);
  /// One of `kSampleRates`, shown without telling of it.
  void setRate(std::uint32_t rate);
  [[nodiscard]] std::uint32_t rate() const;

  [[nodiscard]] BankContentsModel *model() const { return model_; }
  [[nodiscard]] BankEntryTable *table() const { return table_; }
  [[nodiscard]] WaveView *wave() const { return wave_; }
  [[nodiscard]] QPushButton *playButton() const { return play_; }
  [[nodiscard]] QPushButton *exportButton() const { return export_; }
  [[nodiscard]] QSlider *volume() const { return volume_; }
  [[nodiscard]] QLabel *timeLabel() const { return time_; }

  QSize sizeHint() const override;

signals:
  void rateChosen(std::uint32_t rate);

protected:
  void resizeEvent(QResizeEvent *event) override;
  void changeEvent(QEvent *event) override;

private:
  QWidget *makeListPart();
  QWidget *makeSoundPart();
  QLayout *makeControls();
  void makeRates();
  void drawVolumeIcon();

  BankContentsModel *model_;
  QLabel *title_, *facts_, *message_, *time_, *volumeIcon_;
  BankEntryTable *table_;
  WaveView *wave_;
  QPushButton *play_, *export_;
  QSlider *volume_;
  QComboBox *rate_;
  ThinSplitter *parts_;
  bool isLaidOut_ = false;
};

} // namespace tessary
