#pragma once

#include "cli/JsonWriter.h"
#include "cli/ListOrder.h"

#include <ostream>
#include <vector>

/// What `ls` shows of a folder, in words, as comma-separated values and in JSON. Goes as deep as the tree
/// does without recursion.
namespace tessary::cli {

/// A folder with what is directly in it, in the order of the list.
struct ListedFolder {
  FolderItem folder;
  std::vector<EMU3FilePtr> files;
  std::vector<FolderItem> folders;
};

/// The folder alone, or with everything below it, each folder before its subfolders.
[[nodiscard]] std::vector<ListedFolder> listed(FolderItem top, bool recursive, const ListOrder &order);

/// The window's columns; `isLong` adds exact bytes and places. More than one folder has headings.
void printTables(const std::vector<ListedFolder> &folders, bool withHeadings, bool isLong, std::ostream &out);
/// One line of titles, then a line for each entry: numbers as numbers, nothing where there is none.
void printCsv(const std::vector<ListedFolder> &folders, std::ostream &out);
/// The first folder as an object. The subfolders hold objects nested as the folders are, or, when it was
/// listed alone, their own members only.
void writeFolders(JsonWriter &writer, const std::vector<ListedFolder> &folders, bool recursive);

} // namespace tessary::cli
