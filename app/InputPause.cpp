#include "app/InputPause.h"

#include "app/DraggedData.h"
#include "app/progress/WorkBar.h"

#include <QApplication>
#include <QDialog>
#include <QDropEvent>
#include <QWidget>

namespace tessary {
namespace {

/// An item of a menu belongs to the widget that it was made for.
bool isReachable(const QObject *object) {
  for (; object; object = object->parent())
    if (qobject_cast<const WorkBar *>(object) || qobject_cast<const QDialog *>(object)) return true;
  return false;
}

bool isFromOutside(const QEvent *event) {
  return !DraggedData::in(static_cast<const QDropEvent *>(event)->mimeData());
}

} // namespace

InputPause::InputPause() {
  while (QWidget *menu = QApplication::activePopupWidget())
    if (!menu->close()) break;
  QApplication::instance()->installEventFilter(this);
}

bool InputPause::eventFilter(QObject *watched, QEvent *event) {
  switch (event->type()) {
  case QEvent::Shortcut:
    return !isReachable(watched);
  case QEvent::MouseButtonPress:
  case QEvent::MouseButtonRelease:
  case QEvent::MouseButtonDblClick:
  case QEvent::MouseMove:
  case QEvent::Wheel:
  case QEvent::ContextMenu:
  case QEvent::KeyPress:
  case QEvent::KeyRelease:
  case QEvent::InputMethod:
  case QEvent::TouchBegin:
  case QEvent::TouchUpdate:
  case QEvent::TouchEnd:
  case QEvent::NativeGesture:
  case QEvent::TabletPress:
  case QEvent::TabletMove:
  case QEvent::TabletRelease:
    return watched->isWidgetType() && !isReachable(watched);
  case QEvent::DragEnter:
  case QEvent::DragMove:
  case QEvent::Drop:
    if (!watched->isWidgetType() || !isFromOutside(event)) return false;
    event->ignore();
    return true;
  default:
    return false;
  }
}

} // namespace tessary
