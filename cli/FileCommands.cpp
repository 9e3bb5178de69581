#include "cli/Addresses.h"
#include "cli/CliError.h"
#include "cli/Command.h"
#include "cli/ItemReport.h"

#include <string>
#include <vector>

namespace tessary::cli {
namespace {

class RemoveCommand final : public Command {
public:
  void declare(CommandWords &words) override { files_ = words.several("FILE", 1, "The files"); }

  ExitStatus run(Session &session) override {
    const std::vector<FileItem> files = resolveFiles(*session.volume, CommandWords::texts(files_));
    ItemReport report(session, files.size());
    for (const FileItem &item : files) {
      const auto work = [&](EMU3Error *error) {
        return session.volume->deleteFile(item.file, item.directory, error);
      };
      if (!report.run(item.address, "Deleted " + item.address, work)) break;
    }
    return report.finish();
  }

private:
  const CommandWords::Word *files_ = nullptr;
};

class RenameCommand final : public Command {
public:
  void declare(CommandWords &words) override {
    file_ = words.required("FILE", "The file");
    name_ = words.required("NAME", "Its new name, taken as it is");
  }

  ExitStatus run(Session &session) override {
    const FileItem item = resolveFile(*session.volume, CommandWords::text(file_));
    const std::string name = CommandWords::text(name_);
    ItemReport report(session, 1);
    report.run(item.address, "Renamed " + item.address + " to " + name, [&](EMU3Error *error) {
      return session.volume->renameFile(item.file, name, item.directory, error);
    });
    return report.finish();
  }

private:
  const CommandWords::Word *file_ = nullptr;
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
    {},
    makeCommand<RemoveCommand>,
};

extern const CommandEntry kRenameCommand{
    "rename",
    "FILE NAME",
    "Rename a file",
    "NAME has 1 to 15 characters; nothing is trimmed or escaped, and it is not compared with names that "
    "exist.\n"
    "\n"
    "Example:\n"
    "  tessary-cli rename disk.hda /Drums/KICK 'Kick 2'\n",
    {},
    makeCommand<RenameCommand>,
};

} // namespace tessary::cli
