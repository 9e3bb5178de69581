#include "tests/cli/CliRun.h"
#include "tests/support/HostFiles.h"
#include "tests/support/SampleVolumes.h"
#include "tests/support/SmallStack.h"

#include <cerrno>
#include <chrono>
#include <string>
#include <vector>

namespace tessary::test {
namespace {

constexpr std::size_t kSmallStackBytes = 512 * kKiB;

std::size_t countOf(const std::string &text, const std::string &piece) {
  std::size_t count = 0;
  for (std::size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1))
    ++count;
  return count;
}

class Hostile : public CliTest {
protected:
  // On a stack that no walk as deep as the tree would fit on.
  Answer onSmallStack(const std::string &command, const std::vector<std::string> &rest) const {
    Answer answer;
    runOnSmallStack(kSmallStackBytes, [&] { answer = cli(command, rest); });
    return answer;
  }
};

TEST_F(Hostile, ThirtyTwoThousandNestedFoldersAreShownInLinearSizeAndWithoutADeepStack) {
  use(nestedVolume(32000));
  EXPECT_NE(onSmallStack("info", {}).out.find("Folders:               32000\n"), std::string::npos);
  const Answer text = onSmallStack("ls", {"-R"});
  EXPECT_EQ(text.status, 0);
  EXPECT_LT(text.out.size(), 32000U * 600);
  const Answer csv = onSmallStack("ls", {"-R", "--csv"});
  EXPECT_EQ(csv.status, 0);
  EXPECT_LT(csv.out.size(), 32000U * 400);
  const Answer json = onSmallStack("ls", {"-R", "--json"});
  EXPECT_EQ(json.status, 0);
  EXPECT_LT(json.out.size(), 32000U * 200);
  EXPECT_EQ(countOf(json.out, "\"blockList\":"), 32001U);
  EXPECT_EQ(countOf(json.out, "{"), countOf(json.out, "}"));
  EXPECT_EQ(countOf(json.out, "\n"), 1U);
}

TEST_F(Hostile, AddressesInHeadingsOfDeepFoldersLeadToThem) {
  use(nestedVolume(1000));
  const std::string out = cli("ls", {"-R"}).out;
  const std::size_t lastHeading = out.rfind("\n\n") + 2;
  const std::string address = out.substr(lastHeading, out.find(":\n", lastHeading) - lastHeading);
  EXPECT_EQ(address.front(), '@');
  EXPECT_EQ(cli("ls", {address}).status, 0);
}

TEST_F(Hostile, ExportOfATreeTooDeepForTheHostEndsWithAnErrorForTheFolder) {
  use(nestedVolume(32000));
  const Answer answer = onSmallStack("export", {"-R", "/*", "-d", newHostFolder("out"), "--json"});
  EXPECT_EQ(answer.status, 1);
  const nlohmann::json results = jsonOf(answer).at("results");
  EXPECT_EQ(results.back().at("error").at("domain"), "posix");
  EXPECT_EQ(results.back().at("error").at("code"), ENAMETOOLONG);
}

TEST_F(Hostile, DeletingADeepTreeNeedsNoDeepStack) {
  use(nestedVolume(32000));
  const std::string top = volumeNames().back();
  EXPECT_EQ(onSmallStack("rmdir", {"-R", "/" + top}).status, 0);
  EXPECT_EQ(volumeNames(), std::vector<std::string>{});
}

// Terminal, shell, spreadsheet and host file system: each name tries to reach one of them.
TEST_F(Hostile, NamesGetThroughToNobody) {
  ImageBuilder image;
  const std::vector<std::string> names{"\x1b]0;owned\x07",
                                       "\x1b[2J",
                                       "a\rb",
                                       "two\nlines",
                                       "\xE2\x80\xAE"
                                       "gpj",
                                       "\xC2\x9B"
                                       "31m",
                                       "=cmd|'/C x",
                                       "+1,\"2",
                                       "@SUM(A1)",
                                       "../../up",
                                       "/etc/passwd",
                                       "..",
                                       "-rf",
                                       "$(touch x)",
                                       "`touch x`"};
  FolderBuilder folder = image.root().addFolder("..");
  for (const std::string &name : names)
    folder.addFile(name, bytesOf("x"));
  use(image);
  const std::string out = newHostFolder("out");
  for (const std::vector<std::string> &words :
       std::vector<std::vector<std::string>>{{"ls", "-R", "-l"},
                                             {"ls", "-R", "--csv"},
                                             {"ls", "-R", "--json"},
                                             {"export", "-R", "/", "-d", out},
                                             {"check"}}) {
    const Answer answer = cli(words.front(), {words.begin() + 1, words.end()});
    for (const char *raw : {"\x1b", "\x07", "\r", "\xE2\x80\xAE", "\xC2\x9B"})
      EXPECT_EQ((answer.out + answer.err).find(raw), std::string::npos) << words.front();
  }
  const std::string csv = cli("ls", {"-R", "--csv"}).out;
  EXPECT_EQ(countOf(csv, "\n"), 1 + 1 + names.size());
  for (const char *formula : {",=", ",+", ",@SUM", "\n=", ",\"="})
    EXPECT_EQ(csv.find(formula), std::string::npos) << csv;
  EXPECT_EQ(namesIn(hostPath("")), (std::vector<std::string>{"disk.hda", "out"}));
  EXPECT_EQ(namesIn(out), std::vector<std::string>{"%2E%2E"});
  EXPECT_EQ(namesIn(out + "/%2E%2E").size(), names.size());
}

TEST_F(Hostile, EveryVolumeIsShownQuicklyAndUnchanged) {
  for (const NamedVolume &volume : hostileVolumes()) {
    SCOPED_TRACE(volume.name);
    use(volume.image);
    const Bytes before = readBytes(imagePath());
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(onSmallStack("info", {"--json"}).status, 0);
    EXPECT_EQ(onSmallStack("ls", {"-R"}).status, 0);
    EXPECT_EQ(onSmallStack("ls", {"-R", "--json"}).status, 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
    EXPECT_TRUE(readBytes(imagePath()) == before);
  }
}

} // namespace
} // namespace tessary::test
