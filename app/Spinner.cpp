#include "app/Spinner.h"

#include <QPainter>
#include <QTimerEvent>

namespace tessary {
namespace {

constexpr int side = 18;
constexpr int spokes = 12;
constexpr int millisecondsPerStep = 80;

} // namespace

Spinner::Spinner(QWidget *parent) : QWidget(parent) {
  setFixedSize(side, side);
  setAccessibleName(QStringLiteral("Busy"));
  hide();
}

void Spinner::start() {
  ++users_;
  show();
}

void Spinner::stop() {
  Q_ASSERT(users_ > 0);
  if (--users_ == 0) hide();
}

void Spinner::paintEvent(QPaintEvent *) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.translate(rect().toRectF().center());
  QColor color = palette().color(QPalette::WindowText);
  for (int spoke = 0; spoke < spokes; ++spoke) {
    const int age = (step_ - spoke + spokes) % spokes; // 0 is the newest and darkest
    color.setAlphaF(0.8F - 0.06F * static_cast<float>(age));
    painter.save();
    painter.rotate(360.0 * spoke / spokes);
    painter.setPen(QPen(color, 1.5, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(0, -4), QPointF(0, -7));
    painter.restore();
  }
}

void Spinner::showEvent(QShowEvent *event) {
  QWidget::showEvent(event);
  timer_.start(millisecondsPerStep, this);
}

void Spinner::hideEvent(QHideEvent *event) {
  QWidget::hideEvent(event);
  timer_.stop();
}

void Spinner::timerEvent(QTimerEvent *event) {
  if (event->timerId() != timer_.timerId()) return QWidget::timerEvent(event);
  step_ = (step_ + 1) % spokes;
  update();
}

} // namespace tessary
