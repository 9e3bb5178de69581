// Undo and redo of what has gone meanwhile, or cannot be kept any more: it is told, with the reason.

#include "app/WorkQueue.h"
#include "tests/app/HistoryTest.h"

#include <filesystem>

namespace tessary::test {
namespace {

const QString kGone = QStringLiteral(": It is no longer in its folder.");

class UndoImpossible : public HistoryTest {
protected:
  static EMU3DirectoryPtr folderA(const EMU3Filesystem &volume) {
    return folderNamed(volume.rootDirectory(), "A");
  }
  void importTwo() {
    clickToolbar("ImportItem");
    confirmPanel(
        {writeHostFile("ONE.E4B", patternBytes(1234, 6)), writeHostFile("TWO.E4B", patternBytes(2345, 7))});
    waitAndCheck();
  }
  static void deleteFrom(EMU3Filesystem &volume, const EMU3DirectoryPtr &folder, const char *name) {
    ASSERT_TRUE(volume.deleteFile(fileNamed(folder, name), folder));
  }
  /// What the one alert since the last time has listed.
  QStringList toldFailures(const QString &title) {
    EXPECT_EQ(alerts_.shown().size(), ++told_);
    if (alerts_.shown().size() != told_) return {};
    EXPECT_EQ(alerts_.shown().back().message, title);
    return alerts_.shown().back().failures;
  }
  /// Cuts the image off where the file's contents begin, as a bad copy would be. Returns its length before.
  std::uintmax_t cutAt(const char *file) const {
    const EMU3FilesystemPtr volume = controller_->filesystem();
    const std::uint64_t slot = fileNamed(folderA(*volume), file)->fields().startCluster;
    const std::uint64_t block = volume->dataAreaBlock() + volume->slotSizeBlocks() * (slot - 1);
    const std::uintmax_t length = std::filesystem::file_size(path_);
    std::filesystem::resize_file(path_, block * EMU3Filesystem::kBlockSize);
    return length;
  }

  const AlertAnswers alerts_;
  std::size_t told_ = 0;
};

TEST_F(UndoImpossible, ImportOfWhichOneFileIsGoneTakesTheOtherAwayAndNamesIt) {
  mountImages();
  const Holdings before = holdingsOf(path_);
  importTwo();
  changeByOther([](EMU3Filesystem &theirs) { deleteFrom(theirs, folderA(theirs), "ONE"); });
  const Holdings withTwo = holdingsOf(path_);
  undo();
  EXPECT_EQ(toldFailures("Delete Failed (1 of 2)"), QStringList{"ONE" + kGone});
  EXPECT_EQ(status(), "Deleted 1 file(s).");
  EXPECT_EQ(holdingsOf(path_), before);
  EXPECT_FALSE(controller_->undoManager()->canUndo()) << "nothing is left of it";
  redo();
  EXPECT_EQ(holdingsOf(path_), withTwo);
  undo();
  EXPECT_EQ(holdingsOf(path_), before);
  EXPECT_EQ(alerts_.shown().size(), 1U) << "what is gone was told once";
}

TEST_F(UndoImpossible, ImportOfWhichAllIsGoneIsToldAndTheEarlierStepFollows) {
  mountImages();
  const Holdings before = holdingsOf(path_);
  rename("FIRST", "KICK");
  importTwo();
  changeByOther([](EMU3Filesystem &theirs) {
    deleteFrom(theirs, folderA(theirs), "ONE");
    deleteFrom(theirs, folderA(theirs), "TWO");
  });
  const Bytes bytes = readBytes(path_);
  undo();
  EXPECT_EQ(toldFailures("Delete Failed (2 of 2)"), (QStringList{"ONE" + kGone, "TWO" + kGone}));
  EXPECT_EQ(status(), "Deleted 0 file(s).");
  EXPECT_EQ(readBytes(path_), bytes);
  EXPECT_EQ(controller_->undoManager()->undoName(), "Rename");
  undo();
  EXPECT_EQ(holdingsOf(path_), before);
}

TEST_F(UndoImpossible, FileThatAnotherProgramMovedStaysWhereItIs) {
  mountImages();
  importTwo();
  changeByOther([](EMU3Filesystem &theirs) {
    const EMU3DirectoryPtr a = folderA(theirs);
    ASSERT_TRUE(theirs.moveFile(fileNamed(a, "TWO"), a, folderNamed(theirs.rootDirectory(), "B")));
  });
  undo();
  EXPECT_EQ(toldFailures("Delete Failed (1 of 2)"), QStringList{"TWO" + kGone});
  EXPECT_EQ(holdingsOf(path_).count("/B/TWO"), 1U);
}

TEST_F(UndoImpossible, FileInAFolderThatIsGoneIsNamed) {
  mountImages();
  importTwo();
  changeByOther([](EMU3Filesystem &theirs) {
    ASSERT_TRUE(theirs.deleteDirectory(folderA(theirs), theirs.rootDirectory()));
  });
  const Bytes bytes = readBytes(path_);
  undo();
  EXPECT_EQ(toldFailures("Delete Failed (2 of 2)").size(), 2);
  EXPECT_EQ(readBytes(path_), bytes);
}

TEST_F(UndoImpossible, NewFolderThatIsGoneIsNamed) {
  mountImages();
  newFolder("Fresh");
  changeByOther([](EMU3Filesystem &theirs) {
    const EMU3DirectoryPtr a = folderA(theirs);
    ASSERT_TRUE(theirs.deleteDirectory(folderNamed(a, "Fresh"), a));
  });
  undo();
  EXPECT_EQ(toldFailures("Delete Failed (1 of 1)"), QStringList{"Fresh" + kGone});
  EXPECT_FALSE(controller_->undoManager()->canUndo());
}

TEST_F(UndoImpossible, MoveBackNamesTheFileThatIsGone) {
  mountImages();
  transfer("SECOND", positionOf("B"), true);
  changeByOther(
      [](EMU3Filesystem &theirs) { deleteFrom(theirs, folderNamed(theirs.rootDirectory(), "B"), "SECOND"); });
  const Bytes bytes = readBytes(path_);
  undo();
  EXPECT_EQ(toldFailures("Move Failed (1 of 1)"), QStringList{"SECOND" + kGone});
  EXPECT_EQ(readBytes(path_), bytes);
}

TEST_F(UndoImpossible, MoveBackNamesTheFolderThatIsGone) {
  mountImages();
  transfer("SECOND", positionOf("B"), true);
  changeByOther([](EMU3Filesystem &theirs) {
    ASSERT_TRUE(theirs.deleteDirectory(folderA(theirs), theirs.rootDirectory()));
  });
  const Bytes bytes = readBytes(path_);
  undo();
  EXPECT_EQ(toldFailures("Move Failed (1 of 1)"), QStringList{"SECOND: The folder “A” is no longer there."});
  EXPECT_EQ(readBytes(path_), bytes);
}

TEST_F(UndoImpossible, DeletionFromAFolderThatIsGoneNamesTheFolderAndKeepsTheCopy) {
  mountImages();
  deleteFile("SECOND");
  changeByOther([](EMU3Filesystem &theirs) {
    ASSERT_TRUE(theirs.deleteDirectory(folderA(theirs), theirs.rootDirectory()));
  });
  const Bytes bytes = readBytes(path_);
  undo();
  EXPECT_EQ(toldFailures("Restore Failed (1 of 1)"),
            QStringList{"SECOND: The folder “A” is no longer there."});
  EXPECT_EQ(readBytes(path_), bytes);
  EXPECT_TRUE(controller_->undoManager()->canUndo());
}

TEST_F(UndoImpossible, CopiesOfWhatCouldNotBeBroughtBackOutlastTheWindow) {
  mountImages();
  deleteFile("SECOND");
  deleteFile("FIRST");
  undo(); // comes back, so its copies are needed no more
  changeByOther([](EMU3Filesystem &theirs) {
    ASSERT_TRUE(theirs.deleteDirectory(folderA(theirs), theirs.rootDirectory()));
  });
  undo();
  EXPECT_EQ(toldFailures("Restore Failed (1 of 1)").size(), 1);
  controller_.reset();
  workQueue().waitForDone();
  std::vector<Bytes> left;
  for (const auto &entry : std::filesystem::recursive_directory_iterator(folder_.path("cache")))
    if (entry.is_regular_file()) left.push_back(readBytes(entry.path().native()));
  EXPECT_EQ(left, std::vector<Bytes>{patternBytes(700, 2)});
}

TEST_F(UndoImpossible, RenamingOfAFolderThatIsGoneIsNamed) {
  mountImages();
  renameFolder({"B"}, "Bass");
  changeByOther([](EMU3Filesystem &theirs) {
    const EMU3DirectoryPtr root = theirs.rootDirectory();
    ASSERT_TRUE(theirs.deleteDirectory(folderNamed(root, "Bass"), root));
  });
  const Bytes bytes = readBytes(path_);
  undo();
  EXPECT_EQ(toldFailures("Rename Failed"), QStringList{"Bass" + kGone});
  EXPECT_EQ(readBytes(path_), bytes);
}

TEST_F(UndoImpossible, FolderThatAnotherProgramHasNamedOtherwiseKeepsThatName) {
  mountImages();
  renameFolder({"B"}, "Bass");
  changeByOther([](EMU3Filesystem &theirs) {
    ASSERT_TRUE(theirs.renameDirectory(folderNamed(theirs.rootDirectory(), "Bass"), "Brass"));
  });
  const Bytes bytes = readBytes(path_);
  undo();
  EXPECT_EQ(toldFailures("Rename Failed"), QStringList{"Brass: It was given this name elsewhere meanwhile."});
  EXPECT_EQ(readBytes(path_), bytes);
  changeByOther([](EMU3Filesystem &theirs) {
    ASSERT_TRUE(theirs.renameDirectory(folderNamed(theirs.rootDirectory(), "Brass"), "Bass"));
  });
  ASSERT_TRUE(controller_->undoManager()->canUndo());
  undo();
  EXPECT_EQ(status(), "Renamed to 'B'.");
  redo();
  EXPECT_EQ(status(), "Renamed to 'Bass'.");
}

TEST_F(UndoImpossible, FileWhoseContentsAreIncompleteByThenIsNamedAndStaysRedoable) {
  mountImages();
  deleteFile("FIRST");
  undo();
  const std::uintmax_t length = cutAt("FIRST");
  redo();
  EXPECT_EQ(toldFailures("Delete Failed (1 of 1)"),
            QStringList{"FIRST: Its contents are incomplete, so it could not be brought back again."});
  EXPECT_EQ(sheet<QDialog>(), nullptr) << "nothing is asked";
  std::filesystem::resize_file(path_, length); // the rest of the image is there again
  EXPECT_EQ(holdingsOf(path_).count("/A/FIRST"), 1U);
  ASSERT_TRUE(controller_->undoManager()->canRedo());
  redo();
  EXPECT_EQ(status(), "Deleted 1 file(s).");
  EXPECT_EQ(holdingsOf(path_).count("/A/FIRST"), 0U);
}

TEST_F(UndoImpossible, FolderWithIncompleteContentsByThenIsNamedAndStaysRedoable) {
  mountImages();
  deleteFolder({"A"});
  undo();
  const std::uintmax_t length = cutAt("FIRST");
  redo();
  EXPECT_EQ(toldFailures("Delete Failed (1 of 1)"),
            QStringList{"A: Contents of files in it are incomplete, so it could not be brought back again."});
  std::filesystem::resize_file(path_, length);
  EXPECT_EQ(holdingsOf(path_).count("/A/FIRST"), 1U);
  ASSERT_TRUE(controller_->undoManager()->canRedo());
  redo();
  EXPECT_EQ(status(), "Deleted folder 'A'.");
}

} // namespace
} // namespace tessary::test
