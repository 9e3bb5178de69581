// Rows and folders dragged from one window to another, and folders inside a window.

#include "app/Alert.h"
#include "app/ContentController.h"
#include "app/SidebarController.h"
#include "tests/app/Holdings.h"
#include "tests/app/SeveralWindows.h"
#include "tests/support/MountedVolume.h"
#include "tests/support/OtherUser.h"

#include <filesystem>
#include <sys/stat.h>

namespace tessary::test {
namespace {

using Folder = std::vector<std::string>;

class WindowDrags : public SeveralWindows {
protected:
  WindowDrags() : from_(open(fromPath_)), to_(open(toPath_)) {}

  std::size_t exportedCopies() const {
    const std::string folder = folder_.path("tmp/tessary-" + std::to_string(::geteuid()) + "/EMU3Drag");
    return std::filesystem::exists(folder) ? namesIn(folder).size() : 0;
  }
  void undo() {
    chooseFromMenus(to_, "Edit", QStringLiteral("Undo Copy"));
    ASSERT_TRUE(waitUntilIdle());
  }
  void redo() {
    chooseFromMenus(to_, "Edit", QStringLiteral("Redo Copy"));
    ASSERT_TRUE(waitUntilIdle());
  }
  void expectSound(Window window) {
    for (const VolumeFinding &finding : window->filesystem()->check())
      EXPECT_TRUE(!finding.isHarm() || finding.kind.starts_with("harm-bare-")) << finding.message;
  }
  /// The entry of the holdings whose path ends so.
  static std::string entry(const Holdings &holdings, const std::string &path) {
    const auto found = holdings.find(path);
    return found == holdings.end() ? "nothing there" : found->second;
  }

  const std::string fromPath_ = writeVolume("from.hda", 1);
  const std::string toPath_ = writeVolume("to.hda", 100);
  const Window from_, to_;
};

// ---- Rows

TEST_F(WindowDrags, RowsAreCopiedWithKindAndWholeName) {
  const Holdings source = holdingsOf(fromPath_), before = holdingsOf(toPath_);
  EXPECT_EQ(dropOnFolder(*dragFiles(from_, {"KICK", "SIXTEEN BYTES 16"}), to_, {"Pads"}), Qt::CopyAction);
  ASSERT_TRUE(waitUntilIdle());
  const Holdings after = holdingsOf(toPath_);
  EXPECT_EQ(after.size(), before.size() + 2);
  for (const char *name : {"KICK", "SIXTEEN BYTES 16"})
    EXPECT_EQ(entry(after, std::string("/Pads/") + name), entry(source, std::string("/Drums/") + name));
  EXPECT_EQ(holdingsOf(fromPath_), source);
  EXPECT_EQ(status(to_), QStringLiteral("Copied 2 file(s)."));
  EXPECT_EQ(to_->currentDirectory(), folder(to_, {"Pads"}));
  EXPECT_EQ(selectedFileNames(to_), (QStringList{"KICK", "SIXTEEN BYTES 16"}));
  EXPECT_EQ(status(from_), QStringLiteral("Drums — 2 file(s)"));
  expectSound(to_);
}

TEST_F(WindowDrags, CopyIsUndoneAndRedoneWhereItWasMade) {
  const Holdings before = holdingsOf(toPath_);
  dropOnFolder(*dragFiles(from_, {"KICK"}), to_, {"Pads"});
  ASSERT_TRUE(waitUntilIdle());
  const Holdings after = holdingsOf(toPath_);
  EXPECT_FALSE(from_->undoManager()->canUndo());
  undo();
  EXPECT_EQ(holdingsOf(toPath_), before);
  redo();
  EXPECT_EQ(holdingsOf(toPath_), after);
}

TEST_F(WindowDrags, RowsOnTheTableGoIntoTheFolderShown) {
  to_->_showRoot();
  EXPECT_EQ(dropOnTable(*dragFiles(from_, {"KICK"}), to_), Qt::CopyAction);
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(fileNames(to_), QStringList{"KICK"});
  EXPECT_EQ(entry(holdingsOf(toPath_), "/KICK"), entry(holdingsOf(fromPath_), "/Drums/KICK"));
}

TEST_F(WindowDrags, RowsOnTheEmptyAreaGoIntoTheRoot) {
  EXPECT_EQ(dropOnFolder(*dragFiles(from_, {"KICK"}), to_, {}), Qt::CopyAction);
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(entry(holdingsOf(toPath_), "/KICK"), entry(holdingsOf(fromPath_), "/Drums/KICK"));
}

TEST_F(WindowDrags, RowsAreCopiedWithoutHostCopies) {
  dropOnFolder(*dragFiles(from_, {"KICK"}), to_, {"Pads"});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(entry(holdingsOf(toPath_), "/Pads/KICK"), entry(holdingsOf(fromPath_), "/Drums/KICK"));
  EXPECT_EQ(exportedCopies(), 0U) << "nobody outside has asked for them";
}

TEST_F(WindowDrags, OverAFileDialogExportNothing) {
  chooseFromMenus(to_, "File", QStringLiteral("Mount Image…"));
  auto *dialog = sheet<QFileDialog>(to_);
  const auto rows = dragFiles(from_, {"KICK"});
  const auto tree = dragFolder(from_, {"Drums"});
  for (QWidget *part : dialog->findChildren<QWidget *>())
    for (FileDrag *drag : {rows.get(), tree.get()})
      if (part->isVisible()) {
        EXPECT_EQ(drag->dropOn(part, part->rect().center()), Qt::IgnoreAction)
            << part->metaObject()->className();
      }
  EXPECT_EQ(exportedCopies(), 0U);
  dialog->reject();
}

TEST_F(WindowDrags, WhatDoesNotArriveIsListed) {
  const AlertAnswers alerts;
  const auto drag = dragFiles(from_, {"KICK", "SIXTEEN BYTES 16"});
  HeldQueue held(*to_->filesystem());
  dropOnFolder(*drag, to_, {"Pads"});
  const EMU3DirectoryPtr drums = folder(from_, {"Drums"});
  ASSERT_TRUE(from_->filesystem()->deleteFile(fileNamed(drums, "KICK"), drums));
  held.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(to_), QStringLiteral("Copied 1 file(s) (1 failed)."));
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, QStringLiteral("Copy Failed (1 of 2)"));
  EXPECT_EQ(alerts.shown()[0].failures, QStringList{"KICK: Dentry block not found"});
}

TEST_F(WindowDrags, ImageThatCannotBeChangedTakesNothing) {
  const std::string path = writeVolume("read-only.hda", 300);
  ::chmod(folder_.path().c_str(), 0755);
  ::chmod(path.c_str(), 0444);
  const OtherUser user;
  const Window readOnly = open(path);
  ASSERT_TRUE(readOnly->filesystem()->isReadOnly());
  EXPECT_EQ(dropOnFolder(*dragFolder(from_, {"Drums"}), readOnly, {"Pads"}), Qt::IgnoreAction);
  EXPECT_EQ(dropOnTable(*dragFolder(from_, {"Drums"}), readOnly), Qt::IgnoreAction);
}

// ---- Folders

TEST_F(WindowDrags, FolderIsCopiedWithItsTree) {
  const Holdings source = holdingsOf(fromPath_), before = holdingsOf(toPath_);
  EXPECT_EQ(dropOnFolder(*dragFolder(from_, {"Drums"}), to_, {"Pads"}), Qt::CopyAction);
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(holdingsBelow("/Pads/Drums/", toPath_), holdingsBelow("/Drums/", fromPath_));
  EXPECT_EQ(entry(holdingsOf(toPath_), "/Pads/Drums/"), entry(source, "/Drums/"));
  EXPECT_EQ(holdingsOf(fromPath_), source);
  EXPECT_EQ(status(to_), QStringLiteral("Copied folder 'Drums'."));
  EXPECT_EQ(to_->currentDirectory(), folder(to_, {"Pads", "Drums"}));
  EXPECT_EQ(to_->sidebarCtl()->selectedDirectory(), folder(to_, {"Pads", "Drums"}));
  EXPECT_EQ(exportedCopies(), 0U) << "nobody outside has asked for it";
  expectSound(to_);
  const Holdings after = holdingsOf(toPath_);
  undo();
  EXPECT_EQ(holdingsOf(toPath_), before);
  redo();
  EXPECT_EQ(holdingsOf(toPath_), after);
}

TEST_F(WindowDrags, FolderOnTheTableGoesIntoTheFolderShown) {
  to_->_showRoot();
  EXPECT_EQ(dropOnTable(*dragFolder(from_, {"Drums", "Old"}), to_), Qt::CopyAction);
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(holdingsBelow("/Old/", toPath_), holdingsBelow("/Drums/Old/", fromPath_));
}

TEST_F(WindowDrags, FolderOfANameThatIsThereComesBesideIt) {
  dropOnFolder(*dragFolder(from_, {"Drums"}), to_, {});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(namesOf(folder(to_, {})->subdirectories()), (std::vector<std::string>{"Drums", "Pads", "Drums"}));
}

TEST_F(WindowDrags, FolderInsideItsWindowIsCopiedWithItsTree) {
  const Holdings before = holdingsOf(toPath_);
  EXPECT_EQ(dropOnFolder(*dragFolder(to_, {"Drums"}), to_, {"Pads"}), Qt::CopyAction);
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(holdingsBelow("/Pads/Drums/", toPath_), holdingsBelow("/Drums/", toPath_));
  EXPECT_EQ(holdingsOf(toPath_).size(), before.size() + 5);
  undo();
  EXPECT_EQ(holdingsOf(toPath_), before);
}

TEST_F(WindowDrags, FolderIsRefusedOnItselfBelowItselfAndWhereItIs) {
  to_->outlineView()->expandAll();
  for (const Folder &target : {Folder{"Drums"}, Folder{"Drums", "Old"}, Folder{}})
    EXPECT_EQ(dropOnFolder(*dragFolder(to_, {"Drums"}), to_, target), Qt::IgnoreAction);
  EXPECT_EQ(dropOnTable(*dragFolder(to_, {"Drums"}), to_), Qt::IgnoreAction) << "which shows it";
  EXPECT_EQ(dropOnTable(*dragFolder(to_, {"Pads"}), to_), Qt::CopyAction);
}

TEST_F(WindowDrags, FolderThatDoesNotFitArrivesInPartAndSaysSo) {
  ImageBuilder small({.sizeBytes = 140 * kBlockBytes * 2, .slotSizeBlocks = 16});
  small.root().addFolder("Pads").addFile("CHOIR", patternBytes(600, 3));
  const std::string path = folder_.path("small.hda");
  small.writeTo(path);
  const Window full = open(path);
  const AlertAnswers alerts;
  dropOnFolder(*dragFolder(from_, {"Drums"}), full, {"Pads"});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(full), QStringLiteral("Copied folder 'Drums' (1 failed)."));
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, QStringLiteral("Copy Failed (1 of 5)"));
  ASSERT_EQ(alerts.shown()[0].failures.size(), 1);
  EXPECT_TRUE(alerts.shown()[0].failures[0].startsWith(QStringLiteral("KICK: ")));
  EXPECT_EQ(namesOnImage(path, {"Pads", "Drums"}), std::vector<std::string>{"SIXTEEN BYTES 16"});
}

TEST_F(WindowDrags, FolderThatIsDeletedMeanwhileIsNotCopied) {
  const AlertAnswers alerts;
  const Holdings before = holdingsOf(toPath_);
  const auto drag = dragFolder(from_, {"Drums", "Old"});
  HeldQueue held(*to_->filesystem());
  dropOnFolder(*drag, to_, {"Pads"});
  const EMU3DirectoryPtr drums = folder(from_, {"Drums"});
  ASSERT_TRUE(from_->filesystem()->deleteDirectory(folderNamed(drums, "Old"), drums));
  held.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(to_), QStringLiteral("Folder 'Old' was not copied."));
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(holdingsOf(toPath_), before);
  EXPECT_FALSE(to_->undoManager()->canUndo());
}

// ---- The source goes meanwhile

class SourceGoes : public WindowDrags {
protected:
  /// Drops the folder and the rows on the other window, whose queue is held; `go` takes the source away.
  void expectCopiedAll(const std::function<void()> &go) {
    const Holdings below = holdingsBelow("/Drums/", fromPath_);
    const std::string kick = entry(holdingsOf(fromPath_), "/Drums/KICK");
    HeldQueue held(*to_->filesystem());
    EXPECT_EQ(dropOnFolder(*dragFolder(from_, {"Drums"}), to_, {"Pads"}), Qt::CopyAction);
    EXPECT_EQ(dropOnFolder(*dragFiles(from_, {"KICK"}), to_, {"Pads"}), Qt::CopyAction);
    go();
    held.letGo();
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_EQ(holdingsBelow("/Pads/Drums/", toPath_), below);
    EXPECT_EQ(entry(holdingsOf(toPath_), "/Pads/KICK"), kick);
    EXPECT_FALSE(MountedImage::isMounted(fromPath_)) << "it is let go of when the copies are there";
  }
};

TEST_F(SourceGoes, UnmountedDuringTheCopyAllOfItArrives) {
  expectCopiedAll([this] { chooseFromMenus(from_, "File", QStringLiteral("Unmount")); });
}

TEST_F(SourceGoes, ClosedDuringTheCopyAllOfItArrives) {
  expectCopiedAll([this] {
    const QPointer<MainWindowController> closed = from_;
    closed->window()->close();
    ASSERT_TRUE(QTest::qWaitFor([&] { return closed.isNull(); }));
  });
}

TEST_F(SourceGoes, DestinationClosedDuringTheCopyGetsAllOfIt) {
  const Holdings below = holdingsBelow("/Drums/", fromPath_);
  HeldQueue held(*to_->filesystem());
  dropOnFolder(*dragFolder(from_, {"Drums"}), to_, {"Pads"});
  to_->window()->close();
  clickButton(sheet<Alert>(to_), QStringLiteral("Close"));
  held.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(holdingsBelow("/Pads/Drums/", toPath_), below);
}

TEST_F(SourceGoes, WhatIsDraggedOfAnImageThatIsNoLongerMountedIsRefused) {
  const auto rows = dragFiles(from_, {"KICK"});
  const auto tree = dragFolder(from_, {"Drums"});
  chooseFromMenus(from_, "File", QStringLiteral("Unmount"));
  ASSERT_TRUE(waitUntilIdle());
  for (FileDrag *drag : {rows.get(), tree.get()}) {
    EXPECT_EQ(dropOnFolder(*drag, to_, {"Pads"}), Qt::IgnoreAction);
    EXPECT_EQ(dropOnTable(*drag, to_), Qt::IgnoreAction);
  }
}

TEST_F(SourceGoes, WhatIsDraggedOfAnImageThatWasReplacedInItsWindowIsRefused) {
  const auto tree = dragFolder(from_, {"Drums"});
  mountIn(from_, writeVolume("third.hda", 200));
  EXPECT_EQ(dropOnFolder(*tree, to_, {"Pads"}), Qt::IgnoreAction);
  EXPECT_EQ(dropOnFolder(*tree, from_, {"Pads"}), Qt::IgnoreAction);
}

} // namespace
} // namespace tessary::test
