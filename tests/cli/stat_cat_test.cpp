#include "tests/cli/CliRun.h"
#include "tests/support/BankBuilder.h"

#include <string>

namespace tessary::test {
namespace {

class Stat : public CliTest {};
class Cat : public CliTest {};

TEST_F(Stat, JsonHoldsExactlyTheFieldsOfTheFile) {
  ImageBuilder image;
  image.root().addFile("KICK", IffBank().preset("Kick").sample("C1", patternBytes(1000)).build(),
                       {.entryId = 7, .slot = 3, .e4b0Mark = true, .clusterCount = 2});
  use(image);
  EXPECT_EQ(cliJson("stat", {"/KICK"}),
            parsedJson(R"({"ok":true,"file":{"name":"KICK","rawType":129,"entryId":7,
      "startCluster":3,"clusterCount":2,"blocksInLastCluster":3,"bytesInLastBlock":140,"fileType":1,
      "fileTypeString":"Bank","fileSize":1164,"fileSizeString":"1.1 KB","dentryBlock":34,"dentryOffset":0,
      "bankName":"Kick","bankFormat":4,"presetCount":1,"sampleCount":1}})"));
}

TEST_F(Stat, TextTellsTheSame) {
  ImageBuilder image;
  image.root().addFile("KICK", IffBank().preset("Kick").sample("C1", patternBytes(1000)).build(),
                       {.entryId = 7, .slot = 3, .clusterCount = 2});
  use(image);
  EXPECT_EQ(cli("stat", {"/KICK"}), (Answer{0,
                                            "Name:                   KICK\n"
                                            "Type:                   Bank\n"
                                            "Type byte:              0x81\n"
                                            "Entry id:               7\n"
                                            "Entry's place:          @34:0\n"
                                            "Size:                   1164 bytes (1.1 KB)\n"
                                            "Start cluster (slot):   3\n"
                                            "Cluster count:          2\n"
                                            "Blocks in last cluster: 3\n"
                                            "Bytes in last block:    140\n"
                                            "Bank name:              Kick\n"
                                            "Bank format:            Emulator IV\n"
                                            "Presets:                1\n"
                                            "Samples:                1\n",
                                            ""}));
}

TEST_F(Stat, FileThatIsNoBankHasNoBankName) {
  ImageBuilder image;
  image.root().addFile("OS", patternBytes(10), {.type = 0x80});
  use(image);
  const nlohmann::json file = cliJson("stat", {"/OS"}).at("file");
  EXPECT_EQ(file.at("bankName"), nullptr);
  EXPECT_EQ(file.at("fileTypeString"), "System");
  const std::string out = cli("stat", {"/OS"}).out;
  EXPECT_NE(out.find("Bank name:              —\nBank format:            Unknown\n"), std::string::npos)
      << out;
}

TEST_F(Stat, NameThatDoesNotDecodeGivesNoBankName) {
  ImageBuilder image;
  image.root().addFile("BAD", emulatorThreeBank("\xff\xfe", 1, 2));
  use(image);
  const nlohmann::json file = cliJson("stat", {"/BAD"}).at("file");
  EXPECT_EQ(file.at("bankName"), nullptr);
  EXPECT_EQ(file.at("bankFormat"), 1);
}

TEST_F(Stat, ControlCharactersAreShownEscaped) {
  ImageBuilder image;
  image.root().addFile("a\x07", emulatorThreeBank("x\x1by", 1, 2));
  use(image);
  const std::string out = cli("stat", {"@34:0"}).out;
  EXPECT_NE(out.find("Name:                   a\\x07\n"), std::string::npos) << out;
  EXPECT_NE(out.find("Bank name:              x\\x1by\n"), std::string::npos) << out;
}

// A bank without presets' names is named after its file, whatever it was called when it was last looked at.
TEST_F(Stat, DetailsAreReadAnewForEachAnswer) {
  ImageBuilder image;
  image.root().addFile("ONE", IffBank().sample("C1", patternBytes(100)).build());
  use(image);
  const auto answers = jsonLines(batch("stat /ONE\nrename /ONE TWO\nstat /TWO\n", {"--json"}).out);
  ASSERT_EQ(answers.size(), 3U);
  EXPECT_EQ(answers[0].at("file").at("bankName"), "ONE");
  EXPECT_EQ(answers[2].at("file").at("bankName"), "TWO");
}

TEST_F(Stat, WildcardsMeanNothingWhereOneFileIsNamed) {
  ImageBuilder image;
  image.root().addFile("KICK");
  image.root().addFile("K*");
  use(image);
  EXPECT_EQ(cliJson("stat", {"/K*"}).at("file").at("dentryOffset"), 1);
  EXPECT_EQ(cliJson("stat", {"/K\\*"}).at("file").at("dentryOffset"), 1);
  EXPECT_EQ(cli("stat", {"/KIC?"}), (Answer{1, "", "tessary-cli: No such file: /KIC?\n"}));
}

TEST_F(Cat, WritesTheBytesAlone) {
  ImageBuilder image;
  const Bytes bytes = patternBytes(70000, 3);
  image.root().addFile("KICK", bytes);
  image.root().addFile("NONE");
  use(image);
  EXPECT_EQ(cli("cat", {"/KICK"}), (Answer{0, std::string(bytes.begin(), bytes.end()), ""}));
  EXPECT_EQ(cli("cat", {"/NONE"}), (Answer{0, "", ""}));
}

TEST_F(Cat, MissingFileIsAProblemOnStandardErrorAlone) {
  use(ImageBuilder());
  EXPECT_EQ(cli("cat", {"/KICK"}), (Answer{1, "", "tessary-cli: No such file: /KICK\n"}));
}

} // namespace
} // namespace tessary::test
