#include "tests/support/OtherUser.h"
#include "tests/writing/HostConditions.h"
#include "tests/writing/WritableVolume.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <optional>

#include <unistd.h>

namespace tessary::test {
namespace {

class Import : public testing::TestWithParam<MountRules> {};
INSTANTIATE_TEST_SUITE_P(Volume, Import, testing::Values(MountRules::bare, MountRules::guarded), rulesName);

TEST_P(Import, StoresTheBytesUnderTheNameWithoutExtension) {
  const Bytes contents = patternBytes(1300, 1);
  WritableVolume volume(ImageBuilder(smallLayout()), GetParam());
  const Counters before = countersOf(*volume);
  EMU3Error error;
  ASSERT_TRUE(volume->importFileAtURL(volume.hostFile("kick drum.wav", contents), volume.root(), &error));
  EXPECT_FALSE(error.isSet());
  putNewFile(volume.expected, {4, 0}, "kick drum", 1, 0, contents);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(countersOf(*volume),
            (Counters{before.used + roomOf(GetParam(), 3), before.free - roomOf(GetParam(), 3)}));
}

TEST_P(Import, NewFileInTheTreeIsABankThatHoldsNoContents) {
  const WritableVolume volume(ImageBuilder(smallLayout()), GetParam());
  const Bytes contents = patternBytes(1300, 1);
  ASSERT_TRUE(volume->importFileAtURL(volume.hostFile("kick.wav", contents), volume.root()));
  const EMU3FilePtr file = volume.root()->files().at(0);
  const EMU3FileFields fields = file->fields();
  EXPECT_EQ(fields.name, "kick");
  EXPECT_EQ(fields.fileType, kFileTypeBank);
  EXPECT_EQ(fields.rawType, 0x81);
  EXPECT_EQ(fields.startCluster, 1);
  EXPECT_EQ(fields.clusterCount, 1);
  EXPECT_EQ(fields.blocksInLastCluster, 3);
  EXPECT_EQ(fields.bytesInLastBlock, 276);
  EXPECT_EQ(fields.fileSize, 1300U);
  EXPECT_EQ(file->cachedData(), nullptr) << "it is read from the image when it is needed";
  EXPECT_EQ(contentsOf(*volume.filesystem(), file), contents);
}

TEST(BareImport, SeveralFilesTakeOneSlotAndOneEntryEach) {
  WritableVolume volume(ImageBuilder(smallLayout()), MountRules::bare);
  for (std::uint8_t number = 0; number < 16; ++number) {
    const Bytes contents = patternBytes(number * 255U, number);
    const std::string name = "file " + std::to_string(number);
    ASSERT_TRUE(volume->importFileAtURL(volume.hostFile(name, contents), volume.root()));
    putNewFile(volume.expected, {4, number}, name, static_cast<std::uint16_t>(number + 1), number, contents);
  }
  EXPECT_TRUE(volume.imageIsAsExpected());
  EMU3Error error;
  EXPECT_FALSE(volume->importFileAtURL(volume.hostFile("more", {}), volume.root(), &error));
  EXPECT_EQ(error.description(), kFolderFullError);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST_P(Import, LeavesTheHostFileAlone) {
  const WritableVolume volume(ImageBuilder(smallLayout()), GetParam());
  const Bytes contents = patternBytes(1300, 1);
  const std::string path = volume.hostFile("kick.wav", contents);
  ASSERT_TRUE(volume->importFileAtURL(path, volume.root()));
  EXPECT_EQ(readBytes(path), contents);
}

TEST_P(Import, OfALinkStoresWhatItLeadsTo) {
  const WritableVolume volume(ImageBuilder(smallLayout()), GetParam());
  const std::string path = volume.hostFile("target.bin", patternBytes(700, 1));
  std::filesystem::create_symlink(path, volume.folder().path("link.wav"));
  ASSERT_TRUE(volume->importFileAtURL(volume.folder().path("link.wav"), volume.root()));
  EXPECT_EQ(volume.root()->files().at(0)->name(), "link");
  EXPECT_EQ(contentsOf(*volume.filesystem(), volume.root()->files()[0]), patternBytes(700, 1));
}

// --- Names -----------------------------------------------------------------------------------------

struct ImportedName {
  std::string hostName;
  std::string treeName;
};

void PrintTo(const ImportedName &name, std::ostream *out) {
  *out << name.hostName;
}

class ImportName : public testing::TestWithParam<ImportedName> {};

TEST_P(ImportName, OfTheFileInTheTree) {
  const WritableVolume volume{ImageBuilder(smallLayout())};
  ASSERT_TRUE(volume->importFileAtURL(volume.hostFile(GetParam().hostName, bytesOf("x")), volume.root()));
  EXPECT_EQ(volume.root()->files().at(0)->name(), GetParam().treeName);
}

INSTANTIATE_TEST_SUITE_P(Extensions, ImportName,
                         testing::Values(ImportedName{"kick drum.wav", "kick drum"},
                                         ImportedName{"plain", "plain"}, ImportedName{"a.b.c", "a.b"},
                                         ImportedName{"a..b", "a."}, ImportedName{".hidden", ".hidden"},
                                         ImportedName{".hidden.E4B", ".hidden"},
                                         ImportedName{"name.", "name."}, ImportedName{"...", "..."},
                                         ImportedName{"name.a very long extension", "name"},
                                         ImportedName{" a .b ", " a "},
                                         ImportedName{"100%2F.E4B", "100%2F"}));

// The cut is after 15 UTF-16 units; a character of two units goes whole or not at all.
INSTANTIATE_TEST_SUITE_P(Cuts, ImportName,
                         testing::Values(ImportedName{"15 characters...wav", "15 characters.."},
                                         ImportedName{"16 characters..x.wav", "16 characters.."},
                                         ImportedName{"twenty characters ok.wav", "twenty characte"},
                                         ImportedName{"0123456789abc\U0001F941.wav",
                                                      "0123456789abc\U0001F941"},
                                         ImportedName{"0123456789abcd\U0001F941.wav", "0123456789abcd"},
                                         ImportedName{"0123456789abcde\U0001F941.wav", "0123456789abcde"},
                                         ImportedName{"0123456789abcd\u00e9f.wav", "0123456789abcd\u00e9"}));

TEST(BareImport, NameOfManyBytesIsCutOnlyInTheEntry) {
  WritableVolume volume(ImageBuilder(smallLayout()), MountRules::bare);
  const std::string name = "\u20ac\u20ac\u20ac\u20ac\u20ac\u20ac\u20ac"; // 21 bytes
  ASSERT_TRUE(volume->importFileAtURL(volume.hostFile(name, bytesOf("x")), volume.root()));
  putNewFile(volume.expected, {4, 0}, "\u20ac\u20ac\u20ac\u20ac\u20ac", 1, 0, bytesOf("x"));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.root()->files().at(0)->name(), name);
  EXPECT_EQ(volume.openedAnew()->rootDirectory()->files().at(0)->name(), "\u20ac\u20ac\u20ac\u20ac\u20ac");
}

// --- What is refused -------------------------------------------------------------------------------

// Nothing may have changed, and the error is the host's own and names the file.
void expectRefused(const WritableVolume &volume, const std::string &path, int errnum) {
  const Counters before = countersOf(*volume);
  EMU3Error error;
  EXPECT_FALSE(volume->importFileAtURL(path, volume.root(), &error)) << path;
  EXPECT_EQ(error.domain, kHostErrorDomain) << path;
  EXPECT_EQ(error.code, errnum) << error.message;
  EXPECT_NE(error.message.find(path), std::string::npos) << error.message;
  EXPECT_FALSE(volume->importFileAtURL(path, volume.root()));
  EXPECT_TRUE(volume.imageIsAsExpected()) << path;
  EXPECT_EQ(countersOf(*volume), before);
  EXPECT_TRUE(volume.root()->files().empty());
}

TEST_P(Import, RefusesAFolder) {
  const WritableVolume volume(ImageBuilder(smallLayout()), GetParam());
  std::filesystem::create_directory(volume.folder().path("folder"));
  expectRefused(volume, volume.folder().path("folder"), EISDIR);
  std::filesystem::create_symlink(volume.folder().path("folder"), volume.folder().path("link"));
  expectRefused(volume, volume.folder().path("link"), EISDIR);
}

TEST_P(Import, RefusesAFifoWithoutWaitingForItsWriter) {
  const WritableVolume volume(ImageBuilder(smallLayout()), GetParam());
  makeFifo(volume.folder().path("fifo"));
  expectRefused(volume, volume.folder().path("fifo"), EINVAL);
}

TEST_P(Import, RefusesDevicesAndSockets) {
  const WritableVolume volume(ImageBuilder(smallLayout()), GetParam());
  expectRefused(volume, "/dev/null", EINVAL);
  expectRefused(volume, "/dev/zero", EINVAL);
  makeSocket(volume.folder().path("socket"));
  expectRefused(volume, volume.folder().path("socket"), EINVAL);
}

TEST_P(Import, RefusesAFileThatHasVanished) {
  const WritableVolume volume(ImageBuilder(smallLayout()), GetParam());
  const std::string path = volume.hostFile("gone.wav", bytesOf("x"));
  std::filesystem::remove(path);
  expectRefused(volume, path, ENOENT);
  std::filesystem::create_symlink(path, volume.folder().path("dangling"));
  expectRefused(volume, volume.folder().path("dangling"), ENOENT);
  expectRefused(volume, volume.hostFile("plain", bytesOf("x")) + "/below", ENOTDIR);
}

TEST_P(Import, RefusesAFileThatMayNotBeRead) {
  const WritableVolume volume(ImageBuilder(smallLayout()), GetParam());
  openToEveryone(volume.folder().path());
  openToEveryone(volume.imagePath());
  const std::string path = volume.hostFile("secret.wav", bytesOf("x"));
  setPermissions(path, 0);
  const OtherUser user;
  expectRefused(volume, path, EACCES);
}

TEST_P(Import, RefusesWhatEvenRootCannotRead) {
  const WritableVolume volume(ImageBuilder(smallLayout()), GetParam());
  std::filesystem::create_symlink("loop", volume.folder().path("loop"));
  expectRefused(volume, volume.folder().path("loop"), ELOOP);
#ifdef __linux__
  expectRefused(volume, "/proc/self/mem",
                EIO); // a regular file that opens and whose first byte cannot be read
#endif
}

#ifdef __linux__
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // they end the program themselves
TEST(ImportOfAHugeFile, IsRefusedWhenItDoesNotFitIntoMemory) {
  int policy = 1;
  std::ifstream("/proc/sys/vm/overcommit_memory") >> policy;
  if (policy == 1) GTEST_SKIP() << "memory is promised without end here";
  const WritableVolume volume(ImageBuilder(smallLayout()),
                              MountRules::bare); // guarded, its size is reason enough
  const std::string path = volume.hostFile("huge.e4b", bytesOf("x"));
  if (::truncate(path.c_str(), off_t{1} << 43) != 0) GTEST_SKIP() << "no such file can be made here";
  expectRefused(volume, path, ENOMEM);
}
#endif

TEST_P(Import, ReadsAFileToItsEndWhateverItsStatedSize) {
  const WritableVolume volume(ImageBuilder(smallLayout()), GetParam());
  const Bytes contents = readBytes("/proc/version");
  ASSERT_FALSE(contents.empty());
  ASSERT_TRUE(volume->importFileAtURL("/proc/version", volume.root())); // its stated size is 0
  EXPECT_EQ(contentsOf(*volume.filesystem(), volume.root()->files().at(0)), contents);
}
#endif

// --- Bringing back a deleted file ------------------------------------------------------------------

// A name of sixteen bytes stays whole: the entry is the deleted one's.
class Restore : public testing::TestWithParam<MountRules> {};
INSTANTIATE_TEST_SUITE_P(Volume, Restore, testing::Values(MountRules::bare, MountRules::guarded), rulesName);

TEST_P(Restore, KeepsTheNameWhateverTheHostFileIsCalled) {
  WritableVolume volume(ImageBuilder(smallLayout()), GetParam());
  const std::string path = volume.hostFile("%2E%2E.E4B", patternBytes(700, 1));
  ASSERT_TRUE(volume->restoreFileAtURL(path, newFileEntry("a/b.c", 7, 9, 1), volume.root()));
  putNewFile(volume.expected, {4, 0}, "a/b.c", 1, 0, patternBytes(700, 1));
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.root()->files().at(0)->name(), "a/b.c");
  EXPECT_EQ(volume.root()->files()[0]->fileType(), kFileTypeBank);
}

TEST_P(Restore, StoresANameOfSixteenBytesWhole) {
  WritableVolume volume(ImageBuilder(smallLayout()), GetParam());
  const std::string name = "sixteen bytes...";
  const std::string path = volume.hostFile("backup", patternBytes(700, 1));
  RawEntry entry = newFileEntry(name.substr(0, 15), 7, 9, 1);
  std::copy(name.begin(), name.end(), entry.begin());
  ASSERT_TRUE(volume->restoreFileAtURL(path, entry, volume.root()));
  putNewFile(volume.expected, {4, 0}, name.substr(0, 15), 1, 0, patternBytes(700, 1));
  putName(volume.expected, {4, 0}, name);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(volume.openedAnew()->rootDirectory()->files().at(0)->name(), name);
}

TEST_P(Restore, BringsBackEveryNameThatAnEntryCanHold) {
  for (const std::string name : {"a", "  lead", "15 bytes long..", "sixteen bytes...", "               x",
                                 "\u20ac\u20ac\u20ac\u20ac\u20acx", "abcdefghijklmn\u00e9"}) {
    ImageBuilder image(smallLayout());
    image.root().addFile(name, patternBytes(700, 1));
    const WritableVolume volume(std::move(image), GetParam());
    ASSERT_EQ(namesOf(volume.root()->files()), std::vector<std::string>{name});
    const std::optional<EntryBytes> entry = volume->entryOfFile(volume.root()->files()[0]);
    ASSERT_TRUE(entry && volume->deleteFile(volume.root()->files()[0], volume.root()));
    const std::string backup = volume.hostFile("backup", patternBytes(700, 1));
    EMU3Error error;
    EXPECT_TRUE(volume->restoreFileAtURL(backup, *entry, volume.root(), &error)) << name << error.message;
    EXPECT_EQ(namesOf(volume.openedAnew()->rootDirectory()->files()), std::vector<std::string>{name});
  }
}

TEST_P(Restore, RefusesWhatImportRefuses) {
  const WritableVolume volume(ImageBuilder(smallLayout()), GetParam());
  EMU3Error error;
  EXPECT_FALSE(volume->restoreFileAtURL(volume.folder().path("absent"), newFileEntry("name", 1, 0, 1),
                                        volume.root(), &error));
  EXPECT_EQ(error.domain, kHostErrorDomain);
  EXPECT_EQ(error.code, ENOENT);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

} // namespace
} // namespace tessary::test
