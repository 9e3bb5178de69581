#include "cli/Addresses.h"
#include "cli/CliError.h"
#include "cli/Command.h"
#include "cli/ItemReport.h"

#include <string>
#include <vector>

namespace tessary::cli {
namespace {

/// FILE... FOLDER: what cp and mv have in common.
class TransferCommand : public Command {
public:
  void declare(CommandWords &words) final {
    words_ = words.several("FILE", 2, "The files, and as the last word the FOLDER they go into");
  }

  ExitStatus run(Session &session) final {
    std::vector<std::string> words = CommandWords::texts(words_);
    const std::string folderWord = words.back();
    words.pop_back();
    const std::vector<FileItem> files = resolveFiles(*session.volume, words);
    const FolderItem folder = resolveFolder(*session.volume, folderWord);
    const auto operation = session.volume->manyItems();
    for (const FileItem &item : files)
      add(*operation, item, folder.directory);
    ItemReport report(session, files.size());
    report.runAll(*operation, addressesOf(files), [&](const ItemEnd &end) {
      return doneWord() + files[end.item].address + " into " + folder.address;
    });
    return report.finish();
  }

private:
  virtual void add(ItemsOperation &operation, const FileItem &item, const EMU3DirectoryPtr &to) const = 0;
  virtual std::string doneWord() const = 0;

  const CommandWords::Word *words_ = nullptr;
};

class CopyCommand final : public TransferCommand {
  void add(ItemsOperation &operation, const FileItem &item, const EMU3DirectoryPtr &to) const override {
    operation.copyFile(item.file, to);
  }
  std::string doneWord() const override { return "Copied "; }
};

class MoveCommand final : public TransferCommand {
  void add(ItemsOperation &operation, const FileItem &item, const EMU3DirectoryPtr &to) const override {
    operation.moveFile(item.file, item.directory, to);
  }
  std::string doneWord() const override { return "Moved "; }
};

} // namespace

extern const CommandEntry kCopyCommand{
    "cp",
    "FILE... FOLDER",
    "Copy files into a folder of the volume",
    "A copy keeps its name and kind; names are not compared with those that exist.\n"
    "\n"
    "Example:\n"
    "  tessary-cli cp disk.hda '/Drums/K*' /Backup\n",
    {.claims = true},
    makeCommand<CopyCommand>,
};

extern const CommandEntry kMoveCommand{
    "mv",
    "FILE... FOLDER",
    "Move files into a folder of the volume",
    "A move writes the entry anew and leaves the contents where they are, so it needs no room. With --exact "
    "it\n"
    "copies the file and deletes the original.\n"
    "\n"
    "Example:\n"
    "  tessary-cli mv disk.hda /KICK /SNARE /Drums\n",
    {.claims = true},
    makeCommand<MoveCommand>,
};

} // namespace tessary::cli
