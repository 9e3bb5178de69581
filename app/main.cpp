#include "app/AppDelegate.h"
#include "app/Icons.h"
#include "app/StartWords.h"
#ifdef TESSARY_DBUS
#include "app/DesktopOpenRequests.h"
#endif

#include <QApplication>
#include <iostream>

int main(int argc, char **argv) {
  if (const auto answer = tessary::answerWithoutWindow(std::vector<std::string>(argv, argv + argc))) {
    std::cout << *answer << std::flush;
    return std::cout ? 0 : 1;
  }
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
