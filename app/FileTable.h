#pragma once

#include "app/FileDropView.h"

#include <QTableView>
#include <vector>

namespace tessary {

/// The file table's view: whole rows, several may be selected, alternating backgrounds, vertical scroller
/// only. Keys go from row to row and, typed, to the file of that name. Files are dropped on the table as a
/// whole; while rows are dragged the names of their files go along.
///
/// The columns always fill the view. When its width changes all take an equal share of the change; one that
/// the user widens takes its width from those on its right. None gets narrower than its minimum.
class FileTable final : public FileDropView<QTableView> {
  Q_OBJECT

public:
  explicit FileTable(QWidget *parent = nullptr);

  /// The system's text size has changed.
  void followTextSize();

  void setModel(QAbstractItemModel *model) override;
  /// Goes to the selected row, or to the first one, with the keyboard.
  void takeKeyboard();

protected:
  QModelIndex dropItemAt(const QPoint &) const override { return {}; }
  QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
  void keyPressEvent(QKeyEvent *event) override;
  void currentChanged(const QModelIndex &current, const QModelIndex &previous) override;
  void startDrag(Qt::DropActions supportedActions) override;
  void mouseDoubleClickEvent(QMouseEvent *event) override;
  void resizeEvent(QResizeEvent *event) override;

private:
  void columnsChanged();
  void shareWidthChange(double change);
  void applyWidths();
  void columnResizedByUser(int column, int width);

  // Widths are kept unrounded, so that many small changes add up to the same as one large one.
  std::vector<double> widths_;
  std::vector<int> minimums_;
  double sharedWidth_ = 0; ///< width of the view that the columns have been fitted to
  bool applyingWidths_ = false;
};

} // namespace tessary
