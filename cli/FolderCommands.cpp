#include "cli/AddressSyntax.h"
#include "cli/Addresses.h"
#include "cli/CliError.h"
#include "cli/Command.h"
#include "cli/ItemReport.h"

#include <string>

namespace tessary::cli {
namespace {

class MakeFolderCommand final : public Command {
public:
  void declare(CommandWords &words) override {
    folder_ = words.required("FOLDER", "The path of the new folder");
    parents_ =
        words.flag("-p,--parents", "Make the missing parts before it too; be content with a folder that\n"
                                   "is there");
  }

  ExitStatus run(Session &session) override {
    const std::string word = CommandWords::text(folder_);
    ItemReport report(session);
    if (CommandWords::isGiven(parents_))
      makeMissing(session, word, report);
    else
      make(session, resolveNewEntry(*session.volume, word), word, report);
    return report.finish();
  }

private:
  // The name can be shorter in the folder's entry than it was given.
  static std::string addressNamed(const std::string &word, const NewEntry &entry, const std::string &name) {
    return name == entry.name ? word : pathAddress(entry.parentAddress, name);
  }

  // What was made; null where it was not.
  static EMU3DirectoryPtr make(Session &session, const NewEntry &entry, const std::string &word,
                               ItemReport &report) {
    EMU3DirectoryPtr made;
    const auto work = [&](EMU3Error *error) {
      return session.volume->createDirectoryNamed(entry.name, entry.parent, error, &made);
    };
    const auto created = [&] { return "Created the folder " + addressNamed(word, entry, made->name()); };
    report.run(word, created, work, [&] { return resultOf(*made); });
    return made;
  }

  static void makeMissing(Session &session, const std::string &word, ItemReport &report) {
    const FolderPath path = resolveFolderPath(*session.volume, word);
    EMU3DirectoryPtr parent = path.folder;
    if (path.missing.empty()) {
      report.run(
          word, "The folder is there: " + word, [](EMU3Error *) { return true; },
          [&] { return resultOf(*path.folder); });
    }
    for (const FolderPath::Part &part : path.missing) {
      parent = make(session, {parent, part.parentAddress, part.name}, part.address, report);
      if (parent == nullptr) return;
    }
  }

  const CommandWords::Word *folder_ = nullptr;
  const CommandWords::Word *parents_ = nullptr;
};

class RemoveFolderCommand final : public Command {
public:
  void declare(CommandWords &words) override {
    folder_ = words.required("FOLDER", "The folder");
    recursive_ = words.flag("-R,--recursive", "Delete everything in it too");
  }

  ExitStatus run(Session &session) override {
    const FolderItem item = resolveFolder(*session.volume, CommandWords::text(folder_));
    const EMU3DirectoryPtr parent = item.directory->parent();
    if (parent == nullptr) refuse("The root folder cannot be deleted", item);
    if (!CommandWords::isGiven(recursive_) && !isEmpty(*item.directory))
      refuse("The folder is not empty", item);
    const auto operation = session.volume->manyItems();
    operation->deleteFolder(item.directory, parent);
    ItemReport report(session);
    report.runAll(*operation, {item.address},
                  [&](const ItemEnd &) { return "Deleted the folder " + item.address; });
    return report.finish();
  }

private:
  static bool isEmpty(const EMU3Directory &directory) {
    return directory.totalFileCount() == 0 && directory.subdirectories().empty();
  }

  [[noreturn]] static void refuse(const std::string &message, const FolderItem &item) {
    throw CommandFailure{cliError(kCliRefused, message + ": " + item.address), item.address};
  }

  const CommandWords::Word *folder_ = nullptr;
  const CommandWords::Word *recursive_ = nullptr;
};

} // namespace

extern const CommandEntry kMakeFolderCommand{
    "mkdir",
    "FOLDER [-p]",
    "Create a folder",
    "Creates the last part of the path in the folder before it. Its name has 1 to 15 "
    "characters, at\n"
    "most 15 bytes of which are stored, and is not compared with names that exist.\n"
    "\n"
    "Examples:\n"
    "  tessary-cli mkdir disk.hda /Drums/Snares\n"
    "  tessary-cli mkdir disk.hda -p /Drums/Snares/Old\n",
    {.claims = true},
    makeCommand<MakeFolderCommand>,
};

extern const CommandEntry kRemoveFolderCommand{
    "rmdir",
    "FOLDER [-R]",
    "Delete a folder",
    "Without -R only a folder with no files and no subfolders is deleted. There is no way back.\n"
    "\n"
    "Example:\n"
    "  tessary-cli rmdir disk.hda /Drums/Snares\n",
    {.claims = true},
    makeCommand<RemoveFolderCommand>,
};

} // namespace tessary::cli
