#include "app/Beeper.h"
#include "app/DisplayText.h"
#include "app/MainQueue.h"
#include "app/MainWindow.h"
#include "app/MainWindowController.h"
#include "app/Spinner.h"
#include "filesystem/ImageBackup.h"
#include "filesystem/Text.h"

#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <memory>
#include <utility>

namespace tessary {
namespace {

/// "drums backup.hda" beside "drums.hda".
QString proposedBackup(const std::string &image) {
  const QFileInfo file(QFile::decodeName(QByteArray::fromStdString(image)));
  return file.absolutePath() + QLatin1Char('/') + file.completeBaseName() + QStringLiteral(" backup.") +
         (file.suffix().isEmpty() ? QStringLiteral("hda") : file.suffix());
}

} // namespace

void MainWindowController::_backUpImage() {
  if (!filesystem_) return beep();
  auto chooser =
      std::make_unique<QFileDialog>(window_.get(), QStringLiteral("Back up the image to a new file"));
  chooser->setFileMode(QFileDialog::AnyFile);
  chooser->setAcceptMode(QFileDialog::AcceptSave);
  chooser->setOption(QFileDialog::DontConfirmOverwrite); // a backup replaces nothing
  chooser->setLabelText(QFileDialog::Accept, QStringLiteral("Back Up"));
  chooser->selectFile(proposedBackup(filesystem_->imageURL()));
  connect(chooser.get(), &QFileDialog::fileSelected, this,
          [this, filesystem = filesystem_](const QString &path) {
            if (filesystem == filesystem_) _backUpTo(QFile::encodeName(path).toStdString());
          });
  _beginSheet(std::move(chooser));
}

void MainWindowController::_backUpTo(const std::string &target) {
  _setStatus(QStringLiteral("Backing up…"));
  spinner_->start();
  filesystem_->ioQueue().async([controller = QPointer(this), filesystem = filesystem_, target] {
    const bool wasReadOnly = filesystem->isReadOnly();
    EMU3Error error;
    const bool isDone = filesystem->backUpTo(target, {}, &error);
    onMainQueue([controller, filesystem, target, isDone, error, wasReadOnly] {
      if (!controller) return;
      // The backup may have got the claim that another program had before, and so have read the image anew.
      if (filesystem == controller->filesystem_ && wasReadOnly && !filesystem->isReadOnly()) {
        controller->_showTitle();
        controller->_showImageReadAnew();
      }
      controller->_imageBackedUp(filesystem, target, isDone, error);
    });
  });
}

void MainWindowController::_imageBackedUp(const EMU3FilesystemPtr &filesystem, const std::string &target,
                                          bool isDone, const EMU3Error &error) {
  spinner_->stop();
  if (quitting_ || filesystem != filesystem_) return;
  const QString name = displayText(lastPathComponent(target));
  _setStatus(isDone ? QStringLiteral("Backed up to “%1”.").arg(name) : QStringLiteral("The backup failed."));
  if (!isDone) _runAlert(error);
}

} // namespace tessary
