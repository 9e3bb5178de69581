// cp, mv, rm, rename, mkdir, rmdir.

#include "tests/cli/CliRun.h"
#include "tests/support/HostFiles.h"
#include "tests/support/OtherUser.h"

#include <string>
#include <vector>

namespace tessary::test {
namespace {

using Names = std::vector<std::string>;

class Change : public CliTest {
protected:
  Change() {
    ImageBuilder image;
    FolderBuilder root = image.root();
    root.addFile("KICK", bytesOf("kick"));
    root.addFile("KNOCK", bytesOf("knock"));
    root.addFile("SNARE", bytesOf("snare"));
    root.addFolder("Drums").addFile("HAT", bytesOf("hat"));
    root.addFolder("Empty");
    root.addFolder("Nest").addFolder("Inner").addFile("DEEP", bytesOf("deep"));
    use(image);
  }

  void expectUnchanged() const {
    EXPECT_EQ(volumeNames(), (Names{"KICK", "KNOCK", "SNARE", "Drums/", "Empty/", "Nest/"}));
    EXPECT_EQ(volumeNames("/Drums"), Names{"HAT"});
  }
  std::string contents(const std::string &word) const { return cli("cat", {word}).out; }
};

TEST_F(Change, CpCopiesFilesIntoAFolder) {
  EXPECT_EQ(cli("cp", {"/KICK", "/SNARE", "/Drums"}),
            (Answer{0, "Copied /KICK into /Drums\nCopied /SNARE into /Drums\n", ""}));
  EXPECT_EQ(volumeNames("/Drums"), (Names{"HAT", "KICK", "SNARE"}));
  EXPECT_EQ(volumeNames(), (Names{"KICK", "KNOCK", "SNARE", "Drums/", "Empty/", "Nest/"}));
  EXPECT_EQ(contents("/Drums/KICK"), "kick");
}

TEST_F(Change, CpTakesPatterns) {
  EXPECT_EQ(cliItems("cp", {"/K*", "/Drums/*", "/Empty"}), allDone({"/KICK", "/KNOCK", "/Drums/HAT"}));
  EXPECT_EQ(volumeNames("/Empty"), (Names{"KICK", "KNOCK", "HAT"}));
}

TEST_F(Change, MatchesAreSettledBeforeTheFirstChange) {
  EXPECT_EQ(cliItems("cp", {"/*", "/"}), allDone({"/KICK", "/KNOCK", "/SNARE"}));
  EXPECT_EQ(volumeNames(),
            (Names{"KICK", "KNOCK", "SNARE", "KICK", "KNOCK", "SNARE", "Drums/", "Empty/", "Nest/"}));
}

TEST_F(Change, MvMovesFilesIntoAFolder) {
  EXPECT_EQ(cli("mv", {"/K*", "/Drums"}),
            (Answer{0, "Moved /KICK into /Drums\nMoved /KNOCK into /Drums\n", ""}));
  EXPECT_EQ(volumeNames("/Drums"), (Names{"HAT", "KICK", "KNOCK"}));
  EXPECT_EQ(volumeNames(), (Names{"SNARE", "Drums/", "Empty/", "Nest/"}));
  EXPECT_EQ(contents("/Drums/KNOCK"), "knock");
}

TEST_F(Change, MvWithinOneFolderChangesNothing) {
  const Bytes before = readBytes(imagePath());
  EXPECT_EQ(cliItems("mv", {"/KICK", "/"}), allDone({"/KICK"}));
  EXPECT_EQ(readBytes(imagePath()), before);
}

TEST_F(Change, LastWordOfCpAndMvIsAFolder) {
  for (const char *command : {"cp", "mv"}) {
    EXPECT_EQ(cli(command, {"/KICK", "/SNARE"}),
              (Answer{1, "", "tessary-cli: Not a folder but a file: /SNARE\n"}));
    EXPECT_EQ(cli(command, {"/KICK", "/None"}), (Answer{1, "", "tessary-cli: No such folder: /None\n"}));
    EXPECT_EQ(cli(command, {"/KICK", "/D*"}), (Answer{1, "", "tessary-cli: No such folder: /D*\n"}));
  }
  expectUnchanged();
}

TEST_F(Change, WordThatNamesNothingStopsTheWholeCommand) {
  for (const char *word : {"/NONE", "/N*", "/Drums", "NONE", "@34:9"}) {
    EXPECT_EQ(cli("cp", {"/KICK", word, "/Drums"}).status, 1) << word;
    EXPECT_EQ(cli("mv", {"/KICK", word, "/Drums"}).status, 1) << word;
    EXPECT_EQ(cli("rm", {"/KICK", word}).status, 1) << word;
  }
  expectUnchanged();
}

TEST_F(Change, FailingItemsAreToldAndTheOthersDone) {
  ImageBuilder image;
  FolderBuilder full = image.root().addFolder("Full", {.blockCount = 7}); // it cannot grow
  for (int i = 0; i < 111; ++i)
    full.addFile("F" + std::to_string(i), bytesOf("x"), {.slot = std::uint16_t{1}, .storesContents = false});
  image.root().addFile("A", bytesOf("a"));
  image.root().addFile("B", bytesOf("b"));
  use(image);
  EXPECT_EQ(cliItems("cp", {"/A", "/B", "/Full"}),
            parsedJson(R"({"ok":false,"results":[{"item":"/A","ok":true},
      {"item":"/B","ok":false,"error":{"domain":"com.tessary.error","code":7,
      "message":"Destination directory is full"}}]})"));
  EXPECT_EQ(cli("cp", {"/A", "/B", "/Full"}), (Answer{1, "",
                                                      "tessary-cli: /A: Destination directory is full\n"
                                                      "tessary-cli: /B: Destination directory is full\n"}));
}

TEST_F(Change, RmDeletesFiles) {
  EXPECT_EQ(cli("rm", {"/SNARE", "/Drums/HAT"}), (Answer{0, "Deleted /SNARE\nDeleted /Drums/HAT\n", ""}));
  EXPECT_EQ(volumeNames(), (Names{"KICK", "KNOCK", "Drums/", "Empty/", "Nest/"}));
  EXPECT_EQ(volumeNames("/Drums"), Names{});
}

TEST_F(Change, RmTakesPatternsAndEachFileOnce) {
  EXPECT_EQ(cliItems("rm", {"/KICK", "/K*", "@34:0"}), allDone({"/KICK", "/KNOCK"}));
  EXPECT_EQ(volumeNames(), (Names{"SNARE", "Drums/", "Empty/", "Nest/"}));
}

TEST_F(Change, RmReachesTheSecondOfOneNameByItsPlace) {
  ASSERT_EQ(cli("cp", {"/KICK", "/"}).status, 0);
  ASSERT_EQ(cliJson("ls").at("folder").at("files").at(3).at("dentryOffset"), 6);
  EXPECT_EQ(cliItems("rm", {"@34:6"}), allDone({"@34:6"}));
  EXPECT_EQ(contents("@34:0"), "kick");
}

TEST_F(Change, RenameGivesTheNameAsItIs) {
  EXPECT_EQ(cli("rename", {"/KICK", " Big/Kick* "}), (Answer{0, "Renamed /KICK to  Big/Kick*\n", ""}))
      << "the name that the entry then has";
  EXPECT_EQ(cliItems("rename", {"/ Big\\/Kick*", "a\\b"}), allDone({"/ Big\\/Kick*"}));
  EXPECT_EQ(volumeNames().front(), "a\\b");
}

TEST_F(Change, RootHasNoNameToChange) {
  EXPECT_EQ(cli("rename", {"/", "X"}),
            (Answer{1, "", "tessary-cli: The root folder has no name to change: /\n"}));
}

TEST_F(Change, RenameDoesNotCompareNames) {
  EXPECT_EQ(cli("rename", {"/KICK", "SNARE"}).status, 0);
  EXPECT_EQ(volumeNames(), (Names{"SNARE", "KNOCK", "SNARE", "Drums/", "Empty/", "Nest/"}));
}

TEST_F(Change, NamesThatTheEngineRefusesAreItsErrors) {
  const nlohmann::json refused = parsedJson(R"({"ok":false,"results":[{"item":"/KICK","ok":false,"error":
      {"domain":"com.tessary.error","code":6,"message":"Name must be 1–15 characters"}}]})");
  EXPECT_EQ(cliJson("rename", {"/KICK", ""}), refused);
  EXPECT_EQ(cliJson("rename", {"/KICK", "0123456789abcdef"}), refused);
  EXPECT_EQ(cliJson("rename", {"/KICK", "   "}), refused);
  EXPECT_EQ(cli("rename", {"/KICK", ""}),
            (Answer{1, "", "tessary-cli: /KICK: Name must be 1–15 characters\n"}));
  EXPECT_EQ(cli("mkdir", {"/0123456789abcdef"}),
            (Answer{1, "", "tessary-cli: /0123456789abcdef: Name must be 1–15 characters\n"}));
  EXPECT_EQ(cli("mkdir", {"/"}), (Answer{1, "", "tessary-cli: /: Name must be 1–15 characters\n"}));
  EXPECT_EQ(cli("mkdir", {"/Drums/"}),
            (Answer{1, "", "tessary-cli: /Drums/: Name must be 1–15 characters\n"}));
  expectUnchanged();
}

TEST_F(Change, MkdirCreatesTheLastPartInTheFolderBeforeIt) {
  EXPECT_EQ(cli("mkdir", {"/Drums/New"}), (Answer{0, "Created the folder /Drums/New\n", ""}));
  EXPECT_EQ(cliItems("mkdir", {"@34:3/A\\/B*"}), allDone({"@34:3/A\\/B*"}));
  EXPECT_EQ(volumeNames("/Drums"), (Names{"HAT", "New/", "A/B*/"}));
  EXPECT_EQ(cli("mkdir", {"/Drums"}).status, 0);
  EXPECT_EQ(volumeNames(), (Names{"KICK", "KNOCK", "SNARE", "Drums/", "Empty/", "Nest/", "Drums/"}));
}

TEST_F(Change, MkdirMakesNoFoldersOnTheWay) {
  EXPECT_EQ(cli("mkdir", {"/None/New"}),
            (Answer{1, "", "tessary-cli: No such folder to make it in: /None/New\n"}));
  EXPECT_EQ(cli("mkdir", {"@34:3"}),
            (Answer{1, "", "tessary-cli: A place gives no name to something new: @34:3\n"}));
  expectUnchanged();
}

TEST_F(Change, RmdirDeletesAnEmptyFolder) {
  EXPECT_EQ(cli("rmdir", {"/Empty"}), (Answer{0, "Deleted the folder /Empty\n", ""}));
  EXPECT_EQ(volumeNames(), (Names{"KICK", "KNOCK", "SNARE", "Drums/", "Nest/"}));
}

TEST_F(Change, RmdirWithoutRRefusesAFolderWithFilesOrFolders) {
  EXPECT_EQ(cli("rmdir", {"/Drums"}), (Answer{1, "", "tessary-cli: The folder is not empty: /Drums\n"}));
  EXPECT_EQ(cliJson("rmdir", {"/Nest"}), failure("com.tessary.cli", 4, "The folder is not empty: /Nest"));
  expectUnchanged();
}

TEST_F(Change, RmdirWithRDeletesEverythingBelow) {
  EXPECT_EQ(cliItems("rmdir", {"/Nest", "-R"}), allDone({"/Nest"}));
  EXPECT_EQ(cliItems("rmdir", {"-R", "@34:3"}), allDone({"@34:3"}));
  EXPECT_EQ(volumeNames(), (Names{"KICK", "KNOCK", "SNARE", "Empty/"}));
}

TEST_F(Change, RmdirNeverDeletesTheRoot) {
  EXPECT_EQ(cli("rmdir", {"/", "-R"}),
            (Answer{1, "", "tessary-cli: The root folder cannot be deleted: /\n"}));
  EXPECT_EQ(cli("rmdir", {"/"}).status, 1);
  expectUnchanged();
}

TEST_F(Change, RmdirTakesAFolderAndNoPattern) {
  EXPECT_EQ(cli("rmdir", {"/KICK"}), (Answer{1, "", "tessary-cli: Not a folder but a file: /KICK\n"}));
  EXPECT_EQ(cli("rmdir", {"/E*"}), (Answer{1, "", "tessary-cli: No such folder: /E*\n"}));
}

TEST_F(Change, ReadOnlyImageIsRefusedByEveryCommandThatChangesIt) {
  makeReadOnly();
  const OtherUser user;
  const std::vector<Names> lines{{"cp", "/KICK", "/Drums"}, {"mv", "/KICK", "/Drums"}, {"mv", "/KICK", "/"},
                                 {"rm", "/KICK"},           {"rename", "/KICK", "X"},  {"mkdir", "/New"},
                                 {"rmdir", "/Empty"}};
  for (const Names &line : lines) {
    const nlohmann::json answer = cliJson(line.front(), {line.begin() + 1, line.end()});
    EXPECT_EQ(answer.at("results").at(0).at("error"),
              parsedJson(R"({"domain":"com.tessary.error","code":3,"message":"Image is read-only"})"))
        << line.front();
  }
  expectUnchanged();
}

// The bare rules take a folder's own entry for a free one: its type byte is 0.
TEST_F(Change, GuardsKeepFoldersEntries) {
  ASSERT_EQ(cli("mkdir", {"/New"}).status, 0);
  ASSERT_EQ(cli("cp", {"/KICK", "/"}).status, 0);
  const Names names = volumeNames();
  EXPECT_EQ(std::count(names.begin(), names.end(), "New/"), 1);
}

TEST_F(Change, ExactFollowsTheBareRules) {
  ASSERT_EQ(cli("cp", {"--exact", "/KICK", "/"}).status, 0);
  EXPECT_EQ(volumeNames(), (Names{"KICK", "KNOCK", "SNARE", "KICK", "Empty/", "Nest/"}));
}

TEST_F(Change, ExactHoldsForEachCommandThatChangesTheVolume) {
  EXPECT_EQ(cli("rename", {"--exact", "/KICK", "   "}).status, 0);
  EXPECT_EQ(cli("mkdir", {"--exact", "/Empty/   "}).status, 0);
  EXPECT_EQ(cli("mv", {"--exact", "/SNARE", "/Drums"}).status, 0);
  EXPECT_EQ(cli("rm", {"--exact", "/KNOCK"}).status, 0);
  EXPECT_EQ(cli("rmdir", {"--exact", "/Empty", "-R"}).status, 0);
}

} // namespace
} // namespace tessary::test
