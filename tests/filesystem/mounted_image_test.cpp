// What a process holds for an image that it has mounted.

#include "filesystem/MountedImage.h"
#include "tests/support/HostFiles.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <unistd.h>

namespace tessary::test {
namespace {

constexpr std::uint64_t kDevice = ~0ULL; // of no file of the host

TEST(MountedImage, IsOneForADeviceAndInode) {
  const auto first = MountedImage::of(kDevice, 1, MountRules::guarded);
  EXPECT_EQ(MountedImage::of(kDevice, 1, MountRules::guarded), first);
  EXPECT_NE(MountedImage::of(kDevice, 2, MountRules::guarded), first);
  EXPECT_NE(MountedImage::of(kDevice - 1, 1, MountRules::guarded), first);
}

TEST(MountedImage, HasTheRulesThatItWasFirstMountedBy) {
  EXPECT_EQ(MountedImage::of(kDevice, 1, MountRules::guarded)->rules(), MountRules::guarded);
  EXPECT_EQ(MountedImage::of(kDevice, 1, MountRules::bare)->rules(), MountRules::bare);
}

TEST(MountedImage, IsRefusedToTheOtherRulesUntilItsLastOwnerLetsGo) {
  for (const MountRules rules : {MountRules::bare, MountRules::guarded}) {
    const MountRules other = rules == MountRules::bare ? MountRules::guarded : MountRules::bare;
    auto first = MountedImage::of(kDevice, 1, rules);
    auto second = MountedImage::of(kDevice, 1, rules);
    EXPECT_EQ(MountedImage::of(kDevice, 1, other), nullptr);
    first.reset();
    EXPECT_EQ(MountedImage::of(kDevice, 1, other), nullptr);
    second.reset();
    EXPECT_NE(MountedImage::of(kDevice, 1, other), nullptr);
  }
}

TEST(MountedImage, OfOtherRulesIsNoReasonForAnotherImage) {
  const auto bare = MountedImage::of(kDevice, 1, MountRules::bare);
  EXPECT_NE(MountedImage::of(kDevice, 2, MountRules::guarded), nullptr);
}

class ImageClaim : public testing::Test {
protected:
  ImageClaim() { writeText(path, "x"); }

  /// Whether somebody who has opened the file anew could lock it.
  bool isFree() const {
    const int other = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    const bool locked = ::flock(other, LOCK_EX | LOCK_NB) == 0;
    ::close(other);
    return locked;
  }
  bool claim(const std::shared_ptr<MountedImage> &image) const {
    const int own = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    const bool claimed = image->claimForWriting(own);
    ::close(own);
    return claimed;
  }

  TemporaryFolder folder;
  const std::string path = folder.path("disk.hda");
};

TEST_F(ImageClaim, KeepsOthersFromLockingTheFileUntilTheLastOwnerLetsGo) {
  auto image = MountedImage::of(kDevice, 1, MountRules::guarded);
  EXPECT_TRUE(isFree());
  EXPECT_TRUE(claim(image));
  EXPECT_FALSE(isFree());
  auto again = MountedImage::of(kDevice, 1, MountRules::guarded);
  image.reset();
  EXPECT_FALSE(isFree());
  again.reset();
  EXPECT_TRUE(isFree());
}

TEST_F(ImageClaim, IsTakenOnceAndHeldFromThenOn) {
  const auto image = MountedImage::of(kDevice, 1, MountRules::guarded);
  EXPECT_TRUE(claim(image));
  EXPECT_TRUE(claim(image));
}

TEST_F(ImageClaim, FailsWhereAnotherHoldsTheFile) {
  const int other = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_EQ(::flock(other, LOCK_EX | LOCK_NB), 0);
  const auto image = MountedImage::of(kDevice, 1, MountRules::guarded);
  EXPECT_FALSE(claim(image));
  ::close(other);
  EXPECT_TRUE(claim(image)) << "the other has let go";
}

} // namespace
} // namespace tessary::test
