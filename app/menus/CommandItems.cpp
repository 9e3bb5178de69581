#include "app/menus/CommandItems.h"

#include <QAction>
#include <QMenu>

namespace tessary {

void CommandItems::add(QAction *item, Action action) {
  connect(item, &QAction::triggered, this, [this, action] { (controller_.*action)(); });
  items_.push_back({item, action});
}

void CommandItems::add(QMenu *menu, const QString &title, Action action) {
  add(menu->addAction(title), action);
}

void CommandItems::validate() {
  for (const Item &item : items_)
    item.item->setEnabled(controller_.validateUserInterfaceItem(item.action));
}

} // namespace tessary
