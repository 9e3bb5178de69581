#include "cli/AddressSyntax.h"
#include "cli/Addresses.h"
#include "cli/Command.h"
#include "cli/FileFacts.h"
#include "cli/JsonWriter.h"
#include "tessary/BankEntry.h"
#include "tessary/Text.h"

#include <string>

namespace tessary::cli {
namespace {

std::string hexadecimal(std::uint8_t byte) {
  constexpr const char *digits = "0123456789abcdef";
  return std::string("0x") + digits[byte >> 4] + digits[byte & 0x0F];
}

void printText(const EMU3File &file, std::ostream &out) {
  const EMU3FileFields fields = file.fields();
  const BankDetails details = file.bankDetails();
  const char *format = bankFormatName(details.bankFormat);
  const auto line = [&](const char *title, const std::string &value) { out << title << value << '\n'; };
  line("Name:                   ", escapedNameForDisplay(fields.name));
  line("Type:                   ", fileTypeStringFor(fields.fileType));
  line("Type byte:              ", hexadecimal(fields.rawType));
  line("Entry id:               ", std::to_string(fields.entryId));
  line("Entry's place:          ", placeAddress({fields.dentryBlock, fields.dentryOffset}));
  line("Size:                   ",
       std::to_string(fields.fileSize) + " bytes (" + fileSizeStringFor(fields.fileSize) + ")");
  line("Start cluster (slot):   ", std::to_string(fields.startCluster));
  line("Cluster count:          ", std::to_string(fields.clusterCount));
  line("Blocks in last cluster: ", std::to_string(fields.blocksInLastCluster));
  line("Bytes in last block:    ", std::to_string(fields.bytesInLastBlock));
  line("Bank name:              ",
       details.bankName ? escapedNameForDisplay(*details.bankName) : countCell(0));
  line("Bank format:            ", format != nullptr ? format : "Unknown");
  line("Presets:                ", std::to_string(details.presetCount));
  line("Samples:                ", std::to_string(details.sampleCount));
}

class StatCommand final : public Command {
public:
  void declare(CommandWords &words) override { file_ = words.required("FILE", "The file"); }

  ExitStatus run(Session &session) override {
    const EMU3FilePtr file = resolveFile(*session.volume, CommandWords::text(file_)).file;
    session.volume->refreshBankMetadata(file);
    if (session.json)
      answerInJson(*file, session.out());
    else
      printText(*file, session.out());
    return ExitStatus::done;
  }

private:
  static void answerInJson(const EMU3File &file, std::ostream &out) {
    JsonWriter writer(out);
    writer.beginObject().member("ok", true).key("file");
    writeFile(writer, file);
    writer.endObject().endLine();
  }

  const CommandWords::Word *file_ = nullptr;
};

} // namespace

extern const CommandEntry kStatCommand{
    "stat",
    "FILE",
    "Show every field of a file",
    "The fields of the file's directory entry and what is read from the bank itself.\n"
    "\n"
    "Example:\n"
    "  tessary-cli stat disk.hda /Drums/KICK\n",
    {},
    makeCommand<StatCommand>,
};

} // namespace tessary::cli
