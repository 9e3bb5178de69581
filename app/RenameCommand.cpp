#include "app/Beeper.h"
#include "app/ContentController.h"
#include "app/DisplayText.h"
#include "app/MainWindow.h"
#include "app/MainWindowController.h"
#include "app/NameAlert.h"

#include <utility>

namespace tessary {
namespace {

/// Whether the file bears the name already. Then its entry is left alone: the name may stand for bytes that
/// are no text, or be longer than one that can be given.
bool keepsName(const EMU3Directory &directory, const EMU3FilePtr &file, const std::string &name) {
  return file->name() == name && directory.containsFile(file);
}

} // namespace

void MainWindowController::_renameSelected() {
  const std::vector<EMU3FilePtr> files = _selectedFiles();
  if (files.size() != 1 || !filesystem_) return beep();
  _whenChangeable([this, file = files.front()] { _askForNameOf(file); }, beep);
}

void MainWindowController::_askForNameOf(const EMU3FilePtr &file) {
  auto question = std::make_unique<NameAlert>(QStringLiteral("Rename File"),
                                              QStringLiteral("Enter a new name (max 15 characters):"),
                                              QStringLiteral("Rename"), window_.get());
  question->setName(QString::fromStdString(file->name()));
  const NameAlert *answer = question.get();
  _ask(std::move(question), [this, answer, file] {
    const QString name = answer->trimmedName();
    if (!name.isEmpty()) _renameFile(file, name.toStdString());
  });
}

void MainWindowController::_renameFile(const EMU3FilePtr &file, const std::string &name) {
  _runChange([this, file, name, directory = currentDirectory_](EMU3Filesystem &filesystem,
                                                               EMU3Error *error) -> Completion {
    if (!keepsName(*directory, file, name) && !filesystem.renameFile(file, name, directory, error)) return {};
    return [this, renamed = file->name()] {
      contentCtl_->refresh();
      _setStatus(QStringLiteral("Renamed to \"%1\".").arg(displayText(renamed)));
    };
  });
}

} // namespace tessary
