#include "app/ContentController.h"

#include <QDrag>
#include <QItemSelection>
#include <QScrollBar>
#include <algorithm>
#include <iterator>
#include <unordered_set>
#include <utility>

namespace tessary {
ContentController::ContentController(QObject *parent) : QAbstractTableModel(parent) {}

void ContentController::setTableView(QTableView *tableView) {
  tableView_ = tableView;
  tableView->setModel(this);
  incomingDrag_.watch(tableView);
}

// ---- What is shown

void ContentController::setDirectory(EMU3DirectoryPtr directory) {
  if (directory == directory_) return refresh();
  directory_ = std::move(directory);
  if (search_.everywhere) return refresh(); // shows the same files wherever it was begun
  QDrag::cancel();                          // of rows that are no longer shown
  replaceRows(listFiles(directory_, nullptr, search_, order_));
  if (tableView_) tableView_->scrollToTop();
}

void ContentController::refresh() {
  const EMU3DirectoryPtr root = search_.everywhere && filesystem_ ? filesystem_->rootDirectory() : nullptr;
  showRows(listFiles(directory_, root, search_, order_));
}

void ContentController::setOrder(const FileOrder &order) {
  order_ = order;
  refresh();
  emit orderChanged();
}

void ContentController::setSearch(const FileSearch &search) {
  const bool everywhereBefore = std::exchange(search_, search).everywhere;
  if (search.everywhere && !everywhereBefore) {
    beginInsertColumns({}, kFolderColumn, kFolderColumn);
    endInsertColumns();
  } else if (everywhereBefore && !search.everywhere) {
    beginRemoveColumns({}, kFolderColumn, kFolderColumn);
    endRemoveColumns();
    if (order_.column == kFolderColumn) setOrder({});
  }
  refresh();
}

std::size_t ContentController::searchedFiles() const {
  const EMU3DirectoryPtr root = search_.everywhere && filesystem_ ? filesystem_->rootDirectory() : nullptr;
  std::size_t count = 0;
  for (const EMU3DirectoryPtr &folder :
       root ? directoriesInPreOrder(root) : std::vector<EMU3DirectoryPtr>{directory_})
    if (folder) count += folder->totalFileCount();
  return count;
}

void ContentController::showRows(std::vector<ListedFile> rows) {
  if (showsSameFiles(rows))
    updateTexts(std::move(rows));
  else if (tableView_)
    replaceRowsKeepingView(std::move(rows));
  else
    replaceRows(std::move(rows));
}

bool ContentController::showsSameFiles(const std::vector<ListedFile> &rows) const {
  return std::equal(rows.begin(), rows.end(), rows_.begin(), rows_.end(),
                    [](const ListedFile &one, const ListedFile &other) { return one.file == other.file; });
}

void ContentController::updateTexts(std::vector<ListedFile> rows) {
  // Nothing to paint; but a search of all folders shows their names too, which the rows do not hold.
  if (!search_.everywhere && rows == rows_) return;
  rows_ = std::move(rows);
  if (!rows_.empty()) emit dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1));
}

void ContentController::replaceRows(std::vector<ListedFile> rows) {
  beginResetModel();
  rows_ = std::move(rows);
  endResetModel();
}

EMU3FilePtr ContentController::nearestFileIn(const std::vector<ListedFile> &rows, int row) const {
  std::unordered_set<EMU3FilePtr> kept;
  for (const ListedFile &other : rows)
    kept.insert(other.file);
  const auto isKept = [&](const ListedFile &candidate) { return kept.contains(candidate.file); };
  const auto from = rows_.begin() + row;
  const auto after = std::find_if(from, rows_.end(), isKept);
  if (after != rows_.end()) return after->file;
  const auto before = std::find_if(std::make_reverse_iterator(from), rows_.rend(), isKept);
  return before != rows_.rend() ? before->file : nullptr;
}

void ContentController::replaceRowsKeepingView(std::vector<ListedFile> rows) {
  QItemSelectionModel *selection = tableView_->selectionModel();
  std::unordered_set<EMU3FilePtr> selected;
  for (const QModelIndex &row : selection->selectedRows())
    selected.insert(rows_[static_cast<std::size_t>(row.row())].file);
  const QModelIndex currentIndex = selection->currentIndex();
  const EMU3FilePtr current = currentIndex.isValid() ? nearestFileIn(rows, currentIndex.row()) : nullptr;
  const int scrolled = tableView_->verticalScrollBar()->value();

  replaceRows(std::move(rows));

  const bool scrollsToCurrent = tableView_->hasAutoScroll();
  tableView_->setAutoScroll(false);
  QItemSelection again;
  for (int row = 0; row < rowCount(); ++row) {
    const EMU3FilePtr &file = rows_[static_cast<std::size_t>(row)].file;
    if (selected.contains(file)) again.select(index(row, 0), index(row, columnCount() - 1));
    if (file == current) selection->setCurrentIndex(index(row, 0), QItemSelectionModel::NoUpdate);
  }
  selection->select(again, QItemSelectionModel::Select);
  tableView_->doItemsLayout();
  tableView_->verticalScrollBar()->setValue(scrolled);
  tableView_->setAutoScroll(scrollsToCurrent);
}

bool ContentController::selectRowsOf(const std::vector<EMU3FilePtr> &files) {
  if (!tableView_) return false;
  const std::unordered_set<EMU3FilePtr> wanted(files.begin(), files.end());
  QItemSelection rows;
  for (int row = 0; row < rowCount(); ++row)
    if (wanted.contains(rows_[static_cast<std::size_t>(row)].file))
      rows.select(index(row, 0), index(row, columnCount() - 1));
  if (rows.isEmpty()) return false;
  const QModelIndex first = index(rows.first().top(), 0);
  QItemSelectionModel *selection = tableView_->selectionModel();
  selection->setCurrentIndex(first, QItemSelectionModel::NoUpdate);
  selection->select(rows, QItemSelectionModel::ClearAndSelect);
  tableView_->scrollTo(first);
  return true;
}

std::vector<EMU3FilePtr> ContentController::displayedFiles() const {
  std::vector<EMU3FilePtr> files;
  files.reserve(rows_.size());
  for (const ListedFile &row : rows_)
    files.push_back(row.file);
  return files;
}

// ---- Table model

int ContentController::rowCount(const QModelIndex &parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int ContentController::columnCount(const QModelIndex &parent) const {
  if (parent.isValid()) return 0;
  return search_.everywhere ? kFolderColumn + 1 : kFolderColumn;
}

QVariant ContentController::data(const QModelIndex &index, int role) const {
  if (!index.isValid() || role != Qt::DisplayRole) return {};
  return rows_[static_cast<std::size_t>(index.row())].text(index.column());
}

QVariant ContentController::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  if (section < 0 || section >= columnCount()) return {};
  return QString::fromUtf8(kFileColumns[static_cast<std::size_t>(section)].title);
}

} // namespace tessary
