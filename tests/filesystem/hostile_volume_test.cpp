// Any bytes may be mounted: hostile volumes are read in little time, memory and stack.

#include "tessary/EMU3Filesystem.h"
#include "tests/support/HostFiles.h"
#include "tests/support/MountedVolume.h"
#include "tests/support/SampleVolumes.h"
#include "tests/support/SmallStack.h"

#include <ctime>
#include <gtest/gtest.h>
#include <sstream>

namespace tessary {
namespace {

using namespace test;

/// Private memory of the process in bytes, mapped files not counted.
std::uint64_t privateMemory() {
  const std::string status = readText("/proc/self/status");
  std::istringstream number(status.substr(status.find("RssAnon:") + 8));
  std::uint64_t kilobytes = 0;
  number >> kilobytes;
  return kilobytes * 1024;
}

/// Everything that looking at a volume does: the walk, the bank details of every bank, the sample lists.
/// Returns the number of folders.
std::size_t browse(EMU3Filesystem &filesystem) {
  const auto folders = directoriesInPreOrder(filesystem.rootDirectory());
  for (const auto &folder : folders) {
    for (const auto &file : folder->allFiles()) {
      filesystem.populateBankMetadata(file);
      filesystem.samplesFromBankFile(file);
    }
  }
  return folders.size();
}

/// Processor time of the process in seconds: what other programs do does not count.
double processorSeconds() {
  timespec time{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

TEST(HostileVolume, EachOpensIsBrowsedAndClosesQuickly) {
  // Far above what any of them takes, also under sanitizers; far below a walk that repeats itself.
  constexpr double kQuick = 30;
  for (const NamedVolume &hostile : hostileVolumes()) {
    const double start = processorSeconds();
    {
      const MountedVolume volume(hostile.image);
      browse(*volume);
    }
    EXPECT_LT(processorSeconds() - start, kQuick) << hostile.name;
  }
}

TEST(HostileVolume, NothingIsWrittenByLookingAtOne) {
  for (const NamedVolume &hostile : hostileVolumes()) {
    const MountedVolume volume(hostile.image);
    browse(*volume);
    EXPECT_EQ(readBytes(volume.imagePath()), hostile.image.build()) << hostile.name;
  }
}

TEST(HostileVolume, MemoryDoesNotGrowWithTheBytesClaimed) {
  const MountedVolume volume(hugeClaimsVolume());
  const auto folder = folderNamed(volume.root(), "Claims");
  std::uint64_t claimed = 0;
  for (const auto &file : folder->files())
    claimed += file->fileSize();
  ASSERT_GT(claimed, 3 * kGiB);
  // Sanitizers keep memory of their own for each byte looked at; all files share the bytes of this one.
  volume->populateBankMetadata(fileNamed(folder, "Claim 02"));
  const std::uint64_t before = privateMemory();
  browse(*volume);
  EXPECT_LT(privateMemory(), before + 16 * kMiB);
  for (const auto &file : folder->files())
    EXPECT_EQ(file->cachedData(), nullptr) << file->name();
}

TEST(HostileVolume, ContentsOfEveryFileStayInsideTheImage) {
  for (const NamedVolume &hostile : hostileVolumes()) {
    if (hostile.name == "huge claims") continue; // its claims are true, and 112 of them fill the memory
    const MountedVolume volume(hostile.image);
    for (const auto &folder : directoriesInPreOrder(volume.root())) {
      for (const auto &file : folder->files())
        EXPECT_LE(volume->contentsOfFile(file)->size(), volume->imageSize()) << hostile.name;
    }
  }
}

TEST(NestedVolume, Of32000FoldersNeedsNoDeepStack) {
  const ImageBuilder image = nestedVolume(32000);
  runOnSmallStack(256 * kKiB, [&] {
    const MountedVolume volume(image);
    EXPECT_EQ(browse(*volume), 32001U);
    ASSERT_TRUE(volume->reload());
    EXPECT_EQ(browse(*volume), 32001U);
  });
}

TEST(NestedVolume, HasItsFileAtTheBottom) {
  const MountedVolume volume(nestedVolume(32000));
  const auto folders = directoriesInPreOrder(volume.root());
  ASSERT_EQ(folders.size(), 32001U);
  EXPECT_EQ(folders.back()->name(), "Level 32000");
  EXPECT_EQ(namesOf(folders.back()->files()), std::vector<std::string>{"At the bottom"});
  for (std::size_t i = 1; i < folders.size(); ++i)
    ASSERT_EQ(folders[i]->parent(), folders[i - 1]);
}

TEST(NestedVolume, IsReleasedFromTheMiddleWithoutADeepStack) {
  const ImageBuilder image = nestedVolume(32000);
  runOnSmallStack(256 * kKiB, [&] {
    std::weak_ptr<EMU3Directory> bottom;
    EMU3DirectoryPtr middle;
    {
      const MountedVolume volume(image);
      const auto folders = directoriesInPreOrder(volume.root());
      middle = folders[16000];
      bottom = folders.back();
    }
    EXPECT_FALSE(bottom.expired());
    EXPECT_EQ(middle->parent(), nullptr);
    middle.reset();
    EXPECT_TRUE(bottom.expired());
  });
}

TEST(NestedVolume, FoldersAreRemovedAndCreatedInTheDepthWithoutADeepStack) {
  const ImageBuilder image = nestedVolume(32000);
  runOnSmallStack(256 * kKiB, [&] {
    const MountedVolume volume(image);
    const auto folders = directoriesInPreOrder(volume.root());
    EXPECT_TRUE(volume->createDirectoryNamed("New", folders[31999]));
    EXPECT_TRUE(volume->deleteDirectory(folders[1], volume.root()));
    EXPECT_TRUE(volume.root()->subdirectories().empty());
  });
}

} // namespace
} // namespace tessary
