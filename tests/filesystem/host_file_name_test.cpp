#include "filesystem/HostFileName.h"
#include "tests/support/ImageBuilder.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>
#include <vector>

namespace tessary {
namespace {

TEST(HostFileName, OrdinaryNamesStayAsTheyAre) {
  for (const char *name : {"KICK", "Cymbals & Hats", "  PAD", "A.B.C", ".hidden", "...", "100%", "% of",
                           "5%x", "~", "-rf", "back\\slash", "Caf\xC3\xA9", "\xF0\x9F\xA5\x81", "*?\"<>|"}) {
    EXPECT_EQ(hostFileName(name), name);
    EXPECT_EQ(nameFromHostFileName(name), name);
  }
}

TEST(HostFileName, SeparatorsAreEscaped) {
  EXPECT_EQ(hostFileName("/"), "%2F");
  EXPECT_EQ(hostFileName("../../etc"), "..%2F..%2Fetc");
  EXPECT_EQ(hostFileName("Kick/Snare"), "Kick%2FSnare");
}

TEST(HostFileName, FolderLinksAreEscapedWhole) {
  EXPECT_EQ(hostFileName("."), "%2E");
  EXPECT_EQ(hostFileName(".."), "%2E%2E");
}

TEST(HostFileName, ControlCharactersAreEscaped) {
  EXPECT_EQ(hostFileName("a\nb"), "a%0Ab");
  EXPECT_EQ(hostFileName("\x1b[2J"), "%1B[2J");
  EXPECT_EQ(hostFileName("a\x7f"), "a%7F");
  EXPECT_EQ(hostFileName("\xC2\x85"), "%C2%85"); // a C1 control character
  EXPECT_EQ(hostFileName("\xC2\xA0"), "\xC2\xA0");
}

TEST(HostFileName, PercentThatReadsAsAnEscapeIsEscaped) {
  EXPECT_EQ(hostFileName("50%2F50"), "50%252F50");
  EXPECT_EQ(hostFileName("%2f"), "%252f");
  EXPECT_EQ(hostFileName("%%20"), "%%2520");
  EXPECT_EQ(hostFileName("%"), "%");
  EXPECT_EQ(hostFileName("%2"), "%2");
}

TEST(HostFileName, NamesThatTheRuleNeverMakesComeBackAsTheyAre) {
  for (const char *name : {"%41", "%2f", "A%20B", "%C3%A9", "a%2Eb"})
    EXPECT_EQ(nameFromHostFileName(name), name) << hostFileName(name);
}

/// Names of up to 16 bytes of what is most likely to go wrong, the same on every run.
std::vector<std::string> difficultNames() {
  const std::vector<std::string> pieces{
      "%",   "2", "F", "f",   "5",    ".",        "/",        "\n",           " ",
      "%2F", "a", "E", "%25", "\x7f", "\xC2\x85", "\xC3\xA9", "\xE2\x80\xA8", "\x01"};
  const test::Bytes choices = test::patternBytes(200000, 5);
  std::vector<std::string> names;
  for (std::size_t at = 0; at + 9 < choices.size(); at += 9) {
    std::string name;
    for (std::size_t i = 0; i < 1U + choices[at] % 8; ++i)
      name += pieces[choices[at + 1 + i] % pieces.size()];
    names.push_back(name.substr(0, 16));
  }
  return names;
}

TEST(HostFileName, IsReversible) {
  for (const std::string &name : difficultNames())
    ASSERT_EQ(nameFromHostFileName(hostFileName(name)), name);
}

TEST(HostFileName, NeverSteersAPath) {
  for (const std::string &name : difficultNames()) {
    const std::string host = hostFileName(name);
    ASSERT_EQ(host.find('/'), std::string::npos);
    ASSERT_TRUE(
        std::none_of(host.begin(), host.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }));
    ASSERT_TRUE(host != "." && host != "..");
    ASSERT_FALSE(host.empty());
  }
}

TEST(HostFileName, DifferentNamesGetDifferentHostNames) {
  const auto names = difficultNames();
  const std::set<std::string> distinct(names.begin(), names.end());
  std::set<std::string> hosts;
  for (const std::string &name : distinct)
    hosts.insert(hostFileName(name));
  EXPECT_EQ(hosts.size(), distinct.size());
}

} // namespace
} // namespace tessary
