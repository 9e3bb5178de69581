#include "cli/Addresses.h"
#include "cli/CliError.h"
#include "cli/Command.h"
#include "cli/HostOptions.h"
#include "cli/ItemReport.h"
#include "cli/JsonWriter.h"
#include "cli/TextTable.h"
#include "filesystem/ItemsOperation.h"
#include "filesystem/Text.h"

#include <cstddef>
#include <numeric>
#include <optional>
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

class WavCommand final : public Command {
public:
  void declare(CommandWords &words) override {
    file_ = words.required("FILE", "The bank");
    index_ = words.optional("INDEX", "The sample, counted from 0; all of them when left out");
    host_.declare(words);
  }

  void check(bool) override {
    host_.check();
    if (const auto text = CommandWords::textIfGiven(index_)) wanted_ = countFrom("INDEX", *text);
  }

  ExitStatus run(Session &session) override {
    host_.requireFolder();
    const FileItem item = resolveFile(*session.volume, CommandWords::text(file_));
    const std::vector<BankSample> samples =
        wanted_ ? samplesForName(session, item) : samplesOf(session, item);
    std::vector<std::size_t> wanted(wanted_ ? 1 : samples.size());
    std::iota(wanted.begin(), wanted.end(), wanted_.value_or(0));
    if (host_.target() && wanted.size() > 1) {
      throw CommandFailure{cliError(kCliRefused, "-o names the target of one sample"), item.address};
    }
    if (wanted.empty()) {
      const std::string sentence = "The bank lists no samples: " + item.address;
      if (host_.target()) throw CommandFailure{cliError(kCliRefused, sentence), item.address};
      if (!session.json) session.out() << escapedForDisplay(sentence) << '\n';
    }
    return writeSamples(session, item, samples, wanted);
  }

private:
  // The list is wanted for the sample's name alone; what is wrong with the bank the export itself says.
  static std::vector<BankSample> samplesForName(const Session &session, const FileItem &item) {
    return session.volume->namedSamplesFromBankFile(item.file);
  }

  ExitStatus writeSamples(Session &session, const FileItem &item, const std::vector<BankSample> &samples,
                          const std::vector<std::size_t> &wanted) const {
    const auto operation = session.volume->manyItems();
    std::vector<std::string> names;
    for (const std::size_t index : wanted) {
      names.push_back(item.address + "[" + std::to_string(index) + "]");
      if (const std::optional<std::string> target = host_.target()) {
        operation->exportSample(item.file, index, *target);
        continue;
      }
      const std::string sample = index < samples.size() ? samples[index].name : "";
      operation->exportSampleInto(item.file, index, sample, host_.folder());
    }
    ItemReport report(session, wanted.size());
    report.runAll(*operation, names,
                  [&](const ItemEnd &end) { return "Exported " + names[end.item] + " to " + end.hostPath; });
    return report.finish();
  }

  const CommandWords::Word *file_ = nullptr;
  const CommandWords::Word *index_ = nullptr;
  std::optional<std::size_t> wanted_; ///< the one sample asked for
  HostOptions host_;
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

extern const CommandEntry kWavCommand{
    "wav",
    "FILE [INDEX] [-d DIR | -o PATH]",
    "Write samples of an Emulator IV bank as WAV",
    "The audio is written as it stands in the bank, as mono, 16 bits, 44100 Hz. The files are named after "
    "the bank\n"
    "and the sample, as BRASS_Low C.wav; existing ones are replaced, and of several results of the command "
    "that would\n"
    "bear one name the later get \" (2)\", \" (3)\" and so on.\n"
    "\n"
    "Examples:\n"
    "  tessary-cli wav disk.hda /Brass/BRASS -d samples\n"
    "  tessary-cli wav disk.hda /Brass/BRASS 0 -o first.wav\n",
    {},
    makeCommand<WavCommand>,
};

} // namespace tessary::cli
