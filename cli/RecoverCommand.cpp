#include "cli/Addresses.h"
#include "cli/CliError.h"
#include "cli/Command.h"
#include "cli/ItemReport.h"
#include "cli/JsonWriter.h"
#include "tessary/Text.h"

#include <algorithm>
#include <string>

namespace tessary::cli {
namespace {

std::string contentsOf(const LostFolder &folder) {
  std::string text = "files: " + std::to_string(folder.fileCount) +
                     ", folders: " + std::to_string(folder.folderCount) + ": ";
  for (const std::string &name : folder.names)
    text += (&name == &folder.names.front() ? "" : ", ") + escapedNameForDisplay(name);
  return text;
}

void listAsJson(const std::vector<LostFolder> &folders, std::ostream &out) {
  JsonWriter writer(out);
  writer.beginObject().member("ok", true).key("folders").beginArray();
  for (const LostFolder &folder : folders) {
    writer.beginObject().member("block", folder.block).member("fileCount", folder.fileCount);
    writer.member("folderCount", folder.folderCount).key("names").beginArray();
    for (const std::string &name : folder.names)
      writer.value(name);
    writer.endArray().endObject();
  }
  writer.endArray().endObject().endLine();
}

void listAsText(const std::vector<LostFolder> &folders, std::ostream &out) {
  if (folders.empty()) out << "No lost folders.\n";
  for (const LostFolder &folder : folders)
    out << escapedForDisplay("Block " + std::to_string(folder.block) + ", " + contentsOf(folder)) << '\n';
}

class RecoverCommand final : public Command {
public:
  void declare(CommandWords &words) override {
    block_ = words.option("--block", "N", "The lost folder's block, as the list shows it");
    to_ = words.option("--to", "FOLDER", "The folder to bring it back into");
    name_ =
        words.option("--name", "NAME", "Its name there, 1 to 15 characters; \"Recovered N\" when left out");
  }

  void check(const RunKind &) override {
    const bool hasBlock = CommandWords::isGiven(block_);
    if (hasBlock != CommandWords::isGiven(to_)) throw WrongWords{"--block and --to go together"};
    if (!hasBlock && CommandWords::isGiven(name_)) throw WrongWords{"--name goes with --block"};
    if (hasBlock) number_ = countFrom("--block", CommandWords::text(block_));
  }

  ExitStatus run(Session &session) override {
    const std::vector<LostFolder> folders = session.volume->lostFolders();
    if (CommandWords::isGiven(block_)) return bringBack(session, folders);
    if (session.json)
      listAsJson(folders, session.out());
    else
      listAsText(folders, session.out());
    return ExitStatus::done;
  }

private:
  const LostFolder &wantedOf(const std::vector<LostFolder> &folders) const {
    const auto wanted = std::find_if(folders.begin(), folders.end(),
                                     [&](const LostFolder &folder) { return folder.block == number_; });
    if (wanted != folders.end()) return *wanted;
    const std::string item = std::to_string(number_);
    throw CommandFailure{cliError(kCliNotFound, "No lost folder in block " + item), item};
  }

  ExitStatus bringBack(Session &session, const std::vector<LostFolder> &folders) {
    const std::string item = std::to_string(number_);
    const FolderItem target = resolveFolder(*session.volume, CommandWords::text(to_));
    const LostFolder &lost = wantedOf(folders);
    const std::string name = CommandWords::textIfGiven(name_).value_or("Recovered " + item);
    if (!session.json && !session.quiet) {
      session.out() << escapedForDisplay("The folder in block " + item + " gets an entry “" +
                                         escapedNameForDisplay(name) + "” in " + target.address + " (" +
                                         contentsOf(lost) + ")")
                    << std::endl; // seen before anything is changed
    }
    ItemReport report(session);
    EMU3DirectoryPtr made;
    report.run(
        item, "Brought back the folder in block " + item + " as “" + escapedNameForDisplay(name) + "”",
        [&](EMU3Error *error) {
          return session.volume->recoverFolder(number_, name, target.directory, error, &made);
        },
        [&] { return made ? resultOf(*made) : ItemResult{}; });
    return report.finish();
  }

  const CommandWords::Word *block_ = nullptr;
  const CommandWords::Word *to_ = nullptr;
  const CommandWords::Word *name_ = nullptr;
  std::uint64_t number_ = 0;
};

} // namespace

extern const CommandEntry kRecoverCommand{
    "recover",
    "[--block N --to FOLDER [--name NAME]]",
    "List the folders that no entry leads to any more, or bring one back",
    "Without --block it lists the blocks of the directory area that belong to no folder and hold plausible\n"
    "entries. With it an entry is written for one, only into a place of FOLDER that is really free. What "
    "will\n"
    "be done is said first. That a place is free is looked at with --exact too.\n"
    "\n"
    "Examples:\n"
    "  tessary-cli recover disk.hda\n"
    "  tessary-cli recover disk.hda --block 37 --to / --name Drums --dry-run\n",
    {.hasTrial = true},
    makeCommand<RecoverCommand>,
};

} // namespace tessary::cli
