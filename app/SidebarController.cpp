#include "app/SidebarController.h"

#include "app/DisplayText.h"
#include "app/FolderOutline.h"

#include <QApplication>
#include <QScrollBar>
#include <QStyle>
#include <utility>

namespace tessary {

QString folderLabel(const EMU3Directory &directory) {
  const QString name = displayText(directory.name());
  const std::uint64_t count = directory.totalFileCount();
  return count == 0 ? name : QStringLiteral("%1 (%2)").arg(name, QString::number(count));
}

SidebarController::SidebarController(QObject *parent)
    : QAbstractItemModel(parent), folderIcon_(QApplication::style()->standardIcon(QStyle::SP_DirIcon)) {
  rebuild();
}

void SidebarController::setOutlineView(QTreeView *outlineView) {
  outlineView_ = outlineView;
  outlineView->setModel(this);
  incomingDrag_.watch(outlineView);
  connect(outlineView->selectionModel(), &QItemSelectionModel::selectionChanged, this,
          &SidebarController::reportSelection);
}

void SidebarController::reportSelection() {
  if (reloading_ || !selectionChanged_) return;
  const QModelIndexList rows = outlineView_->selectionModel()->selectedRows();
  selectionChanged_(rows.isEmpty() ? root_ : directoryAt(rows.first()));
}

// ---- Reloading

void SidebarController::reload() {
  if (!outlineView_) {
    beginResetModel();
    rebuild();
    return endResetModel();
  }
  reloading_ = true;
  const std::unordered_set<EMU3DirectoryPtr> expanded = expandedDirectories();
  const QModelIndexList rows = outlineView_->selectionModel()->selectedRows();
  const EMU3DirectoryPtr highlighted = rows.isEmpty() ? nullptr : directoryAt(rows.first());
  const int scrolled = outlineView_->verticalScrollBar()->value();

  beginResetModel();
  rebuild();
  endResetModel();

  expand(expanded);
  outlineView_->doItemsLayout();
  if (highlighted) highlightAgain(highlighted);
  outlineView_->verticalScrollBar()->setValue(scrolled);
  reloading_ = false;
}

void SidebarController::reloadItem(const EMU3DirectoryPtr &directory) {
  const auto found = nodeOf_.find(directory);
  if (found == nodeOf_.end() || found->second == kRootNode) return;
  nodes_[found->second].label = folderLabel(*directory);
  const QModelIndex index = indexOfNode(found->second);
  emit dataChanged(index, index);
}

void SidebarController::rebuild() {
  nodeOf_.clear();
  nodes_.clear();
  addNode(root_, kRootNode, 0);
}

std::unordered_set<EMU3DirectoryPtr> SidebarController::expandedDirectories() const {
  std::unordered_set<EMU3DirectoryPtr> expanded;
  for (NodeId id = kRootNode + 1; id < nodes_.size(); ++id)
    if (nodes_[id].loaded && outlineView_->isExpanded(indexOfNode(id))) expanded.insert(nodes_[id].directory);
  return expanded;
}

void SidebarController::expand(const std::unordered_set<EMU3DirectoryPtr> &directories) {
  if (directories.empty()) return;
  std::vector<NodeId> waiting = loadedNode(kRootNode).children;
  while (!waiting.empty()) {
    const NodeId id = waiting.back();
    waiting.pop_back();
    if (!directories.contains(nodes_[id].directory)) continue;
    outlineView_->expand(indexOfNode(id));
    const std::vector<NodeId> &children = loadedNode(id).children;
    waiting.insert(waiting.end(), children.begin(), children.end());
  }
}

void SidebarController::highlightAgain(const EMU3DirectoryPtr &directory) {
  const QModelIndex index = indexOf(directory);
  if (!index.isValid()) return;
  // A new current row would be scrolled to, and its parents expanded.
  const bool scrollsToCurrent = outlineView_->hasAutoScroll();
  outlineView_->setAutoScroll(false);
  outlineView_->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect |
                                                             QItemSelectionModel::Rows);
  outlineView_->setAutoScroll(scrollsToCurrent);
}

// ---- Folders and rows

EMU3DirectoryPtr SidebarController::directoryAt(const QModelIndex &index) const {
  return index.isValid() ? nodes_[nodeAt(index)].directory : root_;
}

QModelIndex SidebarController::indexOf(const EMU3DirectoryPtr &directory) const {
  // Read the folders above it, from the top down, as far as they have not been asked for yet.
  std::vector<EMU3DirectoryPtr> unread;
  for (EMU3DirectoryPtr above = directory; above && !nodeOf_.contains(above); above = above->parent())
    unread.push_back(above);
  while (!unread.empty()) {
    const EMU3DirectoryPtr above = unread.back()->parent();
    const auto found = nodeOf_.find(above);
    if (found == nodeOf_.end()) return {};
    loadedNode(found->second);
    unread.pop_back();
  }
  const auto found = nodeOf_.find(directory);
  return found == nodeOf_.end() ? QModelIndex() : indexOfNode(found->second);
}

bool SidebarController::isVisible(const QModelIndex &index) const {
  for (QModelIndex above = index.parent(); above.isValid(); above = above.parent())
    if (!outlineView_->isExpanded(above)) return false;
  return index.isValid();
}

bool SidebarController::hasRow(const EMU3DirectoryPtr &directory) const {
  return outlineView_ && isVisible(indexOf(directory));
}

EMU3DirectoryPtr SidebarController::selectedDirectory() const {
  if (!outlineView_) return nullptr;
  const QModelIndexList rows = outlineView_->selectionModel()->selectedRows();
  return !rows.isEmpty() && isVisible(rows.first()) ? directoryAt(rows.first()) : nullptr;
}

void SidebarController::highlight(const EMU3DirectoryPtr &directory) {
  if (!outlineView_) return;
  const bool wasReloading = std::exchange(reloading_, true);
  const QModelIndex index = indexOf(directory);
  if (index.isValid() && openTo(index)) {
    outlineView_->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect |
                                                               QItemSelectionModel::Rows);
    outlineView_->scrollTo(index);
  } else {
    outlineView_->selectionModel()->clear();
  }
  reloading_ = wasReloading;
}

bool SidebarController::openTo(const QModelIndex &index) {
  std::vector<QModelIndex> closed; // from the folder upwards
  for (QModelIndex above = index.parent(); above.isValid(); above = above.parent())
    closed.push_back(above);
  if (closed.size() > FolderOutline::kDeepestOpenLevel + 1) return false;
  for (auto above = closed.rbegin(); above != closed.rend(); ++above)
    outlineView_->expand(*above);
  return isVisible(index);
}

// ---- Nodes

SidebarController::NodeId SidebarController::addNode(const EMU3DirectoryPtr &directory, NodeId parent,
                                                     int row) const {
  Node node;
  node.directory = directory;
  node.parent = parent;
  node.row = row;
  if (directory) {
    node.label = folderLabel(*directory);
    node.hasSubdirectories = !directory->subdirectories().empty();
    nodeOf_.emplace(directory, nodes_.size());
  }
  nodes_.push_back(std::move(node));
  return nodes_.size() - 1;
}

const SidebarController::Node &SidebarController::loadedNode(NodeId id) const {
  Node &node = nodes_[id]; // stays in place while the deque grows
  if (node.loaded || !node.hasSubdirectories) return node;
  node.loaded = true;
  for (const EMU3DirectoryPtr &directory : node.directory->subdirectories())
    node.children.push_back(addNode(directory, id, static_cast<int>(node.children.size())));
  return node;
}

SidebarController::NodeId SidebarController::nodeAt(const QModelIndex &index) const {
  return index.isValid() ? static_cast<NodeId>(index.internalId()) : kRootNode;
}

QModelIndex SidebarController::indexOfNode(NodeId id) const {
  return id == kRootNode ? QModelIndex() : createIndex(nodes_[id].row, 0, static_cast<quintptr>(id));
}

// ---- Item model

QModelIndex SidebarController::index(int row, int column, const QModelIndex &parent) const {
  const Node &node = loadedNode(nodeAt(parent));
  if (column != 0 || row < 0 || static_cast<std::size_t>(row) >= node.children.size()) return {};
  return indexOfNode(node.children[static_cast<std::size_t>(row)]);
}

QModelIndex SidebarController::parent(const QModelIndex &child) const {
  return child.isValid() ? indexOfNode(nodes_[nodeAt(child)].parent) : QModelIndex();
}

int SidebarController::rowCount(const QModelIndex &parent) const {
  return static_cast<int>(loadedNode(nodeAt(parent)).children.size());
}

int SidebarController::columnCount(const QModelIndex &) const {
  return 1;
}

bool SidebarController::hasChildren(const QModelIndex &parent) const {
  return nodes_[nodeAt(parent)].hasSubdirectories;
}

QVariant SidebarController::data(const QModelIndex &index, int role) const {
  if (!index.isValid()) return {};
  if (role == Qt::DisplayRole) return nodes_[nodeAt(index)].label;
  if (role == Qt::DecorationRole) return folderIcon_;
  return {};
}

} // namespace tessary
