// Every command that the documents show, run as it stands there, one after the other, in a folder with the
// demo image and the host files that they name.

#include "tests/cli/CliRun.h"
#include "tests/cli/ProjectFile.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/HostFiles.h"
#include "tests/support/SampleVolumes.h"

#include <cstdlib>
#include <filesystem>
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
    writeText(hostPath("line.sh"),
              "set -o pipefail\ncd '" + hostPath("") + "'\nPATH='" + program + "':\"$PATH\"\n" + line + "\n");
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

} // namespace
} // namespace tessary::test
