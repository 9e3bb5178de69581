#pragma once

#include "tessary/EMU3Directory.h"

#include <QString>
#include <array>
#include <optional>
#include <vector>

namespace tessary {

/// A column of the file table; its title is its identifier too. Widths in device-independent pixels.
struct FileColumn {
  const char *title;
  int width;
  int minimumWidth;
};

/// The last one is there only while all folders are searched.
inline constexpr std::array<FileColumn, 7> kFileColumns = {{{"Name", 220, 80},
                                                            {"Type", 90, 60},
                                                            {"Format", 110, 80},
                                                            {"Presets", 65, 50},
                                                            {"Samples", 70, 55},
                                                            {"Size", 80, 60},
                                                            {"Folder", 160, 70}}};
inline constexpr int kFolderColumn = static_cast<int>(kFileColumns.size()) - 1;

/// In which order files are listed. Numbers count as numbers, in names too; what is equal stays in the
/// folder's order.
struct FileOrder {
  std::optional<int> column; ///< of `kFileColumns`; none for the folder's own order
  bool descending = false;

  bool operator==(const FileOrder &) const = default;
};

/// Which files are listed: those whose shown name holds the text, in either case of letters.
struct FileSearch {
  QString text;            ///< empty for all files
  bool everywhere = false; ///< in all folders, not in one alone

  bool operator==(const FileSearch &) const = default;
};

/// A file as it was when it was listed.
struct ListedFile {
  EMU3FilePtr file;
  EMU3DirectoryPtr folder; ///< that held it
  QString name;            ///< as it is shown
  std::int64_t fileType = kFileTypePlain;
  std::uint64_t fileSize = 0;
  BankDetails details;

  /// What a column of `kFileColumns` shows of it.
  QString text(int column) const;

  bool operator==(const ListedFile &) const = default;
};

/// The files of `folder`, or those of `root` and all folders below it, that the search finds. No files where
/// the folder is null.
std::vector<ListedFile> listFiles(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &root,
                                  const FileSearch &search, const FileOrder &order);

/// Where a folder is, from the root down: "/", "/Drums/Kits"; of what lies deep, the end.
QString folderPathText(const EMU3DirectoryPtr &folder);

} // namespace tessary
