#include "tessary/SystemLog.h"
#include "tessary/Text.h"
#include "tests/support/CapturedLog.h"

#include <gtest/gtest.h>
#include <string>

namespace tessary {
namespace {

const std::string kDrum = "\xF0\x9F\xA5\x81"; // U+1F941, two UTF-16 code units
const std::string kAcute = "\xC3\xA9";        // U+00E9

TEST(Utf8, WellFormedTextIsValid) {
  for (const std::string &text :
       {std::string(), std::string("KICK"), std::string("\0", 1), kAcute, kDrum, std::string("\xED\x9F\xBF"),
        std::string("\xEE\x80\x80"), std::string("\xF4\x8F\xBF\xBF"), std::string("\xC2\x80"),
        std::string("\xE0\xA0\x80"), std::string("\xF0\x90\x80\x80")})
    EXPECT_TRUE(isValidUtf8(text)) << text;
}

TEST(Utf8, OverlongSurrogateTooLargeAndCutFormsAreNot) {
  for (const char *text : {"\x80", "\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF", "\xED\xA0\x80",
                           "\xED\xBF\xBF", "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xC3", "\xE2\x82",
                           "\xF0\x9F\xA5", "\xC3(", "\xE2\x82(", "a\xFFz"})
    EXPECT_FALSE(isValidUtf8(text)) << text;
}

TEST(Utf16Length, CountsCodeUnits) {
  EXPECT_EQ(utf16Length(""), 0U);
  EXPECT_EQ(utf16Length("KICK"), 4U);
  EXPECT_EQ(utf16Length("Caf" + kAcute), 4U);
  EXPECT_EQ(utf16Length(kDrum + kDrum), 4U);
  EXPECT_EQ(utf16Length("\xFF\xFE"), 2U);
}

TEST(Utf16Prefix, NeverHoldsHalfACharacter) {
  EXPECT_EQ(prefixOfUtf16Units("KICK", 3), "KIC");
  EXPECT_EQ(prefixOfUtf16Units("KICK", 4), "KICK");
  EXPECT_EQ(prefixOfUtf16Units("KICK", 9), "KICK");
  EXPECT_EQ(prefixOfUtf16Units("KICK", 0), "");
  EXPECT_EQ(prefixOfUtf16Units("ab" + kDrum, 3), "ab");
  EXPECT_EQ(prefixOfUtf16Units("ab" + kDrum, 4), "ab" + kDrum);
  EXPECT_EQ(prefixOfUtf16Units(kAcute + kAcute, 1), kAcute);
  EXPECT_EQ(prefixOfUtf16Units(kDrum + "a", 1), "") << "what follows the cut character is not taken instead";
}

TEST(WholeCharacterPrefix, EndsBeforeACharacterThatDoesNotFit) {
  EXPECT_EQ(prefixOfWholeCharacters("KICK", 3), "KIC");
  EXPECT_EQ(prefixOfWholeCharacters("Caf" + kAcute, 4), "Caf");
  EXPECT_EQ(prefixOfWholeCharacters("Caf" + kAcute, 5), "Caf" + kAcute);
  EXPECT_EQ(prefixOfWholeCharacters(kDrum, 3), "");
  EXPECT_EQ(prefixOfWholeCharacters(kDrum + "a", 3), "");
  EXPECT_EQ(prefixOfWholeCharacters("", 5), "");
}

TEST(EscapedForDisplay, ShowsControlCharactersAndBadBytes) {
  EXPECT_EQ(escapedForDisplay("Caf" + kAcute + " \\n"), "Caf" + kAcute + " \\n");
  EXPECT_EQ(escapedForDisplay("a\nb\rc\td"), "a\\nb\\rc\\td");
  EXPECT_EQ(escapedForDisplay("\x1b[31m"), "\\x1b[31m");
  EXPECT_EQ(escapedForDisplay(std::string("\0\x7f", 2)), "\\x00\\x7f");
  EXPECT_EQ(escapedForDisplay("\xC2\x85"), "\\u0085");
  EXPECT_EQ(escapedForDisplay("\xE2\x80\xA8\xE2\x80\xA9"), "\\u2028\\u2029");
  EXPECT_EQ(escapedForDisplay("a\xFFz"), "a\\xffz");
  EXPECT_EQ(escapedForDisplay("a\u200Fb\u202Ec\u2066d\u061C"), "a\\u200fb\\u202ec\\u2066d\\u061c");
  EXPECT_EQ(escapedForDisplay("\uFEFF\u00AD\u200B"), "\\ufeff\\u00ad\\u200b");
  EXPECT_EQ(escapedForDisplay("\U000E0041"), "\\U000e0041");
  EXPECT_EQ(escapedForDisplay("\u00AC\u00AE\u2027\u202F\uFB01\U0001F3B9"),
            "\u00AC\u00AE\u2027\u202F\uFB01\U0001F3B9");
}

std::string padded(std::string text, std::size_t size = 16) {
  text.resize(size, ' ');
  return paddedField(reinterpret_cast<const std::uint8_t *>(text.data()), size);
}

TEST(PaddedField, DropsThePaddingAndEndsAtAZeroByte) {
  EXPECT_EQ(padded("Strings"), "Strings");
  EXPECT_EQ(padded(std::string("Strings\0\0 \0", 11)), "Strings");
  EXPECT_EQ(padded(std::string("Str\0ngs", 7)), "Str");
  EXPECT_EQ(padded(std::string("\0Strings", 8)), "");
  EXPECT_EQ(padded(""), "");
  EXPECT_EQ(padded("  x"), "  x");
  EXPECT_EQ(padded("SIXTEEN LETTERS!"), "SIXTEEN LETTERS!");
}

TEST(LastPathComponent, IsWhatFollowsTheLastSlash) {
  EXPECT_EQ(lastPathComponent("/x/MyDisk.hda"), "MyDisk.hda");
  EXPECT_EQ(lastPathComponent("MyDisk.hda"), "MyDisk.hda");
  EXPECT_EQ(lastPathComponent("/x/MyDisk.hda//"), "MyDisk.hda");
  EXPECT_EQ(lastPathComponent("/"), "");
  EXPECT_EQ(lastPathComponent(""), "");
}

TEST(WithoutExtension, DropsExactlyOneExtension) {
  EXPECT_EQ(withoutExtension("kick drum.wav"), "kick drum");
  EXPECT_EQ(withoutExtension("bank.tar.gz"), "bank.tar");
  EXPECT_EQ(withoutExtension("bank"), "bank");
  EXPECT_EQ(withoutExtension(".hidden"), ".hidden");
  EXPECT_EQ(withoutExtension(".hidden.wav"), ".hidden");
  EXPECT_EQ(withoutExtension(""), "");
}

TEST(SystemLog, SinkGetsTheLinesAsGivenWhileItIsSet) {
  const test::CapturedLog log;
  systemLog("one\ntwo");
  systemLog("");
  EXPECT_EQ(log.lines(), (std::vector<std::string>{"one\ntwo", ""}));
}

TEST(SystemLog, StandardErrorGetsEscapedLinesUnlessSwitchedOff) {
  testing::internal::CaptureStderr();
  systemLog("name \x1b[2J");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "name \\x1b[2J\n");
  setSystemLogEcho(false);
  testing::internal::CaptureStderr();
  systemLog("silent");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  setSystemLogEcho(true);
}

} // namespace
} // namespace tessary
