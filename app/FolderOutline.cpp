#include "app/FolderOutline.h"

#include "app/CellDelegate.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QMouseEvent>

namespace tessary {

FolderOutline::FolderOutline(QWidget *parent) : FileDropView(parent) {
  QFont cellFont = font();
  cellFont.setPixelSize(12);
  setFont(cellFont);
  setItemDelegate(new CellDelegate(this));
  setHeaderHidden(true);
  setUniformRowHeights(true);
  setEditTriggers(NoEditTriggers);
  setSelectionMode(SingleSelection);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setVerticalScrollMode(ScrollPerPixel);
  setTextElideMode(Qt::ElideRight);
  setFrameShape(NoFrame);
  connect(this, &QTreeView::expanded, this, &FolderOutline::closeWhenTooDeep);
}

void FolderOutline::mousePressEvent(QMouseEvent *event) {
  if (event->button() != Qt::LeftButton) return;
  if (indexAt(event->position().toPoint()).isValid())
    QTreeView::mousePressEvent(event);
  else
    selectionModel()->clear();
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
