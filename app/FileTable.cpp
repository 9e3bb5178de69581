#include "app/FileTable.h"

#include "app/DragPicture.h"
#include "app/FileListing.h"
#include "app/TableRows.h"
#include "app/TextSize.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <algorithm>
#include <cmath>
#include <numeric>

namespace tessary {

FileTable::FileTable(QWidget *parent) : FileDropView(parent) {
  setUpRows(this);
  QHeaderView *header = horizontalHeader();
  header->setSectionsClickable(true);
  header->setTextElideMode(Qt::ElideRight);
  connect(header, &QHeaderView::sectionResized, this,
          [this](int column, int, int width) { columnResizedByUser(column, width); });
  followTextSize();
}

void FileTable::setModel(QAbstractItemModel *model) {
  QTableView::setModel(model);
  connect(model, &QAbstractItemModel::columnsInserted, this, &FileTable::columnsChanged);
  connect(model, &QAbstractItemModel::columnsRemoved, this, &FileTable::columnsChanged);
  columnsChanged();
}

void FileTable::followTextSize() {
  setRowTextSize(this);
  if (!widths_.empty()) columnsChanged();
}

// ---- Keys

void FileTable::takeKeyboard() {
  setFocus();
  if (model()->rowCount() > 0 && !selectionModel()->hasSelection()) selectRow(0);
}

QModelIndex FileTable::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) {
  const int last = model()->rowCount() - 1;
  switch (action) {
  case MoveHome:
    return model()->index(0, 0);
  case MoveEnd:
    return model()->index(last, 0);
  case MoveLeft:
  case MoveRight:
    return currentIndex();
  default:
    return QTableView::moveCursor(action, modifiers);
  }
}

/// The row that Home or End goes to is selected, also where it has the keyboard already.
void FileTable::keyPressEvent(QKeyEvent *event) {
  QTableView::keyPressEvent(event);
  const bool goesToAnEnd = event->key() == Qt::Key_Home || event->key() == Qt::Key_End;
  const QModelIndex current = currentIndex();
  if (goesToAnEnd && event->modifiers() == Qt::NoModifier && current.isValid() &&
      !selectionModel()->isRowSelected(current.row()))
    selectRow(current.row());
}

/// Rows have the keyboard, not cells.
void FileTable::currentChanged(const QModelIndex &current, const QModelIndex &previous) {
  QTableView::currentChanged(current, previous);
  viewport()->update(); // the frame of a row is wider than a cell
  if (current.isValid() && current.column() != 0)
    selectionModel()->setCurrentIndex(current.siblingAtColumn(0), QItemSelectionModel::NoUpdate);
}

// ---- Mouse

void FileTable::startDrag(Qt::DropActions) {
  if (auto *files = qobject_cast<DraggedData *>(model()->mimeData(selectedIndexes())))
    dragWithPicture(this, files);
}

void FileTable::mouseDoubleClickEvent(QMouseEvent *event) {
  if (event->button() == Qt::LeftButton) QTableView::mouseDoubleClickEvent(event);
}

// ---- Columns

void FileTable::resizeEvent(QResizeEvent *event) {
  QTableView::resizeEvent(event);
  if (!widths_.empty()) shareWidthChange(viewport()->width() - sharedWidth_);
}

/// Gives the model's columns their first widths.
void FileTable::columnsChanged() {
  widths_.clear();
  minimums_.clear();
  for (int column = 0; column < model()->columnCount(); ++column) {
    const FileColumn &known = kFileColumns[static_cast<std::size_t>(column)];
    widths_.push_back(scaled(known.width));
    minimums_.push_back(scaled(known.minimumWidth));
  }
  if (widths_.empty()) return;
  sharedWidth_ = std::accumulate(widths_.begin(), widths_.end(), 0.0);
  horizontalHeader()->setMinimumSectionSize(*std::min_element(minimums_.begin(), minimums_.end()));
  shareWidthChange(viewport()->width() - sharedWidth_);
}

void FileTable::shareWidthChange(double change) {
  std::vector<std::size_t> sharing(widths_.size());
  std::iota(sharing.begin(), sharing.end(), std::size_t{0});
  double left = change;
  // What a column at its minimum cannot give up is shared by the others in the next round.
  while (!sharing.empty() && std::abs(left) > 0.001) {
    const double share = left / static_cast<double>(sharing.size());
    std::vector<std::size_t> stillSharing;
    for (const std::size_t column : sharing) {
      const double width = std::max<double>(minimums_[column], widths_[column] + share);
      left -= width - widths_[column];
      widths_[column] = width;
      if (width > minimums_[column]) stillSharing.push_back(column);
    }
    sharing = std::move(stillSharing);
  }
  sharedWidth_ += change - left;
  applyWidths();
}

void FileTable::applyWidths() {
  applyingWidths_ = true;
  double edge = 0;
  int drawnEdge = 0;
  for (std::size_t column = 0; column < widths_.size(); ++column) {
    edge += widths_[column];
    const int nextEdge = static_cast<int>(std::lround(edge));
    setColumnWidth(static_cast<int>(column), nextEdge - drawnEdge);
    drawnEdge = nextEdge;
  }
  applyingWidths_ = false;
}

/// The columns on its right give up what the column takes, the next one first, and get what it gives up.
void FileTable::columnResizedByUser(int column, int width) {
  const auto at = static_cast<std::size_t>(column);
  if (applyingWidths_ || at >= widths_.size()) return;
  double wanted = std::max<double>(width, minimums_[at]) - widths_[at];
  if (at + 1 == widths_.size()) wanted = 0; // its edge is the view's
  double taken = std::min(wanted, 0.0);
  if (wanted < 0) widths_[at + 1] -= wanted;
  for (std::size_t right = at + 1; right < widths_.size() && taken < wanted; ++right) {
    const double given = std::min(wanted - taken, std::max(0.0, widths_[right] - minimums_[right]));
    widths_[right] -= given;
    taken += given;
  }
  widths_[at] += taken;
  applyWidths();
}

} // namespace tessary
