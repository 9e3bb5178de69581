#include "app/Beeper.h"
#include "app/ImportFiles.h"
#include "app/MainQueue.h"
#include "app/MainWindow.h"
#include "app/MainWindowController.h"
#include "app/Spinner.h"

#include <QFileDialog>
#include <utility>

namespace tessary {

void MainWindowController::_importFile() {
  if (!filesystem_) return beep();
  _whenChangeable([this] { _chooseFilesToImport(); },
                  [this] {
                    _runReadOnlyAlert(QStringLiteral(
                        "\n\nMake sure the .hda file is not locked and has write permissions."));
                  });
}

void MainWindowController::_chooseFilesToImport() {
  auto chooser =
      std::make_unique<QFileDialog>(window_.get(), QStringLiteral("Select E-MU bank file(s) to import"));
  chooser->setFileMode(QFileDialog::ExistingFiles);
  chooser->setLabelText(QFileDialog::Accept, QStringLiteral("Import"));
  connect(chooser.get(), &QFileDialog::filesSelected, this,
          [this, filesystem = filesystem_](const QStringList &paths) {
            if (filesystem == filesystem_) _importFiles(hostPaths(paths));
          });
  _beginSheet(std::move(chooser));
}

void MainWindowController::_importFiles(const std::vector<std::string> &urls) {
  // Of an image without folders nothing is shown at first: its files go into the root.
  if (!currentDirectory_) _selectDirectory(filesystem_->rootDirectory());
  spinner_->start();
  filesystem_->ioQueue().async(
      [controller = QPointer(this), filesystem = filesystem_, directory = currentDirectory_, urls] {
        const ImportResult result = importFiles(*filesystem, urls, directory);
        onMainQueue([controller, filesystem, result] {
          if (controller) controller->_filesImported(filesystem, result);
        });
      });
}

void MainWindowController::_filesImported(const EMU3FilesystemPtr &filesystem, const ImportResult &result) {
  spinner_->stop();
  if (filesystem != filesystem_) return;
  _showChanges();
  QString failures;
  if (result.failed() > 0) {
    const QString failed = QString::number(result.failed());
    _runAlert(QStringLiteral("Import Failed (%1 of %2)").arg(failed, QString::number(result.chosen)),
              result.lastErrorText(QStringLiteral("Unknown error")));
    if (filesystem != filesystem_) return; // replaced while the alert was up
    failures = QStringLiteral(" (%1 failed)").arg(failed);
  }
  _setStatus(QStringLiteral("Imported %1 file(s)%2.").arg(QString::number(result.imported), failures));
}

} // namespace tessary
