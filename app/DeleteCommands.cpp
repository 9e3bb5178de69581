#include "app/Alert.h"
#include "app/Beeper.h"
#include "app/ExportedFile.h"
#include "app/MainQueue.h"
#include "app/MainWindow.h"
#include "app/MainWindowController.h"
#include "app/PrivateFolder.h"
#include "filesystem/ExportNames.h"
#include "filesystem/SystemLog.h"

#include <QApplication>
#include <algorithm>
#include <utility>

namespace tessary {
namespace {

/// Deletes each file that could be backed up and returns the paths of the backups. A file that the folder
/// no longer holds is passed over. Files of one name share a backup.
std::vector<std::string> backUpAndDelete(EMU3Filesystem &filesystem, const std::vector<EMU3FilePtr> &files,
                                         const EMU3DirectoryPtr &directory) {
  std::vector<std::string> backups;
  const std::optional<std::string> folder = makePrivateFolder("EMU3Delete");
  if (!folder) return backups;
  for (const EMU3FilePtr &file : files) {
    std::optional<std::string> backup = exportIntoFolder(filesystem, file, directory, *folder);
    if (!backup) continue;
    backups.push_back(std::move(*backup));
    filesystem.deleteFile(file, directory);
  }
  return backups;
}

EMU3FilePtr firstFileNamed(const EMU3Directory &directory, const std::string &name) {
  const std::vector<EMU3FilePtr> files = directory.allFiles();
  const auto found =
      std::find_if(files.begin(), files.end(), [&](const EMU3FilePtr &file) { return file->name() == name; });
  return found == files.end() ? nullptr : *found;
}

/// Imports the backups under the names of the files they were made of. Returns for each one that could be
/// imported the folder's first file of that name.
std::vector<EMU3FilePtr> restoreBackups(EMU3Filesystem &filesystem, const std::vector<std::string> &backups,
                                        const EMU3DirectoryPtr &directory) {
  std::vector<EMU3FilePtr> restored;
  for (const std::string &backup : backups) {
    const std::string name = nameOfExportedFile(backup);
    EMU3Error error;
    if (!filesystem.restoreFileAtURL(backup, name, directory, &error)) {
      systemLog("Restore import failed: " + error.description());
      continue;
    }
    if (EMU3FilePtr file = firstFileNamed(*directory, name)) restored.push_back(std::move(file));
  }
  return restored;
}

} // namespace

// ---- Delete

void MainWindowController::_deleteSelected() {
  const std::vector<EMU3FilePtr> files = _selectedFiles();
  // The key for this command works whatever has the focus, a dialog too.
  if (files.empty() || QApplication::activeModalWidget()) return beep();
  if (filesystem_->isReadOnly()) return _runReadOnlyAlert();
  auto question =
      std::make_unique<Alert>(QStringLiteral("Delete %1 file(s)?").arg(QString::number(files.size())),
                              QStringLiteral("You can undo with Cmd+Z."), window_.get());
  question->addChoice(QStringLiteral("Delete"), Alert::DestructiveRole);
  question->addChoice(QStringLiteral("Cancel"), Alert::RejectRole);
  _ask(std::move(question), [this, files] { _deleteFiles(files, currentDirectory_, std::nullopt); });
}

void MainWindowController::_deleteFiles(const std::vector<EMU3FilePtr> &files,
                                        const EMU3DirectoryPtr &directory, CounterpartSide side) {
  filesystem_->ioQueue().async(
      [controller = QPointer(this), filesystem = filesystem_, files, directory, side] {
        const std::vector<std::string> backups = backUpAndDelete(*filesystem, files, directory);
        onMainQueue([controller, filesystem, backups, directory, side] {
          if (controller) controller->_filesDeleted(filesystem, backups, directory, side);
        });
      });
}

void MainWindowController::_filesDeleted(const EMU3FilesystemPtr &filesystem,
                                         const std::vector<std::string> &backups,
                                         const EMU3DirectoryPtr &directory, CounterpartSide side) {
  if (filesystem != filesystem_) return;
  _showChanges();
  _setStatus(QStringLiteral("Deleted %1 file(s).").arg(QString::number(backups.size())));
  if (backups.empty()) return;
  _registerDeleteStep(side, [this, backups, directory](UndoManager::Side counterpart) {
    _restoreFromBackup(backups, directory, counterpart);
  });
}

// ---- Undo and redo

void MainWindowController::_registerDeleteStep(CounterpartSide side, UndoManager::Call step) {
  // Held weakly: an image is closed when it is replaced, whatever could be undone.
  UndoManager::Call call = [this, filesystem = std::weak_ptr(filesystem_),
                            step = std::move(step)](UndoManager::Side counterpart) {
    if (filesystem.lock() != filesystem_) return beep();
    step(counterpart);
  };
  undoManager_.setActionName(QStringLiteral("Delete"));
  if (side)
    undoManager_.registerCounterpart(*side, std::move(call));
  else
    undoManager_.registerUndo(std::move(call));
}

void MainWindowController::_restoreFromBackup(const std::vector<std::string> &backups,
                                              const EMU3DirectoryPtr &toDirectory,
                                              UndoManager::Side counterpart) {
  if (!filesystem_ || filesystem_->isReadOnly()) return beep();
  filesystem_->ioQueue().async(
      [controller = QPointer(this), filesystem = filesystem_, backups, toDirectory, counterpart] {
        const std::vector<EMU3FilePtr> restored = restoreBackups(*filesystem, backups, toDirectory);
        onMainQueue([controller, filesystem, restored, toDirectory, counterpart] {
          if (controller) controller->_filesRestored(filesystem, restored, toDirectory, counterpart);
        });
      });
}

void MainWindowController::_filesRestored(const EMU3FilesystemPtr &filesystem,
                                          const std::vector<EMU3FilePtr> &restored,
                                          const EMU3DirectoryPtr &directory, UndoManager::Side side) {
  if (filesystem != filesystem_) return;
  _showChanges();
  if (!restored.empty()) {
    _registerDeleteStep(side, [this, restored, directory](UndoManager::Side counterpart) {
      _deleteRestoredFiles(restored, directory, counterpart);
    });
  }
  _setStatus(QStringLiteral("Restored %1 file(s).").arg(QString::number(restored.size())));
}

void MainWindowController::_deleteRestoredFiles(const std::vector<EMU3FilePtr> &files,
                                                const EMU3DirectoryPtr &fromDirectory,
                                                UndoManager::Side counterpart) {
  if (!filesystem_ || filesystem_->isReadOnly()) return beep();
  _deleteFiles(files, fromDirectory, counterpart);
}

} // namespace tessary
