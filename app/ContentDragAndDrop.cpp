#include "app/ContentController.h"
#include "app/DragExport.h"
#include "app/DraggedItems.h"
#include "app/FileURLs.h"
#include "app/ImageChanges.h"

#include <set>
#include <utility>

namespace tessary {

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
  if (files.empty()) return nullptr;
  return new DraggedItems(filesystem_, files, search_.everywhere ? nullptr : directory_,
                          drags_ ? drags_->copiesOf(files) : nullptr);
}

// ---- Drops on the table

bool ContentController::canImport() const {
  return filesystem_ && mayBecomeChangeable(*filesystem_) && directory_ && !search_.everywhere;
}

bool ContentController::canDropMimeData(const QMimeData *data, Qt::DropAction action, int, int,
                                        const QModelIndex &) const {
  if (action != Qt::CopyAction || incomingDrag_.comesFrom(tableView_) || !canImport()) return false;
  if (const DraggedItems *items = DraggedItems::in(data)) return itemsDropped_ && items->mayGoTo(directory_);
  return incomingDrag_.bringsFiles(*data);
}

bool ContentController::dropMimeData(const QMimeData *data, Qt::DropAction, int, int, const QModelIndex &) {
  if (!canImport()) return false;
  if (const DraggedItems *items = DraggedItems::in(data)) {
    if (!itemsDropped_ || !items->mayGoTo(directory_)) return false;
    itemsDropped_(directory_, *items);
    return true;
  }
  if (DraggedData::in(data)) return false;
  const std::vector<std::string> urls = filePaths(*data);
  if (urls.empty() || !dropReceived_) return false;
  dropReceived_(urls);
  return true;
}

} // namespace tessary
