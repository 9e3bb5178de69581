#include "app/StatusBar.h"

#include "app/Colors.h"
#include "app/Spinner.h"
#include "app/TextSize.h"

#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>
#include <algorithm>

namespace tessary {
namespace {

constexpr int textSize = 11;
constexpr int gap = 8; ///< between neighbouring elements

/// A frame given from the bar's bottom left corner.
QRect frame(int x, int bottom, int width, int height) {
  return {scaled(x), scaled(StatusBar::kHeight - bottom - height), scaled(width), scaled(height)};
}

} // namespace

// ---- Labels

StatusLabel::StatusLabel(Qt::Alignment alignment, QWidget *parent)
    : QLabel(parent), widestText_(QWIDGETSIZE_MAX) {
  setTextFormat(Qt::PlainText);
  setAlignment(alignment | Qt::AlignVCenter);
}

void StatusLabel::setWidestText(int width) {
  widestText_ = width;
  update();
}

int StatusLabel::textWidth() const {
  return fontMetrics().horizontalAdvance(text()) + 1; // the metrics are rounded, maybe downwards
}

QRect StatusLabel::textRect() const {
  const QSize size(std::min({width(), widestText_, textWidth()}), height());
  return QStyle::alignedRect(Qt::LeftToRight, alignment(), size, geometry());
}

QString StatusLabel::shownText() const {
  return fontMetrics().elidedText(text(), Qt::ElideRight, textRect().width());
}

bool StatusLabel::event(QEvent *event) {
  if (event->type() != QEvent::ToolTip) return QLabel::event(event);
  const QString whole = QStringLiteral("<qt>%1</qt>").arg(text().toHtmlEscaped());
  QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(), shownText() == text() ? QString() : whole,
                     this);
  return true;
}

void StatusLabel::paintEvent(QPaintEvent *) {
  QPainter painter(this);
  painter.setPen(secondaryLabelColor(palette()));
  painter.drawText(textRect().translated(-pos()), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                   shownText());
}

// ---- Bar

StatusBar::StatusBar(QWidget *parent)
    : QWidget(parent), statusLabel_(new StatusLabel(Qt::AlignLeft, this)),
      diskSpaceLabel_(new StatusLabel(Qt::AlignHCenter, this)), readOnlyLabel_(new QLabel(this)),
      spinner_(new Spinner(this)) {
  setAutoFillBackground(true);
  setBackgroundRole(QPalette::Window);
  statusLabel_->setObjectName(QStringLiteral("StatusLabel"));
  diskSpaceLabel_->setObjectName(QStringLiteral("DiskSpaceLabel"));
  readOnlyLabel_->setObjectName(QStringLiteral("ReadOnlyLabel"));
  readOnlyLabel_->setText(QStringLiteral("Read-only"));
  readOnlyLabel_->hide();
  followTextSize();
}

void StatusBar::setReadOnly(const QString &reason) {
  readOnlyLabel_->setToolTip(QStringLiteral("<qt>%1</qt>").arg(reason.toHtmlEscaped()));
  readOnlyLabel_->setAccessibleDescription(reason);
  readOnlyLabel_->setVisible(!reason.isEmpty());
  placeElements();
}

void StatusBar::followTextSize() {
  setFixedHeight(scaled(kHeight));
  for (QLabel *label :
       {static_cast<QLabel *>(statusLabel_), static_cast<QLabel *>(diskSpaceLabel_), readOnlyLabel_})
    setTextSize(label, textSize);
  QFont bold = readOnlyLabel_->font();
  bold.setBold(true);
  readOnlyLabel_->setFont(bold);
  placeElements();
}

// A label that gets a new text asks for its place to be found again.
bool StatusBar::event(QEvent *event) {
  if (event->type() == QEvent::LayoutRequest) placeElements();
  return QWidget::event(event);
}

void StatusBar::resizeEvent(QResizeEvent *) {
  placeElements();
}

void StatusBar::placeElements() {
  const QRect line = frame(8, 6, 300, 18);
  const QRect side = frame(0, 6, 214, 18);
  spinner_->move(width() - scaled(30), (height() - spinner_->height()) / 2);
  int end = spinner_->x() - gap;
  if (!readOnlyLabel_->isHidden()) {
    readOnlyLabel_->setGeometry(end - readOnlyLabel_->sizeHint().width(), line.y(),
                                readOnlyLabel_->sizeHint().width(), line.height());
    end = readOnlyLabel_->x() - gap;
  }
  QRect diskSpace(side.width(), line.y(), width() - 2 * side.width(), line.height()); // in the middle
  if (diskSpace.width() < diskSpaceLabel_->textWidth()) {
    diskSpace.setWidth(diskSpaceLabel_->textWidth());
    diskSpace.moveRight(std::min(diskSpace.right(), end));
  }
  diskSpaceLabel_->setGeometry(diskSpace);
  statusLabel_->setGeometry(line);
  const int diskSpaceStart = diskSpaceLabel_->text().isEmpty() ? width() : diskSpaceLabel_->textRect().left();
  statusLabel_->setWidestText(diskSpaceStart - gap - statusLabel_->x());
}

} // namespace tessary
