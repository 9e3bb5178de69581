#include "app/menus/Toolbar.h"

#include "app/Icons.h"
#include "app/menus/CommandItems.h"

#include <QAction>
#include <QEvent>
#include <QMainWindow>
#include <QToolBar>
#include <array>

namespace tessary {
namespace {

struct ToolbarItem {
  const char *identifier;
  const char *label;
  const char *paletteLabel;
  const char *symbol;
  CommandItems::Action action;
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

/// An unknown identifier gives a bare item.
QAction *makeItem(const QString &identifier, QMainWindow *window, CommandItems *items) {
  auto *item = new QAction(window);
  item->setObjectName(identifier);
  for (const ToolbarItem &known : toolbarItems) {
    if (identifier != QLatin1String(known.identifier)) continue;
    item->setText(QString::fromLatin1(known.paletteLabel));
    item->setIconText(QString::fromLatin1(known.label));
    item->setIcon(toolbarIcon(QString::fromLatin1(known.symbol)));
    items->add(item, known.action);
  }
  return item;
}

} // namespace

void addToolbar(QMainWindow *window, CommandItems *items) {
  auto *toolbar = new QToolBar(window);
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
    QAction *item = makeItem(QString::fromLatin1(identifier), window, items);
    toolbar->addAction(item);
    QWidget *button = toolbar->widgetForAction(item);
    button->setFocusPolicy(Qt::TabFocus);
    button->setToolTip({});
    button->installEventFilter(noToolTips);
  }
  window->addToolBar(toolbar);
}

} // namespace tessary
