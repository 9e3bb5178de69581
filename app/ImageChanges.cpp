#include "app/ImageChanges.h"

#include "app/Beeper.h"
#include "app/MainQueue.h"
#include "app/MainWindowController.h"
#include "app/SidebarController.h"
#include "app/Spinner.h"

#include <QDialog>
#include <utility>

namespace tessary {

bool mayBecomeChangeable(const EMU3Filesystem &filesystem) {
  const ReadOnlyReason reason = filesystem.readOnlyReason();
  return reason == ReadOnlyReason::none || reason == ReadOnlyReason::otherProgram;
}

// ---- Before a change

void MainWindowController::_whenChangeable(std::function<void()> change, std::function<void()> refused) {
  if (!filesystem_->isReadOnly()) return change();
  if (!mayBecomeChangeable(*filesystem_)) return refused();
  _onChangeQueue([this, change = std::move(change),
                  refused = std::move(refused)](EMU3Filesystem &filesystem) -> Completion {
    const bool isClaimed = filesystem.claimForChanges();
    return [this, isClaimed, change, refused] {
      _showTitle();
      if (isClaimed)
        _showImageReadAnew();
      else
        _setStatus(_readOnlyText());
      (isClaimed ? change : refused)();
    };
  });
}

/// Folders and files that another program has left as they were are still the same objects.
void MainWindowController::_showImageReadAnew() {
  if (!_holdsDirectory(currentDirectory_)) {
    _showNoFolder();
    return _loadFilesystem();
  }
  sidebarCtl_->reload();
  _selectDirectory(currentDirectory_);
  _updateDiskSpaceLabel();
}

void MainWindowController::_runReadOnlyAlert(const QString &advice) {
  // The claim may be refused when the user has turned to something else.
  if (_dialogThatIsUp()) return beep();
  _runAlert(QStringLiteral("Read-Only Image"),
            QStringLiteral("This image is opened read-only and cannot be modified.") + advice);
}

// ---- A single change

void MainWindowController::_runChange(Change change) {
  _onChangeQueue([this, change = std::move(change)](EMU3Filesystem &filesystem) -> Completion {
    EMU3Error error;
    if (Completion changed = change(filesystem, &error)) return changed;
    return [this, error] {
      if (error.isSet()) _changeFailed(error);
    };
  });
}

void MainWindowController::_changeFailed(const EMU3Error &error) {
  const QString news = _readOnlyNews();
  if (!news.isEmpty()) _setStatus(news);
  _runAlert(error);
}

void MainWindowController::_onChangeQueue(std::function<Completion(EMU3Filesystem &)> work) {
  spinner_->start();
  changeQueue_->async([controller = QPointer(this), filesystem = filesystem_, work = std::move(work)] {
    const Completion completion = work(*filesystem);
    onMainQueue([controller, filesystem, completion] {
      if (!controller) return;
      controller->spinner_->stop();
      if (filesystem == controller->filesystem_) completion();
    });
  });
}

} // namespace tessary
