// Host files that are written together, when something comes under their names meanwhile.

#include "filesystem/HostFileGroup.h"
#include "filesystem/VolumeRules.h"
#include "tests/support/HostFiles.h"
#include "tests/support/MountedVolume.h"

#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace tessary::test {
namespace {

class HostFilesTogether : public ::testing::Test {
protected:
  HostTarget targetFor(const std::string &hostFolder, const std::string &name) const {
    return {.folder = hostFolder, .name = HostName{name, ".E4B"}};
  }
  bool begin(HostTarget &target, const std::string &contents) {
    EMU3Error error;
    return group_.beginFile(
        target, {{reinterpret_cast<const std::uint8_t *>(contents.data()), contents.size()}}, &error);
  }

  const TemporaryFolder folder_;
  ExportTargets targets_;
  HostFileGroup group_{rulesFor(MountRules::guarded), targets_};
};

TEST_F(HostFilesTogether, FileThatCameMeanwhileIsKeptWhereNoneIsToBeReplaced) {
  targets_.setOptions({.replacesEarlier = false});
  HostTarget target = targetFor(folder_.path(), "KICK");
  ASSERT_TRUE(begin(target, "new"));
  writeText(folder_.path("KICK.E4B"), "another program's");
  group_.complete();
  ASSERT_TRUE(group_.failure(0));
  EXPECT_EQ(group_.failure(0)->code, EEXIST);
  EXPECT_EQ(readText(folder_.path("KICK.E4B")), "another program's");
  EXPECT_EQ(namesIn(folder_.path()).size(), 1U);
}

TEST_F(HostFilesTogether, FileThatCameMeanwhileIsReplacedAsAnEarlierOne) {
  HostTarget target = targetFor(folder_.path(), "KICK");
  ASSERT_TRUE(begin(target, "new"));
  writeText(folder_.path("KICK.E4B"), "another program's");
  group_.complete();
  EXPECT_FALSE(group_.failure(0));
  EXPECT_EQ(readText(folder_.path("KICK.E4B")), "new");
}

TEST_F(HostFilesTogether, MountedImageThatCameMeanwhileIsNotReplaced) {
  ImageBuilder builder;
  const MountedVolume volume(builder, MountRules::guarded);
  HostTarget target = targetFor(folder_.path(), "KICK");
  ASSERT_TRUE(begin(target, "new"));
  std::filesystem::create_hard_link(volume.imagePath(), folder_.path("KICK.E4B"));
  group_.complete();
  ASSERT_TRUE(group_.failure(0));
  EXPECT_EQ(group_.failure(0)->code, EBUSY);
  EXPECT_EQ(readBytes(folder_.path("KICK.E4B")), readBytes(volume.imagePath()));
}

TEST_F(HostFilesTogether, SecondResultOfALongestNameIsRefusedSinceNoNumberFits) {
  const std::string path = folder_.path(std::string(255, 'n'));
  HostTarget first{.folder = "", .path = path};
  HostTarget second = first;
  ASSERT_TRUE(begin(first, "first"));
  ASSERT_TRUE(begin(second, "second"));
  group_.complete();
  EXPECT_FALSE(group_.failure(0));
  ASSERT_TRUE(group_.failure(1));
  EXPECT_EQ(group_.failure(1)->code, ENAMETOOLONG);
  EXPECT_EQ(readText(path), "first");
}

// Two paths of one folder stand for a host that takes two names for one.
TEST_F(HostFilesTogether, ResultsThatTheHostTakesForOneNameBothStay) {
  std::filesystem::create_directory(folder_.path("banks"));
  std::filesystem::create_directory_symlink(folder_.path("banks"), folder_.path("link"));
  HostTarget first = targetFor(folder_.path("banks"), "KICK");
  HostTarget second = targetFor(folder_.path("link"), "KICK");
  ASSERT_TRUE(begin(first, "first"));
  ASSERT_TRUE(begin(second, "second"));
  group_.complete();
  EXPECT_FALSE(group_.failure(0));
  EXPECT_FALSE(group_.failure(1));
  EXPECT_EQ(readText(folder_.path("banks/KICK.E4B")), "first");
  EXPECT_EQ(readText(folder_.path("banks/KICK (2).E4B")), "second");
}

} // namespace
} // namespace tessary::test
