#include "tests/cli/CliRun.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/HostFiles.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace tessary::test {
namespace {

using Names = std::vector<std::string>;

class Samples : public CliTest {
protected:
  Samples() {
    ImageBuilder image;
    FolderBuilder root = image.root();
    root.addFile("BRASS", IffBank()
                              .preset("Brass")
                              .sample("one", patternBytes(1000, 1))
                              .sample("two", patternBytes(500, 2), "ESND")
                              .sample("three", patternBytes(300, 3))
                              .build());
    root.addFile("LOST", IffBank().toc({.type = "E4S1", .name = "gone"}).build());
    root.addFile("OLD", emulatorThreeBank("Old", 1, 2));
    root.addFile("OS", bytesOf("system"), {.type = 0x80});
    root.addFile("ON/E", IffBank().sample("../o/ne", patternBytes(100, 1)).build());
    root.addFile("TWICE", IffBank()
                              .sample("one", patternBytes(100, 1))
                              .sample("two", patternBytes(200, 2))
                              .sample("one", patternBytes(300, 3))
                              .sample("", patternBytes(400, 4), "E3S1")
                              .build());
    use(image);
  }

  std::string out_ = newHostFolder("out");
  std::string inOut(const std::string &name) const { return out_ + "/" + name; }
};
using Wav = Samples;

TEST_F(Samples, AreListedInTheirOrder) {
  EXPECT_EQ(cliJson("samples", {"/BRASS"}), parsedJson(R"({"ok":true,"samples":["E4S1","ESND","E4S1"]})"));
  EXPECT_EQ(
      cli("samples", {"/BRASS"}),
      (Answer{0, "Index  Sample  Name\n    0  E4S1    one\n    1  ESND    two\n    2  E4S1    three\n", ""}));
}

TEST_F(Samples, BanksOfOtherFormatsListNone) {
  EXPECT_EQ(cliJson("samples", {"/OLD"}), parsedJson(R"({"ok":true,"samples":[]})"));
  EXPECT_EQ(cli("samples", {"/OLD"}), (Answer{0, "Index  Sample  Name\n", ""}));
}

TEST_F(Samples, FileThatIsNoBankIsTheEnginesError) {
  EXPECT_EQ(cliJson("samples", {"/OS"}), failure("com.tessary.error", 6, "Not a bank file"));
  EXPECT_EQ(cli("samples", {"/OS"}), (Answer{1, "", "tessary-cli: /OS: Not a bank file\n"}));
}

TEST_F(Wav, AllSamplesAreNamedAfterBankAndSample) {
  EXPECT_EQ(cli("wav", {"/BRASS", "-d", out_}),
            (Answer{0,
                    "Exported /BRASS[0] to " + inOut("BRASS_one.wav") + "\nExported /BRASS[1] to " +
                        inOut("BRASS_two.wav") + "\nExported /BRASS[2] to " + inOut("BRASS_three.wav") + "\n",
                    ""}));
  EXPECT_EQ(namesIn(out_), (Names{"BRASS_one.wav", "BRASS_three.wav", "BRASS_two.wav"}));
  EXPECT_EQ(readBytes(inOut("BRASS_three.wav"), 44, 300), patternBytes(300, 3)) << "its own chunk";
  const std::string wav = readText(inOut("BRASS_two.wav"));
  EXPECT_EQ(wav.size(), 544U);
  EXPECT_EQ(wav.substr(0, 4) + wav.substr(8, 8), "RIFFWAVEfmt ");
}

TEST_F(Wav, FourSamplesOfOneTypeAreFourFilesEachWithItsOwnAudio) {
  const std::vector<std::pair<std::string, Bytes>> samples{{"Kick", patternBytes(1000, 1)},
                                                           {"Snare", patternBytes(1000, 2)},
                                                           {"Hat", patternBytes(640, 3)},
                                                           {"Crash", patternBytes(2048, 4)}};
  IffBank bank;
  for (const auto &[name, audio] : samples)
    bank.sample(name, audio);
  ImageBuilder image;
  image.root().addFile("DRUMS", bank.build());
  use(image);
  EXPECT_EQ(cliItems("wav", {"/DRUMS", "-d", out_}),
            allDone({"/DRUMS[0]", "/DRUMS[1]", "/DRUMS[2]", "/DRUMS[3]"}));
  EXPECT_EQ(namesIn(out_), (Names{"DRUMS_Crash.wav", "DRUMS_Hat.wav", "DRUMS_Kick.wav", "DRUMS_Snare.wav"}));
  for (const auto &[name, audio] : samples) {
    const Bytes wav = readBytes(inOut("DRUMS_" + name + ".wav"));
    ASSERT_EQ(wav.size(), 44 + audio.size()) << name;
    EXPECT_TRUE(std::equal(audio.begin(), audio.end(), wav.begin() + 44)) << name;
  }
}

TEST_F(Wav, NamesThatOneCommandWouldWriteTwiceAreNumbered) {
  EXPECT_EQ(cli("wav", {"/TWICE", "-d", out_}).status, 0);
  EXPECT_EQ(namesIn(out_), (Names{"TWICE_E3S1.wav", "TWICE_one (2).wav", "TWICE_one.wav", "TWICE_two.wav"}));
  EXPECT_EQ(readBytes(inOut("TWICE_one (2).wav"), 44, 300), patternBytes(300, 3));
  EXPECT_EQ(cli("wav", {"/TWICE", "2", "-d", out_}).status, 0) << "another command writes over it";
  EXPECT_EQ(readBytes(inOut("TWICE_one.wav"), 44, 300), patternBytes(300, 3));
}

TEST_F(Wav, ExactSamplesAreNamedAfterTheirTypeAndTakenFromTheFirstChunk) {
  EXPECT_EQ(cli("wav", {"/TWICE", "-d", out_, "--exact"}).status, 0);
  EXPECT_EQ(namesIn(out_),
            (Names{"TWICE_E3S1.wav", "TWICE_E4S1 (2).wav", "TWICE_E4S1 (3).wav", "TWICE_E4S1.wav"}));
  EXPECT_EQ(readBytes(inOut("TWICE_E4S1 (3).wav")), readBytes(inOut("TWICE_E4S1.wav")));
}

TEST_F(Wav, JsonHasAMemberForEachSample) {
  EXPECT_EQ(cliItems("wav", {"/BRASS", "-d", out_}), allDone({"/BRASS[0]", "/BRASS[1]", "/BRASS[2]"}));
}

TEST_F(Wav, OneSampleByItsIndex) {
  EXPECT_EQ(cliItems("wav", {"/BRASS", "1", "-d", out_}), allDone({"/BRASS[1]"}));
  EXPECT_EQ(namesIn(out_), Names{"BRASS_two.wav"});
  EXPECT_EQ(cliItems("wav", {"/BRASS", "2", "-d", out_}), allDone({"/BRASS[2]"}));
  EXPECT_EQ(namesIn(out_), (Names{"BRASS_three.wav", "BRASS_two.wav"}));
  EXPECT_EQ(cliItems("wav", {"/BRASS", "0", "-o", inOut("any")}), allDone({"/BRASS[0]"}));
  EXPECT_EQ(readBytes(inOut("any"), 44, 1000), patternBytes(1000, 1));
}

TEST_F(Wav, OutputIsForOneSample) {
  EXPECT_EQ(cliJson("wav", {"/BRASS", "-o", inOut("any")}),
            failure("com.tessary.cli", 4, "-o names the target of one sample"));
  EXPECT_EQ(cliItems("wav", {"/ON\\/E", "-o", inOut("any")}), allDone({"/ON\\/E[0]"}));
  EXPECT_EQ(namesIn(out_), Names{"any"});
}

TEST_F(Wav, NamesDoNotSteerThePath) {
  EXPECT_EQ(cli("wav", {"/ON\\/E", "-d", out_}).status, 0);
  EXPECT_EQ(namesIn(out_), Names{"ON%2FE_..%2Fo%2Fne.wav"});
}

TEST_F(Wav, ErrorsOfOneSampleAreTheExportsOwn) {
  const auto failed = [](const std::string &item, int code, const std::string &message) {
    return parsedJson(R"({"ok":false,"results":[{"item":")" + item +
                      R"(","ok":false,"error":{"domain":"com.tessary.error","code":)" + std::to_string(code) +
                      R"(,"message":")" + message + R"("}}]})");
  };
  EXPECT_EQ(cliJson("wav", {"/BRASS", "3", "-d", out_}), failed("/BRASS[3]", 6, "Sample index out of range"));
  EXPECT_EQ(cliJson("wav", {"/OS", "0", "-d", out_}), failed("/OS[0]", 6, "Sample index out of range"));
  EXPECT_EQ(cliJson("wav", {"/OLD", "0", "-d", out_}), failed("/OLD[0]", 6, "Sample index out of range"));
  EXPECT_EQ(cliJson("wav", {"/LOST", "0", "-d", out_}), failed("/LOST[0]", 2, "Sample chunk not found"));
  EXPECT_EQ(cli("wav", {"/LOST", "0", "-d", out_}),
            (Answer{1, "", "tessary-cli: /LOST[0]: Sample chunk not found\n"}));
  EXPECT_EQ(namesIn(out_), Names{});
}

TEST_F(Wav, BankWithoutSamplesSaysSo) {
  EXPECT_EQ(cli("wav", {"/OLD", "-d", out_}), (Answer{0, "The bank lists no samples: /OLD\n", ""}));
  EXPECT_EQ(cli("wav", {"/OLD", "-o", inOut("any")}),
            (Answer{1, "", "tessary-cli: The bank lists no samples: /OLD\n"}));
  EXPECT_EQ(cliJson("wav", {"/OLD", "-o", inOut("any")}),
            failure("com.tessary.cli", 4, "The bank lists no samples: /OLD"));
  EXPECT_EQ(namesIn(out_), Names{});
}

TEST_F(Wav, AllSamplesOfWhatListsNone) {
  EXPECT_EQ(cliItems("wav", {"/OLD", "-d", out_}), allDone({}));
  EXPECT_EQ(cliJson("wav", {"/OS", "-d", out_}), failure("com.tessary.error", 6, "Not a bank file"));
}

TEST_F(Wav, FailingWriteIsTheEnginesError) {
  std::filesystem::create_directory(inOut("BRASS_two.wav"));
  const nlohmann::json answer = cliJson("wav", {"/BRASS", "-d", out_});
  EXPECT_EQ(answer.at("results").at(0).at("ok"), true);
  EXPECT_EQ(answer.at("results").at(1).at("error"),
            failure("com.tessary.error", 3,
                    "Failed to write sample file: " + inOut("BRASS_two.wav") + ": Is a directory")
                .at("error"));
  EXPECT_EQ(answer.at("results").at(2).at("ok"), true);
}

TEST_F(Wav, TakesManyBanksAndFailsForThoseThatAreNone) {
  const Answer answer = cli("wav", {"/BRASS", "/OS", "/TWICE", "-d", out_, "-q"});
  EXPECT_EQ(answer, (Answer{1, "", "tessary-cli: /OS: Not a bank file\n"}));
  EXPECT_EQ(namesIn(out_).size(), 3U + 4U);
}

TEST_F(Wav, IndexIsTakenOfEachBank) {
  EXPECT_EQ(cliItems("wav", {"/BRASS", "/TWICE", "1", "-d", out_}), allDone({"/BRASS[1]", "/TWICE[1]"}));
}

TEST_F(Wav, WithRTakesAllBanksBelowFolders) {
  ImageBuilder image;
  FolderBuilder drums = image.root().addFolder("Drums");
  drums.addFile("KICK", IffBank().sample("a", patternBytes(10)).build());
  drums.addFile("NOTE", bytesOf("text"), {.type = 0x82});
  drums.addFolder("Sub").addFile("KICK", IffBank().sample("a", patternBytes(12)).build());
  image.root().addFile("TOP", IffBank().sample("b", patternBytes(14)).build());
  use(image);
  EXPECT_EQ(cliItems("wav", {"-R", "/", "-d", out_}),
            allDone({"/TOP[0]", "/Drums/KICK[0]", "/Drums/Sub/KICK[0]"}));
  EXPECT_EQ(namesIn(out_), (Names{"KICK_a (2).wav", "KICK_a.wav", "TOP_b.wav"}));
  EXPECT_EQ(cliItems("wav", {"-R", "/Drums/S*", "-d", out_}), allDone({"/Drums/Sub/KICK[0]"}));
}

// The header's two rates, frames and bytes a second, stand at 24 and 28.
TEST_F(Wav, RateIsWhatTheHeaderSaysAndLeavesTheAudioAlone) {
  ASSERT_EQ(cli("wav", {"/BRASS", "0", "-o", inOut("a.wav")}).status, 0);
  ASSERT_EQ(cli("wav", {"/BRASS", "0", "-o", inOut("b.wav"), "--rate", "22050"}).status, 0);
  Bytes expected = readBytes(inOut("a.wav"));
  const Bytes rates{0x22, 0x56, 0, 0, 0x44, 0xAC, 0, 0}; // 22050, 44100
  std::copy(rates.begin(), rates.end(), expected.begin() + 24);
  EXPECT_EQ(readBytes(inOut("b.wav")), expected);
  for (const char *rate : {"0", "x", "", "4294967296"})
    EXPECT_EQ(cli("wav", {"/BRASS", "-d", out_, "--rate", rate}).status, 2) << rate;
}

TEST_F(Wav, DashIsStandardOutput) {
  ASSERT_EQ(cli("wav", {"/BRASS", "0", "-o", inOut("a.wav")}).status, 0);
  EXPECT_EQ(cli("wav", {"/BRASS", "0", "-o", "-"}),
            (Answer{0, readText(inOut("a.wav")), "Exported /BRASS[0] to standard output\n"}));
  EXPECT_EQ(cli("wav", {"/BRASS", "-o", "-"}).status, 1);
  EXPECT_EQ(cli("wav", {"/BRASS", "9", "-o", "-"}),
            (Answer{1, "", "tessary-cli: /BRASS[9]: Sample index out of range\n"}));
}

TEST_F(Wav, NoClobberReplacesNothing) {
  writeText(inOut("BRASS_two.wav"), "mine");
  EXPECT_EQ(cli("wav", {"/BRASS", "-d", out_, "--no-clobber"}).status, 1);
  EXPECT_EQ(readText(inOut("BRASS_two.wav")), "mine");
  EXPECT_EQ(namesIn(out_).size(), 3U);
}

TEST_F(Wav, IndexIsADecimalNumberFrom0On) {
  for (const char *word : {"one", "", "-1", "+1", "1.0", "0x1", " 1", "99999999999999999999"}) {
    EXPECT_EQ(cli("wav", {"/BRASS", "-d", out_, "--", word}).status, 2) << word;
  }
  EXPECT_EQ(cli("wav", {"/BRASS", "01", "-d", out_}).status, 0);
  EXPECT_EQ(namesIn(out_), Names{"BRASS_two.wav"});
}

TEST_F(Wav, TheImageItselfIsNeverReplaced) {
  const Bytes before = readBytes(imagePath());
  EXPECT_EQ(cli("wav", {"/BRASS", "0", "-o", imagePath()}).status, 1);
  EXPECT_EQ(readBytes(imagePath()), before);
}

} // namespace
} // namespace tessary::test
