// An operation on what has left the tree, or is not where it is said to be, changes nothing and fails.

#include "filesystem/TreeEditor.h"
#include "tests/support/BankBuilder.h"
#include "tests/writing/guarded/GuardedVolume.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include <unistd.h>

namespace tessary::test {
namespace {

class StaleObject : public testing::Test {
protected:
  static ImageBuilder image() {
    ImageBuilder builder(smallLayout());
    builder.root().addFile("file", patternBytes(600, 1));
    builder.root().addFile("gone", patternBytes(600, 2));
    auto outer = builder.root().addFolder("outer", {.blockList = {5}});
    outer.addFolder("inner", {.blockList = {6}}).addFile("deep", patternBytes(600, 3));
    builder.root().addFolder("other", {.blockList = {7}});
    return builder;
  }

  EMU3Filesystem &filesystem() { return *volume.filesystem(); }
  EMU3DirectoryPtr root() { return volume.root(); }
  std::string hostFile() { return volume.hostFile("host", bytesOf("x")); }

  void expectRefused(const std::function<bool(EMU3Error *)> &operation) {
    volume.expectRefused(kNoEntryError, operation);
  }
  // Every operation on a file that is not in `folder` any more.
  void expectFileRefused(const EMU3FilePtr &file, const EMU3DirectoryPtr &folder) {
    expectRefused([&](EMU3Error *error) { return filesystem().deleteFile(file, folder, error); });
    expectRefused([&](EMU3Error *error) { return filesystem().renameFile(file, "new", folder, error); });
    expectRefused([&](EMU3Error *error) { return filesystem().renameFile(file, "", folder, error); });
    expectRefused([&](EMU3Error *error) { return filesystem().moveFile(file, folder, root(), error); });
    expectRefused([&](EMU3Error *error) { return filesystem().moveFile(file, folder, folder, error); });
  }
  // Every operation on a folder that has left the tree.
  void expectFolderRefused(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &parent) {
    const EMU3FilePtr file = fileNamed(root(), "file");
    const std::string path = hostFile();
    expectRefused([&](EMU3Error *error) { return filesystem().copyFile(file, folder, error); });
    expectRefused([&](EMU3Error *error) { return filesystem().moveFile(file, root(), folder, error); });
    expectRefused([&](EMU3Error *error) { return filesystem().importFileAtURL(path, folder, error); });
    expectRefused([&](EMU3Error *e) {
      return filesystem().restoreFileAtURL(path, newFileEntry("a", 1, 0, 1), folder, e) != nullptr;
    });
    expectRefused([&](EMU3Error *e) { return filesystem().createDirectoryNamed("new", folder, e); });
    expectRefused([&](EMU3Error *error) { return filesystem().createDirectoryNamed("", folder, error); });
    expectRefused([&](EMU3Error *error) { return filesystem().deleteDirectory(folder, parent, error); });
    expectRefused([&](EMU3Error *error) { return filesystem().renameDirectory(folder, "new", error); });
    expectRefused([&](EMU3Error *error) { return filesystem().renameDirectory(folder, "", error); });
    expectRefused([&](EMU3Error *error) { return filesystem().moveDirectory(folder, root(), error); });
    expectRefused([&](EMU3Error *error) { return filesystem().moveDirectory(folder, folder, error); });
    for (const EMU3DirectoryPtr &other : root()->subdirectories())
      expectRefused([&](EMU3Error *error) { return filesystem().moveDirectory(other, folder, error); });
    EXPECT_TRUE(folder->files().empty());
    EXPECT_TRUE(folder->subdirectories().empty());
  }

  GuardedVolume volume{image()};
};

TEST_F(StaleObject, DeletedFileChangesNothingMore) {
  const EMU3FilePtr gone = fileNamed(root(), "gone");
  ASSERT_TRUE(filesystem().deleteFile(gone, root()));
  ASSERT_TRUE(filesystem().importFileAtURL(hostFile(), root())); // takes its entry
  EXPECT_EQ(placeOf(*fileNamed(root(), "host")), placeOf(*gone));
  volume.takeImageAsExpected();
  expectFileRefused(gone, root());
  expectRefused([&](EMU3Error *error) { return filesystem().copyFile(gone, root(), error); });
}

TEST_F(StaleObject, MovedFileIsNoLongerInItsFolder) {
  const EMU3FilePtr gone = fileNamed(root(), "gone");
  ASSERT_TRUE(filesystem().moveFile(gone, root(), folderNamed(root(), "other")));
  volume.takeImageAsExpected();
  expectFileRefused(gone, root());
  expectFileRefused(gone, folderNamed(root(), "other"));
}

TEST_F(StaleObject, FileOfAnotherFolderIsNotInThisOne) {
  const EMU3FilePtr file = fileNamed(root(), "file");
  expectFileRefused(file, folderNamed(root(), "other"));
  expectRefused([&](EMU3Error *error) { return filesystem().renameFile(file, "new", nullptr, error); });
}

TEST_F(StaleObject, DeletedFolderChangesNothingMore) {
  const EMU3DirectoryPtr other = folderNamed(root(), "other");
  ASSERT_TRUE(filesystem().deleteDirectory(other, root()));
  ASSERT_TRUE(filesystem().createDirectoryNamed("new", root())); // takes its block and its entry
  EXPECT_EQ(folderNamed(root(), "new")->blockList(), other->blockList());
  volume.takeImageAsExpected();
  expectFolderRefused(other, root());
}

TEST_F(StaleObject, FoldersBelowADeletedOneChangeNothingMore) {
  const EMU3DirectoryPtr outer = folderNamed(root(), "outer");
  const EMU3DirectoryPtr inner = folderNamed(outer, "inner");
  const EMU3FilePtr deep = fileNamed(inner, "deep");
  ASSERT_TRUE(filesystem().deleteDirectory(outer, root()));
  volume.takeImageAsExpected();
  expectFolderRefused(inner, outer);
  expectFileRefused(deep, inner);
  expectRefused([&](EMU3Error *error) { return filesystem().copyFile(deep, root(), error); });
}

TEST_F(StaleObject, SubtreeCutOffInMemoryChangesNothingMore) {
  // As an ancestor that is no longer listed by its parent, with everything below it still in place.
  const EMU3DirectoryPtr outer = folderNamed(root(), "outer");
  const EMU3DirectoryPtr inner = folderNamed(outer, "inner");
  const EMU3FilePtr deep = fileNamed(inner, "deep");
  TreeEditor::removeSubdirectory(root(), outer);
  expectFileRefused(deep, inner);
  const std::string path = hostFile();
  expectRefused([&](EMU3Error *error) { return filesystem().importFileAtURL(path, inner, error); });
  expectRefused([&](EMU3Error *error) { return filesystem().deleteDirectory(inner, outer, error); });
}

TEST_F(StaleObject, FolderIsDeletedOnlyFromItsParent) {
  const EMU3DirectoryPtr outer = folderNamed(root(), "outer");
  const EMU3DirectoryPtr inner = folderNamed(outer, "inner");
  expectRefused([&](EMU3Error *error) { return filesystem().deleteDirectory(inner, root(), error); });
  expectRefused([&](EMU3Error *error) { return filesystem().deleteDirectory(inner, nullptr, error); });
  expectRefused([&](EMU3Error *error) { return filesystem().deleteDirectory(root(), root(), error); });
  expectRefused([&](EMU3Error *error) { return filesystem().deleteDirectory(root(), nullptr, error); });
}

TEST_F(StaleObject, TreeBeforeAReloadChangesNothingMore) {
  const EMU3DirectoryPtr oldRoot = root();
  const EMU3DirectoryPtr oldOther = folderNamed(oldRoot, "other");
  const EMU3FilePtr oldFile = fileNamed(oldRoot, "file");
  ASSERT_TRUE(filesystem().reload());
  expectFileRefused(oldFile, oldRoot);
  expectFileRefused(oldFile, root());
  expectRefused([&](EMU3Error *error) { return filesystem().copyFile(oldFile, root(), error); });
  expectFolderRefused(oldOther, oldRoot);
  const std::string path = hostFile();
  expectRefused([&](EMU3Error *error) { return filesystem().importFileAtURL(path, oldRoot, error); });
}

TEST_F(StaleObject, FoldersOfAnotherVolumeAreNotOfThisOne) {
  const WritableVolume another(image(), MountRules::guarded);
  const std::string path = hostFile();
  expectRefused([&](EMU3Error *e) { return filesystem().importFileAtURL(path, another.root(), e); });
  expectFileRefused(fileNamed(another.root(), "file"), another.root());
  EXPECT_TRUE(another.imageIsAsExpected());
}

TEST_F(StaleObject, IsLookedAtBeforeNameSpaceAndSize) {
  const EMU3DirectoryPtr other = folderNamed(root(), "other");
  ASSERT_TRUE(filesystem().deleteDirectory(other, root()));
  volume.takeImageAsExpected();
  expectRefused(
      [&](EMU3Error *e) { return filesystem().createDirectoryNamed("16 characters...", other, e); });
  const std::string blankAndLarge = volume.folder().path("  .e4b");
  writeText(blankAndLarge, "");
  ASSERT_EQ(::truncate(blankAndLarge.c_str(), 40 * 1024 * 1024), 0);
  expectRefused([&](EMU3Error *e) { return filesystem().importFileAtURL(blankAndLarge, other, e); });
  EMU3Error error;
  EXPECT_FALSE(filesystem().importFileAtURL(blankAndLarge, root(), &error));
  EXPECT_EQ(error.code, 6); // and the name before the size
}

TEST_F(StaleObject, ContentsOfAFileThatHasLeftTheTreeAreNotReadFromItsOldSlot) {
  const EMU3FilePtr gone = fileNamed(root(), "file");
  ASSERT_TRUE(filesystem().deleteFile(gone, root()));
  const std::string target = volume.folder().path("gone.E4B");
  EMU3Error error;
  EXPECT_FALSE(filesystem().exportFile(gone, target, &error));
  EXPECT_EQ(error.description(), kNoEntryError);
  EXPECT_FALSE(filesystem().exportSampleAtIndex(0, gone, target, &error));
  EXPECT_EQ(error.description(), kNoEntryError);
  EXPECT_TRUE(filesystem().samplesFromBankFile(gone, &error).empty());
  EXPECT_EQ(error.description(), kNoEntryError);
  EXPECT_FALSE(std::filesystem::exists(target));
}

TEST_F(StaleObject, RootIsNotRenamedMovedOrDeleted) {
  const EMU3DirectoryPtr other = folderNamed(root(), "other");
  expectRefused([&](EMU3Error *error) { return filesystem().renameDirectory(root(), "new", error); });
  expectRefused([&](EMU3Error *error) { return filesystem().moveDirectory(root(), other, error); });
  expectRefused([&](EMU3Error *error) { return filesystem().moveDirectory(root(), root(), error); });
  expectRefused([&](EMU3Error *error) { return filesystem().deleteDirectory(root(), nullptr, error); });
}

TEST_F(StaleObject, MovedFolderIsNotTheOneItWas) {
  const EMU3DirectoryPtr outer = folderNamed(root(), "outer");
  ASSERT_TRUE(filesystem().moveDirectory(outer, folderNamed(root(), "other")));
  expectFolderRefused(outer, root());
  expectFolderRefused(outer, folderNamed(root(), "other"));
}

TEST_F(StaleObject, WhatIsInAMovedFolderStaysWhatItIs) {
  const EMU3DirectoryPtr outer = folderNamed(root(), "outer");
  const EMU3DirectoryPtr inner = folderNamed(outer, "inner");
  const EMU3FilePtr deep = fileNamed(inner, "deep");
  ASSERT_TRUE(filesystem().moveDirectory(outer, folderNamed(root(), "other")));
  EXPECT_TRUE(filesystem().renameFile(deep, "deeper", inner));
  EXPECT_TRUE(filesystem().renameDirectory(inner, "in"));
  EXPECT_NE(filesystem().dataForFile(deep), nullptr);
  EXPECT_TRUE(volume.isAsReadAnew());
}

TEST_F(StaleObject, ContentsOfAFileThatHasLeftTheTreeAreNotReadCachedOrNot) {
  const EMU3FilePtr file = fileNamed(root(), "file");
  const EMU3FilePtr gone = fileNamed(root(), "gone");
  ASSERT_NE(filesystem().dataForFile(file), nullptr); // cached
  for (const EMU3FilePtr &each : {file, gone}) {
    ASSERT_TRUE(filesystem().deleteFile(each, root()));
    expectRefused([&](EMU3Error *error) { return filesystem().dataForFile(each, error) != nullptr; });
    expectRefused([&](EMU3Error *error) { return filesystem().contentsOfFile(each, error) != nullptr; });
    expectRefused([&](EMU3Error *error) { return filesystem().populateBankMetadata(each, error); });
    expectRefused([&](EMU3Error *error) { return filesystem().refreshBankMetadata(each, error); });
    expectRefused([&](EMU3Error *error) { return filesystem().entryOfFile(each, error).has_value(); });
  }
}

TEST_F(StaleObject, FileInAFolderThatHasLeftTheTreeIsNotRead) {
  const EMU3DirectoryPtr outer = folderNamed(root(), "outer");
  const EMU3FilePtr deep = fileNamed(folderNamed(outer, "inner"), "deep");
  TreeEditor::removeSubdirectory(root(), outer);
  expectRefused([&](EMU3Error *error) { return filesystem().dataForFile(deep, error) != nullptr; });
}

// --- A file that was deleted before is listed, and that is all ---------------------------------------

class ListedDeletedFile : public testing::Test {
protected:
  static ImageBuilder image() {
    ImageBuilder builder(smallLayout());
    const Bytes bank = IffBank().sample("a", patternBytes(500, 1)).build();
    builder.root().addFile("gone", bank, {.type = 0});
    builder.root().addFolder("folder", {.blockList = {5}});
    return builder;
  }

  void expectRefused(const std::function<bool(EMU3Error *)> &operation) {
    volume.expectRefused(kNoEntryError, operation);
  }

  GuardedVolume volume{image()};
  EMU3FilePtr gone = volume.file("gone");
};

TEST_F(ListedDeletedFile, IsNotChanged) {
  const EMU3DirectoryPtr folder = volume.folderAt("folder");
  expectRefused([&](EMU3Error *error) { return volume->deleteFile(gone, volume.root(), error); });
  expectRefused([&](EMU3Error *error) { return volume->renameFile(gone, "new", volume.root(), error); });
  expectRefused([&](EMU3Error *error) { return volume->moveFile(gone, volume.root(), folder, error); });
  expectRefused([&](EMU3Error *e) { return volume->moveFile(gone, volume.root(), volume.root(), e); });
}

TEST_F(ListedDeletedFile, IsNotRead) {
  const std::string target = volume.folder().path("target");
  expectRefused([&](EMU3Error *error) { return volume->copyFile(gone, volume.root(), error); });
  expectRefused([&](EMU3Error *error) { return volume->dataForFile(gone, error) != nullptr; });
  expectRefused([&](EMU3Error *error) { return volume->contentsOfFile(gone, error) != nullptr; });
  expectRefused([&](EMU3Error *error) { return volume->entryOfFile(gone, error).has_value(); });
  expectRefused([&](EMU3Error *error) { return volume->exportFile(gone, target, error); });
  expectRefused([&](EMU3Error *error) { return volume->exportSampleAtIndex(0, gone, target, error); });
  EXPECT_FALSE(std::filesystem::exists(target));
}

} // namespace
} // namespace tessary::test
