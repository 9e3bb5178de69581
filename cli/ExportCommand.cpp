#include "cli/Addresses.h"
#include "cli/CliError.h"
#include "cli/Command.h"
#include "cli/HostOptions.h"
#include "cli/ItemReport.h"
#include "cli/TreeAddresses.h"
#include "filesystem/ItemsOperation.h"

#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace tessary::cli {
namespace {

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
    if (host_.target() && entries.size() > 1) {
      throw CommandFailure{cliError(kCliRefused, "-o names the target of one file"), words.front()};
    }
    const auto operation = session.volume->manyItems();
    std::vector<std::string> tops;
    for (const EntryItem &entry : entries)
      tops.push_back(std::visit([&](const auto &item) { return add(*operation, item); }, entry));
    return exportAll(session, *operation, addressesOf(*operation, tops));
  }

private:
  // Each gives the entry's address.
  std::string add(ItemsOperation &operation, const FileItem &item) const {
    if (const std::optional<std::string> target = host_.target())
      operation.exportFile(item.file, *target);
    else
      operation.exportFileInto(item.file, host_.folder());
    return item.address;
  }
  std::string add(ItemsOperation &operation, const FolderItem &item) const {
    operation.exportFolderInto(item.directory, host_.folder());
    return item.address;
  }

  static ExitStatus exportAll(Session &session, ItemsOperation &operation,
                              const std::vector<std::string> &addresses) {
    ItemReport report(session, addresses.size());
    report.runAll(operation, addresses, [&](const ItemEnd &end) {
      const std::string what = operation.item(end.item).folder ? "Exported the folder " : "Exported ";
      return what + addresses[end.item] + " to " + end.hostPath;
    });
    return report.finish();
  }

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
