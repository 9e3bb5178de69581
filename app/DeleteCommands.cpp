#include "app/Alert.h"
#include "app/Beeper.h"
#include "app/DeletedFiles.h"
#include "app/DisplayText.h"
#include "app/MainQueue.h"
#include "app/MainWindow.h"
#include "app/MainWindowController.h"
#include "app/PlatformTexts.h"

#include <QApplication>
#include <utility>

namespace tessary {

// ---- Delete

void MainWindowController::_deleteSelected() {
  const std::vector<EMU3FilePtr> files = _selectedFiles();
  // The key for this command works whatever has the focus, a dialog too.
  if (files.empty() || QApplication::activeModalWidget()) return beep();
  _whenChangeable([this, files] { _askToDelete(files); }, [this] { _runReadOnlyAlert(); });
}

void MainWindowController::_askToDelete(const std::vector<EMU3FilePtr> &files) {
  auto question =
      std::make_unique<Alert>(QStringLiteral("Delete %1 file(s)?").arg(QString::number(files.size())),
                              QStringLiteral("You can undo with %1.").arg(undoKeyText()), window_.get());
  question->addChoice(QStringLiteral("Delete"), Alert::DestructiveRole);
  question->addChoice(QStringLiteral("Cancel"), Alert::RejectRole);
  _ask(std::move(question), [this, files] { _deleteFiles(files, currentDirectory_, std::nullopt); });
}

void MainWindowController::_deleteFiles(const std::vector<EMU3FilePtr> &files,
                                        const EMU3DirectoryPtr &directory, CounterpartSide side) {
  filesystem_->ioQueue().async(
      [controller = QPointer(this), filesystem = filesystem_, files, directory, side] {
        const DeletionResult result = backUpAndDelete(*filesystem, files, directory);
        onMainQueue([controller, filesystem, result, directory, side] {
          if (controller) controller->_filesDeleted(filesystem, result, directory, side);
        });
      });
}

void MainWindowController::_filesDeleted(const EMU3FilesystemPtr &filesystem, const DeletionResult &result,
                                         const EMU3DirectoryPtr &directory, CounterpartSide side) {
  if (filesystem != filesystem_) return;
  _showDeleted(result.deleted.size());
  if (!result.deleted.empty()) {
    UndoManager::Call step = _restoringStep(result.deleted, directory);
    if (side)
      undoManager_.registerCounterpart(*side, std::move(step));
    else
      undoManager_.registerUndo(std::move(step));
  }
  _askWhetherForGood({result.incomplete, directory, result.deleted.size()});
}

void MainWindowController::_showDeleted(std::size_t count) {
  _showChanges();
  _setStatus(QStringLiteral("Deleted %1 file(s).").arg(QString::number(count)));
}

// ---- Delete for good

/// Asks about the first of the files; when that is done with, about the next.
void MainWindowController::_askWhetherForGood(const IncompleteFiles &incomplete) {
  if (incomplete.files.empty() || quitting_) return;
  if (const QDialog *dialog = _dialogThatIsUp()) {
    // What the user has turned to meanwhile comes first.
    connect(
        dialog, &QDialog::finished, this,
        [this, incomplete, filesystem = filesystem_] {
          if (filesystem == filesystem_) _askWhetherForGood(incomplete);
        },
        Qt::QueuedConnection);
    return;
  }
  const EMU3FilePtr file = incomplete.files.front();
  IncompleteFiles others = incomplete;
  others.files.erase(others.files.begin());
  auto question = std::make_unique<Alert>(
      QStringLiteral("Delete “%1” for good?").arg(displayText(file->name())),
      QStringLiteral("Its contents are incomplete, so it cannot be brought back."), window_.get());
  question->addChoice(QStringLiteral("Delete"), Alert::DestructiveRole);
  question->addChoice(QStringLiteral("Cancel"), Alert::RejectRole);
  _ask(
      std::move(question), [this, file, others] { _deleteForGood(file, others); },
      [this, others] { _askWhetherForGood(others); });
}

void MainWindowController::_deleteForGood(const EMU3FilePtr &file, const IncompleteFiles &others) {
  filesystem_->ioQueue().async([controller = QPointer(this), filesystem = filesystem_, file, others] {
    const bool isGone = deleteForGood(*filesystem, file, others.directory);
    onMainQueue([controller, filesystem, isGone, others] {
      if (controller) controller->_fileDeletedForGood(filesystem, isGone, others);
    });
  });
}

void MainWindowController::_fileDeletedForGood(const EMU3FilesystemPtr &filesystem, bool isGone,
                                               IncompleteFiles others) {
  if (filesystem != filesystem_) return;
  if (isGone) ++others.deletedBefore;
  _showDeleted(others.deletedBefore);
  _askWhetherForGood(others);
}

// ---- Undo and redo

/// The step does its work while the image is mounted that it was made for, and beeps otherwise.
UndoManager::Call MainWindowController::_deleteStep(UndoManager::Call work) {
  undoManager_.setActionName(QStringLiteral("Delete"));
  // Held weakly: an image is closed when it is replaced, whatever could be undone.
  return
      [this, filesystem = std::weak_ptr(filesystem_), work = std::move(work)](UndoManager::Side counterpart) {
        if (!filesystem_ || filesystem.lock() != filesystem_) return beep();
        work(counterpart);
      };
}

UndoManager::Call MainWindowController::_restoringStep(const std::vector<DeletedFile> &files,
                                                       const EMU3DirectoryPtr &toDirectory) {
  return _deleteStep([this, files, toDirectory](UndoManager::Side counterpart) {
    _restoreFromBackup(files, toDirectory, counterpart);
  });
}

void MainWindowController::_restoreFromBackup(const std::vector<DeletedFile> &files,
                                              const EMU3DirectoryPtr &toDirectory,
                                              UndoManager::Side counterpart) {
  _whenChangeable([this, files, toDirectory, counterpart] { _restoreFiles(files, toDirectory, counterpart); },
                  [this, files, toDirectory] {
                    undoManager_.registerCounterpart(UndoManager::Side::Undo,
                                                     _restoringStep(files, toDirectory));
                    beep();
                  });
}

void MainWindowController::_restoreFiles(const std::vector<DeletedFile> &files,
                                         const EMU3DirectoryPtr &toDirectory, UndoManager::Side counterpart) {
  filesystem_->ioQueue().async(
      [controller = QPointer(this), filesystem = filesystem_, files, toDirectory, counterpart] {
        const RestorationResult result = restoreFiles(*filesystem, files, toDirectory);
        onMainQueue([controller, filesystem, result, toDirectory, counterpart] {
          if (controller) controller->_filesRestored(filesystem, result, toDirectory, counterpart);
        });
      });
}

void MainWindowController::_filesRestored(const EMU3FilesystemPtr &filesystem,
                                          const RestorationResult &result, const EMU3DirectoryPtr &directory,
                                          UndoManager::Side counterpart) {
  if (filesystem != filesystem_) return;
  _showChanges();
  if (!result.failed.empty()) _keepUndoable(result, directory);
  if (!result.restored.empty()) {
    undoManager_.registerCounterpart(
        counterpart, _deleteStep([this, restored = result.restored, directory](UndoManager::Side side) {
          _deleteRestoredFiles(restored, directory, side);
        }));
  }
  const QString failures = result.failed.empty()
                               ? QString()
                               : QStringLiteral(", %1 failed").arg(QString::number(result.failed.size()));
  _setStatus(QStringLiteral("Restored %1 file(s)%2.").arg(QString::number(result.restored.size()), failures));
}

/// Undo tries the rest again. Where nothing at all came back, the earlier deletions are undone first: what
/// stands in the way may stay there, a folder that is gone, say.
void MainWindowController::_keepUndoable(const RestorationResult &result, const EMU3DirectoryPtr &directory) {
  UndoManager::Call step = _restoringStep(result.failed, directory);
  if (result.restored.empty())
    undoManager_.registerBelow(UndoManager::Side::Undo, std::move(step));
  else
    undoManager_.registerCounterpart(UndoManager::Side::Undo, std::move(step));
}

void MainWindowController::_deleteRestoredFiles(const std::vector<EMU3FilePtr> &files,
                                                const EMU3DirectoryPtr &fromDirectory,
                                                UndoManager::Side counterpart) {
  _whenChangeable(
      [this, files, fromDirectory, counterpart] { _deleteFiles(files, fromDirectory, counterpart); }, beep);
}

} // namespace tessary
