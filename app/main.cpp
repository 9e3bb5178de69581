#include "app/AppDelegate.h"
#include "app/Icons.h"
#ifdef TESSARY_DBUS
#include "app/DesktopOpenRequests.h"
#endif

#include <QApplication>

int main(int argc, char **argv) {
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Tessary"));
  QApplication::setApplicationVersion(QStringLiteral(TESSARY_VERSION));
  QApplication::setDesktopFileName(QStringLiteral("com.tessary.Tessary"));
  QApplication::setWindowIcon(tessary::applicationIcon());
  tessary::AppDelegate delegate(std::vector<std::string>(argv, argv + argc));
  delegate.applicationDidFinishLaunching();
#ifdef TESSARY_DBUS
  tessary::DesktopOpenRequests requests(delegate);
  QObject::connect(&delegate, &tessary::AppDelegate::terminating, &requests,
                   &tessary::DesktopOpenRequests::stop);
#endif
  QApplication::exec();
  return 0;
}
