#include "app/Beeper.h"
#include "app/DisplayText.h"
#include "app/MainWindow.h"
#include "app/MainWindowController.h"
#include "app/StatusBar.h"
#include "app/WindowList.h"
#include "app/menus/ContextMenus.h"
#include "app/menus/MenuBarMenus.h"
#include "app/panel/BankContents.h"
#include "tessary/Text.h"

#include <QFile>
#include <QFileDialog>
#include <utility>

namespace tessary {
namespace {

const QString kEarlierWork =
    QStringLiteral("Earlier work on this image is not finished. What you do now waits for it.");

} // namespace

QString MainWindowController::imageName() const {
  return filesystem() ? displayText(lastPathComponent(filesystem()->imageURL())) : QString();
}

void MainWindowController::_newImage() {
  newImages_->make();
}

void MainWindowController::_openImage() {
  auto panel = std::make_unique<QFileDialog>(window_.get(),
                                             QStringLiteral("Select an E-MU Sampler disk image (.hda)"));
  panel->setFileMode(QFileDialog::ExistingFile);
  panel->setLabelText(QFileDialog::Accept, QStringLiteral("Mount"));
  connect(panel.get(), &QFileDialog::fileSelected, this,
          [this](const QString &path) { openImageAtURL(QFile::encodeName(path).toStdString()); });
  dialogs_->begin(std::move(panel));
}

void MainWindowController::openImageAtURL(const std::string &imageURL) {
  openings_->open(imageURL, [this](const EMU3FilesystemPtr &image) {
    if (windows_.bringToFront(*image, this))
      openings_->wentElsewhere();
    else
      showImage(image);
  });
}

void MainWindowController::openImageElsewhere(const std::string &imageURL,
                                              ImageOpenings::EndedElsewhere ended) {
  openings_->openElsewhere(imageURL, std::move(ended));
}

void MainWindowController::showImage(const EMU3FilesystemPtr &image) {
  _setFilesystem(image);
  browser_->showImage();
  if (browser_->showsReadOnly())
    browser_->setStatus(browser_->readOnlyText(QStringLiteral("Opened read-only")));
  else if (image_->waitsForEarlierWork())
    browser_->setStatus(kEarlierWork);
}

void MainWindowController::_earlierWorkEnded() {
  const bool isStillSaid = statusLabel()->text() == kEarlierWork;
  browser_->showChanges();
  if (isStillSaid) browser_->setStatus(QStringLiteral("Earlier work on this image has ended."));
}

void MainWindowController::openingFailed(const QString &reason) {
  openings_->failed(reason);
}

void MainWindowController::_unmountImage() {
  if (!filesystem()) return;
  _setFilesystem(nullptr);
  browser_->showImage();
  _tellThatNoneIsMounted();
}

void MainWindowController::_tellThatNoneIsMounted() {
  browser_->setStatus(QStringLiteral("No image loaded"));
}

void MainWindowController::_setFilesystem(const EMU3FilesystemPtr &filesystem) {
  image_->setFilesystem(filesystem);
  browser_->showTitle();
  clickedDirectory_ = nullptr;
  check_->imageReplaced();
  bankContents_->imageReplaced();
  history_->imageReplaced();
  // What is chosen from a menu is meant for the image that it came up over.
  menuBarMenus_->close();
  contextMenus_->close();
  _validateItems();
}

void MainWindowController::_backUpImage() {
  if (!filesystem()) return beep();
  backups_->backUp();
}

void MainWindowController::_checkImage() {
  check_->check();
}

} // namespace tessary
