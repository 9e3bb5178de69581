#include "app/FileCommands.h"

#include "app/Beeper.h"
#include "app/Browser.h"
#include "app/ContentController.h"
#include "app/Dialogs.h"
#include "app/DisplayText.h"
#include "app/FileFacts.h"
#include "app/ImageChanges.h"
#include "app/ImageWork.h"
#include "app/NameAlert.h"
#include "app/history/ChangeHistory.h"
#include "app/history/NameStep.h"

#include <QPointer>
#include <QPushButton>
#include <optional>
#include <utility>

namespace tessary {
namespace {

/// Whether the file bears the name already. Then its entry is left alone: the name may stand for bytes that
/// are no text, or be longer than one that can be given.
bool keepsName(const PlacedFile &placed, const std::string &name) {
  return placed.file->name() == name && placed.folder->containsFile(placed.file);
}

} // namespace

FileCommands::FileCommands(const CommandTools &tools,
                           std::function<void(const std::vector<EMU3FilePtr> &)> exportFiles, QObject *parent)
    : QObject(parent), tools_(tools), exportFiles_(std::move(exportFiles)) {}

// ---- Rename

void FileCommands::rename(const std::vector<EMU3FilePtr> &files) {
  const std::vector<PlacedFile> placed = placedFiles(files);
  if (placed.size() != 1) return beep();
  tools_.changes->whenChangeable([this, file = placed.front()] { askForNameOf(file); }, beep);
}

void FileCommands::askForNameOf(const PlacedFile &placed) {
  auto question = std::make_unique<NameAlert>(QStringLiteral("Rename File"),
                                              QStringLiteral("Enter a new name (max 15 characters):"),
                                              QStringLiteral("Rename"), tools_.dialogs->window());
  question->setName(QString::fromStdString(placed.file->name()));
  const QPointer alert(question.get());
  tools_.dialogs->askForName(std::move(question), [this, placed, alert](const QString &name) {
    tools_.changes->run(
        [this, alert, placed, image = tools_.image->filesystem(),
         name = name.toStdString()](EMU3Filesystem &filesystem, EMU3Error *error) -> ImageWork::Completion {
          const bool isRenamed = !keepsName(placed, name);
          const std::optional<EntryBytes> before =
              isRenamed ? filesystem.entryOfFile(placed.file, error) : std::nullopt;
          if (isRenamed && (!before || !filesystem.renameFile(placed.file, name, placed.folder, error)))
            return {};
          return [this, alert, placed, image, before, renamed = placed.file->name()] {
            if (alert) alert->accept();
            LastingItems &items = *tools_.history->items();
            if (before)
              tools_.history->did(
                  QStringLiteral("Rename"),
                  std::make_shared<NameStep>(items.of(placed.file), items.of(placed.folder), *before), image);
            if (image != tools_.image->filesystem()) return;
            tools_.browser->content()->refresh();
            tools_.browser->setStatus(QStringLiteral("Renamed to \"%1\".").arg(displayText(renamed)));
          };
        },
        [this, alert] { tools_.dialogs->askAgain(alert); });
  });
}

// ---- Information

void FileCommands::showInformation(const std::vector<EMU3FilePtr> &files) {
  if (files.size() != 1) return;
  tools_.image->lookAtImage(
      [file = files.front()](EMU3Filesystem &filesystem) { filesystem.populateBankMetadata(file); },
      [this, file = files.front()] { informationRead(file); });
}

void FileCommands::informationRead(const EMU3FilePtr &file) {
  const std::string name = file->name();
  auto alert = std::make_unique<Alert>(name.empty() ? QStringLiteral("File Info") : displayText(name),
                                       informationText(*file), tools_.dialogs->window());
  alert->setEscapeButton(alert->addChoice(QStringLiteral("OK"), Alert::AcceptRole));
  alert->addChoice(QStringLiteral("Export…"), Alert::ActionRole);
  alert->setFacts(factsOf(*file));
  tools_.dialogs->choose(std::move(alert), [this, file](int button) {
    if (button == 1) exportFiles_({file});
  });
}

} // namespace tessary
