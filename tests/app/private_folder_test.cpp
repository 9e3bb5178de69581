#include "app/PrivateFolder.h"

#include "tests/app/FileCommandTest.h"

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessary::test {
namespace {

class PrivateFolder : public testing::Test {
protected:
  static mode_t permissions(const std::string &path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 0777;
  }

  void expectRefused(const std::string &reason) {
    EMU3Error error;
    EXPECT_EQ(makePrivateFolder("EMU3Delete", &error), std::nullopt);
    EXPECT_EQ(error.domain, kHostErrorDomain);
    EXPECT_EQ(error.message, reason);
    EXPECT_EQ(makePrivateFolder("EMU3Delete"), std::nullopt) << "without asking for the error";
  }

  TemporaryFolder folder_;
  HostTemporaryDirectory temporaryDirectory_{folder_.path("tmp")};
  const std::string ours_ = folder_.path("tmp") + "/tessary-" + std::to_string(::geteuid());
  const std::string ofKind_ = ours_ + "/EMU3Delete";
};

TEST_F(PrivateFolder, LiesInTheFolderOfItsKindUnderAFreshUpperCaseUuid) {
  const std::optional<std::string> made = makePrivateFolder("EMU3Drag");
  ASSERT_TRUE(made);
  EXPECT_EQ(std::filesystem::path(*made).parent_path(), ours_ + "/EMU3Drag");
  const std::string uuid = "[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}";
  const std::string name = std::filesystem::path(*made).filename();
  EXPECT_THAT(name, testing::MatchesRegex(uuid));
  EXPECT_TRUE(std::filesystem::is_empty(*made));
}

TEST_F(PrivateFolder, IsAnotherOneEachTime) {
  const std::optional<std::string> one = makePrivateFolder("EMU3Delete");
  const std::optional<std::string> other = makePrivateFolder("EMU3Delete");
  ASSERT_TRUE(one && other);
  EXPECT_NE(*one, *other);
  EXPECT_EQ(namesIn(ofKind_).size(), 2U);
}

TEST_F(PrivateFolder, IsOpenToNobodyElse) {
  const mode_t before = ::umask(0);
  const std::optional<std::string> made = makePrivateFolder("EMU3Delete");
  ::umask(before);
  ASSERT_TRUE(made);
  EXPECT_EQ(permissions(ours_), 0700U);
  EXPECT_EQ(permissions(ofKind_), 0700U);
  EXPECT_EQ(permissions(*made), 0700U);
}

TEST_F(PrivateFolder, IsRefusedBelowAFolderThatOthersCanLookInto) {
  std::filesystem::create_directory(ours_);
  ::chmod(ours_.c_str(), 0750);
  expectRefused(ours_ + ": Is open to other users");
  ::chmod(ours_.c_str(), 0700);
  std::filesystem::create_directory(ofKind_);
  ::chmod(ofKind_.c_str(), 0701);
  expectRefused(ofKind_ + ": Is open to other users");
  EXPECT_TRUE(std::filesystem::is_empty(ofKind_));
}

TEST_F(PrivateFolder, IsRefusedBelowALink) {
  const std::string elsewhere = folder_.path("elsewhere");
  std::filesystem::create_directory(elsewhere);
  ::chmod(elsewhere.c_str(), 0700);
  std::filesystem::create_directory_symlink(elsewhere, ours_);
  expectRefused(ours_ + ": Not a folder");
  std::filesystem::remove(ours_);
  std::filesystem::create_directory(ours_);
  ::chmod(ours_.c_str(), 0700);
  std::filesystem::create_directory_symlink(elsewhere, ofKind_);
  expectRefused(ofKind_ + ": Not a folder");
  EXPECT_TRUE(std::filesystem::is_empty(elsewhere));
}

TEST_F(PrivateFolder, IsRefusedWhereAFileStands) {
  writeText(ours_, "not a folder");
  expectRefused(ours_ + ": Not a folder");
  EXPECT_EQ(readText(ours_), "not a folder");
}

TEST_F(PrivateFolder, IsRefusedBelowAnotherUsersFolder) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a folder away";
  constexpr uid_t nobody = 65534;
  std::filesystem::create_directory(ours_);
  ::chmod(ours_.c_str(), 0700);
  ASSERT_EQ(::lchown(ours_.c_str(), nobody, nobody), 0);
  expectRefused(ours_ + ": Belongs to another user");
}

TEST_F(PrivateFolder, IsRefusedWithoutATemporaryDirectory) {
  const HostTemporaryDirectory gone(folder_.path("gone"));
  std::filesystem::remove(folder_.path("gone"));
  EMU3Error error;
  EXPECT_EQ(makePrivateFolder("EMU3Delete", &error), std::nullopt);
  EXPECT_TRUE(error.isSet());
}

} // namespace
} // namespace tessary::test
