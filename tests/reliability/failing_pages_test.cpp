// A medium that fails at chosen pages: when they are written, and when they are read. A file system of our
// own stands for it, which needs the right to mount; skipped where there is none.

#include "tests/support/HostFiles.h"
#include "tests/support/ImageBuilder.h"
#include "tests/support/MountedVolume.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tessary::test {
namespace {

constexpr std::uint64_t kPageBlocks = 8;

// Each part begins in a page of its own: the table in block 8, the root in 16, a folder in 24 and one in 32,
// the data area from 96 on in slots of a page.
ImageBuilder volumeOfPages() {
  ImageBuilder image({.sizeBytes = 480 * kBlockBytes,
                      .fatStartBlock = 8,
                      .rootDirBlock = 16,
                      .dataAreaBlock = 96,
                      .slotSizeBlocks = 8});
  image.root().addFile("ONE", patternBytes(3000, 1));
  image.root().addFile("TWO", patternBytes(2 * 4096, 2));
  image.root().addFolder("Folder", {.blockList = {24}}).addFile("IN", patternBytes(700, 3));
  image.root().addFolder("Other", {.blockList = {32}});
  return image;
}

/// An image on a medium with bad pages.
class FailingPages : public testing::Test {
protected:
  FailingPages() {
    volumeOfPages().writeTo(backing_);
    std::filesystem::create_directory(mountPoint_);
  }
  ~FailingPages() override { takeOut(); }

  void SetUp() override {
#ifdef TESSARY_FAILING_FS
    if (!putIn()) GTEST_SKIP() << "no file system of our own can be mounted here";
#else
    GTEST_SKIP() << "built without the library for file systems of our own";
#endif
  }

  bool putIn() {
#ifdef TESSARY_FAILING_FS
    program_ = ::fork();
    if (program_ == 0) {
      ::execl(TESSARY_FAILING_FS, "failing_fs", backing_.c_str(), faults_.c_str(), mountPoint_.c_str(),
              nullptr);
      ::_exit(127);
    }
    for (int tries = 0; tries < 1000; ++tries) {
      if (std::filesystem::exists(image())) return true;
      if (::waitpid(program_, nullptr, WNOHANG) == program_) break;
      ::usleep(10000);
    }
    program_ = -1;
#endif
    return false;
  }
  // What has not reached the medium is gone.
  void takeOut() {
    if (program_ <= 0) return;
    ::umount(mountPoint_.c_str());
    ::waitpid(program_, nullptr, 0);
    program_ = -1;
  }
  /// The same medium, which takes everything and gives everything back now.
  EMU3FilesystemPtr mountedAgain() {
    takeOut();
    std::filesystem::remove(faults_);
    EXPECT_TRUE(putIn());
    return mounted();
  }

  /// What `kind` asks of the page fails, "read" or "write".
  void fail(const std::string &kind, std::uint64_t block) const {
    const std::uint64_t begin = block / kPageBlocks * kPageBlocks * kBlockBytes;
    writeText(faults_, kind + " " + std::to_string(begin) + " " +
                           std::to_string(begin + kPageBlocks * kBlockBytes) + "\n");
  }
  [[nodiscard]] std::string image() const {
    return mountPoint_ + "/image";
  }
  [[nodiscard]] EMU3FilesystemPtr mounted() const {
    return EMU3Filesystem::initWithURL(image(), MountRules::guarded);
  }
  [[nodiscard]] std::string hostFile(const std::string &name, const Bytes &contents) const {
    writeBytes(folder_.path(name), contents);
    return folder_.path(name);
  }
  static void expectReadOnly(EMU3Filesystem &volume, ReadOnlyReason reason) {
    EXPECT_TRUE(volume.isReadOnly());
    EXPECT_EQ(volume.readOnlyReason(), reason);
    EMU3Error error;
    EXPECT_FALSE(volume.createDirectoryNamed("New", volume.rootDirectory(), &error));
    EXPECT_EQ(error.code, kErrorWriteRefused);
    EXPECT_TRUE(error.message.starts_with("Image is read-only: ")) << error.message;
  }

  const TemporaryFolder folder_;
  const std::string backing_ = folder_.path("backing");
  const std::string faults_ = folder_.path("faults");
  const std::string mountPoint_ = folder_.path("medium");
  pid_t program_ = -1;
};

// The page of the table, of the root, of the folder and of the contents in turn.
TEST_F(FailingPages, ChangesThatAreReportedAsDoneAreThereAfterwardsWhicheverPageIsBad) {
  for (const std::uint64_t bad : {8U, 16U, 24U, 176U}) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, "block " + std::to_string(bad));
    takeOut();
    volumeOfPages().writeTo(backing_);
    std::filesystem::remove(faults_);
    ASSERT_TRUE(putIn());
    std::set<std::string> done;
    {
      const EMU3FilesystemPtr volume = mounted();
      ASSERT_TRUE(volume);
      EMU3Error error;
      for (int number = 0; number < 20; ++number) {
        const std::string name = "N" + std::to_string(number);
        const EMU3DirectoryPtr to =
            number % 2 == 0 ? volume->rootDirectory() : folderNamed(volume->rootDirectory(), "Folder");
        if (number == 4) fail("write", bad);
        if (!volume->importFileAtURL(hostFile(name, patternBytes(600, static_cast<unsigned>(number))), to,
                                     &error))
          break;
        done.insert(name);
      }
      ASSERT_LT(done.size(), 20U) << "nothing failed";
      ASSERT_GE(done.size(), 4U) << error.message;
      EXPECT_EQ(error.description(), "Error Domain=com.tessary.error Code=3 \"Data write failed\"");
      expectReadOnly(*volume, ReadOnlyReason::mediumFailed);
    }
    const EMU3FilesystemPtr volume = mountedAgain();
    ASSERT_TRUE(volume);
    for (int number = 0; number < static_cast<int>(done.size()); ++number) {
      const EMU3DirectoryPtr in =
          number % 2 == 0 ? volume->rootDirectory() : folderNamed(volume->rootDirectory(), "Folder");
      EXPECT_EQ(contentsOf(*volume, fileNamed(in, "N" + std::to_string(number))),
                patternBytes(600, static_cast<unsigned>(number)));
    }
    EXPECT_EQ(contentsOf(*volume, fileNamed(volume->rootDirectory(), "ONE")), patternBytes(3000, 1));
  }
}

TEST_F(FailingPages, MovedFileIsInOneOfItsPlacesWhicheverPageIsBad) {
  for (const std::uint64_t bad : {16U, 24U}) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, "block " + std::to_string(bad));
    takeOut();
    volumeOfPages().writeTo(backing_);
    std::filesystem::remove(faults_);
    ASSERT_TRUE(putIn());
    {
      const EMU3FilesystemPtr volume = mounted();
      const EMU3DirectoryPtr root = volume->rootDirectory();
      fail("write", bad);
      EMU3Error error;
      EXPECT_FALSE(volume->moveFile(fileNamed(root, "TWO"), root, folderNamed(root, "Folder"), &error));
      EXPECT_EQ(error.message, "Data write failed");
    }
    const EMU3FilesystemPtr volume = mountedAgain();
    std::size_t places = 0;
    for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(volume->rootDirectory()))
      for (const EMU3FilePtr &file : folder->allFiles())
        if (file->name() == "TWO" && contentsOf(*volume, file) == patternBytes(2 * 4096, 2)) ++places;
    EXPECT_GE(places, 1U);
  }
}

TEST_F(FailingPages, ImageWhoseTableCannotBeReadIsReadOnly) {
  fail("read", 8);
  const EMU3FilesystemPtr volume = mounted();
  ASSERT_TRUE(volume);
  expectReadOnly(*volume, ReadOnlyReason::unreadableTable);
}

TEST_F(FailingPages, ImageOfWhichAFolderCannotBeReadIsReadOnly) {
  fail("read", 24);
  const EMU3FilesystemPtr volume = mounted();
  ASSERT_TRUE(volume);
  expectReadOnly(*volume, ReadOnlyReason::unreadableFolder);
  EXPECT_EQ(contentsOf(*volume, fileNamed(volume->rootDirectory(), "ONE")), patternBytes(3000, 1));
}

TEST_F(FailingPages, ContentsThatCannotBeReadArePassedOnInNoPart) {
  fail("read", 96 + 8 + 8); // the second page of TWO
  const EMU3FilesystemPtr volume = mounted();
  ASSERT_TRUE(volume);
  const EMU3DirectoryPtr root = volume->rootDirectory();
  const std::string target = folder_.path("target");
  writeText(target, "earlier");
  EMU3Error error;
  EXPECT_FALSE(volume->exportFile(fileNamed(root, "TWO"), target, &error));
  EXPECT_EQ(error.description(), "Error Domain=com.tessary.error Code=2 \"File contents are incomplete\"");
  EXPECT_EQ(readText(target), "earlier");
  EXPECT_FALSE(volume->copyFile(fileNamed(root, "TWO"), folderNamed(root, "Other"), &error));
  EXPECT_EQ(error.message, "File contents are incomplete");
  EXPECT_TRUE(volume->copyFile(fileNamed(root, "ONE"), folderNamed(root, "Other"), &error)) << error.message;
}

} // namespace
} // namespace tessary::test
