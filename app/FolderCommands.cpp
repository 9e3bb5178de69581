#include "app/Beeper.h"
#include "app/ContentController.h"
#include "app/DisplayText.h"
#include "app/MainWindow.h"
#include "app/MainWindowController.h"
#include "app/NameAlert.h"
#include "app/SidebarController.h"

#include <QTreeView>
#include <utility>

namespace tessary {
namespace {

QString deletionWarning(std::uint64_t fileCount) {
  if (fileCount == 0)
    return QStringLiteral("This will permanently delete the empty folder. This cannot be undone.");
  return QStringLiteral(
             "This will permanently delete the folder and all %1 file(s) inside it. This cannot be undone.")
      .arg(QString::number(fileCount));
}

} // namespace

/// The folder that Rename Folder and Delete Folder act on; null when there is none or it is the root.
EMU3DirectoryPtr MainWindowController::_targetFolder() const {
  EMU3DirectoryPtr target = clickedDirectory_ ? clickedDirectory_ : sidebarCtl_->selectedDirectory();
  return filesystem_ && target == filesystem_->rootDirectory() ? nullptr : target;
}

// ---- New Folder

void MainWindowController::_newFolder() {
  if (!filesystem_) return beep();
  const EMU3DirectoryPtr parent = currentDirectory_ ? currentDirectory_ : filesystem_->rootDirectory();
  _whenChangeable([this, parent] { _askForNewFolder(parent); }, [this] { _runReadOnlyAlert(); });
}

void MainWindowController::_askForNewFolder(const EMU3DirectoryPtr &parent) {
  auto question = std::make_unique<NameAlert>(
      QStringLiteral("New Folder"),
      QStringLiteral("Create a new folder inside '%1' (max 15 characters):").arg(displayText(parent->name())),
      QStringLiteral("Create"), window_.get());
  question->setPlaceholder(QStringLiteral("Folder name"));
  const NameAlert *answer = question.get();
  _ask(std::move(question), [this, answer, parent] {
    const QString name = answer->trimmedName();
    if (!name.isEmpty()) _createFolder(name.toStdString(), parent);
  });
}

void MainWindowController::_createFolder(const std::string &name, const EMU3DirectoryPtr &parent) {
  _runChange([this, name, parent](EMU3Filesystem &filesystem, EMU3Error *error) -> Completion {
    if (!filesystem.createDirectoryNamed(name, parent, error)) return {};
    return [this, folder = parent->subdirectories().back(), parent] { _folderCreated(folder, parent); };
  });
}

void MainWindowController::_folderCreated(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &parent) {
  sidebarCtl_->reload();
  outlineView_->expand(sidebarCtl_->indexOf(parent));
  sidebarCtl_->selectRowOf(folder);
  _updateDiskSpaceLabel();
  _setStatus(QStringLiteral("Created folder '%1'.").arg(displayText(folder->name())));
}

// ---- Delete Folder

void MainWindowController::_deleteFolder() {
  if (!filesystem_) return beep();
  _whenChangeable([this, folder = _targetFolder()] { folder ? _askToDeleteFolder(folder) : beep(); },
                  [this] { _runReadOnlyAlert(); });
}

void MainWindowController::_askToDeleteFolder(const EMU3DirectoryPtr &folder) {
  const EMU3DirectoryPtr above = folder->parent();
  const EMU3DirectoryPtr parent = above ? above : filesystem_->rootDirectory();
  auto question =
      std::make_unique<Alert>(QStringLiteral("Delete folder '%1'?").arg(displayText(folder->name())),
                              deletionWarning(folder->totalFileCount()), window_.get());
  question->addChoice(QStringLiteral("Delete"), Alert::DestructiveRole);
  question->addChoice(QStringLiteral("Cancel"), Alert::RejectRole);
  _ask(std::move(question), [this, folder, parent] { _removeFolder(folder, parent); });
}

void MainWindowController::_removeFolder(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &parent) {
  _runChange([this, folder, parent](EMU3Filesystem &filesystem, EMU3Error *error) -> Completion {
    const std::string name = folder->name();
    if (!filesystem.deleteDirectory(folder, parent, error)) return {};
    return [this, name, parent] { _folderDeleted(name, parent); };
  });
}

void MainWindowController::_folderDeleted(const std::string &name, const EMU3DirectoryPtr &parent) {
  if (currentDirectory_ && !_holdsDirectory(currentDirectory_)) currentDirectory_ = parent;
  sidebarCtl_->reload();
  if (!sidebarCtl_->selectRowOf(parent)) sidebarCtl_->selectFirstRow();
  _showSelectedFolder();
  _updateDiskSpaceLabel();
  _setStatus(QStringLiteral("Deleted folder '%1'.").arg(displayText(name)));
}

/// A row that was highlighted before reports no selection, and without any row nothing can be selected.
void MainWindowController::_showSelectedFolder() {
  const EMU3DirectoryPtr selected = sidebarCtl_->selectedDirectory();
  const EMU3DirectoryPtr folder = selected ? selected : currentDirectory_;
  if (folder != contentCtl_->directory()) _selectDirectory(folder);
}

// ---- Rename Folder

void MainWindowController::_renameFolder() {
  const EMU3DirectoryPtr folder = _targetFolder();
  if (!filesystem_ || !folder) return beep();
  _whenChangeable([this, folder] { _askForNameOf(folder); }, beep);
}

void MainWindowController::_askForNameOf(const EMU3DirectoryPtr &folder) {
  auto question = std::make_unique<NameAlert>(QStringLiteral("Rename Folder"),
                                              QStringLiteral("Enter a new name (max 15 characters):"),
                                              QStringLiteral("Rename"), window_.get());
  question->setName(QString::fromStdString(folder->name()));
  const NameAlert *answer = question.get();
  _ask(std::move(question), [this, answer, folder] {
    const std::string name = answer->trimmedName().toStdString();
    if (!name.empty()) _setFolderName(folder, name);
  });
}

void MainWindowController::_setFolderName(const EMU3DirectoryPtr &folder, const std::string &name) {
  _runChange([this, folder, name](EMU3Filesystem &filesystem, EMU3Error *error) -> Completion {
    if (folder->name() == name || !filesystem.renameDirectory(folder, name, error)) return {};
    return [this, folder, renamed = folder->name()] {
      sidebarCtl_->reloadItem(folder);
      _setStatus(QStringLiteral("Renamed to '%1'.").arg(displayText(renamed)));
    };
  });
}

} // namespace tessary
