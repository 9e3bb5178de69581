#include "app/ContentController.h"
#include "app/DisplayText.h"
#include "app/ImageChanges.h"
#include "app/ImportFiles.h"
#include "app/MainQueue.h"
#include "app/MainWindowController.h"
#include "app/SidebarController.h"

#include <QTableView>
#include <QTreeView>

namespace tessary {

void MainWindowController::_setupDragging() {
  tableView_->setDragDropMode(QAbstractItemView::DragDrop);
  tableView_->setDropIndicatorShown(false); // the views frame what takes a drop
  outlineView_->setDragDropMode(QAbstractItemView::DropOnly);
  outlineView_->setDropIndicatorShown(false);
  constexpr int millisecondsToOpenFolder = 700;
  outlineView_->setAutoExpandDelay(millisecondsToOpenFolder);
  sidebarCtl_->setSourceTableView(tableView_);
  sidebarCtl_->setValidateDropBlock(
      [this](const EMU3DirectoryPtr &target, bool internal) { return _mayDrop(target, internal); });
  sidebarCtl_->setDropReceived([this](const EMU3DirectoryPtr &target, const std::vector<std::string> &urls,
                                      bool internal) { _dropReceived(target, urls, internal); });
}

bool MainWindowController::_mayDrop(const EMU3DirectoryPtr &target, bool internal) const {
  if (!filesystem_ || !mayBecomeChangeable(*filesystem_)) return false;
  return !internal || target != currentDirectory_;
}

void MainWindowController::_dropReceived(const EMU3DirectoryPtr &target, const std::vector<std::string> &urls,
                                         bool internal) {
  if (!filesystem_) return;
  _whenChangeable(
      [this, target, urls, internal] {
        if (internal)
          _copyDraggedFiles(target, urls);
        else
          _importDroppedFiles(target, urls);
      },
      [] {});
}

/// The rows come as the host files that were made of them.
void MainWindowController::_copyDraggedFiles(const EMU3DirectoryPtr &target,
                                             const std::vector<std::string> &urls) {
  if (!currentDirectory_ || target == currentDirectory_) return;
  std::vector<EMU3FilePtr> files;
  for (const std::string &url : urls) {
    const EMU3FilePtr file = contentCtl_->draggedFile(url);
    if (file && currentDirectory_->containsFile(file)) files.push_back(file);
  }
  if (!files.empty()) _doTransferFiles(files, currentDirectory_, target, false);
}

void MainWindowController::_importDroppedFiles(const EMU3DirectoryPtr &target,
                                               const std::vector<std::string> &urls) {
  filesystem_->ioQueue().async([controller = QPointer(this), filesystem = filesystem_, target, urls] {
    const ImportResult result = importFiles(*filesystem, urls, target);
    onMainQueue([controller, filesystem, target, result] {
      if (controller && filesystem == controller->filesystem_)
        controller->_droppedFilesImported(target, result);
    });
  });
}

/// Shows the folder dropped on; the outline's highlight stays where it was.
void MainWindowController::_droppedFilesImported(const EMU3DirectoryPtr &target, const ImportResult &result) {
  _updateDiskSpaceLabel();
  // Deleted while the files were waiting, the folder is nothing to show.
  if (_holdsDirectory(target)) _selectDirectory(target);
  sidebarCtl_->reload();
  if (result.imported > 0)
    _setStatus(QStringLiteral("Imported %1 file(s) into '%2'.")
                   .arg(QString::number(result.imported), displayText(target->name())));
  else
    _setStatus(
        QStringLiteral("Import failed: %1").arg(result.lastErrorText(QStringLiteral("Unknown error"))));
}

} // namespace tessary
