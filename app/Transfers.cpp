#include "app/Transfers.h"

#include "app/Alert.h"
#include "app/Beeper.h"
#include "app/Browser.h"
#include "app/Dialogs.h"
#include "app/DisplayText.h"
#include "app/ImageChanges.h"
#include "app/TextSize.h"
#include "app/history/ChangeHistory.h"
#include "app/history/CopyStep.h"
#include "app/history/PlaceStep.h"

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
  LastingItems &items = *tools_.history->items();
  if (move)
    run(QStringLiteral("Move"), PlaceStep::of(items, files, toDirectory), toDirectory, nullptr);
  else
    run(QStringLiteral("Copy"), CopyStep::of(items, files, toDirectory, otherImage(source)), toDirectory,
        source);
}

void Transfers::copyFolder(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &toDirectory,
                           const EMU3FilesystemPtr &source) {
  tools_.browser->setStatus(QStringLiteral("Copying…"));
  run(QStringLiteral("Copy"), CopyStep::of(*tools_.history->items(), folder, toDirectory, otherImage(source)),
      nullptr, source);
}

EMU3FilesystemPtr Transfers::otherImage(const EMU3FilesystemPtr &source) const {
  return source == tools_.image->filesystem() ? nullptr : source;
}

void Transfers::run(const QString &name, const HistoryStepPtr &step, const EMU3DirectoryPtr &shown,
                    const EMU3FilesystemPtr &source) {
  // What follows holds the image that they come from until then.
  tools_.history->run(name, step, ImageWork::Spinning::yes, [this, shown, source](const StepResult &result) {
    tools_.browser->showArrivals(result.folder ? result.folder : shown, result.files);
    tools_.browser->setStatus(result.status);
    tools_.dialogs->tellFailures(result.failed, result.failures);
  });
}

} // namespace tessary
