#include "cli/Addresses.h"
#include "cli/CliError.h"
#include "cli/Command.h"
#include "cli/HostOptions.h"
#include "cli/ItemReport.h"
#include "cli/StandardOutput.h"
#include "tessary/ItemsOperation.h"
#include "tessary/Text.h"

#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tessary::cli {
namespace {

/// A sample that is to be written.
struct WantedSample {
  FileItem bank;
  std::size_t index = 0;
  std::string name; ///< empty where the bank does not list it

  [[nodiscard]] std::string item() const { return bank.address + "[" + std::to_string(index) + "]"; }
};

/// What the banks of a command hold, before the first sample is written.
struct WantedSamples {
  std::vector<WantedSample> samples;
  std::vector<FileItem> empty;                            ///< banks that list none
  std::vector<std::pair<FileItem, EMU3Error>> unreadable; ///< what is no bank, or cannot be read
};

bool isAddress(const std::string &word) {
  return word.starts_with('/') || word.starts_with('@');
}

std::vector<FileItem> banksBelow(const FolderItem &top) {
  std::vector<FileItem> banks;
  for (const FolderItem &folder : foldersFrom(top, Beside::anyEntry)) {
    for (FileItem &item : filesIn(folder.directory, folder.address)) {
      if (item.file->fileType() == kFileTypeBank) banks.push_back(std::move(item));
    }
  }
  return banks;
}

class WavCommand final : public Command {
public:
  void declare(CommandWords &words) override {
    words_ = words.several("FILE", 1,
                           "The banks, with -R folders too, and behind them the INDEX of a sample,\n"
                           "counted from 0; all of them when left out");
    recursive_ = words.flag("-R,--recursive", "Take all banks below folders");
    rate_ = words.option("--rate", "HZ", "What the header says, 1 to 4294967295; 44100 when left out");
    host_.declare(words);
  }

  void check(const RunKind &) override {
    host_.check();
    banks_ = CommandWords::texts(words_);
    if (banks_.size() > 1 && !isAddress(banks_.back())) {
      index_ = countFrom("INDEX", banks_.back());
      banks_.pop_back();
    }
    if (CommandWords::isGiven(rate_)) options_.sampleRate = rateFrom(CommandWords::text(rate_));
    if (host_.target() && CommandWords::isGiven(recursive_)) throw WrongWords{"-o and -R exclude each other"};
  }

  [[nodiscard]] bool fillsStandardOutput() const override { return host_.fillsStandardOutput(); }

  ExitStatus run(Session &session) override {
    const bool recursive = CommandWords::isGiven(recursive_);
    const std::vector<FileItem> banks = resolve(*session.volume, recursive);
    const WantedSamples wanted = wantedOf(session, banks);
    if (banks.size() == 1 && !wanted.unreadable.empty())
      throw CommandFailure{wanted.unreadable.front().second, banks.front().address};
    if (host_.target()) requireOne(wanted, banks.front());
    if (host_.fillsStandardOutput()) return writeOut(session, wanted.samples.front());
    host_.provideFolder(session.isTrial);
    const auto operation = session.volume->manyItems();
    ExportOptions options = host_.exportOptions(recursive);
    options.sampleRate = options_.sampleRate;
    operation->setExportOptions(options);
    return writeSamples(session, *operation, wanted);
  }

private:
  static std::uint32_t rateFrom(const std::string &text) {
    const std::size_t rate = countFrom("--rate", text);
    if (rate >= 1 && rate <= std::numeric_limits<std::uint32_t>::max())
      return static_cast<std::uint32_t>(rate);
    throw WrongWords{"--rate: not from 1 to 4294967295: " + text};
  }

  [[nodiscard]] std::vector<FileItem> resolve(const EMU3Filesystem &volume, bool recursive) const {
    if (!recursive) return resolveFiles(volume, banks_);
    std::vector<FileItem> banks;
    for (const EntryItem &entry : resolveEntries(volume, banks_)) {
      if (const auto *file = std::get_if<FileItem>(&entry)) {
        banks.push_back(*file);
        continue;
      }
      for (FileItem &bank : banksBelow(std::get<FolderItem>(entry)))
        banks.push_back(std::move(bank));
    }
    return banks;
  }

  [[nodiscard]] WantedSamples wantedOf(const Session &session, const std::vector<FileItem> &banks) const {
    WantedSamples wanted;
    for (const FileItem &bank : banks) {
      if (session.interrupted()) throw Interrupted{};
      EMU3Error error;
      const std::vector<BankSample> samples = session.volume->namedSamplesFromBankFile(bank.file, &error);
      if (index_) { // the export itself says what is wrong with the bank
        wanted.samples.push_back({bank, *index_, *index_ < samples.size() ? samples[*index_].name : ""});
        continue;
      }
      if (error.isSet()) {
        wanted.unreadable.emplace_back(bank, error);
        continue;
      }
      if (samples.empty()) wanted.empty.push_back(bank);
      for (std::size_t i = 0; i < samples.size(); ++i)
        wanted.samples.push_back({bank, i, samples[i].name});
    }
    return wanted;
  }

  static std::string noSamplesIn(const FileItem &bank) {
    return "The bank lists no samples: " + bank.address;
  }

  static void requireOne(const WantedSamples &wanted, const FileItem &bank) {
    if (wanted.samples.size() == 1) return;
    const std::string problem =
        wanted.samples.empty() ? noSamplesIn(bank) : "-o names the target of one sample";
    throw CommandFailure{cliError(kCliRefused, problem), bank.address};
  }

  ExitStatus writeOut(Session &session, const WantedSample &sample) const {
    ByteBufferPtr wav;
    const auto work = [&](EMU3Error *error) {
      wav = session.volume->wavOfSample(sample.index, sample.bank.file, options_.sampleRate, error);
      return wav && writeToStandardOutput(session, {{wav->data(), wav->size()}}, error);
    };
    ItemReport report(session);
    report.run(sample.item(), "Exported " + sample.item() + " to standard output", work,
               [&] { return ItemResult{.host = "", .bytes = wav->size()}; });
    return report.finish();
  }

  ExitStatus writeSamples(Session &session, ItemsOperation &operation, const WantedSamples &wanted) const {
    std::vector<std::string> items;
    for (const WantedSample &sample : wanted.samples) {
      items.push_back(sample.item());
      if (const std::optional<std::string> target = host_.target())
        operation.exportSample(sample.bank.file, sample.index, *target);
      else
        operation.exportSampleInto(sample.bank.file, sample.index, sample.name, host_.folder());
    }
    for (const FileItem &bank : wanted.empty) {
      if (!session.json && !session.quiet) session.out() << escapedForDisplay(noSamplesIn(bank)) << '\n';
    }
    ItemReport report(session);
    for (const auto &each : wanted.unreadable)
      report.run(each.first.address, "", [&](EMU3Error *reason) { return fail(reason, each.second); });
    report.runAll(operation, items, [&](const ItemEnd &end) {
      return "Exported " + items[end.item] + " to " + escapedNameForDisplay(end.hostPath);
    });
    return report.finish();
  }

  const CommandWords::Word *words_ = nullptr;
  const CommandWords::Word *recursive_ = nullptr;
  const CommandWords::Word *rate_ = nullptr;
  std::vector<std::string> banks_;
  std::optional<std::size_t> index_; ///< the one sample asked for of each bank
  ExportOptions options_;
  HostOptions host_;
};

} // namespace

extern const CommandEntry kWavCommand{
    "wav",
    "FILE... [INDEX] [-R] [-d DIR | -o PATH] [--rate HZ] [--no-clobber]",
    "Write samples of Emulator IV banks as WAV",
    "The audio is written as it stands in the bank, as mono and 16 bits; --rate changes what the header "
    "says, "
    "not the\n"
    "audio. The files are named after the bank and the sample, as BRASS_Low C.wav; existing ones are "
    "replaced, and of\n"
    "several results of the command that would bear one name the later get \" (2)\", \" (3)\" and so on. DIR "
    "is made\n"
    "when it is not there.\n"
    "\n"
    "Examples:\n"
    "  tessary-cli wav disk.hda /Brass/BRASS -d samples\n"
    "  tessary-cli wav disk.hda -R / -d samples\n"
    "  tessary-cli wav disk.hda /Brass/BRASS 0 -o first.wav\n",
    {.hasTrial = true},
    makeCommand<WavCommand>,
};

} // namespace tessary::cli
