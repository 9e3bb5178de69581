#pragma once

#include "tessary/VolumeFindings.h"

#include <QAbstractTableModel>
#include <QString>
#include <array>
#include <vector>

namespace tessary {

/// What a check of an image found, one row a finding, harm first, as it was then. Main thread only.
class FindingsModel final : public QAbstractTableModel {
  Q_OBJECT

public:
  enum Column { kKind, kWhat, kWhere, kColumnCount };

  using QAbstractTableModel::QAbstractTableModel;

  /// Replaces all rows. Paths begin at `root`.
  void setFindings(std::vector<VolumeFinding> findings, const EMU3DirectoryPtr &root);
  const VolumeFinding &finding(int row) const { return rows_[static_cast<std::size_t>(row)].finding; }
  /// How many of the findings are harm.
  int harms() const;
  /// A row as one line of plain text: "Harm: /Drums/KICK: The file …".
  QString line(int row) const;

  int rowCount(const QModelIndex &parent = {}) const override;
  int columnCount(const QModelIndex &parent = {}) const override;
  QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
  struct Row {
    VolumeFinding finding;
    std::array<QString, kColumnCount> texts;
  };

  std::vector<Row> rows_;
};

} // namespace tessary
