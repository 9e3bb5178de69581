// A copy of the image file that is known to be whole.

#include "filesystem/ImageBackup.h"
#include "tests/support/HostFiles.h"
#include "tests/support/ImageBuilder.h"
#include "tests/support/MountedVolume.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessary::test {
namespace {

using Names = std::vector<std::string>;

class Backup : public testing::Test {
protected:
  Backup() {
    ImageBuilder image({.sizeBytes = 16 * kMiB});
    image.root().addFile("KICK", patternBytes(5000000, 1));
    image.root().addFolder("Drums").addFile("HAT", patternBytes(700, 3));
    image.writeTo(image_);
  }

  EMU3FilesystemPtr mount(ImageClaim claim = ImageClaim::atFirstChange) const {
    return EMU3Filesystem::initWithURL(image_, MountRules::guarded, claim);
  }
  bool backUp(EMU3Filesystem &volume, const BackupWatcher &watcher = {}) {
    return volume.backUpTo(target_, watcher, &error_);
  }

  const TemporaryFolder folder_;
  const TemporaryFolder targets_;
  const std::string image_ = folder_.path("disk.hda");
  const std::string target_ = targets_.path("backup.hda");
  EMU3Error error_;
};

TEST_F(Backup, HasEveryByteOfTheImage) {
  ASSERT_TRUE(backUp(*mount())) << error_.message;
  EXPECT_EQ(readBytes(target_), readBytes(image_));
  EXPECT_EQ(namesIn(targets_.path()), Names{"backup.hda"});
}

TEST_F(Backup, HasTheChangesOfThisMount) {
  const EMU3FilesystemPtr volume = mount();
  ASSERT_TRUE(volume->createDirectoryNamed("New", volume->rootDirectory()));
  ASSERT_TRUE(backUp(*volume)) << error_.message;
  EXPECT_EQ(readBytes(target_), readBytes(image_));
}

TEST_F(Backup, KeepsHoles) {
  const std::uintmax_t size = 256 * kMiB;
  std::filesystem::resize_file(image_, size);
  ASSERT_TRUE(backUp(*mount())) << error_.message;
  struct stat status {};
  ASSERT_EQ(::stat(target_.c_str(), &status), 0);
  EXPECT_EQ(static_cast<std::uintmax_t>(status.st_size), size);
  EXPECT_LT(status.st_blocks * 512, static_cast<blkcnt_t>(32 * kMiB));
}

TEST_F(Backup, OfAnImageThatEndsInsideABlockIsWhole) {
  std::filesystem::resize_file(image_, 16 * kMiB + 77);
  patchBytes(image_, 16 * kMiB, patternBytes(77, 9));
  ASSERT_TRUE(backUp(*mount())) << error_.message;
  EXPECT_EQ(readBytes(target_), readBytes(image_));
}

TEST_F(Backup, RefusesATargetThatIsThere) {
  writeText(target_, "earlier");
  EXPECT_FALSE(backUp(*mount()));
  EXPECT_EQ(error_.code, EEXIST);
  EXPECT_EQ(error_.message.find(target_), 0U) << error_.message;
  EXPECT_EQ(readText(target_), "earlier");
}

TEST_F(Backup, RefusesTheImageItself) {
  const Bytes before = readBytes(image_);
  EXPECT_FALSE(mount()->backUpTo(image_, {}, &error_));
  EXPECT_EQ(error_.code, EEXIST);
  EXPECT_EQ(readBytes(image_), before);
}

TEST_F(Backup, RefusesALinkThatLeadsNowhere) {
  std::filesystem::create_symlink(targets_.path("nowhere"), target_);
  EXPECT_FALSE(backUp(*mount()));
  EXPECT_EQ(namesIn(targets_.path()), Names{"backup.hda"});
}

TEST_F(Backup, LeavesNothingWhenItIsStopped) {
  BackupWatcher watcher;
  watcher.isToStop = [] { return true; };
  EXPECT_FALSE(backUp(*mount(), watcher));
  EXPECT_EQ(error_.code, ECANCELED);
  EXPECT_TRUE(namesIn(targets_.path()).empty());
}

TEST_F(Backup, TellsHowFarItIs) {
  std::vector<std::uint64_t> done;
  BackupWatcher watcher;
  watcher.progressed = [&](std::uint64_t bytesDone, std::uint64_t bytes) {
    EXPECT_EQ(bytes, 16 * kMiB);
    done.push_back(bytesDone);
  };
  ASSERT_TRUE(backUp(*mount(), watcher));
  ASSERT_FALSE(done.empty());
  EXPECT_TRUE(std::is_sorted(done.begin(), done.end()));
  EXPECT_EQ(done.back(), 16 * kMiB);
}

TEST_F(Backup, IsRefusedWhileAnotherProgramHasTheImage) {
  const int other = ::open(image_.c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_EQ(::flock(other, LOCK_EX | LOCK_NB), 0);
  EXPECT_FALSE(backUp(*mount()));
  EXPECT_EQ(error_.message, "Image is read-only: another program has it open");
  EXPECT_TRUE(namesIn(targets_.path()).empty());
  ::close(other);
  EXPECT_TRUE(backUp(*mount()));
}

TEST_F(Backup, KeepsOtherProgramsFromChangingTheImage) {
  bool wasFree = true;
  BackupWatcher watcher;
  watcher.progressed = [&](std::uint64_t, std::uint64_t) {
    const int other = ::open(image_.c_str(), O_RDWR | O_CLOEXEC);
    wasFree = ::flock(other, LOCK_EX | LOCK_NB) == 0;
    ::close(other);
  };
  ASSERT_TRUE(backUp(*mount(), watcher));
  EXPECT_FALSE(wasFree);
}

TEST_F(Backup, IntoAFolderThatIsNotThereFails) {
  EXPECT_FALSE(mount()->backUpTo(targets_.path("missing/backup.hda"), {}, &error_));
  EXPECT_EQ(error_.code, ENOENT);
}

} // namespace
} // namespace tessary::test
