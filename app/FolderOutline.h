#pragma once

#include "app/FileDropView.h"

#include <QTreeView>

namespace tessary {

/// The folder outline's view: one column without a header, as wide as the view. What does not fit is cut.
/// Only where folders lie so deep that nothing of their labels would be seen is the column wider, and the
/// view scrolls sideways.
///
/// While a folder is dragged its name goes along. A click on the empty area clears the selection; the right
/// button only asks for the context menu and selects nothing. The view lays out nested open folders
/// recursively, so a folder that lies deeper than `kDeepestOpenLevel` stays closed: no image can exhaust the
/// stack.
class FolderOutline final : public FileDropView<QTreeView> {
  Q_OBJECT

public:
  /// Levels count from 0 for the rows at the top.
  static constexpr int kDeepestOpenLevel = 2000;

  explicit FolderOutline(QWidget *parent = nullptr);

  /// The system's text size has changed.
  void followTextSize();

  void scrollTo(const QModelIndex &index, ScrollHint hint = EnsureVisible) override;

signals:
  /// The context menu is to come up there. `clicked` is the row that was clicked for it: invalid for the
  /// empty area, and when the keyboard asked for the menu.
  void menuRequested(const QModelIndex &clicked, const QPoint &globalPosition);
  /// The left button was pressed where there is no row. Nothing is selected now, as perhaps before.
  void emptyAreaPressed();

protected:
  void updateGeometries() override;
  QModelIndex dropItemAt(const QPoint &position) const override { return indexAt(position); }
  void mousePressEvent(QMouseEvent *event) override;
  void mouseReleaseEvent(QMouseEvent *event) override;
  void mouseDoubleClickEvent(QMouseEvent *event) override;
  void mouseMoveEvent(QMouseEvent *event) override;
  void contextMenuEvent(QContextMenuEvent *event) override;
  void startDrag(Qt::DropActions supportedActions) override;

private:
  int deepestPlaceInSight() const;
  void pressOnEmptyArea();
  QPoint placeOfSelectedRow() const;
  void closeWhenTooDeep(const QModelIndex &index);
};

} // namespace tessary
