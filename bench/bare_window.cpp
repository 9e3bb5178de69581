// A window of Qt's with nothing in it, as large as ours at its start: what ours is compared with.

#include "app/ReadyFile.h"

#include <QApplication>
#include <QMainWindow>

int main(int argc, char **argv) {
  QApplication application(argc, argv);
  QMainWindow window;
  window.resize(1200, 700);
  window.show();
  tessary::writeReadyFile(&window);
  return QApplication::exec();
}
