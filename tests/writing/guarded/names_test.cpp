// Every entry has a name; a name that an entry cannot hold is refused; what is shown is what reads back.

#include "tests/writing/guarded/GuardedVolume.h"

#include <gtest/gtest.h>

#include <functional>

namespace tessary::test {
namespace {

using Names = std::vector<std::string>;

// --- How entries read ------------------------------------------------------------------------------

struct NameCase {
  std::string field; ///< the first bytes of the 16; spaces follow
  std::string name;
};

void PrintTo(const NameCase &name, std::ostream *out) {
  *out << name.name;
}

class EntryNames : public testing::TestWithParam<NameCase> {};

TEST_P(EntryNames, AreThoseOfFilesAndOfFolders) {
  ImageBuilder image(smallLayout());
  image.root().addRaw(rawFileEntry(GetParam().field, 0x81, 0, 1, 1, 1, 100));
  const std::int16_t blocks[] = {6};
  image.root().addRaw(rawFolderEntry(GetParam().field, 0x40, blocks));
  const GuardedVolume volume(std::move(image));
  EXPECT_EQ(namesOf(volume.root()->files()), Names{GetParam().name});
  EXPECT_EQ(namesOf(volume.root()->subdirectories()), Names{GetParam().name});
  EXPECT_TRUE(volume.imageIsAsExpected()) << "looking changes nothing";
}

INSTANTIATE_TEST_SUITE_P(Text, EntryNames,
                         testing::Values(NameCase{"KICK", "KICK"}, NameCase{"  KICK", "  KICK"},
                                         NameCase{std::string("KI\0CK", 5), "KI"},
                                         NameCase{"sixteen bytes...", "sixteen bytes..."},
                                         NameCase{"Caf\u00e9", "Caf\u00e9"}, NameCase{"%41", "%41"}));
INSTANTIATE_TEST_SUITE_P(NoText, EntryNames,
                         testing::Values(NameCase{"Caf\xE9", "Caf%E9"}, NameCase{"\xFF", "%FF"},
                                         NameCase{"\xC3", "%C3"}, NameCase{"a\xC0\xAF", "a%C0%AF"},
                                         NameCase{"\xED\xA0\x80", "%ED%A0%80"},
                                         NameCase{"\x80 \xAB", "%80 %AB"},
                                         NameCase{"abcdefghijklmno\xC3", "abcdefghijklmno%C3"}));
INSTANTIATE_TEST_SUITE_P(Nothing, EntryNames,
                         testing::Values(NameCase{"", "%20"}, NameCase{"                ", "%20"},
                                         NameCase{std::string("  \0KICK", 7), "%20"},
                                         NameCase{std::string(" \0\0\0", 4), "%20"}));

TEST(EntryNamesOfNothing, AreNotThoseOfEmptyEntries) {
  ImageBuilder image(smallLayout());
  image.root().addRaw(rawFileEntry(std::string("\0KICK", 5), 0x81, 0, 1, 1, 1, 100));
  const GuardedVolume volume(std::move(image));
  EXPECT_TRUE(volume.root()->files().empty());
}

TEST(EntryNamesOfNothing, AreUsedLikeAnyOther) {
  ImageBuilder image(smallLayout());
  image.root().addRaw(rawFileEntry("\xFF\xFE", 0x81, 0, 1, 1, 1, 100));
  image.root().addRaw(rawFileEntry("", 0x81, 1, 2, 1, 1, 100));
  image.root().addRaw(rawFileEntry("\xE9", 0x81, 2, 3, 1, 1, 100));
  GuardedVolume volume(std::move(image));
  ASSERT_TRUE(volume->renameFile(volume.file("%FF%FE"), "named", volume.root()));
  putName(volume.expected, {4, 0}, "named           ");
  ASSERT_TRUE(volume->deleteFile(volume.file("%20"), volume.root()));
  clearFileEntry(volume.expected, {4, 1});
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(namesOf(volume.root()->files()), (Names{"named", "%E9"}));
  EXPECT_TRUE(volume.isAsReadAnew());
}

// --- Names cut for their entries ---------------------------------------------------------------------

struct CutName {
  std::string given;
  std::string stored;
};

void PrintTo(const CutName &name, std::ostream *out) {
  *out << name.given;
}

class StoredNames : public testing::TestWithParam<CutName> {};

std::string padded(std::string name) {
  name.resize(16, ' ');
  return name;
}

TEST_P(StoredNames, OfAnImportReadBackAsTheyAreShown) {
  GuardedVolume volume{ImageBuilder(smallLayout())};
  ASSERT_TRUE(volume.import(GetParam().given, bytesOf("x")));
  putNewFile(volume.expected, {4, 0}, GetParam().stored, 1, 0, bytesOf("x"));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST_P(StoredNames, OfARenamedFileReadBackAsTheyAreShown) {
  ImageBuilder image(smallLayout());
  image.root().addFile("file", bytesOf("x"));
  GuardedVolume volume(std::move(image));
  ASSERT_TRUE(volume->renameFile(volume.file("file"), GetParam().given, volume.root()));
  putName(volume.expected, {4, 0}, padded(GetParam().stored));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST_P(StoredNames, OfANewFolderReadBackAsTheyAreShown) {
  GuardedVolume volume{ImageBuilder(smallLayout())};
  ASSERT_TRUE(volume->createDirectoryNamed(GetParam().given, volume.root()));
  volume.expected.pokeEntry({4, 0}, newFolderEntry(GetParam().stored, 5));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST_P(StoredNames, OfARenamedFolderReadBackAsTheyAreShown) {
  ImageBuilder image(smallLayout());
  image.root().addFolder("folder", {.blockList = {5}, .byte16 = 0xEE});
  GuardedVolume volume(std::move(image));
  const EMU3DirectoryPtr folder = volume.folderAt("folder");
  ASSERT_TRUE(volume->renameDirectory(folder, GetParam().given));
  putName(volume.expected, {4, 0}, padded(GetParam().stored));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.root()->subdirectories().at(0), folder) << "the same object";
  EXPECT_TRUE(volume.isAsReadAnew());
}

INSTANTIATE_TEST_SUITE_P(
    AtAWholeCharacter, StoredNames,
    testing::Values(CutName{"name", "name"}, CutName{"15 characters..", "15 characters.."},
                    CutName{"abcdefghijklmn\u00e9", "abcdefghijklmn"},
                    CutName{"a\u20ac\u20ac\u20ac\u20ac\u20ac", "a\u20ac\u20ac\u20ac\u20ac"},
                    CutName{"\u20ac\u20ac\u20ac\u20ac\u20ac\u20ac\u20ac", "\u20ac\u20ac\u20ac\u20ac\u20ac"},
                    CutName{"0123456789abc\U0001F941", "0123456789abc"}, CutName{"  lead", "  lead"},
                    CutName{"trailing   ", "trailing   "}, CutName{"   x           ", "   x           "}));

TEST(ShownNames, LoseTheSpacesAtTheirEnd) {
  const GuardedVolume volume{ImageBuilder(smallLayout())};
  ASSERT_TRUE(volume.import("trailing   ", bytesOf("x")));
  ASSERT_TRUE(volume->createDirectoryNamed("spaces  ", volume.root()));
  EXPECT_EQ(namesOf(volume.root()->files()), Names{"trailing"});
  EXPECT_EQ(namesOf(volume.root()->subdirectories()), Names{"spaces"});
  ASSERT_TRUE(volume->renameFile(volume.file("trailing"), "again ", volume.root()));
  ASSERT_TRUE(volume->renameDirectory(volume.folderAt("spaces"), "more "));
  EXPECT_EQ(namesOf(volume.root()->files()), Names{"again"});
  EXPECT_EQ(namesOf(volume.root()->subdirectories()), Names{"more"});
}

TEST(ShownNumbers, OfAnEmptyFileAreThoseOfItsEntry) {
  const GuardedVolume volume{ImageBuilder(smallLayout())};
  ASSERT_TRUE(volume.import("empty", {}));
  EXPECT_EQ(volume.file("empty")->blocksInLastCluster(), 0);
  EXPECT_TRUE(volume.isAsReadAnew());
}

// --- Names that would read back as none ---------------------------------------------------------------

// Spaces, what is left of spaces and a character cut off, a zero byte at the beginning, bytes that are no
// text.
const std::vector<std::string> kNamesOfNothing = {" ",
                                                  "               ",
                                                  "              \u20ac",
                                                  std::string("\0name", 5),
                                                  std::string(" \0name", 6),
                                                  "\xFF"
                                                  "name"};
const std::vector<std::string> kNamesOfNoLength = {"", "16 characters...", "0123456789abcd\U0001F941"};

class RefusedName : public testing::Test {
protected:
  static ImageBuilder image() {
    ImageBuilder builder(smallLayout());
    builder.root().addFile("file", bytesOf("x"));
    builder.root().addFolder("folder", {.blockList = {5}});
    return builder;
  }

  void expectRefused(const std::function<bool(const std::string &, EMU3Error *)> &operation) {
    for (const auto &names : {kNamesOfNothing, kNamesOfNoLength}) {
      for (const std::string &name : names)
        volume.expectRefused(kNameError, [&](EMU3Error *error) { return operation(name, error); });
    }
    EXPECT_TRUE(volume.imageIsAsExpected());
  }

  GuardedVolume volume{image()};
};

TEST_F(RefusedName, OfARenamedFile) {
  expectRefused([&](const std::string &name, EMU3Error *error) {
    return volume->renameFile(volume.file("file"), name, volume.root(), error);
  });
}

TEST_F(RefusedName, OfARenamedFolder) {
  expectRefused([&](const std::string &name, EMU3Error *error) {
    return volume->renameDirectory(volume.folderAt("folder"), name, error);
  });
}

TEST_F(RefusedName, OfANewFolder) {
  expectRefused([&](const std::string &name, EMU3Error *error) {
    return volume->createDirectoryNamed(name, volume.root(), error);
  });
}

TEST_F(RefusedName, OfAnImport) {
  for (const std::string name : {" .wav", "   ", "                and more.wav", "               .E4B"}) {
    volume.expectRefused(kNameError, [&](EMU3Error *error) {
      return volume.import(name, bytesOf("x"), volume.root(), error);
    });
  }
}

TEST_F(RefusedName, OfAnImportThatIsNoText) {
  volume.expectRefused(kNameError, [&](EMU3Error *error) {
    return volume.import("no\xFFtext", bytesOf("x"), volume.root(), error);
  });
}

TEST(RefusedNameOfAFullVolume, ComesBeforeSpaceAndPlace) {
  ImageBuilder image(smallLayout());
  fillAllBlocks(image.root());
  putMarks(image, 16, 496, 0x8000);
  const GuardedVolume volume(std::move(image));
  ASSERT_TRUE(volume.hasFree(0));
  volume.expectRefused(
      kNameError, [&](EMU3Error *error) { return volume.import("  ", bytesOf("x"), volume.root(), error); });
  volume.expectRefused(
      kNameError, [&](EMU3Error *error) { return volume->createDirectoryNamed("  ", volume.root(), error); });
}

// --- Renaming a folder -------------------------------------------------------------------------------

TEST(FolderRename, WritesTheNameAndNothingElse) {
  ImageBuilder image(smallLayout());
  auto outer = image.root().addFolder("outer", {.blockList = {5}});
  const std::int16_t blocks[] = {7, 0, 9};
  RawEntry entry = rawFolderEntry("sixteen bytes...", 0x80, blocks);
  entry[16] = 0xEE;
  outer.addRaw(entry);
  GuardedVolume volume(std::move(image));
  const EMU3DirectoryPtr folder = volume.folderAt("outer")->subdirectories()[0];
  ASSERT_TRUE(volume->renameDirectory(folder, "new"));
  putName(volume.expected, {5, 0}, "new             ");
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(folder->name(), "new");
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST(FolderRename, MayGiveANameThatExists) {
  ImageBuilder image(smallLayout());
  image.root().addFolder("first", {.blockList = {5}});
  image.root().addFolder("second", {.blockList = {6}});
  const GuardedVolume volume(std::move(image));
  EXPECT_TRUE(volume->renameDirectory(volume.folderAt("second"), "first"));
  EXPECT_EQ(namesOf(volume.root()->subdirectories()), (Names{"first", "first"}));
}

} // namespace
} // namespace tessary::test
