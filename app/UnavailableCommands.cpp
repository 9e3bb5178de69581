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

} // namespace tessary
