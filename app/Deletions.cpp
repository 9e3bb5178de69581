#include "app/Deletions.h"

#include "app/Alert.h"
#include "app/Beeper.h"
#include "app/Browser.h"
#include "app/Dialogs.h"
#include "app/DisplayText.h"
#include "app/ImageChanges.h"
#include "app/ImageWork.h"
#include "app/PlatformTexts.h"
#include "app/history/ChangeHistory.h"
#include "app/history/PresenceSteps.h"
#include "app/history/Removal.h"

#include <optional>
#include <utility>

namespace tessary {

Deletions::Deletions(const CommandTools &tools, QObject *parent) : QObject(parent), tools_(tools) {}

// ---- Delete

void Deletions::deleteFiles(const std::vector<EMU3FilePtr> &files) {
  if (files.empty() || tools_.dialogs->thatIsUp()) return beep();
  tools_.changes->whenChangeable([this, placed = placedFiles(files)] { ask(placed); },
                                 [this] { tools_.changes->tellReadOnly(); });
}

void Deletions::ask(const std::vector<PlacedFile> &files) {
  auto question = std::make_unique<Alert>(
      QStringLiteral("Delete %1 file(s)?").arg(QString::number(files.size())),
      QStringLiteral("You can undo with %1.").arg(undoKeyText()), tools_.dialogs->window());
  question->addChoice(QStringLiteral("Delete"), Alert::DestructiveRole);
  question->addChoice(QStringLiteral("Cancel"), Alert::RejectRole);
  tools_.dialogs->ask(std::move(question), [this, files] { remove(files); });
}

void Deletions::remove(const std::vector<PlacedFile> &files) {
  tools_.history->run(QStringLiteral("Delete"), TakeAwayStep::of(*tools_.history->items(), files),
                      ImageWork::Spinning::no, [this](const StepResult &result) {
                        tools_.browser->showChanges();
                        tools_.browser->setStatus(result.status);
                        tools_.dialogs->tellFailures(result.failed, result.failures);
                        askWhetherForGood({result.incompleteFiles, result.outcome.done});
                      });
}

void Deletions::showDeleted(std::size_t count) {
  tools_.browser->showChanges();
  tools_.browser->setStatus(QStringLiteral("Deleted %1 file(s).").arg(QString::number(count)));
}

// ---- Delete for good

/// Asks about the first of the files; when that is done with, about the next.
void Deletions::askWhetherForGood(const IncompleteFiles &incomplete) {
  if (incomplete.files.empty()) return;
  tools_.dialogs->whenNoneIsUp([this, incomplete] { askAboutFirst(incomplete); });
}

void Deletions::askAboutFirst(const IncompleteFiles &incomplete) {
  const PlacedFile file = incomplete.files.front();
  IncompleteFiles others = incomplete;
  others.files.erase(others.files.begin());
  auto question = std::make_unique<Alert>(
      QStringLiteral("Delete “%1” for good?").arg(displayText(file.file->name())),
      QStringLiteral("Its contents are incomplete, so it cannot be brought back."), tools_.dialogs->window());
  question->addChoice(QStringLiteral("Delete"), Alert::DestructiveRole);
  question->addChoice(QStringLiteral("Cancel"), Alert::RejectRole);
  tools_.dialogs->ask(
      std::move(question), [this, file, others] { removeForGood(file, others); },
      [this, others] { askWhetherForGood(others); });
}

void Deletions::removeForGood(const PlacedFile &file, const IncompleteFiles &others) {
  tools_.image->runLongWork(
      [file, items = tools_.history->items()](EMU3Filesystem &filesystem, WorkProgress &progress) {
        return tessary::removeForGood(filesystem, *items, file, progress);
      },
      [this, others](const std::optional<EMU3Error> &failure) {
        IncompleteFiles left = others;
        if (!failure) ++left.deletedBefore;
        showDeleted(left.deletedBefore);
        askWhetherForGood(left);
      });
}

} // namespace tessary
