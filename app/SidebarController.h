#pragma once

#include "app/DraggedItems.h"
#include "app/IncomingDrag.h"
#include "tessary/EMU3Filesystem.h"

#include <QAbstractItemModel>
#include <QIcon>
#include <QPointer>
#include <QTableView>
#include <QTreeView>
#include <deque>
#include <functional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace tessary {

class DragExport;

/// Feeds the folder outline: the folder tree below `root`, each folder with an icon and a label that tells
/// its number of files. Shows the tree as it was at the last `reload`; a folder's subfolders are read when
/// they are first asked for. A folder can be dragged to another one, also of another window's image, and out
/// as a host folder. Things can be dropped on a folder, and on the empty area for the root; whether they may,
/// and what is done with them, is asked of callbacks. Main thread only.
class SidebarController final : public QAbstractItemModel {
  Q_OBJECT

public:
  explicit SidebarController(QObject *parent = nullptr);

  EMU3DirectoryPtr root() const { return root_; }
  /// Takes effect in the outline with the next `reload`. Null when no image is loaded.
  void setRoot(EMU3DirectoryPtr root) { root_ = std::move(root); }

  /// The image that the tree is of; null when none is loaded.
  void setFilesystem(const EMU3FilesystemPtr &filesystem) { filesystem_ = filesystem; }

  /// Becomes the view's model. The view is not owned.
  void setOutlineView(QTreeView *outlineView);
  QTreeView *outlineView() const { return outlineView_; }

  /// Told the newly selected folder: the root when nothing is selected, null when there is no root either.
  void setSelectionChanged(std::function<void(const EMU3DirectoryPtr &)> callback) {
    selectionChanged_ = std::move(callback);
  }

  /// Makes the copies for other programs; unset, they get none. Not owned.
  void setDragExport(DragExport *drags) { drags_ = drags; }
  /// Performs a drop of what a window of this program drags; unset, that is refused.
  void setItemsDropped(ItemsDropped callback) { itemsDropped_ = std::move(callback); }
  /// Host files that come from this table are an internal drag. The view is not owned.
  void setSourceTableView(QTableView *tableView) { sourceTableView_ = tableView; }
  QTableView *sourceTableView() const { return sourceTableView_; }

  /// Asked whether files may be dropped on a folder, and told whether the drag is internal; what may be is
  /// copied. Unset, internal drags are offered as a move and all others as a copy.
  void setValidateDropBlock(std::function<bool(const EMU3DirectoryPtr &target, bool internal)> callback) {
    validateDropBlock_ = std::move(callback);
  }
  /// Performs a drop of host files, given by their paths, on a folder.
  void setDropReceived(
      std::function<void(const EMU3DirectoryPtr &target, const std::vector<std::string> &urls, bool internal)>
          callback) {
    dropReceived_ = std::move(callback);
  }

  /// Shows the tree as it is now. Folders that are still there stay expanded and highlighted, the outline
  /// stays scrolled as it is, and no selection change is reported.
  void reload();
  /// Shows the folder's row as it is now, its subfolders as they were.
  void reloadItem(const EMU3DirectoryPtr &directory);

  /// The folder of an item; `root` for an invalid index.
  EMU3DirectoryPtr directoryAt(const QModelIndex &index) const;
  /// The item of a folder below the root; invalid when the outline holds none.
  QModelIndex indexOf(const EMU3DirectoryPtr &directory) const;
  /// Whether the folder has a row: all folders above it are expanded.
  bool hasRow(const EMU3DirectoryPtr &directory) const;
  /// The folder of the selected row; null when no row is selected.
  EMU3DirectoryPtr selectedDirectory() const;
  /// Opens the folders above the folder, selects its row alone and scrolls it into view, without reporting a
  /// change. No row is selected then where the folder has none: for the root, and deeper than the outline
  /// opens.
  void highlight(const EMU3DirectoryPtr &directory);

  QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
  QModelIndex parent(const QModelIndex &child) const override;
  int rowCount(const QModelIndex &parent = {}) const override;
  int columnCount(const QModelIndex &parent = {}) const override;
  bool hasChildren(const QModelIndex &parent = {}) const override;
  QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

  Qt::ItemFlags flags(const QModelIndex &index) const override;
  Qt::DropActions supportedDragActions() const override { return Qt::CopyAction; }
  Qt::DropActions supportedDropActions() const override;
  QStringList mimeTypes() const override;
  /// The folder as `DraggedItems`; null for the root. The caller owns the result.
  QMimeData *mimeData(const QModelIndexList &indexes) const override;
  /// `parent` is the item dropped on, or invalid for the empty area. Nothing is dropped between items: row
  /// and column are not looked at.
  bool canDropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                       const QModelIndex &parent) const override;
  bool dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                    const QModelIndex &parent) override;

private:
  using NodeId = std::size_t;
  static constexpr NodeId kRootNode = 0;

  struct Node {
    EMU3DirectoryPtr directory;
    NodeId parent = kRootNode;
    int row = 0;
    QString label;
    bool hasSubdirectories = false;
    bool loaded = false; ///< whether `children` has been read
    std::vector<NodeId> children;
  };

  NodeId addNode(const EMU3DirectoryPtr &directory, NodeId parent, int row) const;
  const Node &loadedNode(NodeId id) const;
  NodeId nodeAt(const QModelIndex &index) const;
  QModelIndex indexOfNode(NodeId id) const;
  bool isVisible(const QModelIndex &index) const;
  void rebuild();
  std::unordered_set<EMU3DirectoryPtr> expandedDirectories() const;
  void expand(const std::unordered_set<EMU3DirectoryPtr> &directories);
  bool openTo(const QModelIndex &index);
  void highlightAgain(const EMU3DirectoryPtr &directory);
  void reportSelection();
  bool isInternalDrag() const { return incomingDrag_.comesFrom(sourceTableView_); }
  Qt::DropAction validateDrop(const QMimeData &data, const QModelIndex &item) const;

  const QIcon folderIcon_;
  EMU3DirectoryPtr root_;
  std::weak_ptr<EMU3Filesystem> filesystem_;
  QPointer<QTreeView> outlineView_;
  std::function<void(const EMU3DirectoryPtr &)> selectionChanged_;
  DragExport *drags_ = nullptr;
  ItemsDropped itemsDropped_;
  QPointer<QTableView> sourceTableView_;
  std::function<bool(const EMU3DirectoryPtr &, bool)> validateDropBlock_;
  std::function<void(const EMU3DirectoryPtr &, const std::vector<std::string> &, bool)> dropReceived_;
  mutable IncomingDrag incomingDrag_; ///< mutable for what it remembers of the data
  bool reloading_ = false;
  // Nodes refer to each other by number, so that a chain of any depth is dropped without recursion.
  mutable std::deque<Node> nodes_;
  mutable std::unordered_map<EMU3DirectoryPtr, NodeId> nodeOf_;
};

/// "NAME (N)" with the number of the folder's own files, or the bare name when it has none.
QString folderLabel(const EMU3Directory &directory);

} // namespace tessary
