// The medium that the tests of power cuts stand on: what is on it for certain, and what may be.

#include "tests/durability/PowerCuts.h"
#include "tests/support/HostFiles.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace tessary::test {
namespace {

constexpr std::size_t kPage = 4096;

/// A file of pages of zeros, mapped, under a recorder.
class OnAMedium : public testing::Test {
protected:
  OnAMedium() {
    writeBytes(path_, Bytes(4 * kPage));
    fd_ = ::open(path_.c_str(), O_RDWR | O_CLOEXEC);
    bytes_ =
        static_cast<std::uint8_t *>(::mmap(nullptr, 4 * kPage, PROT_READ | PROT_WRITE, MAP_SHARED, fd_, 0));
    recorder_.emplace(std::vector<std::string>{path_});
  }
  ~OnAMedium() override {
    ::munmap(bytes_, 4 * kPage);
    ::close(fd_);
  }

  void fill(std::size_t block, std::uint8_t value) const {
    std::fill_n(bytes_ + block * kBlockBytes, kBlockBytes, value);
  }
  [[nodiscard]] int flush(std::size_t page, std::size_t length, int flags = MS_SYNC) const {
    return ::msync(bytes_ + page * kPage, length, flags);
  }
  [[nodiscard]] PowerCuts cuts() { return PowerCuts(recorder_->take()); }

  /// The first bytes of these blocks in any image that a cut in the span leaves.
  static std::set<std::string> found(const PowerCuts &cuts, std::size_t span, std::size_t pageBytes,
                                     const std::vector<std::size_t> &blocks) {
    std::set<std::string> all;
    const std::size_t extremes = cuts.extremes(span, pageBytes);
    for (std::uint32_t seed = 0; seed < 300; ++seed) {
      Random random(seed);
      const Bytes image =
          seed < extremes ? cuts.extreme(span, pageBytes, seed) : cuts.drawn(span, pageBytes, random);
      std::string values;
      for (const std::size_t block : blocks)
        values += image[block * kBlockBytes] == 0 ? '-' : static_cast<char>(image[block * kBlockBytes]);
      all.insert(values);
    }
    return all;
  }

  const TemporaryFolder folder_;
  const std::string path_ = folder_.path("image");
  int fd_ = -1;
  std::uint8_t *bytes_ = nullptr;
  std::optional<BarrierRecorder> recorder_;
};

using Found = std::set<std::string>;

TEST_F(OnAMedium, WhatABarrierCoversIsThereAfterItAndMayBeBefore) {
  fill(0, 'a');
  fill(1, 'b');
  ASSERT_EQ(flush(0, 2 * kBlockBytes), 0);
  const PowerCuts after = cuts();
  ASSERT_EQ(after.spans(), 2U);
  EXPECT_EQ(found(after, 0, 512, {0, 1}), (Found{"--", "a-", "-b", "ab"}));
  EXPECT_EQ(found(after, 1, 512, {0, 1}), Found{"ab"});
  EXPECT_FALSE(after.isOpen(1));
  EXPECT_EQ(after.barriersInUse(), std::vector<bool>{true});
}

TEST_F(OnAMedium, BytesOutsideOfTheRangeStayUncertain) {
  fill(7, 'a');
  fill(8, 'b');
  ASSERT_EQ(flush(0, kPage), 0);
  EXPECT_EQ(found(cuts(), 1, 512, {7, 8}), (Found{"a-", "ab"}));
}

TEST_F(OnAMedium, RequestThatDoesNotWaitIsNoBarrier) {
  fill(0, 'a');
  ASSERT_EQ(flush(0, kPage, MS_ASYNC), 0);
  const PowerCuts after = cuts();
  EXPECT_EQ(after.spans(), 1U);
  EXPECT_EQ(found(after, 0, 512, {0}), (Found{"-", "a"}));
}

TEST_F(OnAMedium, WholeFileIsCoveredByItsDescriptorsBarriers) {
  fill(0, 'a');
  ASSERT_EQ(::fdatasync(fd_), 0);
  fill(31, 'b');
  ASSERT_EQ(::fsync(fd_), 0);
  const PowerCuts after = cuts();
  ASSERT_EQ(after.spans(), 3U);
  EXPECT_EQ(found(after, 1, 512, {0, 31}), (Found{"a-", "ab"}));
  EXPECT_EQ(found(after, 2, 512, {0, 31}), Found{"ab"});
}

TEST_F(OnAMedium, OtherFilesAreTheHosts) {
  writeText(folder_.path("other"), "text");
  const int other = ::open(folder_.path("other").c_str(), O_RDWR | O_CLOEXEC);
  EXPECT_EQ(::fsync(other), 0);
  EXPECT_EQ(::fdatasync(other), 0);
  ::close(other);
  EXPECT_NE(::fsync(other), 0);
  EXPECT_EQ(cuts().spans(), 1U);
}

TEST_F(OnAMedium, RequestsThatTheHostWouldRefuseAreRefused) {
  EXPECT_EQ(::msync(bytes_ + 1, kPage, MS_SYNC), -1);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(cuts().spans(), 1U);
}

TEST_F(OnAMedium, BarrierThatIsLeftOutBringsNothing) {
  recorder_->leaveOut(1, Omission::lost);
  fill(0, 'a');
  ASSERT_EQ(flush(0, kPage), 0);
  fill(8, 'b');
  ASSERT_EQ(flush(1, kPage), 0);
  fill(16, 'c');
  ASSERT_EQ(flush(2, kPage), 0);
  const PowerCuts after = cuts();
  EXPECT_EQ(after.spans(), 4U);
  EXPECT_EQ(found(after, 3, 512, {0, 8, 16}), (Found{"a-c", "abc"}));
  EXPECT_EQ(after.barriersInUse(), (std::vector<bool>{true, false, true}));
}

TEST_F(OnAMedium, LateBarrierComesWithTheNext) {
  recorder_->leaveOut(0, Omission::late);
  fill(0, 'a');
  ASSERT_EQ(flush(0, kPage), 0);
  fill(8, 'b');
  ASSERT_EQ(flush(1, kPage), 0);
  const PowerCuts after = cuts();
  EXPECT_EQ(found(after, 1, 512, {0, 8}), (Found{"--", "a-", "-b", "ab"}));
  EXPECT_EQ(found(after, 2, 512, {0, 8}), Found{"ab"});
}

TEST_F(OnAMedium, RefusedBarrierIsAnError) {
  recorder_->leaveOut(0, Omission::refused);
  fill(0, 'a');
  EXPECT_EQ(flush(0, kPage), -1);
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(found(cuts(), 1, 512, {0}), (Found{"-", "a"}));
}

TEST_F(OnAMedium, ExtremesSetEachPageAgainstAllOthers) {
  fill(0, 'a');
  fill(1, 'b');
  fill(8, 'c');
  const PowerCuts after = cuts();
  const auto extremes = [&](std::size_t pageBytes) {
    Found all;
    for (std::size_t number = 0; number < after.extremes(0, pageBytes); ++number) {
      const Bytes image = after.extreme(0, pageBytes, number);
      std::string values;
      for (const std::size_t block : {0U, 1U, 8U})
        values += image[block * kBlockBytes] == 0 ? '-' : static_cast<char>(image[block * kBlockBytes]);
      all.insert(values);
    }
    return all;
  };
  EXPECT_EQ(extremes(512), (Found{"a--", "-b-", "--c", "ab-", "a-c", "-bc"}));
  EXPECT_EQ(extremes(4096), (Found{"ab-", "--c"}));
}

TEST_F(OnAMedium, ReportBeforeItsBytesAreThereIsEarly) {
  fill(0, 'a');
  ASSERT_EQ(flush(0, kPage), 0);
  recorder_->noteReport();
  fill(8, 'b');
  recorder_->noteReport();
  ASSERT_EQ(flush(1, kPage), 0);
  recorder_->noteReport();
  EXPECT_EQ(cuts().earlyReport(), 2U);
  recorder_->noteReport();
  EXPECT_EQ(cuts().earlyReport(), 0U);
}

TEST_F(OnAMedium, EveryFormThatAPageHadMayBeThere) {
  fill(0, 'a');
  ASSERT_EQ(flush(0, kPage, MS_ASYNC), 0);
  fill(0, 'b');
  ASSERT_EQ(flush(1, kPage), 0);
  fill(0, 'c');
  EXPECT_EQ(found(cuts(), 1, 512, {0}), (Found{"-", "a", "b", "c"}));
}

TEST_F(OnAMedium, LargePagesAreTakenAsAWholeButNeverOlderThanWhatIsCertain) {
  fill(0, 'a');
  fill(7, 'x');
  ASSERT_EQ(flush(0, kBlockBytes), 0);
  fill(1, 'b');
  ASSERT_EQ(flush(1, kPage, MS_ASYNC), 0);
  fill(2, 'c');
  const PowerCuts after = cuts();
  const Found small = found(after, 1, 512, {0, 1, 2});
  EXPECT_TRUE(small.contains("a-c"));
  Found whole;
  for (const std::string &values : found(after, 1, 4096, {0, 1, 2, 7}))
    whole.insert(values);
  for (const char *form : {"a---", "a--x", "ab-x", "abcx"})
    EXPECT_TRUE(whole.contains(form)) << form;
  EXPECT_FALSE(whole.contains("a-cx")) << "the second block was there before the third";
}

TEST_F(OnAMedium, PageMayBeThereAsItWasWhileItWasWritten) {
  fill(0, 'a');
  const PowerCuts after = cuts();
  bool isMixed = false;
  for (std::uint32_t seed = 0; seed < 300; ++seed) {
    Random random(seed);
    const Bytes image = after.drawn(0, 4096, random);
    const auto there = std::count(image.begin(), image.begin() + kBlockBytes, 'a');
    EXPECT_EQ(there % 32, 0) << "an entry is written in one go";
    isMixed = isMixed || (there != 0 && there != kBlockBytes);
  }
  EXPECT_TRUE(isMixed);
}

TEST_F(OnAMedium, WhatWasTakenIsTheBeginningOfWhatComes) {
  fill(0, 'a');
  EXPECT_EQ(cuts().spans(), 1U);
  fill(8, 'b');
  ASSERT_EQ(flush(1, kPage), 0);
  const PowerCuts after = cuts();
  EXPECT_EQ(after.spans(), 2U);
  EXPECT_EQ(found(after, 0, 512, {0, 8}), (Found{"a-", "ab"}));
}

} // namespace
} // namespace tessary::test
