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
constexpr int gapBetweenTexts = 8;

/// A frame given from the bar's bottom left corner.
QRect frame(int x, int bottom, int width, int height) {
  return {x, barHeight - bottom - height, width, height};
}

} // namespace

StatusLabel::StatusLabel(Qt::Alignment alignment, QWidget *parent) : QLabel(parent) {
  setTextFormat(Qt::PlainText);
  setAlignment(alignment | Qt::AlignVCenter);
  QFont small = font();
  small.setPixelSize(11);
  setFont(small);
}

void StatusLabel::setRightNeighbour(StatusLabel *right) {
  rightNeighbour_ = right;
  connect(right, &StatusLabel::textMoved, this, qOverload<>(&StatusLabel::update));
}

QRect StatusLabel::textRect() const {
  const QSize size(std::min(width(), fontMetrics().horizontalAdvance(text())), height());
  return QStyle::alignedRect(Qt::LeftToRight, alignment(), size, geometry());
}

QRect StatusLabel::paintRect() const {
  QRect area = rect();
  if (rightNeighbour_ && !rightNeighbour_->text().isEmpty())
    area.setRight(std::min(area.right(), rightNeighbour_->textRect().left() - x() - gapBetweenTexts));
  return area;
}

QString StatusLabel::shownText() const {
  return fontMetrics().elidedText(text(), Qt::ElideRight, paintRect().width());
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
  painter.drawText(paintRect(), static_cast<int>(alignment()) | Qt::TextSingleLine, shownText());
  if (textRect() == lastTextRect_) return;
  lastTextRect_ = textRect();
  emit textMoved();
}

StatusBar::StatusBar(QWidget *parent)
    : QWidget(parent), statusLabel_(new StatusLabel(Qt::AlignLeft, this)),
      diskSpaceLabel_(new StatusLabel(Qt::AlignHCenter, this)), spinner_(new Spinner(this)) {
  setFixedHeight(barHeight);
  setAutoFillBackground(true);
  setBackgroundRole(QPalette::Window);
  statusLabel_->setRightNeighbour(diskSpaceLabel_);
  statusLabel_->setGeometry(frame(8, 6, 300, 18));
}

void StatusBar::resizeEvent(QResizeEvent *) {
  diskSpaceLabel_->setGeometry(frame(214, 6, std::max(0, width() - 2 * 214), 18));
  spinner_->move(frame(width() - 30, 5, spinner_->width(), spinner_->height()).topLeft());
}

} // namespace tessary
