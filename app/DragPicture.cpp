#include "app/DragPicture.h"

#include "app/DraggedData.h"

#include <QAbstractItemView>
#include <QDrag>
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

void dragWithPicture(QAbstractItemView *view, DraggedData *data) {
  const HostCopiesPtr copies = data->copies();
  bool isOverOurs = false;
  auto *drag = new QDrag(view);
  drag->setMimeData(data);
  drag->setPixmap(dragPicture(data->names(), *view));
  drag->setHotSpot(kDragPictureHotSpot);
  const QMetaObject::Connection following = QObject::connect(
      drag, &QDrag::targetChanged, [&isOverOurs](const QObject *target) { isOverOurs = target; });
  if (copies) copies->dragBegins();
  const Qt::DropAction action = drag->exec(Qt::CopyAction, Qt::CopyAction);
  QObject::disconnect(following);
  if (copies) copies->dragEnds(action != Qt::IgnoreAction && !isOverOurs);
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
