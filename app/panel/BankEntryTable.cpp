#include "app/panel/BankEntryTable.h"

#include "app/DragPicture.h"
#include "app/TableRows.h"
#include "app/TextSize.h"
#include "app/panel/BankContentsModel.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <algorithm>

namespace tessary {
namespace {

constexpr int kSizeColumn = 72, kLengthColumn = 58;

} // namespace

BankEntryTable::BankEntryTable(QWidget *parent) : FileDropView(parent) {
  setUpRows(this);
  setDragEnabled(true);
  setDragDropMode(DragOnly);
  horizontalHeader()->setSectionsClickable(false);
  followTextSize();
}

void BankEntryTable::setModel(QAbstractItemModel *model) {
  QTableView::setModel(model);
  horizontalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  horizontalHeader()->setSectionResizeMode(BankContentsModel::kName, QHeaderView::Stretch);
  followTextSize();
}

void BankEntryTable::followTextSize() {
  setRowTextSize(this);
  if (!model()) return;
  horizontalHeader()->resizeSection(BankContentsModel::kSize, scaled(kSizeColumn));
  horizontalHeader()->resizeSection(BankContentsModel::kLength, scaled(kLengthColumn));
}

void BankEntryTable::chooseRow(int row) {
  selectRow(row);
  scrollTo(model()->index(row, 0));
}

std::vector<int> BankEntryTable::chosenRows() const {
  std::vector<int> rows;
  for (const QModelIndex &index : selectionModel()->selectedRows())
    rows.push_back(index.row());
  std::sort(rows.begin(), rows.end());
  return rows;
}

// ---- Keys

/// The first row from there on, in that direction, that can be chosen; invalid when there is none.
QModelIndex BankEntryTable::nearestEnabled(int row, int step) const {
  for (; row >= 0 && row < model()->rowCount(); row += step) {
    const QModelIndex index = model()->index(row, 0);
    if (index.flags() & Qt::ItemIsEnabled) return index;
  }
  return {};
}

QModelIndex BankEntryTable::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) {
  switch (action) {
  case MoveHome:
    return nearestEnabled(0, 1);
  case MoveEnd:
    return nearestEnabled(model()->rowCount() - 1, -1);
  case MoveLeft:
  case MoveRight:
    return currentIndex();
  default:
    break;
  }
  const QModelIndex moved = QTableView::moveCursor(action, modifiers);
  if (!moved.isValid() || moved.flags() & Qt::ItemIsEnabled) return moved;
  const bool goesUp = action == MoveUp || action == MovePageUp || action == MovePrevious;
  const QModelIndex beyond = nearestEnabled(moved.row(), goesUp ? -1 : 1);
  return beyond.isValid() ? beyond : currentIndex();
}

void BankEntryTable::keyPressEvent(QKeyEvent *event) {
  if (event->matches(QKeySequence::Copy)) return emit copyAsked();
  QTableView::keyPressEvent(event);
}

/// Rows have the keyboard, not cells.
void BankEntryTable::currentChanged(const QModelIndex &current, const QModelIndex &previous) {
  QTableView::currentChanged(current, previous);
  viewport()->update();
  if (current.isValid() && current.column() != 0)
    selectionModel()->setCurrentIndex(current.siblingAtColumn(0), QItemSelectionModel::NoUpdate);
}

// ---- Mouse

void BankEntryTable::startDrag(Qt::DropActions) {
  if (std::unique_ptr<DraggedData> samples = dragData()) dragWithPicture(this, samples.release());
}

} // namespace tessary
