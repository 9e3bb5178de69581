#include "app/ContentController.h"
#include "app/SidebarController.h"
#include "app/StatusBar.h"
#include "filesystem/TreeEditor.h"
#include "tests/app/FileDrag.h"
#include "tests/app/WindowTest.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/SampleVolumes.h"

#include <QScrollBar>
#include <QTest>
#include <filesystem>

namespace tessary::test {
namespace {

class FolderSelection : public WindowTest {
protected:
  static ImageBuilder twoFolders() {
    ImageBuilder image;
    FolderBuilder drums = image.root().addFolder("Drums");
    drums.addFile("KICK", IffBank().preset("Kick").sample("C1", patternBytes(64)).build());
    drums.addFile("OLD", emulatorThreeBank("OLD", 7, 9));
    drums.addFile("NOTES", bytesOf("text"), {.type = 0x82});
    FolderBuilder pads = image.root().addFolder("Pads");
    pads.addFile("WARM", emulator3XBank("WARM", 3, 4));
    pads.addFile("COLD", esi32Bank("COLD", 5, 6));
    return image;
  }

  QStringList cells(int row) const { return rowTexts(*table()->model(), row); }
};

TEST_F(FolderSelection, ShowsTheFoldersFilesWithTheirBankDetails) {
  mount(twoFolders());
  ASSERT_EQ(highlightedLabel(), QStringLiteral("Drums (3)"));
  EXPECT_EQ(cells(0).mid(0, 5), (QStringList{"KICK", "Bank", "Emulator IV", "1", "1"}));
  EXPECT_EQ(cells(1).mid(0, 5), (QStringList{"OLD", "Bank", "Emulator III", "7", "9"}));
  EXPECT_EQ(cells(2), (QStringList{"NOTES", "File", "—", "—", "—", "4 B"}));
  chooseFolder({"Pads"});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), QStringLiteral("Pads — 2 file(s)"));
  EXPECT_EQ(cells(0).mid(0, 5), (QStringList{"WARM", "Bank", "Emulator 3X", "3", "4"}));
  EXPECT_EQ(cells(1).mid(0, 5), (QStringList{"COLD", "Bank", "ESI-32 v3", "5", "6"}));
}

TEST_F(FolderSelection, FilesAreShownAtOnceAndTheirDetailsWhenTheyAreRead) {
  const std::string path = mount(twoFolders());
  HeldVolume held(path);
  chooseFolder({"Pads"});
  EXPECT_EQ(fileNames(), (QStringList{"WARM", "COLD"}));
  EXPECT_EQ(status(), QStringLiteral("Pads — 2 file(s)"));
  EXPECT_EQ(cells(0).mid(2, 3), (QStringList{"—", "—", "—"}));
  held.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(cells(0).mid(2, 3), (QStringList{"Emulator 3X", "3", "4"}));
}

TEST_F(FolderSelection, DetailsOfAFolderLeftMeanwhileChangeNothingThatIsShown) {
  const std::string path = mount(twoFolders());
  chooseFolder({"Pads"});
  ASSERT_TRUE(waitUntilIdle());
  // Read anew below, where their arrival must not be seen.
  for (const EMU3FilePtr &file : controller_->currentDirectory()->allFiles())
    TreeEditor::setBankDetails(*file, {});
  int refreshes = 0;
  QObject::connect(table()->model(), &QAbstractItemModel::dataChanged, window(), [&] { ++refreshes; });
  HeldVolume held(path);
  chooseFolder({"Drums"});
  chooseFolder({"Pads"});
  chooseFolder({"Drums"});
  EXPECT_EQ(status(), QStringLiteral("Drums — 3 file(s)"));
  held.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(fileNames(), (QStringList{"KICK", "OLD", "NOTES"}));
  EXPECT_EQ(status(), QStringLiteral("Drums — 3 file(s)"));
  EXPECT_EQ(refreshes, 0) << "of the folder that is still shown nothing was new";
}

TEST_F(FolderSelection, DetailsOfAnImageUnmountedMeanwhileAreDropped) {
  const std::string path = mount(twoFolders());
  HeldVolume held(path);
  chooseFolder({"Pads"});
  clickToolbar("UnmountItem");
  held.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(fileNames(), QStringList());
  EXPECT_EQ(status(), QStringLiteral("No image loaded"));
}

TEST_F(FolderSelection, DetailsOfAnImageReplacedMeanwhileAreDropped) {
  const std::string path = mount(twoFolders());
  ImageBuilder other;
  other.root().addFolder("Other").addFile("X");
  const std::string otherPath = writeImage(other, "other.hda");
  HeldVolume held(path);
  chooseFolder({"Pads"});
  controller_->openImageAtURL(otherPath);
  ASSERT_TRUE(QTest::qWaitFor([&] { return highlightedLabel() == QStringLiteral("Other (1)"); }, 10000));
  held.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(fileNames(), QStringList{"X"});
  EXPECT_EQ(status(), QStringLiteral("Other — 1 file(s)"));
}

TEST_F(FolderSelection, ClearingTheSelectionShowsTheRoot) {
  ImageBuilder image = twoFolders();
  image.root().addFile("LOOSE");
  mount(image);
  click(outline()->viewport(), emptyPlace(outline()));
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(fileNames(), QStringList{"LOOSE"});
  EXPECT_EQ(status(), QStringLiteral("disk.hda — 1 file(s)"));
  EXPECT_EQ(controller_->currentDirectory(), controller_->filesystem()->rootDirectory());
}

TEST_F(FolderSelection, ClickOnTheEmptyAreaShowsTheRootOfAnImageWithoutFolders) {
  ImageBuilder image;
  image.root().addFile("LOOSE");
  mount(image);
  ASSERT_EQ(fileNames(), QStringList());
  click(outline()->viewport(), emptyPlace(outline()));
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(fileNames(), QStringList{"LOOSE"});
  EXPECT_EQ(status(), QStringLiteral("disk.hda — 1 file(s)"));
}

TEST_F(FolderSelection, ClickOnTheEmptyAreaShowsTheRootAgainAfterADropElsewhere) {
  ImageBuilder image = twoFolders();
  image.root().addFile("LOOSE");
  mount(image);
  const AlertAnswers alerts;
  click(outline()->viewport(), emptyPlace(outline()));
  ASSERT_EQ(highlightedLabel(), QString());
  FileDrag drag({folder_.path("no such file")});
  drag.dropOn(outline()->viewport(), outline()->visualRect(folderItem({"Pads"})).center());
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_EQ(fileNames(), (QStringList{"WARM", "COLD"}));
  ASSERT_EQ(highlightedLabel(), "Pads (2)");
  click(outline()->viewport(), emptyPlace(outline()));
  EXPECT_EQ(fileNames(), QStringList{"LOOSE"});
  EXPECT_EQ(highlightedLabel(), QString());
}

TEST_F(FolderSelection, FolderDroppedOnIsHighlightedToo) {
  mount(twoFolders());
  AlertAnswers alerts;
  FileDrag drag({folder_.path("no such file")});
  drag.dropOn(outline()->viewport(), outline()->visualRect(folderItem({"Pads"})).center());
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(fileNames(), (QStringList{"WARM", "COLD"}));
  EXPECT_EQ(highlightedLabel(), QStringLiteral("Pads (2)"));
}

TEST_F(FolderSelection, ClickOnTheFolderShownLeavesTheStatusLine) {
  mount(twoFolders());
  controller_->statusLabel()->setText(QStringLiteral("Imported 2 file(s)."));
  chooseFolder({"Drums"});
  EXPECT_EQ(status(), QStringLiteral("Imported 2 file(s)."));
}

TEST_F(FolderSelection, ClickOnTheEmptyAreaDoesNothingWithoutAnImage) {
  click(outline()->viewport(), emptyPlace(outline()));
  EXPECT_EQ(status(), QStringLiteral("No image loaded"));
  EXPECT_EQ(controller_->currentDirectory(), nullptr);
}

TEST_F(FolderSelection, NestedFoldersAreShownToo) {
  ImageBuilder image;
  image.root().addFolder("A").addFolder("B").addFolder("C").addFile("DEEP");
  mount(image);
  chooseFolder({"A", "B", "C"});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(outlineLabels(), (QStringList{"A", "B", "C (1)"}));
  EXPECT_EQ(fileNames(), QStringList{"DEEP"});
}

TEST_F(FolderSelection, ArrivingDetailsKeepSelectionAndScroll) {
  ImageBuilder image;
  FolderBuilder folder = image.root().addFolder("Full", {.blockCount = 7});
  for (int number = 0; number < 112; ++number)
    folder.addFile("BANK " + std::to_string(number), emulatorThreeBank("B", 1, 1));
  const std::string path = writeImage(image);
  controller_->openImageAtURL(path);
  ASSERT_TRUE(QTest::qWaitFor([&] { return table()->model()->rowCount() == 112; }, 10000));
  ASSERT_TRUE(waitUntilIdle());

  HeldVolume held(path);
  for (const EMU3FilePtr &file : controller_->currentDirectory()->allFiles())
    TreeEditor::setBankDetails(*file, {});
  click(outline()->viewport(), emptyPlace(outline()));
  chooseFolder({"Full"});
  ASSERT_EQ(cells(0)[2], QStringLiteral("—"));
  table()->verticalScrollBar()->setValue(700);
  chooseFiles({"BANK 40", "BANK 42"});
  const int scrolled = table()->verticalScrollBar()->value();
  held.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(cells(0)[2], QStringLiteral("Emulator III"));
  EXPECT_EQ(selectedFileNames(), (QStringList{"BANK 40", "BANK 42"}));
  EXPECT_EQ(table()->verticalScrollBar()->value(), scrolled);
}

// ---- Selected files

TEST_F(FolderSelection, SelectedFilesComeInRowOrder) {
  mount(twoFolders());
  EXPECT_TRUE(controller_->_selectedFiles().empty());
  chooseFiles({"NOTES", "KICK"});
  const std::vector<EMU3FilePtr> selected = controller_->_selectedFiles();
  ASSERT_EQ(selected.size(), 2U);
  EXPECT_EQ(selected[0]->name(), "KICK");
  EXPECT_EQ(selected[1]->name(), "NOTES");
}

TEST_F(FolderSelection, SelectedFilesAreThoseTheUserSeesAsFarAsTheFolderHoldsThem) {
  mount(twoFolders());
  chooseFiles({"KICK", "NOTES"});
  const EMU3DirectoryPtr folder = controller_->currentDirectory();
  TreeEditor::removeFile(folder, folder->allFiles()[0]); // KICK, and the table does not know yet
  const std::vector<EMU3FilePtr> selected = controller_->_selectedFiles();
  ASSERT_EQ(selected.size(), 1U);
  EXPECT_EQ(selected[0]->name(), "NOTES");
}

TEST_F(FolderSelection, NothingIsSelectedWithoutAFolder) {
  EXPECT_TRUE(controller_->_selectedFiles().empty());
}

// ---- For scripts

TEST_F(FolderSelection, ReadyFileIsWrittenWhenDetailsAreShown) {
  const std::string ready = folder_.path("ready");
  const std::string path = writeImage(twoFolders());
  qputenv("TESSARY_READY_FILE", ready.c_str());
  {
    HeldVolume held(path);
    controller_->openImageAtURL(path);
    QTest::qWait(50);
    EXPECT_FALSE(std::filesystem::exists(ready));
  }
  EXPECT_TRUE(QTest::qWaitFor([&] { return std::filesystem::exists(ready); }, 10000));
  EXPECT_EQ(cells(0)[2], QStringLiteral("Emulator IV"));
  EXPECT_EQ(std::filesystem::file_size(ready), 0U);
  qunsetenv("TESSARY_READY_FILE");
}

TEST_F(FolderSelection, ReadyFileIsWrittenForAnImageWithoutFolders) {
  const std::string ready = folder_.path("ready");
  qputenv("TESSARY_READY_FILE", ready.c_str());
  controller_->openImageAtURL(writeImage(ImageBuilder()));
  EXPECT_TRUE(QTest::qWaitFor([&] { return std::filesystem::exists(ready); }, 10000));
  qunsetenv("TESSARY_READY_FILE");
}

} // namespace
} // namespace tessary::test
