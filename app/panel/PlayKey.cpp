#include "app/panel/PlayKey.h"

#include <QApplication>
#include <QKeyEvent>
#include <QWidget>

namespace tessary {

void PlayKey::watch(QWidget *view) {
  view->installEventFilter(this);
}

bool PlayKey::eventFilter(QObject *watched, QEvent *event) {
  if (!isOn_ || event->type() != QEvent::KeyPress) return QObject::eventFilter(watched, event);
  const auto *const key = static_cast<QKeyEvent *>(event);
  constexpr Qt::KeyboardModifiers others = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
  const bool isTyped =
      !key->text().isEmpty() && key->text().front().isPrint() && !(key->modifiers() & others);
  if (!isTyped) {
    sinceTyped_.invalidate();
    return false;
  }
  const bool goesOn = sinceTyped_.isValid() && !sinceTyped_.hasExpired(QApplication::keyboardInputInterval());
  if (key->key() != Qt::Key_Space || goesOn) {
    sinceTyped_.start();
    return false;
  }
  if (key->modifiers() != Qt::NoModifier) return false;
  if (!key->isAutoRepeat()) emit pressed();
  return true;
}

} // namespace tessary
