#include "app/DeleteKeyFilter.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <utility>

namespace tessary {

DeleteKeyFilter::DeleteKeyFilter(std::function<void()> command, QObject *parent)
    : QObject(parent), command_(std::move(command)) {
  QCoreApplication::instance()->installEventFilter(this);
}

bool DeleteKeyFilter::eventFilter(QObject *watched, QEvent *event) {
  if (event->type() != QEvent::KeyPress) return QObject::eventFilter(watched, event);
  const auto *key = static_cast<QKeyEvent *>(event);
  const bool deletes = key->key() == Qt::Key_Backspace || key->key() == Qt::Key_Delete;
  if (!deletes || !key->modifiers().testFlag(Qt::ControlModifier)) return false;
  // An application filter is asked again for each object that a key press is passed on to. Swallowed at
  // the first one, it is passed on to none. A key held down repeats; the command does not.
  event->accept();
  if (!key->isAutoRepeat()) command_();
  return true;
}

} // namespace tessary
