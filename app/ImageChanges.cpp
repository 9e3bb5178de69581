#include "app/ImageChanges.h"

#include "app/Alert.h"
#include "app/Beeper.h"
#include "app/DisplayText.h"
#include "app/Settings.h"
#include "tessary/Text.h"

#include <QCheckBox>
#include <utility>

namespace tessary {

bool mayBecomeChangeable(const EMU3Filesystem &filesystem) {
  const ReadOnlyReason reason = filesystem.readOnlyReason();
  return reason == ReadOnlyReason::none || reason == ReadOnlyReason::otherProgram;
}

ImageChanges::ImageChanges(ImageWork *image, Dialogs *dialogs, Browser *browser, ImageBackups *backups,
                           QObject *parent)
    : QObject(parent), image_(image), dialogs_(dialogs), browser_(browser), backups_(backups) {}

// ---- Before a change

void ImageChanges::whenChangeable(std::function<void()> change, std::function<void()> refused) {
  if (!image_->filesystem()->isReadOnly()) return offerBackup(std::move(change));
  if (!mayBecomeChangeable(*image_->filesystem())) return refused();
  image_->runBesideChanges([](EMU3Filesystem &filesystem) { return filesystem.claimForChanges(); },
                           [this, change = std::move(change), refused = std::move(refused)](bool isClaimed) {
                             browser_->showTitle();
                             if (!isClaimed) {
                               browser_->setStatus(browser_->readOnlyText());
                               return refused();
                             }
                             browser_->showImageReadAnew();
                             offerBackup(change);
                           });
}

void ImageChanges::offerBackup(std::function<void()> change) {
  const EMU3FilesystemPtr filesystem = image_->filesystem();
  if (offeredFor_.lock() == filesystem ||
      !BackupOffers::isMadeFor(filesystem->imageURL(), filesystem->imageSize()))
    return change();
  auto offer = std::make_unique<Alert>(
      QStringLiteral("Back up “%1” first?").arg(displayText(lastPathComponent(filesystem->imageURL()))),
      QStringLiteral("Changes are written straight into the image. A backup lets you go back."),
      dialogs_->window());
  offer->addChoice(QStringLiteral("Back Up…"), Alert::AcceptRole);
  offer->addChoice(QStringLiteral("Not Now"), Alert::NoRole);
  const QCheckBox *notAgain = offer->addCheckBox(QStringLiteral("Don’t ask again for this image"));
  offer->makeEscapable();
  dialogs_->choose(std::move(offer), [this, filesystem, notAgain, change = std::move(change)](int button) {
    if (button < 0) return; // Escape takes the change back
    if (notAgain->isChecked()) BackupOffers::endFor(filesystem->imageURL(), filesystem->imageSize());
    const auto goOn = [this, filesystem, change] {
      offeredFor_ = filesystem;
      change();
    };
    if (button == 0)
      backups_->backUp(goOn);
    else
      goOn();
  });
}

void ImageChanges::tellReadOnly(const QString &advice) {
  // The claim may be refused when the user has turned to something else.
  if (dialogs_->thatIsUp()) return beep();
  dialogs_->tell(QStringLiteral("Read-Only Image"),
                 QStringLiteral("This image is opened read-only and cannot be modified.") + advice);
}

// ---- A single change

void ImageChanges::run(ImageWork::Change change, std::function<void()> failed) {
  emit begun();
  const auto tell = [this, image = image_->filesystem(), failed = std::move(failed)](const EMU3Error &error) {
    if (image != image_->filesystem()) return;
    const QString news = browser_->readOnlyNews();
    if (!news.isEmpty()) browser_->setStatus(news);
    dialogs_->tell(error);
    if (failed) failed();
  };
  image_->runChange(std::move(change), tell, [this] { emit ended(); });
}

} // namespace tessary
