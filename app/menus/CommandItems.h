#pragma once

#include "app/MainWindowController.h"

#include <QObject>
#include <QString>
#include <vector>

class QAction;
class QMenu;

namespace tessary {

/// The items of toolbar and context menus: each runs a command of the window, and is grey while
/// `MainWindowController::validateUserInterfaceItem` says so. Main thread only.
class CommandItems final : public QObject {
  Q_OBJECT

public:
  using Action = MainWindowController::Action;

  /// `controller` carries the commands out, and must live longer.
  explicit CommandItems(MainWindowController &controller) : controller_(controller) {}

  void add(QAction *item, Action action);
  void add(QMenu *menu, const QString &title, Action action);

  /// Greys the items anew.
  void validate();

private:
  struct Item {
    QAction *item;
    Action action;
  };

  MainWindowController &controller_;
  std::vector<Item> items_;
};

} // namespace tessary
