#include "app/MainWindowController.h"

#include "app/Beeper.h"
#include "app/DisplayText.h"
#include "app/Documents.h"
#include "app/FileTable.h"
#include "app/FolderOutline.h"
#include "app/MainQueue.h"
#include "app/MainWindow.h"
#include "app/Spinner.h"
#include "app/StatusBar.h"
#include "app/WindowPlace.h"
#include "app/WorkQueue.h"
#include "app/panel/BankContents.h"
#include "tessary/Text.h"

#include <QDesktopServices>
#include <QFile>
#include <QFileDialog>
#include <QMenu>
#include <QThreadPool>
#include <utility>

namespace tessary {
namespace {

constexpr QLatin1String kNoImage("No image loaded");

} // namespace

MainWindowController::MainWindowController() : window_(std::make_unique<MainWindow>()) {
  _buildUI();
  connect(window_.get(), &MainWindow::closed, this, &MainWindowController::windowClosed);
  connect(undoManager(), &UndoManager::changed, this, &MainWindowController::_validateItems);
  connect(check_, &ImageCheck::changed, this, &MainWindowController::_validateItems);
  browser_->showTitle();
  browser_->setStatus(kNoImage);
  _setupKeyboardShortcuts();
}

// Waits for openings of images that still run: each hands its result to the main thread when it ends, and the
// application that takes it is destroyed soon after this.
MainWindowController::~MainWindowController() {
  undoManager()->clear(); // the copies for undo go with it
  workQueue().waitForDone();
}

QTreeView *MainWindowController::outlineView() const {
  return browser_->views().outline;
}

QTableView *MainWindowController::tableView() const {
  return browser_->views().table;
}

StatusLabel *MainWindowController::statusLabel() const {
  return browser_->views().statusBar->statusLabel();
}

StatusLabel *MainWindowController::diskSpaceLabel() const {
  return browser_->views().statusBar->diskSpaceLabel();
}

Spinner *MainWindowController::spinner() const {
  return browser_->views().statusBar->spinner();
}

void MainWindowController::showWindow() {
  window_->show();
}

void MainWindowController::bringToFront() {
  if (dialogs_->isQuitting()) return;
  window_->setWindowState(window_->windowState() & ~Qt::WindowMinimized);
  window_->raise();
  window_->activateWindow();
}

void MainWindowController::prepareToQuit() {
  if (!dialogs_->isQuitting()) rememberPlace(*window_);
  dialogs_->quit();
  bankContents_->stop();
  window_->hide();
}

// ---- Opening and unmounting

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
  spinner()->start();
  browser_->setStatus(QStringLiteral("Opening image…"));
  workQueue().start([controller = QPointer(this), imageURL] {
    EMU3Error error;
    EMU3FilesystemPtr filesystem =
        EMU3Filesystem::initWithURL(imageURL, MountRules::guarded, ImageClaim::whenMounted, &error);
    onMainQueue([controller, imageURL, filesystem, error] {
      if (controller) controller->_imageOpened(imageURL, filesystem, error);
    });
  });
}

void MainWindowController::_imageOpened(const std::string &imageURL, EMU3FilesystemPtr filesystem,
                                        const EMU3Error &error) {
  spinner()->stop();
  if (dialogs_->isQuitting()) return;
  if (!filesystem) {
    const QString reason =
        error.isSet() ? displayText(error.messageWithReason()) : QStringLiteral("Unknown error");
    const QString name = displayText(lastPathComponent(imageURL));
    return openingFailed(reason.contains(name) ? reason : QStringLiteral("%1: %2").arg(name, reason));
  }
  RecentImages::add(imageURL);
  _setFilesystem(std::move(filesystem));
  browser_->showImage();
  if (browser_->showsReadOnly())
    browser_->setStatus(browser_->readOnlyText(QStringLiteral("Opened read-only")));
}

void MainWindowController::openingFailed(const QString &reason) {
  if (dialogs_->isQuitting()) return;
  dialogs_->tell(QStringLiteral("Cannot Open Image"), reason);
  browser_->setStatus(QStringLiteral("Failed to open image."));
}

void MainWindowController::_unmountImage() {
  if (!filesystem()) return;
  _setFilesystem(nullptr);
  browser_->showImage();
  browser_->setStatus(kNoImage);
}

void MainWindowController::_setFilesystem(EMU3FilesystemPtr filesystem) {
  image_->setFilesystem(std::move(filesystem));
  browser_->showTitle();
  clickedDirectory_ = nullptr;
  check_->imageReplaced();
  bankContents_->imageReplaced();
  history_->imageReplaced();
  // What is chosen from a menu is meant for the image that it came up over.
  for (const auto &menu : menuBarMenus_)
    menu->close();
  folderMenu_->close();
  fileMenu_->close();
  _validateItems();
}

void MainWindowController::_backUpImage() {
  if (!filesystem()) return beep();
  backups_->backUp();
}

void MainWindowController::_checkImage() {
  check_->check();
}

// ---- Help

void MainWindowController::_showUserGuide() {
  showDocument(QStringLiteral("user-guide.md"));
}

void MainWindowController::_showSurprises() {
  showDocument(QStringLiteral("what-may-surprise.md"));
}

void MainWindowController::showDocument(const QString &fileName) {
  const QUrl document = documentUrl(fileName);
  if (document.isEmpty())
    dialogs_->tell(tr("Cannot Open Guide"), tr("%1 is not installed.").arg(fileName));
  else if (!QDesktopServices::openUrl(document))
    dialogs_->tell(tr("Cannot Open Guide"), tr("No program opens %1.").arg(document.toLocalFile()));
}

} // namespace tessary
