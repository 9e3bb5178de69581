#include "filesystem/SystemLog.h"
#include "tests/support/TemporaryFolder.h"

#include <QApplication>
#include <cstdio>
#include <gtest/gtest.h>

namespace {

/// The offscreen platform tells of everything a screen would do; that is no news.
void showMessage(QtMsgType, const QMessageLogContext &, const QString &message) {
  if (message.startsWith(QLatin1String("This plugin does not support")) ||
      message == QLatin1String("Unimplemented code."))
    return;
  std::fprintf(stderr, "%s\n", qPrintable(message));
}

} // namespace

// The window's tests need no display, and show the dialogs of the toolkit itself, which they can press.
int main(int argc, char **argv) {
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  const tessary::test::TemporaryFolder settings; // the toolkit's file panels store what they showed last
  qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString(settings.path()));
  QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
  qInstallMessageHandler(showMessage);
  testing::InitGoogleTest(&argc, argv);
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  tessary::setSystemLogEcho(false);
  return RUN_ALL_TESTS();
}
