#include "tests/cli/CliRun.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/HostFiles.h"

#include <algorithm>
#include <string>
#include <vector>

namespace tessary::test {
namespace {

using Names = std::vector<std::string>;

class Batch : public CliTest {
protected:
  Batch() {
    ImageBuilder image;
    FolderBuilder root = image.root();
    root.addFile("KICK", bytesOf("kick"));
    root.addFile("Big Kick", bytesOf("big kick"));
    root.addFile("A/B", bytesOf("slash"));
    root.addFolder("Drums");
    use(image);
  }
};

TEST_F(Batch, RunsOneCommandALine) {
  EXPECT_EQ(
      batch("mkdir /Pads\ncp /KICK /Pads\ncat /Pads/KICK\nmv /KICK /Drums"),
      (Answer{0, "Created the folder /Pads\nCopied /KICK into /Pads\nkickMoved /KICK into /Drums\n", ""}));
  EXPECT_EQ(volumeNames("/Pads"), Names{"KICK"});
  EXPECT_EQ(volumeNames("/Drums"), Names{"KICK"});
}

TEST_F(Batch, EmptyLinesAndCommentsArePassedOver) {
  EXPECT_EQ(batch("# a comment 'with a quote\n\n   \t\nrm /KICK\n#rm /A*\n"),
            (Answer{0, "Deleted /KICK\n", ""}));
  EXPECT_EQ(batch(""), (Answer{0, "", ""}));
}

TEST_F(Batch, WordsAreQuotedAsInAShell) {
  EXPECT_EQ(batch(R"(cat '/Big Kick'
cat "/Big Kick"
cat /Big\ Kick
cat '/A\/B'
cat /A\\/B
cat "/A\/B"
)")
                .out,
            "big kickbig kickbig kickslashslashslash");
}

TEST_F(Batch, LinesMayEndInCarriageReturns) {
  EXPECT_EQ(batch("cat /KICK\r\n\r\n# x\r\ncat '/KICK'\r\n"), (Answer{0, "kickkick", ""}));
}

TEST_F(Batch, GoesOnAfterAFailingLine) {
  EXPECT_EQ(batch("rm /NONE\nformat\nrm 'x\nrename /KICK\nrm /KICK\n"),
            (Answer{1, "Deleted /KICK\n",
                    "tessary-cli: line 1: No such file: /NONE\n"
                    "tessary-cli: line 2: no such command: format\n"
                    "tessary-cli: line 3: a single quote is not closed\n"
                    "tessary-cli: line 4: rename: NAME is required\n"}));
}

TEST_F(Batch, LinesAreCountedWithThoseThatArePassedOver) {
  EXPECT_EQ(batch("# one\n\nrm /NONE\n").err, "tessary-cli: line 3: No such file: /NONE\n");
}

TEST_F(Batch, StopEndsAtTheFirstFailingLine) {
  EXPECT_EQ(batch("cat /KICK\nrm /NONE\nrm /KICK\n", {"--stop"}),
            (Answer{1, "kick", "tessary-cli: line 2: No such file: /NONE\n"}));
  EXPECT_EQ(batch("stat\nrm /KICK\n", {"--stop"}).status, 1);
  EXPECT_EQ(batch("rm 'x\nrm /KICK\n", {"--stop"}).status, 1);
  EXPECT_EQ(volumeNames().front(), "KICK");
}

TEST_F(Batch, JsonHoldsForAllLinesOneObjectEach) {
  const Answer answer =
      batch("# first\nrm /KICK\nrm /NONE\n\nrename '/Big Kick' X --json\nformat\nrm 'x\n", {"--json"});
  EXPECT_EQ(answer.status, 1);
  EXPECT_EQ(answer.err, "");
  std::vector<nlohmann::json> answers = jsonLines(answer.out);
  std::transform(answers.begin(), answers.end(), answers.begin(), itemsOf);
  EXPECT_EQ(answers, (std::vector<nlohmann::json>{
                         allDone({"/KICK"}), failure("com.tessary.cli", 1, "No such file: /NONE"),
                         allDone({"/Big Kick"}), failure("com.tessary.cli", 2, "no such command: format"),
                         failure("com.tessary.cli", 2, "a single quote is not closed")}));
}

TEST_F(Batch, LineMayAskForJsonItself) {
  EXPECT_EQ(batch("rm /KICK --json\ncat /A\\\\/B\n").out,
            "{\"ok\":true,\"results\":[{\"item\":\"/KICK\",\"ok\":true}]}\nslash");
}

TEST_F(Batch, CatHasNoPlaceAmongJsonLines) {
  const Answer answer = batch("cat /KICK\ninfo\n", {"--json"});
  const auto answers = jsonLines(answer.out);
  ASSERT_EQ(answers.size(), 2U);
  EXPECT_EQ(answers[0], failure("com.tessary.cli", 2, "cat: has no JSON answer"));
  EXPECT_EQ(answers[1].at("ok"), true);
}

TEST_F(Batch, HelpOfALine) {
  EXPECT_NE(batch("ls --help\n")
                .out.find("\nUsage: ls [FOLDER] [-R] [-l] [--sort KEY] [--reverse] [--csv] [--json]\n"),
            std::string::npos);
  const Answer answer = batch("ls --help\n", {"--json"});
  EXPECT_EQ(answer.out, "{\"ok\":true}\n");
  EXPECT_NE(answer.err.find("\nUsage: ls "), std::string::npos);
}

TEST_F(Batch, LinesTakeNoImageAndNoBatch) {
  EXPECT_EQ(batch("info disk.hda\n").status, 1);
  EXPECT_EQ(batch("batch\n"),
            (Answer{1, "", "tessary-cli: line 1: batch: not a command for a line of a batch\n"}));
}

TEST_F(Batch, ExactIsTheBatchsOwnAndHoldsForEveryLine) {
  const std::string lines = "rename /KICK '  '\nrename '/Big Kick' '  '\n";
  for (const nlohmann::json &answer : jsonLines(batch(lines, {"--json"}).out))
    EXPECT_EQ(answer.at("ok"), false);
  const auto answers = jsonLines(batch(lines, {"--json", "--exact"}).out);
  ASSERT_EQ(answers.size(), 2U);
  for (const nlohmann::json &answer : answers)
    EXPECT_EQ(answer.at("ok"), true);
}

TEST_F(Batch, ExactIsNoWordOfALine) {
  const std::vector<std::string> before = volumeNames();
  for (const char *line : {"rename --exact /KICK ONE\n", "rm /KICK --exact\n"}) {
    const Answer answer = batch(line);
    EXPECT_EQ(answer.status, 1) << answer;
    EXPECT_NE(answer.err.find("--exact"), std::string::npos) << answer;
    const auto answers = jsonLines(batch(line, {"--json"}).out);
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers[0].at("error").at("domain"), "com.tessary.cli");
    EXPECT_EQ(answers[0].at("error").at("code"), 2);
  }
  EXPECT_EQ(volumeNames(), before);
}

// The bare rules give the place of a folder's entry away while the folder is still in the tree.
TEST_F(Batch, KindOfTheArgumentDecidesWhereAFolderAndAFileShareAPlace) {
  const Answer answer = batch("mkdir /Drums/Sub\ncp /KICK /Drums/Sub\ncp '/Big Kick' /Drums\ncat @35:0\n"
                              "ls @35:0 --csv\ncat @35:0/KICK\nrm @35:0 --json\n",
                              {"--exact"});
  EXPECT_EQ(answer.status, 0) << answer;
  EXPECT_NE(
      answer.out.find(
          "\nbig kickPath,Name,Type,Format,Presets,Samples,Bytes,Place\n@35:0/KICK,KICK,Bank,,,,4,@36:0\n"
          "kick{\"ok\":true"),
      std::string::npos)
      << answer;
}

TEST_F(Batch, AddressesFollowTheChangesOfEarlierLines) {
  EXPECT_EQ(batch("rename /KICK ONE\nmkdir /New\nmv /ONE /New\ncat /New/ONE\n").status, 0);
}

TEST_F(Batch, NulInALineIsThatLinesError) {
  EXPECT_EQ(batch(std::string("rename /KICK A\0B\ncat /KICK\n", 27)),
            (Answer{1, "kick", "tessary-cli: line 1: the line holds a NUL character\n"}));
}

TEST_F(Batch, AllLinesWorkOnOneMount) {
  // By the bare rules only the tree in memory knows a name that its entry had to cut.
  EXPECT_EQ(batch("rename /KICK aaaaaaaaaaaaaaä\ncat /aaaaaaaaaaaaaaä\n", {"--exact"}),
            (Answer{0, "Renamed /KICK to aaaaaaaaaaaaaaä\nkick", ""}));
}

TEST_F(Batch, NamesAreThoseOfTheEntries) {
  EXPECT_EQ(batch("rename /KICK aaaaaaaaaaaaaaä\ncat /aaaaaaaaaaaaaa\n"),
            (Answer{0, "Renamed /KICK to aaaaaaaaaaaaaa\nkick", ""}));
}

TEST_F(Batch, ImageThatDoesNotOpenReadsNoLine) {
  EXPECT_EQ(runCli({"batch", "/nowhere.hda"}, "info\ninfo\n"),
            (Answer{1, "", "tessary-cli: Cannot open file: /nowhere.hda: No such file or directory\n"}));
}

} // namespace
} // namespace tessary::test
