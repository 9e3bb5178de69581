#include "tests/cli/CliRun.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/HostFiles.h"

#include <string>
#include <vector>

namespace tessary::test {
namespace {

const std::vector<std::string> kCommands{"info",   "ls",  "stat",   "cat",   "export",  "samples",  "wav",
                                         "import", "cp",  "mv",     "rm",    "rename",  "mkdir",    "rmdir",
                                         "find",   "new", "backup", "check", "recover", "contents", "batch"};

class Words : public CliTest {
protected:
  Words() {
    ImageBuilder image;
    image.root().addFile("KICK", bytesOf("kick"));
    image.root().addFolder("Drums");
    use(image);
  }
};

TEST_F(Words, HelpOfTheProgramNamesEveryCommand) {
  for (const char *word : {"--help", "-h"}) {
    const Answer answer = runCli({word});
    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.err, "");
    EXPECT_NE(answer.out.find("Usage: tessary-cli COMMAND IMAGE [ARGUMENTS]\n"), std::string::npos);
    for (const std::string &command : kCommands) {
      EXPECT_NE(answer.out.find("\n  " + command + " "), std::string::npos) << command;
    }
  }
}

TEST_F(Words, EveryCommandHasHelpThatNamesItsUsage) {
  for (const std::string &command : kCommands) {
    const Answer answer = runCli({command, "--help"});
    EXPECT_EQ(answer.status, 0) << command;
    EXPECT_EQ(answer.err, "") << command;
    const std::string usage =
        "\nUsage: tessary-cli " + command + (command == "find" ? " PATTERN IMAGE" : " IMAGE");
    EXPECT_NE(answer.out.find(usage), std::string::npos) << answer.out;
    EXPECT_NE(answer.out.find("-h,--help"), std::string::npos) << command;
  }
}

TEST_F(Words, HelpNeedsNoOtherWords) {
  EXPECT_EQ(runCli({"import", "/nowhere.hda", "--help"}).status, 0);
}

TEST_F(Words, EveryCommandButCatTakesJson) {
  for (const std::string &command : kCommands) {
    const bool offersJson = runCli({command, "--help"}).out.find("--json") != std::string::npos;
    EXPECT_EQ(offersJson, command != "cat") << command;
  }
  EXPECT_EQ(cli("cat", {"/KICK", "--json"}).status, 2);
}

TEST_F(Words, EveryCommandTakesExact) {
  for (const std::string &command : kCommands)
    EXPECT_NE(runCli({command, "--help"}).out.find("--exact"), std::string::npos) << command;
  EXPECT_EQ(cli("info", {"--exact"}).status, 0);
  EXPECT_EQ(cli("cat", {"/KICK", "--exact"}), cli("cat", {"/KICK"}));
  EXPECT_EQ(cli("ls", {"--exact"}), cli("ls"));
}

TEST_F(Words, VersionIsTheProjects) {
  EXPECT_EQ(runCli({"--version"}), (Answer{0, "tessary-cli " TESSARY_VERSION "\n", ""}));
}

TEST_F(Words, WrongWordsEndWithStatus2AndAHint) {
  EXPECT_EQ(runCli({}), (Answer{2, "", "tessary-cli: a command is missing\nSee: tessary-cli --help\n"}));
  EXPECT_EQ(runCli({"format", imagePath()}),
            (Answer{2, "", "tessary-cli: no such command: format\nSee: tessary-cli --help\n"}));
  EXPECT_EQ(runCli({"info"}),
            (Answer{2, "", "tessary-cli: info: IMAGE is required\nSee: tessary-cli info --help\n"}));
  EXPECT_EQ(cli("info", {"extra"}).status, 2);
  EXPECT_EQ(cli("ls", {"--unknown"}).status, 2);
  EXPECT_EQ(cli("stat").status, 2);
  EXPECT_EQ(cli("import", {"/some/file"}).status, 2);
  EXPECT_EQ(cli("cp", {"/KICK"}).status, 2);
  EXPECT_EQ(cli("rename", {"/KICK"}).status, 2);
  EXPECT_EQ(cli("export", {"/KICK", "-d"}).status, 2);
  EXPECT_EQ(cli("ls", {"--csv", "--json"}).status, 2);
  EXPECT_EQ(cli("export", {"/KICK", "-d", ".", "-o", "x"}).status, 2);
  EXPECT_EQ(cli("export", {"/KICK", "/KICK", "-o", "x"}).status, 2);
  EXPECT_EQ(cli("export", {"/KICK", "-R", "-o", "x"}).status, 2);
  EXPECT_EQ(cli("export", {"/KICK", "-d", "a", "-d", "b"}).status, 2);
  EXPECT_EQ(cli("ls", {"-R=yes"}).status, 2);
  EXPECT_EQ(cli("ls", {"--json=no"}).status, 2);
}

TEST_F(Words, WrongWordsAreSeenBeforeTheImageIsOpened) {
  EXPECT_EQ(runCli({"wav", "/nowhere.hda", "/X", "one"}).status, 2);
  EXPECT_EQ(runCli({"export", "/nowhere.hda", "/X", "-o", "x", "-d", "y"}).status, 2);
}

TEST_F(Words, WrongWordsInJsonAreAnObject) {
  const nlohmann::json missing = failure("com.tessary.cli", 2, "stat: FILE is required");
  EXPECT_EQ(jsonOf(runCli({"stat", imagePath(), "--json"})), missing);
  EXPECT_EQ(jsonOf(runCli({"format", "--json"})), failure("com.tessary.cli", 2, "no such command: format"));
}

TEST_F(Words, ControlCharactersOfWordsAreShownEscaped) {
  EXPECT_EQ(cli("cat", {"/\x1b[2J\n"}).err, "tessary-cli: No such file: /\\x1b[2J\\n\n");
}

TEST_F(Words, OptionsMayStandBeforeOrAfterTheOtherWords) {
  const Answer expected = cli("ls", {"/", "-R", "--json"});
  ASSERT_EQ(expected.status, 0);
  EXPECT_EQ(runCli({"ls", "-R", imagePath(), "--json", "/"}), expected);
  EXPECT_EQ(runCli({"ls", "--json", "-R", imagePath(), "/"}), expected);
  EXPECT_EQ(runCli({"--json", "ls", imagePath(), "/", "-R"}), expected);
  EXPECT_EQ(runCli({"-R", "--json", "ls", imagePath(), "/"}), expected);
}

TEST_F(Words, AnOptionsValueBeforeTheCommandIsNotTakenForTheCommand) {
  const std::string out = newHostFolder("ls");
  EXPECT_EQ(runCli({"-d", out, "export", imagePath(), "/KICK"}).status, 0);
  EXPECT_EQ(readText(out + "/KICK.E4B"), "kick");
  EXPECT_EQ(runCli({"-d", "export"}).status, 2);
}

TEST_F(Words, TwoDashesEndTheOptions) {
  EXPECT_EQ(cli("rename", {"/KICK", "-R"}).status, 2);
  EXPECT_EQ(cli("rename", {"--", "/KICK", "-R"}).status, 0);
  EXPECT_EQ(cli("rename", {"--json", "/-R", "--", "--json"}).out,
            R"({"ok":true,"results":[{"item":"/-R","ok":true,"path":"/--json","place":"@34:0"}]})"
            "\n");
  EXPECT_EQ(volumeNames(), (std::vector<std::string>{"--json", "Drums/"}));
}

TEST_F(Words, TwoDashesMayStandBeforeTheCommand) {
  const Answer expected = cli("info");
  EXPECT_EQ(runCli({"--", "info", imagePath()}), expected);
  EXPECT_EQ(runCli({"--json", "--", "info", imagePath()}), cli("info", {"--json"}));
  EXPECT_EQ(runCli({"--", "rename", imagePath(), "/KICK", "--json"}).status, 0);
  EXPECT_EQ(volumeNames(), (std::vector<std::string>{"--json", "Drums/"}));
  EXPECT_EQ(runCli({"--"}).err, "tessary-cli: a command is missing\nSee: tessary-cli --help\n");
  EXPECT_EQ(runCli({"--", "--help"}).err, "tessary-cli: no such command: --help\nSee: tessary-cli --help\n");
  EXPECT_EQ(runCli({"--", "--", "info"}).err, "tessary-cli: no such command: --\nSee: tessary-cli --help\n");
}

TEST_F(Words, JsonAsAnOptionsValueAsksForNoJson) {
  const CurrentFolder current(hostPath(""));
  newHostFolder("--json");
  EXPECT_EQ(cli("export", {"/NONE", "-d", "--json"}), (Answer{1, "", "tessary-cli: No such file: /NONE\n"}));
  EXPECT_EQ(jsonOf(cli("export", {"/NONE", "-d", "--json", "--json"})),
            failure("com.tessary.cli", 1, "No such file: /NONE"));
  EXPECT_EQ(jsonOf(cli("export", {"--json", "-d"})).at("ok"), false); // wrong words, read as far as they go
}

TEST_F(Words, WordsThatNameCommandsAreOrdinaryWords) {
  EXPECT_EQ(cli("rename", {"/KICK", "ls"}).status, 0);
  EXPECT_EQ(cli("stat", {"/ls"}).status, 0);
}

TEST_F(Words, HostPathsAreTakenAsTheyAre) {
  const std::string folder = newHostFolder("[a,b]");
  writeText(folder + "/[c,d]", "one");
  writeText(folder + "/{}", "two");
  writeText(folder + "/-x", "three");
  writeText(folder + "/a b\\n'\"*", "four");
  const Answer answer = cli(
      "import", {folder + "/[c,d]", folder + "/{}", folder + "/-x", folder + "/a b\\n'\"*", "-t", "/Drums"});
  EXPECT_EQ(answer.status, 0) << answer;
  EXPECT_EQ(volumeNames("/Drums"), (std::vector<std::string>{"[c,d]", "{}", "-x", "a b\\n'\"*"}));
}

TEST_F(Words, WordsInBracketsAreOneWord) {
  EXPECT_EQ(cli("rename", {"/KICK", "[a,b]"}).status, 0);
  EXPECT_EQ(volumeNames(), (std::vector<std::string>{"[a,b]", "Drums/"}));
  EXPECT_EQ(cli("import", {"[a,b]", "[c]", "-t", "/"}).err,
            "tessary-cli: [a,b]: No such file or directory\ntessary-cli: [c]: No such file or directory\n");
  EXPECT_EQ(cli("rm", {"/[a,b]", "[x]"}).err,
            "tessary-cli: Not an address in the volume (they begin with / or @BLOCK:INDEX): [x]\n");
  const std::string folder = newHostFolder("out");
  const CurrentFolder current(folder);
  EXPECT_EQ(cli("export", {"/[a,b]", "-o", "[out]"}).status, 0);
  EXPECT_EQ(readText(folder + "/[out]"), "kick");
}

} // namespace
} // namespace tessary::test
