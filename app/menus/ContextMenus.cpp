#include "app/menus/ContextMenus.h"

#include "app/PlatformTexts.h"
#include "app/menus/CommandItems.h"

#include <QMenu>
#include <QTableView>

namespace tessary {
namespace {

using Self = MainWindowController;

std::unique_ptr<QMenu> _buildFolderMenu(CommandItems *items) {
  auto menu = std::make_unique<QMenu>(QStringLiteral("Folder"));
  items->add(menu.get(), QStringLiteral("New Folder…"), &Self::_newFolder);
  menu->addSeparator();
  items->add(menu.get(), QStringLiteral("Rename Folder"), &Self::_renameFolder);
  items->add(menu.get(), QStringLiteral("Export Folder…"), &Self::_exportFolder);
  menu->addSeparator();
  items->add(menu.get(), QStringLiteral("Delete Folder"), &Self::_deleteFolder);
  return menu;
}

std::unique_ptr<QMenu> _buildContextMenu(CommandItems *items) {
  auto menu = std::make_unique<QMenu>(QStringLiteral("File"));
  items->add(menu.get(), exportCommandText(), &Self::_exportSelected);
  items->add(menu.get(), QStringLiteral("Export Samples…"), &Self::_exportSamples);
  menu->addSeparator();
  items->add(menu.get(), QStringLiteral("Rename…"), &Self::_renameSelected);
  items->add(menu.get(), QStringLiteral("Copy to…"), &Self::_copyToDir);
  items->add(menu.get(), QStringLiteral("Move to…"), &Self::_moveToDir);
  menu->addSeparator();
  items->add(menu.get(), QStringLiteral("Delete"), &Self::_deleteSelected);
  return menu;
}

} // namespace

ContextMenus::ContextMenus(CommandItems *items, QTableView *table)
    : folders_(_buildFolderMenu(items)), files_(_buildContextMenu(items)) {
  table->setContextMenuPolicy(Qt::CustomContextMenu);
  connect(table, &QWidget::customContextMenuRequested, this,
          [this, table](const QPoint &position) { files_->popup(table->viewport()->mapToGlobal(position)); });
}

ContextMenus::~ContextMenus() = default;

void ContextMenus::showFolderMenu(const QPoint &globalPosition) {
  folders_->popup(globalPosition);
}

void ContextMenus::close() {
  folders_->close();
  files_->close();
}

} // namespace tessary
