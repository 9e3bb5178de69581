#include "app/ContentController.h"
#include "app/MainWindowController.h"

namespace tessary {

bool MainWindowController::_mayDrop(const EMU3DirectoryPtr &target, bool internal) const {
  if (!filesystem() || !mayBecomeChangeable(*filesystem())) return false;
  return !internal || target != currentDirectory() || contentCtl()->search().everywhere;
}

void MainWindowController::_dropReceived(const EMU3DirectoryPtr &target, const std::vector<std::string> &urls,
                                         bool internal) {
  if (!filesystem()) return;
  changes_->whenChangeable(
      [this, target, urls, internal] {
        if (internal)
          _copyDraggedFiles(target, urls);
        else
          imports_->dropOnFolder(target, urls);
      },
      [] {});
}

/// The rows come as the host files that were made of them.
void MainWindowController::_copyDraggedFiles(const EMU3DirectoryPtr &target,
                                             const std::vector<std::string> &urls) {
  if (!_mayDrop(target, true)) return;
  std::vector<EMU3FilePtr> files;
  for (const std::string &url : urls)
    if (const EMU3FilePtr file = contentCtl()->draggedFile(url)) files.push_back(file);
  const std::vector<PlacedFile> placed = placedFiles(files);
  if (!placed.empty()) transfers_->run(placed, target, false);
}

} // namespace tessary
