#include "app/history/ChangeHistory.h"

#include "app/Beeper.h"
#include "app/Browser.h"
#include "app/Dialogs.h"
#include "app/ImageChanges.h"
#include "app/history/PresenceSteps.h"

#include <utility>

namespace tessary {

ChangeHistory::ChangeHistory(const CommandTools &tools, QObject *parent) : QObject(parent), tools_(tools) {
  constexpr std::size_t undoLevels = 10;
  undoManager_.setLevelsOfUndo(undoLevels);
}

// ---- What was done

void ChangeHistory::madeFolder(const EMU3DirectoryPtr &folder) {
  did(QStringLiteral("New Folder"), TakeAwayStep::of(*items_, folder));
}

void ChangeHistory::did(const QString &name, HistoryStepPtr undo) {
  takeImage();
  undoManager_.registerUndo(callOf(name, std::move(undo)), name);
}

void ChangeHistory::run(const QString &name, const HistoryStepPtr &step, ImageWork::Spinning spinning,
                        std::function<void(const StepResult &)> done) {
  runStep(step, spinning, [this, name, done = std::move(done)](const StepResult &result) {
    if (result.counterpart) did(name, result.counterpart);
    if (result.outcome.isStopped && result.rest) {
      takeImage();
      undoManager_.registerCounterpart(UndoManager::Side::Redo, callOf(name, result.rest), name);
    }
    done(result);
  });
}

void ChangeHistory::runStep(const HistoryStepPtr &step, ImageWork::Spinning spinning,
                            std::function<void(const StepResult &)> done) {
  tools_.image->runLongWork(
      [step, items = items_](EMU3Filesystem &filesystem, WorkProgress &progress) {
        return step->run(filesystem, *items, progress);
      },
      std::move(done), spinning);
}

/// From now on the steps are about the mounted image; those of another are dropped.
void ChangeHistory::takeImage() {
  const EMU3FilesystemPtr mounted = tools_.image->filesystem();
  if (mounted->imageURL() != imagePath_) undoManager_.clear();
  imagePath_ = mounted->imageURL();
  filesystem_ = mounted;
  undoManager_.setAvailable(true);
}

void ChangeHistory::imageReplaced() {
  const EMU3FilesystemPtr mounted = tools_.image->filesystem();
  const bool isSame = mounted && mounted->imageURL() == imagePath_;
  if (isSame && filesystem_.lock() != mounted) items_->findIn(mounted->rootDirectory());
  if (isSame) filesystem_ = mounted;
  undoManager_.setAvailable(isSame || (mounted && imagePath_.empty()));
}

// ---- Undo and redo

UndoManager::Call ChangeHistory::callOf(const QString &name, HistoryStepPtr step) {
  return [this, name, step = std::move(step)](UndoManager::Side counterpart) {
    tools_.changes->whenChangeable([this, name, step, counterpart] { runAgain(name, step, counterpart); },
                                   [this, name, step, counterpart] {
                                     undoManager_.registerCounterpart(UndoManager::opposite(counterpart),
                                                                      callOf(name, step), name);
                                     beep();
                                   });
  };
}

void ChangeHistory::runAgain(const QString &name, const HistoryStepPtr &step, UndoManager::Side counterpart) {
  runStep(step, ImageWork::Spinning::no,
          [this, name, counterpart, shownBefore = tools_.browser->foldersShown()](const StepResult &result) {
            ended(name, result, counterpart, shownBefore);
          });
}

/// What is left is registered again, so that the same command does it. Where nothing at all could be done it
/// goes below the earlier steps: its cause may last.
void ChangeHistory::ended(const QString &name, const StepResult &result, UndoManager::Side counterpart,
                          int shownBefore) {
  show(result, shownBefore);
  const UndoManager::Side same = UndoManager::opposite(counterpart);
  if (result.rest && (result.counterpart || result.outcome.isStopped))
    undoManager_.registerCounterpart(same, callOf(name, result.rest), name);
  else if (result.rest)
    undoManager_.registerBelow(same, callOf(name, result.rest), name);
  if (result.counterpart)
    undoManager_.registerCounterpart(counterpart, callOf(name, result.counterpart), name);
  tools_.browser->setStatus(result.status);
  tools_.dialogs->tellFailures(result.failed, result.failures);
}

/// In its folder, unless the user has gone to another one since.
void ChangeHistory::show(const StepResult &result, int shownBefore) {
  const EMU3DirectoryPtr shown = tools_.browser->folder();
  if (shown && !tools_.browser->holds(shown)) {
    tools_.browser->showChanges();
    tools_.browser->showRoot();
  } else if (result.folder && shownBefore == tools_.browser->foldersShown()) {
    tools_.browser->showArrivals(result.folder, result.files);
  } else {
    tools_.browser->showChanges();
  }
}

} // namespace tessary
