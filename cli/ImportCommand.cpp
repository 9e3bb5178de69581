#include "cli/Addresses.h"
#include "cli/CliError.h"
#include "cli/Command.h"
#include "cli/ExistingOptions.h"
#include "cli/ItemReport.h"
#include "tessary/Text.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace tessary::cli {
namespace {

constexpr const char *kStandardInput = "-";

bool isHostFolder(const std::string &path) {
  std::error_code unknown;
  return std::filesystem::is_directory(path, unknown);
}

ByteBufferPtr readAll(std::istream &in) {
  auto bytes = std::make_shared<ByteBuffer>();
  std::vector<std::uint8_t> piece(1U << 20U);
  const auto size = static_cast<std::streamsize>(piece.size());
  while (in.read(reinterpret_cast<char *>(piece.data()), size) || in.gcount() > 0)
    bytes->insert(bytes->end(), piece.begin(), piece.begin() + in.gcount());
  if (in.bad()) throw CommandFailure{hostError(EIO, "Standard input"), kStandardInput};
  return bytes;
}

class ImportCommand final : public Command {
public:
  void declare(CommandWords &words) override {
    hostPaths_ = words.several("HOSTPATH", 1, "The host files, with -R folders too; - is standard input");
    folder_ = words.option("-t,--to", "FOLDER", "The folder of the volume they go into")->required();
    recursive_ = words.flag("-R,--recursive", "Import host folders with everything below them");
    name_ = words.option("--name", "NAME", "The name for the one file, taken as it is");
    existing_.declare(words);
  }

  void check(const RunKind &kind) override {
    existing_.check();
    const std::vector<std::string> paths = CommandWords::texts(hostPaths_);
    const bool readsInput = std::find(paths.begin(), paths.end(), kStandardInput) != paths.end();
    if (readsInput && kind.isBatchLine)
      throw WrongWords{"- is not for a line of a batch, which is read from there"};
    if (readsInput && !CommandWords::isGiven(name_)) throw WrongWords{"- needs --name"};
    if (CommandWords::isGiven(name_) && paths.size() > 1) throw WrongWords{"--name is the name of one file"};
  }

  ExitStatus run(Session &session) override {
    const FolderItem folder = resolveFolder(*session.volume, CommandWords::text(folder_));
    const auto operation = session.volume->manyItems();
    existing_.apply(*operation);
    for (const std::string &path : CommandWords::texts(hostPaths_))
      add(session, *operation, path, folder.directory);
    const std::vector<std::string> items = itemsOf(*operation);
    ItemReport report(session);
    report.runAll(*operation, items,
                  [&](const ItemEnd &end) { return doneWith(*operation, end, items, folder); });
    return report.finish();
  }

private:
  void add(const Session &session, ItemsOperation &operation, const std::string &path,
           const EMU3DirectoryPtr &to) const {
    const std::optional<std::string> name = CommandWords::textIfGiven(name_);
    if (path == kStandardInput) {
      operation.importBytes(*name, readAll(session.streams.in), to);
      if (session.interrupted()) throw Interrupted{}; // what was read may not be all
    } else if (CommandWords::isGiven(recursive_) && isHostFolder(path)) {
      if (name) throw CommandFailure{cliError(kCliRefused, "--name is the name of one file"), path};
      operation.importFolder(path, to, ExistingFolder::used);
    } else if (name) {
      operation.importFileAs(*name, path, to);
    } else {
      operation.importFile(path, to);
    }
  }

  static std::vector<std::string> itemsOf(const ItemsOperation &operation) {
    std::vector<std::string> items;
    for (std::size_t i = 0; i < operation.progress().items; ++i) {
      const std::string &path = operation.item(i).hostPath;
      items.push_back(path.empty() ? kStandardInput : path);
    }
    return items;
  }

  // What is inside a host folder goes into the folder that was made for it.
  static std::string doneWith(const ItemsOperation &operation, const ItemEnd &end,
                              const std::vector<std::string> &items, const FolderItem &folder) {
    const EMU3DirectoryPtr into = end.file ? end.file->folder() : end.folder->parent();
    const bool isTop = !operation.item(end.item).parent;
    const std::string address = isTop || into == nullptr ? folder.address : pathOf(*into);
    const std::string what = end.folder ? "Imported the folder " : "Imported ";
    return what + escapedNameForDisplay(items[end.item]) + " into " + address;
  }

  const CommandWords::Word *hostPaths_ = nullptr;
  CommandWords::Word *folder_ = nullptr;
  const CommandWords::Word *recursive_ = nullptr;
  const CommandWords::Word *name_ = nullptr;
  ExistingOptions existing_;
};

} // namespace

extern const CommandEntry kImportCommand{
    "import",
    "HOSTPATH... -t FOLDER [-R] [--name NAME] [--replace | --skip-existing]",
    "Store host files in a folder",
    "The bytes are stored unchanged, under the host file's name without its extension, cut to 15 characters. "
    "Names\n"
    "are not compared with those that exist, unless --replace or --skip-existing asks for it. With -R a host "
    "folder\n"
    "becomes a folder of its name, or goes into the one that is there; links to folders are not followed.\n"
    "\n"
    "Examples:\n"
    "  tessary-cli import disk.hda kick.e4b snare.e4b -t /Drums\n"
    "  tessary-cli import disk.hda -R banks -t / --skip-existing\n"
    "  tessary-cli import disk.hda - --name KICK -t /Drums < kick.e4b\n",
    {.claims = true},
    makeCommand<ImportCommand>,
};

} // namespace tessary::cli
