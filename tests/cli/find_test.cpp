// find: names in any number of images.

#include "tests/cli/CliRun.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/HostFiles.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace tessary::test {
namespace {

using Words = std::vector<std::string>;

class Find : public CliTest {
protected:
  Find() {
    ImageBuilder first;
    FolderBuilder drums = first.root().addFolder("Drums");
    drums.addFile("KICK", IffBank().preset("Big Kick").sample("Kick C1", patternBytes(100)).build());
    drums.addFile("KICK", bytesOf("another"));
    first.writeTo(a_);
    ImageBuilder second;
    second.root().addFile("Kickless", bytesOf("x"), {.type = 0x82});
    second.root().addFolder("kicks");
    second.root().addFile("GONE KICK", bytesOf("x"), {.type = 0});
    second.writeTo(b_);
  }

  std::string a_ = hostPath("a.hda");
  std::string b_ = hostPath("b.hda");
};

TEST_F(Find, ShowsALineForEachNameInTheOrderOfTheImages) {
  EXPECT_EQ(runCli({"find", "kick", b_, a_}),
            (Answer{0,
                    b_ + ": /Kickless: file\n" + b_ + ": /kicks: folder\n" + a_ + ": /Drums/KICK: file\n" +
                        a_ + ": /Drums/KICK: preset 0: Big Kick\n" + a_ +
                        ": /Drums/KICK: sample 1: Kick C1\n" + a_ + ": /Drums/KICK: file\n",
                    ""}));
}

TEST_F(Find, JsonTellsWhereEachNameIs) {
  nlohmann::json expected = parsedJson(R"({"ok":true,"matches":[
      {"path":"/Drums/KICK","place":"@35:0","kind":"file","name":"KICK","index":null},
      {"path":"/Drums/KICK","place":"@35:0","kind":"preset","name":"Big Kick","index":0},
      {"path":"/Drums/KICK","place":"@35:0","kind":"sample","name":"Kick C1","index":1},
      {"path":"/Drums/KICK","place":"@35:1","kind":"file","name":"KICK","index":null}],"results":[]})");
  for (nlohmann::json &match : expected.at("matches"))
    match["image"] = a_;
  EXPECT_EQ(jsonOf(runCli({"find", "KICK", a_, "--json"})), expected);
}

TEST_F(Find, LooksForTheKindsThatAreNamed) {
  const auto count = [&](const Words &options) {
    Words words{"find", "kick", a_, b_};
    words.insert(words.end(), options.begin(), options.end());
    const std::string out = runCli(words).out;
    return std::count(out.begin(), out.end(), '\n');
  };
  EXPECT_EQ(count({"--files"}), 3);
  EXPECT_EQ(count({"--folders"}), 1);
  EXPECT_EQ(count({"--presets"}), 1);
  EXPECT_EQ(count({"--samples"}), 1);
  EXPECT_EQ(count({"--presets", "--samples"}), 2);
  EXPECT_EQ(count({}), 6);
}

TEST_F(Find, PatternWithWildcardsIsTheWholeName) {
  EXPECT_EQ(runCli({"find", "kick*", b_}).out, b_ + ": /Kickless: file\n" + b_ + ": /kicks: folder\n");
  EXPECT_EQ(runCli({"find", "kick?", b_}).out, b_ + ": /kicks: folder\n");
  EXPECT_EQ(runCli({"find", "?ick", a_, "--presets"}), (Answer{1, "", ""}));
  EXPECT_EQ(runCli({"find", "\\kick", b_, "--folders"}).out, b_ + ": /kicks: folder\n");
}

TEST_F(Find, CaseIsPassedOverBeyondTheAlphabetToo) {
  ImageBuilder image;
  image.root().addFile("FLÖTE", bytesOf("x"), {.type = 0x82});
  use(image);
  EXPECT_EQ(runCli({"find", "flöte", imagePath()}).out, imagePath() + ": /FLÖTE: file\n");
}

TEST_F(Find, LooksBelowHostFoldersForImagesInTheOrderOfTheirNames) {
  const std::string top = newHostFolder("images");
  std::filesystem::create_directories(top + "/deep/er");
  std::filesystem::copy_file(b_, top + "/z.HDA");
  std::filesystem::copy_file(b_, top + "/deep/er/y.hda");
  std::filesystem::copy_file(b_, top + "/deep/no.img");
  std::filesystem::create_directory_symlink(top, top + "/deep/loop");
  EXPECT_EQ(runCli({"find", "kicks", top}).out,
            top + "/z.HDA: /kicks: folder\n" + top + "/deep/er/y.hda: /kicks: folder\n");
}

TEST_F(Find, NothingFoundIsStatus1) {
  EXPECT_EQ(runCli({"find", "snare", a_, b_}), (Answer{1, "", ""}));
  EXPECT_EQ(jsonOf(runCli({"find", "snare", a_, "--json"})),
            parsedJson(R"({"ok":false,"matches":[],"results":[]})"));
}

TEST_F(Find, ImageThatCannotBeReadIsToldAndTheOthersAreSearched) {
  const std::string missing = hostPath("none.hda");
  const std::string message = "Cannot open file: " + missing + ": No such file or directory";
  EXPECT_EQ(runCli({"find", "kicks", missing, b_}),
            (Answer{1, b_ + ": /kicks: folder\n", "tessary-cli: " + message + "\n"}));
  const nlohmann::json answer = jsonOf(runCli({"find", "kicks", missing, b_, "--json"}));
  EXPECT_EQ(answer.at("matches").size(), 1U);
  EXPECT_EQ(answer.at("results").at(0).at("item"), missing);
  EXPECT_EQ(answer.at("results").at(0).at("error").at("message"), message);
}

TEST_F(Find, ManyImagesComeInTheirOrder) {
  Words words{"find", "kicks"};
  std::string expected;
  for (int i = 0; i < 40; ++i) {
    words.push_back(b_);
    expected += b_ + ": /kicks: folder\n";
    words.push_back(a_);
  }
  EXPECT_EQ(runCli(words).out, expected);
}

TEST_F(Find, ChangesNothingAndClaimsNothing) {
  const Bytes before = readBytes(a_);
  EXPECT_EQ(runCli({"find", "", a_}).status, 0);
  EXPECT_TRUE(readBytes(a_) == before);
  EXPECT_EQ(runCli({"find", "kick"}).status, 2);
}

TEST_F(Find, InterruptionEndsIt) {
  EXPECT_EQ(
      runCli({"find", "kick", a_}, "", {.errIsTerminal = false, .interrupted = [] { return true; }}).status,
      130);
}

} // namespace
} // namespace tessary::test
