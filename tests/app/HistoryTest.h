#pragma once

#include "app/UndoManager.h"
#include "tests/app/Holdings.h"
#include "tests/app/SheetTest.h"
#include "tests/support/MountedVolume.h"

#include <functional>
#include <string>

namespace tessary::test {

/// The window with changes of every kind, which are undone and redone.
class HistoryTest : public SheetTest {
protected:
  /// A, with names that no rename could give, in it A1 with a file, and B.
  static ImageBuilder images() {
    ImageBuilder image;
    FolderBuilder a = image.root().addFolder("A", {.blockCount = 2});
    a.addFile("FIRST", patternBytes(600, 1));
    a.addFile("SECOND", patternBytes(700, 2), {.type = 0x80});
    a.addFile("Sixteen of \xE9\xE8\xE7!!", patternBytes(5000, 3));
    FolderBuilder deep = a.addFolder("Deep of \xE9\xE8\xE7 name");
    deep.addFile("BELOW", patternBytes(20, 4));
    a.addFolder("Empty");
    image.root().addFolder("B", {.blockCount = 2}).addFile("OTHER", patternBytes(900, 5));
    return image;
  }
  void mountImages() {
    path_ = mount(images());
    chooseFolder({"A"});
  }

  void undo() const { clickToolbar("UndoItem"), waitAndCheck(); }
  void redo() const { clickToolbar("RedoItem"), waitAndCheck(); }
  void waitAndCheck() const { EXPECT_TRUE(waitUntilIdle()); }

  void rename(const QString &file, const QString &name) {
    chooseFiles({file});
    chooseFromFileMenu(file, QStringLiteral("Rename…"));
    answerWithName(name);
  }
  void renameFolder(const QStringList &folder, const QString &name) {
    chooseFromFolderMenu(folder, QStringLiteral("Rename Folder"));
    answerWithName(name);
  }
  void newFolder(const QString &name) {
    controller_->_newFolder();
    answerWithName(name);
  }
  void deleteFile(const QString &file) {
    chooseFiles({file});
    clickToolbar("DeleteItem");
    answerSheet(QStringLiteral("Delete"));
  }
  void deleteFolder(const QStringList &folder) {
    chooseFromFolderMenu(folder, QStringLiteral("Delete Folder"));
    answerSheet(QStringLiteral("Delete"));
  }
  /// To the folder at this position of the list of all folders.
  void transfer(const QString &file, int position, bool moves) {
    chooseFiles({file});
    moves ? controller_->_moveToDir() : controller_->_copyToDir();
    answerWithFolder(position, moves ? QStringLiteral("Move") : QStringLiteral("Copy"));
  }
  void import(const std::string &name) {
    const std::string host = writeHostFile(name, patternBytes(1234, 6));
    clickToolbar("ImportItem");
    confirmPanel({host});
    waitAndCheck();
  }
  int positionOf(const QString &folder) const {
    int position = 0;
    for (const EMU3DirectoryPtr &each : directoriesInPreOrder(controller_->filesystem()->rootDirectory())) {
      if (QString::fromStdString(each->name()) == folder) return position;
      ++position;
    }
    return -1;
  }

  /// Unmounts the image, has another program change it, and mounts it again.
  void changeByOther(const std::function<void(EMU3Filesystem &theirs)> &change) {
    clickToolbar("UnmountItem");
    change(*mounted(path_, MountRules::guarded));
    openImage(path_);
  }

  /// Does it, undoes it, redoes it, undoes it: the volume holds what it held each time.
  void expectUndoable(const QString &name, const std::function<void()> &change) {
    const Holdings before = holdingsOf(path_);
    change();
    const Holdings after = holdingsOf(path_);
    ASSERT_NE(after, before);
    EXPECT_EQ(controller_->undoManager()->undoName(), name);
    for (int times = 0; times < 2; ++times) {
      undo();
      EXPECT_EQ(holdingsOf(path_), before);
      EXPECT_EQ(controller_->undoManager()->redoName(), name);
      redo();
      EXPECT_EQ(holdingsOf(path_), after);
      EXPECT_EQ(controller_->undoManager()->undoName(), name);
    }
    undo();
    EXPECT_EQ(holdingsOf(path_), before);
    EXPECT_EQ(beeps_.count(), 0);
    for (const VolumeFinding &finding : controller_->filesystem()->check())
      EXPECT_TRUE(!finding.isHarm() || finding.kind.starts_with("harm-bare-")) << finding.message;
  }

  std::string path_;
};

} // namespace tessary::test
