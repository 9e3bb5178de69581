#include "app/AppDelegate.h"

#include "app/AboutPanel.h"
#include "app/Colors.h"
#include "app/DisplayText.h"
#include "app/MainWindow.h"
#include "app/MainWindowController.h"
#include "tessary/SerialQueue.h"

#include <QApplication>
#include <QFile>
#include <QFileOpenEvent>
#include <QMenuBar>
#include <filesystem>
#include <system_error>
#include <utility>

namespace tessary {

AppDelegate::AppDelegate(std::vector<std::string> arguments) : arguments_(std::move(arguments)) {
  // Closing the window must not end the event loop over work that is still queued.
  QApplication::setQuitOnLastWindowClosed(false);
  QApplication::instance()->installEventFilter(this);
  constexpr int millisecondsBetweenChecks = 10;
  idleCheck_.setInterval(millisecondsBetweenChecks);
  connect(&idleCheck_, &QTimer::timeout, this, &AppDelegate::exitWhenIdle);
}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching() {
  makeSelectionsReadable();
  mainWC_ = std::make_unique<MainWindowController>();
  connect(mainWC_.get(), &MainWindowController::windowClosed, this, [this] {
    if (applicationShouldTerminateAfterLastWindowClosed()) terminate();
  });
  _buildMenuBar();
  mainWC_->showWindow();
  if (arguments_.size() < 2) return;
  std::error_code ignored;
  const std::filesystem::path image = std::filesystem::absolute(arguments_[1], ignored);
  if (std::filesystem::exists(image, ignored)) mainWC_->openImageAtURL(image.string());
}

bool AppDelegate::application(const std::string &openFile) {
  mainWC_->openImageAtURL(openFile);
  return true;
}

void AppDelegate::refuse(const QString &uri) {
  mainWC_->openingFailed(
      QStringLiteral("%1: Not a file of this computer").arg(displayText(uri.toStdString())));
}

void AppDelegate::activate() {
  mainWC_->bringToFront();
}

void AppDelegate::_buildMenuBar() {
  auto *menuBar = new QMenuBar;
  QMenu *menu = menuBar->addMenu(QStringLiteral("Tessary"));
  QAction *about = menu->addAction(QStringLiteral("About Tessary"), this, &AppDelegate::_showAbout);
  about->setMenuRole(QAction::AboutRole);
  menu->addSeparator();
  QAction *quit = menu->addAction(QStringLiteral("Quit Tessary"), this, &AppDelegate::terminate);
  quit->setMenuRole(QAction::QuitRole);
  quit->setShortcut(Qt::CTRL | Qt::Key_Q);
  for (QMenu *commands : mainWC_->menus())
    menuBar->addMenu(commands);
  mainWC_->setMenuBar(menuBar);
}

void AppDelegate::_openImage() {
  mainWC_->_openImage();
}

void AppDelegate::_showAbout() {
  AboutPanel(mainWC_->window()).exec();
}

void AppDelegate::terminate() {
  emit terminating();
  mainWC_->prepareToQuit();
  idleCheck_.start();
  exitWhenIdle();
}

void AppDelegate::exitWhenIdle() {
  if (SerialQueue::pendingBlocks() > 0) return;
  idleCheck_.stop();
  QCoreApplication::exit(0);
}

bool AppDelegate::eventFilter(QObject *watched, QEvent *event) {
  if (watched != QApplication::instance() || !mainWC_) return QObject::eventFilter(watched, event);
  if (event->type() == QEvent::FileOpen) {
    const QString path = static_cast<QFileOpenEvent *>(event)->file();
    return application(QFile::encodeName(path).toStdString());
  }
  if (event->type() == QEvent::ApplicationPaletteChange) makeSelectionsReadable();
  if (event->type() == QEvent::Quit) {
    terminate();
    return true;
  }
  return false;
}

} // namespace tessary
