#pragma once

#include "app/panel/SampleReader.h"

#include <QAbstractTableModel>
#include <QString>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace tessary {

/// What a bank lists, one row an entry: first its presets, then its samples, then what else there is, each
/// part under a row that names it. Those rows cannot be chosen. Main thread only.
class BankContentsModel final : public QAbstractTableModel {
  Q_OBJECT

public:
  enum Column { kName, kSize, kLength, kColumnCount };

  using QAbstractTableModel::QAbstractTableModel;

  /// Replaces all rows; null for none.
  void setReading(std::shared_ptr<const BankReading> reading);
  /// The rate by which lengths are shown.
  void setRate(std::uint32_t rate);
  [[nodiscard]] std::uint32_t rate() const { return rate_; }

  /// The entry of a row; null for the rows that name a part.
  [[nodiscard]] const BankEntry *entryAt(int row) const;
  /// Where the audio of a row's sample lies; none where it has none that could be played or written.
  [[nodiscard]] std::optional<BankRange> audioAt(int row) const;
  [[nodiscard]] QString nameAt(int row) const;
  /// The first sample with audio; -1 when there is none.
  [[nodiscard]] int firstSampleRow() const;
  /// The first entry's; -1 when there is none.
  [[nodiscard]] int firstEntryRow() const { return rows_.empty() ? -1 : 1; }

  int rowCount(const QModelIndex &parent = {}) const override;
  int columnCount(const QModelIndex &parent = {}) const override;
  QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
  Qt::ItemFlags flags(const QModelIndex &index) const override;
  Qt::DropActions supportedDragActions() const override { return Qt::CopyAction; }

private:
  struct Row {
    BankEntryKind part;                 ///< the entry's kind
    std::optional<std::uint32_t> entry; ///< none for the row that names the part
  };

  void addPart(BankEntryKind part);
  [[nodiscard]] QString text(int row, int column) const;
  [[nodiscard]] QString partText(BankEntryKind part) const;

  std::shared_ptr<const BankReading> reading_;
  std::vector<Row> rows_;
  std::uint32_t rate_ = 44100;
};

} // namespace tessary
