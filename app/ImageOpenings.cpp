#include "app/ImageOpenings.h"

#include "app/Browser.h"
#include "app/Dialogs.h"
#include "app/DisplayText.h"
#include "app/MainQueue.h"
#include "app/RecentImages.h"
#include "app/Spinner.h"
#include "app/StatusBar.h"
#include "app/WorkQueue.h"
#include "tessary/Text.h"

#include <QPointer>
#include <QThreadPool>
#include <utility>

namespace tessary {
namespace {

const QString kOpening = QStringLiteral("Opening image…");

} // namespace

ImageOpenings::ImageOpenings(const CommandTools &tools, QObject *parent) : QObject(parent), tools_(tools) {}

Spinner *ImageOpenings::spinner() const {
  return tools_.browser->views().statusBar->spinner();
}

void ImageOpenings::open(const std::string &imageURL, Opened opened) {
  ++underWay_;
  spinner()->start();
  const QString status = tools_.browser->views().statusBar->statusLabel()->text();
  if (status != kOpening) statusBefore_ = status;
  tools_.browser->setStatus(kOpening);
  workQueue().start([self = QPointer(this), imageURL, opened = std::move(opened)] {
    EMU3Error error;
    const EMU3FilesystemPtr image =
        EMU3Filesystem::initWithURL(imageURL, MountRules::guarded, ImageClaim::whenMounted, &error);
    onMainQueue([self, imageURL, image, error, opened] {
      if (self) self->ended(imageURL, image, error, opened);
    });
  });
}

void ImageOpenings::ended(const std::string &imageURL, const EMU3FilesystemPtr &image, const EMU3Error &error,
                          const Opened &opened) {
  --underWay_;
  spinner()->stop();
  if (tools_.dialogs->isQuitting()) return;
  if (!image) {
    const QString reason =
        error.isSet() ? displayText(error.messageWithReason()) : QStringLiteral("Unknown error");
    const QString name = displayText(lastPathComponent(imageURL));
    return failed(reason.contains(name) ? reason : QStringLiteral("%1: %2").arg(name, reason));
  }
  RecentImages::add(imageURL);
  opened(image);
}

void ImageOpenings::wentElsewhere() {
  // What was said since stays.
  if (!areUnderWay() && tools_.browser->views().statusBar->statusLabel()->text() == kOpening)
    tools_.browser->setStatus(statusBefore_);
}

void ImageOpenings::failed(const QString &reason) {
  if (tools_.dialogs->isQuitting()) return;
  tools_.dialogs->tell(QStringLiteral("Cannot Open Image"), reason);
  tools_.browser->setStatus(QStringLiteral("Failed to open image."));
}

} // namespace tessary
