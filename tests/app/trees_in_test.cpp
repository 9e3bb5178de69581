// Folders of the host that come in with their trees.

#include "app/UndoManager.h"
#include "tests/app/FileDrag.h"
#include "tests/app/Holdings.h"
#include "tests/app/HostTrees.h"
#include "tests/app/LongWorkTest.h"
#include "tests/support/MountedVolume.h"

#include <QFileDialog>
#include <QMenuBar>
#include <filesystem>
#include <sys/stat.h>

namespace tessary::test {
namespace {

namespace fs = std::filesystem;

class TreesIn : public LongWorkTest {
protected:
  /// "Drums", which is shown, with KICK, and "Pads".
  static ImageBuilder drumsAndPads() {
    ImageBuilder image(
        {.sizeBytes = 16 * kMiB, .slotSizeBlocks = 8}); // there is a slot for each of many files
    image.root().addFolder("Drums", {.blockCount = 2}).addFile("KICK", bytesOf("kick"));
    image.root().addFolder("Pads", {.blockCount = 2});
    return image;
  }
  void SetUp() override { path_ = mount(drumsAndPads()); }

  std::string host(const std::string &path) const { return hostFolder("import") + "/" + path; }
  void write(const std::string &path, const Bytes &contents) const {
    fs::create_directories(fs::path(host(path)).parent_path());
    writeBytes(host(path), contents);
  }
  /// "Kit" with ONE and TWO, "Kit/Deep" with THREE, "Kit/Deep/None" with nothing.
  std::string writeKit() const {
    write("Kit/ONE.E4B", patternBytes(5000, 1));
    write("Kit/TWO.E4B", patternBytes(600, 2));
    write("Kit/Deep/THREE.E4B", patternBytes(70, 3));
    fs::create_directories(host("Kit/Deep/None"));
    return host("Kit");
  }
  void dropOnTable(const std::vector<std::string> &paths) const {
    FileDrag drag(paths);
    EXPECT_EQ(drag.dropOn(table()->viewport(), emptyPlace(table())), Qt::CopyAction);
  }
  void dropOnFolder(const std::vector<std::string> &paths, const QStringList &folder) const {
    FileDrag drag(paths);
    const QPoint place = outline()->visualRect(folderItem(folder)).center();
    EXPECT_EQ(drag.dropOn(outline()->viewport(), place), Qt::CopyAction);
  }

  std::string path_;
};

TEST_F(TreesIn, FolderDroppedOnTheTableComesWithItsTree) {
  const std::string kit = writeKit();
  dropOnTable({kit});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), "Imported 3 file(s).");
  EXPECT_EQ(treeOnImage(path_, {"Drums", "Kit"}), treeOnHost(kit));
  EXPECT_EQ(outlineLabels().first(), "Drums (1)");
  EXPECT_EQ(fileNames(), QStringList{"KICK"});
  EXPECT_TRUE(folderItem({"Drums", "Kit", "Deep"}).isValid());
}

TEST_F(TreesIn, FilesAndFoldersTogetherAreOneStepThatRedoesTheSameBytes) {
  const Holdings before = holdingsOf(path_);
  const std::string kit = writeKit();
  dropOnTable({writeHostFile("HAT.E4B", bytesOf("hat")), kit, writeHostFile("RIDE.E4B", bytesOf("ride"))});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), "Imported 5 file(s).");
  EXPECT_EQ(selectedFileNames(), (QStringList{"HAT", "RIDE"}));
  const Holdings after = holdingsOf(path_);
  EXPECT_EQ(controller_->undoManager()->undoName(), "Import");
  fs::remove_all(kit); // what was imported then comes back
  writeHostFile("HAT.E4B", bytesOf("another"));
  for (int times = 0; times < 2; ++times) {
    undoAndWait();
    EXPECT_EQ(status(), "Deleted 5 file(s).");
    EXPECT_EQ(holdingsOf(path_), before);
    EXPECT_FALSE(controller_->undoManager()->canUndo());
    redoAndWait();
    EXPECT_EQ(status(), "Restored 5 file(s).");
    EXPECT_EQ(holdingsOf(path_), after);
  }
}

TEST_F(TreesIn, FolderDroppedOnAFolderGoesIntoTheOneOfItsNameThatIsThere) {
  const std::string kit = writeKit();
  dropOnFolder({kit}, {"Pads"});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), "Imported 3 file(s) into 'Pads'.");
  EXPECT_EQ(highlightedLabel(), "Pads");
  const Holdings once = holdingsOf(path_);
  fs::remove_all(kit);
  write("Kit/FOUR.E4B", bytesOf("four"));
  write("Kit/Deep/More/FIVE.E4B", bytesOf("five"));
  dropOnFolder({kit}, {"Pads"});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(treeOnImage(path_, {"Pads"}), (HostTree{{"Kit/", {}},
                                                    {"Kit/ONE.E4B", patternBytes(5000, 1)},
                                                    {"Kit/TWO.E4B", patternBytes(600, 2)},
                                                    {"Kit/FOUR.E4B", bytesOf("four")},
                                                    {"Kit/Deep/", {}},
                                                    {"Kit/Deep/THREE.E4B", patternBytes(70, 3)},
                                                    {"Kit/Deep/None/", {}},
                                                    {"Kit/Deep/More/", {}},
                                                    {"Kit/Deep/More/FIVE.E4B", bytesOf("five")}}));
  undoAndWait();
  EXPECT_EQ(holdingsOf(path_), once) << "what was there before stays";
}

TEST_F(TreesIn, FolderIsChosenFromTheMenu) {
  putMenuBar();
  const std::string kit = writeKit();
  chooseFromMenuBar(window()->findChild<QMenuBar *>(), "File", "Import Folder…");
  auto *chooser = sheet<QFileDialog>();
  ASSERT_NE(chooser, nullptr);
  EXPECT_EQ(chooser->fileMode(), QFileDialog::Directory);
  confirmPanel({kit});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), "Imported 3 file(s).");
  EXPECT_EQ(treeOnImage(path_, {"Drums", "Kit"}), treeOnHost(kit));
}

TEST_F(TreesIn, WhatCannotBeReadIsNamedAndTheRestIsDone) {
  const std::string kit = writeKit();
  ASSERT_EQ(::mkfifo(host("Kit/Deep/FIFO").c_str(), 0600), 0);
  fs::create_symlink(host("gone"), host("Kit/dangling"));
  fs::create_directory_symlink(host("Kit/Deep"), host("Kit/to a folder"));
  AlertAnswers alerts;
  dropOnTable({kit, writeHostFile("HAT.E4B", bytesOf("hat"))});
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Import Failed (3 of 7)");
  const QStringList failures = alerts.shown()[0].failures;
  ASSERT_EQ(failures.size(), 3);
  EXPECT_TRUE(failures[0].startsWith("dangling: "));
  EXPECT_TRUE(failures[1].startsWith("to a folder: "));
  EXPECT_TRUE(failures[2].startsWith("FIFO: "));
  EXPECT_TRUE(status().startsWith("Imported 4 file(s), 3 failed: ")) << status().toStdString();
  EXPECT_EQ(treeOnImage(path_, {"Drums"}).count("Kit/Deep/THREE.E4B"), 1U);
  EXPECT_EQ(treeOnImage(path_, {"Drums"}).count("HAT.E4B"), 1U);
}

TEST_F(TreesIn, ImageUnmountedMeanwhileGetsTheWholeTree) {
  const std::string kit = writeKit();
  HeldQueue queue(*controller_->filesystem());
  dropOnTable({kit});
  clickToolbar("UnmountItem");
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), "No image loaded");
  EXPECT_EQ(treeOnImage(path_, {"Drums", "Kit"}), treeOnHost(kit));
}

TEST_F(TreesIn, TreeOfAThousandFilesStoppedContinuedAndUndoneLeavesTheImageAsItWas) {
  constexpr int folders = 20;
  constexpr int files = 50;
  for (int folder = 0; folder < folders; ++folder)
    for (int file = 0; file < files; ++file) {
      const int number = folder * files + file;
      write("Tree/F" + std::to_string(folder) + "/N" + std::to_string(file) + ".E4B",
            patternBytes(static_cast<std::size_t>(number % 700), static_cast<std::uint32_t>(number)));
    }
  const std::string tree = host("Tree");
  const Holdings before = holdingsOf(path_);
  constexpr std::size_t groupsAndMore = 20; // flushes, of which a group takes a few
  medium_.holdFlushes(groupsAndMore);
  const AlertAnswers alerts;
  dropOnTable({tree});
  stopAndWait();
  const Holdings half = holdingsOf(path_);
  const std::size_t come = treeOnImage(path_, {"Drums"}).size() - 2; // without KICK and Tree
  const auto comeFolders = static_cast<std::size_t>(
      folderNamed(folderNamed(readAnew(path_)->rootDirectory(), "Drums"), "Tree")->subdirectories().size());
  EXPECT_GT(come, 64U);
  EXPECT_LT(come, 1000U);
  EXPECT_EQ(status(), QStringLiteral("Stopped. Imported %1 of 1000 file(s).").arg(come - comeFolders));
  redoAndWait();
  EXPECT_EQ(treeOnImage(path_, {"Drums", "Tree"}), treeOnHost(tree));
  const Holdings whole = holdingsOf(path_);
  undoAndWait();
  EXPECT_EQ(holdingsOf(path_), half);
  undoAndWait();
  EXPECT_EQ(holdingsOf(path_), before);
  redoAndWait();
  redoAndWait();
  EXPECT_EQ(holdingsOf(path_), whole);
  EXPECT_TRUE(alerts.shown().empty());
}

} // namespace
} // namespace tessary::test
