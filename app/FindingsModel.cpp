#include "app/FindingsModel.h"

#include "app/DisplayText.h"

#include <QStringList>
#include <algorithm>
#include <utility>

namespace tessary {
namespace {

/// "/Drums/KICK"; of what lies deep, the end of it: "…/Toms/Low/KICK". Null for what lies in no folder.
QString pathText(const VolumeFinding &finding, const EMU3DirectoryPtr &root) {
  constexpr qsizetype mostNames = 8;
  if (!finding.folder) return {};
  QStringList names;
  if (finding.file) names.prepend(displayText(finding.file->name()));
  EMU3DirectoryPtr folder = finding.folder;
  for (; folder && folder != root && names.size() < mostNames; folder = folder->parent())
    names.prepend(displayText(folder->name()));
  names.prepend(folder == root ? QString() : QStringLiteral("…"));
  return names.size() == 1 ? QStringLiteral("/") : names.join(QLatin1Char('/'));
}

QString kindText(const VolumeFinding &finding) {
  return finding.isHarm() ? QStringLiteral("Harm") : QStringLiteral("No harm");
}

} // namespace

void FindingsModel::setFindings(std::vector<VolumeFinding> findings, const EMU3DirectoryPtr &root) {
  std::stable_partition(findings.begin(), findings.end(),
                        [](const VolumeFinding &finding) { return finding.isHarm(); });
  beginResetModel();
  rows_.clear();
  for (VolumeFinding &finding : findings) {
    std::array<QString, kColumnCount> texts{kindText(finding), displayText(finding.message),
                                            pathText(finding, root)};
    rows_.push_back({std::move(finding), std::move(texts)});
  }
  endResetModel();
}

int FindingsModel::harms() const {
  return static_cast<int>(
      std::count_if(rows_.begin(), rows_.end(), [](const Row &row) { return row.finding.isHarm(); }));
}

QString FindingsModel::line(int row) const {
  const auto &texts = rows_[static_cast<std::size_t>(row)].texts;
  QStringList parts{texts[kKind]};
  if (!texts[kWhere].isEmpty()) parts += texts[kWhere];
  parts += texts[kWhat];
  return parts.join(QStringLiteral(": "));
}

int FindingsModel::rowCount(const QModelIndex &parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int FindingsModel::columnCount(const QModelIndex &parent) const {
  return parent.isValid() ? 0 : kColumnCount;
}

QVariant FindingsModel::data(const QModelIndex &index, int role) const {
  if (!index.isValid()) return {};
  if (role == Qt::TextAlignmentRole) return QVariant::fromValue(Qt::Alignment(Qt::AlignLeft | Qt::AlignTop));
  if (role != Qt::DisplayRole) return {};
  const QString &text =
      rows_[static_cast<std::size_t>(index.row())].texts[static_cast<std::size_t>(index.column())];
  return text.isEmpty() ? QStringLiteral("—") : text;
}

QVariant FindingsModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  switch (section) {
  case kKind:
    return QStringLiteral("Kind");
  case kWhat:
    return QStringLiteral("What");
  case kWhere:
    return QStringLiteral("Where");
  default:
    return {};
  }
}

} // namespace tessary
