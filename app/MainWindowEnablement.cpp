#include "app/ContentController.h"
#include "app/MainWindowController.h"

// Which commands can do something at this moment.
namespace tessary {

bool MainWindowController::validateUserInterfaceItem(Action action) const {
  using Self = MainWindowController;
  if (action == &Self::_unmountImage || action == &Self::_exportSelected || action == &Self::_importFile ||
      action == &Self::_deleteSelected)
    return filesystem() != nullptr;
  if (action == &Self::_undo) return history_->undoManager()->canUndo();
  if (action == &Self::_redo) return history_->undoManager()->canRedo();
  return true;
}

bool MainWindowController::isOfUse(Action action) const {
  using Self = MainWindowController;
  for (const Action always : {&Self::_newWindow, &Self::_closeWindow, &Self::_newImage, &Self::_openImage,
                              &Self::_showUserGuide, &Self::_showSurprises, &Self::_toggleBankContents})
    if (action == always) return true;
  if (!filesystem()) return false;
  if (action == &Self::_unmountImage || action == &Self::_backUpImage || action == &Self::_find ||
      action == &Self::_findEverywhere)
    return true;
  if (action == &Self::_checkImage) return !check_->isChecking();
  if (action == &Self::_selectAll) return contentCtl()->rowCount() > 0;
  if (action == &Self::_showRoot) return currentDirectory() != filesystem()->rootDirectory();
  if (action == &Self::_showParent) return browser_->parentOfFolder() != nullptr;
  const std::size_t selected = _selectedFiles().size();
  if (action == &Self::_exportSelected || action == &Self::_exportSamples) return selected > 0;
  if (action == &Self::_exportCurrentFolder) return currentDirectory() != nullptr;
  if (action == &Self::_export) return _foldersHaveKeyboard() ? currentDirectory() != nullptr : selected > 0;
  // All others change the image.
  if (!mayBecomeChangeable(*filesystem())) return false;
  if (action == &Self::_undo) return history_->undoManager()->canUndo();
  if (action == &Self::_redo) return history_->undoManager()->canRedo();
  const bool inFolder = browser_->parentOfFolder() != nullptr;
  if (action == &Self::_renameCurrentFolder || action == &Self::_deleteCurrentFolder) return inFolder;
  if (action == &Self::_copyToDir || action == &Self::_moveToDir) return selected > 0;
  if (action == &Self::_rename) return _foldersHaveKeyboard() ? inFolder : selected == 1;
  if (action == &Self::_delete) return _foldersHaveKeyboard() ? inFolder : selected > 0;
  return true;
}

} // namespace tessary
