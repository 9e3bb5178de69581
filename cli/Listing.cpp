#include "cli/Listing.h"

#include "cli/AddressSyntax.h"
#include "cli/FileFacts.h"
#include "cli/TextTable.h"
#include "tessary/BankEntry.h"
#include "tessary/Text.h"

#include <cstddef>
#include <iterator>
#include <string>
#include <unordered_map>
#include <utility>

namespace tessary::cli {
namespace {

using Row = std::vector<std::string>;

Row rowOf(const EMU3File &file, bool isLong) {
  EMU3FileFields fields = file.fields();
  const BankDetails details = file.bankDetails();
  Row row;
  row.reserve(isLong ? 8 : 6);
  row.push_back(std::move(fields.name));
  row.push_back(fileTypeStringFor(fields.fileType));
  row.push_back(formatCell(details));
  row.push_back(countCell(details.presetCount));
  row.push_back(countCell(details.sampleCount));
  row.push_back(fileSizeStringFor(fields.fileSize));
  if (isLong) {
    row.push_back(std::to_string(fields.fileSize));
    row.push_back(placeAddress({fields.dentryBlock, fields.dentryOffset}));
  }
  return row;
}

Row rowOf(const EMU3Directory &folder, bool isLong) {
  const std::string nothing = countCell(0);
  Row row{folder.name(), "Folder", nothing, nothing, nothing, nothing};
  if (isLong) {
    row.push_back(nothing);
    row.push_back(placeAddress(folder.place()));
  }
  return row;
}

// A path that would not be printed as it is could not be used as an address.
std::string csvPath(const std::string &address, EntryPlace place) {
  return escapedForDisplay(address) == address ? address : placeAddress(place);
}

// A spreadsheet takes a name that begins so for a formula. With an apostrophe in front it is a text.
std::string csvName(const std::string &name) {
  const bool isTakenForMore =
      !name.empty() && std::string_view("=+-@'").find(name.front()) != std::string::npos;
  return isTakenForMore ? "'" + name : name;
}

Row csvRowOf(const EMU3File &file, const std::string &address) {
  const BankDetails details = file.bankDetails();
  const char *format = bankFormatName(details.bankFormat);
  const auto count = [&](std::uint64_t number) { return format ? std::to_string(number) : std::string(); };
  const EntryPlace place = file.place();
  Row row{csvPath(address, place), csvName(file.name()), file.fileTypeString(), format ? format : ""};
  row.push_back(count(details.presetCount));
  row.push_back(count(details.sampleCount));
  row.push_back(std::to_string(file.fileSize()));
  row.push_back(placeAddress(place));
  return row;
}

Row csvRowOf(const FolderItem &item) {
  const EntryPlace place = item.directory->place();
  return {csvPath(item.address, place), csvName(item.directory->name()), "Folder", "", "", "", "",
          placeAddress(place)};
}

void writeFiles(JsonWriter &writer, const ListedFolder &folder) {
  writer.key("files").beginArray();
  for (const EMU3FilePtr &file : folder.files)
    writeFile(writer, *file);
  writer.endArray();
}

void writeAlone(JsonWriter &writer, const ListedFolder &top) {
  writer.beginObject();
  writeFolderMembers(writer, *top.folder.directory);
  writeFiles(writer, top);
  writer.key("subdirectories").beginArray();
  for (const FolderItem &item : top.folders) {
    writer.beginObject();
    writeFolderMembers(writer, *item.directory);
    writer.endObject();
  }
  writer.endArray().endObject();
}

// `folders` are in the order in which their JSON objects are opened.
void writeTree(JsonWriter &writer, const std::vector<ListedFolder> &folders) {
  std::vector<std::size_t> foldersLeft; // of each open object, those that are still to come
  for (const ListedFolder &folder : folders) {
    writer.beginObject();
    writeFolderMembers(writer, *folder.folder.directory);
    writeFiles(writer, folder);
    writer.key("subdirectories").beginArray();
    foldersLeft.push_back(folder.folders.size());
    while (!foldersLeft.empty() && foldersLeft.back() == 0) {
      writer.endArray().endObject();
      foldersLeft.pop_back();
      if (!foldersLeft.empty()) --foldersLeft.back();
    }
  }
}

} // namespace

std::vector<ListedFolder> listed(FolderItem top, bool recursive, const ListOrder &order) {
  std::vector<ListedFolder> folders;
  std::vector<FolderItem> waiting{std::move(top)}; // the next one last
  while (!waiting.empty()) {
    FolderItem item = std::move(waiting.back());
    waiting.pop_back();
    std::vector<EMU3FilePtr> files = order.sorted(item.directory->allFiles());
    std::vector<FolderItem> below = order.sorted(foldersIn(item.directory, item.address, Beside::anyEntry));
    if (recursive) waiting.insert(waiting.end(), below.rbegin(), below.rend());
    folders.push_back({std::move(item), std::move(files), std::move(below)});
  }
  return folders;
}

void printTables(const std::vector<ListedFolder> &folders, bool withHeadings, bool isLong,
                 std::ostream &out) {
  for (const ListedFolder &folder : folders) {
    if (withHeadings) {
      out << (&folder == &folders.front() ? "" : "\n") << escapedForDisplay(folder.folder.address) << ":\n";
    }
    std::vector<TextTable::Column> columns{{"Name"},          {"Type"},          {"Format"},
                                           {"Presets", true}, {"Samples", true}, {"Size", true}};
    if (isLong) columns.insert(columns.end(), {{"Bytes", true}, {"Place"}});
    TextTable table(std::move(columns));
    for (const EMU3FilePtr &file : folder.files)
      table.addRow(rowOf(*file, isLong));
    for (const FolderItem &item : folder.folders)
      table.addRow(rowOf(*item.directory, isLong));
    table.print(out);
  }
}

void printCsv(const std::vector<ListedFolder> &folders, std::ostream &out) {
  TextTable table({{"Path", false, TextTable::Content::address},
                   {"Name"},
                   {"Type"},
                   {"Format"},
                   {"Presets"},
                   {"Samples"},
                   {"Bytes"},
                   {"Place"}});
  for (const ListedFolder &folder : folders) {
    std::unordered_map<EMU3FilePtr, std::string> addresses;
    for (FileItem &item : filesIn(folder.folder.directory, folder.folder.address))
      addresses.emplace(std::move(item.file), std::move(item.address));
    for (const EMU3FilePtr &file : folder.files)
      table.addRow(csvRowOf(*file, addresses.at(file)));
    for (const FolderItem &item : folder.folders)
      table.addRow(csvRowOf(item));
  }
  table.printCsv(out);
}

void writeFolders(JsonWriter &writer, const std::vector<ListedFolder> &folders, bool recursive) {
  if (recursive)
    writeTree(writer, folders);
  else
    writeAlone(writer, folders.front());
}

} // namespace tessary::cli
