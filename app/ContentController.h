#pragma once

#include "app/IncomingDrag.h"
#include "filesystem/EMU3Filesystem.h"

#include <QAbstractTableModel>
#include <QPointer>
#include <QString>
#include <QTableView>
#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace tessary {

struct ImportResult;

/// A column of the file table; its title is its identifier too. Widths in device-independent pixels.
struct FileColumn {
  const char *title;
  int width;
  int minimumWidth;
};

inline constexpr std::array<FileColumn, 6> kFileColumns = {{{"Name", 220, 80},
                                                            {"Type", 90, 60},
                                                            {"Format", 110, 80},
                                                            {"Presets", 65, 50},
                                                            {"Samples", 70, 55},
                                                            {"Size", 80, 60}}};

/// Feeds the file table: the files of one folder as they were at the last `refresh`. Its rows can be dragged
/// out as host files; host files dropped on the table are imported into the folder. Main thread only.
class ContentController final : public QAbstractTableModel {
  Q_OBJECT

public:
  explicit ContentController(QObject *parent = nullptr);

  EMU3DirectoryPtr directory() const { return directory_; }
  /// The folder shown from the next `refresh` on; null for none.
  void setDirectory(EMU3DirectoryPtr directory) { directory_ = std::move(directory); }
  EMU3FilesystemPtr filesystem() const { return filesystem_; }
  void setFilesystem(EMU3FilesystemPtr filesystem) { filesystem_ = std::move(filesystem); }

  /// Becomes the view's model. The view is not owned.
  void setTableView(QTableView *tableView);
  QTableView *tableView() const { return tableView_; }

  /// Writes the status line.
  void setStatusUpdate(std::function<void(const QString &)> callback) { statusUpdate_ = std::move(callback); }
  const std::function<void(const QString &)> &statusUpdate() const { return statusUpdate_; }
  /// Asked before files dropped on the table are imported: runs what it is given, at once or later, when the
  /// image is not read-only. Until one is set nothing is asked.
  void setBeforeImport(std::function<void(std::function<void()>)> callback) {
    beforeImport_ = std::move(callback);
  }
  /// Run after host files were imported by a drop on the table.
  void setAfterImport(std::function<void()> callback) { afterImport_ = std::move(callback); }
  const std::function<void()> &afterImport() const { return afterImport_; }

  /// Shows the folder's files as they are now. While the folder stays the same, files that are still there
  /// stay selected and the table stays scrolled as it is; where the current row's file has gone, the row that
  /// follows becomes the current one.
  void refresh();

  /// Selects the file's row alone and scrolls it into view; false when it has none.
  bool selectRowOf(const EMU3FilePtr &file);

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
  /// Exports the rows' files to the host, each into a private folder of its own, and names them in row order.
  /// A row whose export fails is left out and logged; null when none is left, or when another folder is shown
  /// by then. Meanwhile events are handled, but for the user's. The caller owns the result.
  QMimeData *mimeData(const QModelIndexList &indexes) const override;
  /// The file that the last drag of rows brings as that host file; null for any other path.
  EMU3FilePtr draggedFile(const std::string &path) const;
  /// Any place on the table will do. Refuses the table's own rows, and everything unless a folder of an image
  /// is shown that is writable, or will be when another program lets go of it.
  bool canDropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                       const QModelIndex &parent) const override;
  /// Accepts at once; the files are imported on the I/O queue.
  bool dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                    const QModelIndex &parent) override;

private:
  struct Row {
    EMU3FilePtr file;
    std::array<QString, kFileColumns.size()> texts;
  };

  static Row makeRow(const EMU3FilePtr &file);
  bool showsSameFiles(const std::vector<Row> &rows) const;
  void updateTexts(std::vector<Row> rows);
  void replaceRows(std::vector<Row> rows);
  /// The file shown in that row when it is among `rows`, or else the nearest one that is: below it first.
  EMU3FilePtr nearestFileIn(const std::vector<Row> &rows, int row) const;
  void replaceRowsKeepingView(std::vector<Row> rows);
  struct DraggedFile {
    std::string path; ///< of the copy
    EMU3FilePtr file;
  };
  std::vector<DraggedFile> exportForDrag(const std::vector<EMU3FilePtr> &files) const;
  bool canImport() const;
  void importDroppedFiles(const std::vector<std::string> &urls, const EMU3DirectoryPtr &directory);
  void droppedFilesImported(const EMU3FilesystemPtr &filesystem, const ImportResult &result);

  EMU3DirectoryPtr directory_;
  EMU3DirectoryPtr shownDirectory_; ///< whose files `rows_` holds
  EMU3FilesystemPtr filesystem_;
  QPointer<QTableView> tableView_;
  std::function<void(const QString &)> statusUpdate_;
  std::function<void(std::function<void()>)> beforeImport_ = [](const auto &import) { import(); };
  std::function<void()> afterImport_;
  std::vector<Row> rows_;
  mutable SerialQueue dragQueue_{"com.tessary.drag"}; ///< a drag that begins is not behind queued work
  mutable std::unordered_map<std::string, std::weak_ptr<EMU3File>> dragged_; ///< by the path of the copy
  mutable IncomingDrag incomingDrag_; ///< mutable for what it remembers of the data
};

} // namespace tessary
