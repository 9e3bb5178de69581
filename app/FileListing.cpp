#include "app/FileListing.h"

#include "app/DisplayText.h"
#include "tessary/BankEntry.h"

#include <QCollator>
#include <QLocale>
#include <QStringList>
#include <algorithm>
#include <numeric>
#include <utility>

namespace tessary {
namespace {

/// The columns in the order of `kFileColumns`.
enum Column { kName, kType, kFormat, kPresets, kSamples, kSize, kFolder };
static_assert(kFolder == kFolderColumn, "a column is in one of the two lists alone");

QString countText(std::uint64_t count) {
  return count == 0 ? QStringLiteral("—") : QString::number(count);
}

QString formatText(std::int64_t bankFormat) {
  const char *name = bankFormatName(bankFormat);
  return name ? QString::fromUtf8(name) : QStringLiteral("—");
}

void listFolder(const EMU3DirectoryPtr &folder, const QString &text, std::vector<ListedFile> *listed) {
  for (const EMU3FilePtr &file : folder->allFiles()) {
    const EMU3FileFields fields = file->fields();
    QString name = displayText(fields.name);
    if (!text.isEmpty() && !name.contains(text, Qt::CaseInsensitive)) continue;
    listed->push_back({file, folder, std::move(name), fields.fileType, fields.fileSize, file->bankDetails()});
  }
}

std::uint64_t number(const ListedFile &file, int column) {
  if (column == kPresets) return file.details.presetCount;
  if (column == kSamples) return file.details.sampleCount;
  return file.fileSize;
}

bool holdsNumbers(int column) {
  return column == kPresets || column == kSamples || column == kSize;
}

template <typename Key>
std::vector<std::size_t> placesInOrder(const std::vector<Key> &keys, bool descending) {
  std::vector<std::size_t> places(keys.size());
  std::iota(places.begin(), places.end(), std::size_t{0});
  std::stable_sort(places.begin(), places.end(), [&](std::size_t one, std::size_t other) {
    return descending ? keys[other] < keys[one] : keys[one] < keys[other];
  });
  return places;
}

std::vector<std::size_t> placesByText(const std::vector<ListedFile> &files, const FileOrder &order) {
  // The same order wherever the window runs: names on a disk are in no particular language.
  QCollator collator{QLocale(QLocale::English)};
  collator.setCaseSensitivity(Qt::CaseInsensitive);
  collator.setNumericMode(true);
  std::vector<QCollatorSortKey> keys;
  keys.reserve(files.size());
  for (const ListedFile &file : files)
    keys.push_back(collator.sortKey(file.text(*order.column)));
  return placesInOrder(keys, order.descending);
}

std::vector<std::size_t> placesByNumber(const std::vector<ListedFile> &files, const FileOrder &order) {
  std::vector<std::uint64_t> keys;
  keys.reserve(files.size());
  for (const ListedFile &file : files)
    keys.push_back(number(file, *order.column));
  return placesInOrder(keys, order.descending);
}

void sortFiles(std::vector<ListedFile> *files, const FileOrder &order) {
  if (!order.column) return;
  std::vector<ListedFile> sorted;
  sorted.reserve(files->size());
  for (const std::size_t place :
       holdsNumbers(*order.column) ? placesByNumber(*files, order) : placesByText(*files, order))
    sorted.push_back(std::move((*files)[place]));
  *files = std::move(sorted);
}

} // namespace

QString ListedFile::text(int column) const {
  switch (column) {
  case kName:
    return name;
  case kType:
    return QString::fromStdString(fileTypeStringFor(fileType));
  case kFormat:
    return formatText(details.bankFormat);
  case kPresets:
    return countText(details.presetCount);
  case kSamples:
    return countText(details.sampleCount);
  case kSize:
    return QString::fromStdString(fileSizeStringFor(fileSize));
  default:
    return folderPathText(folder);
  }
}

std::vector<ListedFile> listFiles(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &root,
                                  const FileSearch &search, const FileOrder &order) {
  std::vector<ListedFile> listed;
  if (search.everywhere && root) {
    for (const EMU3DirectoryPtr &directory : directoriesInPreOrder(root))
      listFolder(directory, search.text, &listed);
  } else if (folder) {
    listFolder(folder, search.text, &listed);
  }
  sortFiles(&listed, order);
  return listed;
}

QString folderPathText(const EMU3DirectoryPtr &folder) {
  constexpr qsizetype mostNames = 8;
  QStringList names;
  EMU3DirectoryPtr above = folder;
  EMU3DirectoryPtr next = above->parent();
  for (; next && names.size() < mostNames; above = next, next = above->parent())
    names.prepend(displayText(above->name()));
  names.prepend(next ? QStringLiteral("…") : QString());
  return names.size() == 1 ? QStringLiteral("/") : names.join(QLatin1Char('/'));
}

} // namespace tessary
