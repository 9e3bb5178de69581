#include "tests/support/EngineInternals.h"
#include "tests/writing/WritableVolume.h"

#include <gtest/gtest.h>

#include <optional>

namespace tessary::test {
namespace {

using Internals = EMU3FilesystemInternals;

std::optional<EntryPlace> freeEntry(const MountedVolume &volume, const EMU3DirectoryPtr &folder) {
  std::int64_t block = -77;
  std::int64_t offset = -78;
  if (Internals::findFreeDentry(*volume, folder, &block, &offset))
    return EntryPlace{static_cast<std::uint64_t>(block), static_cast<std::size_t>(offset)};
  EXPECT_EQ(block, -77) << "what is not found must leave the answer alone";
  EXPECT_EQ(offset, -78) << "what is not found must leave the answer alone";
  return std::nullopt;
}

std::optional<EntryPlace> freeEntryOfRoot(const ImageBuilder &image) {
  const MountedVolume volume(image);
  return freeEntry(volume, volume.root());
}

// --- Finding a free entry --------------------------------------------------------------------------

TEST(FreeEntry, OfAnEmptyFolderIsItsFirst) {
  EXPECT_EQ(freeEntryOfRoot(ImageBuilder(smallLayout())), (EntryPlace{4, 0}));
}

TEST(FreeEntry, IsTheFirstWhoseNameBeginsWithZero) {
  ImageBuilder image(smallLayout());
  image.root().addFile("a");
  image.root().addFile("b");
  image.root().addFile("d", {}, {.entry = std::size_t{3}});
  EXPECT_EQ(freeEntryOfRoot(image), (EntryPlace{4, 2}));
}

TEST(FreeEntry, OneWithAZeroFirstByteIsFreeWhateverElseItHolds) {
  ImageBuilder image(smallLayout());
  RawEntry entry = rawFileEntry("file", 0x81, 1, 1, 1, 1, 1);
  entry[0] = 0;
  image.root().addRaw(entry);
  EXPECT_EQ(freeEntryOfRoot(image), (EntryPlace{4, 0}));
}

TEST(FreeEntry, OneWithATypeByteOfZeroIsFreeThoughItHasAName) {
  ImageBuilder image(smallLayout());
  image.root().addFile("live");
  image.root().addFile("deleted", bytesOf("x"), {.type = 0});
  EXPECT_EQ(freeEntryOfRoot(image), (EntryPlace{4, 1}));
}

TEST(FreeEntry, IsAlsoTheEntryOfALiveFolder) {
  ImageBuilder image(smallLayout());
  image.root().addFile("live");
  image.root().addFolder("folder");
  EXPECT_EQ(freeEntryOfRoot(image), (EntryPlace{4, 1}));
}

TEST(FreeEntry, IsNotTheEntryOfAFolderWithAFifthBlock) {
  ImageBuilder image(smallLayout());
  image.root().addFolder("folder", {.blockList = {5, 6, 7, 8, 9}}); // byte 26 is 9
  EXPECT_EQ(freeEntryOfRoot(image), (EntryPlace{4, 1}));
}

TEST(FreeEntry, FullFolderHasNone) {
  ImageBuilder image(smallLayout());
  fillFolder(image.root());
  EXPECT_EQ(freeEntryOfRoot(image), std::nullopt);
}

TEST(FreeEntry, BlocksAreSearchedInTheOrderOfTheList) {
  ImageBuilder image(smallLayout());
  auto folder = image.root().addFolder("folder", {.blockList = {9, 7, 8}});
  fillFolder(folder, 16);
  const MountedVolume volume(image);
  EXPECT_EQ(freeEntry(volume, folderNamed(volume.root(), "folder")), (EntryPlace{7, 0}));
}

TEST(FreeEntry, LastEntryOfTheLastBlockIsFound) {
  ImageBuilder image(smallLayout());
  auto folder = image.root().addFolder("folder", {.blockList = {9, 7}});
  fillFolder(folder, 31);
  const MountedVolume volume(image);
  EXPECT_EQ(freeEntry(volume, folderNamed(volume.root(), "folder")), (EntryPlace{7, 15}));
}

TEST(FreeEntry, BlocksOutsideTheImageAreSkipped) {
  ImageBuilder image(smallLayout());
  const std::int16_t blocks[] = {30000, 512, 7};
  image.root().addRaw(rawFolderEntry("folder", 0x40, blocks));
  const std::int16_t outside[] = {30000, 512};
  image.root().addRaw(rawFolderEntry("outside", 0x40, outside));
  const MountedVolume volume(image);
  EXPECT_EQ(freeEntry(volume, folderNamed(volume.root(), "folder")), (EntryPlace{7, 0}));
  EXPECT_EQ(freeEntry(volume, folderNamed(volume.root(), "outside")), std::nullopt);
}

TEST(FreeEntry, FolderWithoutBlocksHasNone) {
  ImageBuilder image(smallLayout());
  image.root().addRaw(rawFolderEntry("folder", 0x40, {}));
  const MountedVolume volume(image);
  EXPECT_EQ(freeEntry(volume, folderNamed(volume.root(), "folder")), std::nullopt);
}

// --- Building a file's entry -----------------------------------------------------------------------

RawEntry built(const std::string &name, std::uint64_t length, Guards guards = Guards::off) {
  const WritableVolume volume(ImageBuilder(smallLayout()), guards);
  return Internals::dentryForFile(*volume, name, 0x1234, length, 0x56);
}

std::string nameField(const std::string &name, Guards guards = Guards::off) {
  const RawEntry entry = built(name, 1, guards);
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

TEST(FileEntry, NameIsCutAfterFifteenBytes) {
  using namespace std::string_literals;
  EXPECT_EQ(nameField("16 characters..x"), "16 characters..\0"s);
  EXPECT_EQ(nameField("a name of more than sixteen characters"), "a name of more \0"s);
}

TEST(FileEntry, BareCutMayGoThroughACharacter) {
  using namespace std::string_literals;
  EXPECT_EQ(nameField("abcdefghijklmn\u00e9"), "abcdefghijklmn\xC3\0"s);
  EXPECT_EQ(nameField("\u20ac\u20ac\u20ac\u20ac\u20ac"), "\u20ac\u20ac\u20ac\u20ac\u20ac\0"s);
  EXPECT_EQ(nameField("a\u20ac\u20ac\u20ac\u20ac\u20ac"), "a\u20ac\u20ac\u20ac\u20ac\xE2\x82\0"s);
}

TEST(FileEntry, GuardedCutKeepsWholeCharacters) {
  using namespace std::string_literals;
  EXPECT_EQ(nameField("abcdefghijklmn\u00e9", Guards::on), "abcdefghijklmn\0 "s);
  EXPECT_EQ(nameField("a\u20ac\u20ac\u20ac\u20ac\u20ac", Guards::on), "a\u20ac\u20ac\u20ac\u20ac\0  "s);
  EXPECT_EQ(nameField("abcdefghijklm\U0001F941", Guards::on), "abcdefghijklm\0  "s);
}

TEST(FileEntry, NameWithoutAUtf8FormIsEmpty) {
  using namespace std::string_literals;
  EXPECT_EQ(nameField("kick\xFF"), "\0               "s);
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
  const MountedVolume volume{ImageBuilder(smallLayout())};
  EXPECT_EQ(Internals::dentryForFile(*volume, "x", 0xFFFF, 700, 0xFF), newFileEntry("x", 0xFFFF, 0xFF, 700));
  EXPECT_EQ(Internals::dentryForFile(*volume, "x", 0, 0, 0), newFileEntry("x", 0, 0, 0));
}

// --- Writing an entry ------------------------------------------------------------------------------

TEST(EntryWriting, ReplacesItsThirtyTwoBytesAlone) {
  ImageBuilder image(smallLayout());
  image.poke(7 * kBlockBytes, patternBytes(kBlockBytes, 4));
  WritableVolume volume(std::move(image));
  const RawEntry entry = newFileEntry("entry", 3, 4, 5);
  for (const std::size_t index : {std::size_t{0}, std::size_t{6}, std::size_t{15}}) {
    Internals::writeDentry(*volume, entry, 7, static_cast<std::int64_t>(index));
    volume.expected.pokeEntry({7, index}, entry);
    EXPECT_TRUE(volume.imageIsAsExpected()) << index;
  }
}

TEST(EntryWriting, InABlockOutsideTheImageDoesNothing) {
  const WritableVolume volume{ImageBuilder(smallLayout())};
  for (const std::int64_t block : {std::int64_t{512}, std::int64_t{1} << 60, std::int64_t{-1}})
    Internals::writeDentry(*volume, newFileEntry("entry", 3, 4, 5), block, 0);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

// --- Choosing an entry id --------------------------------------------------------------------------

std::uint8_t idAfter(std::initializer_list<std::uint8_t> ids) {
  const auto folder = std::make_shared<EMU3Directory>();
  for (const std::uint8_t id : ids) {
    EMU3FileFields fields;
    fields.entryId = id;
    fields.rawType = 0x81;
    folder->appendFile(std::make_shared<EMU3File>(fields));
  }
  return Internals::nextEntryId(folder);
}

TEST(EntryId, OfAnEmptyFolderIsZero) {
  EXPECT_EQ(idAfter({}), 0);
}

TEST(EntryId, IsOneAboveTheHighest) {
  EXPECT_EQ(idAfter({0}), 1);
  EXPECT_EQ(idAfter({3, 9, 4}), 10);
  EXPECT_EQ(idAfter({254}), 255);
}

TEST(EntryId, AfterA255AtTheEndIsZero) {
  EXPECT_EQ(idAfter({255}), 0);
  EXPECT_EQ(idAfter({3, 255}), 0);
  EXPECT_EQ(idAfter({255, 255}), 0);
}

TEST(EntryId, CountsAnewAfterA255) {
  EXPECT_EQ(idAfter({255, 3}), 4);
  EXPECT_EQ(idAfter({255, 0}), 1);
  EXPECT_EQ(idAfter({7, 255, 3, 2, 5}), 6);
}

TEST(EntryId, LooksAtDeletedFilesButNotAtFolders) {
  const auto folder = std::make_shared<EMU3Directory>();
  EMU3FileFields deleted;
  deleted.entryId = 20;
  folder->appendFile(std::make_shared<EMU3File>(deleted));
  const auto below = std::make_shared<EMU3Directory>();
  below->setEntryId(0x40);
  folder->appendSubdirectory(below);
  EXPECT_EQ(Internals::nextEntryId(folder), 21);
}

} // namespace
} // namespace tessary::test
