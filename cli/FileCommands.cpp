#include "cli/Addresses.h"
#include "cli/CliError.h"
#include "cli/Command.h"
#include "cli/ItemReport.h"
#include "tessary/Text.h"

#include <string>
#include <vector>

namespace tessary::cli {
namespace {

class RemoveCommand final : public Command {
public:
  void declare(CommandWords &words) override { files_ = words.several("FILE", 1, "The files"); }

  ExitStatus run(Session &session) override {
    const std::vector<FileItem> files = resolveFiles(*session.volume, CommandWords::texts(files_));
    const auto operation = session.volume->manyItems();
    for (const FileItem &item : files)
      operation->deleteFile(item.file, item.directory);
    ItemReport report(session);
    report.runAll(*operation, addressesOf(files),
                  [&](const ItemEnd &end) { return "Deleted " + files[end.item].address; });
    return report.finish();
  }

private:
  const CommandWords::Word *files_ = nullptr;
};

class RenameCommand final : public Command {
public:
  void declare(CommandWords &words) override {
    entry_ = words.required("ENTRY", "The file or folder");
    name_ = words.required("NAME", "Its new name, taken as it is");
  }

  ExitStatus run(Session &session) override {
    const EntryItem entry = resolveEntry(*session.volume, CommandWords::text(entry_));
    return std::visit([&](const auto &item) { return rename(session, item); }, entry);
  }

private:
  ExitStatus rename(Session &session, const FileItem &item) const {
    return renamed(session, item.address, *item.file, [&](const std::string &name, EMU3Error *error) {
      return session.volume->renameFile(item.file, name, item.directory, error);
    });
  }

  ExitStatus rename(Session &session, const FolderItem &item) const {
    if (session.volume->rules() == MountRules::bare) { // those rename a folder in memory alone
      throw CommandFailure{cliError(kCliRefused, "A folder is not renamed with --exact: " + item.address),
                           item.address};
    }
    if (item.directory->parent() == nullptr) {
      throw CommandFailure{cliError(kCliRefused, "The root folder has no name to change: " + item.address),
                           item.address};
    }
    return renamed(session, item.address, *item.directory, [&](const std::string &name, EMU3Error *error) {
      return session.volume->renameDirectory(item.directory, name, error);
    });
  }

  template <typename Entry> static ItemResult resultWithoutBytes(const Entry &entry) {
    return {.path = pathOf(entry), .place = entry.place()};
  }

  // Says the name that the entry then has: it can be shorter than the one given.
  template <typename Entry, typename Work>
  ExitStatus renamed(Session &session, const std::string &address, const Entry &entry,
                     const Work &work) const {
    const std::string name = CommandWords::text(name_);
    ItemReport report(session);
    report.run(
        address, [&] { return "Renamed " + address + " to " + escapedNameForDisplay(entry.name()); },
        [&](EMU3Error *error) { return work(name, error); }, [&] { return resultWithoutBytes(entry); });
    return report.finish();
  }

  const CommandWords::Word *entry_ = nullptr;
  const CommandWords::Word *name_ = nullptr;
};

} // namespace

extern const CommandEntry kRemoveCommand{
    "rm",
    "FILE...",
    "Delete files",
    "There is no way back: the file's entry is cleared and its blocks are free again.\n"
    "\n"
    "Example:\n"
    "  tessary-cli rm disk.hda '/Drums/OLD*'\n",
    {.claims = true},
    makeCommand<RemoveCommand>,
};

extern const CommandEntry kRenameCommand{
    "rename",
    "ENTRY NAME",
    "Rename a file or a folder",
    "NAME has 1 to 15 characters; nothing is trimmed or escaped, and it is not compared with names that "
    "exist.\n"
    "What the entry holds of it, at most 15 bytes, is the new name. Folders are not renamed with --exact.\n"
    "\n"
    "Example:\n"
    "  tessary-cli rename disk.hda /Drums/KICK 'Kick 2'\n",
    {.claims = true},
    makeCommand<RenameCommand>,
};

} // namespace tessary::cli
