// Folders of the image that go out with their trees.

#include "tests/app/HostTrees.h"
#include "tests/app/LongWorkTest.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/MountedVolume.h"

#include <QFileDialog>
#include <QMenuBar>
#include <filesystem>

namespace tessary::test {
namespace {

namespace fs = std::filesystem;

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

TEST_F(TreesOut, FolderThatIsDeletedMeanwhileIsAFailure) {
  const EMU3DirectoryPtr root = controller_->filesystem()->rootDirectory();
  chooseFromFolderMenu({"Drums", "De/ep"}, "Export Folder…");
  ASSERT_TRUE(controller_->filesystem()->deleteDirectory(folderNamed(root, "Drums"), root));
  const CapturedLog log;
  const AlertAnswers alerts;
  confirmPanel({out()});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_TRUE(namesIn(out()).empty());
  EXPECT_EQ(status(), "Exported with 1 failure(s).");
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Export Failed (1 of 1)");
  EXPECT_EQ(alerts.shown()[0].failures, QStringList{"De/ep: Dentry block not found"});
  EXPECT_EQ(log.lines(),
            std::vector<std::string>{"Export failed for De/ep: "
                                     "Error Domain=com.tessary.error Code=5 \"Dentry block not found\""});
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
