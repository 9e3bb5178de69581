#include "app/DisplayText.h"

#include "tests/app/WindowTest.h"

namespace tessary {
namespace {

TEST(DisplayText, PlainNamesStayAsTheyAre) {
  EXPECT_EQ(displayText("Kick & Snare <b>"), QStringLiteral("Kick & Snare <b>"));
  EXPECT_EQ(displayText("Gr\xC3\xBC\xC3\x9F"
                        "e"),
            QStringLiteral("Grüße"));
  EXPECT_EQ(displayText("  PAD"), QStringLiteral("  PAD"));
  EXPECT_EQ(displayText("100% \\n"), QStringLiteral("100% \\n"));
  EXPECT_EQ(displayText(""), QString());
}

TEST(DisplayText, ControlCharactersAreShownAndNotInterpreted) {
  EXPECT_EQ(displayText("A\nB"), QStringLiteral("A\\nB"));
  EXPECT_EQ(displayText("A\x1b[1mB"), QStringLiteral("A\\x1b[1mB"));
  for (const char *text : {"\r", "\t", "\x7f", "\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9"})
    EXPECT_TRUE(displayText(text).startsWith(QLatin1Char('\\'))) << displayText(text).toStdString();
}

TEST(DisplayText, TextDirectionCannotBeTurned) {
  EXPECT_EQ(displayText("A\xE2\x80\xAE"
                        "B"),
            QStringLiteral("A\\u202eB"));
  EXPECT_EQ(displayText("\xE2\x81\xA7"), QStringLiteral("\\u2067"));
  EXPECT_EQ(displayText("\xD8\x9C"), QStringLiteral("\\u061c"));
}

TEST(DisplayText, BytesThatAreNoUtf8AreShown) {
  EXPECT_EQ(displayText("A\xFF"), QStringLiteral("A\\xff"));
}

} // namespace
} // namespace tessary
