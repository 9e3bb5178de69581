#include "filesystem/SystemLog.h"

#include <QApplication>
#include <gtest/gtest.h>

// The window's tests need no display, and show the dialogs of the toolkit itself, which they can press.
int main(int argc, char **argv) {
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
  testing::InitGoogleTest(&argc, argv);
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  tessary::setSystemLogEcho(false);
  return RUN_ALL_TESTS();
}
