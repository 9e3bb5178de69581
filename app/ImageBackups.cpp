#include "app/ImageBackups.h"

#include "app/DisplayText.h"
#include "tessary/BackupWatcher.h"
#include "tessary/Text.h"

#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <cerrno>
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

struct BackupEnd {
  bool isDone = false;
  bool isStopped = false;  ///< by the user
  bool wasClaimed = false; ///< so that the image may have been read anew
  EMU3Error error;
};

} // namespace

ImageBackups::ImageBackups(ImageWork *image, Dialogs *dialogs, Browser *browser, QObject *parent)
    : QObject(parent), image_(image), dialogs_(dialogs), browser_(browser) {}

void ImageBackups::backUp(std::function<void()> done) {
  auto chooser =
      std::make_unique<QFileDialog>(dialogs_->window(), QStringLiteral("Back up the image to a new file"));
  chooser->setFileMode(QFileDialog::AnyFile);
  chooser->setAcceptMode(QFileDialog::AcceptSave);
  chooser->setOption(QFileDialog::DontConfirmOverwrite); // a backup replaces nothing
  chooser->setLabelText(QFileDialog::Accept, QStringLiteral("Back Up"));
  chooser->selectFile(proposedBackup(image_->filesystem()->imageURL()));
  connect(chooser.get(), &QFileDialog::fileSelected, this,
          [this, filesystem = image_->filesystem(), done = std::move(done)](const QString &path) {
            if (filesystem == image_->filesystem()) backUpTo(QFile::encodeName(path).toStdString(), done);
          });
  dialogs_->begin(std::move(chooser));
}

void ImageBackups::backUpTo(const std::string &target, const std::function<void()> &done) {
  browser_->setStatus(QStringLiteral("Backing up…"));
  image_->runLongWork(
      [target](EMU3Filesystem &filesystem, WorkProgress &progress) {
        const bool wasReadOnly = filesystem.isReadOnly();
        progress.beginPart(QStringLiteral("Backing up"));
        progress.setItem(lastPathComponent(filesystem.imageURL()));
        BackupWatcher watcher;
        watcher.progressed = [&](std::uint64_t bytesDone, std::uint64_t bytes) {
          progress.setBytes(bytesDone, bytes);
        };
        watcher.isToStop = [&] { return progress.isToStop(); };
        BackupEnd end;
        end.isDone = filesystem.backUpTo(target, watcher, &end.error);
        end.isStopped = !end.isDone && end.error.domain == kHostErrorDomain && end.error.code == ECANCELED;
        // It may have got the claim that another program had before.
        end.wasClaimed = wasReadOnly && !filesystem.isReadOnly();
        return end;
      },
      [this, target, done](const BackupEnd &end) {
        if (end.wasClaimed) browser_->showImageReadAnew();
        if (dialogs_->isQuitting()) return;
        if (end.isStopped)
          return browser_->setStatus(QStringLiteral("Stopped. The image was not backed up."));
        const QString name = displayText(lastPathComponent(target));
        browser_->setStatus(end.isDone ? QStringLiteral("Backed up to “%1”.").arg(name)
                                       : QStringLiteral("The backup failed."));
        if (!end.isDone) return dialogs_->tell(end.error);
        if (done) done();
      },
      ImageWork::Spinning::yes);
}

} // namespace tessary
