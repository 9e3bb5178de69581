#include "app/FolderCommands.h"

#include "app/Beeper.h"
#include "app/Browser.h"
#include "app/Dialogs.h"
#include "app/DisplayText.h"
#include "app/ImageChanges.h"
#include "app/ImageWork.h"
#include "app/NameAlert.h"
#include "app/PlatformTexts.h"
#include "app/SidebarController.h"
#include "app/history/ChangeHistory.h"
#include "app/history/NameStep.h"
#include "app/history/PresenceSteps.h"
#include "app/history/Removal.h"

#include <QLabel>
#include <QPointer>
#include <optional>
#include <utility>

namespace tessary {
namespace {

/// What is deleted with the folder, down to the bottom; it is one of the folders itself.
QString deletionText(const EMU3DirectoryPtr &folder) {
  const std::vector<EMU3DirectoryPtr> folders = directoriesInPreOrder(folder);
  std::uint64_t files = 0;
  for (const EMU3DirectoryPtr &directory : folders)
    files += directory->totalFileCount();
  return QStringLiteral("This will delete %1 file(s) and %2 folder(s).")
      .arg(QString::number(files), QString::number(folders.size()));
}

} // namespace

FolderCommands::FolderCommands(const CommandTools &tools, QObject *parent) : QObject(parent), tools_(tools) {}

bool FolderCommands::isRoot(const EMU3DirectoryPtr &folder) const {
  return folder == tools_.image->filesystem()->rootDirectory();
}

// ---- New Folder

void FolderCommands::create(const EMU3DirectoryPtr &parent) {
  tools_.changes->whenChangeable([this, parent] { askForNew(parent); },
                                 [this] { tools_.changes->tellReadOnly(); });
}

void FolderCommands::askForNew(const EMU3DirectoryPtr &parent) {
  auto question = std::make_unique<NameAlert>(
      QStringLiteral("New Folder"),
      QStringLiteral("Create a new folder inside '%1' (max 15 characters):").arg(displayText(parent->name())),
      QStringLiteral("Create"), tools_.dialogs->window());
  question->setPlaceholder(QStringLiteral("Folder name"));
  const QPointer alert(question.get());
  tools_.dialogs->askForName(std::move(question), [this, parent, alert](const QString &name) {
    tools_.changes->run(
        [this, alert, parent, image = tools_.image->filesystem(),
         name = name.toStdString()](EMU3Filesystem &filesystem, EMU3Error *error) -> ImageWork::Completion {
          EMU3DirectoryPtr made;
          if (!filesystem.createDirectoryNamed(name, parent, error, &made)) return {};
          return [this, alert, image, folder = made] {
            if (alert) alert->accept();
            tools_.history->madeFolder(folder, image);
            if (image != tools_.image->filesystem()) return;
            tools_.browser->showChanges();
            tools_.browser->showFolder(folder);
            tools_.browser->setStatus(
                QStringLiteral("Created folder '%1'.").arg(displayText(folder->name())));
          };
        },
        [this, alert] { tools_.dialogs->askAgain(alert); });
  });
}

// ---- Rename Folder

void FolderCommands::rename(const EMU3DirectoryPtr &folder) {
  if (!folder || isRoot(folder)) return beep();
  tools_.changes->whenChangeable([this, folder] { askForNameOf(folder); }, beep);
}

void FolderCommands::askForNameOf(const EMU3DirectoryPtr &folder) {
  auto question = std::make_unique<NameAlert>(QStringLiteral("Rename Folder"),
                                              QStringLiteral("Enter a new name (max 15 characters):"),
                                              QStringLiteral("Rename"), tools_.dialogs->window());
  question->setName(QString::fromStdString(folder->name()));
  const QPointer alert(question.get());
  tools_.dialogs->askForName(std::move(question), [this, folder, alert](const QString &name) {
    tools_.changes->run(
        [this, alert, folder, image = tools_.image->filesystem(),
         name = name.toStdString()](EMU3Filesystem &filesystem, EMU3Error *error) -> ImageWork::Completion {
          const bool keepsName = folder->name() == name;
          const std::optional<EntryBytes> before =
              keepsName ? std::nullopt : filesystem.entryOfDirectory(folder, error);
          if (!keepsName && (!before || !filesystem.renameDirectory(folder, name, error))) return {};
          return [this, alert, folder, image, before] {
            if (alert) alert->accept();
            if (!before) return;
            tools_.history->did(QStringLiteral("Rename Folder"),
                                std::make_shared<NameStep>(tools_.history->items()->of(folder), *before),
                                image);
            if (image != tools_.image->filesystem()) return;
            tools_.browser->folderRenamed(folder);
            tools_.browser->setStatus(QStringLiteral("Renamed to '%1'.").arg(displayText(folder->name())));
          };
        },
        [this, alert] { tools_.dialogs->askAgain(alert); });
  });
}

// ---- Delete Folder

void FolderCommands::remove(const EMU3DirectoryPtr &folder) {
  tools_.changes->whenChangeable([this, folder] { folder && !isRoot(folder) ? askToRemove(folder) : beep(); },
                                 [this] { tools_.changes->tellReadOnly(); });
}

void FolderCommands::askToRemove(const EMU3DirectoryPtr &folder) {
  const EMU3DirectoryPtr above = folder->parent();
  const EMU3DirectoryPtr parent = above ? above : tools_.image->filesystem()->rootDirectory();
  auto question = std::make_unique<Alert>(
      QStringLiteral("Delete folder '%1'?").arg(displayText(folder->name())),
      deletionText(folder) + QLatin1Char('\n') + QStringLiteral("You can undo with %1.").arg(undoKeyText()),
      tools_.dialogs->window());
  question->addChoice(QStringLiteral("Delete"), Alert::DestructiveRole);
  question->addChoice(QStringLiteral("Cancel"), Alert::RejectRole);
  tools_.dialogs->ask(std::move(question), [this, folder, parent] { removeNow(folder, parent); });
}

void FolderCommands::removeNow(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &parent) {
  tools_.history->run(
      QStringLiteral("Delete Folder"), TakeAwayStep::of(*tools_.history->items(), folder),
      ImageWork::Spinning::no, [this, name = folder->name(), parent](const StepResult &result) {
        if (result.counterpart) return removed(name, parent);
        if (result.outcome.isStopped) return tools_.browser->setStatus(result.status);
        tools_.dialogs->tellFailures(result.failed, result.failures);
        if (!result.incompleteFolders.empty())
          return tools_.dialogs->whenNoneIsUp([this, folder = result.incompleteFolders.front(), parent] {
            askWhetherForGood(folder, parent);
          });
        if (result.failures.empty()) // it was gone already
          tools_.dialogs->tell(engineError(EngineError::entryNotFound));
      });
}

// ---- Delete Folder for good

void FolderCommands::askWhetherForGood(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &parent) {
  auto question = std::make_unique<Alert>(
      QStringLiteral("Delete folder '%1' for good?").arg(displayText(folder->name())),
      QStringLiteral("Contents of files in it are incomplete, so it cannot be brought back."),
      tools_.dialogs->window());
  question->addChoice(QStringLiteral("Delete"), Alert::DestructiveRole);
  question->addChoice(QStringLiteral("Cancel"), Alert::RejectRole);
  tools_.dialogs->ask(std::move(question), [this, folder, parent] { removeForGood(folder, parent); });
}

void FolderCommands::removeForGood(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &parent) {
  tools_.image->runLongWork(
      [folder, parent, items = tools_.history->items()](EMU3Filesystem &filesystem, WorkProgress &progress) {
        return tessary::removeForGood(filesystem, *items, folder, parent, progress);
      },
      [this, name = folder->name(), parent](const std::optional<EMU3Error> &failure) {
        if (!failure) return removed(name, parent);
        const QString news = tools_.browser->readOnlyNews();
        if (!news.isEmpty()) tools_.browser->setStatus(news);
        tools_.dialogs->tell(*failure);
      });
}

/// Shows the parent; where that is the root, its first folder, if there is one.
void FolderCommands::removed(const std::string &name, const EMU3DirectoryPtr &parent) {
  tools_.browser->showChanges();
  const std::vector<EMU3DirectoryPtr> others = parent->subdirectories();
  tools_.browser->showFolder(isRoot(parent) && !others.empty() ? others.front() : parent);
  tools_.browser->setStatus(QStringLiteral("Deleted folder '%1'.").arg(displayText(name)));
}

} // namespace tessary
