#include "tests/writing/WritableVolume.h"

#include <gtest/gtest.h>

namespace tessary::test {
namespace {

class Rename : public testing::TestWithParam<MountRules> {};
INSTANTIATE_TEST_SUITE_P(Volume, Rename, testing::Values(MountRules::bare, MountRules::guarded), rulesName);

ImageBuilder volumeWithFile(std::string_view name = "8 chars.") {
  ImageBuilder image(smallLayout());
  image.root().addFile("before", patternBytes(10, 1));
  image.root().addFile(name, patternBytes(10, 2), {.e4b0Mark = true, .byte16 = 0xEE, .byte27 = 0xEE});
  image.root().addFile("after", patternBytes(10, 3));
  return image;
}

constexpr EntryPlace kPlace{4, 1};

TEST_P(Rename, WritesTheNamePaddedWithSpacesAndNoZeroByte) {
  WritableVolume volume(volumeWithFile(), GetParam());
  const EMU3FilePtr file = volume.root()->files()[1];
  EMU3Error error;
  ASSERT_TRUE(volume->renameFile(file, "ab", volume.root(), &error));
  EXPECT_FALSE(error.isSet());
  putName(volume.expected, kPlace, "ab              ");
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(file->name(), "ab");
  EXPECT_EQ(volume.openedAnew()->rootDirectory()->files()[1]->name(), "ab");
}

TEST_P(Rename, ReplacesTheZeroByteOfANewEntry) {
  WritableVolume volume(ImageBuilder(smallLayout()), GetParam());
  ASSERT_TRUE(volume->importFileAtURL(volume.hostFile("new", bytesOf("x")), volume.root()));
  ASSERT_TRUE(volume->renameFile(volume.root()->files()[0], "newer", volume.root()));
  putNewFile(volume.expected, {4, 0}, "new", 1, 0, bytesOf("x"));
  putName(volume.expected, {4, 0}, "newer           ");
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST_P(Rename, ToFifteenCharactersSucceeds) {
  WritableVolume volume(volumeWithFile(), GetParam());
  ASSERT_TRUE(volume->renameFile(volume.root()->files()[1], "15 characters..", volume.root()));
  putName(volume.expected, kPlace, "15 characters.. ");
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST_P(Rename, ToNoneOrSixteenCharactersFailsAndChangesNothing) {
  const WritableVolume volume(volumeWithFile(), GetParam());
  const EMU3FilePtr file = volume.root()->files()[1];
  for (const std::string name : {"", "16 characters...", "a name that is much too long"}) {
    EMU3Error error;
    EXPECT_FALSE(volume->renameFile(file, name, volume.root(), &error)) << name;
    EXPECT_EQ(error.description(), kNameError) << name;
    EXPECT_FALSE(volume->renameFile(file, name, volume.root()));
  }
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(file->name(), "8 chars.");
}

TEST_P(Rename, CountsUtf16UnitsNotBytes) {
  WritableVolume volume(volumeWithFile(), GetParam());
  const EMU3FilePtr file = volume.root()->files()[1];
  const std::string fifteen = "\u20ac\u20ac\u20ac\u20ac\u20ac\u20ac\u20ac\u20ac\u20ac\u20ac\u20ac\u20ac\u20ac"
                              "\u20ac\u20ac";
  ASSERT_TRUE(volume->renameFile(file, fifteen, volume.root()));
  putName(volume.expected, kPlace, "\u20ac\u20ac\u20ac\u20ac\u20ac ");
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(file->name(), GetParam() == MountRules::bare ? fifteen : "\u20ac\u20ac\u20ac\u20ac\u20ac")
      << "in the tree the name is not cut by the bare rules";
  EXPECT_EQ(volume.openedAnew()->rootDirectory()->files()[1]->name(), "\u20ac\u20ac\u20ac\u20ac\u20ac");
  EXPECT_FALSE(volume->renameFile(file, fifteen + "\u20ac", volume.root()));
  // A character outside the basic plane counts two.
  EXPECT_TRUE(volume->renameFile(file, "0123456789abc\U0001F941", volume.root()));
  EXPECT_FALSE(volume->renameFile(file, "0123456789abcd\U0001F941", volume.root()));
}

TEST_P(Rename, RefusesNoCharacterAndNoNameThatExists) {
  WritableVolume volume(volumeWithFile(), GetParam());
  ASSERT_TRUE(volume->renameFile(volume.root()->files()[1], "after", volume.root()));
  putName(volume.expected, kPlace, "after           ");
  EXPECT_TRUE(volume.imageIsAsExpected());
  ASSERT_TRUE(volume->renameFile(volume.root()->files()[1], " /\n..", volume.root()));
  putName(volume.expected, kPlace, " /\n..           ");
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST_P(Rename, ToItsOwnNameRewritesTheField) {
  WritableVolume volume(volumeWithFile(), GetParam());
  putName(volume.expected, kPlace, "8 chars.        ");
  ASSERT_TRUE(volume->renameFile(volume.root()->files()[1], "8 chars.", volume.root()));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST_P(Rename, OfAnEntryOutsideTheImageFailsAndChangesNothing) {
  const WritableVolume volume(volumeWithFile(), GetParam());
  const EMU3FilePtr file = withDentryBlock(volume.root()->files()[1], 512);
  EMU3Error error;
  EXPECT_FALSE(volume->renameFile(file, "new", volume.root(), &error));
  EXPECT_EQ(error.description(), kNoEntryError);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(file->name(), "8 chars.");
}

TEST_P(Rename, BadNameIsReportedBeforeAnEntryOutsideTheImage) {
  const WritableVolume volume(volumeWithFile(), GetParam());
  const EMU3FilePtr file = withDentryBlock(volume.root()->files()[1], 512);
  EMU3Error error;
  EXPECT_FALSE(volume->renameFile(file, "", volume.root(), &error));
  EXPECT_EQ(error.description(), kNameError);
}

TEST(BareRename, MayCutACharacterInTwo) {
  WritableVolume volume(volumeWithFile());
  ASSERT_TRUE(volume->renameFile(volume.root()->files()[1], "abcdefghijklmn\u00e9", volume.root()));
  putName(volume.expected, kPlace, "abcdefghijklmn\xC3 ");
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(namesOf(volume.openedAnew()->rootDirectory()->files()),
            (std::vector<std::string>{"before", "after"}))
      << "its entry has no readable name any more";
}

TEST(BareRename, DoesNotLookAtTheFolder) {
  WritableVolume volume(volumeWithFile());
  ASSERT_TRUE(volume->renameFile(volume.root()->files()[1], "new", nullptr));
  putName(volume.expected, kPlace, "new             ");
  EXPECT_TRUE(volume.imageIsAsExpected());
}

} // namespace
} // namespace tessary::test
