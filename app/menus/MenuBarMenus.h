#pragma once

#include "app/MainWindowController.h"

#include <QKeySequence>
#include <QList>
#include <QObject>
#include <QString>
#include <memory>
#include <vector>

class QAction;
class QMenu;

namespace tessary {

class PanelPlace;
class RecentImages;

/// A window's menus of the menu bar, with the keys of its commands. Main thread only.
///
/// A key always reaches its command, which says itself that it can do nothing: items are grey only while they
/// are seen.
class MenuBarMenus final : public QObject {
  Q_OBJECT

public:
  /// All of them must live longer. The window of `controller` has its views and its panel's place already.
  MenuBarMenus(MainWindowController &controller, RecentImages *recentImages, PanelPlace *panelPlace);
  ~MenuBarMenus() override;

  /// In order, without the application's own.
  std::vector<QMenu *> menus() const;
  /// Closes what is open.
  void close();
  /// Checks the item of the panel of a bank's contents, or not.
  void showBankContentsShown(bool shown);

private:
  using Action = MainWindowController::Action;
  struct Command {
    QString title;
    Action action;
    QList<QKeySequence> keys;
  };
  struct Item {
    QAction *item;
    Action action;
  };

  QMenu *addMenu(const char *title);
  QAction *addCommand(QMenu *menu, const Command &command);
  void fillFileMenu(QMenu *menu, RecentImages *recentImages);
  void fillEditMenu(QMenu *menu);
  void fillFolderMenu(QMenu *menu);
  void fillViewMenu(QMenu *menu, PanelPlace *panelPlace);
  void fillHelpMenu(QMenu *menu);
  void validate();
  void nameUndo();

  MainWindowController &controller_;
  std::vector<Item> items_;
  std::vector<std::unique_ptr<QMenu>> menus_;
  QAction *bankContentsItem_ = nullptr;
};

} // namespace tessary
