#include "app/history/ChangeHistory.h"

#include "app/Beeper.h"
#include "app/Browser.h"
#include "app/Dialogs.h"
#include "app/ImageChanges.h"
#include "app/MainQueue.h"
#include "app/history/PresenceSteps.h"

#include <QPointer>
#include <utility>

namespace tessary {

ChangeHistory::ChangeHistory(const CommandTools &tools, QObject *parent) : QObject(parent), tools_(tools) {
  constexpr std::size_t undoLevels = 10;
  undoManager_.setLevelsOfUndo(undoLevels);
  connect(tools_.changes, &ImageChanges::begun, this, &ChangeHistory::changeBegins);
  connect(tools_.changes, &ImageChanges::ended, this, &ChangeHistory::changeEnds);
}

// ---- What was done

void ChangeHistory::madeFolder(const EMU3DirectoryPtr &folder, const EMU3FilesystemPtr &image) {
  did(QStringLiteral("New Folder"), TakeAwayStep::ofNew(*items_, folder), image);
}

void ChangeHistory::did(const QString &name, HistoryStepPtr undo, const EMU3FilesystemPtr &image) {
  if (takeImage(image)) undoManager_.registerUndo(callOf(name, std::move(undo)), name);
}

/// The steps outlast an unmount, so also one that ends only then is registered.
void ChangeHistory::run(const QString &name, const HistoryStepPtr &step, ImageWork::Spinning spinning,
                        std::function<void(const StepResult &)> done) {
  changeBegins();
  runStep(step, spinning, WorkProgress::AtEnd::stops,
          [this, name, done = std::move(done)](const StepResult &result, const EMU3FilesystemPtr &image) {
            const HistoryStepPtr rest = result.outcome.isStopped ? result.rest : nullptr;
            if ((result.counterpart || rest) && takeImage(image)) {
              if (result.counterpart) undoManager_.registerUndo(callOf(name, result.counterpart), name);
              if (rest) undoManager_.registerCounterpart(UndoManager::Side::Redo, callOf(name, rest), name);
            }
            changeEnds();
            if (image == tools_.image->filesystem()) done(result);
          });
}

void ChangeHistory::changeBegins() {
  ++newChanges_;
  lookAtMountedImage();
}

void ChangeHistory::changeEnds() {
  --newChanges_;
  lookAtMountedImage();
}

void ChangeHistory::runStep(const HistoryStepPtr &step, ImageWork::Spinning spinning,
                            WorkProgress::AtEnd atEnd, Ended ended) {
  tools_.image->runLongChange(
      [step, items = items_](EMU3Filesystem &filesystem, WorkProgress &progress) {
        return step->run(filesystem, *items, progress);
      },
      [image = tools_.image->filesystem(), ended = std::move(ended)](const StepResult &result) {
        ended(result, image);
      },
      spinning, atEnd);
}

/// False for null.
bool ChangeHistory::isAbout(const EMU3FilesystemPtr &image) const {
  return image && image_ && image->identity().isSameImage(*image_);
}

/// From now on the steps are about that image; those of another are dropped. False where it is not mounted
/// any more, and the steps are about the one that is.
bool ChangeHistory::takeImage(const EMU3FilesystemPtr &image) {
  const EMU3FilesystemPtr mounted = tools_.image->filesystem();
  const bool isSame = isAbout(image);
  if (!isSame && image != mounted && isAbout(mounted)) return false;
  if (!isSame) undoManager_.clear();
  image_ = image->identity();
  if (!isSame || image == mounted) filesystem_ = image;
  imageReplaced();
  return true;
}

void ChangeHistory::imageReplaced() {
  const EMU3FilesystemPtr mounted = tools_.image->filesystem();
  if (isAbout(mounted) && filesystem_.lock() != mounted) {
    items_->findIn(mounted->rootDirectory());
    filesystem_ = mounted;
  }
  lookAtMountedImage();
}

/// While something new is being done, the step before it is not what the user means.
void ChangeHistory::lookAtMountedImage() {
  const EMU3FilesystemPtr mounted = tools_.image->filesystem();
  const bool mayBeMeant = mounted && (!image_ || isAbout(mounted));
  undoManager_.setAvailable(mayBeMeant && newChanges_ == 0);
}

// ---- Undo and redo

/// A step that was taken off its side. Unless it is run it goes back there, whatever kept it from that: the
/// user's answer, another dialog, another image.
class ChangeHistory::Taken final {
public:
  Taken(ChangeHistory *history, QString name, HistoryStepPtr step, UndoManager::Side side)
      : history_(history), image_(history->image_), name_(std::move(name)), step_(std::move(step)),
        side_(side) {}
  ~Taken() {
    if (step_) onMainQueue([back = backFunction()] { back(); });
  }
  Taken(const Taken &) = delete;
  Taken &operator=(const Taken &) = delete;

  void putBack() {
    backFunction()();
    step_ = nullptr;
  }
  [[nodiscard]] HistoryStepPtr take() { return std::exchange(step_, nullptr); }

private:
  [[nodiscard]] std::function<void()> backFunction() const {
    return [history = history_, image = image_, name = name_, step = step_, side = side_] {
      const bool isAboutIt = history && history->image_ && image && history->image_->isSameImage(*image);
      if (isAboutIt) history->undoManager_.registerCounterpart(side, history->callOf(name, step), name);
    };
  }

  const QPointer<ChangeHistory> history_;
  const std::optional<ImageIdentity> image_;
  const QString name_;
  HistoryStepPtr step_;
  const UndoManager::Side side_;
};

UndoManager::Call ChangeHistory::callOf(const QString &name, HistoryStepPtr step) {
  return [this, name, step = std::move(step)](UndoManager::Side counterpart) {
    const auto taken = std::make_shared<Taken>(this, name, step, UndoManager::opposite(counterpart));
    tools_.changes->whenChangeable(
        [this, name, taken, counterpart] { runAgain(name, taken->take(), counterpart); },
        [taken] {
          taken->putBack();
          beep();
        });
  };
}

/// To its end, though the window is ended meanwhile: what it brings back is nowhere else.
void ChangeHistory::runAgain(const QString &name, const HistoryStepPtr &step, UndoManager::Side counterpart) {
  runStep(step, ImageWork::Spinning::no, WorkProgress::AtEnd::finishes,
          [this, name, counterpart, shownBefore = tools_.browser->foldersShown()](
              const StepResult &result, const EMU3FilesystemPtr &image) {
            if (image == tools_.image->filesystem()) show(result, shownBefore);
            if (isAbout(image)) ended(name, result, counterpart);
            imageReplaced();
            if (image != tools_.image->filesystem()) return;
            tools_.browser->setStatus(result.status);
            std::vector<ItemFailure> failures = result.failures;
            failures.insert(failures.end(), result.leftOut.begin(), result.leftOut.end());
            tools_.dialogs->tellFailures(result.leftOut.empty() ? result.failed : result.failedWithLeftOut,
                                         failures);
          });
}

/// What is left is registered again, so that the same command does it. Where nothing at all could be done it
/// goes below the earlier steps: its cause may last.
void ChangeHistory::ended(const QString &name, const StepResult &result, UndoManager::Side counterpart) {
  const UndoManager::Side same = UndoManager::opposite(counterpart);
  if (result.rest && (result.counterpart || result.outcome.isStopped))
    undoManager_.registerCounterpart(same, callOf(name, result.rest), name);
  else if (result.rest)
    undoManager_.registerBelow(same, callOf(name, result.rest), name);
  if (result.counterpart)
    undoManager_.registerCounterpart(counterpart, callOf(name, result.counterpart), name);
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
