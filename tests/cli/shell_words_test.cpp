#include "cli/ShellWords.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace tessary::cli {
namespace {

using Words = std::vector<std::string>;

Words split(std::string_view line) {
  std::string problem;
  const auto words = shellWords(line, &problem);
  EXPECT_TRUE(words.has_value()) << problem;
  return words.value_or(Words{});
}

std::string problemOf(std::string_view line) {
  std::string problem;
  EXPECT_FALSE(shellWords(line, &problem).has_value());
  return problem;
}

TEST(ShellWords, BlanksPartWords) {
  EXPECT_EQ(split("  ls\t-R   /Drums "), (Words{"ls", "-R", "/Drums"}));
  EXPECT_EQ(split(""), Words{});
  EXPECT_EQ(split(" \t "), Words{});
}

TEST(ShellWords, BackslashTakesTheNextCharacterAsItIs) {
  EXPECT_EQ(split(R"(rm /Big\ Drum)"), (Words{"rm", "/Big Drum"}));
  EXPECT_EQ(split(R"(\\ \' \" \a)"), (Words{"\\", "'", "\"", "a"}));
}

TEST(ShellWords, BetweenSingleQuotesEverythingIsItself) {
  EXPECT_EQ(split(R"(rm '/A\/B "x" $y')"), (Words{"rm", R"(/A\/B "x" $y)"}));
}

TEST(ShellWords, BetweenDoubleQuotesBackslashEscapesFourCharacters) {
  EXPECT_EQ(split(R"("a\"b" "a\\b" "a\$b" "a\`b")"), (Words{"a\"b", "a\\b", "a$b", "a`b"}));
  EXPECT_EQ(split(R"("a\/b" "it's")"), (Words{"a\\/b", "it's"}));
}

TEST(ShellWords, QuotedPiecesJoinToOneWord) {
  EXPECT_EQ(split(R"(/'Big Drum's"/x"y)"), Words{"/Big Drums/xy"});
}

TEST(ShellWords, EmptyQuotesAreAnEmptyWord) {
  EXPECT_EQ(split("rename /A ''"), (Words{"rename", "/A", ""}));
  EXPECT_EQ(split("\"\""), Words{""});
}

TEST(ShellWords, NothingIsExpanded) {
  EXPECT_EQ(split("rm $HOME ~ `x` * #x ; | >y"),
            (Words{"rm", "$HOME", "~", "`x`", "*", "#x", ";", "|", ">y"}));
}

TEST(ShellWords, IncompleteLinesAreRefused) {
  EXPECT_EQ(problemOf("rm 'x"), "a single quote is not closed");
  EXPECT_EQ(problemOf("rm \"x"), "a double quote is not closed");
  EXPECT_EQ(problemOf("rm \"x\\\""), "a double quote is not closed");
  EXPECT_EQ(problemOf("rm x\\"), "nothing stands behind the last backslash");
}

TEST(ShellWords, NulIsRefused) {
  EXPECT_EQ(problemOf(std::string_view("rm /A\0B", 7)), "the line holds a NUL character");
}

TEST(ShellWords, OtherBytesPass) {
  EXPECT_EQ(split("\xff \x01 ä\r"), (Words{"\xff", "\x01", "ä\r"}));
}

} // namespace
} // namespace tessary::cli
