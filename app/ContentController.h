#pragma once

#include "filesystem/EMU3Filesystem.h"

#include <QAbstractTableModel>
#include <QPointer>
#include <QString>
#include <QTableView>
#include <array>
#include <functional>
#include <vector>

namespace tessary {

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

/// Feeds the file table: the files of one folder as they were at the last `refresh`. Main thread only.
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
  /// Run after host files were imported by a drop on the table.
  void setAfterImport(std::function<void()> callback) { afterImport_ = std::move(callback); }
  const std::function<void()> &afterImport() const { return afterImport_; }

  /// Shows the folder's files as they are now. While the folder stays the same, files that are still there
  /// stay selected and the table stays scrolled as it is.
  void refresh();

  /// The files shown, in row order.
  std::vector<EMU3FilePtr> displayedFiles() const;

  int rowCount(const QModelIndex &parent = {}) const override;
  int columnCount(const QModelIndex &parent = {}) const override;
  QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
  struct Row {
    EMU3FilePtr file;
    std::array<QString, kFileColumns.size()> texts;
  };

  static Row makeRow(const EMU3FilePtr &file);
  bool showsSameFiles(const std::vector<Row> &rows) const;
  void updateTexts(std::vector<Row> rows);
  void replaceRows(std::vector<Row> rows);
  void replaceRowsKeepingView(std::vector<Row> rows);

  EMU3DirectoryPtr directory_;
  EMU3DirectoryPtr shownDirectory_; ///< whose files `rows_` holds
  EMU3FilesystemPtr filesystem_;
  QPointer<QTableView> tableView_;
  std::function<void(const QString &)> statusUpdate_;
  std::function<void()> afterImport_;
  std::vector<Row> rows_;
};

} // namespace tessary
