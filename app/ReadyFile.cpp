#include "app/ReadyFile.h"

#include <QCoreApplication>
#include <QEvent>
#include <QFile>
#include <QTimer>
#include <QWidget>
#include <QWindow>

namespace tessary {

void writeReadyFile(QWidget *window) {
  const QString path = qEnvironmentVariable("TESSARY_READY_FILE");
  if (path.isEmpty()) return;
  if (!window->windowHandle() || !window->windowHandle()->isExposed()) {
    // Not on the screen yet; what is painted then is what is to be seen now.
    constexpr int millisecondsToNextTry = 20;
    return QTimer::singleShot(millisecondsToNextTry, window, [window] { writeReadyFile(window); });
  }
  QEvent paintWhatChanged(QEvent::UpdateRequest);
  QCoreApplication::sendEvent(window, &paintWhatChanged);
  QTimer::singleShot(0, window, [path] { QFile(path).open(QIODevice::WriteOnly); });
}

} // namespace tessary
