// Which image the steps of undo are about, when files were renamed, linked or replaced since.

#include "tessary/ImageIdentity.h"
#include "tests/app/HistoryTest.h"

#include <filesystem>

namespace tessary::test {
namespace {

namespace fs = std::filesystem;

class KnownImage : public HistoryTest {
protected:
  void mountAndDelete() {
    mountImages();
    before_ = holdingsOf(path_);
    deleteFile("SECOND");
    after_ = holdingsOf(path_);
  }
  void unmount() { clickToolbar("UnmountItem"); }
  std::string beside(const char *name) const { return fs::path(path_).replace_filename(name).string(); }
  /// Undoes on the image that this path leads to.
  void expectUndoAt(const std::string &path) {
    openImage(path);
    undo();
    EXPECT_EQ(status(), "Restored 1 file(s).");
    EXPECT_EQ(holdingsOf(path), before_);
    EXPECT_EQ(beeps_.count(), 0);
  }
  void expectNoSteps() {
    EXPECT_FALSE(toolbarButton("UndoItem")->isEnabled());
    const Bytes bytes = readBytes(path_);
    pressUndoKey();
    waitAndCheck();
    EXPECT_EQ(beeps_.count(), 1);
    EXPECT_EQ(readBytes(path_), bytes);
  }

  Holdings before_, after_;
};

TEST_F(KnownImage, KeepsItsStepsUnderAnotherName) {
  mountAndDelete();
  unmount();
  fs::rename(path_, beside("renamed.hda"));
  expectUndoAt(beside("renamed.hda"));
}

TEST_F(KnownImage, KeepsItsStepsBehindALink) {
  mountAndDelete();
  unmount();
  fs::create_symlink(path_, beside("link.hda"));
  expectUndoAt(beside("link.hda"));
}

TEST_F(KnownImage, KeepsItsStepsByAnotherSpellingOfThePath) {
  mountAndDelete();
  unmount();
  expectUndoAt(fs::path(path_).parent_path().string() + "/./" + fs::path(path_).filename().string());
}

TEST_F(KnownImage, FileThatWasPutInItsPlaceGetsNoStepsOfIt) {
  mountAndDelete();
  unmount();
  fs::rename(path_, beside("earlier.hda"));
  fs::copy_file(beside("earlier.hda"), beside("new.hda"));
  fs::rename(beside("new.hda"), path_);
  openImage(path_);
  expectNoSteps();
}

TEST_F(KnownImage, StepsWaitForTheFileThatAnotherWasPutInThePlaceOf) {
  mountAndDelete();
  unmount();
  fs::rename(path_, beside("earlier.hda"));
  fs::copy_file(beside("earlier.hda"), path_);
  openImage(path_);
  expectUndoAt(beside("earlier.hda"));
}

TEST_F(KnownImage, NewFileWithTheNumberOfADeletedOneIsAnother) {
  mountAndDelete();
  const ImageIdentity earlier = controller_->filesystem()->identity();
  if (earlier.born == 0) GTEST_SKIP() << "this filesystem does not tell when a file was born";
  unmount();
  const Bytes bytes = readBytes(path_);
  fs::remove(path_);
  writeBytes(path_, bytes); // many filesystems give it the same number
  openImage(path_);
  expectNoSteps();
}

TEST_F(KnownImage, OtherContentsInTheSameFileLoseNothingOfTheirs) {
  mountAndDelete();
  rename("FIRST", "KICK");
  unmount();
  ImageBuilder others; // in the places of A and of its files
  FolderBuilder folder = others.root().addFolder("Theirs");
  folder.addFile("ONE", patternBytes(50, 1));
  folder.addFile("TWO", patternBytes(60, 2));
  writeBytes(path_, others.build());
  const Holdings theirs = holdingsOf(path_);
  openImage(path_);
  const AlertAnswers alerts;
  while (controller_->undoManager()->canUndo() && alerts.shown().size() < 2)
    undo();
  for (const auto &[path, contents] : theirs) {
    const Holdings now = holdingsOf(path_);
    const auto found = now.find(path);
    EXPECT_TRUE(found != now.end() && found->second == contents) << path;
  }
  ASSERT_FALSE(alerts.shown().empty());
  EXPECT_EQ(alerts.shown()[0].failures, QStringList{"KICK: It is no longer in its folder."});
}

// ---- What makes two files one

TEST(ImageIdentity, IsThatOfDeviceAndInodeWhateverThePath) {
  const ImageIdentity one{1, 2, 3, 4, "/one"};
  EXPECT_TRUE(one.isSameImage({1, 2, 3, 4, "/other"}));
  EXPECT_FALSE(one.isSameImage({1, 9, 3, 4, "/other"}));
  EXPECT_FALSE(one.isSameImage({9, 2, 3, 4, "/other"}));
}

TEST(ImageIdentity, SizeAndBirthTellAFileFromTheNextWithItsInode) {
  const ImageIdentity one{1, 2, 3, 4, "/one"};
  EXPECT_FALSE(one.isSameImage({1, 2, 9, 4, "/one"}));
  EXPECT_FALSE(one.isSameImage({1, 2, 3, 9, "/one"}));
}

TEST(ImageIdentity, BirthAndPathAreEnoughWhereTheHostNumbersItsFilesAnew) {
  EXPECT_TRUE((ImageIdentity{1, 2, 3, 4, "/one"}.isSameImage({8, 9, 3, 4, "/one"})));
  EXPECT_FALSE((ImageIdentity{1, 2, 3, 0, "/one"}.isSameImage({8, 9, 3, 0, "/one"}))) << "no birth is known";
  EXPECT_TRUE((ImageIdentity{1, 2, 3, 0, "/one"}.isSameImage({1, 2, 3, 0, "/one"})));
}

} // namespace
} // namespace tessary::test
