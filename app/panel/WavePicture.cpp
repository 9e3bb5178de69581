#include "app/panel/WavePicture.h"

#include "app/Colors.h"
#include "app/TextSize.h"

#include <QPolygonF>
#include <algorithm>
#include <cmath>

namespace tessary {
namespace {

constexpr double kHighest = 32768;

double yOf(double value, const QRect &area) {
  return area.center().y() - value / kHighest * (area.height() / 2.0 - 2);
}

/// The step between two times of a ruler, in seconds: 1, 2 or 5 of some power of ten, of at least that much.
double rulerStep(double least) {
  const double power = std::pow(10, std::floor(std::log10(least)));
  for (const double times : {1.0, 2.0, 5.0})
    if (times * power >= least) return times * power;
  return 10 * power;
}

QString rulerText(double seconds, double step) {
  const int digits = std::clamp(static_cast<int>(std::ceil(-std::log10(step) - 1e-9)), 0, 6);
  if (seconds < 60) return QString::number(seconds, 'f', digits);
  const auto minutes = static_cast<int>(seconds / 60);
  return QStringLiteral("%1:%2").arg(QString::number(minutes),
                                     QString::number(seconds - minutes * 60, 'f', digits)
                                         .rightJustified(digits > 0 ? digits + 3 : 2, QLatin1Char('0')));
}

} // namespace

Peak WavePicture::peakBetween(double from, double to) const {
  const auto first = static_cast<std::uint64_t>(std::max(from, 0.0));
  const auto last = std::min(std::max(first + 1, static_cast<std::uint64_t>(std::max(std::ceil(to), 0.0))),
                             peaks->frames());
  if (first >= last) return {};
  if (!closeUp->holds(first, last)) return peaks->across(first, last);
  return peakOf(closeUp->bytes->data() + (first - closeUp->first) * 2, last - first);
}

void WavePicture::paintWave(QPainter *painter, const QRect &area, const QRect &exposed,
                            const QPalette &palette) const {
  const QRect shown = area & exposed;
  painter->fillRect(QRect(shown.left(), area.center().y(), shown.width(), 1), separatorColor(palette));
  if (!peaks || peaks->frames() == 0) return;
  painter->setPen(waveColor(palette));
  const double end = static_cast<double>(peaks->frames());
  if (section.framesPerPixel < 1 && closeUp->bytes) return paintFrames(painter, area, shown);
  for (int x = shown.left(); x <= shown.right(); ++x) {
    const double from = section.frameAt(x - area.left());
    if (from >= end) break;
    const Peak peak = peakBetween(from, section.frameAt(x + 1 - area.left()));
    painter->drawLine(QPointF(x, yOf(peak.highest, area)), QPointF(x, yOf(peak.lowest, area)));
  }
}

/// So close that each frame has a place of its own: a line from one to the next, with dots where there is
/// room.
void WavePicture::paintFrames(QPainter *painter, const QRect &area, const QRect &exposed) const {
  const double from = section.frameAt(exposed.left() - area.left()) - 1;
  const double to = section.frameAt(exposed.right() - area.left()) + 2;
  const auto first = std::max(static_cast<std::uint64_t>(std::max(from, 0.0)), closeUp->first);
  const auto last =
      std::min(static_cast<std::uint64_t>(std::max(to, 0.0)) + 1, closeUp->first + closeUp->frames());
  QPolygonF line;
  for (std::uint64_t frame = first; frame < last; ++frame)
    line += QPointF(area.left() + section.xOf(static_cast<double>(frame)),
                    yOf(frameAt(closeUp->bytes->data() + (frame - closeUp->first) * 2), area));
  painter->setRenderHint(QPainter::Antialiasing);
  painter->drawPolyline(line);
  constexpr double pixelsForDots = 5;
  if (section.framesPerPixel * pixelsForDots > 1) return;
  painter->setBrush(painter->pen().color());
  for (const QPointF &point : line)
    painter->drawEllipse(point, 1.5, 1.5);
}

void WavePicture::paintRuler(QPainter *painter, const QRect &area, const QPalette &palette) const {
  const double pixelsPerSecond = rate / section.framesPerPixel;
  const double step = rulerStep(scaled(64) / pixelsPerSecond);
  painter->setPen(secondaryLabelColor(palette));
  painter->fillRect(QRect(area.left(), area.top(), area.width(), 1), separatorColor(palette));
  const double end = peaks ? static_cast<double>(peaks->frames()) / rate : 0;
  for (double number = std::ceil(section.first / rate / step); number * step <= end; ++number) {
    const double x = area.left() + section.xOf(number * step * rate);
    if (x > area.right()) break;
    painter->drawLine(QPointF(x, area.top()), QPointF(x, area.top() + 3));
    const QRectF text(x + 3, area.top(), scaled(80), area.height());
    painter->drawText(text, Qt::AlignLeft | Qt::AlignVCenter, rulerText(number * step, step));
  }
}

} // namespace tessary
