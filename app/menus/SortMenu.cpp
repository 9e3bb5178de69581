#include "app/menus/SortMenu.h"

#include "app/ContentController.h"

#include <QAction>
#include <QActionGroup>
#include <QHeaderView>
#include <QMenu>
#include <QTableView>
#include <optional>

namespace tessary {
namespace {

QAction *addItem(QMenu *menu, QActionGroup *group, const QString &title) {
  QAction *item = menu->addAction(title);
  item->setCheckable(true);
  group->addAction(item);
  return item;
}

} // namespace

SortMenu::SortMenu(QMenu *menu, ContentController *content, QTableView *table)
    : QObject(menu), content_(content), table_(table) {
  addItems(menu);
  for (std::size_t place = 0; place < columns_.size(); ++place)
    connect(columns_[place], &QAction::triggered, this, [this, place] {
      const int column = static_cast<int>(place) - 1;
      content_->setOrder({column < 0 ? std::nullopt : std::optional(column), content_->order().descending});
    });
  for (const bool descending : {false, true})
    connect(directions_[descending ? 1 : 0], &QAction::triggered, this, [this, descending] {
      content_->setOrder({content_->order().column, descending});
    });
  connect(content_, &ContentController::orderChanged, this, &SortMenu::showOrder);
  const QHeaderView *header = table_->horizontalHeader();
  connect(header, &QHeaderView::sectionClicked, this, &SortMenu::sortByNext);
  connect(header, &QHeaderView::sectionDoubleClicked, this, // the second of two quick clicks
          &SortMenu::sortByNext);
  showOrder();
}

void SortMenu::addItems(QMenu *menu) {
  QMenu *sort = menu->addMenu(QStringLiteral("Sort By"));
  auto *columns = new QActionGroup(sort);
  columns_.push_back(addItem(sort, columns, QStringLiteral("Folder’s Order")));
  sort->addSeparator();
  for (int column = 0; column < kFolderColumn; ++column)
    columns_.push_back(
        addItem(sort, columns, QLatin1String(kFileColumns[static_cast<std::size_t>(column)].title)));
  menu->addSeparator();
  auto *directions = new QActionGroup(menu);
  for (const char *title : {"Ascending", "Descending"})
    directions_.push_back(addItem(menu, directions, QLatin1String(title)));
}

/// From one click on a title to the next: ascending, descending, the folder's order.
void SortMenu::sortByNext(int column) {
  const FileOrder order = content_->order();
  if (order.column != column)
    content_->setOrder({column, false});
  else
    content_->setOrder(order.descending ? FileOrder() : FileOrder{column, true});
}

void SortMenu::showOrder() {
  const FileOrder order = content_->order();
  const std::size_t place = order.column ? static_cast<std::size_t>(*order.column) + 1 : 0;
  for (std::size_t i = 0; i < columns_.size(); ++i)
    columns_[i]->setChecked(i == place);
  for (const bool descending : {false, true}) {
    QAction *item = directions_[descending ? 1 : 0];
    item->setChecked(order.column && order.descending == descending);
    item->setEnabled(order.column.has_value());
  }
  QHeaderView *header = table_->horizontalHeader();
  header->setSortIndicatorShown(order.column.has_value());
  header->setSortIndicator(order.column.value_or(-1),
                           order.descending ? Qt::DescendingOrder : Qt::AscendingOrder);
}

} // namespace tessary
