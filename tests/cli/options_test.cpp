// Options that stand in many commands: each by both of its names, and each command with those that all have.

#include "tests/cli/CliRun.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/HostFiles.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace tessary::test {
namespace {

using Words = std::vector<std::string>;

/// A volume with a bank, folders, and host files beside it; each run of a command
/// finds them as they were.
class Options : public CliTest {
protected:
  Answer fresh(Words words, const std::string &input = "") const {
    for (const std::string &name : namesIn(hostPath("")))
      std::filesystem::remove_all(hostPath(name));
    ImageBuilder image;
    image.root().addFile("BANK", IffBank().preset("Pad").sample("one", patternBytes(100, 1)).build());
    image.root().addFolder("Drums").addFile("SNARE", bytesOf("snare"));
    image.root().addFolder("Empty");
    use(image);
    writeText(hostPath("x.E4B"), "x");
    std::filesystem::create_directory(hostPath("tree"));
    writeText(hostPath("tree/y.E4B"), "y");
    ImageBuilder().writeTo(hostPath("other.hda"));
    const CurrentFolder current(hostPath(""));
    return runCli(words, input);
  }

  struct Run {
    Words words; ///< the command's first
    bool reads = false;
    std::string input{};
  };
  /// Every command once, so that it succeeds.
  static std::vector<Run> everyCommand() {
    return {{{"info", "disk.hda"}, true},
            {{"ls", "disk.hda"}, true},
            {{"stat", "disk.hda", "/BANK"}, true},
            {{"cat", "disk.hda", "/BANK"}, true},
            {{"contents", "disk.hda", "/BANK"}, true},
            {{"samples", "disk.hda", "/BANK"}, true},
            {{"find", "snare", "disk.hda"}, true},
            {{"check", "disk.hda"}, true},
            {{"recover", "disk.hda"}, true},
            {{"export", "disk.hda", "/BANK", "-d", "out"}},
            {{"wav", "disk.hda", "/BANK", "-d", "out"}},
            {{"import", "disk.hda", "x.E4B", "-t", "/Drums"}},
            {{"cp", "disk.hda", "/BANK", "/Drums"}},
            {{"mv", "disk.hda", "/BANK", "/Drums"}},
            {{"rm", "disk.hda", "/BANK"}},
            {{"rename", "disk.hda", "/BANK", "NEW"}},
            {{"mkdir", "disk.hda", "/New"}},
            {{"rmdir", "disk.hda", "/Empty"}},
            {{"new", "new.hda", "--like", "disk.hda"}},
            {{"backup", "disk.hda", "copy.hda"}},
            {{"batch", "disk.hda"}, false, "rm /BANK\n"}};
  }
  static Words with(Words words, const std::string &option) {
    words.push_back(option);
    return words;
  }
};

TEST_F(Options, EveryCommandIsAmongThem) {
  std::set<std::string> tried;
  for (const Run &run : everyCommand())
    tried.insert(run.words.front());
  const std::string help = runCli({"--help"}).out;
  for (const char *command :
       {"info", "ls",     "stat",  "cat",   "export", "contents", "samples", "wav",   "import",  "cp",   "mv",
        "rm",   "rename", "mkdir", "rmdir", "find",   "new",      "backup",  "check", "recover", "batch"}) {
    EXPECT_TRUE(tried.contains(command)) << command;
    EXPECT_NE(help.find(std::string("  ") + command + " "), std::string::npos) << command;
  }
  EXPECT_EQ(tried.size(), 21U);
}

TEST_F(Options, HelpHasTwoNames) {
  for (const Run &run : everyCommand()) {
    const std::string &command = run.words.front();
    const Answer answer = runCli({command, "--help"});
    EXPECT_EQ(answer.status, 0) << command;
    EXPECT_NE(answer.out.find("Usage: tessary-cli " + command), std::string::npos);
    EXPECT_EQ(answer, runCli({command, "-h"})) << command;
  }
  EXPECT_EQ(runCli({"-h"}), runCli({"--help"}));
}

TEST_F(Options, QuietLeavesOutWhatWasDoneAndNothingElse) {
  for (const Run &run : everyCommand()) {
    SCOPED_TRACE(run.words.front());
    const Answer said = fresh(run.words, run.input);
    EXPECT_EQ(said.status, 0) << said;
    EXPECT_NE(said.out, "");
    const Answer quiet = fresh(with(run.words, "-q"), run.input);
    EXPECT_EQ(quiet, (Answer{0, run.reads ? said.out : "", ""}));
    EXPECT_EQ(quiet, fresh(with(run.words, "--quiet"), run.input));
  }
}

TEST_F(Options, DryRunHasTwoNamesAndLeavesAllAsItWas) {
  fresh({"info", "disk.hda"});
  const Bytes before = readBytes(imagePath());
  const Words names = namesIn(hostPath(""));
  for (const Run &run : everyCommand()) {
    if (run.reads && run.words.front() != "recover") continue;
    SCOPED_TRACE(run.words.front());
    const Answer answer = fresh(with(run.words, "-n"), run.input);
    EXPECT_EQ(answer.status, 0) << answer;
    EXPECT_TRUE(readBytes(imagePath()) == before);
    EXPECT_EQ(namesIn(hostPath("")), names);
    EXPECT_EQ(answer, fresh(with(run.words, "--dry-run"), run.input));
  }
}

// Where the process has the image mounted by the guarded rules, it cannot be mounted by the others.
TEST_F(Options, ExactMountsByTheBareRulesInEveryCommand) {
  for (const Run &run : everyCommand()) {
    SCOPED_TRACE(run.words.front());
    const Answer bare = fresh(with(run.words, "--exact"), run.input);
    EXPECT_EQ(bare.status, run.words.front() == "check" ? 1 : 0) << bare; // it names what only this destroys
    const EMU3FilesystemPtr guarded = EMU3Filesystem::initWithURL(imagePath(), MountRules::guarded);
    ASSERT_TRUE(guarded);
    const CurrentFolder current(hostPath(""));
    std::filesystem::remove(hostPath("new.hda"));
    const Answer refused = runCli(with(run.words, "--exact"), run.input);
    EXPECT_EQ(refused.status, 1) << refused;
    EXPECT_NE(refused.err.find("The image is mounted with other rules"), std::string::npos) << refused;
  }
}

TEST_F(Options, ShortAndLongNamesMeanTheSame) {
  struct Pair {
    Words shorter;
    Words longer;
  };
  for (const auto &[shorter, longer] : std::vector<Pair>{
           {{"ls", "disk.hda", "-R"}, {"ls", "disk.hda", "--recursive"}},
           {{"ls", "disk.hda", "-l"}, {"ls", "disk.hda", "--long"}},
           {{"export", "disk.hda", "/", "-R", "-d", "out"},
            {"export", "disk.hda", "/", "--recursive", "--directory", "out"}},
           {{"export", "disk.hda", "/BANK", "-o", "b"}, {"export", "disk.hda", "/BANK", "--output", "b"}},
           {{"export", "disk.hda", "/BANK", "-o", "-"}, {"export", "disk.hda", "/BANK", "--output=-"}},
           {{"wav", "disk.hda", "/", "-R", "-d", "out"},
            {"wav", "disk.hda", "/", "--recursive", "--directory=out"}},
           {{"wav", "disk.hda", "/BANK", "0", "-o", "b"}, {"wav", "disk.hda", "/BANK", "0", "--output", "b"}},
           {{"import", "disk.hda", "tree", "-R", "-t", "/"},
            {"import", "disk.hda", "tree", "--recursive", "--to", "/"}},
           {{"cp", "disk.hda", "/Drums", "/Empty", "-R"},
            {"cp", "disk.hda", "/Drums", "/Empty", "--recursive"}},
           {{"mv", "disk.hda", "/Drums", "/Empty", "-R"},
            {"mv", "disk.hda", "/Drums", "/Empty", "--recursive"}},
           {{"mkdir", "disk.hda", "/A/B", "-p"}, {"mkdir", "disk.hda", "/A/B", "--parents"}},
           {{"rmdir", "disk.hda", "/Drums", "-R"}, {"rmdir", "disk.hda", "/Drums", "--recursive"}}}) {
    const Answer answer = fresh(shorter);
    EXPECT_EQ(answer.status, 0) << answer;
    Words without = shorter;
    without.erase(
        std::remove_if(without.begin(), without.end(),
                       [](const std::string &word) { return word == "-R" || word == "-p" || word == "-l"; }),
        without.end());
    EXPECT_TRUE(without == shorter || !(fresh(without) == answer)) << "the option does something";
    fresh(shorter);
    const Bytes image = readBytes(imagePath());
    EXPECT_EQ(fresh(longer), answer);
    EXPECT_TRUE(readBytes(imagePath()) == image);
  }
}

TEST_F(Options, FindLooksForTheKindsThatAreNamed) {
  const auto kinds = [&](const Words &options) {
    Words words{"find", "*", "disk.hda", "--json"};
    words.insert(words.end(), options.begin(), options.end());
    std::set<std::string> found;
    const nlohmann::json answer = jsonOf(fresh(words));
    for (const nlohmann::json &match : answer.at("matches"))
      found.insert(match.at("kind"));
    return found;
  };
  using Kinds = std::set<std::string>;
  EXPECT_EQ(kinds({}), (Kinds{"file", "folder", "preset", "sample"}));
  EXPECT_EQ(kinds({"--files"}), Kinds{"file"});
  EXPECT_EQ(kinds({"--folders"}), Kinds{"folder"});
  EXPECT_EQ(kinds({"--presets"}), Kinds{"preset"});
  EXPECT_EQ(kinds({"--samples"}), Kinds{"sample"});
  EXPECT_EQ(kinds({"--files", "--samples"}), (Kinds{"file", "sample"}));
}

} // namespace
} // namespace tessary::test
