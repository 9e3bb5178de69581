// Undo and redo of every kind of change.

#include "app/Alert.h"
#include "app/NameAlert.h"
#include "tessary/ItemsOperation.h"
#include "tests/app/HistoryTest.h"

#include <QAction>
#include <QMenu>
#include <chrono>
#include <filesystem>
#include <functional>

namespace tessary {
namespace {

using test::AlertAnswers;
using test::Holdings;
using test::holdingsOf;
using test::patternBytes;

using History = test::HistoryTest;

TEST_F(History, TakesTheRenamingOfAFileBackWithAll16Bytes) {
  mountImages();
  const QString odd = fileNames().back();
  expectUndoable("Rename", [&] { rename(odd, "SHORT"); });
  EXPECT_EQ(status(), QStringLiteral("Renamed to \"%1\".").arg(odd));
  EXPECT_EQ(selectedFileNames(), QStringList{odd});
}

TEST_F(History, TakesTheRenamingOfAFolderBackWithAll16Bytes) {
  mountImages();
  outline()->expand(folderItem({"A"}));
  const QString odd = QString::fromStdString(controller_->currentDirectory()->subdirectories()[0]->name());
  expectUndoable("Rename Folder", [&] {
    chooseFromMenu(outline(),
                   outline()->visualRect(folderItem({"A"}).model()->index(0, 0, folderItem({"A"}))).center(),
                   "Rename Folder");
    answerWithName("Short");
  });
  EXPECT_EQ(status(), QStringLiteral("Renamed to '%1'.").arg(odd));
}

TEST_F(History, TakesAMoveBack) {
  mountImages();
  expectUndoable("Move", [&] { transfer("SECOND", positionOf("B"), true); });
  EXPECT_EQ(status(), "Moved 1 file(s).");
  EXPECT_EQ(controller_->currentDirectory()->name(), "A");
  EXPECT_EQ(selectedFileNames(), QStringList{"SECOND"});
}

TEST_F(History, TakesACopyBack) {
  mountImages();
  expectUndoable("Copy", [&] { transfer("SECOND", positionOf("B"), false); });
  EXPECT_EQ(status(), "Deleted 1 file(s).");
}

TEST_F(History, TakesAnImportBackAndImportsTheSameBytesAgain) {
  mountImages();
  expectUndoable("Import", [&] {
    import("NEW.E4B");
    test::writeBytes(folder_.path("import/NEW.E4B"), patternBytes(10, 9)); // changed on the host since
  });
}

TEST_F(History, TakesANewFolderBack) {
  mountImages();
  expectUndoable("New Folder", [&] { newFolder("Fresh"); });
  EXPECT_EQ(status(), "Deleted folder 'Fresh'.");
}

TEST_F(History, TakesTheDeletionOfAFolderBackWithAllThatWasInIt) {
  mountImages();
  expectUndoable("Delete Folder", [&] { deleteFolder({"A"}); });
  EXPECT_EQ(status(), "Restored folder 'A'.");
  EXPECT_EQ(controller_->currentDirectory()->name(), "A");
  EXPECT_EQ(fileNames().size(), 3);
}

TEST_F(History, TakesMixedStepsBackAndForthAcrossDeletionsOfWhatTheyMean) {
  mountImages();
  std::vector<Holdings> states{holdingsOf(path_)};
  const std::vector<std::function<void()>> changes{
      [&] { rename("FIRST", "KICK"); },
      [&] { transfer("KICK", positionOf("B"), true); },
      [&] { renameFolder({"B"}, "Bass"); },
      [&] { chooseFolder({"Bass"}), deleteFile("KICK"); },
      [&] { transfer("OTHER", positionOf("A"), false); },
      [&] { chooseFolder({"A"}), import("SNARE.E4B"); },
      [&] { rename("SNARE", "TOM"); },
      [&] { deleteFolder({"A"}); },
      [&] { newFolder("A"); },
      [&] { chooseFolder({"Bass"}), rename("OTHER", "LAST"); },
  };
  for (const auto &change : changes) {
    change();
    states.push_back(holdingsOf(path_));
    ASSERT_NE(states.back(), states[states.size() - 2]) << states.size();
  }
  for (int times = 0; times < 2; ++times) {
    for (std::size_t step = changes.size(); step > 0; --step) {
      undo();
      EXPECT_EQ(holdingsOf(path_), states[step - 1]) << "before step " << step;
    }
    EXPECT_FALSE(toolbarButton("UndoItem")->isEnabled());
    for (std::size_t step = 0; step < changes.size(); ++step) {
      redo();
      EXPECT_EQ(holdingsOf(path_), states[step + 1]) << "after step " << step + 1;
    }
    EXPECT_FALSE(toolbarButton("RedoItem")->isEnabled());
  }
}

TEST_F(History, OutlivesTheImageBeingMountedAnew) {
  mountImages();
  const Holdings before = holdingsOf(path_);
  rename("FIRST", "KICK");
  transfer("KICK", positionOf("B"), true);
  clickToolbar("UnmountItem");
  EXPECT_FALSE(toolbarButton("UndoItem")->isEnabled());
  openImage(path_);
  undo();
  undo();
  EXPECT_EQ(holdingsOf(path_), before);
}

TEST_F(History, FindsAFolderAgainThatAnotherProgramMadeGrowAndRenamed) {
  mountImages();
  deleteFile("SECOND");
  clickToolbar("UnmountItem");
  {
    const EMU3FilesystemPtr theirs = test::mounted(path_, MountRules::guarded);
    const EMU3DirectoryPtr a = test::folderNamed(theirs->rootDirectory(), "A");
    const std::size_t blocks = a->blockList().size();
    const auto filling = theirs->manyItems();
    for (int i = 0; i < 40; ++i)
      filling->importBytes("T" + std::to_string(i), std::make_shared<ByteBuffer>(10, std::uint8_t{1}), a);
    filling->run({});
    ASSERT_GT(a->blockList().size(), blocks);
    ASSERT_TRUE(theirs->renameDirectory(a, "Theirs"));
  }
  openImage(path_);
  undo();
  EXPECT_EQ(status(), "Restored 1 file(s).");
  EXPECT_EQ(holdingsOf(path_).count("/Theirs/SECOND"), 1U);
}

TEST_F(History, NewFolderInWhichOthersHavePutFilesIsNotTakenBack) {
  mountImages();
  newFolder("Fresh");
  clickToolbar("UnmountItem");
  {
    const EMU3FilesystemPtr theirs = test::mounted(path_, MountRules::guarded);
    const EMU3DirectoryPtr fresh =
        test::folderNamed(test::folderNamed(theirs->rootDirectory(), "A"), "Fresh");
    const auto filling = theirs->manyItems();
    filling->importBytes("THEIRS", std::make_shared<ByteBuffer>(10, std::uint8_t{1}), fresh);
    filling->run({});
  }
  openImage(path_);
  const Holdings before = holdingsOf(path_);
  {
    const AlertAnswers alerts;
    undo();
    ASSERT_EQ(alerts.shown().size(), 1U);
    EXPECT_EQ(alerts.shown()[0].message, "Delete Failed (1 of 1)");
  }
  EXPECT_EQ(holdingsOf(path_), before);
  chooseFolder({"A", "Fresh"});
  deleteFile("THEIRS");
  undo(); // brings theirs back
  EXPECT_EQ(holdingsOf(path_), before);
  redo();
  EXPECT_TRUE(controller_->undoManager()->canUndo());
}

TEST_F(History, CopiesThatAStepNeedsStayHoweverOldTheyAre) {
  mountImages();
  const Holdings before = holdingsOf(path_);
  deleteFile("FIRST");
  const std::string copies = folder_.path("cache") + "/tessary-" + std::to_string(::geteuid()) + "/Undo";
  ASSERT_EQ(test::namesIn(copies).size(), 1U);
  std::filesystem::last_write_time(copies + "/" + test::namesIn(copies)[0],
                                   std::filesystem::file_time_type::clock::now() -
                                       std::chrono::hours(24 * 60));
  deleteFile("SECOND"); // looks for copies that nobody needs any more
  EXPECT_EQ(test::namesIn(copies).size(), 2U);
  undo();
  undo();
  EXPECT_EQ(holdingsOf(path_), before);
}

TEST_F(History, NamesWhatItWouldDoInTheMenu) {
  mountImages();
  rename("FIRST", "KICK");
  deleteFile("KICK");
  undo();
  QMenu *edit = controller_->menus()[1];
  edit->popup(QPoint());
  EXPECT_EQ(edit->actions()[0]->text(), "Undo Rename");
  EXPECT_EQ(edit->actions()[1]->text(), "Redo Delete");
  edit->close();
}

TEST_F(History, SaysWhyAnUndoIsImpossibleAndChangesNothing) {
  mountImages();
  rename("FIRST", "KICK");
  const EMU3FilesystemPtr filesystem = controller_->filesystem();
  const EMU3DirectoryPtr folder = controller_->currentDirectory();
  ASSERT_TRUE(filesystem->deleteFile(test::fileNamed(folder, "KICK"), folder));
  const Holdings before = holdingsOf(path_);
  const AlertAnswers alerts;
  undo();
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Rename Failed");
  EXPECT_EQ(alerts.shown()[0].failures, QStringList{"KICK: It is no longer in its folder."});
  EXPECT_EQ(holdingsOf(path_), before);
  EXPECT_TRUE(controller_->undoManager()->canUndo());
}

TEST_F(History, FolderWithoutRoomComesBackWholeOrNotAtAll) {
  mountImages();
  deleteFolder({"A"});
  const EMU3FilesystemPtr filesystem = controller_->filesystem();
  const auto filling = filesystem->manyItems();
  const std::uint64_t left = 4 * filesystem->slotSizeBlocks(); // too little for the files of A
  filling->importBytes("FILLER",
                       std::make_shared<ByteBuffer>((filesystem->freeBlocks() - left) * 512, std::uint8_t{1}),
                       filesystem->rootDirectory());
  filling->run({});
  const EMU3FilePtr filler = test::fileNamed(filesystem->rootDirectory(), "FILLER");
  const auto more = filesystem->manyItems();
  while (filesystem->largestFreeBlocks() > 1) {
    const auto one = filesystem->manyItems();
    one->importBytes("MORE",
                     std::make_shared<ByteBuffer>(filesystem->largestFreeBlocks() * 512, std::uint8_t{1}),
                     filesystem->rootDirectory());
    const std::uint64_t before = filesystem->freeBlocks();
    one->run({});
    ASSERT_LT(filesystem->freeBlocks(), before);
  }
  const Holdings before = holdingsOf(path_);
  {
    const AlertAnswers alerts;
    undo();
    ASSERT_EQ(alerts.shown().size(), 1U);
    EXPECT_EQ(alerts.shown()[0].message, "Restore Failed (1 of 1)");
  }
  EXPECT_EQ(holdingsOf(path_), before);
  EXPECT_EQ(status(), "Restored 0 file(s), 1 failed.");
  ASSERT_TRUE(filesystem->deleteFile(filler, filesystem->rootDirectory()));
  undo();
  EXPECT_EQ(status(), "Restored folder 'A'.");
  EXPECT_EQ(holdingsOf(path_).count("/A/FIRST"), 1U);
}

TEST_F(History, FolderWithIncompleteContentsIsDeletedOnlyForGood) {
  test::ImageBuilder image = images();
  test::FolderBuilder c = image.root().addFolder("C");
  addIncompleteFile(image, c, "CUT");
  path_ = mount(image);
  const Holdings before = holdingsOf(path_);
  deleteFolder({"C"});
  EXPECT_EQ(holdingsOf(path_), before);
  ASSERT_NE(sheet<Alert>(), nullptr);
  EXPECT_EQ(sheet<Alert>()->text(), "Delete folder 'C' for good?");
  answerSheet("Cancel");
  EXPECT_EQ(holdingsOf(path_), before);
  deleteFolder({"C"});
  answerSheet("Delete");
  EXPECT_EQ(status(), "Deleted folder 'C'.");
  EXPECT_EQ(holdingsOf(path_).count("/C/"), 0U);
  EXPECT_FALSE(controller_->undoManager()->canUndo());
}

TEST_F(History, FolderIsDeletedForGoodAfterTheDialogThatCameBetween) {
  test::ImageBuilder image = images();
  test::FolderBuilder c = image.root().addFolder("C");
  addIncompleteFile(image, c, "CUT");
  path_ = mount(image);
  {
    test::HeldQueue queue(*controller_->filesystem());
    chooseFromFolderMenu({"C"}, "Delete Folder");
    test::clickButton(sheet<Alert>(), "Delete");
    clickToolbar("ImportItem");
    queue.letGo();
    ASSERT_TRUE(test::waitUntilIdle());
  }
  EXPECT_EQ(sheet<Alert>(), nullptr);
  ASSERT_NE(sheet<QFileDialog>(), nullptr);
  QTest::keyClick(sheet<QFileDialog>(), Qt::Key_Escape);
  ASSERT_TRUE(test::waitUntilIdle());
  ASSERT_NE(sheet<Alert>(), nullptr) << "nothing is asked";
  EXPECT_EQ(sheet<Alert>()->text(), "Delete folder 'C' for good?");
  answerSheet("Delete");
  EXPECT_EQ(holdingsOf(path_).count("/C/"), 0U);
  EXPECT_EQ(beeps_.count(), 0);
}

TEST_F(History, CopiesOfWhatWasDeletedAreOfThisUserAloneAndGoWithTheWindow) {
  mountImages();
  deleteFolder({"A"});
  const std::string copies = folder_.path("cache") + "/tessary-" + std::to_string(::geteuid()) + "/Undo";
  ASSERT_EQ(test::namesIn(copies).size(), 1U);
  controller_.reset();
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_TRUE(test::namesIn(copies).empty());
}

} // namespace
} // namespace tessary
