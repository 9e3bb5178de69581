#include "app/Alert.h"
#include "app/Beeper.h"
#include "app/ContentController.h"
#include "app/DisplayText.h"
#include "app/MainQueue.h"
#include "app/MainWindow.h"
#include "app/MainWindowController.h"
#include "app/SidebarController.h"
#include "app/Spinner.h"
#include "filesystem/SystemLog.h"

#include <QComboBox>
#include <utility>

namespace tessary {
namespace {

/// One item a folder, in the order of the list: folders that share a name stay apart by their position.
std::unique_ptr<QComboBox> makeFolderPopUp(const std::vector<EMU3DirectoryPtr> &folders) {
  constexpr QSize size(260, 26);
  QStringList names;
  names.reserve(static_cast<qsizetype>(folders.size()));
  for (const EMU3DirectoryPtr &folder : folders)
    names.append(displayText(folder->name()));
  auto popUp = std::make_unique<QComboBox>();
  popUp->setAccessibleName(QStringLiteral("Destination directory"));
  popUp->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon); // measures no item
  popUp->setFixedSize(size);
  popUp->addItems(names);
  return popUp;
}

} // namespace

void MainWindowController::_copyToDir() {
  _transferFiles(_selectedFiles(), false);
}

void MainWindowController::_moveToDir() {
  _transferFiles(_selectedFiles(), true);
}

std::vector<EMU3DirectoryPtr> MainWindowController::_allDirectories(const EMU3DirectoryPtr &directory) {
  return directoriesInPreOrder(directory);
}

void MainWindowController::_transferFiles(const std::vector<EMU3FilePtr> &files, bool move) {
  if (files.empty() || !filesystem_) return beep();
  _whenChangeable([this, files, move] { _askForDestination(files, move); }, beep);
}

void MainWindowController::_askForDestination(const std::vector<EMU3FilePtr> &files, bool move) {
  const std::vector<EMU3DirectoryPtr> folders = _allDirectories(filesystem_->rootDirectory());
  auto question = std::make_unique<Alert>(move ? QStringLiteral("Move To Directory")
                                               : QStringLiteral("Copy To Directory"),
                                          QStringLiteral("Select a destination directory:"), window_.get());
  question->addChoice(move ? QStringLiteral("Move") : QStringLiteral("Copy"), Alert::AcceptRole);
  question->addChoice(QStringLiteral("Cancel"), Alert::RejectRole);
  std::unique_ptr<QComboBox> popUp = makeFolderPopUp(folders);
  const QComboBox *choice = popUp.get();
  question->setAccessory(std::move(popUp));
  _ask(std::move(question), [this, folders, choice, files, move] {
    const int chosen = choice->currentIndex();
    if (chosen < 0 || static_cast<std::size_t>(chosen) >= folders.size()) return;
    _doTransferFiles(files, currentDirectory_, folders[static_cast<std::size_t>(chosen)], move);
  });
}

void MainWindowController::_doTransferFiles(const std::vector<EMU3FilePtr> &files,
                                            const EMU3DirectoryPtr &fromDirectory,
                                            const EMU3DirectoryPtr &toDirectory, bool move) {
  _setStatus(move ? QStringLiteral("Moving…") : QStringLiteral("Copying…"));
  spinner_->start();
  filesystem_->ioQueue().async(
      [controller = QPointer(this), filesystem = filesystem_, files, fromDirectory, toDirectory, move] {
        std::size_t succeeded = 0;
        std::size_t failed = 0;
        for (const EMU3FilePtr &file : files) {
          EMU3Error error;
          const bool done = move ? filesystem->moveFile(file, fromDirectory, toDirectory, &error)
                                 : filesystem->copyFile(file, toDirectory, &error);
          ++(done ? succeeded : failed);
          if (!done) systemLog("Transfer failed: " + error.description());
        }
        onMainQueue([controller, filesystem, toDirectory, move, succeeded, failed] {
          if (!controller) return;
          controller->spinner_->stop();
          if (filesystem == controller->filesystem_)
            controller->_filesTransferred(toDirectory, move, succeeded, failed);
        });
      });
}

void MainWindowController::_filesTransferred(const EMU3DirectoryPtr &toDirectory, bool move,
                                             std::size_t succeeded, std::size_t failed) {
  _updateDiskSpaceLabel();
  // Deleted while its files were waiting, the destination is nothing to show. Files may have left all the
  // same.
  if (_holdsDirectory(toDirectory))
    _selectDirectory(toDirectory);
  else
    contentCtl_->refresh();
  sidebarCtl_->reload();
  sidebarCtl_->selectRowOf(toDirectory);
  const QString failures =
      failed == 0 ? QString() : QStringLiteral(" (%1 failed)").arg(QString::number(failed));
  _setStatus(QStringLiteral("%1 %2 file(s)%3.")
                 .arg(move ? QStringLiteral("Moved") : QStringLiteral("Copied"), QString::number(succeeded),
                      failures));
}

} // namespace tessary
