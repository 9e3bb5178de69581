#pragma once

#include "app/FileDropView.h"

#include <QTableView>
#include <vector>

namespace tessary {

/// The file table's view: whole rows, several may be selected, alternating backgrounds, vertical scroller
/// only. When its width changes, all columns take an equal share of the change; none gets narrower than
/// its minimum. Files are dropped on the table as a whole; while rows are dragged the names of their files go
/// along.
class FileTable final : public FileDropView<QTableView> {
  Q_OBJECT

public:
  explicit FileTable(QWidget *parent = nullptr);

  /// Gives each column of the model its first width and its minimum, in device-independent pixels.
  void setColumnWidths(const std::vector<int> &widths, const std::vector<int> &minimums);

protected:
  QModelIndex dropItemAt(const QPoint &) const override { return {}; }
  void startDrag(Qt::DropActions supportedActions) override;
  void mouseDoubleClickEvent(QMouseEvent *event) override;
  void resizeEvent(QResizeEvent *event) override;

private:
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
