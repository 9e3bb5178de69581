// Copying from one image to another, stopped and done to its end.

#include "app/history/CopyStep.h"
#include "tests/items/ItemsTest.h"
#include "tests/support/FlushWatch.h"

namespace tessary::test {
namespace {

class CopyFromAnotherImage : public testing::Test {
protected:
  void SetUp() override {
    ImageBuilder from({.sizeBytes = 8 * kMiB, .slotSizeBlocks = 8});
    FolderBuilder tree = from.root().addFolder("Tree", {.blockCount = 7});
    FolderBuilder deep = tree.addFolder("Deep", {.blockCount = 7});
    for (std::uint32_t i = 0; i < 90; ++i) {
      tree.addFile("T" + std::to_string(i), patternBytes(600 + i, i));
      deep.addFile("D" + std::to_string(i), patternBytes(700 + i, 200 + i));
    }
    from.writeTo(folder_.path("from.hda"));
    ImageBuilder to({.sizeBytes = 8 * kMiB, .slotSizeBlocks = 8});
    to.root().addFolder("Tree").addFile("MINE", patternBytes(10, 1));
    to.writeTo(folder_.path("to.hda"));
    from_ = mounted(folder_.path("from.hda"), MountRules::guarded);
    to_ = mounted(folder_.path("to.hda"), MountRules::guarded);
    source_ = contentsBelow(*from_);
    before_ = contentsBelow(*to_);
  }

  /// Copies the tree, and stops when the first items are on the medium.
  StepResult stopped() {
    WorkProgress progress;
    const FlushWatch watch([&](const FlushRequest &request) {
      progress.stop();
      return request.handOn();
    });
    return CopyStep::of(items_, folderNamed(from_->rootDirectory(), "Tree"), to_->rootDirectory(), from_)
        ->run(*to_, items_, progress);
  }
  StepResult run(const HistoryStepPtr &step) {
    WorkProgress progress;
    return step->run(*to_, items_, progress);
  }
  /// What lies below the copy, which stands beside a folder of its name.
  Contents copied() {
    Contents copied;
    const EMU3DirectoryPtr copy = to_->rootDirectory()->subdirectories()[1];
    EXPECT_EQ(copy->name(), "Tree");
    for (const auto &[path, bytes] : contentsOf(copy, ""))
      copied.emplace("Tree/" + path, bytes);
    copied.emplace("Tree/", Bytes{});
    return copied;
  }
  Contents contentsOf(const EMU3DirectoryPtr &folder, const std::string &above) {
    Contents contents;
    for (const EMU3FilePtr &file : folder->allFiles())
      contents.emplace(above + file->name(), test::contentsOf(*to_, file));
    for (const EMU3DirectoryPtr &below : folder->subdirectories()) {
      contents.emplace(above + below->name() + "/", Bytes{});
      contents.merge(contentsOf(below, above + below->name() + "/"));
    }
    return contents;
  }

  const TemporaryFolder folder_;
  EMU3FilesystemPtr from_;
  EMU3FilesystemPtr to_;
  LastingItems items_;
  Contents source_;
  Contents before_;
};

TEST_F(CopyFromAnotherImage, IsCompleteOnceTheRestOfAStoppedOneIsDone) {
  const StepResult first = stopped();
  EXPECT_TRUE(first.outcome.isStopped);
  EXPECT_GT(first.outcome.done, 0U);
  EXPECT_LT(first.outcome.done, 180U);
  EXPECT_EQ(first.status.toStdString(),
            "Stopped. Copied " + std::to_string(first.outcome.done) + " of 180 file(s).");
  EXPECT_TRUE(first.failures.empty());
  ASSERT_TRUE(first.rest);
  const StepResult second = run(first.rest);
  EXPECT_TRUE(second.failures.empty());
  EXPECT_FALSE(second.rest);
  EXPECT_EQ(copied(), source_);

  run(second.counterpart);
  run(first.counterpart);
  EXPECT_EQ(contentsBelow(*to_), before_);
}

TEST_F(CopyFromAnotherImage, DoesNothingOnceThatImageIsUnmounted) {
  const StepResult first = stopped();
  const Contents there = contentsBelow(*to_);
  from_ = nullptr;
  const StepResult second = run(first.rest);
  EXPECT_EQ(second.outcome.done, 0U);
  EXPECT_FALSE(second.counterpart);
  ASSERT_FALSE(second.failures.empty());
  EXPECT_EQ(second.failures.front().reason, "The image that it is in is no longer mounted.");
  EXPECT_EQ(contentsBelow(*to_), there);
  const StepResult third = run(second.rest);
  EXPECT_FALSE(third.failures.empty()) << "also when it is tried again";
}

} // namespace
} // namespace tessary::test
