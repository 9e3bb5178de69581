#include "cli/NamePattern.h"

#include <gtest/gtest.h>
#include <string>

namespace tessary::cli {
namespace {

TEST(NamePattern, TextWithoutWildcardMatchesItselfAlone) {
  EXPECT_TRUE(matchesPattern("KICK", "KICK"));
  EXPECT_FALSE(matchesPattern("KICK", "kick"));
  EXPECT_FALSE(matchesPattern("KICK", "KICK 2"));
  EXPECT_FALSE(matchesPattern("KICK 2", "KICK"));
}

TEST(NamePattern, StarStandsForAnyTextAlsoNone) {
  EXPECT_TRUE(matchesPattern("*", ""));
  EXPECT_TRUE(matchesPattern("*", "KICK"));
  EXPECT_TRUE(matchesPattern("K*", "K"));
  EXPECT_TRUE(matchesPattern("K*K", "KICK"));
  EXPECT_TRUE(matchesPattern("*I*", "KICK"));
  EXPECT_FALSE(matchesPattern("K*S", "KICK"));
  EXPECT_TRUE(matchesPattern("*.*", ".hidden"));
}

TEST(NamePattern, StarTriesEveryLength) {
  EXPECT_TRUE(matchesPattern("*ab", "aab"));
  EXPECT_TRUE(matchesPattern("*a*b*c", "xaxbxbxc"));
  EXPECT_FALSE(matchesPattern("*a*b*c", "xaxbxbx"));
  EXPECT_TRUE(matchesPattern("**", "KICK"));
}

TEST(NamePattern, QuestionMarkStandsForOneCharacter) {
  EXPECT_TRUE(matchesPattern("K?CK", "KICK"));
  EXPECT_FALSE(matchesPattern("K?CK", "KCK"));
  EXPECT_FALSE(matchesPattern("?", ""));
  EXPECT_TRUE(matchesPattern("?", "ä"));
  EXPECT_FALSE(matchesPattern("??", "ä"));
}

TEST(NamePattern, BackslashTakesTheNextCharacterAsItIs) {
  EXPECT_TRUE(matchesPattern("\\*", "*"));
  EXPECT_FALSE(matchesPattern("\\*", "K"));
  EXPECT_FALSE(matchesPattern("\\?", "K"));
  EXPECT_TRUE(matchesPattern("\\\\*", "\\K"));
  EXPECT_TRUE(matchesPattern("\\K", "K"));
}

TEST(NamePattern, OnlyUnescapedWildcardsMakeAPattern) {
  EXPECT_TRUE(isPattern("K*"));
  EXPECT_TRUE(isPattern("?"));
  EXPECT_TRUE(isPattern("\\\\*"));
  EXPECT_FALSE(isPattern("KICK"));
  EXPECT_FALSE(isPattern("\\*\\?"));
}

TEST(NamePattern, ManyStarsTakeNoExponentialTime) {
  std::string pattern;
  for (int i = 0; i < 2000; ++i)
    pattern += "*a";
  EXPECT_FALSE(matchesPattern(pattern + "b", std::string(4000, 'a')));
}

} // namespace
} // namespace tessary::cli
