#include "app/FolderBar.h"

#include "app/Icons.h"
#include "app/StatusBar.h"
#include "app/TextSize.h"

#include <QApplication>
#include <QEvent>
#include <QHBoxLayout>
#include <QStyle>
#include <QToolButton>

namespace tessary {
namespace {

constexpr int textSize = 11;
constexpr int iconSize = 16;
constexpr int margin = 4;

QToolButton *makeButton(const QString &symbol) {
  auto *button = new QToolButton;
  button->setAutoRaise(true);
  button->setFocusPolicy(Qt::TabFocus);
  button->setIcon(toolbarIcon(symbol));
  return button;
}

} // namespace

FolderBar::FolderBar(QWidget *parent)
    : QWidget(parent), root_(makeButton(QStringLiteral("externaldrive"))),
      parent_(makeButton(QStringLiteral("arrow.up"))) {
  setAutoFillBackground(true);
  root_->setObjectName(QStringLiteral("RootButton"));
  root_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  root_->setCheckable(true);
  root_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  parent_->setObjectName(QStringLiteral("ParentButton"));
  parent_->setAccessibleName(QStringLiteral("Show Parent"));
  parent_->setToolTip(QStringLiteral("Show Parent"));
  auto *layout = new QHBoxLayout(this);
  layout->setContentsMargins(margin, 0, margin, 0);
  layout->setSpacing(margin);
  layout->addWidget(root_, 1);
  layout->addWidget(parent_);
  connect(root_, &QToolButton::clicked, this, &FolderBar::rootChosen);
  connect(parent_, &QToolButton::clicked, this, &FolderBar::parentChosen);
  followTextSize();
  show({}, false, false);
}

void FolderBar::show(const QString &volume, bool isCurrent, bool hasParent) {
  label_ = volume;
  root_->setEnabled(!volume.isNull());
  root_->setChecked(isCurrent && !volume.isNull());
  parent_->setEnabled(hasParent);
  showLabel();
}

void FolderBar::resizeEvent(QResizeEvent *event) {
  QWidget::resizeEvent(event);
  showLabel();
}

void FolderBar::followTextSize() {
  setFixedHeight(scaled(StatusBar::kHeight));
  for (QToolButton *button : {root_, parent_}) {
    setTextSize(button, textSize);
    button->setIconSize(QSize(scaled(iconSize), scaled(iconSize)));
  }
  showLabel();
}

void FolderBar::showLabel() {
  const int room = root_->width() - scaled(iconSize) - 4 * margin;
  const QString text = label_.isEmpty() ? QStringLiteral("Volume") : label_;
  QString shown = root_->fontMetrics().elidedText(text, Qt::ElideRight, room);
  root_->setText(shown.replace(QLatin1Char('&'), QLatin1String("&&")));
  root_->setAccessibleName(QStringLiteral("Show Root: %1").arg(text));
  root_->setToolTip(QStringLiteral("<qt>Show Root: %1</qt>").arg(text.toHtmlEscaped()));
}

} // namespace tessary
