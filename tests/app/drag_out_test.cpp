#include "app/ContentController.h"
#include "app/DraggedItems.h"
#include "app/SidebarController.h"
#include "tests/app/FileCommandTest.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/MountedVolume.h"

#include <QFile>
#include <QMimeData>
#include <QTimer>
#include <QUrl>
#include <filesystem>
#include <sys/stat.h>

namespace tessary {
namespace {

using test::Bytes;
using test::bytesOf;
using test::ImageBuilder;
using test::patternBytes;

/// What the table makes of rows that are dragged, and what another program gets that asks for it.
class DragOut : public test::FileCommandTest {
protected:
  ContentController *content() const { return controller_->contentCtl(); }

  std::unique_ptr<QMimeData> dragged(const QStringList &files) {
    chooseFiles(files);
    return std::unique_ptr<QMimeData>(content()->mimeData(table()->selectionModel()->selectedIndexes()));
  }
  static std::vector<std::string> pathsIn(const std::unique_ptr<QMimeData> &data) {
    std::vector<std::string> paths;
    if (data)
      for (const QUrl &url : data->urls())
        paths.push_back(QFile::encodeName(url.toLocalFile()).toStdString());
    return paths;
  }
  /// Waits until what was exported has been told, too.
  std::vector<std::string> pathsGiven(const std::unique_ptr<QMimeData> &data) const {
    std::vector<std::string> paths = pathsIn(data);
    EXPECT_TRUE(test::waitUntilIdle());
    return paths;
  }
  std::filesystem::path dragFolder() const {
    return std::filesystem::path(folder_.path("tmp")) / ("tessary-" + std::to_string(::geteuid())) /
           "EMU3Drag";
  }
};

ImageBuilder threeFiles() {
  ImageBuilder image;
  auto folder = image.root().addFolder("Mixed");
  folder.addFile("BANK", patternBytes(70'000, 3));
  folder.addFile("SYSTEM", bytesOf("system"), {.type = 0x80});
  folder.addFile("PLAIN", bytesOf("plain"), {.type = 0x82});
  return image;
}

TEST_F(DragOut, ExportsNothingBeforeAnotherProgramAsksForTheAddresses) {
  mount(threeFiles());
  const auto data = dragged({"BANK", "PLAIN"});
  EXPECT_TRUE(data->hasUrls());
  EXPECT_EQ(data->formats(), QStringList{"text/uri-list"});
  EXPECT_FALSE(data->hasFormat("text/plain"));
  EXPECT_FALSE(std::filesystem::exists(dragFolder()));
  EXPECT_EQ(pathsIn(data).size(), 2U);
}

TEST_F(DragOut, EachDragIsAPrivateFolder) {
  mount(threeFiles());
  const auto paths = pathsIn(dragged({"BANK"}));
  ASSERT_EQ(paths.size(), 1U);
  const std::filesystem::path path = paths[0];
  EXPECT_EQ(path.filename(), "BANK.E4B");
  EXPECT_EQ(test::readBytes(path), patternBytes(70'000, 3));
  EXPECT_TRUE(std::filesystem::equivalent(path.parent_path().parent_path(), dragFolder()));
  struct stat status {};
  ASSERT_EQ(::stat(path.parent_path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0700U);
}

TEST_F(DragOut, RowsComeInTheirOrderOnceEach) {
  mount(threeFiles());
  const auto paths = pathsIn(dragged({"PLAIN", "BANK", "SYSTEM"}));
  std::vector<std::string> names;
  for (const std::filesystem::path path : paths)
    names.push_back(path.filename());
  EXPECT_EQ(names, (std::vector<std::string>{"BANK.E4B", "SYSTEM.E4B", "PLAIN.E4B"}));
  EXPECT_EQ(test::namesIn(dragFolder()).size(), 1U) << "one folder for all";
}

TEST_F(DragOut, AskedForAgainIsTheSameCopies) {
  mount(threeFiles());
  const auto data = dragged({"BANK", "PLAIN"});
  const auto first = pathsIn(data);
  EXPECT_EQ(pathsIn(data), first);
  EXPECT_EQ(data->data("text/uri-list"),
            data->urls()[0].toEncoded() + "\r\n" + data->urls()[1].toEncoded() + "\r\n");
  EXPECT_EQ(test::namesIn(dragFolder()).size(), 1U);
}

TEST_F(DragOut, EventsAreHandledWhileTheFilesAreWritten) {
  test::HeldVolume held(mount(threeFiles()));
  QTimer::singleShot(50, [&] { held.letGo(); }); // nothing can be read before it has run
  const auto paths = pathsIn(dragged({"BANK"}));
  ASSERT_EQ(paths.size(), 1U);
  EXPECT_EQ(test::readBytes(paths[0]), patternBytes(70'000, 3));
}

TEST_F(DragOut, IsWhatWasDraggedWhateverIsShownByThen) {
  ImageBuilder image = threeFiles();
  image.root().addFolder("Other").addFile("BANK", bytesOf("another of that name"));
  mount(image);
  const auto data = dragged({"BANK"});
  chooseFolder({"Other"});
  const auto paths = pathsIn(data);
  ASSERT_EQ(paths.size(), 1U);
  EXPECT_EQ(test::readBytes(paths[0]), patternBytes(70'000, 3));
}

TEST_F(DragOut, IsNotBehindQueuedWork) {
  mount(threeFiles());
  const test::HeldQueue held(*controller_->filesystem());
  EXPECT_EQ(pathsIn(dragged({"BANK"})).size(), 1U);
}

TEST_F(DragOut, IsNothingButTheFilesAddresses) {
  mount(threeFiles());
  EXPECT_EQ(dragged({"BANK"})->formats(), QStringList{"text/uri-list"});
}

TEST_F(DragOut, TwiceMakesTwoCopies) {
  mount(threeFiles());
  const auto first = pathsIn(dragged({"PLAIN"}));
  const auto second = pathsIn(dragged({"PLAIN"}));
  ASSERT_EQ(first.size(), 1U);
  ASSERT_EQ(second.size(), 1U);
  EXPECT_NE(first, second);
  EXPECT_EQ(test::readText(first[0]), "plain");
  EXPECT_EQ(test::readText(second[0]), "plain");
}

TEST_F(DragOut, FilesOfOneNameDoNotReplaceEachOther) {
  ImageBuilder image;
  auto folder = image.root().addFolder("Twins");
  folder.addFile("TWIN", bytesOf("one"));
  folder.addFile("TWIN", bytesOf("two"));
  mount(image);
  table()->selectAll();
  const std::unique_ptr<QMimeData> data(content()->mimeData(table()->selectionModel()->selectedIndexes()));
  const auto paths = pathsIn(data);
  ASSERT_EQ(paths.size(), 2U);
  EXPECT_EQ(std::filesystem::path(paths[0]).filename(), "TWIN.E4B");
  EXPECT_EQ(test::readText(paths[0]), "one");
  EXPECT_EQ(std::filesystem::path(paths[1]).filename(), "TWIN (2).E4B");
  EXPECT_EQ(test::readText(paths[1]), "two");
  EXPECT_EQ(DraggedItems::in(data.get())->files(), content()->displayedFiles());
}

TEST_F(DragOut, NameThatTheHostCannotBearStaysInItsFolder) {
  ImageBuilder image;
  auto folder = image.root().addFolder("Odd");
  folder.addFile("../../A", bytesOf("up"));
  folder.addFile("..", bytesOf("dots"));
  folder.addFile("50%2F50", bytesOf("percent"));
  mount(image);
  table()->selectAll();
  const std::unique_ptr<QMimeData> data(content()->mimeData(table()->selectionModel()->selectedIndexes()));
  std::vector<std::string> names;
  for (const std::filesystem::path path : pathsIn(data)) {
    EXPECT_EQ(path.parent_path().parent_path(), dragFolder());
    EXPECT_TRUE(std::filesystem::exists(path));
    names.push_back(path.filename());
  }
  EXPECT_EQ(names, (std::vector<std::string>{"..%2F..%2FA.E4B", "%2E%2E.E4B", "50%252F50.E4B"}));
}

TEST_F(DragOut, WorksOnAReadOnlyImage) {
  mountReadOnly(threeFiles());
  const auto paths = pathsIn(dragged({"PLAIN"}));
  ASSERT_EQ(paths.size(), 1U);
  EXPECT_EQ(test::readText(paths[0]), "plain");
}

TEST_F(DragOut, WhatIsNotExportedIsLeftOutLoggedAndListed) {
  mount(threeFiles());
  const EMU3DirectoryPtr folder = controller_->currentDirectory();
  ASSERT_TRUE(controller_->filesystem()->deleteFile(test::fileNamed(folder, "SYSTEM"), folder));
  const test::CapturedLog log;
  const test::AlertAnswers alerts;
  const auto paths = pathsGiven(dragged({"SYSTEM", "PLAIN"}));
  ASSERT_EQ(paths.size(), 1U);
  EXPECT_EQ(std::filesystem::path(paths[0]).filename(), "PLAIN.E4B");
  EXPECT_EQ(log.lines(),
            std::vector<std::string>{"Drag export failed for SYSTEM: "
                                     "Error Domain=com.tessary.error Code=5 \"Dentry block not found\""});
  EXPECT_EQ(status(), "Exported with 1 failure(s).");
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Export Failed (1 of 2)");
  EXPECT_EQ(alerts.shown()[0].failures, QStringList{"SYSTEM: Dentry block not found"});
}

TEST_F(DragOut, WhatIsNotExportedIsListedOnceHoweverOftenItIsAskedFor) {
  mount(threeFiles());
  const EMU3DirectoryPtr folder = controller_->currentDirectory();
  ASSERT_TRUE(controller_->filesystem()->deleteFile(test::fileNamed(folder, "SYSTEM"), folder));
  const test::CapturedLog log;
  const test::AlertAnswers alerts;
  const auto data = dragged({"SYSTEM", "PLAIN"});
  EXPECT_EQ(pathsGiven(data), pathsGiven(data));
  EXPECT_EQ(alerts.shown().size(), 1U);
}

TEST_F(DragOut, NothingIsToldWhenAllIsExported) {
  mount(threeFiles());
  const test::AlertAnswers alerts;
  const QString before = status();
  EXPECT_EQ(pathsGiven(dragged({"SYSTEM", "PLAIN"})).size(), 2U);
  EXPECT_EQ(status(), before);
  EXPECT_TRUE(alerts.shown().empty());
}

TEST_F(DragOut, FileWhoseContentsAreIncompleteIsLeftOutLoggedAndListed) {
  ImageBuilder image;
  test::FolderBuilder folder = image.root().addFolder("Mixed");
  folder.addFile("WHOLE", bytesOf("whole"));
  addIncompleteFile(image, folder, "CUT");
  mount(image);
  const test::CapturedLog log;
  const test::AlertAnswers alerts;
  const auto paths = pathsGiven(dragged({"WHOLE", "CUT"}));
  ASSERT_EQ(paths.size(), 1U);
  EXPECT_EQ(test::readText(paths[0]), "whole");
  EXPECT_EQ(log.lines(),
            std::vector<std::string>{"Drag export failed for CUT: Error Domain=com.tessary.error Code=2 "
                                     "\"File contents are incomplete\""});
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].failures, QStringList{"CUT: File contents are incomplete"});
}

TEST_F(DragOut, IsNothingWhenEveryExportFails) {
  mount(threeFiles());
  const EMU3DirectoryPtr folder = controller_->currentDirectory();
  ASSERT_TRUE(controller_->filesystem()->deleteFile(test::fileNamed(folder, "SYSTEM"), folder));
  const test::CapturedLog log;
  const test::AlertAnswers alerts;
  const auto data = dragged({"SYSTEM"});
  EXPECT_TRUE(pathsGiven(data).empty());
  EXPECT_TRUE(data->data("text/uri-list").isEmpty());
  EXPECT_EQ(log.lines().size(), 1U);
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Export Failed (1 of 1)");
  EXPECT_TRUE(std::filesystem::is_empty(dragFolder())) << "nobody knows of that folder";
}

TEST_F(DragOut, IsNothingAndToldWithoutAPlaceForTheFiles) {
  mount(threeFiles());
  const std::string noFolder = folder_.path("no folder");
  test::writeText(noFolder, "");
  const test::CapturedLog log;
  const test::AlertAnswers alerts;
  qputenv("TMPDIR", QByteArray::fromStdString(noFolder));
  EXPECT_TRUE(pathsGiven(dragged({"PLAIN", "BANK"})).empty());
  EXPECT_TRUE(log.lines().empty());
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Export Failed (2 of 2)");
  ASSERT_EQ(alerts.shown()[0].failures.size(), 2);
  EXPECT_TRUE(alerts.shown()[0].failures[0].startsWith("BANK: "))
      << alerts.shown()[0].failures[0].toStdString();
  EXPECT_TRUE(alerts.shown()[0].failures[1].startsWith("PLAIN: "));
}

TEST_F(DragOut, IsNoDragWithoutAnImage) {
  mount(threeFiles());
  const QModelIndex row = table()->model()->index(0, 0);
  controller_->contentCtl()->setFilesystem(nullptr);
  EXPECT_EQ(content()->mimeData({row}), nullptr);
  EXPECT_FALSE(std::filesystem::exists(dragFolder()));
}

TEST_F(DragOut, RowsOfferNothingButACopy) {
  mount(threeFiles());
  EXPECT_EQ(content()->supportedDragActions(), Qt::CopyAction);
  EXPECT_TRUE(table()->dragEnabled());
  for (int column = 0; column < content()->columnCount(); ++column)
    EXPECT_TRUE(content()->flags(content()->index(0, column)).testFlag(Qt::ItemIsDragEnabled));
}

// ---- Folders

/// What the outline makes of a folder that is dragged.
class FolderDragOut : public DragOut {
protected:
  std::unique_ptr<QMimeData> draggedFolder(const QStringList &path) const {
    return std::unique_ptr<QMimeData>(controller_->sidebarCtl()->mimeData({folderItem(path)}));
  }
};

ImageBuilder nestedFolders() {
  ImageBuilder image;
  auto drums = image.root().addFolder("Drums");
  drums.addFile("KICK", patternBytes(70'000, 3));
  drums.addFolder("Old: 808/909").addFile("TOM", bytesOf("tom"));
  drums.addFolder("Empty");
  return image;
}

TEST_F(FolderDragOut, IsAHostFolderWithItsTreeInAPrivateFolder) {
  mount(nestedFolders());
  const auto paths = pathsIn(draggedFolder({"Drums"}));
  ASSERT_EQ(paths.size(), 1U);
  const std::filesystem::path path = paths[0];
  EXPECT_EQ(path.filename(), "Drums");
  EXPECT_EQ(path.parent_path().parent_path(), dragFolder());
  EXPECT_EQ(test::readBytes(path / "KICK.E4B"), patternBytes(70'000, 3));
  EXPECT_EQ(test::readText(path / "Old: 808%2F909" / "TOM.E4B"), "tom");
  EXPECT_TRUE(std::filesystem::is_empty(path / "Empty"));
}

TEST_F(FolderDragOut, IsExportedOnceAndOnlyWhenItsAddressIsAskedFor) {
  mount(nestedFolders());
  const auto data = draggedFolder({"Drums"});
  EXPECT_TRUE(data->hasUrls());
  EXPECT_EQ(data->formats(), QStringList{"text/uri-list"});
  EXPECT_FALSE(std::filesystem::exists(dragFolder()));
  EXPECT_EQ(data->urls(), data->urls());
  EXPECT_EQ(test::namesIn(dragFolder()).size(), 1U);
}

TEST_F(FolderDragOut, OtherProgramsReadItsAddressAsAList) {
  mount(nestedFolders());
  const auto data = draggedFolder({"Drums"});
  const QByteArray list = data->data(QStringLiteral("text/uri-list"));
  EXPECT_EQ(list, data->urls().first().toEncoded() + "\r\n");
}

TEST_F(FolderDragOut, FileWhoseContentsAreIncompleteIsLeftOutLoggedAndListed) {
  ImageBuilder image;
  test::FolderBuilder folder = image.root().addFolder("Mixed");
  folder.addFile("WHOLE", bytesOf("whole"));
  addIncompleteFile(image, folder, "CUT");
  mount(image);
  const test::CapturedLog log;
  const test::AlertAnswers alerts;
  const auto paths = pathsGiven(draggedFolder({"Mixed"}));
  ASSERT_EQ(paths.size(), 1U);
  EXPECT_EQ(test::namesIn(paths[0]), std::vector<std::string>{"WHOLE.E4B"});
  EXPECT_EQ(log.lines(),
            std::vector<std::string>{"Drag export failed for CUT: Error Domain=com.tessary.error Code=2 "
                                     "\"File contents are incomplete\""});
  EXPECT_EQ(status(), "Exported with 1 failure(s).");
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Export Failed (1 of 2)");
  EXPECT_EQ(alerts.shown()[0].failures, QStringList{"CUT: File contents are incomplete"});
}

TEST_F(FolderDragOut, OfAnImageThatIsNoLongerMountedHasNoAddress) {
  mount(nestedFolders());
  const auto data = draggedFolder({"Drums"});
  clickToolbar("UnmountItem");
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_TRUE(data->urls().isEmpty());
  EXPECT_FALSE(std::filesystem::exists(dragFolder()));
}

TEST_F(FolderDragOut, ThatIsGoneByThenIsNothingAndTold) {
  mount(nestedFolders());
  const auto data = draggedFolder({"Drums"});
  const EMU3FilesystemPtr filesystem = controller_->filesystem();
  ASSERT_TRUE(filesystem->deleteDirectory(test::folderNamed(filesystem->rootDirectory(), "Drums"),
                                          filesystem->rootDirectory()));
  const test::CapturedLog log;
  const test::AlertAnswers alerts;
  EXPECT_TRUE(pathsGiven(data).empty());
  EXPECT_FALSE(log.lines().empty());
  EXPECT_EQ(alerts.shown().size(), 1U);
}

TEST_F(FolderDragOut, TheRootIsNot) {
  mount(nestedFolders());
  EXPECT_EQ(controller_->sidebarCtl()->mimeData({QModelIndex()}), nullptr);
  EXPECT_FALSE(controller_->sidebarCtl()->flags({}).testFlag(Qt::ItemIsDragEnabled));
  EXPECT_TRUE(controller_->sidebarCtl()->flags(folderItem({"Drums"})).testFlag(Qt::ItemIsDragEnabled));
  EXPECT_TRUE(outline()->dragEnabled());
}

TEST_F(DragOut, WhereTheHostsTemporaryDirectoryHasAnOddNameTheAddressIsStillRight) {
  mount(threeFiles());
  const test::HostTemporaryDirectory odd(folder_.path("t m#p%41"));
  const auto paths = pathsIn(dragged({"PLAIN"}));
  ASSERT_EQ(paths.size(), 1U);
  EXPECT_EQ(test::readText(paths[0]), "plain");
}

} // namespace
} // namespace tessary
