#include "cli/Addresses.h"
#include "cli/CliError.h"
#include "cli/Command.h"
#include "cli/JsonWriter.h"
#include "cli/TextTable.h"

#include <cstddef>
#include <string>
#include <vector>

namespace tessary::cli {
namespace {

std::vector<BankSample> samplesOf(const Session &session, const FileItem &item) {
  EMU3Error error;
  std::vector<BankSample> samples = session.volume->namedSamplesFromBankFile(item.file, &error);
  if (error.isSet()) throw CommandFailure{error, item.address};
  return samples;
}

class SamplesCommand final : public Command {
public:
  void declare(CommandWords &words) override { file_ = words.required("FILE", "The bank"); }

  ExitStatus run(Session &session) override {
    const FileItem item = resolveFile(*session.volume, CommandWords::text(file_));
    const std::vector<BankSample> samples = samplesOf(session, item);
    if (session.json)
      answerInJson(samples, session.out());
    else
      printText(samples, session.out());
    return ExitStatus::done;
  }

private:
  static void answerInJson(const std::vector<BankSample> &samples, std::ostream &out) {
    JsonWriter writer(out);
    writer.beginObject().member("ok", true).key("samples").beginArray();
    for (const BankSample &sample : samples)
      writer.value(sample.type);
    writer.endArray().endObject().endLine();
  }

  static void printText(const std::vector<BankSample> &samples, std::ostream &out) {
    TextTable table({{"Index", true}, {"Sample"}, {"Name"}});
    for (std::size_t i = 0; i < samples.size(); ++i)
      table.addRow({std::to_string(i), samples[i].type, samples[i].name});
    table.print(out);
  }

  const CommandWords::Word *file_ = nullptr;
};

} // namespace

extern const CommandEntry kSamplesCommand{
    "samples",
    "FILE",
    "List the samples of an Emulator IV bank",
    "Banks of other formats list no samples. The index is what the command wav takes.\n"
    "\n"
    "Example:\n"
    "  tessary-cli samples disk.hda /Brass/BRASS\n",
    {},
    makeCommand<SamplesCommand>,
};

} // namespace tessary::cli
