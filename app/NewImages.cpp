#include "app/NewImages.h"

#include "app/Browser.h"
#include "app/Dialogs.h"
#include "app/DisplayText.h"
#include "app/ImageWork.h"
#include "app/MainQueue.h"
#include "app/NewImageAlert.h"
#include "app/Spinner.h"
#include "app/StatusBar.h"
#include "app/WorkQueue.h"
#include "tessary/EMU3Filesystem.h"
#include "tessary/NewVolume.h"
#include "tessary/Text.h"

#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QPointer>
#include <QThreadPool>
#include <memory>
#include <utility>

namespace tessary {
namespace {

/// Beside the mounted image, or where file panels begin.
QString proposedFile(const EMU3FilesystemPtr &mounted) {
  QString name = QStringLiteral("New Image.hda");
  if (!mounted) return name;
  const QFileInfo image(QFile::decodeName(QByteArray::fromStdString(mounted->imageURL())));
  return image.absolutePath() + QLatin1Char('/') + name;
}

} // namespace

NewImages::NewImages(const CommandTools &tools, std::function<void(const std::string &)> open,
                     QObject *parent)
    : QObject(parent), tools_(tools), open_(std::move(open)) {}

void NewImages::make() {
  const EMU3FilesystemPtr mounted = tools_.image->filesystem();
  auto question = std::make_unique<NewImageAlert>(mounted ? mounted->imageURL() : std::string(),
                                                  tools_.dialogs->window());
  connect(question.get(), &NewImageAlert::confirmed, this,
          [this, asked = question.get()] { confirmed(asked); });
  tools_.dialogs->begin(std::move(question));
}

/// An answer that no image can be made by leaves the question up.
void NewImages::confirmed(NewImageAlert *question) {
  Wish wish;
  if (const auto model = question->model()) {
    if (model->empty()) return tools_.dialogs->tell(QStringLiteral("No disk image is chosen."));
    wish.model = *model;
  } else {
    EMU3Error error;
    wish.bytes = NewVolume::sizeFromText(question->size().toStdString());
    if (!wish.bytes)
      return tools_.dialogs->tell(QStringLiteral("“%1” is no size. Write one as 512 MB or 2 GB.")
                                      .arg(displayText(question->size().toStdString())));
    if (!NewVolume::ofSize(*wish.bytes, &error)) return tools_.dialogs->tell(error);
  }
  question->accept();
  askForFile(wish);
}

void NewImages::askForFile(const Wish &wish) {
  auto chooser = std::make_unique<QFileDialog>(tools_.dialogs->window(),
                                               QStringLiteral("Make the new image in this file"));
  chooser->setFileMode(QFileDialog::AnyFile);
  chooser->setAcceptMode(QFileDialog::AcceptSave);
  chooser->setDefaultSuffix(QStringLiteral("hda"));
  chooser->setLabelText(QFileDialog::Accept, QStringLiteral("Create"));
  chooser->selectFile(proposedFile(tools_.image->filesystem()));
  connect(chooser.get(), &QFileDialog::fileSelected, this,
          [this, wish](const QString &path) { makeAt(QFile::encodeName(path).toStdString(), wish); });
  tools_.dialogs->begin(std::move(chooser));
}

void NewImages::makeAt(const std::string &path, const Wish &wish) {
  tools_.browser->views().statusBar->spinner()->start();
  tools_.browser->setStatus(QStringLiteral("Making the new image…"));
  workQueue().start([self = QPointer(this), path, wish] {
    EMU3Error error;
    const bool isMade = makeFile(path, wish, &error);
    onMainQueue([self, path, isMade, error] {
      if (self) self->made(path, isMade, error);
    });
  });
}

/// The panel has asked whether an earlier file may be replaced.
bool NewImages::makeFile(const std::string &path, const Wish &wish, EMU3Error *error) {
  std::optional<NewVolume> volume;
  if (wish.bytes) {
    volume = NewVolume::ofSize(*wish.bytes, error);
  } else {
    const EMU3FilesystemPtr model =
        EMU3Filesystem::initWithURL(wish.model, MountRules::guarded, ImageClaim::atFirstChange, error);
    if (model) volume = NewVolume::like(*model, error);
  }
  return volume && volume->create(path, NewVolume::Earlier::replaced, error);
}

void NewImages::made(const std::string &path, bool isMade, const EMU3Error &error) {
  tools_.browser->views().statusBar->spinner()->stop();
  if (tools_.dialogs->isQuitting()) return;
  if (isMade) return open_(path);
  tools_.browser->setStatus(QStringLiteral("The new image was not made."));
  tools_.dialogs->tell(QStringLiteral("Cannot Make “%1”").arg(displayText(lastPathComponent(path))),
                       displayText(error.messageWithReason()));
}

} // namespace tessary
