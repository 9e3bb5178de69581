#include "cli/TessaryCli.h"

#include "cli/CliError.h"
#include "cli/Command.h"
#include "cli/CommandRunner.h"
#include "cli/Completion.h"
#include "cli/Session.h"
#include "tessary/SystemLog.h"

#include <algorithm>
#include <ostream>

namespace tessary {
namespace {

using namespace cli;

void printProgramHelp(std::ostream &out) {
  out << "Work on the disk images of E-MU samplers (Emulator III, Emulator 3X, Emulator IV, ESI-32).\n"
         "\n"
         "Usage: tessary-cli COMMAND IMAGE [ARGUMENTS]\n"
         "       tessary-cli --help | --version\n"
         "\n"
         "Commands:\n";
  std::size_t width = 0;
  for (const CommandEntry *entry : commandTable())
    width = std::max(width, entry->name.size());
  for (const CommandEntry *entry : commandTable()) {
    out << "  " << entry->name << std::string(width - entry->name.size() + 2, ' ') << entry->summary << '\n';
  }
  out << "\n"
         "Inside a volume:\n"
         "  /Drums/KICK   the file KICK in the folder Drums; / is the root folder\n"
         "  \\/ \\\\ \\*      these characters as part of a name\n"
         "  @7:3          the entry with index 3 in directory block 7; a folder's may begin a path: "
         "@7:3/KICK\n"
         "  * and ?       in the last part of a path, where a command takes several files\n"
         "\n"
         "Options may stand before or after the other words; -- ends them.\n"
         "\n"
         "Exit status: 0 all done, 1 something failed or was found, 2 the words are wrong, \n"
         "130, 143 or 129 interrupted, ended or hung up.\n"
         "\n"
         "See also: tessary-cli COMMAND --help\n";
}

ExitStatus runProgram(std::span<const std::string> args, const Streams &streams) {
  const std::string first = args.empty() ? "" : args.front();
  if (first == "--help" || first == "-h") {
    printProgramHelp(streams.out);
    return ExitStatus::done;
  }
  if (first == "--version") {
    streams.out << "tessary-cli " << TESSARY_VERSION << '\n';
    return ExitStatus::done;
  }
  if (args.size() == 3 && first == "--complete") {
    printCompletions(args[1], args[2], streams.out);
    return ExitStatus::done;
  }
  if (args.size() == 4 && first == "--complete-bash") {
    printCompletionsForBash(args[1], args[2], args[3], streams.out);
    return ExitStatus::done;
  }
  return runCommandLine(args, streams);
}

} // namespace

int runTessaryCli(std::span<const std::string> args, std::istream &in, std::ostream &out, std::ostream &err,
                  const CliSurroundings &surroundings) {
  setSystemLogEcho(false);
  const Streams streams{in, out, err, surroundings, out};
  ExitStatus status = runProgram(args, streams);
  out.flush();
  if (!out) {
    printProblem(err, "tessary-cli: ", "",
                 cli::cliError(cli::kCliFailed, "The answer could not be written whole"));
    if (status == ExitStatus::done) status = ExitStatus::failed;
  }
  return static_cast<int>(status);
}

} // namespace tessary
