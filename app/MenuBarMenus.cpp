#include "app/ContentController.h"
#include "app/MainWindow.h"
#include "app/MainWindowController.h"
#include "app/PlatformTexts.h"
#include "app/SidebarController.h"
#include "app/SortMenu.h"
#include "app/panel/BankContents.h"
#include "app/panel/PanelPlace.h"
#include "app/panel/PanelSettings.h"

#include <QAction>
#include <QActionGroup>
#include <QKeySequence>
#include <QMenu>
#include <QTableView>
#include <QTreeView>

namespace tessary {

struct MainWindowController::MenuCommand {
  QString title;
  Action action;
  QList<QKeySequence> keys;
};

namespace {

QList<QKeySequence> key(QKeyCombination combination) {
  return {QKeySequence(combination)};
}

} // namespace

std::vector<QMenu *> MainWindowController::menus() const {
  std::vector<QMenu *> menus;
  for (const auto &menu : menuBarMenus_)
    menus.push_back(menu.get());
  return menus;
}

void MainWindowController::_buildMenuBarMenus() {
  using Self = MainWindowController;
  const auto make = [this](const char *title) {
    QMenu *menu = menuBarMenus_.emplace_back(std::make_unique<QMenu>(QLatin1String(title))).get();
    // A key always reaches its command, which says itself that it can do nothing: items are grey only while
    // they are seen.
    connect(menu, &QMenu::aboutToShow, this, [this] {
      for (const Item &item : menuBarItems_)
        item.item->setEnabled(_isOfUse(item.action));
      _nameUndo();
    });
    connect(menu, &QMenu::aboutToHide, this, [this] {
      for (const Item &item : menuBarItems_)
        item.item->setEnabled(true);
    });
    return menu;
  };

  QMenu *file = make("File");
  _addCommand(file, {QStringLiteral("New Window"), &Self::_newWindow, key(Qt::CTRL | Qt::ALT | Qt::Key_N)});
  _addCommand(file,
              {QStringLiteral("New Image…"), &Self::_newImage, QKeySequence::keyBindings(QKeySequence::New)});
  _addCommand(file, {QStringLiteral("Mount Image…"), &Self::_openImage,
                     QKeySequence::keyBindings(QKeySequence::Open)});
  recentImages_->fill(file->addMenu(QStringLiteral("Open Recent")));
  _addCommand(file, {QStringLiteral("Unmount"), &Self::_unmountImage, key(Qt::CTRL | Qt::Key_E)});
  file->addSeparator();
  _addCommand(file, {QStringLiteral("Check Image…"), &Self::_checkImage, key(Qt::CTRL | Qt::Key_K)});
  _addCommand(file,
              {QStringLiteral("Back Up Image…"), &Self::_backUpImage, key(Qt::CTRL | Qt::SHIFT | Qt::Key_B)});
  file->addSeparator();
  _addCommand(file, {QStringLiteral("Import…"), &Self::_importFile, key(Qt::CTRL | Qt::Key_I)});
  _addCommand(
      file, {QStringLiteral("Import Folder…"), &Self::_importFolder, key(Qt::CTRL | Qt::SHIFT | Qt::Key_I)});
  _addCommand(file, {exportCommandText(), &Self::_export, key(Qt::CTRL | Qt::SHIFT | Qt::Key_E)});
  _addCommand(file, {QStringLiteral("Export Samples…"), &Self::_exportSamples,
                     key(Qt::CTRL | Qt::SHIFT | Qt::Key_S)});
  file->addSeparator();
  _addCommand(file, {QStringLiteral("Close Window"), &Self::_closeWindow,
                     QKeySequence::keyBindings(QKeySequence::Close)});

  QMenu *edit = make("Edit");
  _addCommand(edit, {QStringLiteral("Undo"), &Self::_undo, QKeySequence::keyBindings(QKeySequence::Undo)});
  _addCommand(edit, {QStringLiteral("Redo"), &Self::_redo, QKeySequence::keyBindings(QKeySequence::Redo)});
  edit->addSeparator();
  _addCommand(edit, {QStringLiteral("Rename…"), &Self::_rename, key(Qt::Key_F2)});
  _addCommand(edit, {QStringLiteral("Copy to…"), &Self::_copyToDir, key(Qt::CTRL | Qt::SHIFT | Qt::Key_C)});
  _addCommand(edit, {QStringLiteral("Move to…"), &Self::_moveToDir, key(Qt::CTRL | Qt::SHIFT | Qt::Key_M)});
  _addCommand(edit, {QStringLiteral("Delete"), &Self::_delete, key(Qt::Key_Delete)});
  edit->addSeparator();
  _addCommand(edit, {QStringLiteral("Select All"), &Self::_selectAll,
                     QKeySequence::keyBindings(QKeySequence::SelectAll)});
  _addCommand(edit, {QStringLiteral("Find"), &Self::_find, QKeySequence::keyBindings(QKeySequence::Find)});
  _addCommand(edit, {QStringLiteral("Find in All Folders"), &Self::_findEverywhere,
                     key(Qt::CTRL | Qt::SHIFT | Qt::Key_F)});

  QMenu *folder = make("Folder");
  _addCommand(folder,
              {QStringLiteral("New Folder…"), &Self::_newFolder, key(Qt::CTRL | Qt::SHIFT | Qt::Key_N)});
  _addCommand(folder,
              {QStringLiteral("Rename Folder"), &Self::_renameCurrentFolder, key(Qt::SHIFT | Qt::Key_F2)});
  _addCommand(folder, {QStringLiteral("Delete Folder"), &Self::_deleteCurrentFolder,
                       key(Qt::CTRL | Qt::SHIFT | Qt::Key_D)});
  _addCommand(folder, {QStringLiteral("Export Folder…"), &Self::_exportCurrentFolder,
                       key(Qt::CTRL | Qt::ALT | Qt::Key_E)});
  folder->addSeparator();
  _addCommand(folder, {QStringLiteral("Show Root"), &Self::_showRoot, key(Qt::ALT | Qt::Key_Home)});
  _addCommand(folder, {QStringLiteral("Show Parent"), &Self::_showParent, key(Qt::ALT | Qt::Key_Up)});

  QMenu *view = make("View");
  new SortMenu(view, contentCtl(), tableView());
  view->addSeparator();
  _addBankContentsItems(view);

  QMenu *help = make("Help");
  _addCommand(help, {QStringLiteral("User Guide"), &Self::_showUserGuide, key(Qt::Key_F1)});
  _addCommand(help, {QStringLiteral("What May Surprise"), &Self::_showSurprises, {}});
}

/// "Undo Import", as long as the menu is shown and there is something to undo.
void MainWindowController::_nameUndo() {
  const auto titled = [](const QString &command, const QString &name) {
    return name.isEmpty() ? command : QStringLiteral("%1 %2").arg(command, name);
  };
  for (const Item &item : menuBarItems_) {
    if (item.action == &MainWindowController::_undo)
      item.item->setText(titled(QStringLiteral("Undo"), undoManager()->undoName()));
    if (item.action == &MainWindowController::_redo)
      item.item->setText(titled(QStringLiteral("Redo"), undoManager()->redoName()));
  }
}

void MainWindowController::_addCommand(QMenu *menu, const MenuCommand &command) {
  QAction *item = menu->addAction(command.title);
  item->setShortcuts(command.keys);
  item->setAutoRepeat(false);
  window_->addAction(item); // its keys work also where the menu bar is not the window's
  connect(item, &QAction::triggered, this, [this, action = command.action] { (this->*action)(); });
  menuBarItems_.push_back({item, command.action});
}

// ---- Bank contents

void MainWindowController::_addBankContentsItems(QMenu *menu) {
  _addCommand(menu, {QStringLiteral("Bank Contents"), &MainWindowController::_toggleBankContents,
                     key(Qt::CTRL | Qt::Key_B)});
  bankContentsItem_ = menuBarItems_.back().item;
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
    connect(item, &QAction::triggered, this, [this, below] {
      PanelSettings::setBelow(below);
      panelPlace_->setBelow(below);
    });
  }
}

void MainWindowController::_toggleBankContents() {
  bankContents_->setShown(!bankContents_->isShown());
  bankContentsItem_->setChecked(bankContents_->isShown());
  PanelSettings::setShown(bankContents_->isShown());
}

// ---- Enablement

bool MainWindowController::_isOfUse(Action action) const {
  using Self = MainWindowController;
  for (const Action always : {&Self::_newWindow, &Self::_closeWindow, &Self::_newImage, &Self::_openImage,
                              &Self::_showUserGuide, &Self::_showSurprises, &Self::_toggleBankContents})
    if (action == always) return true;
  if (!filesystem()) return false;
  if (action == &Self::_unmountImage || action == &Self::_backUpImage || action == &Self::_find ||
      action == &Self::_findEverywhere)
    return true;
  if (action == &Self::_checkImage) return !check_->isChecking();
  if (action == &Self::_selectAll) return contentCtl()->rowCount() > 0;
  if (action == &Self::_showRoot) return currentDirectory() != filesystem()->rootDirectory();
  if (action == &Self::_showParent) return browser_->parentOfFolder() != nullptr;
  const std::size_t selected = _selectedFiles().size();
  if (action == &Self::_exportSelected || action == &Self::_exportSamples) return selected > 0;
  if (action == &Self::_exportCurrentFolder) return currentDirectory() != nullptr;
  if (action == &Self::_export) return _foldersHaveKeyboard() ? currentDirectory() != nullptr : selected > 0;
  // All others change the image.
  if (!mayBecomeChangeable(*filesystem())) return false;
  if (action == &Self::_undo) return history_->undoManager()->canUndo();
  if (action == &Self::_redo) return history_->undoManager()->canRedo();
  const bool inFolder = browser_->parentOfFolder() != nullptr;
  if (action == &Self::_renameCurrentFolder || action == &Self::_deleteCurrentFolder) return inFolder;
  if (action == &Self::_copyToDir || action == &Self::_moveToDir) return selected > 0;
  if (action == &Self::_rename) return _foldersHaveKeyboard() ? inFolder : selected == 1;
  if (action == &Self::_delete) return _foldersHaveKeyboard() ? inFolder : selected > 0;
  return true;
}

} // namespace tessary
