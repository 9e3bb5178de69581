#include "app/MainWindow.h"

#include <QCloseEvent>

namespace tessary {

bool MainWindow::event(QEvent *event) {
  const bool isHandled = QMainWindow::event(event);
  if (event->type() == QEvent::FontChange || event->type() == QEvent::ApplicationFontChange)
    emit textSizeChanged();
  return isHandled;
}

void MainWindow::closeEvent(QCloseEvent *event) {
  if (mayClose_ && !mayClose_()) return event->ignore();
  event->accept();
  emit closed();
}

} // namespace tessary
