#include "cli/Addresses.h"
#include "cli/CliError.h"
#include "cli/Command.h"
#include "cli/JsonWriter.h"
#include "cli/Listing.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tessary::cli {
namespace {

// Read anew for each answer; the order by format needs them before the list is made.
void refreshDetails(const EMU3DirectoryPtr &top, bool recursive, Session &session) {
  const std::vector<EMU3DirectoryPtr> folders =
      recursive ? directoriesInPreOrder(top) : std::vector<EMU3DirectoryPtr>{top};
  for (const EMU3DirectoryPtr &folder : folders) {
    for (const EMU3FilePtr &file : folder->allFiles()) {
      if (session.interrupted()) throw Interrupted{};
      session.volume->refreshBankMetadata(file);
    }
  }
}

class ListCommand final : public Command {
public:
  void declare(CommandWords &words) override {
    folder_ = words.optional("FOLDER", "The folder to list; the root when left out");
    recursive_ = words.flag("-R,--recursive", "List everything below too");
    long_ = words.flag("-l,--long", "Show exact bytes and places too");
    sort_ = words.option("--sort", "KEY", "none (the folder's own order), name, type, format or size");
    reverse_ = words.flag("--reverse", "List from the last to the first");
    csv_ = words.flag("--csv", "Print comma-separated values: Path, Name, Type, Format, Presets, Samples,\n"
                               "Bytes, Place");
  }

  void check(const RunKind &kind) override {
    if (kind.json && CommandWords::isGiven(csv_)) throw WrongWords{"--csv and --json exclude each other"};
    const std::string key = CommandWords::textIfGiven(sort_).value_or("none");
    const std::optional<ListOrder::Key> known = ListOrder::keyFrom(key);
    if (!known) throw WrongWords{"--sort: not none, name, type, format or size: " + key};
    order_ = ListOrder(*known, CommandWords::isGiven(reverse_));
  }

  ExitStatus run(Session &session) override {
    const bool recursive = CommandWords::isGiven(recursive_);
    FolderItem top = resolveFolder(*session.volume, CommandWords::textIfGiven(folder_).value_or("/"));
    refreshDetails(top.directory, recursive, session);
    const std::vector<ListedFolder> folders = listed(std::move(top), recursive, order_);
    if (session.json)
      answerInJson(folders, recursive, session.out());
    else if (CommandWords::isGiven(csv_))
      printCsv(folders, session.out());
    else
      printTables(folders, recursive, CommandWords::isGiven(long_), session.out());
    return ExitStatus::done;
  }

private:
  static void answerInJson(const std::vector<ListedFolder> &folders, bool recursive, std::ostream &out) {
    JsonWriter writer(out);
    writer.beginObject().member("ok", true).key("folder");
    writeFolders(writer, folders, recursive);
    writer.endObject().endLine();
  }

  const CommandWords::Word *folder_ = nullptr;
  const CommandWords::Word *recursive_ = nullptr;
  const CommandWords::Word *long_ = nullptr;
  const CommandWords::Word *sort_ = nullptr;
  const CommandWords::Word *reverse_ = nullptr;
  const CommandWords::Word *csv_ = nullptr;
  ListOrder order_;
};

} // namespace

extern const CommandEntry kListCommand{
    "ls",
    "[FOLDER] [-R] [-l] [--sort KEY] [--reverse] [--csv]",
    "List a folder's files and subfolders",
    "Shows the window's columns: name, type, bank format, presets, samples, size. Subfolders come behind "
    "the\n"
    "files. In comma-separated values a name that a spreadsheet would take for a formula, one that "
    "begins\n"
    "with = + - @ or an apostrophe, has an apostrophe in front; Path is the entry's address.\n"
    "\n"
    "Examples:\n"
    "  tessary-cli ls disk.hda /Drums\n"
    "  tessary-cli ls disk.hda -R --sort size --reverse --csv\n",
    {},
    makeCommand<ListCommand>,
};

} // namespace tessary::cli
