#include "tests/support/BankBuilder.h"
#include "tests/support/OtherUser.h"
#include "tests/writing/HostConditions.h"
#include "tests/writing/WritableVolume.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <optional>
#include <tuple>

#include <unistd.h>

namespace tessary::test {
namespace {

// Whatever else is wrong with an operation, that the image is read-only comes first.

ImageBuilder volumeForReading() {
  ImageBuilder image(smallLayout());
  image.root().addFile("bank", IffBank("E4B0").sample("Kick", patternBytes(1000, 1)).build());
  image.root().addFile("other", patternBytes(600, 2),
                       {.slot = std::uint16_t{65535}, .storesContents = false});
  image.root().addFolder("folder", {.blockList = {5}});
  fillFolder(image.root().addFolder("full", {.blockList = {6}}));
  return image;
}

enum class Why { permissions, readOnlyDisk };

// An image that can be read but not written, mounted.
class ReadOnlyVolume {
public:
  ReadOnlyVolume(Why why, MountRules rules) {
    if (why == Why::readOnlyDisk) {
      disk_.emplace(1024 * kKiB);
      if (!disk_->isMounted()) return;
      path_ = disk_->path("disk.hda");
      expected.writeTo(path_);
      if (!disk_->makeReadOnly()) return;
    } else {
      path_ = folder_.path("disk.hda");
      expected.writeTo(path_);
      openToEveryone(folder_.path());
      setPermissions(path_, 0444);
      user_.emplace();
    }
    host_.emplace();
    filesystem = EMU3Filesystem::initWithURL(path_, rules);
  }

  bool imageIsAsExpected() const { return bool{holdsExactly(path_, expected)}; }
  /// A folder that the current user may write in.
  const TemporaryFolder &host() const { return *host_; }

  ImageBuilder expected = volumeForReading();
  EMU3FilesystemPtr filesystem;

private:
  TemporaryFolder folder_;
  std::string path_;
  std::optional<MountedDisk> disk_;
  std::optional<OtherUser> user_;
  std::optional<TemporaryFolder> host_; // made by the user who writes in it
};

class ReadOnly : public testing::TestWithParam<std::tuple<Why, MountRules>> {
protected:
  void SetUp() override {
    if (!volume.filesystem) GTEST_SKIP() << "mounting is refused here";
    root = volume.filesystem->rootDirectory();
    full = folderNamed(root, "full");
  }

  void expectRefused(const std::function<bool(EMU3Error *)> &operation) {
    EMU3Error error;
    EXPECT_FALSE(operation(&error));
    EXPECT_EQ(error.description(), kReadOnlyError);
    EXPECT_FALSE(operation(nullptr));
    EXPECT_TRUE(volume.imageIsAsExpected());
    EXPECT_EQ(root->files().size(), 2U);
    EXPECT_EQ(root->subdirectories().size(), 2U);
    EXPECT_EQ(full->files().size(), 16U);
  }

  ReadOnlyVolume volume{std::get<0>(GetParam()), std::get<1>(GetParam())};
  EMU3DirectoryPtr root;
  EMU3DirectoryPtr full;
};

std::string nameOfCase(const testing::TestParamInfo<std::tuple<Why, MountRules>> &info) {
  return std::string(std::get<0>(info.param) == Why::permissions ? "File" : "Disk") +
         (std::get<1>(info.param) == MountRules::guarded ? "Guarded" : "Bare");
}

INSTANTIATE_TEST_SUITE_P(Images, ReadOnly,
                         testing::Combine(testing::Values(Why::permissions, Why::readOnlyDisk),
                                          testing::Values(MountRules::bare, MountRules::guarded)),
                         nameOfCase);

TEST_P(ReadOnly, ImageSaysSo) {
  EXPECT_TRUE(volume.filesystem->isReadOnly());
}

TEST_P(ReadOnly, DeleteIsRefusedBeforeALookAtTheEntry) {
  const EMU3FilePtr file = root->files()[0];
  expectRefused([&](EMU3Error *error) { return volume.filesystem->deleteFile(file, root, error); });
  expectRefused([&](EMU3Error *error) { return volume.filesystem->deleteFile(file, full, error); });
  const EMU3FilePtr elsewhere = withDentryBlock(file, 512);
  expectRefused([&](EMU3Error *error) { return volume.filesystem->deleteFile(elsewhere, root, error); });
}

TEST_P(ReadOnly, CopyIsRefusedBeforeALookAtTheFolder) {
  const EMU3FilePtr file = root->files()[0];
  expectRefused([&](EMU3Error *error) { return volume.filesystem->copyFile(file, root, error); });
  expectRefused([&](EMU3Error *error) { return volume.filesystem->copyFile(file, full, error); });
  const auto stray = std::make_shared<EMU3File>();
  expectRefused([&](EMU3Error *error) { return volume.filesystem->copyFile(stray, full, error); });
}

TEST_P(ReadOnly, MoveIsRefusedAlsoWithinItsFolder) {
  const EMU3FilePtr file = root->files()[0];
  expectRefused([&](EMU3Error *error) { return volume.filesystem->moveFile(file, root, root, error); });
  expectRefused([&](EMU3Error *error) { return volume.filesystem->moveFile(file, root, full, error); });
  expectRefused([&](EMU3Error *error) { return volume.filesystem->moveFile(file, full, root, error); });
}

TEST_P(ReadOnly, RenameIsRefusedBeforeALookAtTheName) {
  const EMU3FilePtr file = root->files()[0];
  for (const std::string name : {"new", "", "16 characters...", "   "}) {
    expectRefused([&](EMU3Error *error) { return volume.filesystem->renameFile(file, name, root, error); });
  }
  EXPECT_EQ(file->name(), "bank");
  const EMU3FilePtr elsewhere = withDentryBlock(file, 512);
  expectRefused([&](EMU3Error *error) { return volume.filesystem->renameFile(elsewhere, "", full, error); });
  EXPECT_EQ(elsewhere->name(), "bank");
}

TEST_P(ReadOnly, CreatingAFolderIsRefusedBeforeALookAtTheName) {
  for (const std::string name : {"new", "", "16 characters..."}) {
    expectRefused(
        [&](EMU3Error *error) { return volume.filesystem->createDirectoryNamed(name, full, error); });
  }
}

TEST_P(ReadOnly, DeletingAFolderIsRefused) {
  expectRefused([&](EMU3Error *error) { return volume.filesystem->deleteDirectory(full, root, error); });
  expectRefused([&](EMU3Error *error) { return volume.filesystem->deleteDirectory(full, full, error); });
  expectRefused([&](EMU3Error *error) { return volume.filesystem->deleteDirectory(root, nullptr, error); });
}

TEST_P(ReadOnly, MovingOrRenamingAFolderIsRefused) {
  const EMU3DirectoryPtr folder = folderNamed(root, "folder");
  EMU3Filesystem &filesystem = *volume.filesystem;
  expectRefused([&](EMU3Error *error) { return filesystem.renameDirectory(folder, "", error); });
  expectRefused([&](EMU3Error *error) { return filesystem.renameDirectory(root, "new", error); });
  for (const EMU3DirectoryPtr &target : {root, full, folder})
    expectRefused([&](EMU3Error *error) { return filesystem.moveDirectory(folder, target, error); });
  expectRefused([&](EMU3Error *error) { return filesystem.moveDirectory(root, full, error); });
}

TEST_P(ReadOnly, ImportReadsTheHostFileBeforeItIsRefused) {
  const std::string path = volume.host().path("kick.wav");
  EMU3Error error;
  EXPECT_FALSE(volume.filesystem->importFileAtURL(path, full, &error));
  EXPECT_EQ(error.domain, kHostErrorDomain);
  EXPECT_EQ(error.code, ENOENT);
  writeBytes(path, patternBytes(10));
  expectRefused([&](EMU3Error *e) { return volume.filesystem->importFileAtURL(path, full, e); });
  expectRefused([&](EMU3Error *e) {
    return volume.filesystem->restoreFileAtURL(path, newFileEntry("a", 1, 0, 1), full, e) != nullptr;
  });
}

TEST_P(ReadOnly, ImportOfAFileTooLargeForAnyVolumeIsRefusedForBeingReadOnly) {
  const std::string path = volume.host().path("large.wav");
  writeText(path, "x");
  ASSERT_EQ(::truncate(path.c_str(), 32 * 1024 * 1024), 0);
  expectRefused([&](EMU3Error *e) { return volume.filesystem->importFileAtURL(path, root, e); });
}

TEST_P(ReadOnly, ContentsAndSamplesCanBeExported) {
  const EMU3FilePtr bank = root->files()[0];
  const Bytes contents = contentsOf(*volume.filesystem, bank);
  EXPECT_TRUE(volume.filesystem->exportFile(bank, volume.host().path("bank.E4B")));
  EXPECT_EQ(readBytes(volume.host().path("bank.E4B")), contents);
  EXPECT_EQ(volume.filesystem->samplesFromBankFile(bank), std::vector<std::string>{"E4S1"});
  EXPECT_TRUE(volume.filesystem->exportSampleAtIndex(0, bank, volume.host().path("kick.wav")));
  EXPECT_EQ(readBytes(volume.host().path("kick.wav")).size(), 1044U);
  EXPECT_TRUE(volume.imageIsAsExpected());
}

} // namespace
} // namespace tessary::test
