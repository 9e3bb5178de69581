// The 32 bytes of a directory entry: its two forms, its name, new ones.

#include "filesystem/DirectoryEntry.h"
#include "tests/writing/WritableVolume.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace tessary::test {
namespace {

using BlockNumbers = std::vector<std::int16_t>;

// --- Names -----------------------------------------------------------------------------------------

std::optional<std::string> nameOf(std::string field) {
  EXPECT_EQ(field.size(), 16U);
  return nameOfDentry(reinterpret_cast<const std::uint8_t *>(field.data()));
}

std::string field(std::string text, char padding = ' ') {
  text.resize(16, padding);
  return text;
}

TEST(EntryName, TrailingSpacesAndZerosAreDropped) {
  EXPECT_EQ(nameOf(field("KICK")), "KICK");
  EXPECT_EQ(nameOf(field("KICK", '\0')), "KICK");
  EXPECT_EQ(nameOf(std::string("KICK\0 \0  \0      ", 16)), "KICK");
  EXPECT_EQ(nameOf("SIXTEEN LETTERS!"), "SIXTEEN LETTERS!");
}

TEST(EntryName, LeadingAndInnerSpacesStay) {
  EXPECT_EQ(nameOf(field("  PAD")), "  PAD");
  EXPECT_EQ(nameOf(field("A  B")), "A  B");
}

TEST(EntryName, EndsAtAZeroByteInTheMiddle) {
  EXPECT_EQ(nameOf(std::string("KICK\0SNARE      ", 16)), "KICK");
  EXPECT_EQ(nameOf(std::string("KI  \0SNARE      ", 16)), "KI  ");
}

TEST(EntryName, OfSpacesOrBehindAZeroIsNone) {
  EXPECT_EQ(nameOf(field("")), std::nullopt);
  EXPECT_EQ(nameOf(field("", '\0')), std::nullopt);
  EXPECT_EQ(nameOf(std::string("\0KICK           ", 16)), std::nullopt);
}

TEST(EntryName, IsDecodedAsUtf8) {
  EXPECT_EQ(nameOf(field("Caf\xC3\xA9")), "Caf\xC3\xA9");
  EXPECT_EQ(nameOf(field("\xF0\x9F\xA5\x81")), "\xF0\x9F\xA5\x81");
}

TEST(EntryName, ThatIsNotUtf8IsNone) {
  for (const char *text : {"Caf\xE9", "\xC3", "\x80", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xFF"})
    EXPECT_EQ(nameOf(field(text)), std::nullopt) << text;
  EXPECT_EQ(nameOf("FIFTEEN LETTERS\xC3"), std::nullopt); // a character cut in two by the field's end
}

TEST(EntryName, BytesBehindItsEndNeedNotBeUtf8) {
  EXPECT_EQ(nameOf(std::string("KICK\0\xFF\xFE         ", 16)), "KICK");
}

// --- Which form an entry has -------------------------------------------------------------------------

enum class Form { file, folder };

Form formOf(const RawEntry &entry) {
  return isFileDentry(entry.data()) ? Form::file : Form::folder;
}

Form formOf(std::uint8_t type, std::uint8_t id, bool marked) {
  RawEntry entry = rawFileEntry("Entry", type, id, 0, 0, 0, 0);
  if (marked) std::copy_n("E4B0", 4, entry.begin() + 28);
  return formOf(entry);
}

TEST(EntryForm, MarkedEntryIsAFileWhateverItsIdAndType) {
  for (const std::uint8_t id : Bytes{0x00, 0x40, 0x80, 0xFF})
    for (const std::uint8_t type : Bytes{0x00, 0x40, 0x80, 0x81, 0x82, 0x83, 0xFF})
      EXPECT_EQ(formOf(type, id, true), Form::file) << int{id} << ' ' << int{type};
}

TEST(EntryForm, TypeOfSystemOrBankMakesAFileWhateverItsId) {
  for (const std::uint8_t id : Bytes{0x00, 0x40, 0x80, 0xFF})
    for (const std::uint8_t type : Bytes{0x80, 0x81, 0x83})
      EXPECT_EQ(formOf(type, id, false), Form::file) << int{id} << ' ' << int{type};
}

TEST(EntryForm, OtherwiseTheIdDecides) {
  for (const std::uint8_t type : Bytes{0x00, 0x01, 0x7F, 0x82, 0x84, 0xFF}) {
    for (const std::uint8_t id : Bytes{0x40, 0x80})
      EXPECT_EQ(formOf(type, id, false), Form::folder) << int{id} << ' ' << int{type};
    for (const std::uint8_t id : Bytes{0x00, 0x01, 0x3F, 0x41, 0x7F, 0x81, 0xC0, 0xFF})
      EXPECT_EQ(formOf(type, id, false), Form::file) << int{id} << ' ' << int{type};
  }
}

TEST(EntryForm, MarkCountsOnlyWhole) {
  for (const char *mark : {"E4B1", "E3B0", "e4b0", " 4B0"}) {
    RawEntry entry = rawFileEntry("Entry", 0, 0x40, 0, 0, 0, 0);
    std::copy_n(mark, 4, entry.begin() + 28);
    EXPECT_EQ(formOf(entry), Form::folder) << mark;
  }
}

TEST(EntryForm, FolderWhoseFifthBlockLooksLikeATypeReadsAsAFile) {
  for (const std::int16_t fifth : BlockNumbers{0x80, 0x81, 0x83, 0x180, 0x7F81}) {
    const RawEntry entry = rawFolderEntry("Many Blocks", 0x40, BlockNumbers{50, 51, 52, 53, fifth});
    EXPECT_EQ(formOf(entry), Form::file) << fifth;
    const EMU3FileFields fields = fileFieldsOfDentry(entry.data(), "Many Blocks", {4, 3});
    EXPECT_EQ(fields.rawType, fifth & 0xFF);
    EXPECT_EQ(fields.startCluster, 50);
  }
}

TEST(EntryForm, FolderWithAnotherFifthBlockStaysAFolder) {
  for (const std::int16_t fifth : BlockNumbers{0x82, 0x7F, 0x84, -0x7F00, 0x0100})
    EXPECT_EQ(formOf(rawFolderEntry("Folder", 0x40, BlockNumbers{50, 51, 52, 53, fifth})), Form::folder)
        << fifth;
}

TEST(EntryForm, FolderWhoseLastBlocksSpellTheMarkReadsAsAFile) {
  // 0x3445 and 0x3042 are stored as the bytes of "E4" and "B0".
  EXPECT_EQ(formOf(rawFolderEntry("Spells", 0x40, BlockNumbers{1, 2, 3, 4, 5, 0x3445, 0x3042})), Form::file);
}

// --- Reading an entry ------------------------------------------------------------------------------

TEST(EntryFields, AreThoseOfAFilesEntry) {
  const RawEntry entry = rawFileEntry("Pad", 0x83, 200, 0x1234, 0x5678, 0x0302, 0x0109);
  const EMU3FileFields fields = fileFieldsOfDentry(entry.data(), "Pad", {17, 9});
  EXPECT_EQ(fields.name, "Pad");
  EXPECT_EQ(fields.rawType, 0x83);
  EXPECT_EQ(fields.fileType, kFileTypeBank);
  EXPECT_EQ(fields.entryId, 200);
  EXPECT_EQ(fields.startCluster, 0x1234);
  EXPECT_EQ(fields.clusterCount, 0x5678);
  EXPECT_EQ(fields.blocksInLastCluster, 0x0302);
  EXPECT_EQ(fields.bytesInLastBlock, 0x0109);
  EXPECT_EQ(fields.fileSize, 0x0302U * 512 + 0x0109 - 512);
  EXPECT_EQ(fields.dentryBlock, 17);
  EXPECT_EQ(fields.dentryOffset, 9);
}

TEST(EntryFields, FileWithoutBlocksHasNoSizeWhateverItsLastBlockHolds) {
  const RawEntry entry = rawFileEntry("Pad", 0x81, 0, 1, 1, 0, 300);
  EXPECT_EQ(fileFieldsOfDentry(entry.data(), "Pad", {}).fileSize, 0U);
}

TEST(EntryFields, FoldersBlocksAreThoseOfOneAndMoreInTheirOrder) {
  const auto blocksOf = [](const BlockNumbers &numbers) {
    return folderBlocks(rawFolderEntry("Folder", 0x40, numbers).data());
  };
  EXPECT_EQ(blocksOf({7, 0, -3, 9, 0, 0, 0}), (std::vector<std::int64_t>{7, 9}));
  EXPECT_EQ(blocksOf({0, -1, -32768}), std::vector<std::int64_t>());
  EXPECT_EQ(blocksOf({32767, 1}), (std::vector<std::int64_t>{32767, 1}));
  EXPECT_EQ(blocksOf({1, 2, 3, 4, 5, 6, 7}), (std::vector<std::int64_t>{1, 2, 3, 4, 5, 6, 7}));
}

// --- Building a file's entry -----------------------------------------------------------------------

RawEntry built(const std::string &storedName, std::uint64_t length) {
  return dentryForFile(storedName, 0x1234, length, 0x56);
}

std::string nameField(const std::string &storedName) {
  const RawEntry entry = built(storedName, 1);
  return {entry.begin(), entry.begin() + 16};
}

TEST(FileEntry, HoldsTheseThirtyTwoBytes) {
  const RawEntry expected = {'K', 'i', 'c',  0,    ' ',  ' ', ' ',  ' ',  ' ',  ' ', ' ',
                             ' ', ' ', ' ',  ' ',  ' ',  0,   0x56, 0x34, 0x12, 1,   0,
                             3,   0,   0x2C, 0x01, 0x81, 0,   'E',  '4',  'B',  '0'};
  EXPECT_EQ(built("Kic", 1024 + 300), expected);
}

TEST(FileEntry, NameEndsWithAZeroByteAndThenSpaces) {
  using namespace std::string_literals;
  EXPECT_EQ(nameField("abc"), "abc\0            "s);
  EXPECT_EQ(nameField(""), "\0               "s);
  EXPECT_EQ(nameField("14 characters."), "14 characters.\0 "s);
  EXPECT_EQ(nameField("15 characters.."), "15 characters..\0"s);
}

struct LengthFields {
  std::uint64_t length;
  std::uint16_t blocks;
  std::uint16_t bytesInLast;
};

void PrintTo(const LengthFields &fields, std::ostream *out) {
  *out << fields.length << " bytes";
}

class FileEntryLength : public testing::TestWithParam<LengthFields> {};

TEST_P(FileEntryLength, IsKeptInBlocksAndBytesOfTheLastBlock) {
  const RawEntry entry = built("a", GetParam().length);
  EXPECT_EQ(entry[22] | (entry[23] << 8), GetParam().blocks);
  EXPECT_EQ(entry[24] | (entry[25] << 8), GetParam().bytesInLast);
}

// From 32 MiB on the block count no longer fits its 16 bits.
INSTANTIATE_TEST_SUITE_P(
    Lengths, FileEntryLength,
    testing::Values(LengthFields{0, 0, 0}, LengthFields{1, 1, 1}, LengthFields{511, 1, 511},
                    LengthFields{512, 1, 512}, LengthFields{513, 2, 1}, LengthFields{1024, 2, 512},
                    LengthFields{65535 * 512, 65535, 512}, LengthFields{65535 * 512 - 511, 65535, 1},
                    LengthFields{65535 * 512 + 1, 0, 0xFE01}, LengthFields{65536 * 512, 0, 0},
                    LengthFields{65536 * 512 + 1, 1, 1}, LengthFields{40 * kMiB, 16384, 512}));

TEST(FileEntry, SlotAndIdAreStoredWhole) {
  EXPECT_EQ(dentryForFile("x", 0xFFFF, 700, 0xFF), newFileEntry("x", 0xFFFF, 0xFF, 700));
  EXPECT_EQ(dentryForFile("x", 0, 0, 0), newFileEntry("x", 0, 0, 0));
}

// --- Building a folder's entry ---------------------------------------------------------------------

TEST(FolderEntry, HoldsNameIdAndItsOneBlock) {
  const RawEntry expected = {'D', 'r', 'u', 'm', 's', 0,   ' ', ' ',  ' ',  ' ',
                             ' ', ' ', ' ', ' ', ' ', ' ', 0,   0x40, 0xFF, 0x7F};
  EXPECT_EQ(dentryForFolder("Drums", 0x7FFF), expected);
}

TEST(FolderEntry, ReadsBackWithTheBlockItWasMadeWith) {
  const RawEntry entry = dentryForFolder("15 characters..", 9);
  EXPECT_FALSE(isFileDentry(entry.data()));
  EXPECT_EQ(nameOfDentry(entry.data()), "15 characters..");
  EXPECT_EQ(folderBlocks(entry.data()), std::vector<std::int64_t>{9});
}

// --- The name of a renamed entry -------------------------------------------------------------------

TEST(RenamedEntry, HasSpacesBehindItsNameAndNoZero) {
  const auto field = [](std::string_view name) {
    const format::NameField bytes = nameFieldForRename(name);
    return std::string(bytes.begin(), bytes.end());
  };
  EXPECT_EQ(field("abc"), "abc             ");
  EXPECT_EQ(field("15 characters.."), "15 characters.. ");
  EXPECT_EQ(field(""), "                ");
}

} // namespace
} // namespace tessary::test
