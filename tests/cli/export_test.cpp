#include "tests/cli/CliRun.h"
#include "tests/support/HostFiles.h"
#include "tests/support/OtherUser.h"

#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace tessary::test {
namespace {

using Names = std::vector<std::string>;

class Export : public CliTest {
protected:
  Export() {
    ImageBuilder image;
    FolderBuilder root = image.root();
    root.addFile("KICK", bytesOf("kick 1"));
    root.addFile("KICK", bytesOf("kick 2"));
    root.addFile("KICK (2)", bytesOf("named so"));
    root.addFile("OS", bytesOf("system"), {.type = 0x80});
    FolderBuilder drums = root.addFolder("Drums");
    drums.addFile("SNARE", bytesOf("snare"));
    drums.addFile("KICK", bytesOf("kick 3"));
    drums.addFolder("Sub").addFile("DEEP", bytesOf("deep"));
    drums.addFolder("Empty");
    root.addFolder("Drums").addFile("OTHER", bytesOf("other"));
    use(image);
  }

  std::string out_ = newHostFolder("out");
  std::string inOut(const std::string &name) const { return out_ + "/" + name; }
};

TEST_F(Export, WritesTheBytesAsNameE4bWhateverTheType) {
  EXPECT_EQ(
      cli("export", {"/OS", "/Drums/SNARE", "-d", out_}),
      (Answer{
          0, "Exported /OS to " + inOut("OS.E4B") + "\nExported /Drums/SNARE to " + inOut("SNARE.E4B") + "\n",
          ""}));
  EXPECT_EQ(namesIn(out_), (Names{"OS.E4B", "SNARE.E4B"}));
  EXPECT_EQ(readText(inOut("OS.E4B")), "system");
  EXPECT_EQ(readText(inOut("SNARE.E4B")), "snare");
}

TEST_F(Export, JsonHasAMemberForEachItem) {
  EXPECT_EQ(cliItems("export", {"/OS", "/Drums/SNARE", "-d", out_}), allDone({"/OS", "/Drums/SNARE"}));
}

TEST_F(Export, CurrentFolderIsTheDefault) {
  const CurrentFolder current(out_);
  EXPECT_EQ(cli("export", {"/OS"}), (Answer{0, "Exported /OS to OS.E4B\n", ""}));
  EXPECT_EQ(namesIn("."), Names{"OS.E4B"});
}

TEST_F(Export, FolderWithSlashAtTheEnd) {
  EXPECT_EQ(cli("export", {"/OS", "-d", out_ + "/"}).out, "Exported /OS to " + inOut("OS.E4B") + "\n");
}

TEST_F(Export, OutputNamesTheOneTarget) {
  const std::string target = inOut("any name");
  EXPECT_EQ(cli("export", {"/OS", "-o", target}), (Answer{0, "Exported /OS to " + target + "\n", ""}));
  EXPECT_EQ(namesIn(out_), Names{"any name"});
  EXPECT_EQ(cli("export", {"/K*", "-o", target}),
            (Answer{1, "", "tessary-cli: /K*: -o names the target of one file\n"}));
  EXPECT_EQ(readText(target), "system");
  EXPECT_EQ(cli("export", {"/O*", "-o", inOut("second")}).status, 0);
}

TEST_F(Export, LaterResultsOfOneNameAreNumbered) {
  EXPECT_EQ(cliItems("export", {"/K*", "/Drums/KICK", "-d", out_}),
            allDone({"/KICK", "@34:1", "/KICK (2)", "/Drums/KICK"}));
  EXPECT_EQ(namesIn(out_), (Names{"KICK (2) (2).E4B", "KICK (2).E4B", "KICK (3).E4B", "KICK.E4B"}));
  EXPECT_EQ(readText(inOut("KICK.E4B")), "kick 1");
  EXPECT_EQ(readText(inOut("KICK (2).E4B")), "kick 2");
  EXPECT_EQ(readText(inOut("KICK (2) (2).E4B")), "named so");
  EXPECT_EQ(readText(inOut("KICK (3).E4B")), "kick 3");
}

TEST_F(Export, FilesOfEarlierCommandsAreReplacedWhole) {
  writeText(inOut("KICK.E4B"), "something much longer than the new contents");
  EXPECT_EQ(cli("export", {"/KICK", "-d", out_}).status, 0);
  EXPECT_EQ(cli("export", {"/KICK", "-d", out_}).status, 0);
  EXPECT_EQ(namesIn(out_), Names{"KICK.E4B"});
  EXPECT_EQ(readText(inOut("KICK.E4B")), "kick 1");
}

TEST_F(Export, AFileNamedTwiceIsWrittenOnce) {
  EXPECT_EQ(cliItems("export", {"/KICK", "/K*", "@34:0", "-d", out_}),
            allDone({"/KICK", "@34:1", "/KICK (2)"}));
}

TEST_F(Export, PatternsStandForFilesOfTheLastPart) {
  EXPECT_EQ(cliItems("export", {"/Drums/*", "-d", out_}), allDone({"/Drums/SNARE", "/Drums/KICK"}));
  EXPECT_EQ(cliItems("export", {"/Drums/S?A*", "-d", out_}), allDone({"/Drums/SNARE"}));
  EXPECT_EQ(cliItems("export", {"@34:5/*", "-d", out_}), allDone({"@34:5/OTHER"}));
  EXPECT_EQ(cliJson("export", {"/D*/SNARE", "-d", out_}),
            failure("com.tessary.cli", 1, "No such file: /D*/SNARE"));
}

TEST_F(Export, EscapedWildcardsAreCharacters) {
  ImageBuilder image;
  image.root().addFile("K*", bytesOf("star"));
  image.root().addFile("KICK", bytesOf("kick"));
  use(image);
  EXPECT_EQ(cliItems("export", {"/K\\*", "-d", out_}), allDone({"/K\\*"}));
  EXPECT_EQ(namesIn(out_), Names{"K*.E4B"});
}

TEST_F(Export, NothingIsDoneWhereOneWordNamesNothing) {
  for (const char *word : {"/NONE", "/N*", "/Drums", "NONE"}) {
    EXPECT_EQ(cli("export", {"/KICK", word, "-d", out_}).status, 1) << word;
    EXPECT_EQ(namesIn(out_), Names{}) << word;
  }
}

TEST_F(Export, FolderNeedsR) {
  EXPECT_EQ(cli("export", {"/Drums/Sub", "-d", out_}),
            (Answer{1, "", "tessary-cli: Not a file but a folder: /Drums/Sub\n"}));
}

TEST_F(Export, WithRFoldersBecomeHostFoldersWithTheirTree) {
  EXPECT_EQ(cliItems("export", {"-R", "/Drums", "/OS", "-d", out_}),
            allDone({"/Drums", "/Drums/SNARE", "/Drums/KICK", "/Drums/Sub", "/Drums/Sub/DEEP", "/Drums/Empty",
                     "/OS"}));
  EXPECT_EQ(namesIn(out_), (Names{"Drums", "OS.E4B"}));
  EXPECT_EQ(namesIn(inOut("Drums")), (Names{"Empty", "KICK.E4B", "SNARE.E4B", "Sub"}));
  EXPECT_EQ(readText(inOut("Drums/Sub/DEEP.E4B")), "deep");
}

TEST_F(Export, TextTellsOfFoldersToo) {
  EXPECT_EQ(cli("export", {"-R", "/Drums/Sub", "-d", out_}),
            (Answer{0,
                    "Exported the folder /Drums/Sub to " + inOut("Sub") + "\nExported /Drums/Sub/DEEP to " +
                        inOut("Sub/DEEP.E4B") + "\n",
                    ""}));
}

TEST_F(Export, FoldersOfOneNameAreNumbered) {
  EXPECT_EQ(cliJson("export", {"-R", "/D*", "-d", out_}).at("ok"), true);
  EXPECT_EQ(namesIn(out_), (Names{"Drums", "Drums (2)"}));
  EXPECT_EQ(namesIn(inOut("Drums (2)")), Names{"OTHER.E4B"});
}

TEST_F(Export, FileAndFolderOfOneHostNameAreNumbered) {
  ImageBuilder image;
  image.root().addFile("A", bytesOf("file"));
  image.root().addFolder("A.E4B").addFile("B", bytesOf("inside"));
  use(image);
  EXPECT_EQ(cliJson("export", {"-R", "/*", "-d", out_}).at("ok"), true);
  EXPECT_EQ(namesIn(out_), (Names{"A.E4B", "A.E4B (2)"}));
  EXPECT_EQ(readText(inOut("A.E4B (2)/B.E4B")), "inside");
}

TEST_F(Export, SlashAtTheEndMeansTheFolderWhereAFileHasItsName) {
  ImageBuilder image;
  image.root().addFile("X", bytesOf("file"));
  image.root().addFolder("X");
  use(image);
  EXPECT_EQ(cliItems("export", {"-R", "/X", "-d", out_}), allDone({"/X"}));
  EXPECT_EQ(namesIn(out_), Names{"X.E4B"});
  EXPECT_EQ(cliItems("export", {"-R", "/X/", "-d", out_}), allDone({"/X/"}));
  EXPECT_EQ(namesIn(out_), (Names{"X", "X.E4B"}));
}

TEST_F(Export, FolderThatHasAFilesNameIsNamedByItsPlace) {
  ImageBuilder image;
  FolderBuilder root = image.root();
  root.addFile("Notes", bytesOf("file"));
  root.addFolder("Notes").addFile("IN", bytesOf("in"));
  FolderBuilder drums = root.addFolder("Drums");
  drums.addFile("Sub", bytesOf("file below"));
  drums.addFolder("Sub").addFile("DEEP", bytesOf("deep"));
  use(image);
  EXPECT_EQ(cliItems("export", {"-R", "/Note*", "-d", out_}), allDone({"/Notes", "@34:1", "@34:1/IN"}));
  EXPECT_EQ(namesIn(out_), (Names{"Notes", "Notes.E4B"}));
  EXPECT_EQ(cliItems("export", {"-R", "/Drums", "-d", out_}),
            allDone({"/Drums", "/Drums/Sub", "@36:1", "@36:1/DEEP"}));
  EXPECT_EQ(cliItems("export", {"-R", "@36:1", "-d", newHostFolder("again")}),
            allDone({"@36:1", "@36:1/DEEP"}));
}

TEST_F(Export, RootIsWhatIsInIt) {
  EXPECT_EQ(cliJson("export", {"-R", "/", "-d", out_}).at("ok"), true);
  EXPECT_EQ(namesIn(out_),
            (Names{"Drums", "Drums (2)", "KICK (2) (2).E4B", "KICK (2).E4B", "KICK.E4B", "OS.E4B"}));
}

TEST_F(Export, HostFoldersThatExistAreUsed) {
  std::filesystem::create_directories(inOut("Drums/Sub"));
  writeText(inOut("Drums/own file"), "the user's");
  EXPECT_EQ(cliJson("export", {"-R", "/Drums", "-d", out_}).at("ok"), true);
  EXPECT_EQ(namesIn(inOut("Drums")), (Names{"Empty", "KICK.E4B", "SNARE.E4B", "Sub", "own file"}));
}

TEST_F(Export, ResultsThatMeetInOneHostFolderAreNumbered) {
  std::filesystem::create_directory(inOut("Drums"));
  std::filesystem::create_directory_symlink("Drums", inOut("Pads"));
  ImageBuilder image;
  image.root().addFolder("Drums").addFile("KICK", bytesOf("drums"));
  image.root().addFolder("Pads").addFile("KICK", bytesOf("pads"));
  use(image);
  EXPECT_EQ(cliJson("export", {"-R", "/*", "-d", out_}).at("ok"), true);
  EXPECT_EQ(readText(inOut("Drums/KICK.E4B")), "drums");
  EXPECT_EQ(readText(inOut("Pads (2)/KICK.E4B")), "pads");
}

TEST_F(Export, NoNameSteersAPath) {
  ImageBuilder image;
  image.root().addFile("../up", bytesOf("1"));
  image.root().addFile("a/b", bytesOf("2"));
  image.root().addFile("x\ny", bytesOf("3"));
  FolderBuilder dots = image.root().addFolder("..");
  dots.addFile("IN", bytesOf("4"));
  image.root().addFolder(".").addFile("IN", bytesOf("5"));
  image.root().addFolder("/tmp").addFile("IN", bytesOf("6"));
  use(image);
  EXPECT_EQ(cliJson("export", {"-R", "/*", "-d", out_}).at("ok"), true);
  EXPECT_EQ(namesIn(out_), (Names{"%2E", "%2E%2E", "%2Ftmp", "..%2Fup.E4B", "a%2Fb.E4B", "x%0Ay.E4B"}));
  EXPECT_EQ(readText(inOut("%2E%2E/IN.E4B")), "4");
}

TEST_F(Export, ControlCharactersAreShownEscaped) {
  ImageBuilder image;
  image.root().addFile("x\ny\x1b", bytesOf("3"));
  use(image);
  EXPECT_EQ(cli("export", {"/*", "-d", out_}).out, "Exported /x\\ny\\x1b to " + inOut("x%0Ay%1B.E4B") + "\n");
  EXPECT_EQ(cliItems("export", {"/*", "-d", out_}), allDone({"/x\ny\x1b"}));
}

TEST_F(Export, AFailingItemDoesNotStopTheOthers) {
  std::filesystem::create_directory(inOut("OS.E4B"));
  EXPECT_EQ(cli("export", {"/OS", "/KICK", "-d", out_}),
            (Answer{1, "Exported /KICK to " + inOut("KICK.E4B") + "\n",
                    "tessary-cli: /OS: " + inOut("OS.E4B") + ": Is a directory\n"}));
  const nlohmann::json expected = parsedJson(
      R"({"ok":false,"results":[{"item":"/OS","ok":false,"error":{"domain":"posix","code":21,"message":")" +
      inOut("OS.E4B") + R"(: Is a directory"}},{"item":"/KICK","ok":true}]})");
  EXPECT_EQ(cliItems("export", {"/OS", "/KICK", "-d", out_}), expected);
}

TEST_F(Export, AFolderThatCannotBeMadeFailsWithWhatIsBelowIt) {
  writeText(inOut("Drums"), "in the way");
  const std::string reason = ": " + inOut("Drums") + ": File exists\n";
  EXPECT_EQ(cli("export", {"-R", "/Drums", "/OS", "-d", out_}),
            (Answer{1, "Exported /OS to " + inOut("OS.E4B") + "\n",
                    "tessary-cli: /Drums" + reason + "tessary-cli: /Drums/SNARE" + reason +
                        "tessary-cli: /Drums/KICK" + reason + "tessary-cli: /Drums/Sub" + reason +
                        "tessary-cli: /Drums/Sub/DEEP" + reason + "tessary-cli: /Drums/Empty" + reason}));
  EXPECT_EQ(readText(inOut("Drums")), "in the way");
}

TEST_F(Export, FolderThatCannotBeMadeIsOneError) {
  const std::string inAFile = imagePath() + "/folder";
  EXPECT_EQ(cli("export", {"/K*", "-d", inAFile}),
            (Answer{1, "", "tessary-cli: " + inAFile + ": Not a directory\n"}));
  EXPECT_EQ(cliJson("export", {"/K*", "-d", imagePath()}),
            failure("posix", 20, imagePath() + ": Not a directory"));
  EXPECT_EQ(cliJson("export", {"/K*", "-d", ""}).at("error").at("code"), 2);
}

TEST_F(Export, TheImageItselfIsNeverReplaced) {
  const std::string image = hostPath("KICK.E4B");
  std::filesystem::rename(imagePath(), image);
  const Bytes before = readBytes(image);
  const std::string folder = hostPath("");
  EXPECT_EQ(runCli({"export", image, "/KICK", "-d", folder}),
            (Answer{1, "", "tessary-cli: /KICK: " + image + ": This is a mounted image\n"}));
  EXPECT_EQ(
      jsonOf(runCli({"export", image, "/KICK", "-o", image, "--json"})).at("results").at(0).at("error"),
      parsedJson(R"({"domain":"posix","code":16,"message":")" + image + R"(: This is a mounted image"})"));
  EXPECT_EQ(readBytes(image), before);
}

TEST_F(Export, TheImageItselfIsNeverReplacedByALinkToItEither) {
  const Bytes before = readBytes(imagePath());
  std::filesystem::create_symlink("disk.hda", hostPath("link"));
  std::filesystem::create_hard_link(imagePath(), hostPath("hard"));
  for (const char *name : {"link", "hard"})
    EXPECT_EQ(cli("export", {"/KICK", "-o", hostPath(name)}).status, 1) << name;
  EXPECT_EQ(readBytes(imagePath()), before);
  EXPECT_TRUE(std::filesystem::is_symlink(hostPath("link")));
}

TEST_F(Export, IncompleteContentsAreNotExported) {
  ImageBuilder image;
  image.root().addFile("WHOLE", patternBytes(600, 1));
  image.root().addFile("CUT", patternBytes(3000, 2));
  image.resize((image.slotBlock(2) + 2) * kBlockBytes);
  use(image);
  writeText(out_ + "/CUT.E4B", "earlier");
  EXPECT_EQ(cli("export", {"/*", "-d", out_}), (Answer{1, "Exported /WHOLE to " + out_ + "/WHOLE.E4B\n",
                                                       "tessary-cli: /CUT: File contents are incomplete\n"}));
  EXPECT_EQ(readText(out_ + "/CUT.E4B"), "earlier");
  EXPECT_EQ(
      cliJson("export", {"/CUT", "-d", out_}).at("results").at(0).at("error"),
      parsedJson(R"({"domain":"com.tessary.error","code":2,"message":"File contents are incomplete"})"));
}

TEST_F(Export, WorksOnAReadOnlyImage) {
  makeReadOnly();
  std::filesystem::permissions(out_, std::filesystem::perms::all);
  const OtherUser user;
  EXPECT_EQ(cliItems("export", {"/OS", "-d", out_}), allDone({"/OS"}));
}

TEST_F(Export, RefusedFolderLeavesNothingBehind) {
  makeReadOnly();
  std::filesystem::permissions(out_, std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec |
                                         std::filesystem::perms::others_read |
                                         std::filesystem::perms::others_exec);
  {
    const OtherUser user;
    EXPECT_EQ(cli("export", {"/OS", "-d", out_}),
              (Answer{1, "", "tessary-cli: /OS: " + inOut("OS.E4B") + ": Permission denied\n"}));
  }
  EXPECT_EQ(namesIn(out_), Names{});
}

TEST_F(Export, ResultsHaveThePermissionsOfANewFile) {
  const mode_t before = ::umask(0027);
  EXPECT_EQ(cli("export", {"-R", "/Drums", "-d", out_}).status, 0);
  ::umask(before);
  struct stat file {};
  struct stat folder {};
  ASSERT_EQ(::stat(inOut("Drums/SNARE.E4B").c_str(), &file), 0);
  ASSERT_EQ(::stat(inOut("Drums").c_str(), &folder), 0);
  EXPECT_EQ(file.st_mode & 07777, 0640U);
  EXPECT_EQ(folder.st_mode & 07777, 0750U);
}

} // namespace
} // namespace tessary::test
