#include "app/DeleteHistory.h"

#include "app/Alert.h"
#include "app/Beeper.h"
#include "app/Browser.h"
#include "app/Dialogs.h"
#include "app/DisplayText.h"
#include "app/ImageChanges.h"
#include "app/ImageWork.h"
#include "app/PlatformTexts.h"

#include <utility>

namespace tessary {
namespace {

QString failedText(const char *what, std::size_t failed, std::size_t all) {
  return QStringLiteral("%1 Failed (%2 of %3)")
      .arg(QLatin1String(what), QString::number(failed), QString::number(all));
}

} // namespace

DeleteHistory::DeleteHistory(const CommandTools &tools, QObject *parent) : QObject(parent), tools_(tools) {
  constexpr std::size_t undoLevels = 10;
  undoManager_.setLevelsOfUndo(undoLevels);
}

// ---- Delete

void DeleteHistory::deleteFiles(const std::vector<EMU3FilePtr> &files) {
  if (files.empty() || tools_.dialogs->thatIsUp()) return beep();
  tools_.changes->whenChangeable([this, placed = placedFiles(files)] { ask(placed); },
                                 [this] { tools_.changes->tellReadOnly(); });
}

void DeleteHistory::ask(const std::vector<PlacedFile> &files) {
  auto question = std::make_unique<Alert>(
      QStringLiteral("Delete %1 file(s)?").arg(QString::number(files.size())),
      QStringLiteral("You can undo with %1.").arg(undoKeyText()), tools_.dialogs->window());
  question->addChoice(QStringLiteral("Delete"), Alert::DestructiveRole);
  question->addChoice(QStringLiteral("Cancel"), Alert::RejectRole);
  tools_.dialogs->ask(std::move(question), [this, files] { remove(files, std::nullopt); });
}

void DeleteHistory::remove(const std::vector<PlacedFile> &files, CounterpartSide side) {
  tools_.image->runOnImage(
      [files](EMU3Filesystem &filesystem) { return backUpAndDelete(filesystem, files); },
      [this, asked = files.size(), side](const DeletionResult &result) { removed(asked, result, side); });
}

void DeleteHistory::removed(std::size_t asked, const DeletionResult &result, CounterpartSide side) {
  showDeleted(result.deleted.size());
  if (!result.deleted.empty()) {
    UndoManager::Call undo = restoringStep(result.deleted);
    if (side)
      undoManager_.registerCounterpart(*side, std::move(undo));
    else
      undoManager_.registerUndo(std::move(undo));
  }
  tools_.dialogs->tellFailures(failedText("Delete", result.failures.size(), asked), result.failures);
  askWhetherForGood({result.incomplete, result.deleted.size()});
}

void DeleteHistory::showDeleted(std::size_t count) {
  tools_.browser->showChanges();
  tools_.browser->setStatus(QStringLiteral("Deleted %1 file(s).").arg(QString::number(count)));
}

// ---- Delete for good

/// Asks about the first of the files; when that is done with, about the next.
void DeleteHistory::askWhetherForGood(const IncompleteFiles &incomplete) {
  if (incomplete.files.empty() || tools_.dialogs->isQuitting()) return;
  if (const QDialog *dialog = tools_.dialogs->thatIsUp()) {
    // What the user has turned to meanwhile comes first.
    connect(
        dialog, &QDialog::finished, this,
        [this, incomplete, filesystem = tools_.image->filesystem()] {
          if (filesystem == tools_.image->filesystem()) askWhetherForGood(incomplete);
        },
        Qt::QueuedConnection);
    return;
  }
  const PlacedFile file = incomplete.files.front();
  IncompleteFiles others = incomplete;
  others.files.erase(others.files.begin());
  auto question = std::make_unique<Alert>(
      QStringLiteral("Delete “%1” for good?").arg(displayText(file.file->name())),
      QStringLiteral("Its contents are incomplete, so it cannot be brought back."), tools_.dialogs->window());
  question->addChoice(QStringLiteral("Delete"), Alert::DestructiveRole);
  question->addChoice(QStringLiteral("Cancel"), Alert::RejectRole);
  tools_.dialogs->ask(
      std::move(question), [this, file, others] { removeForGood(file, others); },
      [this, others] { askWhetherForGood(others); });
}

void DeleteHistory::removeForGood(const PlacedFile &file, const IncompleteFiles &others) {
  tools_.image->runOnImage([file](EMU3Filesystem &filesystem) { return deleteForGood(filesystem, file); },
                           [this, others](bool isGone) {
                             IncompleteFiles left = others;
                             if (isGone) ++left.deletedBefore;
                             showDeleted(left.deletedBefore);
                             askWhetherForGood(left);
                           });
}

// ---- Undo and redo

/// The step does its work while the image is mounted that it was made for, and beeps otherwise.
UndoManager::Call DeleteHistory::step(UndoManager::Call work) {
  undoManager_.setActionName(QStringLiteral("Delete"));
  // Held weakly: an image is closed when it is replaced, whatever could be undone.
  return [this, filesystem = std::weak_ptr(tools_.image->filesystem()),
          work = std::move(work)](UndoManager::Side counterpart) {
    const EMU3FilesystemPtr mounted = tools_.image->filesystem();
    if (!mounted || filesystem.lock() != mounted) return beep();
    work(counterpart);
  };
}

UndoManager::Call DeleteHistory::restoringStep(const std::vector<DeletedFile> &files) {
  return step([this, files](UndoManager::Side counterpart) { restoreFromBackup(files, counterpart); });
}

void DeleteHistory::restoreFromBackup(const std::vector<DeletedFile> &files, UndoManager::Side counterpart) {
  tools_.changes->whenChangeable([this, files, counterpart] { restore(files, counterpart); },
                                 [this, files] {
                                   undoManager_.registerCounterpart(UndoManager::Side::Undo,
                                                                    restoringStep(files));
                                   beep();
                                 });
}

void DeleteHistory::restore(const std::vector<DeletedFile> &files, UndoManager::Side counterpart) {
  tools_.image->runOnImage(
      [files](EMU3Filesystem &filesystem) { return restoreFiles(filesystem, files); },
      [this, counterpart, shownBefore = tools_.browser->foldersShown()](const RestorationResult &result) {
        restored(result, counterpart, shownBefore);
      });
}

void DeleteHistory::restored(const RestorationResult &result, UndoManager::Side counterpart,
                             int shownBefore) {
  showRestored(result.restored, shownBefore);
  if (!result.failed.empty()) keepUndoable(result);
  if (!result.restored.empty()) {
    undoManager_.registerCounterpart(
        counterpart,
        step([this, files = result.restored](UndoManager::Side side) { deleteRestored(files, side); }));
  }
  const QString failures = result.failed.empty()
                               ? QString()
                               : QStringLiteral(", %1 failed").arg(QString::number(result.failed.size()));
  tools_.browser->setStatus(
      QStringLiteral("Restored %1 file(s)%2.").arg(QString::number(result.restored.size()), failures));
  tools_.dialogs->tellFailures(
      failedText("Restore", result.failed.size(), result.failed.size() + result.restored.size()),
      result.failures);
}

/// In their folder, unless the user has gone to another one since; where they came from several, in the
/// first one's.
void DeleteHistory::showRestored(const std::vector<PlacedFile> &files, int shownBefore) {
  if (files.empty() || shownBefore != tools_.browser->foldersShown()) return tools_.browser->showChanges();
  const EMU3DirectoryPtr folder = files.front().folder;
  std::vector<EMU3FilePtr> inFolder;
  for (const PlacedFile &placed : files)
    if (placed.folder == folder) inFolder.push_back(placed.file);
  tools_.browser->showArrivals(folder, inFolder);
}

/// Undo tries the rest again. Where nothing at all came back, the earlier deletions are undone first: what
/// stands in the way may stay there, a folder that is gone, say.
void DeleteHistory::keepUndoable(const RestorationResult &result) {
  UndoManager::Call undo = restoringStep(result.failed);
  if (result.restored.empty())
    undoManager_.registerBelow(UndoManager::Side::Undo, std::move(undo));
  else
    undoManager_.registerCounterpart(UndoManager::Side::Undo, std::move(undo));
}

void DeleteHistory::deleteRestored(const std::vector<PlacedFile> &files, UndoManager::Side counterpart) {
  tools_.changes->whenChangeable([this, files, counterpart] { remove(files, counterpart); }, beep);
}

} // namespace tessary
