#include "app/AppDelegate.h"

#include "app/AboutPanel.h"
#include "app/Colors.h"
#include "app/DisplayText.h"
#include "app/MainWindow.h"
#include "app/MainWindowController.h"
#include "app/WorkQuestions.h"
#include "app/menus/WindowMenu.h"
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
  windows_ = std::make_unique<WindowList>();
  connect(windows_.get(), &WindowList::windowOpened, this, &AppDelegate::_buildMenuBar);
  connect(windows_.get(), &WindowList::lastWindowClosed, this, [this] {
    if (applicationShouldTerminateAfterLastWindowClosed()) end();
  });
  windows_->openWindow();
  for (std::size_t i = 1; i < arguments_.size(); ++i) {
    std::error_code ignored;
    const std::filesystem::path image = std::filesystem::absolute(arguments_[i], ignored);
    if (std::filesystem::exists(image, ignored)) windows_->openImage(image.string());
  }
}

bool AppDelegate::application(const std::string &openFile) {
  windows_->openImage(openFile);
  return true;
}

void AppDelegate::refuse(const QString &uri) {
  mainWC()->openingFailed(
      QStringLiteral("%1: Not a file of this computer").arg(displayText(uri.toStdString())));
}

void AppDelegate::activate() {
  mainWC()->bringToFront();
}

void AppDelegate::_buildMenuBar(MainWindowController *window) {
  auto *menuBar = new QMenuBar;
  QMenu *menu = menuBar->addMenu(QStringLiteral("Tessary"));
  QAction *about =
      menu->addAction(QStringLiteral("About Tessary"), this, [this, window] { _showAbout(window); });
  about->setMenuRole(QAction::AboutRole);
  menu->addSeparator();
  QAction *quit = menu->addAction(QStringLiteral("Quit Tessary"), this, &AppDelegate::terminate);
  quit->setMenuRole(QAction::QuitRole);
  quit->setShortcut(Qt::CTRL | Qt::Key_Q);
  const std::vector<QMenu *> commands = window->menus();
  for (QMenu *each : commands)
    menuBar->addMenu(each);
  menuBar->insertMenu(commands.back()->menuAction(), addWindowMenu(menuBar, *windows_, *window));
  window->setMenuBar(menuBar);
}

void AppDelegate::_openImage() {
  mainWC()->_openImage();
}

void AppDelegate::_showAbout(const MainWindowController *window) {
  AboutPanel(window->window()).exec();
}

// ---- Ending

void AppDelegate::terminate() {
  if (isEnding_) return;
  if (question_) return question_->activateWindow();
  const std::vector<MainWindowController *> working = windows_->working();
  working.empty() ? end() : askWhetherToEnd(working);
}

void AppDelegate::askWhetherToEnd(const std::vector<MainWindowController *> &working) {
  QStringList images;
  for (const MainWindowController *window : working)
    images += window->imageName();
  mainWC()->bringToFront();
  // Above an alert that is up, which would take no answer otherwise.
  QWidget *above = QApplication::activeModalWidget();
  std::unique_ptr<Alert> question = quittingQuestion(images, above ? above : mainWC()->window());
  connect(question.get(), &QDialog::finished, this, [this, asked = question.get()] {
    const WorkAnswer answer = workAnswer(asked->chosen());
    if (answer == WorkAnswer::stop) windows_->stopWork();
    if (answer != WorkAnswer::cancel) end();
  });
  question_ = question.release();
  question_->setAttribute(Qt::WA_DeleteOnClose);
  question_->setWindowModality(Qt::ApplicationModal);
  question_->show();
}

/// The user has agreed, or there was nothing to ask about: no alert is raised any more, and the event loop
/// ends as soon as all queued work on images has run.
void AppDelegate::end() {
  isEnding_ = true;
  emit terminating();
  for (MainWindowController *window : windows_->windows())
    window->prepareToQuit();
  idleCheck_.start();
  exitWhenIdle();
}

void AppDelegate::exitWhenIdle() {
  if (SerialQueue::pendingBlocks() > 0) return;
  idleCheck_.stop();
  QCoreApplication::exit(0);
}

bool AppDelegate::eventFilter(QObject *watched, QEvent *event) {
  if (watched != QApplication::instance() || !windows_) return QObject::eventFilter(watched, event);
  if (event->type() == QEvent::FileOpen) {
    const QString path = static_cast<QFileOpenEvent *>(event)->file();
    return application(QFile::encodeName(path).toStdString());
  }
  if (event->type() == QEvent::ApplicationPaletteChange) makeSelectionsReadable();
  if (event->type() == QEvent::Quit) {
    terminate();
    event->setAccepted(isEnding_); // not while the user is asked
    return true;
  }
  return false;
}

} // namespace tessary
