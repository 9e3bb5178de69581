#include "filesystem/MountedImage.h"
#include "tessary/EMU3Filesystem.h"
#include "tests/support/HostFiles.h"
#include "tests/support/ImageBuilder.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fcntl.h>
#include <functional>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tessary::test {
namespace {

std::string smallImage(const TemporaryFolder &folder) {
  const std::string path = folder.path("volume.hda");
  ImageBuilder image;
  image.root().addFile("KICK", patternBytes(1000));
  image.writeTo(path);
  return path;
}

/// Runs `body` in another process; its result is that process's.
bool inAnotherProcess(const std::function<bool()> &body) {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(body() ? 0 : 1);
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST(TwoPrograms, ImageLetGoOfAndOpenedByAnotherThreadIsNotTakenForAnotherPrograms) {
  const TemporaryFolder folder;
  const std::string path = smallImage(folder);
  std::atomic<int> readOnly = 0;
  const auto openOften = [&] {
    for (int i = 0; i < 500; ++i)
      readOnly += EMU3Filesystem::initWithURL(path)->isReadOnly() ? 1 : 0;
  };
  std::thread other(openOften);
  openOften();
  other.join();
  EXPECT_EQ(readOnly, 0);
}

TEST(TwoPrograms, ClaimEndsWithItsLastOwnerAlsoWhileTheFileIsStillOpen) {
  const TemporaryFolder folder;
  const std::string path = smallImage(folder);
  const int first = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
  const int second = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
  EXPECT_TRUE(MountedImage::of(~0ULL, 1, MountRules::guarded)->claimForWriting(first));
  EXPECT_TRUE(MountedImage::of(~0ULL, 1, MountRules::guarded)->claimForWriting(second));
  ::close(first);
  ::close(second);
}

TEST(TwoPrograms, SecondOneGetsTheImageReadOnly) {
  const TemporaryFolder folder;
  const std::string path = smallImage(folder);
  // The second program forks first, so that it inherits nothing of the first one's lock.
  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t second = ::fork();
  if (second == 0) {
    char byte = 0;
    if (::read(ready[0], &byte, 1) != 1) ::_exit(2);
    const EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(path);
    EMU3Error error;
    const bool refused = volume && volume->isReadOnly() &&
                         !volume->createDirectoryNamed("NEW", volume->rootDirectory(), &error) &&
                         error.code == 3 && error.message == "Image is read-only" &&
                         volume->rootDirectory()->files().size() == 1;
    ::_exit(refused ? 0 : 1);
  }
  const EMU3FilesystemPtr first = EMU3Filesystem::initWithURL(path);
  ASSERT_TRUE(first);
  EXPECT_FALSE(first->isReadOnly());
  ASSERT_EQ(::write(ready[1], "x", 1), 1);
  int status = 0;
  ::waitpid(second, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  ::close(ready[0]);
  ::close(ready[1]);
}

TEST(TwoPrograms, SameProcessMayOpenTheImageAgain) {
  const TemporaryFolder folder;
  const std::string path = smallImage(folder);
  const EMU3FilesystemPtr first = EMU3Filesystem::initWithURL(path);
  const EMU3FilesystemPtr second = EMU3Filesystem::initWithURL(path);
  EXPECT_FALSE(first->isReadOnly());
  EXPECT_FALSE(second->isReadOnly());
}

TEST(TwoPrograms, ImageIsFreeOnceTheFirstProgramLetsGoOfIt) {
  const TemporaryFolder folder;
  const std::string path = smallImage(folder);
  EMU3FilesystemPtr first = EMU3Filesystem::initWithURL(path);
  EMU3FilesystemPtr again = EMU3Filesystem::initWithURL(path);
  first.reset();
  again.reset();
  EXPECT_TRUE(inAnotherProcess([&] { return !EMU3Filesystem::initWithURL(path)->isReadOnly(); }));
}

TEST(TwoPrograms, ClaimEndsWithItsProcess) {
  const TemporaryFolder folder;
  const std::string path = smallImage(folder);
  EXPECT_TRUE(inAnotherProcess([&] { return !EMU3Filesystem::initWithURL(path)->isReadOnly(); }));
  EXPECT_FALSE(EMU3Filesystem::initWithURL(path)->isReadOnly());
}

} // namespace
} // namespace tessary::test
