#include "app/panel/BankContents.h"

#include "app/Beeper.h"
#include "app/Browser.h"
#include "app/ContentController.h"
#include "app/DisplayText.h"
#include "app/FileTable.h"
#include "app/ImageWork.h"
#include "app/panel/BankContentsPanel.h"
#include "app/panel/BankEntryTable.h"
#include "app/panel/PanelSettings.h"
#include "app/panel/SoundTexts.h"
#include "app/panel/WaveView.h"
#include "tessary/BankEntry.h"

#include <utility>

namespace tessary {
namespace {

constexpr std::uint64_t kBytesPerFrame = 2;
constexpr std::int64_t kEmulatorFour = 4;

QString countText(std::uint64_t count, const char *one, const char *many) {
  return QStringLiteral("%1 %2").arg(QString::number(count), QLatin1String(count == 1 ? one : many));
}

QString factsOf(const BankDetails &details) {
  const char *format = bankFormatName(details.bankFormat);
  return QStringLiteral("%1 · %2 · %3")
      .arg(format ? QLatin1String(format) : QLatin1String("Unknown format"),
           countText(details.presetCount, "preset", "presets"),
           countText(details.sampleCount, "sample", "samples"));
}

/// In the list's place; empty where there is a list.
QString messageFor(const BankReading &reading) {
  if (reading.error.isSet()) return displayText(reading.error.localizedDescription());
  if (!reading.entries.empty()) return {};
  if (reading.details.bankFormat == kEmulatorFour)
    return QStringLiteral("The bank’s table of contents lists nothing.");
  return QStringLiteral("Of banks of this format no list of presets and samples can be read.");
}

} // namespace

BankContents::BankContents(const CommandTools &tools, BankContentsPanel *panel, DragExport *drags,
                           Export exportSamples, QObject *parent)
    : QObject(parent), tools_(tools), panel_(panel), drags_(drags), exportSamples_(std::move(exportSamples)),
      reader_(tools.image), player_(new SamplePlayer(makeAudioOutput(), this)), playKey_(new PlayKey(this)) {
  followSoon_.setSingleShot(true);
  followSoon_.callOnTimeout(this, &BankContents::follow);
  connect(tools_.browser, &Browser::changed, &followSoon_, qOverload<>(&QTimer::start));
  connect(player_, &SamplePlayer::moved, this, &BankContents::showPosition);
  connect(player_, &SamplePlayer::ended, this, &BankContents::playingEnded);
  connect(player_, &SamplePlayer::failed, this, &BankContents::playingFailed);
  connect(playKey_, &PlayKey::pressed, this, &BankContents::togglePlaying);
  connectPanel();
  showNoBank(0);
}

void BankContents::connectPanel() {
  panel_->setRate(PanelSettings::rate());
  panel_->model()->setRate(panel_->rate());
  panel_->wave()->setRate(panel_->rate());
  panel_->volume()->setValue(PanelSettings::volume());
  player_->setVolume(static_cast<float>(PanelSettings::volume()) / 100);
  connect(panel_, &BankContentsPanel::rateChosen, this, &BankContents::rateChosen);
  connect(panel_->volume(), &QSlider::valueChanged, this, [this](int percent) {
    player_->setVolume(static_cast<float>(percent) / 100);
    PanelSettings::setVolume(percent);
  });
  connect(panel_->playButton(), &QPushButton::clicked, this, &BankContents::togglePlaying);
  connect(panel_->exportButton(), &QPushButton::clicked, this, &BankContents::exportChosen);
  BankEntryTable *table = panel_->table();
  connect(table->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
          [this](const QModelIndex &current) { sampleChosen(current.row()); });
  connect(table->selectionModel(), &QItemSelectionModel::selectionChanged, this,
          &BankContents::updateControls);
  connect(table, &BankEntryTable::copyAsked, this, &BankContents::copyNames);
  table->setContextMenuPolicy(Qt::CustomContextMenu);
  connect(table, &QWidget::customContextMenuRequested, this, &BankContents::showMenu);
  table->setDragData([this] { return dragged(); });
  connect(panel_->wave(), &WaveView::cursorMoved, this, [this](std::uint64_t frame) {
    if (player_->isPlaying()) return play(frame);
    showPosition(frame);
  });
  connect(panel_->wave(), &WaveView::closeUpWanted, this, [this](std::uint64_t first, std::uint64_t frames) {
    const std::optional<BankRange> audio = panel_->model()->audioAt(row_);
    if (!audio || !bank_ || !tools_.image->filesystem()) return;
    reader_.readBytes(bank_, {audio->offset + first * kBytesPerFrame, frames * kBytesPerFrame},
                      [this, first](const ByteBufferPtr &bytes) {
                        if (bytes) panel_->wave()->setCloseUp({first, bytes});
                      });
  });
  for (QWidget *view : std::initializer_list<QWidget *>{table, panel_->wave(), tools_.browser->views().table})
    playKey_->watch(view);
}

// ---- Following the selection

void BankContents::setShown(bool shown) {
  isShown_ = shown;
  playKey_->setOn(shown);
  panel_->setVisible(shown);
  bank_ = nullptr;
  if (shown) return follow();
  stop();
  reader_.forgetAll();
  showNoBank(0);
}

void BankContents::imageReplaced() {
  stop();
  reader_.forgetAll();
  bank_ = nullptr;
  showNoBank(0);
}

/// The one file that is selected; null, with how many are, when it is not one.
EMU3FilePtr BankContents::selectedFile(std::size_t *count) const {
  const QModelIndexList rows = tools_.browser->views().table->selectionModel()->selectedRows();
  *count = static_cast<std::size_t>(rows.size());
  if (rows.size() != 1 || !tools_.image->filesystem()) return nullptr;
  const int row = rows.front().row();
  const EMU3FilePtr file = tools_.browser->content()->displayedFiles()[static_cast<std::size_t>(row)];
  return tools_.browser->content()->folderAt(row)->containsFile(file) ? file : nullptr;
}

void BankContents::follow() {
  if (!isShown_) return;
  std::size_t selected = 0;
  const EMU3FilePtr file = selectedFile(&selected);
  if (file && file == bank_ && displayText(file->name()) == bankName_) return;
  stop();
  reader_.forgetAll();
  bank_ = file;
  if (!file) return showNoBank(selected);
  bankName_ = displayText(file->name());
  if (file->fileType() != kFileTypeBank) {
    showNoBank(selected);
    return panel_->setTexts(bankName_, QString::fromStdString(file->fileTypeString()),
                            QStringLiteral("This file is no bank."));
  }
  reader_.readBank(file, [this](const std::shared_ptr<const BankReading> &reading) { showReading(reading); });
}

void BankContents::showNoBank(std::size_t selected) {
  row_ = -1;
  panel_->model()->setReading(nullptr);
  panel_->setTexts({}, {},
                   selected > 1 ? QStringLiteral("Choose one bank alone to see what is in it.")
                                : QStringLiteral("Choose a bank to see what is in it."));
  showWaveOf(-1);
}

void BankContents::showReading(const std::shared_ptr<const BankReading> &reading) {
  row_ = -1;
  panel_->model()->setReading(reading);
  panel_->setTexts(bankName_, factsOf(reading->details), messageFor(*reading));
  const int sample = panel_->model()->firstSampleRow();
  const int first = sample >= 0 ? sample : panel_->model()->firstEntryRow();
  if (first < 0) return showWaveOf(-1);
  panel_->table()->chooseRow(first);
  if (sample >= 0) panel_->table()->scrollToTop();
  panel_->table()->scrollTo(panel_->model()->index(first, 0));
}

void BankContents::sampleChosen(int row) {
  const bool keepsPlaying = player_->isPlaying() || isStarting_;
  stop();
  showWaveOf(row);
  if (keepsPlaying && row_ >= 0) play(0);
}

void BankContents::showWaveOf(int row) {
  const std::optional<BankRange> audio = panel_->model()->audioAt(row);
  row_ = audio ? row : -1;
  WaveView *wave = panel_->wave();
  if (!audio) {
    const BankEntry *entry = panel_->model()->entryAt(row);
    const bool isSample = entry && entry->kind == BankEntryKind::sample;
    wave->setNothing(isSample ? QStringLiteral("The audio of this sample cannot be read.") : QString());
    panel_->setTime({});
    return updateControls();
  }
  const std::uint64_t frames = audio->size / kBytesPerFrame;
  wave->setSample(panel_->model()->nameAt(row), frames);
  showPosition(0);
  updateControls();
  reader_.readWave(bank_, *audio,
                   [wave](const std::shared_ptr<const SamplePeaks> &peaks) { wave->setPeaks(peaks); });
}

// ---- Playing

void BankContents::togglePlaying() {
  if (player_->isPlaying() || isStarting_) return stop();
  if (row_ < 0) return beep();
  const std::uint64_t cursor = panel_->wave()->cursor();
  play(cursor < panel_->wave()->frames() ? cursor : 0);
}

void BankContents::play(std::uint64_t from) {
  const BankEntry *entry = panel_->model()->entryAt(row_);
  if (!entry || !entry->sample || !tools_.image->filesystem()) return;
  isStarting_ = true;
  updateControls();
  reader_.readSound(bank_, *entry->sample, panel_->rate(), [this, from](Sound sound, const EMU3Error &error) {
    isStarting_ = false;
    if (!sound.bytes) return playingFailed(displayText(error.localizedDescription()));
    sound.start = from;
    player_->play(sound);
    updateControls();
  });
}

void BankContents::stop() {
  isStarting_ = false;
  reader_.forgetSound();
  player_->stop();
  panel_->wave()->setHeard(std::nullopt);
  updateControls();
}

void BankContents::rateChosen(std::uint32_t rate) {
  PanelSettings::setRate(rate);
  panel_->model()->setRate(rate);
  panel_->wave()->setRate(rate);
  const bool plays = player_->isPlaying() || isStarting_;
  const std::uint64_t at = plays ? panel_->wave()->heard().value_or(panel_->wave()->cursor()) : 0;
  if (!plays) return showPosition(panel_->wave()->cursor());
  stop();
  play(at);
}

void BankContents::showPosition(std::uint64_t frame) {
  if (row_ < 0) return;
  if (player_->isPlaying()) panel_->wave()->setHeard(frame);
  const std::uint32_t rate = panel_->rate();
  panel_->setTime(
      QStringLiteral("%1 / %2").arg(lengthText(frame, rate), lengthText(panel_->wave()->frames(), rate)));
}

void BankContents::playingEnded() {
  panel_->wave()->setHeard(std::nullopt);
  showPosition(panel_->wave()->cursor());
  updateControls();
}

void BankContents::playingFailed(const QString &problem) {
  panel_->wave()->setHeard(std::nullopt);
  updateControls();
  panel_->setProblem(problem);
}

void BankContents::updateControls() {
  panel_->setPlaying(player_->isPlaying() || isStarting_);
  panel_->playButton()->setEnabled(row_ >= 0);
  panel_->exportButton()->setEnabled(!chosenSamples().empty());
}

} // namespace tessary
