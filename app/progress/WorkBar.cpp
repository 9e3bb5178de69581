#include "app/progress/WorkBar.h"

#include "app/StatusBar.h"
#include "app/TextSize.h"

#include <QGridLayout>
#include <QKeySequence>
#include <QProgressBar>
#include <QPushButton>

namespace tessary {
namespace {

constexpr int textSize = 11;
constexpr int margin = 8;
constexpr int spacing = 4;
constexpr int shareHeight = 10;
constexpr QKeyCombination kStopKey(Qt::ControlModifier, Qt::Key_Period);

} // namespace

WorkBar::WorkBar(QWidget *parent)
    : QWidget(parent), what_(new StatusLabel(Qt::AlignLeft, this)),
      figures_(new StatusLabel(Qt::AlignRight, this)), share_(new QProgressBar(this)),
      stop_(new QPushButton(QStringLiteral("Stop"), this)) {
  setObjectName(QStringLiteral("WorkBar"));
  setAccessibleName(QStringLiteral("Work in progress"));
  setAutoFillBackground(true);
  setBackgroundRole(QPalette::Window);
  what_->setObjectName(QStringLiteral("WorkItem"));
  what_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed); // a long name is cut
  figures_->setObjectName(QStringLiteral("WorkFigures"));
  share_->setObjectName(QStringLiteral("WorkShare"));
  share_->setAccessibleName(QStringLiteral("Share that is done"));
  share_->setTextVisible(false);
  stop_->setObjectName(QStringLiteral("WorkStop"));
  stop_->setFocusPolicy(Qt::TabFocus); // a click leaves the keyboard where it is
  stop_->setShortcut(kStopKey);
  const QString key = stop_->shortcut().toString(QKeySequence::NativeText);
  stop_->setToolTip(QStringLiteral("Stop (%1)").arg(key));
  stop_->setAccessibleDescription(
      QStringLiteral("Ends the work after the item in progress. Key: %1").arg(key));
  connect(stop_, &QPushButton::clicked, this, &WorkBar::stopPressed);
  auto *layout = new QGridLayout(this);
  layout->setContentsMargins(margin, spacing, margin, spacing);
  layout->setHorizontalSpacing(margin);
  layout->setVerticalSpacing(spacing);
  layout->addWidget(what_, 0, 0);
  layout->addWidget(figures_, 0, 1);
  layout->addWidget(share_, 1, 0, 1, 2);
  layout->addWidget(stop_, 0, 2, 2, 1, Qt::AlignVCenter);
  layout->setColumnStretch(0, 1);
  followTextSize();
  hide();
}

void WorkBar::showWork(const Shown &shown) {
  what_->setText(shown.what);
  figures_->setText(shown.figures);
  share_->setRange(0, shown.share < 0 ? 0 : kWholeShare); // without a range it tells only that work goes on
  share_->setValue(shown.share);
  stop_->setEnabled(!shown.isStopping);
  setVisible(true);
}

void WorkBar::followTextSize() {
  for (QWidget *part :
       {static_cast<QWidget *>(what_), static_cast<QWidget *>(figures_), static_cast<QWidget *>(stop_)})
    setTextSize(part, textSize);
  share_->setFixedHeight(scaled(shareHeight));
}

} // namespace tessary
