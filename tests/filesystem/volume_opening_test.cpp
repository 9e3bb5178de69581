// What opens, what does not, and with which words.

#include "filesystem/ImageMapping.h"
#include "tessary/EMU3Filesystem.h"
#include "tests/support/HostFiles.h"
#include "tests/support/Mappings.h"
#include "tests/support/MountedVolume.h"
#include "tests/support/OtherUser.h"
#include "tests/writing/HostConditions.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessary {
namespace {

using namespace test;

EMU3Error errorOfOpening(const std::string &path) {
  EMU3Error error;
  EXPECT_EQ(EMU3Filesystem::initWithURL(path, &error), nullptr) << path;
  return error;
}

void expectError(const EMU3Error &error, std::int64_t code, const std::string &message) {
  EXPECT_EQ(error.domain, "com.tessary.error");
  EXPECT_EQ(error.code, code);
  EXPECT_EQ(error.message, message);
}

const char *const kTooSmall = "File too small to be an E-MU disk image";
const char *const kNoSignature = "Not an E-MU 3/4 disk image (missing \"EMU3\" signature)";

/// Number of descriptors that this process has open.
std::size_t openDescriptors() {
  return namesIn("/proc/self/fd").size();
}

TEST(Opening, MissingFileCannotBeOpened) {
  const TemporaryFolder folder;
  const std::string path = folder.path("missing.hda");
  expectError(errorOfOpening(path), 2, "Cannot open file: " + path);
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(Opening, FileInAFolderThatIsNoneCannotBeOpened) {
  const TemporaryFolder folder;
  writeText(folder.path("file"), "x");
  const std::string path = folder.path("file/disk.hda");
  expectError(errorOfOpening(path), 2, "Cannot open file: " + path);
}

TEST(Opening, EmptyPathCannotBeOpened) {
  expectError(errorOfOpening(""), 2, "Cannot open file: ");
}

TEST(Opening, FolderCannotBeMapped) {
  const TemporaryFolder folder;
  expectError(errorOfOpening(folder.path()), 2, "mmap failed");
}

TEST(Opening, EmptyFileCannotBeMapped) {
  const TemporaryFolder folder;
  writeText(folder.path("empty.hda"), "");
  expectError(errorOfOpening(folder.path("empty.hda")), 2, "mmap failed");
}

TEST(Opening, FileOfOneByteIsTooSmall) {
  const TemporaryFolder folder;
  writeText(folder.path("disk.hda"), "E");
  expectError(errorOfOpening(folder.path("disk.hda")), 1, kTooSmall);
}

TEST(Opening, FileOf511BytesIsTooSmall) {
  const TemporaryFolder folder;
  ImageBuilder({.sizeBytes = 511}).writeTo(folder.path("disk.hda"));
  ASSERT_EQ(readBytes(folder.path("disk.hda")).size(), 511U);
  expectError(errorOfOpening(folder.path("disk.hda")), 1, kTooSmall);
}

TEST(Opening, FileOf512BytesWithTheSignatureOpens) {
  const MountedVolume volume(ImageBuilder({.sizeBytes = 512}));
  EXPECT_EQ(volume->totalBlocks(), 1U);
  EXPECT_TRUE(volume.root()->files().empty());
}

TEST(Opening, EachByteOfTheSignatureCounts) {
  for (std::size_t i = 0; i < 4; ++i) {
    const TemporaryFolder folder;
    ImageBuilder image;
    image.poke(i, {static_cast<std::uint8_t>(image.peek(i, 1)[0] + 1)});
    image.writeTo(folder.path("disk.hda"));
    expectError(errorOfOpening(folder.path("disk.hda")), 1, kNoSignature);
  }
}

TEST(Opening, SignatureEndingInFourIsRefused) {
  const TemporaryFolder folder;
  ImageBuilder image;
  image.poke(3, "4").writeTo(folder.path("disk.hda"));
  expectError(errorOfOpening(folder.path("disk.hda")), 1, kNoSignature);
}

TEST(Opening, FailsTheSameWithoutAnErrorToFill) {
  const TemporaryFolder folder;
  writeText(folder.path("small.hda"), "EMU3");
  EXPECT_EQ(EMU3Filesystem::initWithURL(folder.path("small.hda")), nullptr);
  EXPECT_EQ(EMU3Filesystem::initWithURL(folder.path("missing.hda")), nullptr);
}

TEST(Opening, SuccessLeavesTheErrorAlone) {
  const TemporaryFolder folder;
  ImageBuilder().writeTo(folder.path("disk.hda"));
  EMU3Error error;
  ASSERT_NE(EMU3Filesystem::initWithURL(folder.path("disk.hda"), &error), nullptr);
  EXPECT_FALSE(error.isSet());
}

TEST(Opening, FifoIsRefusedAndNeverWaitedFor) {
  const TemporaryFolder folder;
  const std::string path = folder.path("fifo.hda");
  makeFifo(path);
  auto opening = std::async(std::launch::async, [&] { return errorOfOpening(path); });
  const bool ended = opening.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
  if (!ended) ::close(::open(path.c_str(), O_RDWR)); // lets the waiting open go on, so that the test ends
  EXPECT_TRUE(ended);
  expectError(opening.get(), 2, "mmap failed");
}

TEST(Opening, DeviceIsRefused) {
  expectError(errorOfOpening("/dev/null"), 2, "mmap failed");
}

TEST(Opening, SocketCannotBeOpened) {
  const TemporaryFolder folder;
  const std::string path = folder.path("socket");
  makeSocket(path);
  expectError(errorOfOpening(path), 2, "Cannot open file: " + path);
}

TEST(Opening, LinkToAnImageOpens) {
  const TemporaryFolder folder;
  ImageBuilder().writeTo(folder.path("disk.hda"));
  std::filesystem::create_symlink("disk.hda", folder.path("link.hda"));
  const auto filesystem = EMU3Filesystem::initWithURL(folder.path("link.hda"));
  ASSERT_NE(filesystem, nullptr);
  EXPECT_EQ(filesystem->volumeLabel(), "link.hda");
}

TEST(Opening, DanglingLinkCannotBeOpened) {
  const TemporaryFolder folder;
  const std::string path = folder.path("link.hda");
  std::filesystem::create_symlink("gone.hda", path);
  expectError(errorOfOpening(path), 2, "Cannot open file: " + path);
}

class OpeningAsOtherUser : public testing::Test {
protected:
  OpeningAsOtherUser() {
    ImageBuilder().writeTo(path_);
    ::chmod(folder_.path().c_str(), 0755);
  }
  void SetUp() override {
    const OtherUser other;
    struct stat status {};
    if (::stat(path_.c_str(), &status) != 0)
      GTEST_SKIP() << "temporary files are out of another user's reach";
  }

  TemporaryFolder folder_;
  const std::string path_ = folder_.path("disk.hda");
};

TEST_F(OpeningAsOtherUser, FileThatMayNotBeReadCannotBeOpened) {
  ::chmod(path_.c_str(), 0000);
  const OtherUser other;
  expectError(errorOfOpening(path_), 2, "Cannot open file: " + path_);
}

TEST_F(OpeningAsOtherUser, FolderThatMayNotBeReadCannotBeOpened) {
  const std::string path = folder_.path("folder");
  std::filesystem::create_directory(path);
  ::chmod(path.c_str(), 0000);
  const OtherUser other;
  expectError(errorOfOpening(path), 2, "Cannot open file: " + path);
}

TEST_F(OpeningAsOtherUser, FileThatMayOnlyBeReadOpensReadOnly) {
  ::chmod(path_.c_str(), 0444);
  const OtherUser other;
  const auto filesystem = EMU3Filesystem::initWithURL(path_);
  ASSERT_NE(filesystem, nullptr);
  EXPECT_TRUE(filesystem->isReadOnly());
}

TEST(Opening, FileOnAReadOnlyFileSystemOpensReadOnly) {
  MountedDisk disk(8 * kMiB);
  if (!disk.isMounted()) GTEST_SKIP() << "nothing can be mounted here";
  ImageBuilder image;
  image.root().addFile("File", bytesOf("contents"));
  image.writeTo(disk.path("disk.hda"));
  ASSERT_TRUE(disk.makeReadOnly());
  const auto filesystem = EMU3Filesystem::initWithURL(disk.path("disk.hda"));
  ASSERT_NE(filesystem, nullptr);
  EXPECT_TRUE(filesystem->isReadOnly());
  EXPECT_EQ(contentsOf(*filesystem, fileNamed(filesystem->rootDirectory(), "File")), bytesOf("contents"));
}

TEST_F(OpeningAsOtherUser, MappingOfAReadOnlyImageHasTheBlocksOfAnyOther) {
  // The bounds are the only rule of a mapping; the changes refuse before they come to it.
  ::chmod(path_.c_str(), 0444);
  const OtherUser other;
  const auto mapping = ImageMapping::open(path_, nullptr);
  ASSERT_NE(mapping, nullptr);
  EXPECT_TRUE(mapping->isReadOnly());
  EXPECT_TRUE(mapping->containsBlock(0));
}

TEST_F(OpeningAsOtherUser, ReadOnlyImageRefusesEveryChangeFirst) {
  ImageBuilder image;
  image.root().addFile("File", bytesOf("contents"));
  image.root().addFolder("Folder");
  image.writeTo(path_);
  ::chmod(path_.c_str(), 0444);
  const OtherUser other;
  const auto filesystem = EMU3Filesystem::initWithURL(path_);
  ASSERT_NE(filesystem, nullptr);
  const auto root = filesystem->rootDirectory();
  const auto file = fileNamed(root, "File");
  const auto folder = folderNamed(root, "Folder");
  const auto refused = [](auto &&change) {
    EMU3Error error;
    EXPECT_FALSE(change(&error));
    expectError(error, 3, "Image is read-only");
  };
  refused([&](EMU3Error *error) { return filesystem->deleteFile(file, root, error); });
  refused([&](EMU3Error *error) { return filesystem->copyFile(file, folder, error); });
  refused([&](EMU3Error *error) { return filesystem->moveFile(file, root, root, error); });
  refused([&](EMU3Error *error) { return filesystem->renameFile(file, "", root, error); });
  refused([&](EMU3Error *error) { return filesystem->createDirectoryNamed("", root, error); });
  refused([&](EMU3Error *error) { return filesystem->deleteDirectory(folder, root, error); });
}

TEST(Opening, FileThatMayBeWrittenOpensForWriting) {
  const MountedVolume volume{ImageBuilder()};
  EXPECT_FALSE(volume->isReadOnly());
}

TEST(Opening, ImageIsMappedOnceAndReleasedWithTheFilesystem) {
  const std::size_t descriptors = openDescriptors();
  auto volume = std::make_unique<MountedVolume>(ImageBuilder());
  const std::string path = volume->imagePath();
  const std::size_t mounted = openDescriptors();
  EXPECT_LE(mounted, descriptors + 2); // the image's, and the claim that keeps a second program from writing
  EXPECT_EQ(mappingsOf(path).size(), 1U);
  ASSERT_TRUE((*volume)->reload());
  EXPECT_EQ(openDescriptors(), mounted);
  EXPECT_EQ(mappingsOf(path).size(), 1U);
  volume.reset();
  EXPECT_EQ(openDescriptors(), descriptors);
  EXPECT_EQ(mappingsOf(path).size(), 0U);
}

TEST(Opening, FailedOpenLeavesNoDescriptorAndNoMapping) {
  const TemporaryFolder folder;
  const std::string small = folder.path("small.hda");
  const std::string wrong = folder.path("wrong.hda");
  const std::string empty = folder.path("empty.hda");
  writeText(small, "EMU3");
  writeBytes(wrong, Bytes(4096));
  writeText(empty, "");
  const std::size_t descriptors = openDescriptors();
  for (const auto &path : {small, wrong, empty, folder.path(), folder.path("missing")}) {
    errorOfOpening(path);
    EXPECT_EQ(mappingsOf(path).size(), 0U) << path;
  }
  EXPECT_EQ(openDescriptors(), descriptors);
}

TEST(Opening, DescriptorIsNotInheritedByOtherPrograms) {
  const MountedVolume volume{ImageBuilder()};
  int seen = 0;
  for (const std::string &name : namesIn("/proc/self/fd")) {
    std::error_code gone; // the one that listed the folder
    if (std::filesystem::read_symlink("/proc/self/fd/" + name, gone) != volume.imagePath()) continue;
    ++seen;
    EXPECT_NE(::fcntl(std::atoi(name.c_str()), F_GETFD) & FD_CLOEXEC, 0);
  }
  EXPECT_GE(seen, 1);
}

TEST(Opening, QueueIsMadeWithTheLabelOfTheSystem) {
  const MountedVolume volume{ImageBuilder()};
  EXPECT_EQ(volume->ioQueue().label(), "com.tessary.io");
}

TEST(Opening, ChangesNothingInTheImage) {
  const ImageBuilder image = [] {
    ImageBuilder built;
    built.root().addFolder("Folder").addFile("File", patternBytes(3000));
    return built;
  }();
  const MountedVolume volume(image);
  volume->dataForFile(fileNamed(folderNamed(volume.root(), "Folder"), "File"));
  EXPECT_EQ(readBytes(volume.imagePath()), image.build());
}

TEST(Opening, ErrorsCarryTheSystemsDomain) {
  const EMU3Error error = engineError(EngineError::parentFull);
  expectError(error, 7, "Parent directory is full");
  EXPECT_EQ(error.localizedDescription(), "Parent directory is full");
}

} // namespace
} // namespace tessary
