#include "cli/Addresses.h"
#include "cli/CliError.h"
#include "cli/Command.h"
#include "cli/HostFolders.h"
#include "cli/HostOptions.h"
#include "cli/ItemReport.h"
#include "filesystem/ExportTargets.h"

#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace tessary::cli {
namespace {

/// An entry of the volume and the host folder it goes to.
struct Task {
  EntryItem entry;
  std::string hostFolder;
};

std::size_t countEntriesOf(const EntryItem &entry) {
  const auto *folder = std::get_if<FolderItem>(&entry);
  if (folder == nullptr) return 1;
  std::size_t count = 0;
  for (const EMU3DirectoryPtr &each : directoriesInPreOrder(folder->directory)) {
    count += 1 + each->totalFileCount();
  }
  return count;
}

std::size_t countEntries(const std::vector<EntryItem> &entries) {
  std::size_t count = 0;
  for (const EntryItem &entry : entries)
    count += countEntriesOf(entry);
  return count;
}

/// Exports entries one after another, folders with all that is below them. A folder's members wait on a
/// list of their own rather than on the stack.
class Exporter final {
public:
  Exporter(Session &session, std::size_t expected) : session_(session), report_(session, expected) {}

  ExitStatus exportAll(const std::vector<EntryItem> &entries, const std::string &hostFolder) {
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry)
      waiting_.push_back({*entry, hostFolder});
    while (!waiting_.empty()) {
      const Task task = std::move(waiting_.back());
      waiting_.pop_back();
      if (!std::visit([&](const auto &item) { return exportItem(item, task.hostFolder); }, task.entry)) break;
    }
    return report_.finish();
  }

  ExitStatus exportTo(const FileItem &item, const std::string &target) {
    writeFile(item, target);
    return report_.finish();
  }

private:
  // False when the user has interrupted.
  bool exportItem(const FileItem &item, const std::string &hostFolder) {
    return writeFile(item, targets_.claim(hostFolder, exportedFileName(item.file->name())));
  }

  // A folder that cannot be made on the host takes what is below it along.
  bool exportItem(const FolderItem &item, const std::string &hostFolder) {
    const std::string path = targets_.claim(hostFolder, exportedFolderName(item.directory->name()));
    return report_.run(item.address, "Exported the folder " + item.address + " to " + path,
                       [&](EMU3Error *error) {
                         if (!makeHostFolder(path, error)) return false;
                         targets_.wrote(path);
                         queueMembers(item, path);
                         return true;
                       });
  }

  void queueMembers(const FolderItem &item, const std::string &path) {
    std::vector<FileItem> files = filesIn(item.directory, item.address);
    std::vector<FolderItem> folders = foldersIn(item.directory, item.address, Beside::anyEntry);
    for (auto folder = folders.rbegin(); folder != folders.rend(); ++folder)
      waiting_.push_back({*folder, path});
    for (auto file = files.rbegin(); file != files.rend(); ++file)
      waiting_.push_back({*file, path});
  }

  // False when the user has interrupted.
  bool writeFile(const FileItem &item, const std::string &target) {
    return report_.run(item.address, "Exported " + item.address + " to " + target, [&](EMU3Error *error) {
      if (!session_.volume->exportFile(item.file, target, error)) return false;
      targets_.wrote(target);
      return true;
    });
  }

  Session &session_;
  ExportTargets targets_;
  ItemReport report_;
  std::vector<Task> waiting_; ///< the next one last
};

class ExportCommand final : public Command {
public:
  void declare(CommandWords &words) override {
    files_ = words.several("FILE", 1, "The files; with -R folders too");
    recursive_ = words.flag("-R,--recursive", "Export folders with everything below them");
    host_.declare(words);
  }

  void check(bool) override {
    host_.check();
    if (!host_.target()) return;
    if (CommandWords::isGiven(recursive_)) throw WrongWords{"-o and -R exclude each other"};
    if (CommandWords::texts(files_).size() > 1) throw WrongWords{"-o names the target of one file"};
  }

  ExitStatus run(Session &session) override {
    const std::vector<std::string> words = CommandWords::texts(files_);
    const bool recursive = CommandWords::isGiven(recursive_);
    host_.requireFolder();
    const std::vector<EntryItem> entries = resolve(*session.volume, words, recursive);
    if (!host_.target()) return Exporter(session, countEntries(entries)).exportAll(entries, host_.folder());
    if (entries.size() > 1) {
      throw CommandFailure{cliError(kCliRefused, "-o names the target of one file"), words.front()};
    }
    return Exporter(session, 1).exportTo(std::get<FileItem>(entries.front()), *host_.target());
  }

private:
  static std::vector<EntryItem> resolve(const EMU3Filesystem &volume, const std::vector<std::string> &words,
                                        bool recursive) {
    if (recursive) return resolveEntries(volume, words);
    std::vector<FileItem> files = resolveFiles(volume, words);
    return {std::make_move_iterator(files.begin()), std::make_move_iterator(files.end())};
  }

  const CommandWords::Word *files_ = nullptr;
  const CommandWords::Word *recursive_ = nullptr;
  HostOptions host_;
};

} // namespace

extern const CommandEntry kExportCommand{
    "export",
    "FILE... [-d DIR | -o PATH] [-R]",
    "Write files to the host",
    "Each file's bytes are written unchanged as NAME.E4B. Existing host files are replaced; of several "
    "results of\n"
    "the command that would bear one name the later get \" (2)\", \" (3)\" and so on. What a host name "
    "cannot hold is\n"
    "written as % and two hexadecimal digits.\n"
    "\n"
    "Examples:\n"
    "  tessary-cli export disk.hda '/Drums/K*' -d out\n"
    "  tessary-cli export disk.hda '/*' -R -d everything\n"
    "  tessary-cli export disk.hda /Drums/KICK -o kick.e4b\n",
    {},
    makeCommand<ExportCommand>,
};

} // namespace tessary::cli
