#include "app/AppDelegate.h"
#include "app/Icons.h"

#include <QApplication>

int main(int argc, char **argv) {
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Tessary"));
  QApplication::setApplicationVersion(QStringLiteral(TESSARY_VERSION));
  QApplication::setWindowIcon(tessary::applicationIcon());
  tessary::AppDelegate delegate(std::vector<std::string>(argv, argv + argc));
  delegate.applicationDidFinishLaunching();
  QApplication::exec();
  return 0;
}
