#include "app/Imports.h"

#include "app/Beeper.h"
#include "app/Browser.h"
#include "app/Dialogs.h"
#include "app/DisplayText.h"
#include "app/ImageChanges.h"
#include "app/ImageWork.h"
#include "app/PlacedFiles.h"
#include "app/history/ChangeHistory.h"

#include <QFileDialog>
#include <memory>
#include <utility>

namespace tessary {

Imports::Imports(const CommandTools &tools, QObject *parent) : QObject(parent), tools_(tools) {}

// ---- Chosen files

void Imports::choose() {
  if (!tools_.image->filesystem()) return beep();
  tools_.changes->whenChangeable([this] { askForFiles(); },
                                 [this] {
                                   tools_.changes->tellReadOnly(
                                       QStringLiteral("\n\nMake sure the .hda file is not locked and has "
                                                      "write permissions."));
                                 });
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

void Imports::importChosen(const std::vector<std::string> &urls) {
  // Of an image without folders nothing is shown at first: its files go into the root.
  if (!tools_.browser->folder()) tools_.browser->showRoot();
  const EMU3DirectoryPtr folder = tools_.browser->folder();
  run(urls, folder, true,
      [this, folder, shownBefore = tools_.browser->foldersShown()](const ImportResult &result) {
        show(folder, result, shownBefore);
        const EMU3FilesystemPtr filesystem = tools_.image->filesystem();
        tellFailures(result);
        if (filesystem != tools_.image->filesystem()) return; // replaced while the alert was up
        const QString failures =
            result.failures.empty()
                ? QString()
                : QStringLiteral(" (%1 failed)").arg(QString::number(result.failures.size()));
        tools_.browser->setStatus(
            QStringLiteral("Imported %1 file(s)%2.").arg(QString::number(result.imported.size()), failures));
      });
}

// ---- Dropped files

void Imports::dropOnTable(const std::vector<std::string> &urls) {
  const EMU3DirectoryPtr folder = tools_.browser->folder();
  const auto imported = [this, folder,
                         shownBefore = tools_.browser->foldersShown()](const ImportResult &result) {
    show(folder, result, shownBefore);
    const QString count = QString::number(result.imported.size());
    tools_.browser->setStatus(
        result.failures.empty()
            ? QStringLiteral("Imported %1 file(s).").arg(count)
            : QStringLiteral("Imported %1 file(s), %2 failed: %3")
                  .arg(count, QString::number(result.failures.size()), result.failures.back().reason));
    tellFailures(result);
  };
  tools_.changes->whenChangeable([this, urls, folder, imported] { run(urls, folder, false, imported); },
                                 [] {});
}

/// Shows the folder dropped on, whatever the user has gone to meanwhile.
void Imports::dropOnFolder(const EMU3DirectoryPtr &folder, const std::vector<std::string> &urls) {
  run(urls, folder, false, [this, folder](const ImportResult &result) {
    tools_.browser->showArrivals(folder, result.imported);
    tools_.browser->setStatus(
        result.imported.empty() && !result.failures.empty()
            ? QStringLiteral("Import failed: %1").arg(result.failures.back().reason)
            : QStringLiteral("Imported %1 file(s) into '%2'.")
                  .arg(QString::number(result.imported.size()), displayText(folder->name())));
    tellFailures(result);
  });
}

// ---- What both do

void Imports::run(const std::vector<std::string> &urls, const EMU3DirectoryPtr &folder, bool spinning,
                  Imported imported) {
  tools_.image->runOnImage(
      [urls, folder](EMU3Filesystem &filesystem) { return importFiles(filesystem, urls, folder); },
      [this, folder, imported = std::move(imported)](const ImportResult &result) {
        std::vector<PlacedFile> files;
        for (const EMU3FilePtr &file : result.imported)
          files.push_back({file, folder});
        tools_.history->imported(QStringLiteral("Import"), files);
        imported(result);
      },
      spinning ? ImageWork::Spinning::yes : ImageWork::Spinning::no);
}

/// In their folder, unless the user has gone to another one since.
void Imports::show(const EMU3DirectoryPtr &folder, const ImportResult &result, int shownBefore) {
  if (result.imported.empty() || shownBefore != tools_.browser->foldersShown())
    return tools_.browser->showChanges();
  tools_.browser->showArrivals(folder, result.imported);
}

void Imports::tellFailures(const ImportResult &result) {
  tools_.dialogs->tellFailures(QStringLiteral("Import Failed (%1 of %2)")
                                   .arg(QString::number(result.failures.size()),
                                        QString::number(result.failures.size() + result.imported.size())),
                               result.failures);
}

} // namespace tessary
