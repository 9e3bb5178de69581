#include "app/ContentController.h"

#include "app/DisplayText.h"
#include "banks/BankAnalysis.h"

#include <QDrag>
#include <QItemSelection>
#include <QScrollBar>
#include <algorithm>
#include <iterator>
#include <unordered_set>
#include <utility>

namespace tessary {
namespace {

QString countText(std::uint64_t count) {
  return count == 0 ? QStringLiteral("—") : QString::number(count);
}

QString formatText(std::int64_t bankFormat) {
  const char *name = bankFormatName(bankFormat);
  return name ? QString::fromUtf8(name) : QStringLiteral("—");
}

} // namespace

ContentController::ContentController(QObject *parent) : QAbstractTableModel(parent) {}

void ContentController::setTableView(QTableView *tableView) {
  tableView_ = tableView;
  tableView->setModel(this);
  incomingDrag_.watch(tableView);
}

// ---- Refreshing

void ContentController::refresh() {
  std::vector<Row> rows;
  if (directory_)
    for (const EMU3FilePtr &file : directory_->allFiles())
      rows.push_back(makeRow(file));

  const bool sameFolder = shownDirectory_ == directory_;
  shownDirectory_ = directory_;
  if (!sameFolder) QDrag::cancel(); // of rows that are no longer shown
  if (sameFolder && showsSameFiles(rows))
    updateTexts(std::move(rows));
  else if (sameFolder && tableView_)
    replaceRowsKeepingView(std::move(rows));
  else
    replaceRows(std::move(rows));
  if (!sameFolder && tableView_) tableView_->scrollToTop();
}

ContentController::Row ContentController::makeRow(const EMU3FilePtr &file) {
  const EMU3FileFields fields = file->fields();
  const BankDetails details = file->bankDetails();
  return {file,
          {displayText(fields.name), QString::fromStdString(fileTypeStringFor(fields.fileType)),
           formatText(details.bankFormat), countText(details.presetCount), countText(details.sampleCount),
           QString::fromStdString(fileSizeStringFor(fields.fileSize))}};
}

bool ContentController::showsSameFiles(const std::vector<Row> &rows) const {
  return std::equal(rows.begin(), rows.end(), rows_.begin(), rows_.end(),
                    [](const Row &one, const Row &other) { return one.file == other.file; });
}

void ContentController::updateTexts(std::vector<Row> rows) {
  rows_ = std::move(rows);
  if (!rows_.empty()) emit dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1));
}

void ContentController::replaceRows(std::vector<Row> rows) {
  beginResetModel();
  rows_ = std::move(rows);
  endResetModel();
}

EMU3FilePtr ContentController::nearestFileIn(const std::vector<Row> &rows, int row) const {
  std::unordered_set<EMU3FilePtr> kept;
  for (const Row &other : rows)
    kept.insert(other.file);
  const auto isKept = [&](const Row &candidate) { return kept.contains(candidate.file); };
  const auto from = rows_.begin() + row;
  const auto after = std::find_if(from, rows_.end(), isKept);
  if (after != rows_.end()) return after->file;
  const auto before = std::find_if(std::make_reverse_iterator(from), rows_.rend(), isKept);
  return before != rows_.rend() ? before->file : nullptr;
}

void ContentController::replaceRowsKeepingView(std::vector<Row> rows) {
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

bool ContentController::selectRowOf(const EMU3FilePtr &file) {
  const auto found =
      std::find_if(rows_.begin(), rows_.end(), [&](const Row &row) { return row.file == file; });
  if (!tableView_ || found == rows_.end()) return false;
  const QModelIndex first = index(static_cast<int>(found - rows_.begin()), 0);
  tableView_->selectionModel()->setCurrentIndex(first, QItemSelectionModel::ClearAndSelect |
                                                           QItemSelectionModel::Rows);
  tableView_->scrollTo(first);
  return true;
}

std::vector<EMU3FilePtr> ContentController::displayedFiles() const {
  std::vector<EMU3FilePtr> files;
  files.reserve(rows_.size());
  for (const Row &row : rows_)
    files.push_back(row.file);
  return files;
}

// ---- Table model

int ContentController::rowCount(const QModelIndex &parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int ContentController::columnCount(const QModelIndex &parent) const {
  return parent.isValid() ? 0 : static_cast<int>(kFileColumns.size());
}

QVariant ContentController::data(const QModelIndex &index, int role) const {
  if (!index.isValid() || role != Qt::DisplayRole) return {};
  return rows_[static_cast<std::size_t>(index.row())].texts[static_cast<std::size_t>(index.column())];
}

QVariant ContentController::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  if (section < 0 || section >= columnCount()) return {};
  return QString::fromUtf8(kFileColumns[static_cast<std::size_t>(section)].title);
}

} // namespace tessary
