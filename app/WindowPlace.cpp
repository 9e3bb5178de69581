#include "app/WindowPlace.h"

#include "app/Settings.h"

#include <QScreen>
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

QPoint placeBeside(const QRect &before, const QRect &available) {
  constexpr int step = 32; // both title bars can be read
  QRect beside = before.translated(step, step);
  if (beside.right() > available.right()) beside.moveLeft(available.left());
  if (beside.bottom() > available.bottom()) beside.moveTop(available.top());
  return beside.topLeft();
}

void placeBeside(QWidget *window, const QWidget &before) {
  // Of one that fills the screen what it is otherwise.
  const bool fillsScreen = before.isMaximized() || before.isFullScreen();
  window->setWindowState(Qt::WindowNoState);
  window->resize(fillsScreen ? before.normalGeometry().size() : before.size());
  window->move(placeBeside(fillsScreen ? before.normalGeometry() : before.frameGeometry(),
                           before.screen()->availableGeometry()));
}

void rememberPlace(const QWidget &window) {
  openSettings()->setValue(kPlace, window.saveGeometry());
}

bool restorePlace(QWidget *window) {
  const QByteArray place = openSettings()->value(kPlace).toByteArray();
  return !place.isEmpty() && window->restoreGeometry(place);
}

} // namespace tessary
