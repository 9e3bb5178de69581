#include "app/menus/MenuBarMenus.h"

#include "app/MainWindow.h"
#include "app/PlatformTexts.h"
#include "app/RecentImages.h"
#include "app/menus/SortMenu.h"
#include "app/panel/PanelPlace.h"
#include "app/panel/PanelSettings.h"

#include <QAction>
#include <QActionGroup>
#include <QMenu>

namespace tessary {
namespace {

using Self = MainWindowController;

QList<QKeySequence> key(QKeyCombination combination) {
  return {QKeySequence(combination)};
}

} // namespace

MenuBarMenus::MenuBarMenus(MainWindowController &controller, RecentImages *recentImages,
                           PanelPlace *panelPlace)
    : controller_(controller) {
  fillFileMenu(addMenu("File"), recentImages);
  fillEditMenu(addMenu("Edit"));
  fillFolderMenu(addMenu("Folder"));
  fillViewMenu(addMenu("View"), panelPlace);
  fillHelpMenu(addMenu("Help"));
}

MenuBarMenus::~MenuBarMenus() = default;

std::vector<QMenu *> MenuBarMenus::menus() const {
  std::vector<QMenu *> menus;
  for (const auto &menu : menus_)
    menus.push_back(menu.get());
  return menus;
}

void MenuBarMenus::close() {
  for (const auto &menu : menus_)
    menu->close();
}

QMenu *MenuBarMenus::addMenu(const char *title) {
  QMenu *menu = menus_.emplace_back(std::make_unique<QMenu>(QLatin1String(title))).get();
  connect(menu, &QMenu::aboutToShow, this, [this] {
    validate();
    nameUndo();
  });
  connect(menu, &QMenu::aboutToHide, this, [this] {
    for (const Item &item : items_)
      item.item->setEnabled(true);
  });
  return menu;
}

QAction *MenuBarMenus::addCommand(QMenu *menu, const Command &command) {
  QAction *item = menu->addAction(command.title);
  item->setShortcuts(command.keys);
  item->setAutoRepeat(false);
  controller_.window()->addAction(item); // its keys work also where the menu bar is not the window's
  connect(item, &QAction::triggered, this, [this, action = command.action] { (controller_.*action)(); });
  items_.push_back({item, command.action});
  return item;
}

// ---- The menus

void MenuBarMenus::fillFileMenu(QMenu *menu, RecentImages *recentImages) {
  addCommand(menu, {QStringLiteral("New Window"), &Self::_newWindow, key(Qt::CTRL | Qt::ALT | Qt::Key_N)});
  addCommand(menu,
             {QStringLiteral("New Image…"), &Self::_newImage, QKeySequence::keyBindings(QKeySequence::New)});
  addCommand(menu, {QStringLiteral("Mount Image…"), &Self::_openImage,
                    QKeySequence::keyBindings(QKeySequence::Open)});
  recentImages->fill(menu->addMenu(QStringLiteral("Open Recent")));
  addCommand(menu, {QStringLiteral("Unmount"), &Self::_unmountImage, key(Qt::CTRL | Qt::Key_E)});
  menu->addSeparator();
  addCommand(menu, {QStringLiteral("Check Image…"), &Self::_checkImage, key(Qt::CTRL | Qt::Key_K)});
  addCommand(menu,
             {QStringLiteral("Back Up Image…"), &Self::_backUpImage, key(Qt::CTRL | Qt::SHIFT | Qt::Key_B)});
  menu->addSeparator();
  addCommand(menu, {QStringLiteral("Import…"), &Self::_importFile, key(Qt::CTRL | Qt::Key_I)});
  addCommand(menu,
             {QStringLiteral("Import Folder…"), &Self::_importFolder, key(Qt::CTRL | Qt::SHIFT | Qt::Key_I)});
  addCommand(menu, {exportCommandText(), &Self::_export, key(Qt::CTRL | Qt::SHIFT | Qt::Key_E)});
  addCommand(menu, {QStringLiteral("Export Samples…"), &Self::_exportSamples,
                    key(Qt::CTRL | Qt::SHIFT | Qt::Key_S)});
  menu->addSeparator();
  addCommand(menu, {QStringLiteral("Close Window"), &Self::_closeWindow,
                    QKeySequence::keyBindings(QKeySequence::Close)});
}

void MenuBarMenus::fillEditMenu(QMenu *menu) {
  addCommand(menu, {QStringLiteral("Undo"), &Self::_undo, QKeySequence::keyBindings(QKeySequence::Undo)});
  addCommand(menu, {QStringLiteral("Redo"), &Self::_redo, QKeySequence::keyBindings(QKeySequence::Redo)});
  menu->addSeparator();
  addCommand(menu, {QStringLiteral("Rename…"), &Self::_rename, key(Qt::Key_F2)});
  addCommand(menu, {QStringLiteral("Copy to…"), &Self::_copyToDir, key(Qt::CTRL | Qt::SHIFT | Qt::Key_C)});
  addCommand(menu, {QStringLiteral("Move to…"), &Self::_moveToDir, key(Qt::CTRL | Qt::SHIFT | Qt::Key_M)});
  addCommand(menu, {QStringLiteral("Delete"), &Self::_delete, key(Qt::Key_Delete)});
  menu->addSeparator();
  addCommand(menu, {QStringLiteral("Select All"), &Self::_selectAll,
                    QKeySequence::keyBindings(QKeySequence::SelectAll)});
  addCommand(menu, {QStringLiteral("Find"), &Self::_find, QKeySequence::keyBindings(QKeySequence::Find)});
  addCommand(menu, {QStringLiteral("Find in All Folders"), &Self::_findEverywhere,
                    key(Qt::CTRL | Qt::SHIFT | Qt::Key_F)});
}

void MenuBarMenus::fillFolderMenu(QMenu *menu) {
  addCommand(menu, {QStringLiteral("New Folder…"), &Self::_newFolder, key(Qt::CTRL | Qt::SHIFT | Qt::Key_N)});
  addCommand(menu,
             {QStringLiteral("Rename Folder"), &Self::_renameCurrentFolder, key(Qt::SHIFT | Qt::Key_F2)});
  addCommand(menu, {QStringLiteral("Delete Folder"), &Self::_deleteCurrentFolder,
                    key(Qt::CTRL | Qt::SHIFT | Qt::Key_D)});
  addCommand(menu, {QStringLiteral("Export Folder…"), &Self::_exportCurrentFolder,
                    key(Qt::CTRL | Qt::ALT | Qt::Key_E)});
  menu->addSeparator();
  addCommand(menu, {QStringLiteral("Show Root"), &Self::_showRoot, key(Qt::ALT | Qt::Key_Home)});
  addCommand(menu, {QStringLiteral("Show Parent"), &Self::_showParent, key(Qt::ALT | Qt::Key_Up)});
}

void MenuBarMenus::fillViewMenu(QMenu *menu, PanelPlace *panelPlace) {
  new SortMenu(menu, controller_.contentCtl(), controller_.tableView());
  menu->addSeparator();
  bankContentsItem_ = addCommand(
      menu, {QStringLiteral("Bank Contents"), &Self::_toggleBankContents, key(Qt::CTRL | Qt::Key_B)});
  bankContentsItem_->setCheckable(true);
  bankContentsItem_->setChecked(PanelSettings::isShown());
  QMenu *places = menu->addMenu(QStringLiteral("Bank Contents’ Place"));
  auto *group = new QActionGroup(places);
  for (const bool below : {false, true}) {
    QAction *item =
        places->addAction(below ? QStringLiteral("Below Table") : QStringLiteral("Right of Table"));
    item->setCheckable(true);
    item->setChecked(below == PanelSettings::isBelow());
    group->addAction(item);
    connect(item, &QAction::triggered, panelPlace, [panelPlace, below] {
      PanelSettings::setBelow(below);
      panelPlace->setBelow(below);
    });
  }
}

void MenuBarMenus::showBankContentsShown(bool shown) {
  bankContentsItem_->setChecked(shown);
}

void MenuBarMenus::fillHelpMenu(QMenu *menu) {
  addCommand(menu, {QStringLiteral("User Guide"), &Self::_showUserGuide, key(Qt::Key_F1)});
  addCommand(menu, {QStringLiteral("What May Surprise"), &Self::_showSurprises, {}});
}

// ---- While a menu is shown

void MenuBarMenus::validate() {
  for (const Item &item : items_)
    item.item->setEnabled(controller_.isOfUse(item.action));
}

/// "Undo Import", where there is something to undo.
void MenuBarMenus::nameUndo() {
  const auto titled = [](const QString &command, const QString &name) {
    return name.isEmpty() ? command : QStringLiteral("%1 %2").arg(command, name);
  };
  for (const Item &item : items_) {
    if (item.action == &Self::_undo)
      item.item->setText(titled(QStringLiteral("Undo"), controller_.undoManager()->undoName()));
    if (item.action == &Self::_redo)
      item.item->setText(titled(QStringLiteral("Redo"), controller_.undoManager()->redoName()));
  }
}

} // namespace tessary
