#include "app/panel/BankContentsModel.h"

#include "app/Colors.h"
#include "app/DisplayText.h"
#include "app/panel/SoundTexts.h"

#include <QApplication>
#include <QFont>
#include <algorithm>
#include <utility>

namespace tessary {
namespace {

constexpr std::uint64_t kBytesPerFrame = 2;

} // namespace

void BankContentsModel::setReading(std::shared_ptr<const BankReading> reading) {
  beginResetModel();
  reading_ = std::move(reading);
  rows_.clear();
  for (const BankEntryKind part : {BankEntryKind::preset, BankEntryKind::sample, BankEntryKind::other})
    addPart(part);
  endResetModel();
}

void BankContentsModel::addPart(BankEntryKind part) {
  if (!reading_) return;
  const std::size_t title = rows_.size();
  for (std::size_t i = 0; i < reading_->entries.size(); ++i) {
    if (reading_->entries[i].kind != part) continue;
    if (rows_.size() == title) rows_.push_back({part, std::nullopt});
    rows_.push_back({part, static_cast<std::uint32_t>(i)});
  }
}

void BankContentsModel::setRate(std::uint32_t rate) {
  rate_ = rate;
  if (!rows_.empty()) emit dataChanged(index(0, kLength), index(rowCount() - 1, kLength));
}

const BankEntry *BankContentsModel::entryAt(int row) const {
  if (row < 0 || row >= rowCount()) return nullptr;
  const std::optional<std::uint32_t> entry = rows_[static_cast<std::size_t>(row)].entry;
  return entry ? &reading_->entries[*entry] : nullptr;
}

std::optional<BankRange> BankContentsModel::audioAt(int row) const {
  const BankEntry *entry = entryAt(row);
  if (!entry || !entry->sample || !entry->chunk) return std::nullopt;
  return audioIn(*entry->chunk);
}

QString BankContentsModel::nameAt(int row) const {
  const BankEntry *entry = entryAt(row);
  return entry ? displayText(entry->name) : QString();
}

int BankContentsModel::firstSampleRow() const {
  for (int row = 0; row < rowCount(); ++row)
    if (audioAt(row)) return row;
  return -1;
}

int BankContentsModel::rowCount(const QModelIndex &parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int BankContentsModel::columnCount(const QModelIndex &parent) const {
  return parent.isValid() ? 0 : kColumnCount;
}

QVariant BankContentsModel::data(const QModelIndex &index, int role) const {
  if (!index.isValid()) return {};
  const bool isTitle = !rows_[static_cast<std::size_t>(index.row())].entry;
  switch (role) {
  case Qt::DisplayRole:
  case Qt::AccessibleTextRole:
    return text(index.row(), index.column());
  case Qt::FontRole: {
    if (!isTitle) return {};
    QFont bold;
    bold.setBold(true);
    return bold;
  }
  case Qt::ForegroundRole:
    return isTitle ? QVariant(secondaryLabelColor(QApplication::palette())) : QVariant();
  default:
    return {};
  }
}

QString BankContentsModel::text(int row, int column) const {
  const BankEntry *entry = entryAt(row);
  if (!entry) return column == kName ? partText(rows_[static_cast<std::size_t>(row)].part) : QString();
  switch (column) {
  case kName:
    return displayText(entry->name);
  case kSize:
    return entry->chunk ? sizeText(entry->chunk->size) : QStringLiteral("—");
  default: {
    if (entry->kind != BankEntryKind::sample) return {};
    const std::optional<BankRange> audio = audioAt(row);
    return audio ? lengthText(audio->size / kBytesPerFrame, rate_) : QStringLiteral("—");
  }
  }
}

QString BankContentsModel::partText(BankEntryKind part) const {
  switch (part) {
  case BankEntryKind::preset:
    return QStringLiteral("Presets");
  case BankEntryKind::sample:
    return QStringLiteral("Samples");
  case BankEntryKind::other:
    break;
  }
  return QStringLiteral("Other");
}

QVariant BankContentsModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  constexpr const char *titles[] = {"Name", "Size", "Length"};
  return section < kColumnCount ? QVariant(QLatin1String(titles[section])) : QVariant();
}

Qt::ItemFlags BankContentsModel::flags(const QModelIndex &index) const {
  const BankEntry *entry = index.isValid() ? entryAt(index.row()) : nullptr;
  if (!entry) return Qt::NoItemFlags;
  return audioAt(index.row()) ? QAbstractTableModel::flags(index) | Qt::ItemIsDragEnabled
                              : QAbstractTableModel::flags(index);
}

} // namespace tessary
