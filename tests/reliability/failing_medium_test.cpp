// A medium that does not take what is written: a loop device whose backing file has no room to grow. Needs
// the right to mount, and is skipped where there is none.

#include "tests/support/HostFiles.h"
#include "tests/support/ImageBuilder.h"
#include "tests/support/MountedVolume.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/mount.h>

namespace tessary::test {
namespace {

bool run(const std::string &command) {
  return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
}

/// A file system of 64 MiB on a loop device, of which only the first few can be written.
class SmallMedium final {
public:
  SmallMedium() {
    std::filesystem::create_directory(roomPath());
    std::filesystem::create_directory(path());
    hasRoom_ = ::mount("tmpfs", roomPath().c_str(), "tmpfs", 0, "size=24m") == 0;
    isThere_ = hasRoom_ && run("truncate -s 64M " + backing()) &&
               run("mkfs.ext4 -q -J size=4 -E lazy_itable_init=0,lazy_journal_init=0 " + backing()) &&
               mount();
  }
  ~SmallMedium() {
    if (isThere_) unmount();
    if (hasRoom_) ::umount(roomPath().c_str());
  }
  SmallMedium(const SmallMedium &) = delete;
  SmallMedium &operator=(const SmallMedium &) = delete;

  bool isThere() const { return isThere_; }
  std::string path() const { return folder_.path("medium"); }

  /// Takes it out and puts it in again, where it has room now: what has not reached it is gone.
  bool putInAgain() {
    unmount();
    isThere_ = ::mount("tmpfs", roomPath().c_str(), "tmpfs", MS_REMOUNT, "size=100m") == 0 && mount();
    return isThere_;
  }

private:
  std::string roomPath() const { return folder_.path("room"); }
  std::string backing() const { return roomPath() + "/backing"; }
  bool mount() const { return run("mount -o loop " + backing() + " " + path()); }
  void unmount() const { run("umount " + path()); }

  const TemporaryFolder folder_;
  bool hasRoom_ = false;
  bool isThere_ = false;
};

TEST(FailingMedium, HasEveryChangeThatWasReportedAsDone) {
  SmallMedium medium;
  if (!medium.isThere()) GTEST_SKIP() << "no loop device can be mounted here";
  const TemporaryFolder host;
  const std::string image = medium.path() + "/disk.hda";
  ImageBuilder({.sizeBytes = 512 * kBlockBytes, .fatStartBlock = 2, .rootDirBlock = 10, .dataAreaBlock = 40})
      .writeTo(image);
  std::filesystem::resize_file(image, 40 * kMiB); // a hole: its room is asked for when it is written
  const auto contents = [](int number) { return patternBytes(2000000, static_cast<unsigned>(number)); };
  int done = 0;
  {
    const auto volume = EMU3Filesystem::initWithURL(image, MountRules::guarded, ImageClaim::whenMounted);
    ASSERT_TRUE(volume);
    EMU3Error error;
    for (int number = 0; number < 14; ++number) {
      const std::string path = host.path("file " + std::to_string(number));
      writeBytes(path, contents(number));
      if (!volume->importFileAtURL(path, volume->rootDirectory(), &error)) break;
      ++done;
    }
    ASSERT_LT(done, 14) << "the medium has room for all";
    EXPECT_EQ(error.code, kErrorWriteRefused);
    EXPECT_EQ(error.message, "Data write failed");
    EXPECT_EQ(volume->readOnlyReason(), ReadOnlyReason::mediumFailed);
    EXPECT_FALSE(volume->createDirectoryNamed("New", volume->rootDirectory(), &error));
    EXPECT_EQ(error.message, "Image is read-only: the medium did not take a change");
  }
  ASSERT_TRUE(medium.putInAgain());
  const auto volume = EMU3Filesystem::initWithURL(image, MountRules::guarded);
  ASSERT_TRUE(volume);
  for (int number = 0; number < done; ++number) {
    const EMU3FilePtr file = fileNamed(volume->rootDirectory(), "file " + std::to_string(number));
    const ByteBufferPtr data = volume->contentsOfFile(file);
    ASSERT_TRUE(data) << number;
    const Bytes expected = contents(number);
    const auto differs = std::mismatch(expected.begin(), expected.end(), data->begin());
    EXPECT_TRUE(differs.first == expected.end())
        << "file " << number << " of " << done << " from byte " << differs.first - expected.begin() << " on";
  }
}

} // namespace
} // namespace tessary::test
