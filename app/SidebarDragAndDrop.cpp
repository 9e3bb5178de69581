#include "app/DragExport.h"
#include "app/FileURLs.h"
#include "app/SidebarController.h"

namespace tessary {

Qt::ItemFlags SidebarController::flags(const QModelIndex &index) const {
  const Qt::ItemFlags flags = QAbstractItemModel::flags(index) | Qt::ItemIsDropEnabled;
  return index.isValid() ? flags | Qt::ItemIsDragEnabled : flags;
}

Qt::DropActions SidebarController::supportedDropActions() const {
  return Qt::CopyAction | Qt::MoveAction;
}

QStringList SidebarController::mimeTypes() const {
  return {QStringLiteral("text/uri-list")};
}

QMimeData *SidebarController::mimeData(const QModelIndexList &indexes) const {
  const EMU3FilesystemPtr filesystem = filesystem_.lock();
  if (!filesystem || indexes.isEmpty() || !indexes.first().isValid()) return nullptr;
  const EMU3DirectoryPtr folder = directoryAt(indexes.first());
  return new DraggedItems(filesystem, folder, drags_ ? drags_->copiesOf(folder) : nullptr);
}

bool SidebarController::canDropMimeData(const QMimeData *data, Qt::DropAction action, int, int,
                                        const QModelIndex &parent) const {
  return action != Qt::IgnoreAction && validateDrop(*data, parent) == action;
}

Qt::DropAction SidebarController::validateDrop(const QMimeData &data, const QModelIndex &item) const {
  if (!root_) return Qt::IgnoreAction;
  const DraggedItems *items = DraggedItems::in(&data);
  const bool isOfUse =
      items ? itemsDropped_ && items->mayGoTo(directoryAt(item)) : incomingDrag_.bringsFiles(data);
  if (!isOfUse) return Qt::IgnoreAction;
  const bool internal = isInternalDrag();
  if (validateDropBlock_)
    return validateDropBlock_(directoryAt(item), internal) ? Qt::CopyAction : Qt::IgnoreAction;
  return internal ? Qt::MoveAction : Qt::CopyAction;
}

bool SidebarController::dropMimeData(const QMimeData *data, Qt::DropAction, int, int,
                                     const QModelIndex &parent) {
  if (!root_) return false;
  if (const DraggedItems *items = DraggedItems::in(data)) {
    if (!itemsDropped_) return false;
    itemsDropped_(directoryAt(parent), *items);
    return true;
  }
  if (DraggedData::in(data)) return false;
  const std::vector<std::string> urls = filePaths(*data);
  if (urls.empty() || !dropReceived_) return false;
  dropReceived_(directoryAt(parent), urls, isInternalDrag());
  return true;
}

} // namespace tessary
