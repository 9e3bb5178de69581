#include "cli/CliError.h"
#include "cli/Command.h"
#include "cli/CommandRunner.h"

#include <cstddef>
#include <istream>
#include <string>

namespace tessary::cli {
namespace {

bool isPassedOver(const std::string &line) {
  return line.starts_with('#') || line.find_first_not_of(" \t") == std::string::npos;
}

class BatchCommand final : public Command {
public:
  void declare(CommandWords &words) override {
    stop_ = words.flag("--stop", "End at the first line that fails");
  }

  ExitStatus run(Session &session) override {
    const bool stopsAtFailure = CommandWords::isGiven(stop_);
    bool anyFailed = false;
    std::string text;
    BatchLine line{session.volume, session.json, session.quiet, 0};
    while (!session.interrupted() && std::getline(session.streams.in, text)) {
      ++line.number;
      if (text.ends_with('\r')) text.pop_back(); // written on another system
      if (isPassedOver(text)) continue;
      const ExitStatus status = runBatchLine(text, line, session.streams);
      session.out().flush(); // whoever feeds the lines may wait for the answer
      if (status == ExitStatus::interrupted) return status;
      if (status == ExitStatus::done) continue;
      anyFailed = true;
      if (stopsAtFailure) break;
    }
    if (session.interrupted()) return answerInterrupted(session);
    if (session.streams.in.bad()) {
      answerFailure(session.streams, session.json, session.problemPrefix, "",
                    cliError(kCliFailed, "The lines could not be read to the end"));
      return ExitStatus::failed;
    }
    return anyFailed ? ExitStatus::failed : ExitStatus::done;
  }

private:
  // Says nothing in JSON: there every object answers for a line that was run.
  static ExitStatus answerInterrupted(const Session &session) {
    if (!session.json)
      printProblem(session.streams.err, session.problemPrefix, "", cliError(kCliInterrupted, "Interrupted"));
    return ExitStatus::interrupted;
  }

  const CommandWords::Word *stop_ = nullptr;
};

} // namespace

extern const CommandEntry kBatchCommand{
    "batch",
    "[--stop]",
    "Run commands read from standard input",
    "Mounts the image once and runs one command a line, written as on the command line but without IMAGE; "
    "words are\n"
    "quoted as in a shell. Empty lines and lines that begin with # are passed over. Goes on after a line "
    "that fails.\n"
    "\n"
    "Example:\n"
    "  tessary-cli batch disk.hda <<'END'\n"
    "  mkdir /Backup\n"
    "  cp '/Drums/K*' /Backup\n"
    "  END\n",
    {.isBatchLine = false, .hasTrial = true},
    makeCommand<BatchCommand>,
};

} // namespace tessary::cli
