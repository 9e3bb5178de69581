#include "cli/Addresses.h"
#include "cli/CliError.h"
#include "cli/Command.h"
#include "cli/FileFacts.h"
#include "cli/JsonWriter.h"
#include "cli/TextTable.h"
#include "filesystem/Text.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace tessary::cli {
namespace {

void refreshDetails(const std::vector<FolderItem> &folders, Session &session) {
  for (const FolderItem &folder : folders) {
    for (const EMU3FilePtr &file : folder.directory->allFiles()) {
      if (session.interrupted()) throw Interrupted{};
      session.volume->refreshBankMetadata(file);
    }
  }
}

void writeFiles(JsonWriter &writer, const EMU3Directory &directory) {
  writer.key("files").beginArray();
  for (const EMU3FilePtr &file : directory.allFiles())
    writeFile(writer, *file);
  writer.endArray();
}

void writeTopAlone(JsonWriter &writer, const EMU3Directory &top) {
  writer.beginObject();
  writeFolderMembers(writer, top);
  writeFiles(writer, top);
  writer.key("subdirectories").beginArray();
  for (const EMU3DirectoryPtr &folder : top.subdirectories()) {
    writer.beginObject();
    writeFolderMembers(writer, *folder);
    writer.endObject();
  }
  writer.endArray().endObject();
}

// Objects nested as the folders are, without recursion.
void writeTree(JsonWriter &writer, const EMU3DirectoryPtr &top) {
  struct OpenFolder {
    std::vector<EMU3DirectoryPtr> subdirectories;
    std::size_t next = 0;
  };
  std::vector<OpenFolder> path;
  const auto open = [&](const EMU3DirectoryPtr &folder) {
    writer.beginObject();
    writeFolderMembers(writer, *folder);
    writeFiles(writer, *folder);
    writer.key("subdirectories").beginArray();
    path.push_back({folder->subdirectories()});
  };
  open(top);
  while (!path.empty()) {
    OpenFolder &deepest = path.back();
    if (deepest.next < deepest.subdirectories.size()) {
      open(EMU3DirectoryPtr(deepest.subdirectories[deepest.next++]));
    } else {
      writer.endArray().endObject();
      path.pop_back();
    }
  }
}

std::vector<TextTable::Column> windowColumns() {
  return {{"Name"}, {"Type"}, {"Format"}, {"Presets", true}, {"Samples", true}, {"Size", true}};
}

std::vector<std::string> rowOf(const EMU3File &file) {
  const BankDetails details = file.bankDetails();
  return {file.name(),
          file.fileTypeString(),
          formatCell(details),
          countCell(details.presetCount),
          countCell(details.sampleCount),
          file.fileSizeString()};
}

std::vector<std::string> rowOf(const EMU3Directory &folder) {
  const std::string nothing = countCell(0);
  return {folder.name(), "Folder", nothing, nothing, nothing, nothing};
}

std::vector<std::vector<std::string>> rowsOf(const EMU3Directory &directory) {
  std::vector<std::vector<std::string>> rows;
  for (const EMU3FilePtr &file : directory.allFiles())
    rows.push_back(rowOf(*file));
  for (const EMU3DirectoryPtr &folder : directory.subdirectories())
    rows.push_back(rowOf(*folder));
  return rows;
}

void printCsv(const std::vector<FolderItem> &folders, bool recursive, std::ostream &out) {
  std::vector<TextTable::Column> columns = windowColumns();
  if (recursive) columns.push_back({"Folder"});
  TextTable table(std::move(columns));
  for (const FolderItem &folder : folders) {
    for (std::vector<std::string> &row : rowsOf(*folder.directory)) {
      if (recursive) row.push_back(folder.address);
      table.addRow(std::move(row));
    }
  }
  table.printCsv(out);
}

void printTables(const std::vector<FolderItem> &folders, bool recursive, std::ostream &out) {
  for (const FolderItem &folder : folders) {
    if (recursive)
      out << (&folder == &folders.front() ? "" : "\n") << escapedForDisplay(folder.address) << ":\n";
    TextTable table(windowColumns());
    for (std::vector<std::string> &row : rowsOf(*folder.directory))
      table.addRow(std::move(row));
    table.print(out);
  }
}

class ListCommand final : public Command {
public:
  void declare(CommandWords &words) override {
    folder_ = words.optional("FOLDER", "The folder to list; the root when left out");
    recursive_ = words.flag("-R,--recursive", "List everything below too");
    csv_ = words.flag("--csv", "Print comma-separated values; with -R the last column is the folder");
  }

  void check(bool json) override {
    if (json && CommandWords::isGiven(csv_)) throw WrongWords{"--csv and --json exclude each other"};
  }

  ExitStatus run(Session &session) override {
    const bool recursive = CommandWords::isGiven(recursive_);
    const bool csv = CommandWords::isGiven(csv_);
    FolderItem top = resolveFolder(*session.volume, CommandWords::textIfGiven(folder_).value_or("/"));
    const EMU3DirectoryPtr directory = top.directory;
    std::vector<FolderItem> folders;
    if (recursive)
      folders = foldersFrom(std::move(top), Beside::folders);
    else
      folders.push_back(std::move(top));
    refreshDetails(folders, session);
    if (session.json)
      answerInJson(directory, recursive, session.out());
    else if (csv)
      printCsv(folders, recursive, session.out());
    else
      printTables(folders, recursive, session.out());
    return ExitStatus::done;
  }

private:
  static void answerInJson(const EMU3DirectoryPtr &top, bool recursive, std::ostream &out) {
    JsonWriter writer(out);
    writer.beginObject().member("ok", true).key("folder");
    if (recursive)
      writeTree(writer, top);
    else
      writeTopAlone(writer, *top);
    writer.endObject().endLine();
  }

  const CommandWords::Word *folder_ = nullptr;
  const CommandWords::Word *recursive_ = nullptr;
  const CommandWords::Word *csv_ = nullptr;
};

} // namespace

extern const CommandEntry kListCommand{
    "ls",
    "[FOLDER] [-R] [--csv]",
    "List a folder's files and subfolders",
    "Shows the window's columns: name, type, bank format, presets, samples, size. Subfolders come behind "
    "the\n"
    "files.\n"
    "\n"
    "Examples:\n"
    "  tessary-cli ls disk.hda /Drums\n"
    "  tessary-cli ls disk.hda -R --json\n",
    {},
    makeCommand<ListCommand>,
};

} // namespace tessary::cli
