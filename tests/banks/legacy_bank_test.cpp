// Detection of banks with the fixed header of the earlier samplers.

#include "tests/banks/DetectedBank.h"
#include "tests/support/BankBuilder.h"

#include <cstring>
#include <gtest/gtest.h>

namespace tessary {
namespace {

using namespace test;

/// Format found for a bank with this text at its beginning and no zero byte before `end`.
std::int64_t formatOf(std::string_view beginning, std::string_view later = {}) {
  Bytes contents(4096, '.');
  std::copy(beginning.begin(), beginning.end(), contents.begin());
  std::copy(later.begin(), later.end(), contents.begin() + 1000);
  return DetectedBank(contents).details().bankFormat;
}

TEST(LegacyHeader, Of107BytesIsTooShortAndSetsNothing) {
  Bytes contents = emulatorThreeBank("Bank", 5, 12);
  contents.resize(107);
  const DetectedBank bank(contents, "Acid");
  EXPECT_TRUE(bank.succeeded);
  EXPECT_EQ(bank.details(), kBefore);
  EXPECT_EQ(bank.lines, (Lines{"[Legacy] Acid → Header too short (107 bytes)"}));
}

TEST(LegacyHeader, Of108BytesIsRead) {
  Bytes contents = emulatorThreeBank("Bank", 5, 12);
  contents.resize(108);
  EXPECT_EQ(DetectedBank(contents).details(), (BankDetails{"Bank", 1, 5, 12}));
}

TEST(LegacyHeader, OfEachSamplerIsRecognised) {
  EXPECT_EQ(DetectedBank(emulatorThreeBank("Grand", 5, 12)).details(), (BankDetails{"Grand", 1, 5, 12}));
  EXPECT_EQ(DetectedBank(emulator3XBank("Choir", 300, 65535)).details(),
            (BankDetails{"Choir", 2, 300, 65535}));
  EXPECT_EQ(DetectedBank(esi32Bank("Loops", 1, 0)).details(), (BankDetails{"Loops", 3, 1, 0}));
}

TEST(LegacyHeader, CountsAreLittleEndian) {
  Bytes contents = emulatorThreeBank("Bank", 0, 0);
  const Bytes counts{0x05, 0x01, 0x0C, 0x02};
  std::copy(counts.begin(), counts.end(), contents.begin() + 32);
  EXPECT_EQ(DetectedBank(contents).details(), (BankDetails{"Bank", 1, 0x0105, 0x020C}));
}

TEST(LegacyHeader, ZeroCountsOfAKnownFormatAreSet) {
  EXPECT_EQ(DetectedBank(emulatorThreeBank("Bank", 0, 0)).details(), (BankDetails{"Bank", 1, 0, 0}));
}

TEST(LegacyHeader, ZeroCountsOfAnUnknownFormatAreLeftAsTheyWere) {
  EXPECT_EQ(DetectedBank(LegacyBank{.format = "SOMETHING", .name = "Bank"}.build()).details(),
            (BankDetails{"Bank", 0, 88, 99}));
}

TEST(LegacyHeader, OtherCountsOfAnUnknownFormatAreTaken) {
  EXPECT_EQ(
      DetectedBank(LegacyBank{.format = "SOMETHING", .name = "Bank", .presets = 3, .samples = 4}.build())
          .details(),
      (BankDetails{"Bank", 0, 3, 4}));
  EXPECT_EQ(DetectedBank(LegacyBank{.format = "SOMETHING", .name = "Bank", .samples = 4}.build()).details(),
            (BankDetails{"Bank", 0, 0, 4}));
}

// --- The name ----------------------------------------------------------------------------------------

std::optional<std::string> nameOf(std::string name) {
  return DetectedBank(LegacyBank{.format = "EMULATOR 3X", .name = std::move(name)}.build())
      .details()
      .bankName;
}

TEST(LegacyName, IsTrimmedAtItsEndAlone) {
  EXPECT_EQ(nameOf("Strings"), "Strings");
  EXPECT_EQ(nameOf("  Strings"), "  Strings");
  EXPECT_EQ(nameOf(std::string("Strings\0 \0", 10)), "Strings");
  EXPECT_EQ(nameOf("SIXTEEN LETTERS!"), "SIXTEEN LETTERS!");
  EXPECT_EQ(nameOf(std::string("Str\0ngs", 7)), "Str");
  EXPECT_EQ(nameOf("Caf\xC3\xA9"), "Caf\xC3\xA9");
}

TEST(LegacyName, ThatIsEmptyIsTheFilesName) {
  EXPECT_EQ(nameOf(""), "File");
  EXPECT_EQ(nameOf(std::string(16, '\0')), "File");
  EXPECT_EQ(nameOf(std::string("\0Strings", 8)), "File");
}

TEST(LegacyName, ThatIsNotUtf8IsAbsent) {
  EXPECT_EQ(nameOf("Caf\xE9"), std::nullopt);
  EXPECT_EQ(nameOf("FIFTEEN LETTERS\xC3"), std::nullopt);
}

TEST(LegacyName, OfAnUnknownFormatIsReadToo) {
  EXPECT_EQ(DetectedBank(LegacyBank{.format = "SOMETHING", .name = "Bank"}.build()).details().bankName,
            "Bank");
}

// --- The format --------------------------------------------------------------------------------------

TEST(LegacyFormat, IsDecidedByTheTextAtTheBeginning) {
  EXPECT_EQ(formatOf("EMULATOR THREE "), 1);
  EXPECT_EQ(formatOf("EMULATOR 3X"), 2);
  EXPECT_EQ(formatOf("EMULATOR 3X v2"), 2);
  EXPECT_EQ(formatOf("EMU SI-32 v3 "), 3);
  EXPECT_EQ(formatOf("SOMETHING"), 0);
}

TEST(LegacyFormat, AtTheBeginningComesBeforeWhatIsFoundLater) {
  EXPECT_EQ(formatOf("EMULATOR 3X", "EMULATOR THREE"), 2);
  EXPECT_EQ(formatOf("EMU SI-32 v3 ", "EMULATOR THREE"), 3);
  EXPECT_EQ(formatOf("EMU SI-32 v2 ", "EMULATOR THREE"), 1); // only the exact text counts at the beginning
}

TEST(LegacyFormat, IsSearchedInTheContents) {
  EXPECT_EQ(formatOf("", "EMULATOR THREE"), 1);
  EXPECT_EQ(formatOf("", "EMULATOR 3X"), 2);
  EXPECT_EQ(formatOf("", "EMU SI-32"), 3);
  EXPECT_EQ(formatOf("", "ESI-32"), 3);
  EXPECT_EQ(formatOf("EMULATOR THREE"), 1); // without the space that the exact test wants
  EXPECT_EQ(formatOf("EMU SI-32 v2 "), 3);
  EXPECT_EQ(formatOf("", "ESI-3"), 0);
  EXPECT_EQ(formatOf("", "emulator three"), 0);
}

TEST(LegacyFormat, SearchTakesTheFirstOfTheListNotTheFirstInTheFile) {
  EXPECT_EQ(formatOf("", "ESI-32 EMULATOR 3X EMULATOR THREE"), 1);
  EXPECT_EQ(formatOf("", "ESI-32 EMU SI-32 EMULATOR 3X"), 2);
}

TEST(LegacyFormat, SearchEndsAtTheFirstZeroByte) {
  for (const char *text : {"EMULATOR THREE", "EMULATOR 3X", "EMU SI-32", "ESI-32"}) {
    Bytes contents(4096, '.');
    contents[999] = 0;
    std::copy_n(text, std::strlen(text), contents.begin() + 1000);
    EXPECT_EQ(DetectedBank(contents).details().bankFormat, 0) << text;
    contents[999] = '.';
    contents[1000 + std::strlen(text)] = 0;
    EXPECT_NE(DetectedBank(contents).details().bankFormat, 0) << text;
  }
}

TEST(LegacyFormat, ZeroByteInsideATextHidesIt) {
  Bytes contents(4096, '.');
  const Bytes cut = bytesOf(std::string_view("EMULATOR\0THREE", 14));
  std::copy(cut.begin(), cut.end(), contents.begin() + 1000);
  EXPECT_EQ(DetectedBank(contents).details().bankFormat, 0);
}

TEST(LegacyFormat, SearchReachesTheContentsEnd) {
  Bytes contents(150000, '.');
  const Bytes text = bytesOf("EMULATOR 3X");
  std::copy(text.begin(), text.end(), contents.end() - static_cast<std::ptrdiff_t>(text.size()));
  EXPECT_EQ(DetectedBank(contents).details().bankFormat, 2);
  contents.pop_back();
  EXPECT_EQ(DetectedBank(contents).details().bankFormat, 0);
}

TEST(LegacyFormat, SearchFindsATextAtAnyPlace) {
  // Contents are read in pieces; a text across the border of two must be found as well.
  const Bytes text = bytesOf("EMULATOR THREE");
  for (std::size_t border : {4096U, 65536U, 131072U}) {
    for (std::size_t before = 0; before <= text.size(); ++before) {
      Bytes contents(200000, '.');
      std::copy(text.begin(), text.end(), contents.begin() + static_cast<std::ptrdiff_t>(border - before));
      ASSERT_EQ(DetectedBank(contents).details().bankFormat, 1) << border << " - " << before;
    }
  }
}

// --- Log lines ---------------------------------------------------------------------------------------

TEST(LegacyLog, TellsFormatCountsAndOutcome) {
  EXPECT_EQ(linesFor(emulatorThreeBank("Bank", 5, 12)),
            (Lines{"[Legacy] Acid → Format string: 'EMULATOR THREE '",
                   "[Legacy] Acid → Objects(LE): 0x000c0005 → Presets: 5, Samples: 12",
                   "[Legacy] Acid → FINAL: Presets: 5, Samples: 12, Format: 1"}));
}

TEST(LegacyLog, TellsOfTheSecondReadingAfterAZero) {
  EXPECT_EQ(linesFor(esi32Bank("Bank", 0, 0)),
            (Lines{"[Legacy] Acid → Format string: 'EMU SI-32 v3 '",
                   "[Legacy] Acid → Objects(LE): 0x00000000 → Presets: 0, Samples: 0",
                   "[Legacy] Acid → Objects(BE): 0x00000000 → Presets: 0, Samples: 0",
                   "[Legacy] Acid → FINAL: Presets: 0, Samples: 0, Format: 3"}));
}

TEST(LegacyLog, EndsWithTheCountsThatTheFileKeeps) {
  EXPECT_EQ(linesFor(LegacyBank{.format = "SOMETHING", .name = "Bank"}.build()),
            (Lines{"[Legacy] Acid → Format string: 'SOMETHING'",
                   "[Legacy] Acid → Objects(LE): 0x00000000 → Presets: 0, Samples: 0",
                   "[Legacy] Acid → FINAL: Presets: 88, Samples: 99, Format: 0"}));
}

TEST(LegacyLog, FollowsTheLineOnAForeignForm) {
  Bytes contents = IffBank("AIFF").build();
  contents.resize(108);
  contents[32] = 1;
  EXPECT_EQ(linesFor(contents), (Lines{"[Format] Acid → Not an E4B/E3B format. Signature: AIFF",
                                       "[Legacy] Acid → Format string: 'FORM'",
                                       "[Legacy] Acid → Objects(LE): 0x00000001 → Presets: 1, Samples: 0",
                                       "[Legacy] Acid → FINAL: Presets: 1, Samples: 0, Format: 0"}));
}

} // namespace
} // namespace tessary
