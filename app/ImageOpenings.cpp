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

QString failureText(const std::string &imageURL, const EMU3Error &error) {
  const QString reason =
      error.isSet() ? displayText(error.messageWithReason()) : QStringLiteral("Unknown error");
  const QString name = displayText(lastPathComponent(imageURL));
  return reason.contains(name) ? reason : QStringLiteral("%1: %2").arg(name, reason);
}

} // namespace

ImageOpenings::ImageOpenings(const CommandTools &tools, QObject *parent) : QObject(parent), tools_(tools) {}

Spinner *ImageOpenings::spinner() const {
  return tools_.browser->views().statusBar->spinner();
}

/// `ended` runs on the main thread, also when the window is gone by then.
void ImageOpenings::begin(const std::string &imageURL, std::function<void(const End &end)> ended) {
  ++underWay_;
  spinner()->start();
  const QString status = tools_.browser->views().statusBar->statusLabel()->text();
  if (status != kOpening) statusBefore_ = status;
  tools_.browser->setStatus(kOpening);
  workQueue().start([imageURL, ended = std::move(ended)] {
    End end;
    end.image =
        EMU3Filesystem::initWithURL(imageURL, MountRules::guarded, ImageClaim::whenMounted, &end.error);
    onMainQueue([end, ended] { ended(end); });
  });
}

void ImageOpenings::endedHere() {
  --underWay_;
  spinner()->stop();
}

void ImageOpenings::open(const std::string &imageURL, Opened opened) {
  begin(imageURL, [self = QPointer(this), imageURL, opened = std::move(opened)](const End &end) {
    if (self) self->ended(imageURL, end.image, end.error, opened);
  });
}

void ImageOpenings::openElsewhere(const std::string &imageURL, EndedElsewhere ended) {
  begin(imageURL, [self = QPointer(this), imageURL, ended = std::move(ended)](const End &end) {
    QString failure = end.image ? QString() : failureText(imageURL, end.error);
    if (end.image) RecentImages::add(imageURL);
    if (self) self->endedHere();
    if (self && !self->tools_.dialogs->isQuitting()) {
      if (end.image)
        self->wentElsewhere();
      else
        self->failed(std::exchange(failure, QString()));
    }
    ended(end.image, failure);
  });
}

void ImageOpenings::ended(const std::string &imageURL, const EMU3FilesystemPtr &image, const EMU3Error &error,
                          const Opened &opened) {
  endedHere();
  if (tools_.dialogs->isQuitting()) return;
  if (!image) return failed(failureText(imageURL, error));
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
