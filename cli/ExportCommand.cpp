#include "cli/Addresses.h"
#include "cli/CliError.h"
#include "cli/Command.h"
#include "cli/HostOptions.h"
#include "cli/ItemReport.h"
#include "cli/StandardOutput.h"
#include "cli/TreeAddresses.h"
#include "tessary/ItemsOperation.h"
#include "tessary/Text.h"

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
    entries_ = words.several("ENTRY", 1, "The files; with -R folders too");
    recursive_ = words.flag("-R,--recursive", "Export folders with everything below them");
    host_.declare(words);
  }

  void check(const RunKind &) override {
    host_.check();
    if (!host_.target()) return;
    if (CommandWords::isGiven(recursive_)) throw WrongWords{"-o and -R exclude each other"};
    if (CommandWords::texts(entries_).size() > 1) throw WrongWords{"-o names the target of one file"};
  }

  [[nodiscard]] bool fillsStandardOutput() const override { return host_.fillsStandardOutput(); }

  ExitStatus run(Session &session) override {
    const std::vector<std::string> words = CommandWords::texts(entries_);
    const bool recursive = CommandWords::isGiven(recursive_);
    const std::vector<EntryItem> entries = resolve(*session.volume, words, recursive);
    if (host_.target() && entries.size() > 1) {
      throw CommandFailure{cliError(kCliRefused, "-o names the target of one file"), words.front()};
    }
    if (host_.fillsStandardOutput()) return writeOut(session, std::get<FileItem>(entries.front()));
    host_.provideFolder(session.isTrial);
    const auto operation = session.volume->manyItems();
    operation->setExportOptions(host_.exportOptions(recursive));
    std::vector<std::string> tops;
    tops.reserve(entries.size());
    for (const EntryItem &entry : entries)
      tops.push_back(std::visit([&](const auto &item) { return add(*operation, item); }, entry));
    return exportAll(session, *operation, addressesOf(*operation, tops));
  }

private:
  static ExitStatus writeOut(Session &session, const FileItem &item) {
    ByteBufferPtr bytes;
    const auto work = [&](EMU3Error *error) {
      bytes = session.volume->contentsOfFile(item.file, error);
      return bytes && writeToStandardOutput(session, {{bytes->data(), bytes->size()}}, error);
    };
    ItemReport report(session);
    report.run(item.address, "Exported " + item.address + " to standard output", work,
               [&] { return ItemResult{.host = "", .bytes = bytes->size()}; });
    return report.finish();
  }

  // Each adds an entry to the operation and returns its address.
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
    ItemReport report(session);
    report.runAll(operation, addresses, [&](const ItemEnd &end) {
      const std::string what = operation.item(end.item).folder ? "Exported the folder " : "Exported ";
      return what + addresses[end.item] + " to " + escapedNameForDisplay(end.hostPath);
    });
    return report.finish();
  }

  static std::vector<EntryItem> resolve(const EMU3Filesystem &volume, const std::vector<std::string> &words,
                                        bool recursive) {
    if (recursive) return rootAsItsContents(volume, resolveEntries(volume, words));
    std::vector<FileItem> files = resolveFiles(volume, words);
    return {std::make_move_iterator(files.begin()), std::make_move_iterator(files.end())};
  }

  const CommandWords::Word *entries_ = nullptr;
  const CommandWords::Word *recursive_ = nullptr;
  HostOptions host_;
};

} // namespace

extern const CommandEntry kExportCommand{
    "export",
    "ENTRY... [-d DIR | -o PATH] [-R] [--no-clobber]",
    "Write files to the host",
    "Each file's bytes are written unchanged as NAME.E4B. Existing host files are replaced; of several "
    "results of\n"
    "the command that would bear one name the later get \" (2)\", \" (3)\" and so on. What a host name "
    "cannot hold is\n"
    "written as % and two hexadecimal digits. DIR is made when it is not there; with -R no link inside it "
    "is\n"
    "followed, and / means all that is in the volume.\n"
    "\n"
    "Examples:\n"
    "  tessary-cli export disk.hda '/Drums/K*' -d out\n"
    "  tessary-cli export disk.hda / -R -d everything\n"
    "  tessary-cli export disk.hda /Drums/KICK -o kick.e4b\n"
    "  tessary-cli export disk.hda /Drums/KICK -o - | sha256sum\n",
    {.hasTrial = true},
    makeCommand<ExportCommand>,
};

} // namespace tessary::cli
