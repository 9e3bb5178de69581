#pragma once

#include "app/DraggedItems.h"
#include "app/FileListing.h"
#include "app/IncomingDrag.h"
#include "tessary/EMU3Filesystem.h"

#include <QAbstractTableModel>
#include <QPointer>
#include <QString>
#include <QTableView>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tessary {

class DragExport;

/// Feeds the file table: the files of the current folder, or those found in all folders, as they were at the
/// last `refresh`. Its rows can be dragged to other folders, also of another window's image, and out as host
/// files; what is dropped on the table is for the current folder. Main thread only.
class ContentController final : public QAbstractTableModel {
  Q_OBJECT

public:
  explicit ContentController(QObject *parent = nullptr);

  /// The current folder: the window holds it nowhere else. Null for none.
  EMU3DirectoryPtr directory() const { return directory_; }
  /// Makes the folder the current one and shows its files.
  void setDirectory(EMU3DirectoryPtr directory);
  EMU3FilesystemPtr filesystem() const { return filesystem_; }
  void setFilesystem(EMU3FilesystemPtr filesystem) { filesystem_ = std::move(filesystem); }

  /// Becomes the view's model. The view is not owned.
  void setTableView(QTableView *tableView);
  QTableView *tableView() const { return tableView_; }

  /// Makes the copies for other programs; unset, they get none. Not owned.
  void setDragExport(DragExport *drags) { drags_ = drags; }
  /// Performs a drop of what a window of this program drags on the table; unset, that is refused.
  void setItemsDropped(ItemsDropped callback) { itemsDropped_ = std::move(callback); }
  /// Performs a drop of host files, given by their paths, on the table.
  void setDropReceived(std::function<void(const std::vector<std::string> &urls)> callback) {
    dropReceived_ = std::move(callback);
  }

  /// In which order files are shown from now on.
  FileOrder order() const { return order_; }
  void setOrder(const FileOrder &order);
  /// Which files are shown from now on.
  FileSearch search() const { return search_; }
  void setSearch(const FileSearch &search);
  /// How many files there are where the search looks.
  std::size_t searchedFiles() const;

  /// Shows the folder's files as they are now. While the folder stays the same, files that are still there
  /// stay selected and the table stays scrolled as it is; where the current row's file has gone, the row that
  /// follows becomes the current one.
  void refresh();

  /// Selects the rows of these files alone and scrolls the first of them into view; false when none has one.
  bool selectRowsOf(const std::vector<EMU3FilePtr> &files);
  /// The folder that holds the row's file.
  EMU3DirectoryPtr folderAt(int row) const { return rows_[static_cast<std::size_t>(row)].folder; }

  /// The files shown, in row order.
  std::vector<EMU3FilePtr> displayedFiles() const;

  int rowCount(const QModelIndex &parent = {}) const override;
  int columnCount(const QModelIndex &parent = {}) const override;
  QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

  Qt::ItemFlags flags(const QModelIndex &index) const override;
  Qt::DropActions supportedDragActions() const override;
  Qt::DropActions supportedDropActions() const override;
  QStringList mimeTypes() const override;
  /// The rows' files as `DraggedItems`, in row order; null for none. The caller owns the result.
  QMimeData *mimeData(const QModelIndexList &indexes) const override;
  /// Any place on the table will do. Refuses the table's own rows, and everything unless a folder of an image
  /// is shown that is writable, or will be when another program lets go of it.
  bool canDropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                       const QModelIndex &parent) const override;
  /// Accepts at once.
  bool dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                    const QModelIndex &parent) override;

signals:
  void orderChanged();

private:
  void showRows(std::vector<ListedFile> rows);
  bool showsSameFiles(const std::vector<ListedFile> &rows) const;
  void updateTexts(std::vector<ListedFile> rows);
  void replaceRows(std::vector<ListedFile> rows);
  /// The file shown in that row when it is among `rows`, or else the nearest one that is: below it first.
  EMU3FilePtr nearestFileIn(const std::vector<ListedFile> &rows, int row) const;
  void replaceRowsKeepingView(std::vector<ListedFile> rows);
  bool canImport() const;

  EMU3DirectoryPtr directory_;
  EMU3FilesystemPtr filesystem_;
  QPointer<QTableView> tableView_;
  DragExport *drags_ = nullptr;
  ItemsDropped itemsDropped_;
  std::function<void(const std::vector<std::string> &)> dropReceived_;
  FileOrder order_;
  FileSearch search_;
  std::vector<ListedFile> rows_;
  mutable IncomingDrag incomingDrag_; ///< mutable for what it remembers of the data
};

} // namespace tessary
