#include "app/StatusBar.h"

#include "app/Colors.h"
#include "app/Spinner.h"

#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>
#include <algorithm>

namespace tessary {
namespace {

constexpr int barHeight = 28;
constexpr int gap = 8; ///< between neighbouring elements

/// A frame given from the bar's bottom left corner.
QRect frame(int x, int bottom, int width, int height) {
  return {x, barHeight - bottom - height, width, height};
}

} // namespace

// ---- Labels

StatusLabel::StatusLabel(Qt::Alignment alignment, QWidget *parent)
    : QLabel(parent), widestText_(QWIDGETSIZE_MAX) {
  setTextFormat(Qt::PlainText);
  setAlignment(alignment | Qt::AlignVCenter);
  QFont small = font();
  small.setPixelSize(11);
  setFont(small);
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
      diskSpaceLabel_(new StatusLabel(Qt::AlignHCenter, this)), spinner_(new Spinner(this)) {
  setFixedHeight(barHeight);
  setAutoFillBackground(true);
  setBackgroundRole(QPalette::Window);
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
  spinner_->move(frame(width() - 30, 5, spinner_->width(), spinner_->height()).topLeft());
  QRect diskSpace = frame(214, 6, width() - 2 * 214, 18); // in the middle
  if (diskSpace.width() < diskSpaceLabel_->textWidth()) {
    diskSpace.setWidth(diskSpaceLabel_->textWidth());
    diskSpace.moveRight(std::min(diskSpace.right(), spinner_->x() - gap));
  }
  diskSpaceLabel_->setGeometry(diskSpace);
  statusLabel_->setGeometry(frame(8, 6, 300, 18));
  const int diskSpaceStart = diskSpaceLabel_->text().isEmpty() ? width() : diskSpaceLabel_->textRect().left();
  statusLabel_->setWidestText(diskSpaceStart - gap - statusLabel_->x());
}

} // namespace tessary
