#include "app/Imports.h"

#include "app/Beeper.h"
#include "app/Browser.h"
#include "app/Dialogs.h"
#include "app/DisplayText.h"
#include "app/ImageChanges.h"
#include "app/ImageWork.h"
#include "app/history/BringInStep.h"
#include "app/history/ChangeHistory.h"

#include <QFile>
#include <QFileDialog>
#include <QStringList>
#include <memory>
#include <utility>

namespace tessary {
namespace {

/// Host paths as the toolkit gives them, in the host's encoding.
std::vector<std::string> hostPaths(const QStringList &paths) {
  std::vector<std::string> encoded;
  encoded.reserve(static_cast<std::size_t>(paths.size()));
  for (const QString &path : paths)
    encoded.push_back(QFile::encodeName(path).toStdString());
  return encoded;
}

} // namespace

Imports::Imports(const CommandTools &tools, QObject *parent) : QObject(parent), tools_(tools) {}

// ---- Chosen files and folders

void Imports::choose() {
  if (!tools_.image->filesystem()) return beep();
  whenChangeable([this] { askForFiles(); });
}

void Imports::askForFiles() {
  auto chooser = std::make_unique<QFileDialog>(tools_.dialogs->window(),
                                               QStringLiteral("Select E-MU bank file(s) to import"));
  chooser->setFileMode(QFileDialog::ExistingFiles);
  chooser->setLabelText(QFileDialog::Accept, QStringLiteral("Import"));
  connect(chooser.get(), &QFileDialog::filesSelected, this,
          [this, filesystem = tools_.image->filesystem()](const QStringList &paths) {
            if (filesystem == tools_.image->filesystem()) importChosen(hostPaths(paths));
          });
  tools_.dialogs->begin(std::move(chooser));
}

void Imports::chooseFolder() {
  if (!tools_.image->filesystem()) return beep();
  whenChangeable([this] {
    tools_.dialogs->chooseFolder(QStringLiteral("Select a folder to import with all that is in it"),
                                 QStringLiteral("Import"),
                                 [this](const std::string &folder) { importChosen({folder}); });
  });
}

void Imports::whenChangeable(std::function<void()> import) {
  tools_.changes->whenChangeable(std::move(import), [this] {
    tools_.changes->tellReadOnly(
        QStringLiteral("\n\nMake sure the .hda file is not locked and has write permissions."));
  });
}

void Imports::importChosen(const std::vector<std::string> &urls) {
  // Of an image without folders nothing is shown at first: its files go into the root.
  if (!tools_.browser->folder()) tools_.browser->showRoot();
  run(urls, tools_.browser->folder(), ImageWork::Spinning::yes,
      [this, shownBefore = tools_.browser->foldersShown()](const StepResult &result) {
        show(result, shownBefore);
        const EMU3FilesystemPtr filesystem = tools_.image->filesystem();
        tools_.dialogs->tellFailures(result.failed, result.failures);
        if (filesystem == tools_.image->filesystem()) // not replaced while the alert was up
          tools_.browser->setStatus(result.status);
      });
}

// ---- Dropped files

void Imports::dropOnTable(const std::vector<std::string> &urls) {
  const EMU3DirectoryPtr folder = tools_.browser->folder();
  const auto imported = [this, shownBefore = tools_.browser->foldersShown()](const StepResult &result) {
    show(result, shownBefore);
    const auto &[done, failed, all, isStopped] = result.outcome;
    tools_.browser->setStatus(
        failed == 0 || isStopped
            ? result.status
            : QStringLiteral("Imported %1 file(s), %2 failed: %3")
                  .arg(QString::number(done), QString::number(failed), result.failures.back().reason));
    tools_.dialogs->tellFailures(result.failed, result.failures);
  };
  tools_.changes->whenChangeable(
      [this, urls, folder, imported] { run(urls, folder, ImageWork::Spinning::no, imported); }, [] {});
}

/// Shows the folder dropped on, whatever the user has gone to meanwhile.
void Imports::dropOnFolder(const EMU3DirectoryPtr &folder, const std::vector<std::string> &urls) {
  run(urls, folder, ImageWork::Spinning::no, [this, folder](const StepResult &result) {
    tools_.browser->showArrivals(folder, result.files);
    const auto &[done, failed, all, isStopped] = result.outcome;
    QString status = QStringLiteral("Imported %1 file(s) into '%2'.")
                         .arg(QString::number(done), displayText(folder->name()));
    if (isStopped)
      status = result.status;
    else if (done == 0 && failed > 0)
      status = QStringLiteral("Import failed: %1").arg(result.failures.back().reason);
    tools_.browser->setStatus(status);
    tools_.dialogs->tellFailures(result.failed, result.failures);
  });
}

// ---- What all do

void Imports::run(const std::vector<std::string> &urls, const EMU3DirectoryPtr &folder,
                  ImageWork::Spinning spinning, std::function<void(const StepResult &)> imported) {
  tools_.history->run(QStringLiteral("Import"), BringInStep::of(*tools_.history->items(), urls, folder),
                      spinning, std::move(imported));
}

/// In their folder, unless the user has gone to another one since.
void Imports::show(const StepResult &result, int shownBefore) {
  if (!result.counterpart || shownBefore != tools_.browser->foldersShown())
    return tools_.browser->showChanges();
  tools_.browser->showArrivals(result.folder, result.files);
}

} // namespace tessary
