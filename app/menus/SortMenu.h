#pragma once

#include <QObject>
#include <vector>

class QAction;
class QActionGroup;
class QMenu;
class QTableView;

namespace tessary {

class ContentController;

/// How the file table is sorted, in a menu, and by clicks on the table's titles. Main thread only.
class SortMenu final : public QObject {
  Q_OBJECT

public:
  /// Adds its items to `menu`, and ends with it. `content` and `table` must live as long.
  SortMenu(QMenu *menu, ContentController *content, QTableView *table);

private:
  void addItems(QMenu *menu);
  void sortByNext(int column);
  void showOrder();

  ContentController *const content_;
  QTableView *const table_;
  std::vector<QAction *> columns_;    ///< the folder's order first
  std::vector<QAction *> directions_; ///< ascending, descending
};

} // namespace tessary
