#include "app/Colors.h"
#include "app/ContentController.h"
#include "app/FolderOutline.h"
#include "app/SidebarController.h"
#include "app/Spinner.h"
#include "filesystem/HostFile.h"
#include "tests/app/FileCommandTest.h"
#include "tests/app/FileDrag.h"
#include "tests/support/MountedVolume.h"
#include "tests/support/TreeBuilder.h"

#include <QHeaderView>
#include <QImage>
#include <QMimeData>
#include <QTest>
#include <QUrl>
#include <filesystem>

namespace tessary {
namespace {

using test::Bytes;
using test::bytesOf;
using test::FileDrag;
using test::filesOnImage;
using test::HeldQueue;
using test::ImageBuilder;
using test::namesOnImage;
using test::patternBytes;
using test::StoredFiles;
using test::uriList;

const std::vector<std::string> kDrums = {"Drums"};
const std::vector<std::string> kPads = {"Pads"};

/// "Drums" with two files is shown; "Pads" with one and the nested "Drums/Old" are not.
ImageBuilder drumsAndPads() {
  ImageBuilder image;
  auto drums = image.root().addFolder("Drums");
  drums.addFile("KICK", bytesOf("kick"));
  drums.addFile("SNARE", bytesOf("snare"));
  drums.addFolder("Old").addFile("TOM", bytesOf("tom"));
  image.root().addFolder("Pads").addFile("CHOIR", bytesOf("choir"));
  return image;
}

class DropTest : public test::FileCommandTest {
protected:
  QWidget *tablePlane() const { return table()->viewport(); }
  QWidget *outlinePlane() const { return outline()->viewport(); }

  Qt::DropAction dropOnTable(FileDrag &drag) const {
    return drag.dropOn(tablePlane(), test::emptyPlace(table()));
  }
  QPoint placeOf(const QStringList &folder) const {
    return outline()->visualRect(folderItem(folder)).center();
  }
  Qt::DropAction dropOnFolder(FileDrag &drag, const QStringList &folder) const {
    return drag.dropOn(outlinePlane(), placeOf(folder));
  }
  Qt::DropAction dropOnRoot(FileDrag &drag) const {
    return drag.dropOn(outlinePlane(), test::emptyPlace(outline()));
  }
  std::string missingFile(const std::string &name) const { return folder_.path(name); }
  /// What is said of a host file that is not there.
  static QString noSuchFile(const std::string &path) {
    EMU3Error error;
    EXPECT_FALSE(HostFile::open(path, &error));
    return QString::fromStdString(error.localizedDescription());
  }
};

/// The window with "Drums" shown.
class TableDrop : public DropTest {
protected:
  TableDrop() { path_ = mount(drumsAndPads()); }
  /// Shows an image with the folder "Other" and its file "BASS", whatever is still queued on the first one.
  void openAnotherImage() {
    ImageBuilder other;
    other.root().addFolder("Other").addFile("BASS", bytesOf("bass"));
    controller_->openImageAtURL(writeImage(other, "other.hda"));
    ASSERT_TRUE(QTest::qWaitFor([this] { return fileNames() == QStringList{"BASS"}; }));
  }

  std::string path_;
};

using SidebarDrop = TableDrop;

// ---- Host files onto the table

TEST_F(TableDrop, ImportsHostFilesIntoTheFolderShown) {
  const Bytes large = patternBytes(70'000, 1);
  FileDrag drag({writeHostFile("Hat.E4B", bytesOf("hat")), writeHostFile("Ride", large)});
  EXPECT_EQ(dropOnTable(drag), Qt::CopyAction);
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), "Imported 2 file(s).");
  EXPECT_EQ(fileNames(), (QStringList{"KICK", "SNARE", "Hat", "Ride"}));
  EXPECT_EQ(outlineLabels(), (QStringList{"Drums (4)", "Pads (1)"}));
  EXPECT_EQ(
      filesOnImage(path_, kDrums),
      (StoredFiles{
          {"KICK", bytesOf("kick")}, {"SNARE", bytesOf("snare")}, {"Hat", bytesOf("hat")}, {"Ride", large}}));
}

TEST_F(TableDrop, RedrawsTheDiskSpace) {
  const QString before = diskSpace();
  FileDrag drag({writeHostFile("Hat", patternBytes(10 * 1024))});
  dropOnTable(drag);
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_NE(diskSpace(), before);
  EXPECT_EQ(diskSpace(),
            diskSpaceText(controller_->filesystem()->usedBlocks(), controller_->filesystem()->freeBlocks()));
}

TEST_F(TableDrop, GoesIntoTheFolderShownWhereverItFalls) {
  FileDrag onRow({writeHostFile("A", bytesOf("a"))});
  EXPECT_EQ(onRow.dropOn(tablePlane(), table()->visualRect(fileItem("SNARE")).center()), Qt::CopyAction);
  FileDrag betweenRows({writeHostFile("B", bytesOf("b"))});
  EXPECT_EQ(
      betweenRows.dropOn(tablePlane(), table()->visualRect(fileItem("SNARE")).topLeft() + QPoint(30, 0)),
      Qt::CopyAction);
  FileDrag onOtherColumn({writeHostFile("C", bytesOf("c"))});
  const QModelIndex lastColumn = fileItem("KICK").siblingAtColumn(5);
  EXPECT_EQ(onOtherColumn.dropOn(tablePlane(), table()->visualRect(lastColumn).center()), Qt::CopyAction);
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(fileNames(), (QStringList{"KICK", "SNARE", "A", "B", "C"}));
}

TEST_F(TableDrop, CountsWhatFailed) {
  const test::AlertAnswers alerts;
  const std::string missing = missingFile("missing.E4B");
  FileDrag drag({writeHostFile("Hat", bytesOf("hat")), missing});
  EXPECT_EQ(dropOnTable(drag), Qt::CopyAction);
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), "Imported 1 file(s), 1 failed: " + noSuchFile(missing));
  EXPECT_EQ(fileNames(), (QStringList{"KICK", "SNARE", "Hat"}));
  EXPECT_EQ(namesOnImage(path_, kDrums), (std::vector<std::string>{"KICK", "SNARE", "Hat"}));
}

TEST_F(TableDrop, TellsTheLastFailureWhenAllFail) {
  const test::AlertAnswers alerts;
  const std::string last = missingFile("last");
  FileDrag drag({missingFile("first"), last});
  EXPECT_EQ(dropOnTable(drag), Qt::CopyAction);
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), "Imported 0 file(s), 2 failed: " + noSuchFile(last));
  EXPECT_EQ(fileNames(), (QStringList{"KICK", "SNARE"}));
}

TEST_F(TableDrop, LaterSuccessDoesNotHideAnEarlierFailure) {
  const test::AlertAnswers alerts;
  const std::string missing = missingFile("missing");
  FileDrag drag({missing, writeHostFile("Hat", bytesOf("hat"))});
  dropOnTable(drag);
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), "Imported 1 file(s), 1 failed: " + noSuchFile(missing));
}

TEST_F(TableDrop, ShowsNoSpinner) {
  const HeldQueue held(*controller_->filesystem());
  FileDrag drag({writeHostFile("Hat", bytesOf("hat"))});
  dropOnTable(drag);
  EXPECT_FALSE(controller_->spinner()->isVisible());
}

TEST_F(TableDrop, AcceptsAtOnceAndImportsLater) {
  HeldQueue held(*controller_->filesystem());
  const QString before = status();
  FileDrag drag({writeHostFile("Hat", bytesOf("hat"))});
  EXPECT_EQ(dropOnTable(drag), Qt::CopyAction);
  QCoreApplication::processEvents();
  EXPECT_EQ(status(), before);
  EXPECT_EQ(fileNames(), (QStringList{"KICK", "SNARE"}));
  held.letGo();
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(fileNames(), (QStringList{"KICK", "SNARE", "Hat"}));
}

TEST_F(TableDrop, GoesIntoTheFolderThatWasShownWhenItFell) {
  HeldQueue held(*controller_->filesystem());
  FileDrag drag({writeHostFile("Hat", bytesOf("hat"))});
  dropOnTable(drag);
  chooseFolder({"Pads"});
  held.letGo();
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), "Imported 1 file(s).");
  EXPECT_EQ(fileNames(), QStringList{"CHOIR"});
  EXPECT_EQ(outlineLabels(), (QStringList{"Drums (3)", "Pads (1)"}));
  EXPECT_EQ(namesOnImage(path_, kDrums), (std::vector<std::string>{"KICK", "SNARE", "Hat"}));
}

TEST_F(TableDrop, ChangesNothingOnAnotherImageOpenedMeanwhile) {
  HeldQueue held(*controller_->filesystem());
  FileDrag drag({writeHostFile("Hat", bytesOf("hat"))});
  dropOnTable(drag);
  openAnotherImage();
  const QString before = status();
  held.letGo();
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), before);
  EXPECT_EQ(fileNames(), QStringList{"BASS"});
  EXPECT_EQ(namesOnImage(path_, kDrums), (std::vector<std::string>{"KICK", "SNARE", "Hat"}));
}

TEST_F(TableDrop, TextIsRefused) {
  FileDrag drag("text/plain", "/etc/hosts");
  EXPECT_EQ(drag.moveTo(tablePlane(), {50, 50}), Qt::IgnoreAction);
  EXPECT_EQ(drag.moveTo(tablePlane(), {60, 60}), Qt::IgnoreAction);
  EXPECT_EQ(dropOnTable(drag), Qt::IgnoreAction);
}

TEST_F(TableDrop, AddressesThatAreNoFilesAreRefused) {
  FileDrag drag("text/uri-list",
                uriList({"https://tessary.example/Hat.E4B", "file://elsewhere.example/Hat"}));
  EXPECT_EQ(dropOnTable(drag), Qt::IgnoreAction);
}

TEST_F(TableDrop, OnlyTheFilesAmongOtherAddressesAreImported) {
  const std::string hat = writeHostFile("Hat", bytesOf("hat"));
  FileDrag drag("text/uri-list", uriList({"https://tessary.example/A", "file://" + hat, "mailto:someone"}));
  EXPECT_EQ(dropOnTable(drag), Qt::CopyAction);
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), "Imported 1 file(s).");
  EXPECT_EQ(fileNames(), (QStringList{"KICK", "SNARE", "Hat"}));
}

TEST_F(TableDrop, FilesAreFoundByAnyFormOfTheirAddress) {
  const std::string folder = hostFolder("import");
  writeHostFile("A#1?", bytesOf("a"));
  writeHostFile("B 100%", bytesOf("b"));
  writeHostFile("C", bytesOf("c"));
  FileDrag drag("text/uri-list",
                uriList({"file://" + folder + "/A%231%3F", "file://localhost" + folder + "/B%20100%25",
                         "file:" + folder + "/C"}));
  dropOnTable(drag);
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(fileNames(), (QStringList{"KICK", "SNARE", "A#1?", "B 100%", "C"}));
}

TEST_F(TableDrop, PathThatIsNoUtf8IsFound) {
  test::writeBytes(hostFolder("caf\xE9") + "/Hat.E4B", bytesOf("hat"));
  FileDrag drag("text/uri-list", uriList({"file://" + folder_.path() + "/caf%E9/Hat.E4B"}));
  EXPECT_EQ(dropOnTable(drag), Qt::CopyAction);
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), "Imported 1 file(s).");
}

TEST_F(TableDrop, PathIsNotCutAtAZeroByte) {
  writeHostFile("Hat", bytesOf("hat"));
  FileDrag drag("text/uri-list", uriList({"file://" + hostFolder("import") + "/Hat%00.E4B"}));
  EXPECT_EQ(dropOnTable(drag), Qt::IgnoreAction);
}

TEST_F(TableDrop, IsACopyWhateverTheSourceProposes) {
  const std::string hat = writeHostFile("Hat", bytesOf("hat"));
  for (const Qt::KeyboardModifiers modifiers :
       {Qt::KeyboardModifiers(), Qt::KeyboardModifiers(Qt::ShiftModifier),
        Qt::KeyboardModifiers(Qt::AltModifier), Qt::ControlModifier | Qt::ShiftModifier}) {
    FileDrag drag({hat});
    drag.setModifiers(modifiers);
    EXPECT_EQ(drag.moveTo(tablePlane(), {50, 50}), Qt::CopyAction);
    EXPECT_EQ(drag.moveTo(tablePlane(), {60, 60}), Qt::CopyAction);
    EXPECT_EQ(dropOnTable(drag), Qt::CopyAction);
  }
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_TRUE(std::filesystem::exists(hat));
  EXPECT_EQ(fileNames().size(), 6);
}

TEST_F(TableDrop, SourceThatOffersNoCopyIsRefused) {
  FileDrag drag({writeHostFile("Hat", bytesOf("hat"))});
  for (const Qt::DropAction only : {Qt::MoveAction, Qt::LinkAction}) {
    drag.setPossibleActions(only);
    EXPECT_EQ(dropOnTable(drag), Qt::IgnoreAction);
  }
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(fileNames(), (QStringList{"KICK", "SNARE"}));
}

TEST_F(TableDrop, TheColumnTitlesTakeNothing) {
  FileDrag drag({writeHostFile("Hat", bytesOf("hat"))});
  EXPECT_EQ(drag.dropOn(table()->horizontalHeader()->viewport(), {30, 5}), Qt::IgnoreAction);
}

TEST_F(DropTest, TableRefusesWithoutAnImage) {
  FileDrag drag({writeHostFile("Hat", bytesOf("hat"))});
  EXPECT_EQ(dropOnTable(drag), Qt::IgnoreAction);
  EXPECT_FALSE(table()->model()->dropMimeData(nullptr, Qt::CopyAction, -1, -1, {}));
}

TEST_F(DropTest, TableRefusesOnAReadOnlyImage) {
  mountReadOnly(drumsAndPads());
  FileDrag drag({writeHostFile("Hat", bytesOf("hat"))});
  EXPECT_EQ(dropOnTable(drag), Qt::IgnoreAction);
  EXPECT_FALSE(table()->model()->dropMimeData(nullptr, Qt::CopyAction, -1, -1, {}));
}

TEST_F(DropTest, TableRefusesWithoutAFolderShown) {
  mount(ImageBuilder());
  ASSERT_EQ(controller_->currentDirectory(), nullptr);
  FileDrag drag({writeHostFile("Hat", bytesOf("hat"))});
  EXPECT_EQ(dropOnTable(drag), Qt::IgnoreAction);
  EXPECT_FALSE(table()->model()->dropMimeData(nullptr, Qt::CopyAction, -1, -1, {}));
}

TEST_F(TableDrop, FollowsTheImageWhileTheDragIsOverIt) {
  FileDrag drag({writeHostFile("Hat", bytesOf("hat"))});
  EXPECT_EQ(drag.moveTo(tablePlane(), {50, 50}), Qt::CopyAction);
  controller_->_unmountImage();
  EXPECT_EQ(drag.moveTo(tablePlane(), {52, 50}), Qt::IgnoreAction);
}

TEST_F(TableDrop, RejectsAddressesThatAreNoFilesAlsoWhenTheyWereOffered) {
  const QString before = status();
  QMimeData data;
  data.setUrls({QUrl(QStringLiteral("https://tessary.example/Hat.E4B"))});
  EXPECT_FALSE(table()->model()->dropMimeData(&data, Qt::CopyAction, -1, -1, {}));
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), before);
}

/// Whether the middle of the area's lower edge has the colour of a highlight.
bool isFramed(QWidget *plane, const QRect &area) {
  const QImage picture = plane->grab().toImage();
  const QPoint edge(area.center().x(), area.bottom());
  const QColor seen = picture.pixelColor(edge * picture.devicePixelRatio());
  return seen.rgb() == selectionColor(QApplication::palette()).rgb();
}

TEST_F(TableDrop, FramesTheTableWhileADropIsAllowed) {
  FileDrag drag({writeHostFile("Hat", bytesOf("hat"))});
  EXPECT_FALSE(isFramed(tablePlane(), tablePlane()->rect()));
  drag.moveTo(tablePlane(), {50, 50});
  EXPECT_TRUE(isFramed(tablePlane(), tablePlane()->rect()));
  drag.leave();
  EXPECT_FALSE(isFramed(tablePlane(), tablePlane()->rect()));
  FileDrag again({writeHostFile("Ride", bytesOf("ride"))});
  dropOnTable(again);
  EXPECT_FALSE(isFramed(tablePlane(), tablePlane()->rect()));
  FileDrag text("text/plain", "words");
  text.moveTo(tablePlane(), {50, 50});
  EXPECT_FALSE(isFramed(tablePlane(), tablePlane()->rect()));
}

// ---- Host files onto the sidebar

TEST_F(SidebarDrop, ImportsIntoTheFolderAndShowsIt) {
  FileDrag drag(
      {writeHostFile("Strings.E4B", bytesOf("strings")), writeHostFile("Voices", bytesOf("voices"))});
  EXPECT_EQ(dropOnFolder(drag, {"Pads"}), Qt::CopyAction);
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), "Imported 2 file(s) into 'Pads'.");
  EXPECT_EQ(fileNames(), (QStringList{"CHOIR", "Strings", "Voices"}));
  EXPECT_EQ(controller_->currentDirectory()->name(), "Pads");
  EXPECT_EQ(highlightedLabel(), "Pads (3)");
  EXPECT_EQ(outlineLabels(), (QStringList{"Drums (2)", "Pads (3)"}));
  EXPECT_EQ(filesOnImage(path_, kPads), (StoredFiles{{"CHOIR", bytesOf("choir")},
                                                     {"Strings", bytesOf("strings")},
                                                     {"Voices", bytesOf("voices")}}));
  EXPECT_EQ(diskSpace(),
            diskSpaceText(controller_->filesystem()->usedBlocks(), controller_->filesystem()->freeBlocks()));
}

TEST_F(SidebarDrop, HostFilesMayGoOntoTheFolderShownToo) {
  FileDrag drag({writeHostFile("Hat", bytesOf("hat"))});
  EXPECT_EQ(dropOnFolder(drag, {"Drums"}), Qt::CopyAction);
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), "Imported 1 file(s) into 'Drums'.");
  EXPECT_EQ(fileNames(), (QStringList{"KICK", "SNARE", "Hat"}));
}

TEST_F(SidebarDrop, EmptyAreaIsTheRoot) {
  FileDrag drag({writeHostFile("Hat", bytesOf("hat"))});
  EXPECT_EQ(dropOnRoot(drag), Qt::CopyAction);
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), "Imported 1 file(s) into 'disk.hda'.");
  EXPECT_EQ(fileNames(), QStringList{"Hat"});
  EXPECT_EQ(controller_->currentDirectory(), controller_->filesystem()->rootDirectory());
  EXPECT_EQ(highlightedLabel(), QString());
  EXPECT_EQ(filesOnImage(path_, {}), (StoredFiles{{"Hat", bytesOf("hat")}}));
}

TEST_F(SidebarDrop, AllOfARowBelongsToItsFolder) {
  outline()->expand(folderItem({"Drums"}));
  const QRect label = outline()->visualRect(folderItem({"Drums", "Old"}));
  const int places[][2] = {{1, label.center().y()}, // the indentation
                           {label.center().x(), label.top()},
                           {label.center().x(), label.bottom()},
                           {outlinePlane()->width() - 10, label.center().y()}};
  int files = 1;
  for (const auto &[x, y] : places) {
    FileDrag drag({writeHostFile("F" + std::to_string(files++), bytesOf("f"))});
    EXPECT_EQ(drag.dropOn(outlinePlane(), {x, y}), Qt::CopyAction);
    ASSERT_TRUE(test::waitUntilIdle());
    EXPECT_EQ(status(), "Imported 1 file(s) into 'Old'.") << x << ", " << y;
  }
  EXPECT_EQ(namesOnImage(path_, {"Drums", "Old"}), (std::vector<std::string>{"TOM", "F1", "F2", "F3", "F4"}));
}

TEST_F(SidebarDrop, ListsWhatFailed) {
  const test::AlertAnswers alerts;
  FileDrag drag({missingFile("missing"), writeHostFile("Strings", bytesOf("strings")), missingFile("too")});
  dropOnFolder(drag, {"Pads"});
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), "Imported 1 file(s) into 'Pads'.");
}

TEST_F(SidebarDrop, TellsTheLastFailureWhenNothingWasImported) {
  const test::AlertAnswers alerts;
  const std::string last = missingFile("last");
  FileDrag drag({missingFile("first"), last});
  EXPECT_EQ(dropOnFolder(drag, {"Pads"}), Qt::CopyAction);
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), "Import failed: " + noSuchFile(last));
  EXPECT_EQ(fileNames(), QStringList{"CHOIR"}) << "the folder dropped on is shown all the same";
}

TEST_F(SidebarDrop, NameOfTheFolderIsPlainTextOnOneLine) {
  ImageBuilder image;
  image.root().addFolder("<b>A\n%1").addFile("CHOIR", bytesOf("choir"));
  mount(image, "other.hda");
  FileDrag drag({writeHostFile("Hat", bytesOf("hat"))});
  drag.dropOn(outlinePlane(), outline()->visualRect(outline()->model()->index(0, 0)).center());
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), "Imported 1 file(s) into '<b>A\\n%1'.");
}

TEST_F(SidebarDrop, ShowsNoSpinner) {
  const HeldQueue held(*controller_->filesystem());
  FileDrag drag({writeHostFile("Hat", bytesOf("hat"))});
  dropOnFolder(drag, {"Pads"});
  EXPECT_FALSE(controller_->spinner()->isVisible());
}

TEST_F(SidebarDrop, WhatIsNoFileIsRefused) {
  FileDrag text("text/plain", "/etc/hosts");
  EXPECT_EQ(dropOnFolder(text, {"Pads"}), Qt::IgnoreAction);
  FileDrag address("text/uri-list", uriList({"https://tessary.example/Hat.E4B"}));
  EXPECT_EQ(dropOnFolder(address, {"Pads"}), Qt::IgnoreAction);
  EXPECT_EQ(dropOnRoot(address), Qt::IgnoreAction);
}

TEST_F(SidebarDrop, IsACopyWhateverTheSourceProposes) {
  const std::string hat = writeHostFile("Hat", bytesOf("hat"));
  FileDrag drag({hat});
  drag.setModifiers(Qt::ShiftModifier);
  EXPECT_EQ(drag.moveTo(outlinePlane(), placeOf({"Pads"})), Qt::CopyAction);
  EXPECT_EQ(drag.moveTo(outlinePlane(), placeOf({"Drums"})), Qt::CopyAction);
  EXPECT_EQ(dropOnFolder(drag, {"Pads"}), Qt::CopyAction);
  FileDrag moveOnly({hat});
  moveOnly.setPossibleActions(Qt::MoveAction);
  EXPECT_EQ(dropOnFolder(moveOnly, {"Pads"}), Qt::IgnoreAction);
}

TEST_F(DropTest, SidebarRefusesWithoutAnImage) {
  FileDrag drag({writeHostFile("Hat", bytesOf("hat"))});
  EXPECT_EQ(dropOnRoot(drag), Qt::IgnoreAction);
  EXPECT_FALSE(outline()->model()->dropMimeData(nullptr, Qt::CopyAction, -1, -1, {}));
}

TEST_F(DropTest, SidebarRefusesOnAReadOnlyImage) {
  mountReadOnly(drumsAndPads());
  FileDrag drag({writeHostFile("Hat", bytesOf("hat"))});
  EXPECT_EQ(dropOnFolder(drag, {"Pads"}), Qt::IgnoreAction);
  EXPECT_EQ(dropOnRoot(drag), Qt::IgnoreAction);
}

/// A drop as the outline hands it on that has found the drag acceptable, whatever has become of that since.
bool handOn(SidebarController &sidebar, const std::string &file, const QModelIndex &folder) {
  QMimeData data;
  data.setUrls({QUrl::fromLocalFile(QString::fromStdString(file))});
  return sidebar.dropMimeData(&data, Qt::CopyAction, -1, -1, folder);
}

TEST_F(SidebarDrop, AcceptedBeforeTheImageWasUnmountedDoesNothing) {
  const EMU3DirectoryPtr root = controller_->filesystem()->rootDirectory();
  controller_->_unmountImage();
  EXPECT_FALSE(handOn(*controller_->sidebarCtl(), writeHostFile("Hat", bytesOf("hat")), {}));
  controller_->sidebarCtl()->setRoot(root); // as if the outline had still to hear of it
  handOn(*controller_->sidebarCtl(), writeHostFile("Hat", bytesOf("hat")), {});
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), "No image loaded");
  EXPECT_EQ(controller_->currentDirectory(), nullptr);
  EXPECT_TRUE(namesOnImage(path_, {}).empty());
}

TEST_F(DropTest, SidebarDropAcceptedBeforeTheImageWasReadOnlyDoesNothing) {
  mountReadOnly(drumsAndPads());
  const QString before = status();
  handOn(*controller_->sidebarCtl(), writeHostFile("Hat", bytesOf("hat")), folderItem({"Pads"}));
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), before);
  EXPECT_EQ(controller_->currentDirectory()->name(), "Drums");
}

TEST_F(SidebarDrop, FolderDeletedMeanwhileIsNotShown) {
  const test::AlertAnswers alerts;
  HeldQueue held(*controller_->filesystem());
  FileDrag drag({writeHostFile("Hat", bytesOf("hat"))});
  dropOnFolder(drag, {"Pads"});
  const EMU3DirectoryPtr root = controller_->filesystem()->rootDirectory();
  ASSERT_TRUE(controller_->filesystem()->deleteDirectory(test::folderNamed(root, "Pads"), root));
  held.letGo();
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), "Import failed: Dentry block not found");
  EXPECT_EQ(controller_->currentDirectory()->name(), "Drums");
  EXPECT_EQ(fileNames(), (QStringList{"KICK", "SNARE"}));
  EXPECT_EQ(outlineLabels(), QStringList{"Drums (2)"});
}

TEST_F(SidebarDrop, ChangesNothingOnAnotherImageOpenedMeanwhile) {
  HeldQueue held(*controller_->filesystem());
  FileDrag drag({writeHostFile("Strings", bytesOf("strings"))});
  dropOnFolder(drag, {"Pads"});
  openAnotherImage();
  const QString before = status();
  held.letGo();
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), before);
  EXPECT_EQ(fileNames(), QStringList{"BASS"});
  EXPECT_EQ(outlineLabels(), QStringList{"Other (1)"});
  EXPECT_EQ(namesOnImage(path_, kPads), (std::vector<std::string>{"CHOIR", "Strings"}));
}

TEST_F(SidebarDrop, UnmountedMeanwhileStillImports) {
  HeldQueue held(*controller_->filesystem());
  FileDrag drag({writeHostFile("Strings", bytesOf("strings"))});
  dropOnFolder(drag, {"Pads"});
  clickToolbar("UnmountItem");
  held.letGo();
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), "No image loaded");
  EXPECT_TRUE(outlineLabels().isEmpty());
  EXPECT_EQ(namesOnImage(path_, kPads), (std::vector<std::string>{"CHOIR", "Strings"}));
}

TEST_F(SidebarDrop, FramesTheFolderThatWouldTakeIt) {
  const QRect pads(0, outline()->visualRect(folderItem({"Pads"})).top(), outlinePlane()->width(),
                   outline()->visualRect(folderItem({"Pads"})).height());
  FileDrag drag({writeHostFile("Hat", bytesOf("hat"))});
  drag.moveTo(outlinePlane(), placeOf({"Pads"}));
  EXPECT_TRUE(isFramed(outlinePlane(), pads));
  drag.moveTo(outlinePlane(), test::emptyPlace(outline()));
  EXPECT_FALSE(isFramed(outlinePlane(), pads));
  EXPECT_TRUE(isFramed(outlinePlane(), outlinePlane()->rect()));
  drag.moveTo(tablePlane(), {50, 50});
  EXPECT_FALSE(isFramed(outlinePlane(), outlinePlane()->rect()));
}

// ---- The sidebar without the window's callbacks

class LoneSidebar : public testing::Test {
protected:
  LoneSidebar() {
    sidebar_.setOutlineView(&outline_);
    outline_.setDragDropMode(QAbstractItemView::DropOnly);
    outline_.resize(220, 400);
    outline_.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&outline_));
  }

  void showRoot() {
    root_ = test::makeFolder("disk.hda");
    folder_ = test::makeFolder("Drums", root_);
    sidebar_.setRoot(root_);
    sidebar_.reload();
  }
  QPoint folderPlace() const { return outline_.visualRect(sidebar_.index(0, 0)).center(); }

  FolderOutline outline_;
  SidebarController sidebar_;
  EMU3DirectoryPtr root_, folder_;
  FileDrag drag_{{"/tmp/one", "/tmp/two"}};
};

TEST_F(LoneSidebar, OffersDragsFromOutsideAsACopy) {
  showRoot();
  EXPECT_EQ(drag_.moveTo(outline_.viewport(), folderPlace()), Qt::CopyAction);
  EXPECT_EQ(drag_.moveTo(outline_.viewport(), {100, 300}), Qt::CopyAction);
}

TEST_F(LoneSidebar, RejectsADropThatNobodyPerforms) {
  showRoot();
  EXPECT_EQ(drag_.dropOn(outline_.viewport(), folderPlace()), Qt::IgnoreAction);
}

TEST_F(LoneSidebar, RefusesWithoutARoot) {
  bool asked = false;
  sidebar_.setValidateDropBlock([&](const EMU3DirectoryPtr &, bool) { return asked = true; });
  EXPECT_EQ(drag_.moveTo(outline_.viewport(), {100, 300}), Qt::IgnoreAction);
  EXPECT_FALSE(asked);
}

TEST_F(LoneSidebar, AsksWhetherTheTargetMayTakeIt) {
  showRoot();
  std::vector<EMU3DirectoryPtr> asked;
  sidebar_.setValidateDropBlock([&](const EMU3DirectoryPtr &target, bool internal) {
    EXPECT_FALSE(internal);
    asked.push_back(target);
    return target == folder_;
  });
  EXPECT_EQ(drag_.moveTo(outline_.viewport(), folderPlace()), Qt::CopyAction);
  EXPECT_EQ(drag_.moveTo(outline_.viewport(), {100, 300}), Qt::IgnoreAction);
  ASSERT_GE(asked.size(), 2U);
  EXPECT_EQ(asked.front(), folder_);
  EXPECT_EQ(asked.back(), root_) << "the empty area stands for the root";
}

TEST_F(LoneSidebar, HandsOverTargetAndFiles) {
  showRoot();
  EMU3DirectoryPtr target;
  std::vector<std::string> files;
  sidebar_.setDropReceived(
      [&](const EMU3DirectoryPtr &to, const std::vector<std::string> &urls, bool internal) {
        EXPECT_FALSE(internal);
        target = to;
        files = urls;
      });
  EXPECT_EQ(drag_.dropOn(outline_.viewport(), folderPlace()), Qt::CopyAction);
  EXPECT_EQ(target, folder_);
  EXPECT_EQ(files, (std::vector<std::string>{"/tmp/one", "/tmp/two"}));
  EXPECT_EQ(drag_.dropOn(outline_.viewport(), {100, 300}), Qt::CopyAction);
  EXPECT_EQ(target, root_);
}

TEST_F(LoneSidebar, RejectsADropWithoutFiles) {
  showRoot();
  bool received = false;
  sidebar_.setDropReceived([&](const auto &...) { received = true; });
  QMimeData data;
  data.setUrls({QUrl(QStringLiteral("https://tessary.example/Hat.E4B"))});
  EXPECT_FALSE(sidebar_.dropMimeData(&data, Qt::CopyAction, -1, -1, sidebar_.index(0, 0)));
  EXPECT_FALSE(received);
}

TEST_F(LoneSidebar, WhatWasRefusedIsNotHandedOver) {
  showRoot();
  bool received = false;
  sidebar_.setValidateDropBlock([](const EMU3DirectoryPtr &, bool) { return true; });
  sidebar_.setDropReceived([&](const auto &...) { received = true; });
  drag_.moveTo(outline_.viewport(), folderPlace());
  sidebar_.setValidateDropBlock([](const EMU3DirectoryPtr &, bool) { return false; });
  EXPECT_EQ(drag_.dropOn(outline_.viewport(), folderPlace()), Qt::IgnoreAction);
  EXPECT_FALSE(received);
}

} // namespace
} // namespace tessary
