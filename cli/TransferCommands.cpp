#include "cli/Addresses.h"
#include "cli/CliError.h"
#include "cli/Command.h"
#include "cli/ExistingOptions.h"
#include "cli/ItemReport.h"
#include "cli/MountedImages.h"
#include "cli/TreeAddresses.h"
#include "tessary/Text.h"

#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

namespace tessary::cli {
namespace {

bool isSameFile(const std::string &one, const std::string &other) {
  std::error_code unknown;
  return std::filesystem::equivalent(one, other, unknown);
}

/// ENTRY... FOLDER: what cp and mv have in common.
class TransferCommand : public Command {
public:
  void declare(CommandWords &words) final {
    words_ = words.several("ENTRY", 2,
                           "The files, with -R folders too, and as the last word the FOLDER they\n"
                           "go into");
    recursive_ = words.flag("-R,--recursive", "Take folders with everything below them; / is all there is");
    into_ = words.option("--into", "IMAGE2", "The image that FOLDER is in; this one when left out");
    existing_.declare(words);
  }

  void check(const RunKind &) final { existing_.check(); }

  ExitStatus run(Session &session) final {
    std::vector<std::string> words = CommandWords::texts(words_);
    const std::string folderWord = words.back();
    words.pop_back();
    const std::vector<EntryItem> entries = resolve(*session.volume, words);
    const EMU3FilesystemPtr target = targetVolume(session);
    const FolderItem folder = resolveFolder(*target, folderWord);
    const auto operation = target->manyItems();
    existing_.apply(*operation);
    const EMU3FilesystemPtr source = target == session.volume ? nullptr : session.volume;
    std::vector<std::string> tops;
    for (const EntryItem &entry : entries) {
      tops.push_back(std::visit([](const auto &item) { return item.address; }, entry));
      std::visit([&](const auto &item) { add(*operation, item, folder.directory, source); }, entry);
    }
    return runAll(session, *operation, addressesOf(*operation, tops), folder);
  }

protected:
  [[nodiscard]] bool goesToAnotherImage() const { return CommandWords::isGiven(into_); }

private:
  virtual void add(ItemsOperation &operation, const FileItem &item, const EMU3DirectoryPtr &to,
                   const EMU3FilesystemPtr &source) const = 0;
  virtual void add(ItemsOperation &operation, const FolderItem &item, const EMU3DirectoryPtr &to,
                   const EMU3FilesystemPtr &source) const = 0;
  [[nodiscard]] virtual std::string doneWord() const = 0;

  [[nodiscard]] std::vector<EntryItem> resolve(const EMU3Filesystem &volume,
                                               const std::vector<std::string> &words) const {
    if (CommandWords::isGiven(recursive_)) return rootAsItsContents(volume, resolveEntries(volume, words));
    std::vector<FileItem> files = resolveFiles(volume, words);
    return {std::make_move_iterator(files.begin()), std::make_move_iterator(files.end())};
  }

  // The same image is the same volume, whatever path leads to it.
  [[nodiscard]] EMU3FilesystemPtr targetVolume(const Session &session) const {
    const std::optional<std::string> image = CommandWords::textIfGiven(into_);
    if (!image || isSameFile(*image, session.volume->imageURL())) return session.volume;
    return mountImage(*image, session.rules, session.isTrial ? ImageClaim::never : ImageClaim::whenMounted);
  }

  ExitStatus runAll(Session &session, ItemsOperation &operation, const std::vector<std::string> &addresses,
                    const FolderItem &folder) const {
    const std::string image =
        into_->count() > 0 ? " of " + escapedNameForDisplay(CommandWords::text(into_)) : "";
    ItemReport report(session);
    report.runAll(operation, addresses, [&](const ItemEnd &end) {
      const Item &item = operation.item(end.item);
      const EMU3DirectoryPtr into = end.file     ? end.file->folder()
                                    : end.folder ? end.folder->parent()
                                                 : nullptr;
      const std::string to = item.parent && into != nullptr ? pathOf(*into) : folder.address;
      return doneWord() + (item.folder ? "the folder " : "") + addresses[end.item] + " into " + to + image;
    });
    return report.finish();
  }

  const CommandWords::Word *words_ = nullptr;
  const CommandWords::Word *recursive_ = nullptr;
  const CommandWords::Word *into_ = nullptr;
  ExistingOptions existing_;
};

class CopyCommand final : public TransferCommand {
public:
  // A copy changes only the image that it goes into.
  [[nodiscard]] bool changesImage(bool) const override { return !goesToAnotherImage(); }

private:
  void add(ItemsOperation &operation, const FileItem &item, const EMU3DirectoryPtr &to,
           const EMU3FilesystemPtr &source) const override {
    operation.copyFile(item.file, to, source);
  }
  void add(ItemsOperation &operation, const FolderItem &item, const EMU3DirectoryPtr &to,
           const EMU3FilesystemPtr &source) const override {
    operation.copyFolder(item.directory, to, ExistingFolder::used, source);
  }
  [[nodiscard]] std::string doneWord() const override { return "Copied "; }
};

class MoveCommand final : public TransferCommand {
  void add(ItemsOperation &operation, const FileItem &item, const EMU3DirectoryPtr &to,
           const EMU3FilesystemPtr &source) const override {
    operation.moveFile(item.file, item.directory, to, source);
  }
  void add(ItemsOperation &operation, const FolderItem &item, const EMU3DirectoryPtr &to,
           const EMU3FilesystemPtr &source) const override {
    operation.moveFolder(item.directory, to, ExistingFolder::used, source);
  }
  [[nodiscard]] std::string doneWord() const override { return "Moved "; }
};

} // namespace

extern const CommandEntry kCopyCommand{
    "cp",
    "ENTRY... FOLDER [-R] [--into IMAGE2] [--replace | --skip-existing]",
    "Copy files and folders, also into another image",
    "A copy keeps its name and kind; names are not compared with those that exist, unless --replace or\n"
    "--skip-existing asks for it. A folder goes into the one of its name that is there.\n"
    "\n"
    "Examples:\n"
    "  tessary-cli cp disk.hda '/Drums/K*' /Backup\n"
    "  tessary-cli cp disk.hda -R / / --into new.hda\n",
    {.claims = true},
    makeCommand<CopyCommand>,
};

extern const CommandEntry kMoveCommand{
    "mv",
    "ENTRY... FOLDER [-R] [--into IMAGE2] [--replace | --skip-existing]",
    "Move files and folders, also into another image",
    "A move writes the entry anew and leaves the contents where they are, so it needs no room. With --exact "
    "it\n"
    "copies the file and deletes the original. A move into another image deletes here what is on the medium "
    "there.\n"
    "\n"
    "Examples:\n"
    "  tessary-cli mv disk.hda /KICK /SNARE /Drums\n"
    "  tessary-cli mv disk.hda -R /Old / --into archive.hda\n",
    {.claims = true},
    makeCommand<MoveCommand>,
};

} // namespace tessary::cli
