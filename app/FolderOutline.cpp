#include "app/FolderOutline.h"

#include "app/CellDelegate.h"
#include "app/DragPicture.h"
#include "app/TextSize.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QMouseEvent>
#include <QScrollBar>
#include <algorithm>

namespace tessary {
namespace {

constexpr int shortestLabel = 64; // with its icon
constexpr int indentationPerLevel = 16;

} // namespace

FolderOutline::FolderOutline(QWidget *parent) : FileDropView(parent) {
  setItemDelegate(new CellDelegate(this));
  setHeaderHidden(true);
  setUniformRowHeights(true);
  setEditTriggers(NoEditTriggers);
  setSelectionMode(SingleSelection);
  setVerticalScrollMode(ScrollPerPixel);
  setTextElideMode(Qt::ElideRight);
  setFrameShape(NoFrame);
  followTextSize();
  connect(this, &QTreeView::expanded, this, &FolderOutline::closeWhenTooDeep);
}

void FolderOutline::followTextSize() {
  setTextSize(this, kRowTextSize);
  setIndentation(scaled(indentationPerLevel));
  scheduleDelayedItemsLayout();
}

// The one column is stretched to the view's width, but not below its minimum.
void FolderOutline::updateGeometries() {
  QTreeView::updateGeometries();
  const int needed = deepestPlaceInSight() + scaled(shortestLabel);
  if (needed != header()->minimumSectionSize()) header()->setMinimumSectionSize(needed);
}

/// Where the label begins that lies deepest, from the column's left edge.
int FolderOutline::deepestPlaceInSight() const {
  int deepest = 0;
  for (QModelIndex row = indexAt(QPoint(1, 1)); row.isValid(); row = indexBelow(row)) {
    const QRect place = visualRect(row);
    if (place.top() > viewport()->height()) break;
    deepest = std::max(deepest, place.left() + horizontalScrollBar()->value());
  }
  return deepest;
}

// The view itself would scroll to where the column begins, far from the label of a row that lies deep.
void FolderOutline::scrollTo(const QModelIndex &index, ScrollHint hint) {
  const int before = horizontalScrollBar()->value();
  QTreeView::scrollTo(index, hint);
  horizontalScrollBar()->setValue(before);
  const int left = visualRect(index).left() - indentation(); // of the triangle
  const int right = left + indentation() + scaled(shortestLabel);
  if (left < 0)
    horizontalScrollBar()->setValue(before + left);
  else if (right > viewport()->width())
    horizontalScrollBar()->setValue(before + std::min(left, right - viewport()->width()));
}

void FolderOutline::mousePressEvent(QMouseEvent *event) {
  if (event->button() != Qt::LeftButton) return;
  if (indexAt(event->position().toPoint()).isValid())
    QTreeView::mousePressEvent(event);
  else
    pressOnEmptyArea();
}

void FolderOutline::pressOnEmptyArea() {
  selectionModel()->clear();
  emit emptyAreaPressed();
}

void FolderOutline::mouseReleaseEvent(QMouseEvent *event) {
  if (event->button() == Qt::LeftButton) QTreeView::mouseReleaseEvent(event);
}

void FolderOutline::mouseDoubleClickEvent(QMouseEvent *event) {
  if (event->button() == Qt::LeftButton) QTreeView::mouseDoubleClickEvent(event);
}

void FolderOutline::mouseMoveEvent(QMouseEvent *event) {
  if (event->buttons() == Qt::NoButton || event->buttons() & Qt::LeftButton) QTreeView::mouseMoveEvent(event);
}

void FolderOutline::contextMenuEvent(QContextMenuEvent *event) {
  if (event->reason() == QContextMenuEvent::Keyboard)
    emit menuRequested({}, viewport()->mapToGlobal(placeOfSelectedRow()));
  else
    emit menuRequested(indexAt(event->pos()), event->globalPos());
}

void FolderOutline::startDrag(Qt::DropActions) {
  if (auto *folder = qobject_cast<DraggedData *>(model()->mimeData(selectedIndexes())))
    dragWithPicture(this, folder);
}

/// In the viewport; its top left corner when no selected row is in sight.
QPoint FolderOutline::placeOfSelectedRow() const {
  const QModelIndexList rows = selectionModel()->selectedRows();
  const QRect row = rows.isEmpty() ? QRect() : visualRect(rows.first());
  return row.intersects(viewport()->rect()) ? row.center() : QPoint();
}

void FolderOutline::closeWhenTooDeep(const QModelIndex &index) {
  int level = 0;
  for (QModelIndex above = index.parent(); above.isValid(); above = above.parent())
    if (++level > kDeepestOpenLevel) return collapse(index);
}

} // namespace tessary
