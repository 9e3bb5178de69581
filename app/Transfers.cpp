#include "app/Transfers.h"

#include "app/Alert.h"
#include "app/Beeper.h"
#include "app/Browser.h"
#include "app/Dialogs.h"
#include "app/DisplayText.h"
#include "app/ImageChanges.h"
#include "app/ImageWork.h"
#include "app/TextSize.h"
#include "app/history/ChangeHistory.h"
#include "app/history/PlaceStep.h"
#include "app/history/PresenceSteps.h"
#include "tessary/ItemsOperation.h"
#include "tessary/SystemLog.h"

#include <QComboBox>
#include <algorithm>
#include <utility>

namespace tessary {
namespace {

/// One item a folder, in the order of the list: folders that share a name stay apart by their position.
std::unique_ptr<QComboBox> makeFolderPopUp(const std::vector<EMU3DirectoryPtr> &folders) {
  constexpr int width = 260;
  constexpr int height = 26;
  QStringList names;
  names.reserve(static_cast<qsizetype>(folders.size()));
  for (const EMU3DirectoryPtr &folder : folders)
    names.append(displayText(folder->name()));
  auto popUp = std::make_unique<QComboBox>();
  popUp->setAccessibleName(QStringLiteral("Destination directory"));
  popUp->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon); // measures no item
  popUp->setFixedSize(scaled(width), std::max(scaled(height), popUp->sizeHint().height()));
  popUp->addItems(names);
  return popUp;
}

/// " (2 failed)"; nothing when nothing did.
QString failedText(const std::vector<ItemFailure> &failures) {
  return failures.empty() ? QString() : QStringLiteral(" (%1 failed)").arg(QString::number(failures.size()));
}

} // namespace

Transfers::Transfers(const CommandTools &tools, QObject *parent) : QObject(parent), tools_(tools) {}

void Transfers::transfer(const std::vector<EMU3FilePtr> &files, bool move) {
  if (files.empty() || !tools_.image->filesystem()) return beep();
  tools_.changes->whenChangeable(
      [this, placed = placedFiles(files), move] { askForDestination(placed, move); }, beep);
}

void Transfers::askForDestination(const std::vector<PlacedFile> &files, bool move) {
  const std::vector<EMU3DirectoryPtr> folders =
      directoriesInPreOrder(tools_.image->filesystem()->rootDirectory());
  auto question = std::make_unique<Alert>(
      move ? QStringLiteral("Move To Directory") : QStringLiteral("Copy To Directory"),
      QStringLiteral("Select a destination directory:"), tools_.dialogs->window());
  question->addChoice(move ? QStringLiteral("Move") : QStringLiteral("Copy"), Alert::AcceptRole);
  question->addChoice(QStringLiteral("Cancel"), Alert::RejectRole);
  std::unique_ptr<QComboBox> popUp = makeFolderPopUp(folders);
  const QComboBox *choice = popUp.get();
  question->setAccessory(std::move(popUp));
  tools_.dialogs->ask(std::move(question), [this, folders, choice, files, move] {
    const int chosen = choice->currentIndex();
    if (chosen < 0 || static_cast<std::size_t>(chosen) >= folders.size()) return;
    run(files, folders[static_cast<std::size_t>(chosen)], move);
  });
}

void Transfers::run(const std::vector<PlacedFile> &files, const EMU3DirectoryPtr &toDirectory, bool move,
                    const EMU3FilesystemPtr &source) {
  tools_.browser->setStatus(move ? QStringLiteral("Moving…") : QStringLiteral("Copying…"));
  tools_.image->runOnImage(
      [files, toDirectory, move, source](EMU3Filesystem &filesystem) {
        return transferOn(filesystem, files, toDirectory, move, source);
      },
      [this, toDirectory, move](const Result &result) { transferred(result, toDirectory, move); },
      ImageWork::Spinning::yes);
}

Transfers::Result Transfers::transferOn(EMU3Filesystem &filesystem, const std::vector<PlacedFile> &files,
                                        const EMU3DirectoryPtr &toDirectory, bool move,
                                        const EMU3FilesystemPtr &source) {
  Result result;
  const auto operation = filesystem.manyItems();
  for (const auto &[file, folder] : files) {
    if (move)
      operation->moveFile(file, folder, toDirectory);
    else
      operation->copyFile(file, toDirectory, source);
  }
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) {
    const EMU3FilePtr &file = files[end.item].file;
    if (!end.error) {
      result.chosen.push_back(files[end.item]);
      return result.arrived.push_back(end.file ? end.file : file);
    }
    systemLog("Transfer failed: " + end.error->description());
    result.failures.push_back(ItemFailure::of(file->name(), *end.error));
  };
  operation->run(watcher);
  readDetailsOf(filesystem, result.arrived);
  return result;
}

void Transfers::transferred(const Result &result, const EMU3DirectoryPtr &toDirectory, bool move) {
  makeUndoable(result, toDirectory, move);
  tools_.browser->showArrivals(toDirectory, result.arrived);
  tools_.browser->setStatus(QStringLiteral("%1 %2 file(s)%3.")
                                .arg(move ? QStringLiteral("Moved") : QStringLiteral("Copied"),
                                     QString::number(result.arrived.size()), failedText(result.failures)));
  tellFailures(move, result.failures, result.failures.size() + result.arrived.size());
}

void Transfers::tellFailures(bool move, const std::vector<ItemFailure> &failures, std::size_t items) const {
  tools_.dialogs->tellFailures(QStringLiteral("%1 Failed (%2 of %3)")
                                   .arg(move ? QStringLiteral("Move") : QStringLiteral("Copy"),
                                        QString::number(failures.size()), QString::number(items)),
                               failures);
}

/// What was moved into the folder that it was in already stays there.
void Transfers::makeUndoable(const Result &result, const EMU3DirectoryPtr &toDirectory, bool move) {
  ChangeHistory &history = *tools_.history;
  if (!move) {
    std::vector<PlacedFile> copies;
    for (const EMU3FilePtr &file : result.arrived)
      copies.push_back({file, toDirectory});
    return history.imported(QStringLiteral("Copy"), copies);
  }
  std::vector<PlaceStep::Move> moves;
  for (std::size_t i = 0; i < result.arrived.size(); ++i) {
    const auto &[before, from] = result.chosen[i];
    if (from == toDirectory) continue;
    history.items()->became(before, result.arrived[i]);
    moves.push_back({history.items()->of(result.arrived[i]), history.items()->of(toDirectory),
                     history.items()->of(from)});
  }
  if (!moves.empty()) history.did(QStringLiteral("Move"), std::make_shared<PlaceStep>(std::move(moves)));
}

// ---- Folders

void Transfers::copyFolder(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &toDirectory,
                           const EMU3FilesystemPtr &source) {
  tools_.browser->setStatus(QStringLiteral("Copying…"));
  tools_.image->runOnImage(
      [folder, toDirectory, source](EMU3Filesystem &filesystem) {
        return copyOn(filesystem, folder, toDirectory, source);
      },
      [this, name = folder->name()](const FolderResult &result) { folderCopied(result, name); },
      ImageWork::Spinning::yes);
}

Transfers::FolderResult Transfers::copyOn(EMU3Filesystem &filesystem, const EMU3DirectoryPtr &folder,
                                          const EMU3DirectoryPtr &toDirectory,
                                          const EMU3FilesystemPtr &source) {
  FolderResult result;
  const auto operation = filesystem.manyItems();
  operation->copyFolder(folder, toDirectory, ExistingFolder::doubled, source);
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) {
    const Item &item = operation->item(end.item);
    if (item.folder == folder) result.copy = end.folder;
    if (!end.error) return;
    systemLog("Transfer failed: " + end.error->description());
    result.failures.push_back(
        ItemFailure::of(item.file ? item.file->name() : item.folder->name(), *end.error));
  };
  result.items = operation->progress().items;
  operation->run(watcher);
  return result;
}

void Transfers::folderCopied(const FolderResult &result, const std::string &name) {
  if (result.copy)
    tools_.history->did(QStringLiteral("Copy"), TakeAwayStep::of(*tools_.history->items(), result.copy));
  tools_.browser->showArrivals(result.copy, {});
  tools_.browser->setStatus(
      result.copy
          ? QStringLiteral("Copied folder '%1'%2.").arg(displayText(name), failedText(result.failures))
          : QStringLiteral("Folder '%1' was not copied.").arg(displayText(name)));
  tellFailures(false, result.failures, result.items);
}

} // namespace tessary
