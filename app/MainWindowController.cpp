#include "app/MainWindowController.h"

#include "app/Beeper.h"
#include "app/ContentController.h"
#include "app/Documents.h"
#include "app/FileTable.h"
#include "app/FolderOutline.h"
#include "app/MainWindow.h"
#include "app/SidebarController.h"
#include "app/Spinner.h"
#include "app/StatusBar.h"
#include "app/WindowList.h"
#include "app/WindowPlace.h"
#include "app/WorkQuestions.h"
#include "app/panel/BankContents.h"
#include "app/panel/BankContentsPanel.h"
#include "app/panel/BankEntryTable.h"

#include <QApplication>
#include <QDesktopServices>
#include <utility>

namespace tessary {

MainWindowController::MainWindowController(WindowList &windows)
    : windows_(windows), window_(std::make_unique<MainWindow>()) {
  _buildUI();
  window_->setMayClose([this] { return _mayClose(); });
  connect(window_.get(), &MainWindow::closed, this, &MainWindowController::windowClosed);
  connect(undoManager(), &UndoManager::changed, this, &MainWindowController::_validateItems);
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
  dialogs_->ask(closingQuestion(imageName(), window_.get()), [this] {
    closingIsAgreed_ = true;
    window_->close();
  });
  return false;
}

// ---- Files

void MainWindowController::_exportSelected() {
  exports_->exportFiles(_selectedFiles());
}

void MainWindowController::_exportSamples() {
  exports_->exportSamples(_selectedFiles());
}

void MainWindowController::_importFile() {
  imports_->choose();
}

void MainWindowController::_deleteSelected() {
  deletions_->deleteFiles(_selectedFiles());
}

void MainWindowController::_undo() {
  undoManager()->canUndo() ? undoManager()->undo() : beep();
}

void MainWindowController::_redo() {
  undoManager()->canRedo() ? undoManager()->redo() : beep();
}

void MainWindowController::_renameSelected() {
  fileCommands_->rename(_selectedFiles());
}

void MainWindowController::_copyToDir() {
  transfers_->transfer(_selectedFiles(), false);
}

void MainWindowController::_moveToDir() {
  transfers_->transfer(_selectedFiles(), true);
}

void MainWindowController::_tableDoubleClick() {
  fileCommands_->showInformation(_selectedFiles());
}

void MainWindowController::_selectAll() {
  if (panel_->table()->hasFocus()) return panel_->table()->selectAll();
  tableView()->selectAll();
  tableView()->setFocus();
}

void MainWindowController::_find() {
  browser_->find(false);
}

void MainWindowController::_findEverywhere() {
  browser_->find(true);
}

// ---- Folders

/// The folder that Rename Folder and Delete Folder act on; null when there is none.
EMU3DirectoryPtr MainWindowController::_targetFolder() const {
  return clickedDirectory_ ? clickedDirectory_ : sidebarCtl()->selectedDirectory();
}

bool MainWindowController::_foldersHaveKeyboard() const {
  return outlineView()->hasFocus();
}

void MainWindowController::_newFolder() {
  if (!filesystem()) return beep();
  folderCommands_->create(currentDirectory() ? currentDirectory() : filesystem()->rootDirectory());
}

void MainWindowController::_renameFolder() {
  if (!filesystem()) return beep();
  folderCommands_->rename(_targetFolder());
}

void MainWindowController::_deleteFolder() {
  if (!filesystem()) return beep();
  folderCommands_->remove(_targetFolder());
}

void MainWindowController::_renameCurrentFolder() {
  if (!filesystem()) return beep();
  folderCommands_->rename(currentDirectory());
}

void MainWindowController::_deleteCurrentFolder() {
  if (!filesystem()) return beep();
  folderCommands_->remove(currentDirectory());
}

/// What is chosen there is nothing that could be changed, and not what a key for the files is meant for.
bool MainWindowController::_panelHasKeyboard() const {
  return panel_->isAncestorOf(QApplication::focusWidget());
}

void MainWindowController::_rename() {
  if (_panelHasKeyboard()) return beep();
  _foldersHaveKeyboard() ? _renameCurrentFolder() : _renameSelected();
}

void MainWindowController::_delete() {
  if (_panelHasKeyboard()) return beep();
  _foldersHaveKeyboard() ? _deleteCurrentFolder() : _deleteSelected();
}

void MainWindowController::_showRoot() {
  filesystem() ? browser_->showRoot() : beep();
}

void MainWindowController::_showParent() {
  browser_->parentOfFolder() ? browser_->showParent() : beep();
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
