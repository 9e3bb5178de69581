#pragma once

#include <QObject>
#include <memory>

class QMenu;
class QPoint;
class QTableView;

namespace tessary {

class CommandItems;

/// The context menus of folders and of files. Main thread only.
class ContextMenus final : public QObject {
  Q_OBJECT

public:
  /// The file menu opens where `table` is asked for one. The menus' items go into `items`.
  ContextMenus(CommandItems *items, QTableView *table);
  ~ContextMenus() override;

  void showFolderMenu(const QPoint &globalPosition);
  /// Closes what is open.
  void close();

private:
  const std::unique_ptr<QMenu> folders_;
  const std::unique_ptr<QMenu> files_;
};

} // namespace tessary
