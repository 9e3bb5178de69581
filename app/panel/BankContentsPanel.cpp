#include "app/panel/BankContentsPanel.h"

#include "app/CellDelegate.h"
#include "app/Colors.h"
#include "app/Icons.h"
#include "app/TextSize.h"
#include "app/panel/BankEntryTable.h"
#include "app/panel/PanelSettings.h"
#include "app/panel/SoundTexts.h"
#include "app/panel/WaveView.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QVBoxLayout>

namespace tessary {
namespace {

constexpr int kMargin = 8;
constexpr QSize kSmallestList(230, 90);

QLabel *makeLabel(const char *name) {
  auto *label = new QLabel;
  label->setObjectName(QLatin1String(name));
  label->setTextFormat(Qt::PlainText);
  // A long text is cut rather than making the panel wider.
  label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  return label;
}

template <typename Part> QWidget *columnOf(Part fill) {
  auto *part = new QWidget;
  auto *layout = new QVBoxLayout(part);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  fill(layout);
  return part;
}

} // namespace

BankContentsPanel::BankContentsPanel(QWidget *parent)
    : QWidget(parent), model_(new BankContentsModel(this)), title_(makeLabel("BankTitle")),
      facts_(makeLabel("BankFacts")), message_(makeLabel("BankMessage")), time_(makeLabel("SampleTime")),
      volumeIcon_(new QLabel), table_(new BankEntryTable), wave_(new WaveView), play_(new QPushButton),
      export_(new QPushButton(QStringLiteral("Export…"))), volume_(new QSlider(Qt::Horizontal)),
      rate_(new QComboBox), parts_(new ThinSplitter) {
  setObjectName(QStringLiteral("BankContents"));
  setAccessibleName(QStringLiteral("Bank Contents"));
  makeRates();
  auto *layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(parts_);
  parts_->addWidget(makeListPart());
  parts_->addWidget(makeSoundPart());
  parts_->setStretchFactor(0, 1);
  parts_->setStretchFactor(1, 1);
  setTexts({}, {}, {});
  setPlaying(false);
  followTextSize();
}

QWidget *BankContentsPanel::makeListPart() {
  table_->setObjectName(QStringLiteral("BankEntries"));
  table_->setAccessibleName(QStringLiteral("Presets and samples"));
  table_->setModel(model_);
  message_->setWordWrap(true);
  message_->setAlignment(Qt::AlignTop | Qt::AlignLeft);
  message_->setMargin(kMargin);
  message_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Expanding);
  return columnOf([this](QVBoxLayout *layout) {
    auto *texts = new QVBoxLayout;
    texts->setContentsMargins(kMargin, kMargin - 2, kMargin, kMargin - 2);
    texts->setSpacing(1);
    texts->addWidget(title_);
    texts->addWidget(facts_);
    layout->addLayout(texts);
    layout->addWidget(table_, 1);
    layout->addWidget(message_, 1);
  });
}

QWidget *BankContentsPanel::makeSoundPart() {
  wave_->setObjectName(QStringLiteral("Wave"));
  return columnOf([this](QVBoxLayout *layout) {
    layout->addWidget(wave_, 1);
    layout->addLayout(makeControls());
  });
}

QLayout *BankContentsPanel::makeControls() {
  play_->setObjectName(QStringLiteral("Play"));
  export_->setObjectName(QStringLiteral("ExportChosenSamples"));
  volume_->setObjectName(QStringLiteral("Volume"));
  volume_->setAccessibleName(QStringLiteral("Volume"));
  volume_->setRange(0, 100);
  volume_->setMinimumWidth(60);
  rate_->setObjectName(QStringLiteral("SampleRate"));
  rate_->setAccessibleName(QStringLiteral("Sample rate"));
  for (QPushButton *button : {play_, export_})
    button->setAutoDefault(false);
  time_->setMinimumWidth(40);
  auto *first = new QHBoxLayout;
  first->addWidget(play_);
  first->addWidget(time_, 1);
  first->addWidget(export_);
  auto *second = new QHBoxLayout;
  second->addWidget(volumeIcon_);
  second->addWidget(volume_, 1);
  second->addWidget(rate_);
  auto *rows = new QVBoxLayout;
  rows->setContentsMargins(kMargin, kMargin - 2, kMargin, kMargin);
  rows->setSpacing(kMargin - 2);
  rows->addLayout(first);
  rows->addLayout(second);
  return rows;
}

void BankContentsPanel::makeRates() {
  for (const std::uint32_t rate : kSampleRates)
    rate_->addItem(rateText(rate), rate);
  setRate(kUsualSampleRate);
  connect(rate_, &QComboBox::activated, this, [this] { emit rateChosen(rate()); });
}

void BankContentsPanel::followTextSize() {
  for (QWidget *text : std::initializer_list<QWidget *>{facts_, message_, time_, play_, export_, rate_})
    setTextSize(text, kRowTextSize);
  setTextSize(title_, kRowTextSize + 1);
  QFont bold = title_->font();
  bold.setBold(true);
  title_->setFont(bold);
  const int symbol = scaled(14);
  play_->setIconSize({symbol, symbol});
  drawVolumeIcon();
  table_->followTextSize();
  wave_->followTextSize();
  parts_->widget(0)->setMinimumSize(scaled(kSmallestList.width()), scaled(kSmallestList.height()));
  // Both of its texts fit, so that nothing moves when it changes.
  setPlaying(true);
  const int widest = play_->sizeHint().width();
  setPlaying(false);
  play_->setMinimumWidth(std::max(widest, play_->sizeHint().width()));
}

/// In the palette's colours, which may change.
void BankContentsPanel::drawVolumeIcon() {
  const int symbol = scaled(14);
  volumeIcon_->setPixmap(
      toolbarIcon(QStringLiteral("speaker.wave.2")).pixmap(QSize(symbol, symbol), devicePixelRatioF()));
}

void BankContentsPanel::changeEvent(QEvent *event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) drawVolumeIcon();
}

// ---- What is shown

void BankContentsPanel::setTexts(const QString &title, const QString &facts, const QString &message) {
  title_->setText(title);
  title_->setToolTip(QStringLiteral("<qt>%1</qt>").arg(title.toHtmlEscaped()));
  title_->setVisible(!title.isEmpty());
  facts_->setText(facts);
  facts_->setVisible(!facts.isEmpty());
  message_->setText(message);
  message_->setVisible(!message.isEmpty());
  table_->setVisible(message.isEmpty());
}

void BankContentsPanel::setTime(const QString &text) {
  time_->setText(text);
  time_->setToolTip({});
}

void BankContentsPanel::setProblem(const QString &text) {
  time_->setText(text);
  time_->setToolTip(QStringLiteral("<qt>%1</qt>").arg(text.toHtmlEscaped()));
}

void BankContentsPanel::setPlaying(bool playing) {
  play_->setText(playing ? QStringLiteral("Stop") : QStringLiteral("Play"));
  play_->setIcon(toolbarIcon(playing ? QStringLiteral("stop.fill") : QStringLiteral("play.fill")));
}

void BankContentsPanel::setRate(std::uint32_t rate) {
  rate_->setCurrentIndex(rate_->findData(rate));
}

std::uint32_t BankContentsPanel::rate() const {
  return rate_->currentData().toUInt();
}

QSize BankContentsPanel::sizeHint() const {
  return {scaled(330), scaled(420)};
}

void BankContentsPanel::resizeEvent(QResizeEvent *event) {
  QWidget::resizeEvent(event);
  const Qt::Orientation wanted = width() * 10 > height() * 13 ? Qt::Horizontal : Qt::Vertical;
  if (wanted == parts_->orientation() && isLaidOut_) return;
  isLaidOut_ = true;
  parts_->setOrientation(wanted);
  const int room = wanted == Qt::Horizontal ? width() : height();
  const int list = wanted == Qt::Horizontal ? room * 4 / 10 : room * 55 / 100;
  parts_->setSizes({list, room - list});
}

} // namespace tessary
