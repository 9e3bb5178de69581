#include "app/Beeper.h"
#include "app/FileTable.h"
#include "app/FolderOutline.h"
#include "app/MainWindowController.h"
#include "app/SidebarController.h"
#include "app/menus/ContextMenus.h"
#include "app/menus/MenuBarMenus.h"
#include "app/panel/BankContents.h"
#include "app/panel/BankContentsPanel.h"
#include "app/panel/BankEntryTable.h"
#include "app/panel/PanelSettings.h"

#include <QApplication>

namespace tessary {

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

void MainWindowController::_importFolder() {
  imports_->chooseFolder();
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

void MainWindowController::_toggleBankContents() {
  bankContents_->setShown(!bankContents_->isShown());
  menuBarMenus_->showBankContentsShown(bankContents_->isShown());
  PanelSettings::setShown(bankContents_->isShown());
}

// ---- Folders

void MainWindowController::_showFolderMenu(const QModelIndex &clicked, const QPoint &globalPosition) {
  clickedDirectory_ = clicked.isValid() ? sidebarCtl()->directoryAt(clicked) : nullptr;
  contextMenus_->showFolderMenu(globalPosition);
}

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

void MainWindowController::_exportFolder() {
  exports_->exportFolder(_targetFolder());
}

void MainWindowController::_renameCurrentFolder() {
  if (!filesystem()) return beep();
  folderCommands_->rename(currentDirectory());
}

void MainWindowController::_deleteCurrentFolder() {
  if (!filesystem()) return beep();
  folderCommands_->remove(currentDirectory());
}

void MainWindowController::_exportCurrentFolder() {
  exports_->exportFolder(currentDirectory());
}

/// Entries chosen in the panel cannot be changed, so keys meant for files do nothing while it has the
/// keyboard.
bool MainWindowController::_panelHasKeyboard() const {
  return panel_->isAncestorOf(QApplication::focusWidget());
}

void MainWindowController::_export() {
  _foldersHaveKeyboard() ? _exportCurrentFolder() : _exportSelected();
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

} // namespace tessary
