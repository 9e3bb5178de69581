// Copies, restored files and moved ones keep what their entry says.

#include "tests/writing/guarded/GuardedVolume.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

namespace tessary::test {
namespace {

// An entry with something in each of its bytes.
RawEntry fullEntry(std::uint8_t type, std::uint8_t id, std::uint16_t slot, std::uint16_t blocks,
                   std::uint16_t bytesInLast) {
  RawEntry entry = rawFileEntry("sixteen bytes...", type, id, slot, 7, blocks, bytesInLast);
  entry[16] = 0xEE;
  entry[27] = 0xDD;
  for (std::size_t at = 28; at < 32; ++at)
    entry[at] = static_cast<std::uint8_t>(0xA0 + at);
  return entry;
}

// The source's entry but for id, slot, cluster count and sizes.
RawEntry copyOf(RawEntry entry, std::uint8_t id, std::uint16_t slot, std::uint16_t blocks,
                std::uint16_t bytesInLast) {
  const RawEntry numbers = rawFileEntry("", 0x81, id, slot, 1, blocks, bytesInLast);
  entry[17] = id;
  std::copy(numbers.begin() + 18, numbers.begin() + 26, entry.begin() + 18);
  return entry;
}

// Contents of three blocks in slot 2 and an entry for them at {4, 0}; an empty folder whose block is 5.
ImageBuilder volumeWith(const RawEntry &entry) {
  ImageBuilder image(smallLayout());
  image.root().addRaw(entry);
  image.root().addFolder("folder", {.blockList = {5}});
  image.poke(24 * kBlockBytes, patternBytes(3 * kBlockBytes, 1));
  putMarks(image, 24, 3, 0x8000);
  return image;
}

void putCopy(ImageBuilder &image, EntryPlace place, const RawEntry &entry, std::uint64_t firstBlock,
             const Bytes &contents) {
  putData(image, firstBlock, contents);
  putMarks(image, firstBlock, (contents.size() + 511) / 512, 0x8000);
  image.pokeEntry(place, entry);
}

// --- Copies ----------------------------------------------------------------------------------------

class CopiedKind : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Types, CopiedKind, testing::Values(0x80, 0x81, 0x82, 0x83, 0x01, 0x99, 0xFF));

TEST_P(CopiedKind, IsThatOfTheSourceByteForByte) {
  const RawEntry source = fullEntry(static_cast<std::uint8_t>(GetParam()), 9, 2, 3, 100);
  GuardedVolume volume(volumeWith(source));
  const EMU3DirectoryPtr folder = volume.folderAt("folder");
  ASSERT_TRUE(volume->copyFile(volume.root()->files()[0], folder));
  const std::uint16_t slot = 9; // the source claims slots 2 to 8
  putCopy(volume.expected, {5, 0}, copyOf(source, 0, slot, 3, 100), 16 + 8 * 8, patternBytes(1124, 1));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.isAsReadAnew());
  EXPECT_EQ(folder->files().at(0)->name(), "sixteen bytes...");
  EXPECT_EQ(folder->files()[0]->fileType(), volume.root()->files()[0]->fileType());
}

struct Sizes {
  std::uint16_t blocks, bytesInLast;         ///< as the source's entry says
  std::size_t length;                        ///< of what it holds
  std::uint16_t copyBlocks, copyBytesInLast; ///< as its copy's says
};

void PrintTo(const Sizes &sizes, std::ostream *out) {
  *out << sizes.blocks << " blocks, " << sizes.bytesInLast << " bytes";
}

class CopiedSizes : public testing::TestWithParam<Sizes> {};

TEST_P(CopiedSizes, AreThoseOfTheContents) {
  const Sizes &sizes = GetParam();
  const RawEntry source = rawFileEntry("file", 0x80, 0, 2, 1, sizes.blocks, sizes.bytesInLast);
  GuardedVolume volume(volumeWith(source));
  ASSERT_TRUE(volume->copyFile(volume.file("file"), volume.folderAt("folder")));
  putCopy(volume.expected, {5, 0}, copyOf(source, 0, 3, sizes.copyBlocks, sizes.copyBytesInLast), 32,
          patternBytes(sizes.length, 1));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.isAsReadAnew());
}

INSTANTIATE_TEST_SUITE_P(Usual, CopiedSizes,
                         testing::Values(Sizes{1, 1, 1, 1, 1}, Sizes{1, 512, 512, 1, 512},
                                         Sizes{2, 1, 513, 2, 1}, Sizes{3, 512, 1536, 3, 512}));
INSTANTIATE_TEST_SUITE_P(Odd, CopiedSizes,
                         testing::Values(Sizes{2, 0, 512, 1, 512}, Sizes{2, 600, 1024, 2, 512},
                                         Sizes{1, 65535, 512, 1, 512}, Sizes{1, 0, 512, 1, 512},
                                         Sizes{0, 0, 0, 0, 0}, Sizes{0, 300, 0, 0, 0}));

TEST(CopiedName, ThatIsNoTextStaysWhatItIs) {
  for (const std::string name : {"\xFF\xFE", "Caf\xE9", "abcdefghijklmno\xC3", "   "}) {
    const RawEntry source = rawFileEntry(name, 0x82, 1, 2, 1, 2, 10);
    GuardedVolume volume(volumeWith(source));
    ASSERT_TRUE(volume->copyFile(volume.root()->files()[0], volume.folderAt("folder")));
    putCopy(volume.expected, {5, 0}, copyOf(source, 0, 3, 2, 10), 32, patternBytes(522, 1));
    EXPECT_TRUE(volume.imageIsAsExpected()) << volume.root()->files()[0]->name();
    EXPECT_TRUE(volume.isAsReadAnew());
  }
}

TEST(CopiedFile, InItsOwnFolderGetsTheNextIdAndTheSlotAboveAll) {
  ImageBuilder image(smallLayout());
  image.root().addFile("source", patternBytes(600, 1), {.entryId = std::uint8_t{9}});
  image.root().addFolder("other").addFile("far", bytesOf("x"), {.slot = std::uint16_t{7}});
  const RawEntry source = image.entryAt({4, 0});
  GuardedVolume volume(std::move(image));
  ASSERT_TRUE(volume->copyFile(volume.file("source"), volume.root()));
  putCopy(volume.expected, {4, 2}, copyOf(source, 10, 8, 2, 88), 16 + 7 * 8, patternBytes(600, 1));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST(CopiedFile, TakesTheEntryOfADeletedFileWhole) {
  ImageBuilder image(smallLayout());
  image.root().addFile("source", patternBytes(600, 1));
  const EntryPlace gone = image.root().addDeletedFile({.slot = std::uint16_t{60}});
  image.poke(gone.block * kBlockBytes + gone.index * 32 + 16, {0xEE});
  const RawEntry source = image.entryAt({4, 0});
  GuardedVolume volume(std::move(image));
  ASSERT_TRUE(volume->copyFile(volume.file("source"), volume.root()));
  putCopy(volume.expected, gone, copyOf(source, 1, 2, 2, 88), 24, patternBytes(600, 1));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(CopiedFile, IsReadFromTheImageWhateverIsCached) {
  const RawEntry source = rawFileEntry("file", 0x81, 0, 2, 1, 2, 100);
  GuardedVolume volume(volumeWith(source));
  ASSERT_NE(volume->dataForFile(volume.file("file")), nullptr);
  const Bytes later = patternBytes(612, 8);
  patchBytes(volume.imagePath(), 24 * kBlockBytes, later);
  putData(volume.expected, 24, later);
  volume.expected.poke(24 * kBlockBytes + 612, patternBytes(3 * kBlockBytes, 1));
  volume.takeImageAsExpected();
  ASSERT_TRUE(volume->copyFile(volume.file("file"), volume.folderAt("folder")));
  putCopy(volume.expected, {5, 0}, copyOf(source, 0, 3, 2, 100), 32, later);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

// --- Ids with which an entry would read as a folder's -------------------------------------------------

struct Id {
  std::uint8_t type;
  bool isMarked; ///< "E4B0" at its end
  std::uint8_t highest;
  std::uint8_t id;
};

void PrintTo(const Id &id, std::ostream *out) {
  *out << int{id.type} << " above " << int{id.highest};
}

class GivenId : public testing::TestWithParam<Id> {
protected:
  static RawEntry source() {
    RawEntry entry = rawFileEntry("file", GetParam().type, 1, 2, 1, 2, 100);
    if (GetParam().isMarked) std::copy_n("E4B0", 4, entry.begin() + 28);
    return entry;
  }
  static ImageBuilder image() {
    ImageBuilder builder = volumeWith(source());
    builder.root()
        .addFolder("target", {.blockList = {6}})
        .addFile("highest", bytesOf("x"),
                 {.entryId = GetParam().highest, .slot = std::uint16_t{1}, .storesContents = false});
    return builder;
  }

  GuardedVolume volume{image()};
  EMU3DirectoryPtr target = volume.folderAt("target");
};

TEST_P(GivenId, ToACopyLetsItReadAsAFile) {
  ASSERT_TRUE(volume->copyFile(volume.file("file"), target));
  putCopy(volume.expected, {6, 1}, copyOf(source(), GetParam().id, 3, 2, 100), 32, patternBytes(612, 1));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST_P(GivenId, ToAMovedFileLetsItReadAsAFile) {
  ASSERT_TRUE(volume->moveFile(volume.file("file"), volume.root(), target));
  RawEntry moved = source();
  moved[17] = GetParam().id;
  volume.expected.pokeEntry({6, 1}, moved);
  clearFileEntry(volume.expected, {4, 0});
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST_P(GivenId, ToARestoredFileLetsItReadAsAFile) {
  const std::string backup = volume.hostFile("backup", patternBytes(612, 4));
  ASSERT_TRUE(volume->restoreFileAtURL(backup, source(), target));
  putCopy(volume.expected, {6, 1}, copyOf(source(), GetParam().id, 3, 2, 100), 32, patternBytes(612, 4));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.isAsReadAnew());
}

INSTANTIATE_TEST_SUITE_P(OfAPlainFile, GivenId,
                         testing::Values(Id{0x82, false, 0x3E, 0x3F}, Id{0x82, false, 0x3F, 0x41},
                                         Id{0x82, false, 0x40, 0x41}, Id{0x82, false, 0x7F, 0x81},
                                         Id{0x82, false, 0xFE, 0xFF}, Id{0x82, false, 0xFF, 0x00},
                                         Id{0x99, false, 0x3F, 0x41}, Id{0x82, true, 0x3F, 0x40}));
INSTANTIATE_TEST_SUITE_P(OfABank, GivenId,
                         testing::Values(Id{0x81, false, 0x3F, 0x40}, Id{0x83, false, 0x7F, 0x80},
                                         Id{0x80, false, 0x3F, 0x40}));

TEST(GivenIds, AreThoseOfPlainFilesOneAfterTheOther) {
  const RawEntry source = rawFileEntry("file", 0x82, 0x3E, 2, 1, 1, 1);
  const GuardedVolume volume(volumeWith(source));
  for (const int id : {0x3F, 0x41, 0x42}) {
    ASSERT_TRUE(volume->copyFile(volume.file("file"), volume.root()));
    EXPECT_EQ(volume.root()->files().back()->entryId(), id);
  }
}

// --- Restored files --------------------------------------------------------------------------------

class RestoredKind : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Types, RestoredKind, testing::Values(0x80, 0x81, 0x82, 0x83, 0x01, 0x99));

TEST_P(RestoredKind, IsThatOfTheDeletedFile) {
  const RawEntry source = fullEntry(static_cast<std::uint8_t>(GetParam()), 9, 2, 3, 100);
  GuardedVolume volume(volumeWith(source));
  const EMU3FilePtr file = volume.root()->files()[0];
  const std::optional<EntryBytes> entry = volume->entryOfFile(file);
  ASSERT_EQ(entry, source);
  const std::string backup = volume.folder().path("backup");
  ASSERT_TRUE(volume->exportFile(file, backup));
  ASSERT_TRUE(volume->deleteFile(file, volume.root()));
  const EMU3FilePtr restored = volume->restoreFileAtURL(backup, *entry, volume.root());
  ASSERT_NE(restored, nullptr);
  EXPECT_EQ(volume.root()->files(), std::vector<EMU3FilePtr>{restored});
  putMarks(volume.expected, 24, 3, 0);
  putCopy(volume.expected, {4, 0}, copyOf(source, 0, 1, 3, 100), 16, patternBytes(1124, 1));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST(RestoredFile, GoesToTheFirstFreePlace) {
  ImageBuilder image(smallLayout());
  image.root().addFile("gone", bytesOf("x"), {.type = 0, .slot = std::uint16_t{1}, .storesContents = false});
  image.root().addFile("file", patternBytes(600, 1), {.type = 0x80, .slot = std::uint16_t{2}});
  image.root().addFile("after", patternBytes(600, 1), {.entryId = std::uint8_t{30}});
  const RawEntry source = image.entryAt({4, 1});
  GuardedVolume volume(std::move(image));
  const EMU3FilePtr file = volume.file("file");
  const std::optional<EntryBytes> entry = volume->entryOfFile(file);
  ASSERT_TRUE(volume->deleteFile(file, volume.root()));
  const std::string backup = volume.hostFile("backup", patternBytes(700, 2)); // whatever it holds by now
  ASSERT_TRUE(volume->restoreFileAtURL(backup, *entry, volume.root()));
  clearFileEntry(volume.expected, {4, 1});
  putMarks(volume.expected, 24, 2, 0);
  putCopy(volume.expected, {4, 0}, copyOf(source, 31, 4, 2, 188), 40, patternBytes(700, 2));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST(RestoredFile, OfANameThatIsNoTextGetsItBack) {
  for (const std::string name : {"\xFF\xFE", "   ", "abcdefghijklmno\xC3"}) {
    const RawEntry source = rawFileEntry(name, 0x82, 1, 2, 1, 2, 10);
    GuardedVolume volume{ImageBuilder(smallLayout())};
    const std::string backup = volume.hostFile("backup", patternBytes(522, 2));
    ASSERT_TRUE(volume->restoreFileAtURL(backup, source, volume.root()));
    putCopy(volume.expected, {4, 0}, copyOf(source, 0, 1, 2, 10), 16, patternBytes(522, 2));
    EXPECT_TRUE(volume.imageIsAsExpected());
    EXPECT_TRUE(volume.isAsReadAnew());
  }
}

TEST(RestoredFile, ThatIsEmptyTakesASlotAndMarksNothing) {
  const RawEntry source = rawFileEntry("empty", 0x80, 1, 2, 1, 0, 0);
  GuardedVolume volume{ImageBuilder(smallLayout())};
  ASSERT_TRUE(volume->restoreFileAtURL(volume.hostFile("backup", {}), source, volume.root()));
  volume.expected.pokeEntry({4, 0}, copyOf(source, 0, 1, 0, 0));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.hasFree(496 - 8));
}

// An import alone makes its entry anew.
TEST(ImportedFile, IsABankWithTheMark) {
  GuardedVolume volume{ImageBuilder(smallLayout())};
  ASSERT_TRUE(volume.import("kick.wav", patternBytes(600, 1)));
  putNewFile(volume.expected, {4, 0}, "kick", 1, 0, patternBytes(600, 1));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

// --- Moves -----------------------------------------------------------------------------------------

class MovedKind : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Types, MovedKind, testing::Values(0x80, 0x81, 0x82, 0x83, 0x01, 0x99));

TEST_P(MovedKind, IsTheEntryElsewhereAndNothingElse) {
  const RawEntry source = fullEntry(static_cast<std::uint8_t>(GetParam()), 9, 2, 3, 1700);
  GuardedVolume volume(volumeWith(source));
  const Counters before = countersOf(*volume);
  const EMU3DirectoryPtr folder = volume.folderAt("folder");
  const EMU3FilePtr file = volume.root()->files()[0];
  EMU3Error error;
  ASSERT_TRUE(volume->moveFile(file, volume.root(), folder, &error));
  EXPECT_FALSE(error.isSet());
  RawEntry moved = source;
  moved[17] = 0;
  volume.expected.pokeEntry({5, 0}, moved);
  clearFileEntry(volume.expected, {4, 0});
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume), before);
  EXPECT_TRUE(volume.root()->files().empty());
  ASSERT_EQ(folder->files().size(), 1U);
  EXPECT_NE(folder->files()[0], file) << "a new object";
  EXPECT_EQ(file->folder(), nullptr) << "the old one has left the tree";
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST(MovedFile, NeedsNoRoom) {
  ImageBuilder image(smallLayout());
  image.root().addFile("file", patternBytes(600, 1), {.entryId = std::uint8_t{0}, .slot = std::uint16_t{62}});
  image.root().addFolder("folder", {.blockList = {5}});
  putMarks(image, 16, 496, 0x8000);
  GuardedVolume volume(std::move(image));
  ASSERT_TRUE(volume.hasFree(0));
  ASSERT_TRUE(volume->moveFile(volume.file("file"), volume.root(), volume.folderAt("folder")));
  volume.expected.pokeEntry({5, 0}, volume.expected.entryAt({4, 0}));
  clearFileEntry(volume.expected, {4, 0});
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.hasFree(0));
  EXPECT_EQ(contentsOf(*volume, fileNamed(volume.folderAt("folder"), "file")), patternBytes(600, 1));
}

TEST(MovedFile, ReadsNothingSoThatItsContentsMayBeIncomplete) {
  for (const std::uint16_t slot : {std::uint16_t{62}, std::uint16_t{0}, std::uint16_t{65535}}) {
    const RawEntry source = rawFileEntry("file", 0x82, 0, slot, 1, 9999, 100);
    GuardedVolume volume(volumeWith(source));
    ASSERT_TRUE(volume->moveFile(volume.file("file"), volume.root(), volume.folderAt("folder")));
    volume.expected.pokeEntry({5, 0}, source);
    clearFileEntry(volume.expected, {4, 0});
    EXPECT_TRUE(volume.imageIsAsExpected());
    EXPECT_TRUE(volume.isAsReadAnew());
  }
}

TEST(MovedFile, IsNotLargerThanItsEntrySays) {
  const RawEntry source = rawFileEntry("file", 0x81, 0, 2, 65535, 65535, 512);
  const GuardedVolume volume(volumeWith(source));
  EXPECT_TRUE(volume->moveFile(volume.file("file"), volume.root(), volume.folderAt("folder")));
}

TEST(MovedFile, IntoAFullFolderStaysWhereItIs) {
  ImageBuilder image = volumeWith(fullEntry(0x80, 1, 2, 3, 100));
  const std::vector<std::int16_t> blocks = {6, 7, 8, 9, 10, 11, 12};
  fillAllBlocks(image.root().addFolder("full", {.blockList = blocks}));
  const GuardedVolume volume(std::move(image));
  volume.expectRefused(kFolderFullError, [&](EMU3Error *error) {
    return volume->moveFile(volume.root()->files()[0], volume.root(), volume.folderAt("full"), error);
  });
}

TEST(MovedFile, WithinItsFolderIsTheSameObject) {
  const GuardedVolume volume(volumeWith(fullEntry(0x80, 1, 2, 3, 100)));
  const EMU3FilePtr file = volume.root()->files()[0];
  EXPECT_TRUE(volume->moveFile(file, volume.root(), volume.root()));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.root()->files(), std::vector<EMU3FilePtr>{file});
}

TEST(MovedFile, WhoseEntryLiesOutsideTheImageStaysWhereItIs) {
  const GuardedVolume volume(volumeWith(fullEntry(0x80, 1, 2, 3, 100)));
  const EMU3FilePtr file = withDentryBlock(volume.root()->files()[0], 512);
  EMU3Error error;
  EXPECT_FALSE(volume->moveFile(file, volume.root(), volume.folderAt("folder"), &error));
  EXPECT_EQ(error.description(), kNoEntryError);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.root()->files().size(), 1U);
  EXPECT_TRUE(volume.folderAt("folder")->files().empty());
}

TEST(MovedFile, IsDeletedFromWhereItIsNow) {
  GuardedVolume volume(volumeWith(fullEntry(0x80, 1, 2, 3, 100)));
  const EMU3DirectoryPtr folder = volume.folderAt("folder");
  ASSERT_TRUE(volume->moveFile(volume.root()->files()[0], volume.root(), folder));
  volume.takeImageAsExpected();
  ASSERT_TRUE(volume->deleteFile(folder->files()[0], folder));
  clearFileEntry(volume.expected, {5, 0});
  putMarks(volume.expected, 24, 8, 0);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.hasFree(496));
}

} // namespace
} // namespace tessary::test
