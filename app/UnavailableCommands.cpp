#include "app/Beeper.h"
#include "app/MainWindowController.h"

// Commands that have their place in the toolbar and the menus but cannot do anything yet.
namespace tessary {

void MainWindowController::_exportSelected() {
  beep();
}

void MainWindowController::_exportSamples() {
  beep();
}

void MainWindowController::_importFile() {
  beep();
}

void MainWindowController::_deleteSelected() {
  beep();
}

void MainWindowController::_renameSelected() {
  beep();
}

void MainWindowController::_copyToDir() {
  beep();
}

void MainWindowController::_moveToDir() {
  beep();
}

void MainWindowController::_newFolder() {
  beep();
}

void MainWindowController::_renameFolder() {
  beep();
}

void MainWindowController::_deleteFolder() {
  beep();
}

void MainWindowController::_tableDoubleClick() {
  beep();
}

} // namespace tessary
