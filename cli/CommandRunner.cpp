#include "cli/CommandRunner.h"

#include "cli/CliError.h"
#include "cli/CommandWords.h"

#include <algorithm>
#include <set>
#include <vector>

namespace tessary::cli {
namespace {

constexpr const char *kProgram = "tessary-cli";

// The guards are off for one command and on again whatever its end.
class GuardedVolume final {
public:
  GuardedVolume(EMU3FilesystemPtr volume, bool exact) : volume_(std::move(volume)) {
    volume_->setGuarded(!exact);
  }
  ~GuardedVolume() { volume_->setGuarded(true); }
  GuardedVolume(const GuardedVolume &) = delete;
  GuardedVolume &operator=(const GuardedVolume &) = delete;

private:
  EMU3FilesystemPtr volume_;
};

std::string usageOf(const CommandEntry &entry, bool withImage) {
  std::string usage = withImage ? std::string(kProgram) + " " : "";
  usage += entry.name;
  if (withImage) usage += " IMAGE";
  if (!entry.words.empty()) usage.append(" ").append(entry.words);
  if (entry.traits.changesVolume) usage += " [--exact]";
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

// One command line while it is read and run.
class Run final {
public:
  Run(const Streams &streams, const BatchLine *line)
      : streams_(streams), line_(line), json_(line != nullptr && line->json),
        prefix_(line != nullptr ? problemPrefixForLine(line->number) : std::string(kProgram) + ": ") {}

  ExitStatus run(std::span<const std::string> words) {
    const bool answersInJson = json_ || asksForJson(words);
    try {
      return runWords(words);
    } catch (const WrongWords &wrong) {
      const std::string message = name_.empty() ? wrong.message : name_ + ": " + wrong.message;
      answerFailure(streams_, answersInJson, prefix_, "", cliError(kCliWrongWords, message));
      if (!answersInJson && line_ == nullptr) printHint();
      return ExitStatus::wrongWords;
    } catch (const CommandFailure &failure) {
      answerFailure(streams_, answersInJson, prefix_, failure.item, failure.error);
      return ExitStatus::failed;
    } catch (const Interrupted &) {
      answerFailure(streams_, answersInJson, prefix_, "", cliError(kCliInterrupted, "Interrupted"));
      return ExitStatus::interrupted;
    }
  }

private:
  ExitStatus runWords(std::span<const std::string> words) {
    const std::vector<std::string> ordered = commandFirst(words);
    const CommandEntry *entry = findCommand(ordered.front());
    if (entry == nullptr) throw WrongWords{"no such command: " + ordered.front()};
    name_ = entry->name;
    if (line_ != nullptr && !entry->traits.isBatchLine)
      throw WrongWords{"not a command for a line of a batch"};
    return runEntry(*entry, std::span(ordered).subspan(1));
  }

  // Options may stand before the command's name too; they are moved behind it.
  static std::vector<std::string> commandFirst(std::span<const std::string> words) {
    std::vector<std::string> ordered(words.begin(), words.end());
    if (!ordered.empty() && !ordered.front().starts_with("-")) return ordered;
    const std::set<std::string> withValue = optionsWithValue();
    std::size_t name = 0;
    while (name < words.size() && words[name] != "--" && words[name].starts_with("-")) {
      name += withValue.contains(words[name]) ? 2U : 1U;
    }
    if (name >= words.size() || words[name] == "--") throw WrongWords{"a command is missing"};
    const auto at = ordered.begin() + static_cast<std::ptrdiff_t>(name);
    std::rotate(ordered.begin(), at, at + 1);
    return ordered;
  }

  ExitStatus runEntry(const CommandEntry &entry, std::span<const std::string> given) {
    const std::unique_ptr<Command> command = entry.make();
    const bool withImage = line_ == nullptr;
    CommandWords words(std::string(entry.summary), usageOf(entry, withImage), std::string(entry.details));
    const CommandWords::Word *image = withImage ? words.required("IMAGE", "The disk image") : nullptr;
    command->declare(words);
    const CommandWords::Word *exact = nullptr;
    if (entry.traits.changesVolume) {
      exact = words.flag("--exact", "Change the volume by the bare rules, without the guards against\n"
                                    "overwriting what those rules do not look at");
    }
    const CommandWords::Word *json = nullptr;
    if (entry.traits.hasJson) json = words.flag("--json", "Answer with one JSON object on one line");
    if (!words.read(given)) return showHelp(words);
    if (json_ && json == nullptr) throw WrongWords{"has no JSON answer"};
    json_ = json_ || (json != nullptr && CommandWords::isGiven(json));
    command->check(json_);
    const EMU3FilesystemPtr volume = withImage ? mounted(CommandWords::text(image)) : line_->volume;
    const GuardedVolume guarded(volume, exact != nullptr && CommandWords::isGiven(exact));
    if (streams_.interrupted()) throw Interrupted{};
    Session session{streams_, volume, json_, prefix_};
    return command->run(session);
  }

  // A batch that promises JSON keeps its output free of other text.
  ExitStatus showHelp(const CommandWords &words) const {
    if (json_) {
      streams_.err << words.help();
      streams_.out << "{\"ok\":true}\n";
    } else {
      streams_.out << words.help();
    }
    return ExitStatus::done;
  }

  static EMU3FilesystemPtr mounted(const std::string &image) {
    EMU3Error error;
    EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(image, &error);
    if (volume == nullptr) throw CommandFailure{error, image};
    return volume;
  }

  void printHint() const {
    const std::string command = name_.empty() ? "" : " " + name_;
    streams_.err << "See: " << kProgram << command << " --help\n";
  }

  const Streams &streams_;
  const BatchLine *line_;
  bool json_;
  std::string prefix_;
  std::string name_; ///< of the command, once it is known
};

} // namespace

std::string problemPrefixForLine(std::size_t number) {
  return std::string(kProgram) + ": line " + std::to_string(number) + ": ";
}

ExitStatus runCommandLine(std::span<const std::string> words, const Streams &streams) {
  return Run(streams, nullptr).run(words);
}

ExitStatus runBatchLine(std::span<const std::string> words, const BatchLine &line, const Streams &streams) {
  return Run(streams, &line).run(words);
}

} // namespace tessary::cli
