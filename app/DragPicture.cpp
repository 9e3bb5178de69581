#include "app/DragPicture.h"

#include <QAbstractItemView>
#include <QDrag>
#include <QMimeData>
#include <QPainter>
#include <QWidget>
#include <algorithm>

namespace tessary {
namespace {

constexpr int mostLines = 5;
constexpr int widestLine = 240;
constexpr int margin = 6;

QStringList drawnLines(const QStringList &names, const QFontMetrics &metrics) {
  QStringList lines = names.first(std::min<qsizetype>(names.size(), mostLines));
  if (lines.size() < names.size()) lines.last() = QStringLiteral("…");
  for (QString &line : lines)
    line = metrics.elidedText(line, Qt::ElideRight, widestLine);
  return lines;
}

} // namespace

void dragWithPicture(QAbstractItemView *view, QMimeData *data, const QStringList &names) {
  auto *drag = new QDrag(view);
  drag->setMimeData(data);
  drag->setPixmap(dragPicture(names, *view));
  drag->setHotSpot(kDragPictureHotSpot);
  drag->exec(Qt::CopyAction, Qt::CopyAction);
}

QPixmap dragPicture(const QStringList &names, const QWidget &widget) {
  const QFontMetrics metrics = widget.fontMetrics();
  const QStringList lines = drawnLines(names, metrics);
  int width = 0;
  for (const QString &line : lines)
    width = std::max(width, metrics.horizontalAdvance(line));
  const QSize size(width + 2 * margin, static_cast<int>(lines.size()) * metrics.lineSpacing() + 2 * margin);

  QPixmap picture(size * widget.devicePixelRatioF());
  picture.setDevicePixelRatio(widget.devicePixelRatioF());
  picture.fill(widget.palette().color(QPalette::Highlight));
  QPainter painter(&picture);
  painter.setFont(widget.font());
  painter.setPen(widget.palette().color(QPalette::HighlightedText));
  int baseline = margin + metrics.ascent();
  for (const QString &line : lines) {
    painter.drawText(margin, baseline, line);
    baseline += metrics.lineSpacing();
  }
  return picture;
}

} // namespace tessary
