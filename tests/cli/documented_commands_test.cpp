// Every command that the documents show, run as it stands there, one after the other, in a folder with the
// demo image and the host files that they name.

#include "cli/Command.h"
#include "tests/cli/CliRun.h"
#include "tests/cli/ProjectFile.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/HostFiles.h"
#include "tests/support/SampleVolumes.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace tessary::test {
namespace {

using Lines = std::vector<std::string>;

Lines linesOf(const std::string &document) {
  std::istringstream text(readText(projectFile(document)));
  Lines lines;
  for (std::string line; std::getline(text, line);)
    lines.push_back(line);
  return lines;
}

// Those of an indented block, without the words that stand behind a command to say what it does.
Lines commandsOfMarkdown(const std::string &document) {
  Lines commands;
  for (const std::string &line : linesOf(document)) {
    const bool isCommand = line.starts_with("    ") && line.find("tessary-cli ") != std::string::npos;
    if (isCommand) commands.push_back(line.substr(4, line.find("  ", 4) - 4));
  }
  return commands;
}

// A line of a man page as it is read: \- is a hyphen, \e a backslash.
std::string withoutRequests(const std::string &line) {
  std::string read;
  for (std::size_t at = 0; at < line.size(); ++at) {
    if (line[at] != '\\' || at + 1 == line.size()) {
      read += line[at];
      continue;
    }
    const char request = line[++at];
    if (request == '-' || request == 'e')
      read += request == '-' ? '-' : '\\';
    else
      read.append({'\\', request});
  }
  return read;
}

// Those of the page of examples.
Lines commandsOfManPage(const std::string &document) {
  Lines commands;
  bool isInExamples = false;
  bool isInBlock = false;
  for (const std::string &line : linesOf(document)) {
    if (line.starts_with(".SH")) isInExamples = line == ".SH EXAMPLES";
    if (line == ".nf" || line == ".fi") isInBlock = line == ".nf";
    if (!isInExamples || !isInBlock || line == ".nf") continue;
    commands.push_back(withoutRequests(line));
  }
  return commands;
}

// The heading of a command's examples and the lines below it, as a shell reads them.
Lines examplesInHelp(const std::string &command) {
  std::istringstream help(runCli({command, "--help"}).out);
  Lines examples;
  for (std::string line; std::getline(help, line);)
    if (line == "Example:" || line == "Examples:" || (!examples.empty() && !line.empty()))
      examples.push_back(examples.empty() ? line : line.substr(std::min<std::size_t>(2, line.size())));
    else if (!examples.empty())
      break;
  return examples;
}

class DocumentedCommands : public CliTest {
protected:
  DocumentedCommands() {
    use(demoVolume());
    writeBytes(hostPath("brass.E4B"), IffBank().preset("Brass").build());
    std::filesystem::create_directories(hostPath("banks/Old"));
    writeBytes(hostPath("banks/Choir.E4B"), IffBank().preset("Choir").build());
    writeBytes(hostPath("banks/Old/Organ.E4B"), IffBank().preset("Organ").build());
  }

  // A line of a shell, with the program found by its name.
  int statusOf(const std::string &line) const {
    const std::string program = std::filesystem::path(TESSARY_CLI_PROGRAM).parent_path().native();
    writeText(hostPath("line.sh"), "set -o pipefail\ncd '" + hostPath("") + "'\nHOME=$PWD\nPATH='" + program +
                                       "':\"$PATH\"\n" + line + "\n");
    const std::string shell = "bash '" + hostPath("line.sh") + "' >'" + hostPath("output") + "' 2>&1";
    const int status = std::system(shell.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  void expectToWork(const Lines &commands, std::size_t fewest) const {
    EXPECT_GE(commands.size(), fewest);
    for (const std::string &command : commands)
      EXPECT_EQ(statusOf(command), 0) << command << "\n" << readText(hostPath("output"));
  }
};

TEST_F(DocumentedCommands, OfTheReadmeWork) {
  expectToWork(commandsOfMarkdown("README.md"), 9);
}

TEST_F(DocumentedCommands, OfTheUserGuideWork) {
  expectToWork(commandsOfMarkdown("docs/user-guide.md"), 13);
}

TEST_F(DocumentedCommands, OfTheManPageWork) {
  expectToWork(commandsOfManPage("packaging/man/tessary-cli.1"), 17);
}

// Not each names what is on the demo image; none may be refused for its words.
TEST_F(DocumentedCommands, OfTheHelpAreTakenAndHeadedByTheirNumber) {
  std::size_t commands = 0;
  for (const cli::CommandEntry *entry : cli::commandTable()) {
    const Lines examples = examplesInHelp(std::string(entry->name));
    if (examples.empty()) continue;
    const auto calls = std::count_if(examples.begin(), examples.end(), [](const std::string &line) {
      return line.starts_with("tessary-cli ");
    });
    EXPECT_EQ(examples.front(), calls == 1 ? "Example:" : "Examples:") << entry->name;
    std::string script;
    for (auto line = std::next(examples.begin()); line != examples.end(); ++line)
      script += *line + "\n";
    statusOf(script);
    const std::string said = readText(hostPath("output"));
    EXPECT_EQ(said.find("See: tessary-cli"), std::string::npos) << entry->name << "\n" << said;
    ++commands;
  }
  EXPECT_GE(commands, 19U);
}

} // namespace
} // namespace tessary::test
