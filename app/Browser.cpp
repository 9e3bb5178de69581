#include "app/Browser.h"

#include "app/ContentController.h"
#include "app/DisplayText.h"
#include "app/FileTable.h"
#include "app/FindBar.h"
#include "app/FolderBar.h"
#include "app/FolderOutline.h"
#include "app/MainWindow.h"
#include "app/ReadyFile.h"
#include "app/SidebarController.h"
#include "app/StatusBar.h"
#include "app/progress/WorkBar.h"
#include "tessary/Text.h"

#include <algorithm>
#include <utility>

namespace tessary {
namespace {

constexpr QLatin1String kAppName("Tessary");

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

void readDetailsOf(EMU3Filesystem &filesystem, const std::vector<EMU3FilePtr> &files) {
  for (const EMU3FilePtr &file : files)
    if (file && file->fileType() == kFileTypeBank) filesystem.populateBankMetadata(file);
}

Browser::Browser(ImageWork *image, QObject *parent)
    : QObject(parent), image_(image), sidebar_(new SidebarController(this)),
      content_(new ContentController(this)) {}

void Browser::setViews(const Views &views) {
  views_ = views;
  sidebar_->setOutlineView(views.outline);
  content_->setTableView(views.table);
  sidebar_->setSelectionChanged([this](const EMU3DirectoryPtr &folder) { folderChosen(folder); });
  const auto chosenAgain = [this] {
    const EMU3DirectoryPtr selected = sidebar_->selectedDirectory();
    folderChosen(selected ? selected : sidebar_->root());
  };
  connect(views.outline, &FolderOutline::emptyAreaPressed, this, chosenAgain);
  connect(views.outline, &FolderOutline::pressed, this, chosenAgain);
  connect(views.folderBar, &FolderBar::rootChosen, this, &Browser::showRoot);
  connect(views.folderBar, &FolderBar::parentChosen, this, &Browser::showParent);
  connect(views.findBar, &FindBar::changed, this, &Browser::search);
  connect(views.findBar, &FindBar::confirmed, this, &Browser::goToFound);
  connect(views.findBar, &FindBar::closed, this, &Browser::endSearch);
  connect(views.table->selectionModel(), &QItemSelectionModel::selectionChanged, this, &Browser::changed);
  connect(views.window, &MainWindow::textSizeChanged, this, [this] {
    views_.outline->followTextSize();
    views_.table->followTextSize();
    views_.folderBar->followTextSize();
    views_.findBar->followTextSize();
    views_.workBar->followTextSize();
    views_.statusBar->followTextSize();
  });
  connect(content_, &QAbstractItemModel::modelReset, this, &Browser::changed);
}

// ---- The image

void Browser::showImage() {
  const EMU3FilesystemPtr filesystem = image_->filesystem();
  endSearch();
  content_->setFilesystem(filesystem);
  sidebar_->setFilesystem(filesystem);
  showNoFolder();
  updateDiskSpace();
  if (!filesystem) return;
  const EMU3DirectoryPtr root = filesystem->rootDirectory();
  sidebar_->setRoot(root);
  sidebar_->reload();
  // Of an image without folders nothing is shown at first.
  if (const EMU3DirectoryPtr first = folderToShowFirst(root); first != root)
    showFolder(first);
  else
    writeReadyFile(views_.window); // no folder's details are waited for
  updateFolderBar();
}

/// The folder shown so far belongs to an image that is no longer mounted, or is to be shown as if it were
/// new.
void Browser::showNoFolder() {
  sidebar_->setRoot(nullptr);
  sidebar_->reload();
  content_->setDirectory(nullptr);
  updateFolderBar();
}

void Browser::showImageReadAnew() {
  if (!holds(folder())) return showImage();
  sidebar_->reload();
  showFolder(folder());
  updateDiskSpace();
}

void Browser::showChanges() {
  content_->refresh();
  sidebar_->reload();
  updateDiskSpace();
  updateFolderBar();
  tellFound();
}

void Browser::updateDiskSpace() {
  const EMU3FilesystemPtr filesystem = image_->filesystem();
  views_.statusBar->diskSpaceLabel()->setText(
      filesystem ? diskSpaceText(filesystem->usedBlocks(), filesystem->freeBlocks()) : QString());
}

// ---- Folders

EMU3DirectoryPtr Browser::folder() const {
  return content_->directory();
}

/// Also called for a click that leaves the sidebar's selection as it was.
void Browser::folderChosen(const EMU3DirectoryPtr &folder) {
  if (content_->search().everywhere)
    endSearch(); // its results are of no folder
  else if (folder == this->folder())
    return;
  showFolder(folder);
}

void Browser::showFolder(const EMU3DirectoryPtr &folder) {
  ++foldersShown_;
  content_->setDirectory(folder);
  sidebar_->highlight(folder);
  updateFolderBar();
  tellFound();
  emit changed();
  if (!image_->filesystem() || !folder) return;
  readDetails(folder);
  setStatus(QStringLiteral("%1 — %2 file(s)")
                .arg(displayText(folder->name()), QString::number(folder->totalFileCount())));
}

void Browser::readDetails(const EMU3DirectoryPtr &folder) {
  image_->readFromImage(
      [files = folder->allFiles()](EMU3Filesystem &filesystem) { readDetailsOf(filesystem, files); },
      [this, folder] {
        if (folder != this->folder()) return;
        content_->refresh();
        writeReadyFile(views_.window);
      });
}

void Browser::showRoot() {
  if (!image_->filesystem()) return;
  endSearch();
  showFolder(image_->filesystem()->rootDirectory());
}

void Browser::folderRenamed(const EMU3DirectoryPtr &folder) {
  sidebar_->reloadItem(folder);
  content_->refresh(); // a search may name it
}

EMU3DirectoryPtr Browser::parentOfFolder() const {
  return image_->filesystem() && folder() ? folder()->parent() : nullptr;
}

void Browser::showParent() {
  const EMU3DirectoryPtr parent = parentOfFolder();
  if (!parent) return;
  endSearch();
  showFolder(parent);
}

void Browser::updateFolderBar() {
  const EMU3FilesystemPtr filesystem = image_->filesystem();
  const EMU3DirectoryPtr root = filesystem ? filesystem->rootDirectory() : nullptr;
  views_.folderBar->show(root ? displayText(root->name()) : QString(), folder() == root,
                         parentOfFolder() != nullptr);
}

bool Browser::holds(const EMU3DirectoryPtr &folder) const {
  if (!image_->filesystem()) return false;
  const EMU3DirectoryPtr root = image_->filesystem()->rootDirectory();
  EMU3DirectoryPtr above = folder;
  while (above && above != root) {
    const EMU3DirectoryPtr parent = above->parent();
    if (!parent || !parent->containsSubdirectory(above)) return false;
    above = parent;
  }
  return above != nullptr;
}

// ---- Files

std::vector<EMU3FilePtr> Browser::selectedFiles() const {
  if (!image_->filesystem()) return {};
  const std::vector<EMU3FilePtr> shown = content_->displayedFiles();
  std::vector<EMU3FilePtr> selected;
  for (std::size_t row = 0; row < shown.size(); ++row) {
    const int at = static_cast<int>(row);
    if (views_.table->selectionModel()->isRowSelected(at) && content_->folderAt(at)->containsFile(shown[row]))
      selected.push_back(shown[row]);
  }
  return selected;
}

void Browser::showArrivals(const EMU3DirectoryPtr &folder, const std::vector<EMU3FilePtr> &files) {
  updateDiskSpace();
  sidebar_->reload();
  // Deleted meanwhile, the folder is nothing to show. Files may have left the one that is shown all the same.
  if (!holds(folder)) return content_->refresh();
  if (!files.empty()) endSearch(); // which may hide them
  showFolder(folder);
  content_->selectRowsOf(files);
}

void Browser::goTo(const EMU3FilePtr &file) {
  const EMU3DirectoryPtr folder = file->folder();
  if (!folder) return;
  endSearch();
  showFolder(folder);
  if (content_->selectRowsOf({file})) views_.table->setFocus();
}

// ---- Status line and title

void Browser::showTitle() {
  const EMU3FilesystemPtr filesystem = image_->filesystem();
  shownReason_ = filesystem ? filesystem->readOnlyReason() : ReadOnlyReason::none;
  QString title = kAppName;
  if (filesystem)
    title += QStringLiteral(" — %1").arg(displayText(lastPathComponent(filesystem->imageURL())));
  if (showsReadOnly()) title += QStringLiteral(" (read-only)");
  views_.window->setWindowTitle(titleText(title));
  views_.statusBar->setReadOnly(showsReadOnly() ? readOnlyText() : QString());
}

void Browser::setStatus(const QString &text) {
  const QString news = readOnlyNews();
  views_.statusBar->statusLabel()->setText(news.isEmpty() ? text : QStringLiteral("%1 %2").arg(text, news));
}

QString Browser::readOnlyNews() {
  const ReadOnlyReason shown = shownReason_;
  showTitle();
  return shownReason_ != shown && showsReadOnly() ? readOnlyText() : QString();
}

QString Browser::readOnlyText(const QString &beginning) const {
  return QStringLiteral("%1: %2.").arg(beginning, QLatin1String(readOnlyReasonText(shownReason_)));
}

} // namespace tessary
