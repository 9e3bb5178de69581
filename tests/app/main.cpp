#include "tessary/SystemLog.h"
#include "tests/support/TemporaryFolder.h"

#include <QApplication>
#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>

namespace {

/// The offscreen platform tells of everything a screen would do; that is no news.
void showMessage(QtMsgType, const QMessageLogContext &, const QString &message) {
  if (message.startsWith(QLatin1String("This plugin does not support")) ||
      message == QLatin1String("Unimplemented code."))
    return;
  std::fprintf(stderr, "%s\n", qPrintable(message));
}

/// The offscreen platform's own screen is smaller than the window likes to be.
void useLargeScreen(const std::string &folder) {
  if (qEnvironmentVariable("QT_QPA_PLATFORM", "offscreen") != QLatin1String("offscreen")) return;
  const std::string screens = folder + "/screens.json";
  std::ofstream(screens) << R"({"screens": [{"name": "large", "x": 0, "y": 0, "width": 1920, "height": 1080,
      "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})";
  qputenv("QT_QPA_PLATFORM", QByteArray::fromStdString("offscreen:configfile=" + screens));
}

} // namespace

// The window's tests need no display, and show the dialogs of the toolkit itself, which they can press.
int main(int argc, char **argv) {
  const tessary::test::TemporaryFolder settings; // the window and the toolkit's file panels store there
  useLargeScreen(settings.path());
  qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString(settings.path()));
  QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
  qInstallMessageHandler(showMessage);
  testing::InitGoogleTest(&argc, argv);
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  tessary::setSystemLogEcho(false);
  return RUN_ALL_TESTS();
}
