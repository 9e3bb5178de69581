#pragma once

#include "app/DraggedData.h"
#include "app/FileDropView.h"

#include <QTableView>
#include <functional>
#include <memory>
#include <vector>

namespace tessary {

/// The view of a bank's presets and samples: whole rows, several may be chosen, and the chosen samples be
/// dragged out.
class BankEntryTable final : public FileDropView<QTableView> {
  Q_OBJECT

public:
  explicit BankEntryTable(QWidget *parent = nullptr);

  void setModel(QAbstractItemModel *model) override;
  /// The system's text size has changed.
  void followTextSize();
  /// Asked for what a drag brings when one begins; null for nothing.
  void setDragData(std::function<std::unique_ptr<DraggedData>()> dragData) {
    dragData_ = std::move(dragData);
  }
  /// What a drag of the chosen rows brings; null for nothing.
  [[nodiscard]] std::unique_ptr<DraggedData> dragData() const { return dragData_ ? dragData_() : nullptr; }
  /// Chooses that row alone and shows it.
  void chooseRow(int row);
  /// From top to bottom.
  [[nodiscard]] std::vector<int> chosenRows() const;

signals:
  void copyAsked();

protected:
  QModelIndex dropItemAt(const QPoint &) const override { return {}; }
  QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
  void keyPressEvent(QKeyEvent *event) override;
  void currentChanged(const QModelIndex &current, const QModelIndex &previous) override;
  void startDrag(Qt::DropActions supportedActions) override;

private:
  [[nodiscard]] QModelIndex nearestEnabled(int row, int step) const;

  std::function<std::unique_ptr<DraggedData>()> dragData_;
};

} // namespace tessary
