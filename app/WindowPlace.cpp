#include "app/WindowPlace.h"

#include "app/Settings.h"

#include <QWidget>
#include <algorithm>

namespace tessary {
namespace {

const QString kPlace = QStringLiteral("WindowPlace");

} // namespace

QMargins likelyFrame() {
  constexpr int border = 4;
  constexpr int titleBar = 40;
  return {border, titleBar, border, border};
}

QSize sizeOnScreen(const QSize &wished, const QRect &available, const QMargins &frame) {
  return wished.boundedTo(available.marginsRemoved(frame).size());
}

QPoint placeOnScreen(const QSize &size, const QRect &available, const QMargins &frame) {
  const QRect room = available.marginsRemoved(frame);
  const QPoint centered = room.center() - QRect(QPoint(), size).center();
  // On a screen that is too small the title bar stays in reach.
  return {std::max(centered.x(), room.x()), std::max(centered.y(), room.y())};
}

void rememberPlace(const QWidget &window) {
  openSettings()->setValue(kPlace, window.saveGeometry());
}

bool restorePlace(QWidget *window) {
  const QByteArray place = openSettings()->value(kPlace).toByteArray();
  return !place.isEmpty() && window->restoreGeometry(place);
}

} // namespace tessary
