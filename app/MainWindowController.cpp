#include "app/MainWindowController.h"

#include "app/Documents.h"
#include "app/FileTable.h"
#include "app/FolderOutline.h"
#include "app/MainWindow.h"
#include "app/Spinner.h"
#include "app/StatusBar.h"
#include "app/WindowList.h"
#include "app/WindowPlace.h"
#include "app/WorkQuestions.h"
#include "app/menus/CommandItems.h"
#include "app/menus/ContextMenus.h"
#include "app/menus/MenuBarMenus.h"
#include "app/panel/BankContents.h"

#include <QDesktopServices>
#include <utility>

namespace tessary {

MainWindowController::MainWindowController(WindowList &windows)
    : windows_(windows), window_(std::make_unique<MainWindow>()) {
  _buildUI();
  window_->setMayClose([this] { return _mayClose(); });
  connect(window_.get(), &MainWindow::closed, this, &MainWindowController::windowClosed);
  connect(undoManager(), &UndoManager::changed, this, &MainWindowController::_validateItems);
  connect(image_, &ImageWork::earlierWorkEnded, this, &MainWindowController::_earlierWorkEnded);
  connect(check_, &ImageCheck::changed, this, &MainWindowController::_validateItems);
  browser_->showTitle();
  _tellThatNoneIsMounted();
  _setupKeyboardShortcuts();
}

MainWindowController::~MainWindowController() {
  undoManager()->clear(); // the copies for undo go with it
}

QTreeView *MainWindowController::outlineView() const {
  return browser_->views().outline;
}

QTableView *MainWindowController::tableView() const {
  return browser_->views().table;
}

StatusLabel *MainWindowController::statusLabel() const {
  return browser_->views().statusBar->statusLabel();
}

StatusLabel *MainWindowController::diskSpaceLabel() const {
  return browser_->views().statusBar->diskSpaceLabel();
}

Spinner *MainWindowController::spinner() const {
  return browser_->views().statusBar->spinner();
}

std::vector<QMenu *> MainWindowController::menus() const {
  return menuBarMenus_->menus();
}

void MainWindowController::_validateItems() {
  items_->validate();
}

void MainWindowController::showWindow() {
  window_->show();
}

void MainWindowController::bringToFront() {
  if (dialogs_->isQuitting()) return;
  window_->setWindowState(window_->windowState() & ~Qt::WindowMinimized);
  window_->raise();
  window_->activateWindow();
}

void MainWindowController::prepareToQuit() {
  if (!dialogs_->isQuitting()) rememberPlace(*window_);
  dialogs_->quit();
  bankContents_->stop();
  window_->hide();
}

void MainWindowController::_newWindow() {
  windows_.openWindow();
}

void MainWindowController::_closeWindow() {
  window_->close();
}

bool MainWindowController::_mayClose() {
  if (closingIsAgreed_ || dialogs_->isQuitting() || !isWorking()) return true;
  const auto answered = [this](int button) {
    const WorkAnswer answer = workAnswer(button);
    if (answer == WorkAnswer::stop) stopWork();
    if (answer != WorkAnswer::cancel) drags_->whenNothingIsExported([this] { _close(); });
  };
  dialogs_->choose(closingQuestion(imageName(), window_.get()), answered, Dialogs::About::window);
  return false;
}

/// The user has agreed to it, and no other program waits for what was dragged to it: until then the bar, with
/// its Stop, is all that the mouse reaches, in whatever window.
void MainWindowController::_close() {
  if (std::exchange(closingIsAgreed_, true)) return;
  window_->close();
}

// ---- Help

void MainWindowController::_showUserGuide() {
  showDocument(QStringLiteral("user-guide.md"));
}

void MainWindowController::_showSurprises() {
  showDocument(QStringLiteral("what-may-surprise.md"));
}

void MainWindowController::showDocument(const QString &fileName) {
  const QUrl document = documentUrl(fileName);
  if (document.isEmpty())
    dialogs_->tell(tr("Cannot Open Guide"), tr("%1 is not installed.").arg(fileName));
  else if (!QDesktopServices::openUrl(document))
    dialogs_->tell(tr("Cannot Open Guide"), tr("No program opens %1.").arg(document.toLocalFile()));
}

} // namespace tessary
