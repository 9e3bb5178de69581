#include "app/menus/WindowMenu.h"

#include "app/ImageTitle.h"
#include "app/MainWindowController.h"
#include "app/WindowList.h"

#include <QMenuBar>
#include <string>
#include <vector>

namespace tessary {
namespace {

void list(QMenu *menu, const WindowList &windows, const MainWindowController &shownIn) {
  menu->clear();
  std::vector<std::string> paths;
  for (const MainWindowController *window : windows.windows())
    if (const EMU3FilesystemPtr image = window->filesystem()) paths.push_back(image->imageURL());
  for (MainWindowController *window : windows.windows()) {
    const EMU3FilesystemPtr image = window->filesystem();
    QAction *item =
        menu->addAction(image ? imageTitle(image->imageURL(), paths) : QStringLiteral("No Image"));
    item->setCheckable(true);
    item->setChecked(window == &shownIn);
    QObject::connect(item, &QAction::triggered, window, &MainWindowController::bringToFront);
  }
}

} // namespace

QMenu *addWindowMenu(QMenuBar *bar, const WindowList &windows, const MainWindowController &shownIn) {
  auto *menu = bar->addMenu(QStringLiteral("Window"));
  QObject::connect(menu, &QMenu::aboutToShow, menu,
                   [menu, &windows, &shownIn] { list(menu, windows, shownIn); });
  return menu;
}

} // namespace tessary
