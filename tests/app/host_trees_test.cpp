// Folders of the host that come in with their trees, and folders of the image that go out with theirs.

#include "app/Alert.h"
#include "app/UndoManager.h"
#include "tests/app/FileDrag.h"
#include "tests/app/Holdings.h"
#include "tests/app/LongWorkTest.h"
#include "tests/support/MountedVolume.h"

#include <QAction>
#include <QFileDialog>
#include <QMenu>
#include <QMenuBar>
#include <QTest>
#include <filesystem>
#include <map>
#include <sys/stat.h>

namespace tessary::test {
namespace {

namespace fs = std::filesystem;

/// Files with their contents and folders, whose paths end in "/", by their paths.
using HostTree = std::map<std::string, Bytes>;

HostTree treeOnHost(const std::string &folder) {
  HostTree tree;
  for (const fs::directory_entry &entry : fs::recursive_directory_iterator(folder)) {
    const std::string path = entry.path().native().substr(folder.size() + 1);
    if (entry.is_directory())
      tree.emplace(path + "/", Bytes());
    else
      tree.emplace(path, readBytes(entry.path().native()));
  }
  return tree;
}

void addToTree(EMU3Filesystem &volume, const EMU3DirectoryPtr &folder, const std::string &path,
               HostTree *tree) {
  for (const EMU3FilePtr &file : folder->allFiles())
    tree->emplace(path + file->name() + ".E4B", contentsOf(volume, file));
  for (const EMU3DirectoryPtr &below : folder->subdirectories()) {
    tree->emplace(path + below->name() + "/", Bytes());
    addToTree(volume, below, path + below->name() + "/", tree);
  }
}

/// What lies in a folder of the image, with the names that plain names have on the host.
HostTree treeOnImage(const std::string &imagePath, const std::vector<std::string> &path = {}) {
  const EMU3FilesystemPtr volume = readAnew(imagePath);
  EMU3DirectoryPtr folder = volume->rootDirectory();
  for (const std::string &name : path)
    folder = folderNamed(folder, name);
  HostTree tree;
  addToTree(*volume, folder, "", &tree);
  return tree;
}

// ---- In

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
  void undo() const {
    clickToolbar("UndoItem");
    EXPECT_TRUE(waitUntilIdle());
  }
  void redo() const {
    clickToolbar("RedoItem");
    EXPECT_TRUE(waitUntilIdle());
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
    undo();
    EXPECT_EQ(status(), "Deleted 5 file(s).");
    EXPECT_EQ(holdingsOf(path_), before);
    EXPECT_FALSE(controller_->undoManager()->canUndo());
    redo();
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
  undo();
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
  redo();
  EXPECT_EQ(treeOnImage(path_, {"Drums", "Tree"}), treeOnHost(tree));
  const Holdings whole = holdingsOf(path_);
  undo();
  EXPECT_EQ(holdingsOf(path_), half);
  undo();
  EXPECT_EQ(holdingsOf(path_), before);
  redo();
  redo();
  EXPECT_EQ(holdingsOf(path_), whole);
  EXPECT_TRUE(alerts.shown().empty());
}

// ---- Out

class TreesOut : public LongWorkTest {
protected:
  static ImageBuilder trees() {
    ImageBuilder image({.sizeBytes = 16 * kMiB});
    image.root().addFile("LONE", patternBytes(40, 9));
    FolderBuilder drums = image.root().addFolder("Drums", {.blockCount = 2});
    drums.addFile("KICK", patternBytes(5000, 1));
    drums.addFile("A/B", patternBytes(600, 2));
    FolderBuilder deep = drums.addFolder("De/ep");
    deep.addFile("TOM", patternBytes(70, 3));
    drums.addFolder("None");
    image.root().addFolder("Pads").addFile("CHOIR", patternBytes(30, 4));
    return image;
  }
  /// "Drums" as it is written, without its own name.
  static HostTree drumsOnHost() {
    return {{"KICK.E4B", patternBytes(5000, 1)},
            {"A%2FB.E4B", patternBytes(600, 2)},
            {"De%2Fep/", {}},
            {"De%2Fep/TOM.E4B", patternBytes(70, 3)},
            {"None/", {}}};
  }
  void SetUp() override { path_ = mount(trees()); }

  std::string out() const { return hostFolder("out"); }
  void exportDrums() {
    chooseFromFolderMenu({"Drums"}, "Export Folder…");
    confirmPanel({out()});
    ASSERT_TRUE(waitUntilIdle());
  }

  std::string path_;
};

TEST_F(TreesOut, FolderIsWrittenWithItsTree) {
  exportDrums();
  EXPECT_EQ(status(), "Exported 3 file(s) successfully.");
  EXPECT_EQ(namesIn(out()), std::vector<std::string>{"Drums"});
  EXPECT_EQ(treeOnHost(out() + "/Drums"), drumsOnHost());
}

TEST_F(TreesOut, FolderThatHasTheKeyboardIsExported) {
  putMenuBar();
  chooseFolder({"Pads"});
  pressKeyIn(window(), Qt::Key_E, Qt::ControlModifier | Qt::ShiftModifier);
  ASSERT_NE(sheet<QFileDialog>(), nullptr);
  EXPECT_EQ(sheet<QFileDialog>()->windowTitle(), "Export folder 'Pads' with all that is in it");
  confirmPanel({out()});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(treeOnHost(out()), (HostTree{{"Pads/", {}}, {"Pads/CHOIR.E4B", patternBytes(30, 4)}}));
}

TEST_F(TreesOut, RootIsExportedAsWhatIsInIt) {
  putMenuBar();
  controller_->_showRoot();
  outline()->setFocus();
  chooseFromMenuBar(window()->findChild<QMenuBar *>(), "Folder", "Export Folder…");
  confirmPanel({out()});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), "Exported 5 file(s) successfully.");
  EXPECT_EQ(namesIn(out()), (std::vector<std::string>{"Drums", "LONE.E4B", "Pads"}));
  EXPECT_EQ(treeOnHost(out() + "/Drums"), drumsOnHost());
}

TEST_F(TreesOut, AsksAboutFilesThatAreThereAndUsesFoldersThatAre) {
  fs::create_directories(out() + "/Drums/De%2Fep");
  writeBytes(out() + "/Drums/KICK.E4B", bytesOf("there before"));
  writeBytes(out() + "/Drums/A%2FB.E4B", bytesOf("there before"));
  writeBytes(out() + "/Drums/De%2Fep/TOM.E4B", bytesOf("there before"));
  writeBytes(out() + "/Drums/other", bytesOf("stays"));
  exportDrums();
  EXPECT_EQ(question().text(), "“KICK.E4B” is already there");
  answerSheet("Keep Both");
  EXPECT_EQ(question().text(), "“A%2FB.E4B” is already there");
  answerSheet("Replace");
  EXPECT_EQ(question().text(), "“TOM.E4B” is already there");
  answerSheet("Skip");
  EXPECT_EQ(status(), "Exported 2 file(s) successfully. 1 skipped.");
  EXPECT_EQ(treeOnHost(out() + "/Drums"), (HostTree{{"KICK.E4B", bytesOf("there before")},
                                                    {"KICK (2).E4B", patternBytes(5000, 1)},
                                                    {"A%2FB.E4B", patternBytes(600, 2)},
                                                    {"De%2Fep/", {}},
                                                    {"De%2Fep/TOM.E4B", bytesOf("there before")},
                                                    {"None/", {}},
                                                    {"other", bytesOf("stays")}}));
}

TEST_F(TreesOut, FolderBehindALinkIsNotWrittenInto) {
  fs::create_directories(folder_.path("elsewhere"));
  fs::create_directory_symlink(folder_.path("elsewhere"), out() + "/Drums");
  AlertAnswers alerts;
  exportDrums();
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Export Failed (6 of 6)");
  EXPECT_TRUE(namesIn(folder_.path("elsewhere")).empty());
}

TEST_F(TreesOut, ImageIsNeverWrittenOver) {
  fs::create_directories(out() + "/Drums");
  fs::create_hard_link(path_, out() + "/Drums/KICK.E4B");
  const Bytes before = readBytes(path_);
  AlertAnswers alerts;
  exportDrums();
  answerSheet("Replace");
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Export Failed (1 of 3)");
  EXPECT_EQ(readBytes(path_), before);
  fs::remove(out() + "/Drums/KICK.E4B");
}

TEST_F(TreesOut, StoppedLeavesNoFileInPart) {
  path_ = mount(volumeOfMany(100), "many.hda");
  medium_.holdFlushesOfFiles();
  chooseFromFolderMenu({"Many"}, "Export Folder…");
  confirmPanel({out()});
  stopAndWait();
  EXPECT_EQ(status(), "Stopped. Exported 63 of 100 file(s).") << "the folder is the first item";
  const std::vector<std::string> names = namesIn(out() + "/Many");
  ASSERT_EQ(names.size(), 63U);
  for (std::uint32_t i = 0; i < names.size(); ++i)
    EXPECT_EQ(readBytes(out() + "/Many/" + names[i]), patternBytes(600, i));
}

} // namespace
} // namespace tessary::test
