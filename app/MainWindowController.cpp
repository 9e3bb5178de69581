#include "app/MainWindowController.h"

#include "app/Alert.h"
#include "app/Beeper.h"
#include "app/ContentController.h"
#include "app/DisplayText.h"
#include "app/FindingsPanel.h"
#include "app/MainQueue.h"
#include "app/MainWindow.h"
#include "app/ReadyFile.h"
#include "app/SidebarController.h"
#include "app/Spinner.h"
#include "app/StatusBar.h"
#include "app/WorkQueue.h"
#include "filesystem/Text.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTableView>
#include <QThreadPool>
#include <algorithm>
#include <unordered_set>
#include <utility>

namespace tessary {
namespace {

constexpr QLatin1String kAppName("Tessary");
constexpr QLatin1String kNoImage("No image loaded");

/// Among the root's subfolders the first of those with the most files; the root when it has none.
EMU3DirectoryPtr folderToShowFirst(const EMU3DirectoryPtr &root) {
  const std::vector<EMU3DirectoryPtr> folders = root->subdirectories();
  if (folders.empty()) return root;
  return *std::max_element(folders.begin(), folders.end(), [](const auto &one, const auto &other) {
    return one->totalFileCount() < other->totalFileCount();
  });
}

std::uint64_t kilobytes(std::uint64_t blocks) {
  return blocks * 512 / 1024;
}

} // namespace

QString diskSpaceText(std::uint64_t usedBlocks, std::uint64_t freeBlocks) {
  return QStringLiteral("Used: %1 KB  Free: %2 KB")
      .arg(QString::number(kilobytes(usedBlocks)), QString::number(kilobytes(freeBlocks)));
}

MainWindowController::MainWindowController() : window_(std::make_unique<MainWindow>()) {
  constexpr std::size_t undoLevels = 10;
  undoManager_.setLevelsOfUndo(undoLevels);
  window_->setMinimumSize(800, 500);
  _showTitle();
  connect(window_.get(), &MainWindow::closed, this, &MainWindowController::windowClosed);
  connect(&undoManager_, &UndoManager::changed, this, &MainWindowController::_validateItems);
  _buildUI();
  _setStatus(kNoImage);
  _setupKeyboardShortcuts();
}

// What still runs there posts to the application, which must be there for it.
MainWindowController::~MainWindowController() {
  workQueue().waitForDone();
}

void MainWindowController::showWindow() {
  window_->show();
}

void MainWindowController::bringToFront() {
  if (quitting_) return;
  window_->setWindowState(window_->windowState() & ~Qt::WindowMinimized);
  window_->raise();
  window_->activateWindow();
}

void MainWindowController::prepareToQuit() {
  quitting_ = true;
  // A question that is still open counts as answered with no.
  for (QDialog *dialog : window_->findChildren<QDialog *>())
    if (dialog->isVisible()) dialog->reject();
  window_->hide();
}

// ---- Opening and unmounting

void MainWindowController::_openImage() {
  auto panel = std::make_unique<QFileDialog>(window_.get(),
                                             QStringLiteral("Select an E-MU Sampler disk image (.hda)"));
  panel->setFileMode(QFileDialog::ExistingFile);
  panel->setLabelText(QFileDialog::Accept, QStringLiteral("Mount"));
  connect(panel.get(), &QFileDialog::fileSelected, this,
          [this](const QString &path) { openImageAtURL(QFile::encodeName(path).toStdString()); });
  _beginSheet(std::move(panel));
}

void MainWindowController::openImageAtURL(const std::string &imageURL) {
  spinner_->start();
  _setStatus(QStringLiteral("Opening image…"));
  workQueue().start([controller = QPointer(this), imageURL] {
    EMU3Error error;
    EMU3FilesystemPtr filesystem =
        EMU3Filesystem::initWithURL(imageURL, MountRules::guarded, ImageClaim::whenMounted, &error);
    onMainQueue([controller, filesystem, error] {
      if (controller) controller->_imageOpened(filesystem, error);
    });
  });
}

void MainWindowController::_imageOpened(EMU3FilesystemPtr filesystem, const EMU3Error &error) {
  spinner_->stop();
  if (quitting_) return;
  if (!filesystem)
    return openingFailed(error.isSet() ? displayText(error.localizedDescription())
                                       : QStringLiteral("Unknown error"));
  _setFilesystem(std::move(filesystem));
  _showNoFolder();
  _loadFilesystem();
  if (shownReason_ != ReadOnlyReason::none) _setStatus(_readOnlyText(QStringLiteral("Opened read-only")));
}

void MainWindowController::openingFailed(const QString &reason) {
  if (quitting_) return;
  _runAlert(QStringLiteral("Cannot Open Image"), reason);
  _setStatus(QStringLiteral("Failed to open image."));
}

void MainWindowController::_unmountImage() {
  if (!filesystem_) return;
  _setFilesystem(nullptr);
  contentCtl_->setFilesystem(nullptr);
  _showNoFolder();
  _setStatus(kNoImage);
  _updateDiskSpaceLabel();
}

void MainWindowController::_setFilesystem(EMU3FilesystemPtr filesystem) {
  filesystem_ = std::move(filesystem);
  changeQueue_ = filesystem_ ? std::make_unique<SerialQueue>("com.tessary.change") : nullptr;
  _showTitle();
  clickedDirectory_ = nullptr;
  checking_ = false;
  if (findings_) findings_->close();
  // What is chosen from a menu is meant for the image that it came up over.
  imageMenu_->close();
  folderMenu_->close();
  fileMenu_->close();
  _validateItems();
}

// ---- Showing the image

/// The folder shown so far belongs to an image that is no longer mounted, or is to be shown as if it were
/// new.
void MainWindowController::_showNoFolder() {
  sidebarCtl_->setRoot(nullptr);
  sidebarCtl_->reload();
  currentDirectory_ = nullptr;
  contentCtl_->setDirectory(nullptr);
  contentCtl_->refresh();
}

void MainWindowController::_loadFilesystem() {
  const EMU3DirectoryPtr root = filesystem_->rootDirectory();
  sidebarCtl_->setRoot(root);
  contentCtl_->setFilesystem(filesystem_);
  sidebarCtl_->reload();
  if (!sidebarCtl_->selectRowOf(folderToShowFirst(root))) sidebarCtl_->selectFirstRow();
  _updateDiskSpaceLabel();
}

void MainWindowController::_selectDirectory(const EMU3DirectoryPtr &directory) {
  currentDirectory_ = directory;
  contentCtl_->setDirectory(directory);
  contentCtl_->refresh();
  if (!filesystem_ || !directory) return;

  const std::vector<EMU3FilePtr> files = directory->allFiles();
  filesystem_->ioQueue().async([controller = QPointer(this), filesystem = filesystem_, directory, files] {
    for (const EMU3FilePtr &file : files)
      if (file->fileType() == kFileTypeBank) filesystem->populateBankMetadata(file);
    onMainQueue([controller, filesystem, directory] {
      if (controller) controller->_bankDetailsRead(filesystem, directory);
    });
  });
  _setStatus(
      QStringLiteral("%1 — %2 file(s)").arg(displayText(directory->name()), QString::number(files.size())));
}

/// A click that leaves the outline's selection as it was reports no change, but what is shown may be another
/// folder: drops and copies show theirs without a highlight.
void MainWindowController::_showChosenFolder() {
  const EMU3DirectoryPtr selected = sidebarCtl_->selectedDirectory();
  const EMU3DirectoryPtr chosen = selected ? selected : sidebarCtl_->root();
  if (chosen != currentDirectory_) _selectDirectory(chosen);
}

void MainWindowController::_bankDetailsRead(const EMU3FilesystemPtr &filesystem,
                                            const EMU3DirectoryPtr &directory) {
  if (filesystem != filesystem_ || directory != currentDirectory_) return;
  contentCtl_->refresh();
  writeReadyFile(window_.get());
}

void MainWindowController::_updateDiskSpaceLabel() {
  diskSpaceLabel_->setText(filesystem_ ? diskSpaceText(filesystem_->usedBlocks(), filesystem_->freeBlocks())
                                       : QString());
}

void MainWindowController::_showChanges() {
  contentCtl_->refresh();
  sidebarCtl_->reload();
  _updateDiskSpaceLabel();
}

void MainWindowController::_showTitle() {
  shownReason_ = filesystem_ ? filesystem_->readOnlyReason() : ReadOnlyReason::none;
  QString title = kAppName;
  if (filesystem_)
    title += QStringLiteral(" — %1").arg(displayText(lastPathComponent(filesystem_->imageURL())));
  if (shownReason_ != ReadOnlyReason::none) title += QStringLiteral(" (read-only)");
  window_->setWindowTitle(titleText(title));
}

void MainWindowController::_setStatus(const QString &text) {
  const QString news = _readOnlyNews();
  statusLabel_->setText(news.isEmpty() ? text : QStringLiteral("%1 %2").arg(text, news));
}

QString MainWindowController::_readOnlyNews() {
  const ReadOnlyReason shown = shownReason_;
  _showTitle();
  const bool isNews = shownReason_ != shown && shownReason_ != ReadOnlyReason::none;
  return isNews ? _readOnlyText() : QString();
}

QString MainWindowController::_readOnlyText(const QString &beginning) const {
  return QStringLiteral("%1: %2.").arg(beginning, QLatin1String(readOnlyReasonText(shownReason_)));
}

// ---- For the commands

std::vector<EMU3FilePtr> MainWindowController::_selectedFiles() const {
  if (!currentDirectory_) return {};
  const std::vector<EMU3FilePtr> live = currentDirectory_->allFiles();
  const std::unordered_set<EMU3FilePtr> held(live.begin(), live.end());
  const std::vector<EMU3FilePtr> shown = contentCtl_->displayedFiles();
  std::vector<EMU3FilePtr> selected;
  for (std::size_t row = 0; row < shown.size(); ++row)
    if (tableView_->selectionModel()->isRowSelected(static_cast<int>(row)) && held.contains(shown[row]))
      selected.push_back(shown[row]);
  return selected;
}

QDialog *MainWindowController::_dialogThatIsUp() const {
  if (sheet_ && sheet_->isVisible()) return sheet_;
  return qobject_cast<QDialog *>(QApplication::activeModalWidget());
}

void MainWindowController::_beginSheet(std::unique_ptr<QDialog> dialog) {
  // A command that runs as a sheet's answer may begin the next one.
  if (_dialogThatIsUp()) return beep();
  sheet_ = dialog.release();
  sheet_->setAttribute(Qt::WA_DeleteOnClose);
  sheet_->setWindowFlags((sheet_->windowFlags() & ~Qt::WindowType_Mask) | Qt::Sheet);
  sheet_->open();
}

void MainWindowController::_ask(std::unique_ptr<Alert> question, std::function<void()> confirmed,
                                std::function<void()> declined) {
  connect(question.get(), &QDialog::finished, this,
          [this, alert = question.get(), filesystem = filesystem_, confirmed = std::move(confirmed),
           declined = std::move(declined)] {
            if (filesystem != filesystem_) return;
            if (alert->clickedButton() == alert->defaultButton())
              confirmed();
            else if (declined)
              declined();
          });
  _beginSheet(std::move(question));
}

void MainWindowController::_runAlert(const QString &message, const QString &informativeText) {
  if (!quitting_) Alert(message, informativeText, window_.get()).exec();
}

void MainWindowController::_runAlert(const EMU3Error &error) {
  _runAlert(displayText(error.localizedDescription()));
}

bool MainWindowController::_holdsDirectory(const EMU3DirectoryPtr &directory) const {
  if (!filesystem_) return false;
  const EMU3DirectoryPtr root = filesystem_->rootDirectory();
  EMU3DirectoryPtr folder = directory;
  while (folder && folder != root) {
    const EMU3DirectoryPtr parent = folder->parent();
    if (!parent || !parent->containsSubdirectory(folder)) return false;
    folder = parent;
  }
  return folder != nullptr;
}

void MainWindowController::_undo() {
  undoManager_.undo();
}

void MainWindowController::_redo() {
  undoManager_.redo();
}

} // namespace tessary
