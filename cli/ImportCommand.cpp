#include "cli/Addresses.h"
#include "cli/CliError.h"
#include "cli/Command.h"
#include "cli/ItemReport.h"

#include <string>
#include <vector>

namespace tessary::cli {
namespace {

class ImportCommand final : public Command {
public:
  void declare(CommandWords &words) override {
    hostFiles_ = words.several("HOSTFILE", 1, "The host files");
    folder_ = words.option("-t,--to", "FOLDER", "The folder of the volume they go into")->required();
  }

  ExitStatus run(Session &session) override {
    const FolderItem folder = resolveFolder(*session.volume, CommandWords::text(folder_));
    const std::vector<std::string> hostFiles = CommandWords::texts(hostFiles_);
    const auto operation = session.volume->manyItems();
    for (const std::string &hostFile : hostFiles)
      operation->importFile(hostFile, folder.directory);
    ItemReport report(session, hostFiles.size());
    report.runAll(*operation, hostFiles, [&](const ItemEnd &end) {
      return "Imported " + hostFiles[end.item] + " into " + folder.address;
    });
    return report.finish();
  }

private:
  const CommandWords::Word *hostFiles_ = nullptr;
  CommandWords::Word *folder_ = nullptr;
};

} // namespace

extern const CommandEntry kImportCommand{
    "import",
    "HOSTFILE... -t FOLDER",
    "Store host files in a folder",
    "The bytes are stored unchanged, under the host file's name without its extension, cut to 15 characters. "
    "Names\n"
    "are not compared with those that exist.\n"
    "\n"
    "Example:\n"
    "  tessary-cli import disk.hda kick.e4b snare.e4b -t /Drums\n",
    {.claims = true},
    makeCommand<ImportCommand>,
};

} // namespace tessary::cli
