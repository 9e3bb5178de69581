#include "cli/CommandRunner.h"

#include "cli/CliError.h"
#include "cli/CommandWords.h"
#include "cli/MountedImages.h"
#include "cli/ShellWords.h"

#include <algorithm>
#include <exception>
#include <set>
#include <vector>

namespace tessary::cli {
namespace {

constexpr const char *kProgram = "tessary-cli";

std::string usageOf(const CommandEntry &entry, bool withImage) {
  std::string usage = withImage ? std::string(kProgram) + " " : "";
  usage += entry.name;
  if (withImage && entry.traits.mounts) usage += " IMAGE";
  if (!entry.words.empty()) usage.append(" ").append(entry.words);
  if (entry.traits.hasTrial) usage += " [-n]";
  if (withImage) usage += " [--exact]";
  if (entry.traits.hasJson) usage += " [--json]";
  return usage;
}

// Names of the options of all commands that take a value: what follows one is not the command's name.
std::set<std::string> optionsWithValue() {
  std::set<std::string> names;
  for (const CommandEntry *entry : commandTable()) {
    CommandWords words("", "", "");
    entry->make()->declare(words);
    for (std::string &name : words.namesOfOptionsWithValue())
      names.insert(std::move(name));
  }
  return names;
}

bool asksForJson(std::span<const std::string> words) {
  const auto end = std::find(words.begin(), words.end(), "--");
  return std::find(words.begin(), end, "--json") != end;
}

// "-o -", "-o-", "--output=-", and the same behind other letters.
bool asksForStandardOutput(std::span<const std::string> words) {
  const auto end = std::find(words.begin(), words.end(), "--");
  for (auto word = words.begin(); word != end; ++word) {
    if (*word == "--output=-") return true;
    const bool hasLetters = word->starts_with("-") && !word->starts_with("--");
    if (hasLetters && word->ends_with("o-")) return true;
    const bool takesNext = *word == "--output" || (hasLetters && word->ends_with("o"));
    if (takesNext && word + 1 != end && word[1] == "-") return true;
  }
  return false;
}

// One command line while it is read and run.
class Run final {
public:
  Run(const Streams &streams, const BatchLine *line)
      : streams_(streams), line_(line), prefix_(problemPrefix(line)), json_(linesAreJson()) {}

  ExitStatus run(std::span<const std::string> words) {
    return answering([&] { return runWords(words); });
  }

  ExitStatus runLine(const std::string &text) {
    return answering([&] {
      std::string problem;
      const auto words = shellWords(text, &problem);
      if (!words) throw WrongWords{problem};
      return runWords(*words);
    });
  }

private:
  static std::string problemPrefix(const BatchLine *line) {
    const std::string prefix = std::string(kProgram) + ": ";
    return line == nullptr ? prefix : prefix + "line " + std::to_string(line->number) + ": ";
  }

  bool linesAreJson() const { return line_ != nullptr && line_->json; }

  // The one place that answers for a command that failed as a whole.
  template <typename Work> ExitStatus answering(const Work &work) {
    try {
      return work();
    } catch (const WrongWords &wrong) {
      const std::string message = name_.empty() ? wrong.message : name_ + ": " + wrong.message;
      answerFailure(answerStreams(), json_, prefix_, "", cliError(kCliWrongWords, message));
      if (!json_ && line_ == nullptr) printHint();
      return ExitStatus::wrongWords;
    } catch (const CommandFailure &failure) {
      answerFailure(answerStreams(), json_, prefix_, failure.item, failure.error);
      return ExitStatus::failed;
    } catch (const Interrupted &) {
      answerFailure(answerStreams(), json_, prefix_, "", cliError(kCliInterrupted, "Interrupted"));
      return ExitStatus::interrupted;
    } catch (const std::exception &problem) { // out of memory, above all
      answerFailure(answerStreams(), json_, prefix_, "", errorOf(problem, name_));
      return ExitStatus::failed;
    }
  }

  Streams answerStreams() const {
    return {streams_.in, streams_.out, streams_.err, streams_.surroundings, *answers_};
  }

  ExitStatus runWords(std::span<const std::string> words) {
    json_ = linesAreJson() || asksForJson(words); // a guess, for words that turn out wrong
    const std::vector<std::string> ordered = commandFirst(words);
    const CommandEntry *entry = findCommand(ordered.front());
    if (entry == nullptr) throw WrongWords{"no such command: " + ordered.front()};
    name_ = entry->name;
    json_ = linesAreJson() || (json_ && entry->traits.hasJson);
    if (line_ != nullptr && !entry->traits.isBatchLine)
      throw WrongWords{"not a command for a line of a batch"};
    return runEntry(*entry, std::span(ordered).subspan(1));
  }

  // Options, and the "--" that ends them, may stand before the command's name too; they are moved behind it.
  static std::vector<std::string> commandFirst(std::span<const std::string> words) {
    std::vector<std::string> ordered(words.begin(), words.end());
    if (!ordered.empty() && !ordered.front().starts_with("-")) return ordered;
    const std::set<std::string> withValue = optionsWithValue();
    std::size_t name = 0;
    while (name < words.size() && words[name] != "--" && words[name].starts_with("-")) {
      name += withValue.contains(words[name]) ? 2U : 1U;
    }
    if (name < words.size() && words[name] == "--") ++name;
    if (name >= words.size()) throw WrongWords{"a command is missing"};
    const auto at = ordered.begin() + static_cast<std::ptrdiff_t>(name);
    std::rotate(ordered.begin(), at, at + 1);
    return ordered;
  }

  // The words that every command has besides its own; null where this one does not.
  struct CommonWords {
    const CommandWords::Word *image = nullptr;
    const CommandWords::Word *trial = nullptr;
    const CommandWords::Word *quiet = nullptr;
    const CommandWords::Word *exact = nullptr;
    const CommandWords::Word *json = nullptr;
  };

  CommonWords declareAll(CommandWords &words, const CommandTraits &traits, Command &command) const {
    CommonWords common;
    if (line_ == nullptr && traits.mounts) common.image = words.required("IMAGE", "The disk image");
    command.declare(words);
    if (traits.hasTrial) {
      common.trial = words.flag("-n,--dry-run", "Answer what would be done, and write nothing");
    }
    common.quiet = words.flag("-q,--quiet", "Leave out the sentences that say what was done");
    if (line_ == nullptr) {
      common.exact = words.flag("--exact", "Mount the image by the bare rules, without the guards against\n"
                                           "overwriting what those rules do not look at");
    }
    if (traits.hasJson) common.json = words.flag("--json", "Answer with one JSON object on one line");
    return common;
  }

  ExitStatus runEntry(const CommandEntry &entry, std::span<const std::string> given) {
    const std::unique_ptr<Command> command = entry.make();
    CommandWords words(std::string(entry.summary), usageOf(entry, line_ == nullptr),
                       std::string(entry.details));
    const CommonWords common = declareAll(words, entry.traits, *command);
    // With "-o -" a reader waits for the file's bytes on standard output, so even the complaint about wrong
    // words goes to standard error. In a batch that answers in JSON standard output has the answers.
    if (!linesAreJson() && words.hasOption("--output") && asksForStandardOutput(given))
      answers_ = &streams_.err;
    const bool asksForHelp = !words.read(given);
    json_ = linesAreJson();
    if (asksForHelp) return showHelp(words);
    if (json_ && common.json == nullptr) throw WrongWords{"has no JSON answer"};
    json_ = json_ || isGiven(common.json);
    command->check({.json = json_, .isBatchLine = line_ != nullptr});
    if (linesAreJson() && command->fillsStandardOutput())
      throw WrongWords{"-o - would stand among the answers of the batch in JSON"};
    answers_ = command->fillsStandardOutput() ? &streams_.err : &streams_.out;
    const bool isTrial = isGiven(common.trial) || (line_ != nullptr && line_->volume->isTrial());
    const MountRules rules = rulesOf(common);
    const ImageClaim claim = claimFor(command->changesImage(entry.traits.claims), isTrial);
    const EMU3FilesystemPtr volume = entry.traits.mounts ? volumeFor(common, rules, claim) : nullptr;
    if (streams_.interrupted()) throw Interrupted{};
    const Streams streams = answerStreams();
    Session session{streams, volume, json_, prefix_, isQuiet(common), isTrial, rules};
    return command->run(session);
  }

  static bool isGiven(const CommandWords::Word *word) {
    return word != nullptr && CommandWords::isGiven(word);
  }

  bool isQuiet(const CommonWords &common) const {
    return isGiven(common.quiet) || (line_ != nullptr && line_->quiet);
  }

  MountRules rulesOf(const CommonWords &common) const {
    if (line_ != nullptr) return line_->volume->rules();
    return isGiven(common.exact) ? MountRules::bare : MountRules::guarded;
  }

  // For a trial in a line of a batch the image is mounted once more, as the lines before have left it.
  EMU3FilesystemPtr volumeFor(const CommonWords &common, MountRules rules, ImageClaim claim) const {
    if (line_ == nullptr) return mountImage(CommandWords::text(common.image), rules, claim);
    if (claim != ImageClaim::never || line_->volume->isTrial()) return line_->volume;
    return mountImage(line_->volume->imageURL(), rules, claim);
  }

  static ImageClaim claimFor(bool changes, bool isTrial) {
    if (isTrial) return ImageClaim::never;
    return changes ? ImageClaim::whenMounted : ImageClaim::atFirstChange;
  }

  // In a batch that answers in JSON the help is an object too, so that its output holds no other text.
  ExitStatus showHelp(const CommandWords &words) const {
    if (json_) {
      streams_.err << words.help();
      streams_.out << "{\"ok\":true}\n";
    } else {
      streams_.out << words.help();
    }
    return ExitStatus::done;
  }

  void printHint() const {
    const std::string command = name_.empty() ? "" : " " + name_;
    streams_.err << "See: " << kProgram << command << " --help\n";
  }

  const Streams &streams_;
  const BatchLine *line_;
  std::string prefix_;
  bool json_; ///< whether the answer is an object
  std::ostream *answers_ = &streams_.out;
  std::string name_; ///< of the command, once it is known
};

} // namespace

ExitStatus runCommandLine(std::span<const std::string> words, const Streams &streams) {
  return Run(streams, nullptr).run(words);
}

ExitStatus runBatchLine(const std::string &text, const BatchLine &line, const Streams &streams) {
  return Run(streams, &line).runLine(text);
}

} // namespace tessary::cli
