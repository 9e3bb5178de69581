// Detection of banks in the IFF layout, and what comes before it.

#include "banks/BankAnalysis.h"
#include "filesystem/TreeEditor.h"
#include "tests/banks/DetectedBank.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/HostFiles.h"

#include <gtest/gtest.h>

namespace tessary {
namespace {

using namespace test;

IffBank twoPresetsThreeSamples() {
  IffBank bank;
  bank.toc({.type = "E4P1", .name = "Strings", .size = 300})
      .toc({.type = "E4P1", .name = "Pads", .size = 301});
  for (const char *name : {"A", "B", "C"})
    bank.toc({.type = "E4S1", .name = name, .size = 70000});
  return bank;
}

/// Counts of a bank whose table of contents has these types.
BankDetails detailsOfTypes(const std::vector<std::string> &types) {
  IffBank bank;
  for (const std::string &type : types)
    bank.toc({.type = type, .name = "Entry"});
  return DetectedBank(bank.build()).details();
}

// --- Which files are looked at -----------------------------------------------------------------------

TEST(BankDetection, FilesOfAnotherTypeAreLeftAlone) {
  for (const std::uint8_t type : Bytes{0x80, 0x82, 0x01, 0xFF}) {
    const DetectedBank bank(twoPresetsThreeSamples().build(), "Acid", {.type = type});
    EXPECT_TRUE(bank.succeeded);
    EXPECT_EQ(bank.details(), kBefore) << int{type};
    EXPECT_TRUE(bank.lines.empty());
  }
}

TEST(BankDetection, BothBankTypesAreLookedAt) {
  for (const std::uint8_t type : Bytes{0x81, 0x83})
    EXPECT_EQ(DetectedBank(twoPresetsThreeSamples().build(), "File", {.type = type}).details().bankFormat, 4);
}

TEST(BankDetection, ContentsOf11BytesFailWithoutAnError) {
  for (const std::size_t length : {0U, 1U, 11U}) {
    const DetectedBank bank(IffBank().build(length), "Acid");
    EXPECT_FALSE(bank.succeeded) << length;
    EXPECT_FALSE(bank.error.isSet());
    EXPECT_EQ(bank.details(), kBefore);
    EXPECT_TRUE(bank.lines.empty());
  }
}

TEST(BankDetection, ContentsBeyondTheImageFailWithoutAnError) {
  const DetectedBank bank({}, "Acid",
                          {.slot = std::uint16_t{60000},
                           .blocksInLastCluster = std::uint16_t{5},
                           .bytesInLastBlock = std::uint16_t{512},
                           .storesContents = false});
  EXPECT_FALSE(bank.succeeded);
  EXPECT_FALSE(bank.error.isSet());
  EXPECT_EQ(bank.details(), kBefore);
}

TEST(BankDetection, WorksWithoutAnErrorToFill) {
  const DetectedBank bank(twoPresetsThreeSamples().build());
  EXPECT_TRUE(bank.volume->populateBankMetadata(bank.file));
}

TEST(BankDetection, KeepsNoContents) {
  const DetectedBank bank(twoPresetsThreeSamples().build());
  EXPECT_EQ(bank.file->cachedData(), nullptr);
  EXPECT_EQ(bank.details().bankFormat, 4);
}

TEST(BankDetection, ReadsTheContentsThatTheFileAlreadyHolds) {
  const DetectedBank bank(twoPresetsThreeSamples().build());
  const Bytes other = emulator3XBank("Held", 7, 8);
  TreeEditor::setCachedData(*bank.file, std::make_shared<const ByteBuffer>(other.begin(), other.end()));
  ASSERT_TRUE(bank.volume->populateBankMetadata(bank.file));
  EXPECT_EQ(bank.details(), (BankDetails{"Held", 2, 7, 8}));
}

TEST(BankDetection, WritesNothing) {
  ImageBuilder image;
  image.root().addFile("Acid", twoPresetsThreeSamples().build());
  const MountedVolume volume(image);
  const CapturedLog log;
  ASSERT_TRUE(volume->populateBankMetadata(volume.root()->files()[0]));
  EXPECT_EQ(readBytes(volume.imagePath()), image.build());
}

TEST(BankDetection, IsSilentForEveryOtherName) {
  for (const char *name : {"acid", "ACID", "Acid ", " Acid", "Acid2", "Aci", "File"}) {
    const DetectedBank iff(twoPresetsThreeSamples().build(), name, {.namePadding = '\0'});
    const DetectedBank legacy(emulatorThreeBank("Bank", 1, 2), name, {.namePadding = '\0'});
    if (iff.file->name() == "Acid") continue; // trailing spaces are no part of a name
    EXPECT_TRUE(iff.lines.empty()) << name;
    EXPECT_TRUE(legacy.lines.empty()) << name;
  }
}

TEST(BankDetection, FormatsHaveDisplayNames) {
  EXPECT_STREQ(bankFormatName(1), "Emulator III");
  EXPECT_STREQ(bankFormatName(2), "Emulator 3X");
  EXPECT_STREQ(bankFormatName(3), "ESI-32 v3");
  EXPECT_STREQ(bankFormatName(4), "Emulator IV");
  for (const std::int64_t other : {0, 5, -1})
    EXPECT_EQ(bankFormatName(other), nullptr);
}

// --- Form types --------------------------------------------------------------------------------------

TEST(FormType, BeginningWithE4BOrE3BIsEmulatorFour) {
  for (const char *type : {"E4B0", "E4B1", "E4BX", "E3B0", "E3B1"}) {
    const DetectedBank bank(IffBank(type).build());
    EXPECT_TRUE(bank.succeeded);
    EXPECT_EQ(bank.details().bankFormat, 4) << type;
  }
}

TEST(FormType, OtherFallsThroughToTheLegacyLayout) {
  const DetectedBank tooShort(IffBank("AIFF").build(), "Acid");
  EXPECT_TRUE(tooShort.succeeded);
  EXPECT_EQ(tooShort.details(), kBefore);
  EXPECT_EQ(tooShort.lines, (Lines{"[Format] Acid → Not an E4B/E3B format. Signature: AIFF",
                                   "[Legacy] Acid → Header too short (20 bytes)"}));
}

TEST(FormType, OtherInALongFileIsReadAsALegacyHeader) {
  Bytes contents = IffBank("AIFF").build();
  contents.resize(108);
  std::copy_n("Name", 4, contents.begin() + 16);
  contents[32] = 3;
  contents[34] = 4;
  EXPECT_EQ(DetectedBank(contents).details(), (BankDetails{"Name", 0, 3, 4}));
}

TEST(FormType, IsShownUpToAZeroByteInTheLog) {
  EXPECT_EQ(linesFor(IffBank("AI").build())[0], "[Format] Acid → Not an E4B/E3B format. Signature: AI");
}

TEST(FormType, LowerCaseOrMisplacedFormIsNone) {
  for (const char *form : {"form", "FORN", "FOR "}) {
    Bytes contents = IffBank().build();
    std::copy_n(form, 4, contents.begin());
    EXPECT_EQ(linesFor(contents), (Lines{"[Legacy] Acid → Header too short (20 bytes)"})) << form;
  }
}

// --- The table of contents ---------------------------------------------------------------------------

TEST(TableOfContents, FileOf12BytesGetsFormatAndTheFilesName) {
  const DetectedBank bank(IffBank().build(12), "Acid");
  EXPECT_TRUE(bank.succeeded);
  EXPECT_EQ(bank.details(), (BankDetails{"Acid", 4, 88, 99})); // counts untouched
  EXPECT_EQ(bank.lines, (Lines{"[Format] Acid → Detected as E4B/E3B variant (IFF format): E4B0"}));
}

TEST(TableOfContents, FileOf19BytesIsTooShortForItsSize) {
  EXPECT_EQ(DetectedBank(IffBank().build(19)).details(), (BankDetails{"File", 4, 88, 99}));
}

TEST(TableOfContents, PresetsAndSamplesAreCountedAndTheFirstPresetNamesTheBank) {
  EXPECT_EQ(DetectedBank(twoPresetsThreeSamples().build()).details(), (BankDetails{"Strings", 4, 2, 3}));
}

TEST(TableOfContents, IdentifierOfTheFirstChunkIsNotCompared) {
  EXPECT_EQ(DetectedBank(twoPresetsThreeSamples().firstChunk("WHAT").build()).details(),
            (BankDetails{"Strings", 4, 2, 3}));
}

TEST(TableOfContents, TypesAreCountedByTheirClass) {
  using Counts = std::pair<std::uint64_t, std::uint64_t>;
  const std::pair<const char *, Counts> types[] = {
      {"E4P1", {1, 0}}, {"E3P1", {1, 0}}, {"E4S1", {0, 1}}, {"E4SX", {0, 1}}, {"E3S1", {0, 1}},
      {"E3S ", {0, 1}}, {"ESND", {0, 1}}, {"RIFF", {0, 1}}, {"FORM", {0, 1}}, {"E4I1", {0, 1}},
      {"E3IX", {0, 1}}, {"E4S", {0, 1}},  {"E4P2", {0, 0}}, {"E3P0", {0, 0}}, {"E4P", {0, 0}},
      {"ESNX", {0, 0}}, {"RIFX", {0, 0}}, {"FORN", {0, 0}}, {"E4M1", {0, 0}}, {"e4s1", {0, 0}},
      {"E5S1", {0, 0}}};
  for (const auto &[type, counts] : types) {
    // One sure preset and sample beside it, so that the second pass stays out of it.
    const BankDetails details = detailsOfTypes({"E4P1", "ESND", type});
    EXPECT_EQ(details.presetCount, 1 + counts.first) << type;
    EXPECT_EQ(details.sampleCount, 1 + counts.second) << type;
  }
}

TEST(TableOfContents, EmptyEntriesAreSkipped) {
  const BankDetails details = detailsOfTypes({"", "E4P1", "", "E4S1", ""});
  EXPECT_EQ(details.presetCount, 1U);
  EXPECT_EQ(details.sampleCount, 1U);
}

TEST(TableOfContents, PresetWithoutANameLeavesItToTheNext) {
  IffBank bank;
  bank.toc({.type = "E4P1", .name = ""});
  bank.toc({.type = "E4P1", .name = std::string("\0Hidden", 7)});
  bank.toc({.type = "E4P1", .name = "Caf\xE9"}); // not UTF-8
  bank.toc({.type = "E4S1", .name = "Sample"});
  bank.toc({.type = "E4P1", .name = "  Named"});
  bank.toc({.type = "E4P1", .name = "Later"});
  EXPECT_EQ(DetectedBank(bank.build()).details(), (BankDetails{"  Named", 4, 5, 1}));
}

TEST(TableOfContents, BankWithoutANamedPresetHasTheFilesName) {
  IffBank bank;
  bank.toc({.type = "E4P1", .name = ""}).toc({.type = "E4S1", .name = "Sample"});
  EXPECT_EQ(DetectedBank(bank.build()).details(), (BankDetails{"File", 4, 1, 1}));
}

TEST(TableOfContents, PresetNameOf16BytesIsTakenWhole) {
  EXPECT_EQ(
      DetectedBank(IffBank().toc({.type = "E4P1", .name = "SIXTEEN LETTERS!"}).build()).details().bankName,
      "SIXTEEN LETTERS!");
}

TEST(TableOfContents, PresetNameEndsAtItsFirstZeroByte) {
  EXPECT_EQ(DetectedBank(IffBank().toc({.type = "E4P1", .name = std::string("Str\0ngs", 7)}).build())
                .details()
                .bankName,
            "Str");
}

TEST(TableOfContents, BytesAroundTheNameAreNotRead) {
  EXPECT_EQ(
      DetectedBank(IffBank().toc({.type = "E4P1", .name = "Name", .unread = {1, 2, 3, 4, 5, 6}}).build())
          .details()
          .bankName,
      "Name");
}

TEST(TableOfContents, SizeZeroGivesNoEntriesAndKeepsTheCounts) {
  const DetectedBank bank(twoPresetsThreeSamples().tocSize(0).build(), "Acid");
  EXPECT_EQ(bank.details(), (BankDetails{"Acid", 4, 88, 99}));
  EXPECT_EQ(bank.lines, (Lines{"[Format] Acid → Detected as E4B/E3B variant (IFF format): E4B0",
                               "[E4B0] Acid → TOC1 size: 0, range: 20-20 (data length: 180)",
                               "[E4B0] Acid → TOC1 complete: 0 entries scanned, 0 presets, 0 samples",
                               "[E4B0] Acid → FINAL Empty TOC1 (presets: 0, samples: 0)"}));
}

TEST(TableOfContents, SizeBelowOneEntryGivesNone) {
  EXPECT_EQ(DetectedBank(twoPresetsThreeSamples().tocSize(31).build()).details(),
            (BankDetails{"File", 4, 88, 99}));
  EXPECT_EQ(DetectedBank(twoPresetsThreeSamples().tocSize(32).build()).details(),
            (BankDetails{"Strings", 4, 1, 0}));
}

TEST(TableOfContents, SizeInsideAnEntryLeavesThatEntryOut) {
  EXPECT_EQ(DetectedBank(twoPresetsThreeSamples().tocSize(3 * 32 + 31).build()).details(),
            (BankDetails{"Strings", 4, 2, 1}));
}

TEST(TableOfContents, SizeBeyondTheEndIsCutToTheContents) {
  for (const std::uint32_t size : {161U, 1000000U, 0xFFFFFFEBU})
    EXPECT_EQ(DetectedBank(twoPresetsThreeSamples().tocSize(size).build()).details(),
              (BankDetails{"Strings", 4, 2, 3}))
        << size;
}

TEST(TableOfContents, PartialLastEntryIsNotRead) {
  EXPECT_EQ(DetectedBank(twoPresetsThreeSamples().build(20 + 4 * 32 + 31)).details(),
            (BankDetails{"Strings", 4, 2, 2}));
  EXPECT_EQ(DetectedBank(twoPresetsThreeSamples().build(20 + 31)).details(),
            (BankDetails{"File", 4, 88, 99}));
}

TEST(TableOfContents, SizeWhoseSumWrapsGivesNoEntries) {
  for (const std::uint32_t size : {0xFFFFFFECU, 0xFFFFFFFFU}) {
    const DetectedBank bank(twoPresetsThreeSamples().tocSize(size).build(), "Acid");
    EXPECT_EQ(bank.details(), (BankDetails{"Acid", 4, 88, 99})) << size;
    EXPECT_EQ(bank.lines[1], "[E4B0] Acid → TOC1 size: " + std::to_string(size) + ", range: 20-" +
                                 std::to_string(size - 0xFFFFFFECU) + " (data length: 180)");
  }
}

TEST(TableOfContents, OfManyEntriesIsCountedWhole) {
  IffBank bank;
  for (int i = 0; i < 1000; ++i)
    bank.toc({.type = i % 3 == 0 ? "E4P1" : "E4S1", .name = "Entry " + std::to_string(i)});
  EXPECT_EQ(DetectedBank(bank.build()).details(), (BankDetails{"Entry 0", 4, 334, 666}));
}

// --- The second pass ---------------------------------------------------------------------------------

TEST(UnknownEntries, AllCountAsSamplesWhenNoTypeIsKnown) {
  EXPECT_EQ(detailsOfTypes({"XXXX", "", "YYYY", "ZZZZ"}), (BankDetails{"File", 4, 0, 3}));
}

TEST(UnknownEntries, DoNotCountBesideAKnownOne) {
  EXPECT_EQ(detailsOfTypes({"XXXX", "YYYY", "E4P1"}), (BankDetails{"Entry", 4, 1, 0}));
}

TEST(UnknownEntries, NoneAmongEmptyOnesKeepTheCounts) {
  EXPECT_EQ(detailsOfTypes({"", "", ""}), (BankDetails{"File", 4, 88, 99}));
}

TEST(UnknownEntries, OfBinaryTypesCountToo) {
  EXPECT_EQ(detailsOfTypes({"\x01\x02\x03\x04", std::string("\0\0\0\x01", 4)}),
            (BankDetails{"File", 4, 0, 2}));
}

// --- Log lines ---------------------------------------------------------------------------------------

TEST(IffLog, TellsEveryEntryAndTheOutcome) {
  IffBank bank;
  bank.toc({.type = "E4P1", .name = "Strings", .size = 300})
      .toc({.type = "", .name = "Gone", .size = 12})
      .toc({.type = "E4S1", .name = "A", .size = 0xFFFFFFFF})
      .toc({.type = "XY Z", .name = "B", .size = 5})
      .toc({.type = std::string("A\0\x7F\xE9", 4), .name = "C", .size = 6});
  EXPECT_EQ(linesFor(bank.build()),
            (Lines{"[Format] Acid → Detected as E4B/E3B variant (IFF format): E4B0",
                   "[E4B0] Acid → TOC1 size: 160, range: 20-180 (data length: 180)",
                   "[E4B0] Acid entry 1: 'E4P1' (hex: 45 34 50 31) size=300 bytes",
                   "[E4B0] Acid ✓ Preset found: E4P1",
                   "[E4B0] Acid entry 2: [NULL/DELETED] (hex: 00 00 00 00) size=12",
                   "[E4B0] Acid entry 3: 'E4S1' (hex: 45 34 53 31) size=4294967295 bytes",
                   "[E4B0] Acid ✓ Sample/Audio found: E4S1",
                   "[E4B0] Acid entry 4: 'XY Z' (hex: 58 59 20 5a) size=5 bytes",
                   "[E4B0] Acid ? Unknown chunk type: XY Z (not counted in standard scan)",
                   "[E4B0] Acid entry 5: 'A?\?\?' (hex: 41 00 7f e9) size=6 bytes [binary]",
                   "[E4B0] Acid ? Unknown chunk type: A... (not counted in standard scan)",
                   "[E4B0] Acid → TOC1 complete: 5 entries scanned, 1 presets, 1 samples",
                   "[E4B0] Acid → FINAL Presets: 1, Samples: 1 (from TOC1)"}));
}

TEST(IffLog, SampleTypeEndingInAZeroByteIsShownUpToIt) {
  const Lines lines = linesFor(IffBank().toc({.type = "E4S", .name = "A"}).build());
  EXPECT_EQ(lines[2], "[E4B0] Acid entry 1: 'E4S?' (hex: 45 34 53 00) size=0 bytes [binary]");
  EXPECT_EQ(lines[3], "[E4B0] Acid ✓ Sample/Audio found: E4S");
}

TEST(IffLog, TellsOfTheSecondPass) {
  EXPECT_EQ(
      linesFor(IffBank().toc({.type = "XXXX"}).toc({.type = ""}).build()),
      (Lines{"[Format] Acid → Detected as E4B/E3B variant (IFF format): E4B0",
             "[E4B0] Acid → TOC1 size: 64, range: 20-84 (data length: 84)",
             "[E4B0] Acid entry 1: 'XXXX' (hex: 58 58 58 58) size=0 bytes",
             "[E4B0] Acid ? Unknown chunk type: XXXX (not counted in standard scan)",
             "[E4B0] Acid entry 2: [NULL/DELETED] (hex: 00 00 00 00) size=0",
             "[E4B0] Acid → TOC1 complete: 2 entries scanned, 0 presets, 0 samples",
             "[E4B0] Acid → TOC1 had entries but no recognized types. Re-scanning with permissive logic...",
             "[E4B0] Acid → FINAL Presets: 0, Samples: 1 (from unknown entries)"}));
}

TEST(IffLog, TellsOfASecondPassThatFoundNothing) {
  EXPECT_EQ(
      linesFor(IffBank("E3B0").toc({.type = ""}).build()),
      (Lines{"[Format] Acid → Detected as E4B/E3B variant (IFF format): E3B0",
             "[E4B0] Acid → TOC1 size: 32, range: 20-52 (data length: 52)",
             "[E4B0] Acid entry 1: [NULL/DELETED] (hex: 00 00 00 00) size=0",
             "[E4B0] Acid → TOC1 complete: 1 entries scanned, 0 presets, 0 samples",
             "[E4B0] Acid → TOC1 had entries but no recognized types. Re-scanning with permissive logic...",
             "[E4B0] Acid → FINAL Empty TOC1 (presets: 0, samples: 0)"}));
}

} // namespace
} // namespace tessary
