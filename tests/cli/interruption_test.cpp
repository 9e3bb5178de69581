// What is seen of an interruption, and of the progress on a terminal. The signal itself: program_test.cpp.

#include "tests/cli/CliRun.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/HostFiles.h"

#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace tessary::test {
namespace {

using Names = std::vector<std::string>;

// Interrupts once the condition has become true, as a signal during the item before would.
CliSurroundings interruptedWhen(std::function<bool()> condition) {
  return {.errIsTerminal = false, .interrupted = std::move(condition)};
}

// Interrupts when so many items have begun: a command asks once before it begins, and once before each item.
std::function<bool()> afterItems(int items) {
  return [polls = 0, items]() mutable { return ++polls > items + 1; };
}

class Interruption : public CliTest {
protected:
  Interruption() {
    ImageBuilder image;
    for (const char *name : {"A", "B", "C"})
      image.root().addFile(name, bytesOf(name));
    image.root().addFolder("Drums").addFile("D", bytesOf("d"));
    use(image);
  }

  Answer run(std::vector<std::string> words, std::function<bool()> condition,
             const std::string &input = "") const {
    words.insert(words.begin() + 1, imagePath());
    return runCli(words, input, interruptedWhen(std::move(condition)));
  }
  /// A volume with a bank of three samples.
  void useBank() const {
    ImageBuilder image;
    image.root().addFile("BANK", IffBank()
                                     .sample("one", patternBytes(100, 1))
                                     .sample("two", patternBytes(100, 2), "ESND")
                                     .sample("three", patternBytes(100, 3), "E4S3")
                                     .build());
    use(image);
  }
  bool isGone(const std::string &name) const {
    const Names names = volumeNames();
    return std::find(names.begin(), names.end(), name) == names.end();
  }
};

TEST_F(Interruption, ItemInProgressIsFinishedAndNoOtherBegun) {
  EXPECT_EQ(run({"rm", "/*"}, afterItems(2)),
            (Answer{130, "Deleted /A\nDeleted /B\n", "tessary-cli: Interrupted\n"}));
  EXPECT_EQ(volumeNames(), (Names{"C", "Drums/"}));
}

TEST_F(Interruption, JsonTellsWhatWasDone) {
  const Answer answer = run({"rm", "/*", "--json"}, afterItems(1));
  EXPECT_EQ(answer.status, 130);
  EXPECT_EQ(jsonOf(answer),
            parsedJson(R"({"ok":false,"interrupted":true,"results":[{"item":"/A","ok":true}]})"));
}

TEST_F(Interruption, HoldsForEveryCommandOfSeveralItems) {
  const std::string out = newHostFolder("out");
  writeText(hostPath("x"), "x");
  writeText(hostPath("y"), "y");
  EXPECT_EQ(run({"cp", "/A", "/B", "/Drums"}, afterItems(1)).status, 130);
  EXPECT_EQ(volumeNames("/Drums"), (Names{"D", "A"}));
  EXPECT_EQ(run({"mv", "/B", "/C", "/Drums"}, afterItems(1)).status, 130);
  EXPECT_EQ(volumeNames("/Drums"), (Names{"D", "A", "B"}));
  EXPECT_EQ(run({"import", hostPath("x"), hostPath("y"), "-t", "/Drums"}, afterItems(1)).status, 130);
  EXPECT_EQ(volumeNames("/Drums"), (Names{"D", "A", "B", "x"}));
  EXPECT_EQ(run({"export", "-R", "/Drums", "-d", out}, [&] { return namesIn(out).size() == 1; }).status, 130);
  EXPECT_EQ(namesIn(out), Names{"Drums"});
}

TEST_F(Interruption, WavOfAllSamplesStopsBehindTheOneInProgress) {
  useBank();
  const std::string out = newHostFolder("out");
  EXPECT_EQ(run({"wav", "/BANK", "-d", out}, afterItems(3)),
            (Answer{130,
                    "Exported /BANK[0] to " + out + "/BANK_one.wav\nExported /BANK[1] to " + out +
                        "/BANK_two.wav\n",
                    "tessary-cli: Interrupted\n"}));
  EXPECT_EQ(namesIn(out), (Names{"BANK_one.wav", "BANK_two.wav"}));
}

TEST_F(Interruption, BeforeTheFirstItemChangesNothing) {
  const auto always = [] { return true; };
  for (const Names &words : std::vector<Names>{
           {"rm", "/*"}, {"mkdir", "/New"}, {"rename", "/A", "X"}, {"recover"}, {"check"}, {"ls"}}) {
    EXPECT_EQ(run(words, always), (Answer{130, "", "tessary-cli: Interrupted\n"})) << words.front();
  }
  EXPECT_EQ(jsonOf(run({"ls", "--json"}, always)), failure("com.tessary.cli", 3, "Interrupted"));
  EXPECT_EQ(volumeNames(), (Names{"A", "B", "C", "Drums/"}));
}

TEST_F(Interruption, ListingIsStoppedBetweenFilesAndNothingIsShown) {
  int polls = 0;
  EXPECT_EQ(run({"ls"}, [&] { return ++polls > 3; }), (Answer{130, "", "tessary-cli: Interrupted\n"}));
}

TEST_F(Interruption, BatchStopsBehindTheLineInProgress) {
  EXPECT_EQ(run(
                {"batch"}, [&] { return isGone("A"); }, "rm /A\nrm /B\n"),
            (Answer{130, "Deleted /A\n", "tessary-cli: line 1: Interrupted\n"}));
  EXPECT_FALSE(isGone("B"));
}

TEST_F(Interruption, BatchStopsBetweenLines) {
  int polls = 0; // before the batch, before its first line, before the line's command, around its item
  const Answer answer = run(
      {"batch", "--json"}, [&] { return ++polls > 5; }, "rm /A\nrm /B\n");
  EXPECT_EQ(answer.status, 130);
  EXPECT_EQ(jsonLines(answer.out), std::vector<nlohmann::json>{allDone({"/A"})});
  EXPECT_EQ(answer.err, "");
  EXPECT_FALSE(isGone("B"));
}

TEST_F(Interruption, BatchThatIsInterruptedOutsideALineSaysSo) {
  int polls = 0;
  EXPECT_EQ(run(
                {"batch"}, [&] { return ++polls > 1; }, "rm /A\n"),
            (Answer{130, "", "tessary-cli: Interrupted\n"}));
}

using Progress = Interruption;

TEST_F(Progress, LongWorkShowsItOnATerminalAndTakesItBack) {
  const Answer plain = cli("cp", {"/A", "/B", "/Drums"});
  const Answer shown = cli("cp", {"/A", "/B", "/Drums"}, {.errIsTerminal = true, .interrupted = {}});
  EXPECT_EQ(shown.status, plain.status);
  EXPECT_EQ(shown.out, plain.out);
  EXPECT_EQ(plain.err, "");
  EXPECT_EQ(shown.err, "\r\x1b[K1 of 2, 0 B of 2 B, 0%: /A\r\x1b[K2 of 2, 0 B of 2 B, 0%: /B\r\x1b[K");
}

TEST_F(Progress, WavOfSeveralSamplesShowsIt) {
  useBank();
  const std::string out = newHostFolder("out");
  const Answer plain = cli("wav", {"/BANK", "-d", out});
  const Answer shown = cli("wav", {"/BANK", "-d", out}, {.errIsTerminal = true, .interrupted = {}});
  EXPECT_EQ(shown.status, plain.status);
  EXPECT_EQ(shown.out, plain.out);
  EXPECT_EQ(plain.err, "");
  EXPECT_EQ(shown.err, "\r\x1b[K1 of 3, 0 B of 440 B, 0%: /BANK[0]\r\x1b[K2 of 3, 0 B of 440 B, 0%: /BANK[1]"
                       "\r\x1b[K3 of 3, 0 B of 440 B, 0%: /BANK[2]\r\x1b[K");
}

TEST_F(Progress, OneItemShowsNone) {
  EXPECT_EQ(cli("cp", {"/A", "/Drums"}, {.errIsTerminal = true, .interrupted = {}}).err, "");
}

TEST_F(Progress, ProblemsStandOnLinesOfTheirOwn) {
  const Answer answer =
      cli("import", {hostPath("x"), hostPath("y"), "-t", "/"}, {.errIsTerminal = true, .interrupted = {}});
  const auto problem = [&](const char *name) {
    return "tessary-cli: " + hostPath(name) + ": No such file or directory\n";
  };
  const std::string end = "\r\x1b[K" + problem("x") + problem("y");
  EXPECT_TRUE(answer.err.ends_with(end)) << answer;
}

TEST_F(Progress, FoldersCountWithWhatIsBelowThem) {
  const Answer answer =
      cli("export", {"-R", "/*", "-d", newHostFolder("out")}, {.errIsTerminal = true, .interrupted = {}});
  EXPECT_NE(answer.err.find("1 of 5, 0 B of 4 B, 0%: /A"), std::string::npos) << answer;
  EXPECT_NE(answer.err.find("5 of 5, "), std::string::npos) << answer;
}

TEST_F(Progress, LongItemsAreCutAndControlCharactersEscaped) {
  ImageBuilder image;
  image.root().addFile("x\x1b[2J", bytesOf("x"));
  image.root().addFile("y", bytesOf("y"));
  image.root().addFolder("Drums");
  use(image);
  EXPECT_NE(cli("cp", {"/*", "/Drums"}, {.errIsTerminal = true, .interrupted = {}})
                .err.find("1 of 2, 0 B of 2 B, 0%: /x\\x1b[2J\r"),
            std::string::npos);
  const std::string missing = "/" + std::string(300, 'm');
  const Answer answer =
      cli("import", {missing, missing, "-t", "/"}, {.errIsTerminal = true, .interrupted = {}});
  EXPECT_NE(answer.err.find("1 of 2: /" + std::string(55, 'm') + "\r"), std::string::npos) << answer;
}

} // namespace
} // namespace tessary::test
