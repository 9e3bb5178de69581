// Empty volumes in new files: how their size is written, and what they may replace. What is in them is seen
// by the command that makes them, tests/cli/new_test.cpp.

#include "tessary/NewVolume.h"

#include "tessary/EMU3Filesystem.h"
#include "tests/support/HostFiles.h"
#include "tests/support/ImageBuilder.h"
#include "tests/support/TemporaryFolder.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessary::test {
namespace {

constexpr std::uint64_t kSize = 1 << 20;

TEST(SizeOfANewVolume, IsWrittenWithOrWithoutAUnit) {
  for (const auto &[text, bytes] :
       std::initializer_list<std::pair<const char *, std::uint64_t>>{{"65536", 65536},
                                                                     {"64K", 65536},
                                                                     {"64k", 65536},
                                                                     {"512M", 512ULL << 20},
                                                                     {"512 MB", 512ULL << 20},
                                                                     {"512 MiB", 512ULL << 20},
                                                                     {"2G", 2ULL << 30},
                                                                     {"2 GB", 2ULL << 30},
                                                                     {"18446744073709551615", UINT64_MAX}})
    EXPECT_EQ(NewVolume::sizeFromText(text), bytes) << text;
}

TEST(SizeOfANewVolume, IsNothingElse) {
  for (const char *text : {"", " ", "M", "-1", "+1", "1.5G", "1T", "1MM", "1 M B", "1Mb", "1M ", "0x10",
                           "18446744073709551616", "18014398509481984K", "99999999999999999999G"})
    EXPECT_EQ(NewVolume::sizeFromText(text), std::nullopt) << text;
}

class NewVolumeFile : public testing::Test {
protected:
  /// The error of making the image in place of what is there; code 0 where it was made.
  static EMU3Error replace(const std::string &path) {
    EMU3Error error;
    const bool isMade = NewVolume::ofSize(kSize)->create(path, NewVolume::Earlier::replaced, &error);
    EXPECT_EQ(isMade, !error.isSet());
    return error;
  }

  const TemporaryFolder folder_;
  const std::string path_ = folder_.path("new.hda");
};

TEST_F(NewVolumeFile, ReplacesAnEarlierOneOnlyWhereItIsToldTo) {
  writeText(path_, "earlier");
  EMU3Error error;
  EXPECT_FALSE(NewVolume::ofSize(kSize)->create(path_, &error));
  EXPECT_EQ(error.code, EEXIST);
  EXPECT_EQ(readText(path_), "earlier");
  EXPECT_FALSE(replace(path_).isSet());
  EXPECT_EQ(readBytes(path_).size(), kSize);
  EXPECT_EQ(namesIn(folder_.path()), std::vector<std::string>{"new.hda"});
}

TEST_F(NewVolumeFile, ReplacesNoImageThatIsMounted) {
  ImageBuilder().writeTo(path_);
  const Bytes before = readBytes(path_);
  const EMU3FilesystemPtr mounted = EMU3Filesystem::initWithURL(path_, MountRules::guarded);
  ASSERT_TRUE(mounted);
  EXPECT_EQ(replace(path_).message, path_ + ": This is a mounted image");
  ASSERT_EQ(::symlink(path_.c_str(), folder_.path("link.hda").c_str()), 0);
  EXPECT_EQ(replace(folder_.path("link.hda")).message,
            folder_.path("link.hda") + ": This is a mounted image");
  EXPECT_EQ(readBytes(path_), before);
}

TEST_F(NewVolumeFile, ReplacesNoImageThatAnotherProgramHasOpenForChanges) {
  ImageBuilder().writeTo(path_);
  const Bytes before = readBytes(path_);
  const int other = ::open(path_.c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_EQ(::flock(other, LOCK_EX), 0);
  EXPECT_EQ(replace(path_).message, path_ + ": Another program has it open");
  EXPECT_EQ(readBytes(path_), before);
  ::close(other);
  EXPECT_FALSE(replace(path_).isSet());
}

TEST_F(NewVolumeFile, ReplacesNothingButFiles) {
  ASSERT_EQ(::mkdir(path_.c_str(), 0777), 0);
  EXPECT_EQ(replace(path_).code, EISDIR);
  const std::string fifo = folder_.path("fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0666), 0);
  EXPECT_EQ(replace(fifo).code, EINVAL);
  EXPECT_EQ(namesIn(folder_.path()), (std::vector<std::string>{"fifo", "new.hda"}));
}

} // namespace
} // namespace tessary::test
