#include "app/DraggedItems.h"
#include "app/MainWindowController.h"

namespace tessary {

bool MainWindowController::_mayDrop() const {
  return filesystem() && mayBecomeChangeable(*filesystem());
}

void MainWindowController::_dropReceived(const EMU3DirectoryPtr &target,
                                         const std::vector<std::string> &urls) {
  if (!filesystem()) return;
  changes_->whenChangeable([this, target, urls] { imports_->dropOnFolder(target, urls); }, [] {});
}

void MainWindowController::_itemsDropped(const EMU3DirectoryPtr &target, const DraggedItems &items) {
  const EMU3FilesystemPtr source = items.image();
  if (!filesystem() || !source || !items.mayGoTo(target)) return;
  changes_->whenChangeable(
      [this, target, source, files = placedFiles(items.files()), folder = items.folder()] {
        if (folder)
          transfers_->copyFolder(folder, target, source);
        else if (!files.empty())
          transfers_->run(files, target, false, source);
      },
      [] {});
}

} // namespace tessary
