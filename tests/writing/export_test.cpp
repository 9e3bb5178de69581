#include "filesystem/TreeEditor.h"
#include "tests/support/OtherUser.h"
#include "tests/writing/HostConditions.h"
#include "tests/writing/WritableVolume.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

namespace tessary::test {
namespace {

// A volume with one file of 2000 bytes and a folder of the host for exports.
class Export : public testing::Test {
protected:
  static ImageBuilder image() {
    ImageBuilder builder(smallLayout());
    builder.root().addFile("file", patternBytes(2000, 1));
    return builder;
  }
  EMU3FilePtr file() const { return volume.root()->files().at(0); }
  std::string target(std::string_view name = "file.E4B") const { return host.path(name); }
  bool exportTo(const std::string &path, EMU3Error *error = nullptr) const {
    return volume->exportFile(file(), path, error);
  }
  // The export failed with the host's error, and the folder holds just these names.
  void expectFailure(const std::string &path, int errnum, const std::vector<std::string> &names) const {
    EMU3Error error;
    EXPECT_FALSE(exportTo(path, &error));
    EXPECT_EQ(error.domain, kHostErrorDomain);
    EXPECT_EQ(error.code, errnum) << error.message;
    EXPECT_NE(error.message.find(path), std::string::npos) << error.message;
    EXPECT_FALSE(exportTo(path));
    EXPECT_EQ(namesIn(std::filesystem::path(path).parent_path().string()), names);
  }

  const WritableVolume volume{image()};
  const TemporaryFolder host;
  const Bytes contents = patternBytes(2000, 1);
};

TEST_F(Export, WritesTheBytesUnchanged) {
  EMU3Error error;
  ASSERT_TRUE(exportTo(target(), &error));
  EXPECT_FALSE(error.isSet());
  EXPECT_EQ(readBytes(target()), contents);
  EXPECT_EQ(namesIn(host.path()), std::vector<std::string>{"file.E4B"});
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST_F(Export, OfAnEmptyFileMakesAnEmptyFile) {
  ImageBuilder builder(smallLayout());
  builder.root().addFile("empty");
  const MountedVolume other(builder);
  ASSERT_TRUE(other->exportFile(other.root()->files()[0], target()));
  EXPECT_EQ(readBytes(target()), Bytes{});
}

TEST_F(Export, OfAFileThatRunsOffTheImageWritesWhatThereIs) {
  ImageBuilder builder = image();
  builder.resize(18 * kBlockBytes + 100); // two of its four blocks
  const MountedVolume other(builder);
  ASSERT_TRUE(other->exportFile(other.root()->files()[0], target()));
  EXPECT_EQ(readBytes(target()), Bytes(contents.begin(), contents.begin() + 1024));
}

TEST_F(Export, WritesWhatTheFileHasCached) {
  TreeEditor::setCachedData(*file(), std::make_shared<ByteBuffer>(3, std::uint8_t{7}));
  ASSERT_TRUE(exportTo(target()));
  EXPECT_EQ(readBytes(target()), (Bytes{7, 7, 7}));
}

TEST_F(Export, DoesNotKeepTheContentsInMemory) {
  ASSERT_TRUE(exportTo(target()));
  EXPECT_EQ(file()->cachedData(), nullptr);
}

TEST_F(Export, ReplacesAnEarlierFileWhole) {
  writeBytes(target(), patternBytes(50000, 9));
  ASSERT_TRUE(exportTo(target()));
  EXPECT_EQ(readBytes(target()), contents);
  EXPECT_EQ(namesIn(host.path()), std::vector<std::string>{"file.E4B"});
}

TEST_F(Export, ReplacesTheFileAndNotItsBytes) {
  writeText(target(), "earlier");
  std::filesystem::create_hard_link(target(), host.path("other name"));
  ASSERT_TRUE(exportTo(target()));
  EXPECT_EQ(readBytes(target()), contents);
  EXPECT_EQ(readText(host.path("other name")), "earlier");
}

TEST_F(Export, HasThePermissionsOfANewFile) {
  for (const mode_t mask : {mode_t{022}, mode_t{077}, mode_t{0}, mode_t{027}}) {
    const Umask umask(mask);
    const std::string path = target("mask " + std::to_string(mask));
    ASSERT_TRUE(exportTo(path));
    EXPECT_EQ(permissionsOf(path), 0666 & ~mask);
  }
}

TEST_F(Export, ReplacedFileKeepsItsPermissions) {
  const Umask umask(022);
  writeText(target(), "earlier");
  setPermissions(target(), 0400);
  ASSERT_TRUE(exportTo(target()));
  EXPECT_EQ(readBytes(target()), contents);
  EXPECT_EQ(permissionsOf(target()), mode_t{0400});
}

TEST_F(Export, ToAPlainNameWritesInTheCurrentFolder) {
  const std::filesystem::path earlier = std::filesystem::current_path();
  std::filesystem::current_path(host.path());
  const bool isExported = exportTo("file.E4B");
  std::filesystem::current_path(earlier);
  EXPECT_TRUE(isExported);
  EXPECT_EQ(readBytes(target()), contents);
  EXPECT_EQ(namesIn(host.path()), std::vector<std::string>{"file.E4B"});
}

TEST_F(Export, IntoAFolderThatIsNotThereFails) {
  EMU3Error error;
  EXPECT_FALSE(exportTo(host.path("absent/file.E4B"), &error));
  EXPECT_EQ(error.code, ENOENT);
  EXPECT_TRUE(namesIn(host.path()).empty());
}

TEST_F(Export, OntoAFolderFailsAndLeavesIt) {
  std::filesystem::create_directory(target());
  expectFailure(target(), EISDIR, {"file.E4B"});
  EXPECT_TRUE(std::filesystem::is_directory(target()));
}

TEST_F(Export, OntoAFifoFailsAndLeavesIt) {
  makeFifo(target());
  expectFailure(target(), EINVAL, {"file.E4B"});
  EXPECT_TRUE(std::filesystem::is_fifo(target()));
}

TEST_F(Export, OntoADeviceFailsAndLeavesIt) {
  const std::string link = host.path("null");
  std::filesystem::create_symlink("/dev/null", link);
  expectFailure(link, EINVAL, {"null"});
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST_F(Export, OntoALinkReplacesTheFileThatItLeadsTo) {
  std::filesystem::create_directory(host.path("elsewhere"));
  writeText(host.path("elsewhere/real"), "earlier");
  std::filesystem::create_symlink("elsewhere/real", target());
  ASSERT_TRUE(exportTo(target()));
  EXPECT_TRUE(std::filesystem::is_symlink(target()));
  EXPECT_EQ(readBytes(host.path("elsewhere/real")), contents);
  EXPECT_EQ(namesIn(host.path("elsewhere")), std::vector<std::string>{"real"});
  EXPECT_EQ(namesIn(host.path()), (std::vector<std::string>{"elsewhere", "file.E4B"}));
}

TEST_F(Export, OntoALinkThatLeadsNowhereReplacesTheLink) {
  std::filesystem::create_symlink("absent", target());
  ASSERT_TRUE(exportTo(target()));
  EXPECT_FALSE(std::filesystem::is_symlink(target()));
  EXPECT_EQ(readBytes(target()), contents);
  EXPECT_EQ(namesIn(host.path()), std::vector<std::string>{"file.E4B"});
}

TEST_F(Export, WhenNothingMoreCanBeWrittenLeavesNoTemporaryBehind) {
  const FileSizeLimit limit(1000);
  expectFailure(target(), EFBIG, {});
}

TEST_F(Export, WhenNothingMoreCanBeWrittenKeepsTheEarlierFile) {
  writeText(target(), "earlier");
  const FileSizeLimit limit(1000);
  expectFailure(target(), EFBIG, {"file.E4B"});
  EXPECT_EQ(readText(target()), "earlier");
}

TEST_F(Export, OnAFullDiskLeavesNoTemporaryBehindAndKeepsTheEarlierFile) {
  const MountedDisk disk(64 * kKiB);
  if (!disk.isMounted()) GTEST_SKIP() << "mounting is refused here";
  writeText(disk.path("file.E4B"), "earlier");
  writeBytes(disk.path("ballast"), Bytes(56 * kKiB));
  ImageBuilder builder(smallLayout());
  builder.root().addFile("large", patternBytes(100 * kKiB, 1));
  const MountedVolume large(builder);
  EMU3Error error;
  EXPECT_FALSE(large->exportFile(large.root()->files()[0], disk.path("file.E4B"), &error));
  EXPECT_EQ(error.domain, kHostErrorDomain);
  EXPECT_EQ(error.code, ENOSPC);
  EXPECT_EQ(readText(disk.path("file.E4B")), "earlier");
  EXPECT_EQ(namesIn(disk.path()), (std::vector<std::string>{"ballast", "file.E4B"}));
}

TEST_F(Export, IntoAReadOnlyFolderFailsAndKeepsTheEarlierFile) {
  writeText(target(), "earlier");
  openToEveryone(host.path());
  openToEveryone(target());
  setPermissions(host.path(), 0555);
  const OtherUser user;
  expectFailure(target(), EACCES, {"file.E4B"});
  EXPECT_EQ(readText(target()), "earlier");
}

TEST_F(Export, OnAReadOnlyDiskFails) {
  MountedDisk disk(64 * kKiB);
  if (!disk.isMounted()) GTEST_SKIP() << "mounting is refused here";
  ASSERT_TRUE(disk.makeReadOnly());
  expectFailure(disk.path("file.E4B"), EROFS, {});
}

} // namespace
} // namespace tessary::test
