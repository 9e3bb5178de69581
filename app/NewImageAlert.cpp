#include "app/NewImageAlert.h"

#include "app/Colors.h"
#include "app/DisplayText.h"
#include "app/TextSize.h"
#include "tessary/NewVolume.h"
#include "tessary/Text.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFile>
#include <QFileDialog>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QRadioButton>
#include <memory>

namespace tessary {
namespace {

constexpr int kControlWidth = 200;
constexpr int kProposedSize = 3; ///< its place among the sizes: 512 MB

} // namespace

NewImageAlert::NewImageAlert(const std::string &model, QWidget *parent)
    : Alert(QStringLiteral("New Image"),
            QStringLiteral("An empty volume in a file of its own. Unused blocks take no room on your disk."),
            parent),
      path_(model), ofSize_(new QRadioButton(QStringLiteral("Size:"))),
      likeImage_(new QRadioButton(QStringLiteral("Like the disk image:"))), sizes_(new QComboBox),
      blocks_(new QLabel), modelButton_(new QPushButton) {
  addChoice(QStringLiteral("Create…"), AcceptRole);
  addChoice(QStringLiteral("Cancel"), RejectRole);
  // A message box would close at the press of its button.
  disconnect(defaultButton(), nullptr, findChild<QDialogButtonBox *>(), nullptr);
  connect(defaultButton(), &QPushButton::clicked, this, &NewImageAlert::confirmed);

  setAccessory(std::unique_ptr<QWidget>(makeChoices()));
  addWarning(QStringLiteral("A header made without another disk’s has not been tried in a sampler.\n"
                            "For a sampler choose the image of a disk that it has formatted."));
  (path_.empty() ? ofSize_ : likeImage_)->setChecked(true);
  (path_.empty() ? static_cast<QWidget *>(sizes_) : likeImage_)->setFocus();
}

QWidget *NewImageAlert::makeChoices() {
  sizes_->setEditable(true);
  sizes_->setInsertPolicy(QComboBox::NoInsert);
  for (const char *size :
       {"64 MB", "128 MB", "256 MB", "512 MB", "1 GB", "2 GB", "4 GB", "8 GB", "16 GB", "32 GB"})
    sizes_->addItem(QLatin1String(size));
  sizes_->setCurrentIndex(kProposedSize);
  sizes_->lineEdit()->selectAll();
  sizes_->setCompleter(nullptr); // "1" is not to become "128 MB"
  sizes_->installEventFilter(this);
  sizes_->setFixedWidth(scaled(kControlWidth));
  sizes_->setAccessibleName(QStringLiteral("Size"));
  sizes_->setAccessibleDescription(QStringLiteral("From 64 KB to 32 GB"));
  sizes_->lineEdit()->setAccessibleName(QStringLiteral("Size"));
  modelButton_->setFixedWidth(scaled(kControlWidth));
  blocks_->setTextFormat(Qt::PlainText);
  blocks_->setObjectName(QStringLiteral("Blocks"));

  connect(sizes_, &QComboBox::editTextChanged, this, [this] {
    ofSize_->setChecked(true);
    showSize();
  });
  connect(modelButton_, &QPushButton::clicked, this, &NewImageAlert::chooseModel);
  connect(likeImage_, &QRadioButton::clicked, this, [this] {
    if (path_.empty()) chooseModel();
  });

  auto *choices = new QWidget;
  auto *grid = new QGridLayout(choices);
  grid->setContentsMargins(0, 0, 0, 0);
  grid->addWidget(ofSize_, 0, 0);
  grid->addWidget(sizes_, 0, 1);
  grid->addWidget(blocks_, 1, 1);
  grid->addWidget(likeImage_, 2, 0);
  grid->addWidget(modelButton_, 2, 1);
  showSize();
  showModel();
  return choices;
}

/// The field of the sizes would keep Return to itself.
bool NewImageAlert::eventFilter(QObject *watched, QEvent *event) {
  if (watched != sizes_ || event->type() != QEvent::KeyPress) return Alert::eventFilter(watched, event);
  const int key = static_cast<QKeyEvent *>(event)->key();
  if (key != Qt::Key_Return && key != Qt::Key_Enter) return false;
  defaultButton()->click();
  return true;
}

std::optional<std::string> NewImageAlert::model() const {
  return likeImage_->isChecked() ? std::optional(path_) : std::nullopt;
}

QString NewImageAlert::size() const {
  return sizes_->currentText().trimmed();
}

void NewImageAlert::chooseModel() {
  auto *chooser = new QFileDialog(this, QStringLiteral("Select the disk image to take header and size of"));
  chooser->setAttribute(Qt::WA_DeleteOnClose);
  chooser->setFileMode(QFileDialog::ExistingFile);
  chooser->setLabelText(QFileDialog::Accept, QStringLiteral("Choose"));
  connect(chooser, &QFileDialog::fileSelected, this, [this](const QString &path) {
    path_ = QFile::encodeName(path).toStdString();
    likeImage_->setChecked(true);
    showModel();
  });
  connect(chooser, &QDialog::finished, this, [this] {
    if (path_.empty()) ofSize_->setChecked(true); // nothing was chosen
  });
  chooser->open();
}

void NewImageAlert::showModel() {
  const QString name =
      path_.empty() ? QStringLiteral("Choose…") : displayText(lastPathComponent(path_)) + QStringLiteral("…");
  QString shown = modelButton_->fontMetrics().elidedText(name, Qt::ElideMiddle, scaled(kControlWidth - 24));
  modelButton_->setText(shown.replace(QLatin1Char('&'), QStringLiteral("&&")));
  modelButton_->setAccessibleName(QStringLiteral("Like the disk image: %1").arg(name));
}

void NewImageAlert::showSize() {
  constexpr std::uint64_t blockBytes = 512;
  const std::optional<std::uint64_t> bytes = NewVolume::sizeFromText(size().toStdString());
  const bool isPossible = bytes && NewVolume::ofSize(*bytes);
  blocks_->setText(isPossible ? QStringLiteral("%1 blocks").arg(QLocale::c().toString(*bytes / blockBytes))
                              : QStringLiteral("From 64 KB to 32 GB"));
  QPalette colors = palette();
  if (isPossible) colors.setColor(QPalette::WindowText, secondaryLabelColor(palette()));
  blocks_->setPalette(colors);
  QFont font = blocks_->font();
  font.setBold(!isPossible);
  blocks_->setFont(font);
}

} // namespace tessary
