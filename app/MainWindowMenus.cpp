#include "app/Icons.h"
#include "app/MainWindow.h"
#include "app/MainWindowController.h"
#include "app/PlatformTexts.h"
#include "app/SidebarController.h"

#include <QAction>
#include <QEvent>
#include <QMenu>
#include <QTableView>
#include <QToolBar>
#include <QTreeView>
#include <array>

namespace tessary {
namespace {

struct ToolbarItem {
  const char *identifier;
  const char *label;
  const char *paletteLabel;
  const char *symbol;
  MainWindowController::Action action;
};

const std::array<ToolbarItem, 7> toolbarItems = {{
    {"MountItem", "Mount Image", "Mount Image", "externaldrive.badge.plus",
     &MainWindowController::_openImage},
    {"UnmountItem", "Unmount", "Unmount Image", "eject", &MainWindowController::_unmountImage},
    {"ExportItem", "Export", "Export File", "square.and.arrow.up", &MainWindowController::_exportSelected},
    {"ImportItem", "Import", "Import File", "square.and.arrow.down", &MainWindowController::_importFile},
    {"DeleteItem", "Delete", "Delete File", "trash", &MainWindowController::_deleteSelected},
    {"UndoItem", "Undo", "Undo", "arrow.uturn.backward", &MainWindowController::_undo},
    {"RedoItem", "Redo", "Redo", "arrow.uturn.forward", &MainWindowController::_redo},
}};

constexpr const char *flexibleSpace = "FlexibleSpaceItem";
constexpr std::array<const char *, 8> defaultItems = {"MountItem",  "UnmountItem", flexibleSpace,
                                                      "ImportItem", "ExportItem",  "DeleteItem",
                                                      "UndoItem",   "RedoItem"};

/// Keeps the tool tips away that a toolbar gives its buttons from their actions.
class NoToolTips final : public QObject {
public:
  using QObject::QObject;

protected:
  bool eventFilter(QObject *watched, QEvent *event) override {
    auto *button = static_cast<QWidget *>(watched);
    if (event->type() == QEvent::ToolTipChange && !button->toolTip().isEmpty()) button->setToolTip({});
    return false;
  }
};

QWidget *makeFlexibleSpace(QWidget *parent) {
  auto *space = new QWidget(parent);
  space->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
  return space;
}

} // namespace

// ---- Toolbar

void MainWindowController::_buildToolbar() {
  auto *toolbar = new QToolBar(window_.get());
  toolbar->setObjectName(QStringLiteral("MainToolbar"));
  toolbar->setAccessibleName(QStringLiteral("Toolbar"));
  toolbar->setMovable(false);
  toolbar->setFloatable(false);
  toolbar->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
  auto *noToolTips = new NoToolTips(toolbar);
  for (const char *identifier : defaultItems) {
    if (identifier == flexibleSpace) {
      toolbar->addWidget(makeFlexibleSpace(toolbar));
      continue;
    }
    QAction *item = _makeToolbarItem(QString::fromLatin1(identifier));
    toolbar->addAction(item);
    QWidget *button = toolbar->widgetForAction(item);
    button->setFocusPolicy(Qt::TabFocus);
    button->setToolTip({});
    button->installEventFilter(noToolTips);
  }
  window_->addToolBar(toolbar);
}

/// An unknown identifier gives a bare item.
QAction *MainWindowController::_makeToolbarItem(const QString &identifier) {
  auto *item = new QAction(window_.get());
  item->setObjectName(identifier);
  for (const ToolbarItem &known : toolbarItems) {
    if (identifier != QLatin1String(known.identifier)) continue;
    item->setText(QString::fromLatin1(known.paletteLabel));
    item->setIconText(QString::fromLatin1(known.label));
    item->setIcon(toolbarIcon(QString::fromLatin1(known.symbol)));
    _addItem(item, known.action);
  }
  return item;
}

// ---- Context menus

void MainWindowController::_buildContextMenus() {
  folderMenu_ = _buildFolderMenu();
  fileMenu_ = _buildContextMenu();
  QTableView *table = tableView();
  table->setContextMenuPolicy(Qt::CustomContextMenu);
  connect(table, &QWidget::customContextMenuRequested, this, [this, table](const QPoint &position) {
    fileMenu_->popup(table->viewport()->mapToGlobal(position));
  });
}

void MainWindowController::_showFolderMenu(const QModelIndex &clicked, const QPoint &globalPosition) {
  clickedDirectory_ = clicked.isValid() ? sidebarCtl()->directoryAt(clicked) : nullptr;
  folderMenu_->popup(globalPosition);
}

std::unique_ptr<QMenu> MainWindowController::_buildFolderMenu() {
  auto menu = std::make_unique<QMenu>(QStringLiteral("Folder"));
  _addMenuItem(menu.get(), QStringLiteral("New Folder…"), &MainWindowController::_newFolder);
  menu->addSeparator();
  _addMenuItem(menu.get(), QStringLiteral("Rename Folder"), &MainWindowController::_renameFolder);
  _addMenuItem(menu.get(), QStringLiteral("Export Folder…"), &MainWindowController::_exportFolder);
  menu->addSeparator();
  _addMenuItem(menu.get(), QStringLiteral("Delete Folder"), &MainWindowController::_deleteFolder);
  return menu;
}

std::unique_ptr<QMenu> MainWindowController::_buildContextMenu() {
  auto menu = std::make_unique<QMenu>(QStringLiteral("File"));
  _addMenuItem(menu.get(), exportCommandText(), &MainWindowController::_exportSelected);
  _addMenuItem(menu.get(), QStringLiteral("Export Samples…"), &MainWindowController::_exportSamples);
  menu->addSeparator();
  _addMenuItem(menu.get(), QStringLiteral("Rename…"), &MainWindowController::_renameSelected);
  _addMenuItem(menu.get(), QStringLiteral("Copy to…"), &MainWindowController::_copyToDir);
  _addMenuItem(menu.get(), QStringLiteral("Move to…"), &MainWindowController::_moveToDir);
  menu->addSeparator();
  _addMenuItem(menu.get(), QStringLiteral("Delete"), &MainWindowController::_deleteSelected);
  return menu;
}

void MainWindowController::_addMenuItem(QMenu *menu, const QString &title, Action action) {
  _addItem(menu->addAction(title), action);
}

// ---- Enablement

void MainWindowController::_addItem(QAction *item, Action action) {
  connect(item, &QAction::triggered, this, [this, action] { (this->*action)(); });
  items_.push_back({item, action});
}

bool MainWindowController::validateUserInterfaceItem(Action action) const {
  using Self = MainWindowController;
  if (action == &Self::_unmountImage || action == &Self::_exportSelected || action == &Self::_importFile ||
      action == &Self::_deleteSelected)
    return filesystem() != nullptr;
  if (action == &Self::_undo) return history_->undoManager()->canUndo();
  if (action == &Self::_redo) return history_->undoManager()->canRedo();
  return true;
}

void MainWindowController::_validateItems() {
  for (const Item &item : items_)
    item.item->setEnabled(validateUserInterfaceItem(item.action));
}

} // namespace tessary
