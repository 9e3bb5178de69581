#include "tests/cli/CliRun.h"
#include "tests/support/HostFiles.h"
#include "tests/support/OtherUser.h"

#include <string>
#include <sys/stat.h>
#include <vector>

namespace tessary::test {
namespace {

using Names = std::vector<std::string>;

class Import : public CliTest {
protected:
  Import() {
    ImageBuilder image;
    image.root().addFolder("Drums");
    use(image);
    writeText(kick_, "kick");
    writeText(snare_, "snare");
  }

  std::string kick_ = hostPath("kick drum.e4b");
  std::string snare_ = hostPath("snare.v2.e4b");
};

TEST_F(Import, StoresHostFilesUnderTheirNamesWithoutExtension) {
  EXPECT_EQ(cli("import", {kick_, snare_, "-t", "/Drums"}),
            (Answer{0, "Imported " + kick_ + " into /Drums\nImported " + snare_ + " into /Drums\n", ""}));
  EXPECT_EQ(volumeNames("/Drums"), (Names{"kick drum", "snare.v2"}));
  EXPECT_EQ(cli("cat", {"/Drums/kick drum"}).out, "kick");
}

TEST_F(Import, JsonHasAMemberForEachHostFile) {
  EXPECT_EQ(cliItems("import", {"-t", "@34:0", kick_, snare_}), allDone({kick_, snare_}));
}

TEST_F(Import, IntoTheRoot) {
  EXPECT_EQ(cli("import", {kick_, "--to", "/"}).status, 0);
  EXPECT_EQ(volumeNames(), (Names{"kick drum", "Drums/"}));
}

TEST_F(Import, TheSameFileTwiceMakesTwo) {
  EXPECT_EQ(cli("import", {kick_, kick_, "-t", "/Drums"}).status, 0);
  EXPECT_EQ(volumeNames("/Drums"), (Names{"kick drum", "kick drum"}));
}

TEST_F(Import, MissingFolderOfTheVolumeIsAnErrorAndNothingIsDone) {
  EXPECT_EQ(cliJson("import", {kick_, "-t", "/None"}),
            failure("com.tessary.cli", 1, "No such folder: /None"));
  EXPECT_EQ(volumeNames(), Names{"Drums/"});
}

TEST_F(Import, HostFilesThatCannotBeReadFailByThemselves) {
  const std::string missing = hostPath("missing");
  const std::string folder = newHostFolder("folder");
  const std::string fifo = hostPath("fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_EQ(cli("import", {missing, folder, fifo, kick_, "-t", "/Drums"}),
            (Answer{1, "Imported " + kick_ + " into /Drums\n",
                    "tessary-cli: " + missing + ": No such file or directory\n" + "tessary-cli: " + folder +
                        ": Is a directory\n" + "tessary-cli: " + fifo + ": Not a regular file\n"}));
  EXPECT_EQ(volumeNames("/Drums"), Names{"kick drum"});
  const nlohmann::json answer = cliJson("import", {missing, kick_, "-t", "/Drums"});
  EXPECT_EQ(itemsOf(answer),
            parsedJson(R"({"ok":false,"results":[{"item":")" + missing +
                       R"(","ok":false,"error":{"domain":"posix","code":2,"message":")" + missing +
                       R"(: No such file or directory"}},{"item":")" + kick_ + R"(","ok":true}]})"));
}

TEST_F(Import, PatternsMeanNothingInHostPaths) {
  EXPECT_EQ(cli("import", {hostPath("*.e4b"), "-t", "/Drums"}).status, 1);
}

TEST_F(Import, EnginesRefusalsAreItsOwnErrors) {
  writeText(hostPath("   .x"), "spaces");
  EXPECT_EQ(cli("import", {hostPath("   .x"), "-t", "/Drums"}).err,
            "tessary-cli: " + hostPath("   .x") + ": Name must be 1–15 characters\n");
}

TEST_F(Import, GuardsAreOffWithExact) {
  writeText(hostPath("   .x"), "spaces");
  EXPECT_EQ(cli("import", {hostPath("   .x"), "-t", "/Drums", "--exact"}).status, 0);
}

TEST_F(Import, ReadOnlyImageIsRefused) {
  makeReadOnly();
  const OtherUser user;
  EXPECT_EQ(cli("import", {kick_, "-t", "/Drums"}).err, "tessary-cli: " + kick_ + ": Image is read-only\n");
}

TEST_F(Import, InvalidUtf8InAHostPathIsReplacedInJson) {
  const std::string path = hostPath("bad\xff");
  EXPECT_EQ(cliJson("import", {path, "-t", "/"}).at("results").at(0).at("item"), hostPath("bad\ufffd"));
  EXPECT_EQ(cli("import", {path, "-t", "/"}).err,
            "tessary-cli: " + hostPath("bad\\xff") + ": No such file or directory\n");
}

} // namespace
} // namespace tessary::test
