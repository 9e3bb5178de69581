#include "cli/Addresses.h"
#include "cli/CliError.h"
#include "cli/Command.h"
#include "cli/JsonWriter.h"
#include "cli/TextTable.h"

#include <string>
#include <vector>

namespace tessary::cli {
namespace {

const char *wordFor(BankEntryKind kind) {
  switch (kind) {
  case BankEntryKind::preset:
    return "preset";
  case BankEntryKind::sample:
    return "sample";
  case BankEntryKind::other:
    break;
  }
  return "other";
}

class ContentsCommand final : public Command {
public:
  void declare(CommandWords &words) override { file_ = words.required("FILE", "The bank"); }

  ExitStatus run(Session &session) override {
    const FileItem item = resolveFile(*session.volume, CommandWords::text(file_));
    EMU3Error error;
    const std::vector<BankEntry> entries = session.volume->contentsOfBankFile(item.file, &error);
    if (error.isSet()) throw CommandFailure{error, item.address};
    if (session.json)
      answerInJson(entries, session.out());
    else
      printText(entries, session.out());
    return ExitStatus::done;
  }

private:
  static void answerInJson(const std::vector<BankEntry> &entries, std::ostream &out) {
    JsonWriter writer(out);
    writer.beginObject().member("ok", true).key("contents").beginArray();
    for (const BankEntry &entry : entries) {
      writer.beginObject().member("index", entry.index).member("kind", wordFor(entry.kind));
      writer.member("type", bankTypeText(entry.type)).member("name", entry.name);
      writer.member("bytes", entry.chunk ? nlohmann::json(entry.chunk->size) : nlohmann::json()).endObject();
    }
    writer.endArray().endObject().endLine();
  }

  static void printText(const std::vector<BankEntry> &entries, std::ostream &out) {
    TextTable table({{"Index", true}, {"Kind"}, {"Type"}, {"Name"}, {"Bytes", true}});
    for (const BankEntry &entry : entries) {
      table.addRow({std::to_string(entry.index), wordFor(entry.kind), bankTypeText(entry.type), entry.name,
                    entry.chunk ? std::to_string(entry.chunk->size) : "—"});
    }
    table.print(out);
  }

  const CommandWords::Word *file_ = nullptr;
};

} // namespace

extern const CommandEntry kContentsCommand{
    "contents",
    "FILE",
    "List what an Emulator IV bank contains",
    "The entries of the bank's table of contents: index, kind (preset, sample, other), type, name, and the "
    "bytes\n"
    "of the chunk that stands for the entry; \"—\" where the bank has none. Deleted entries are passed over; "
    "the\n"
    "index counts them. Banks of other formats list nothing.\n"
    "\n"
    "Example:\n"
    "  tessary-cli contents disk.hda /Brass/BRASS\n",
    {},
    makeCommand<ContentsCommand>,
};

} // namespace tessary::cli
