#include "app/FolderOutline.h"

#include "app/CellDelegate.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QMouseEvent>
#include <QScrollBar>
#include <algorithm>

namespace tessary {
namespace {

constexpr int narrowestColumn = 200;
constexpr int indentationPerLevel = 16;

} // namespace

FolderOutline::FolderOutline(QWidget *parent) : FileDropView(parent) {
  QFont cellFont = font();
  cellFont.setPixelSize(12);
  setFont(cellFont);
  setItemDelegate(new CellDelegate(this));
  setHeaderHidden(true);
  header()->setMinimumSectionSize(narrowestColumn);
  setIndentation(indentationPerLevel);
  setUniformRowHeights(true);
  setEditTriggers(NoEditTriggers);
  setSelectionMode(SingleSelection);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setVerticalScrollMode(ScrollPerPixel);
  setTextElideMode(Qt::ElideRight);
  setFrameShape(NoFrame);
  connect(this, &QTreeView::expanded, this, &FolderOutline::closeWhenTooDeep);
}

// The one column is stretched to the view's width, but not below its minimum.
void FolderOutline::updateGeometries() {
  QTreeView::updateGeometries();
  const int needed = std::max(narrowestColumn, sizeHintForColumn(0));
  if (needed != header()->minimumSectionSize()) header()->setMinimumSectionSize(needed);
}

// The view itself would scroll to where the column begins, far from the label of a row that lies deep.
void FolderOutline::scrollTo(const QModelIndex &index, ScrollHint hint) {
  const int before = horizontalScrollBar()->value();
  QTreeView::scrollTo(index, hint);
  horizontalScrollBar()->setValue(before);
  const int left = visualRect(index).left();
  const int right = left + sizeHintForIndex(index).width();
  const int beyond = std::min(std::max(0, right - viewport()->width()), left);
  horizontalScrollBar()->setValue(before + (left < 0 ? left - indentation() : beyond));
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
