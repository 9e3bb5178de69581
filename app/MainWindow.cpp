#include "app/MainWindow.h"

#include <QCloseEvent>

namespace tessary {

void MainWindow::closeEvent(QCloseEvent *event) {
  event->accept();
  emit closed();
}

} // namespace tessary
