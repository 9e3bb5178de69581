#include "tests/cli/CliRun.h"
#include "tests/support/HostFiles.h"
#include "tests/support/OtherUser.h"

#include <set>
#include <string>

namespace tessary::test {
namespace {

using nlohmann::json;

/// A volume with a folder "Lost" whose entry has been cleared, and two files that share a slot.
class CheckRecover : public CliTest {
protected:
  CheckRecover() {
    ImageBuilder image;
    FolderBuilder drums = image.root().addFolder("Drums");
    drums.addFile("KICK", patternBytes(600), {.slot = 1});
    FolderBuilder lost = image.root().addFolder("Lost");
    lost.addFile("PAD", patternBytes(700), {.slot = 2});
    block_ = lost.blocks().front();
    image.pokeEntry(lost.place(), RawEntry{});
    use(image);
  }
  std::string block() const { return std::to_string(block_); }
  std::uint64_t block_ = 0;
};

TEST_F(CheckRecover, SoundVolumeHasNoFindings) {
  use(ImageBuilder());
  EXPECT_EQ(runCli({"check", imagePath()}), (Answer{0, "Nothing found.\n", ""}));
  EXPECT_EQ(runCli({"check", imagePath(), "--json"}), (Answer{0, "{\"ok\":true,\"findings\":[]}\n", ""}));
}

TEST_F(CheckRecover, FindingsNameThePathAndThePlace) {
  ImageBuilder image;
  FolderBuilder drums = image.root().addFolder("A/B");
  drums.addFile("KICK", patternBytes(600), {.slot = 1});
  const PlacedFile snare = drums.addFile("SNARE", patternBytes(600), {.slot = 1});
  use(image);
  const std::string place = "@" + std::to_string(snare.entry.block) + ":1";
  const std::string message =
      "The file shares 2 blocks (blocks 162 to 163) with “KICK” in the folder “A/B”: one of the two is "
      "damaged "
      "already, or will be when a sampler stores it anew. Listen to both, export the good one, delete both, "
      "import it again.";
  EXPECT_EQ(
      runCli({"check", imagePath()}),
      (Answer{1, "Harm: /A\\/B/SNARE (" + place + "): " + message + "\nFindings: 1, of harm: 1\n", ""}));
  const Answer answer = runCli({"check", imagePath(), "--json"});
  EXPECT_EQ(answer.status, 1);
  EXPECT_EQ(
      jsonOf(answer),
      (json{
          {"ok", false},
          {"findings",
           {{{"kind", "harm-overlap"}, {"message", message}, {"path", "/A\\/B/SNARE"}, {"place", place}}}}}));
}

// Two folders "Twin", in the second two files "SAME", a file "Notes" beside a folder "Notes". Every file's
// size field is out of range.
TEST_F(CheckRecover, PathsOfFindingsLeadToTheEntriesThemselves) {
  ImageBuilder image;
  FolderBuilder root = image.root();
  const FileOptions odd{.bytesInLastBlock = 600};
  root.addFolder("Twin").addFile("SAME", bytesOf("a"), odd);
  FolderBuilder second = root.addFolder("Twin");
  second.addFile("SAME", bytesOf("b"), odd);
  second.addFile("SAME", bytesOf("c"), odd);
  root.addFile("Notes", bytesOf("d"), odd);
  root.addFolder("Notes").addFile("IN", bytesOf("e"), odd);
  use(image);
  std::set<std::string> paths;
  const json findings = jsonOf(cli("check", {"--json"})).at("findings");
  for (const json &finding : findings) {
    if (finding.at("kind") != "oddity-size") continue;
    const std::string path = finding.at("path");
    const json file = cliJson("stat", {path}).at("file");
    EXPECT_EQ("@" + file.at("dentryBlock").dump() + ":" + file.at("dentryOffset").dump(), finding.at("place"))
        << path;
    paths.insert(path);
  }
  EXPECT_EQ(paths, (std::set<std::string>{"/Twin/SAME", "@34:1/SAME", "@36:1", "/Notes", "@34:3/IN"}));
}

TEST_F(CheckRecover, FolderWithAFilesNameIsNamedByItsPlaceAlone) {
  ImageBuilder image;
  image.root().addFile("Notes", bytesOf("file"));
  image.root().addFolder("Notes", {.blockList = {35, 20000}});
  use(image);
  const Answer answer = cli("check");
  EXPECT_NE(answer.out.find("Harm: @34:1: The folder’s block 20000"), std::string::npos) << answer;
  EXPECT_EQ(cli("ls", {"@34:1"}).status, 0);
}

TEST_F(CheckRecover, FindingsWithoutAPathHaveNone) {
  const Answer answer = runCli({"check", imagePath(), "--json"});
  EXPECT_EQ(answer.status, 1);
  const json findings = jsonOf(answer).at("findings");
  const auto lost = std::find_if(findings.begin(), findings.end(), [](const json &finding) {
    return finding.at("kind") == "harm-lost-folder";
  });
  ASSERT_NE(lost, findings.end());
  EXPECT_TRUE(lost->at("path").is_null());
  EXPECT_EQ(lost->at("place"), "@" + block() + ":0");
}

TEST_F(CheckRecover, ExactCheckAlsoNamesWhatTheBareRulesDestroy) {
  ImageBuilder image;
  image.root().addFolder("Drums");
  use(image);
  EXPECT_EQ(cli("check").status, 0);
  const Answer answer = cli("check", {"--exact", "--json"});
  EXPECT_EQ(answer.status, 1);
  const json finding = jsonOf(answer).at("findings").at(0);
  EXPECT_EQ(finding.at("kind"), "harm-bare-entry");
  EXPECT_EQ(finding.at("path"), "/Drums");
}

TEST_F(CheckRecover, CheckChangesNothing) {
  const Bytes before = readBytes(imagePath());
  runCli({"check", imagePath()});
  EXPECT_EQ(readBytes(imagePath()), before);
}

TEST_F(CheckRecover, RecoverListsLostFolders) {
  EXPECT_EQ(runCli({"recover", imagePath()}),
            (Answer{0, "Block " + block() + ", files: 1, folders: 0: PAD\n", ""}));
  EXPECT_EQ(
      jsonOf(runCli({"recover", imagePath(), "--json"})),
      (json{{"ok", true},
            {"folders", {{{"block", block_}, {"fileCount", 1}, {"folderCount", 0}, {"names", {"PAD"}}}}}}));
  use(ImageBuilder());
  EXPECT_EQ(runCli({"recover", imagePath()}), (Answer{0, "No lost folders.\n", ""}));
}

TEST_F(CheckRecover, RecoverSaysWhatItDoesAndDoesIt) {
  const Answer answer =
      runCli({"recover", imagePath(), "--block", block(), "--to", "/Drums", "--name", "Back"});
  EXPECT_EQ(answer, (Answer{0,
                            "The folder in block " + block() +
                                " gets an entry “Back” in /Drums (files: 1, folders: 0: PAD)\n"
                                "Brought back the folder in block " +
                                block() + " as “Back”\n",
                            ""}));
  EXPECT_EQ(runCli({"cat", imagePath(), "/Drums/Back/PAD"}).out.size(), 700U);
}

TEST_F(CheckRecover, RecoverNamesTheFolderByItsBlockWhenNoNameIsGiven) {
  EXPECT_EQ(itemsOf(jsonOf(runCli({"recover", imagePath(), "--block", block(), "--to", "/", "--json"}))),
            allDone({block()}));
  EXPECT_EQ(runCli({"ls", imagePath(), "/Recovered " + block()}).status, 0);
}

TEST_F(CheckRecover, DryRunChangesNothing) {
  const Bytes before = readBytes(imagePath());
  const Answer answer = runCli({"recover", imagePath(), "--block", block(), "--to", "/", "--dry-run"});
  EXPECT_EQ(answer.status, 0);
  EXPECT_NE(answer.out.find("Dry run: nothing was written."), std::string::npos);
  EXPECT_EQ(readBytes(imagePath()), before);
}

class RecoverRefused : public CheckRecover {
protected:
  // By the change and by its rehearsal alike, in both forms of the answer.
  void expectRefusal(const std::string &to, const std::string &name, int code, const std::string &message) {
    const Bytes before = readBytes(imagePath());
    for (const bool rehearses : {false, true}) {
      std::vector<std::string> words{"--block", block(), "--to", to, "--name", name};
      if (rehearses) words.push_back("--dry-run");
      const Answer answer = cli("recover", words);
      EXPECT_EQ(answer.status, 1) << answer;
      EXPECT_EQ(answer.err, "tessary-cli: " + block() + ": " + message + "\n");
      json results{{{"item", block()}, {"ok", false}}};
      results[0]["error"] = failure("com.tessary.error", code, message).at("error");
      EXPECT_EQ(cliItems("recover", words), (json{{"ok", false}, {"results", results}}));
    }
    EXPECT_EQ(readBytes(imagePath()), before);
  }
};

TEST_F(RecoverRefused, NamesThatTheEntryCannotHold) {
  for (const char *name : {"", "    ", "sixteen letters!"})
    expectRefusal("/Drums", name, 6, "Name must be 1–15 characters");
}

TEST_F(RecoverRefused, FullFolder) {
  ImageBuilder image;
  FolderBuilder lost = image.root().addFolder("Lost");
  lost.addFile("PAD", patternBytes(700));
  const RawEntry file = rawFileEntry("HERE", 0x81, 1, 9, 1, 0, 0);
  for (int i = 0; i < 15; ++i)
    image.root().addFile("F" + std::to_string(i));
  image.pokeEntry(lost.place(), file);
  block_ = lost.blocks().front();
  use(image);
  expectRefusal("/", "Back", 7, "Parent directory is full"); // the root does not grow
}

TEST_F(RecoverRefused, ReadOnlyImage) {
  makeReadOnly();
  const OtherUser user;
  expectRefusal("/", "Back", 3, "Image is read-only");
  EXPECT_EQ(cli("recover"), (Answer{0, "Block " + block() + ", files: 1, folders: 0: PAD\n", ""}));
}

TEST_F(CheckRecover, RefusesABlockThatIsNoLostFolder) {
  const Bytes before = readBytes(imagePath());
  const Answer answer = runCli({"recover", imagePath(), "--block", "9999", "--to", "/"});
  EXPECT_EQ(answer.status, 1);
  EXPECT_NE(answer.err.find("No lost folder in block 9999"), std::string::npos);
  EXPECT_EQ(readBytes(imagePath()), before);
}

TEST_F(CheckRecover, WordsThatDoNotGoTogetherAreWrong) {
  EXPECT_EQ(runCli({"recover", imagePath(), "--block", block()}).status, 2);
  EXPECT_EQ(runCli({"recover", imagePath(), "--to", "/"}).status, 2);
  EXPECT_EQ(runCli({"recover", imagePath(), "--name", "Back"}).status, 2);
  EXPECT_EQ(runCli({"recover", imagePath(), "--block", "x", "--to", "/"}).status, 2);
}

} // namespace
} // namespace tessary::test
