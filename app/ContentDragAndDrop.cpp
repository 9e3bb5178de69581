#include "app/ContentController.h"
#include "app/FileURLs.h"
#include "app/ImageChanges.h"
#include "app/PrivateFolder.h"
#include "tessary/ItemsOperation.h"
#include "tessary/SystemLog.h"

#include <QEventLoop>
#include <QMimeData>
#include <memory>
#include <set>
#include <utility>

namespace tessary {
namespace {

/// Each into a private folder of its own; `exported` is called with each that was, and its path.
template <typename Exported>
void exportIntoPrivateFolders(EMU3Filesystem &filesystem, const std::vector<EMU3FilePtr> &files,
                              const Exported &exported) {
  const auto operation = filesystem.manyItems();
  for (const EMU3FilePtr &file : files)
    if (const std::optional<std::string> folder = makePrivateFolder("EMU3Drag"))
      operation->exportFileInto(file, *folder);
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) {
    const EMU3FilePtr &file = operation->item(end.item).file;
    if (!end.error) return exported(file, end.hostPath);
    systemLog("Drag export failed for " + file->name() + ": " + end.error->description());
  };
  operation->run(watcher);
}

} // namespace

Qt::ItemFlags ContentController::flags(const QModelIndex &index) const {
  const Qt::ItemFlags flags = QAbstractTableModel::flags(index) | Qt::ItemIsDropEnabled;
  return index.isValid() ? flags | Qt::ItemIsDragEnabled : flags;
}

Qt::DropActions ContentController::supportedDragActions() const {
  return Qt::CopyAction;
}

Qt::DropActions ContentController::supportedDropActions() const {
  return Qt::CopyAction;
}

QStringList ContentController::mimeTypes() const {
  return {QStringLiteral("text/uri-list")};
}

// ---- Dragging rows out

QMimeData *ContentController::mimeData(const QModelIndexList &indexes) const {
  if (!filesystem_) return nullptr;
  std::set<std::size_t> rows; // there is an index for each column
  for (const QModelIndex &index : indexes)
    if (index.isValid()) rows.insert(static_cast<std::size_t>(index.row()));
  std::vector<EMU3FilePtr> files;
  files.reserve(rows.size());
  for (const std::size_t row : rows)
    files.push_back(rows_[row].file);
  QList<QUrl> urls;
  dragged_.clear();
  for (const auto &[path, file] : exportForDrag(files)) {
    urls.append(fileURL(path));
    dragged_.emplace(path, file);
  }
  if (urls.isEmpty()) return nullptr;
  auto data = std::make_unique<QMimeData>();
  data->setUrls(urls);
  return data.release();
}

std::vector<ContentController::DraggedFile>
ContentController::exportForDrag(const std::vector<EMU3FilePtr> &files) const {
  const EMU3FilesystemPtr filesystem = filesystem_;
  const EMU3DirectoryPtr directory = directory_;
  std::vector<DraggedFile> dragged;
  QEventLoop loop;
  dragQueue_.async([&] {
    exportIntoPrivateFolders(*filesystem, files, [&](const EMU3FilePtr &file, const std::string &path) {
      dragged.push_back({path, file});
    });
    QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
  });
  loop.exec(QEventLoop::ExcludeUserInputEvents); // the mouse stays with the drag
  dragQueue_.waitUntilIdle();                    // when the application ends, so does the loop
  // Rows that are no longer shown are not dragged.
  return directory_ == directory ? dragged : std::vector<DraggedFile>();
}

EMU3FilePtr ContentController::draggedFile(const std::string &path) const {
  const auto found = dragged_.find(path);
  return found == dragged_.end() ? nullptr : found->second.lock();
}

// ---- Drops on the table

bool ContentController::canImport() const {
  return filesystem_ && mayBecomeChangeable(*filesystem_) && directory_ && !search_.everywhere;
}

bool ContentController::canDropMimeData(const QMimeData *data, Qt::DropAction action, int, int,
                                        const QModelIndex &) const {
  return action == Qt::CopyAction && !incomingDrag_.comesFrom(tableView_) && !incomingDrag_.bringsSamples() &&
         canImport() && incomingDrag_.bringsFiles(*data);
}

bool ContentController::dropMimeData(const QMimeData *data, Qt::DropAction, int, int, const QModelIndex &) {
  if (!canImport() || !dropReceived_) return false;
  const std::vector<std::string> urls = filePaths(*data);
  if (urls.empty()) return false;
  dropReceived_(urls);
  return true;
}

} // namespace tessary
