// The changes of files and folders in memory.

#include "filesystem/TreeEditor.h"

#include <gtest/gtest.h>

#include <memory>

namespace tessary {
namespace {

EMU3FilePtr newFile(const std::string &name = "File") {
  EMU3FileFields fields;
  fields.name = name;
  fields.rawType = 0x81;
  return std::make_shared<EMU3File>(fields);
}

EMU3DirectoryPtr newFolder() {
  return std::make_shared<EMU3Directory>();
}

ByteBufferPtr bytes(std::size_t size) {
  return std::make_shared<const ByteBuffer>(size, std::uint8_t{9});
}

// --- Files -----------------------------------------------------------------------------------------

TEST(FileEditing, NameChangesAlone) {
  const EMU3FilePtr file = newFile("Before");
  TreeEditor::setName(*file, "After");
  EXPECT_EQ(file->name(), "After");
  EXPECT_EQ(file->rawType(), 0x81);
}

TEST(FileEditing, BankDetailsChangeTogether) {
  const EMU3FilePtr file = newFile();
  TreeEditor::setBankDetails(*file, {"Bank", 4, 5, 6});
  EXPECT_EQ(file->bankName(), "Bank");
  EXPECT_EQ(file->bankFormat(), 4);
  EXPECT_EQ(file->presetCount(), 5U);
  EXPECT_EQ(file->sampleCount(), 6U);
}

TEST(FileEditing, ContentsAreHeldUntilTheyAreForgotten) {
  const EMU3FilePtr file = newFile();
  const ByteBufferPtr data = bytes(3);
  TreeEditor::setCachedData(*file, data);
  EXPECT_EQ(file->cachedData(), data);
  TreeEditor::setCachedData(*file, nullptr);
  EXPECT_EQ(file->cachedData(), nullptr);
  EXPECT_EQ(data.use_count(), 1);
}

TEST(FileEditing, FirstContentsCachedStay) {
  const EMU3FilePtr file = newFile();
  const ByteBufferPtr first = bytes(1);
  EXPECT_EQ(TreeEditor::cacheDataIfUnset(*file, first), first);
  EXPECT_EQ(TreeEditor::cacheDataIfUnset(*file, bytes(2)), first);
  EXPECT_EQ(file->cachedData(), first);
}

// --- Folders ---------------------------------------------------------------------------------------

TEST(FolderEditing, ValuesHoldWhatWasSet) {
  const EMU3DirectoryPtr folder = newFolder();
  TreeEditor::setName(*folder, "Drums");
  TreeEditor::setEntryId(*folder, 0x40);
  TreeEditor::setBlockList(*folder, {7, 9});
  TreeEditor::setPlace(*folder, {17, 15});
  EXPECT_EQ(folder->name(), "Drums");
  EXPECT_EQ(folder->entryId(), 0x40);
  EXPECT_EQ(folder->blockList(), (std::vector<std::int64_t>{7, 9}));
  EXPECT_EQ(folder->place(), (EntryPlace{17, 15}));
  EXPECT_EQ(folder->dentryBlock(), 17);
  EXPECT_EQ(folder->dentryOffset(), 15);
}

TEST(FolderEditing, FileKnowsTheFolderThatHoldsItAndNoneOnceItHasLeft) {
  const EMU3DirectoryPtr folder = newFolder();
  const EMU3FilePtr file = newFile();
  TreeEditor::appendFile(folder, file);
  EXPECT_EQ(folder->files(), std::vector<EMU3FilePtr>{file});
  EXPECT_EQ(file->folder(), folder);
  TreeEditor::removeFile(folder, file);
  EXPECT_TRUE(folder->files().empty());
  EXPECT_EQ(file->folder(), nullptr);
}

TEST(FolderEditing, FileKnowsNoFolderOnceItsFolderIsGone) {
  EMU3DirectoryPtr folder = newFolder();
  const EMU3FilePtr file = newFile();
  TreeEditor::appendFile(folder, file);
  folder.reset();
  EXPECT_EQ(file->folder(), nullptr);
}

TEST(FolderEditing, RemovalTakesOutThatObjectAlone) {
  const EMU3DirectoryPtr folder = newFolder();
  const EMU3FilePtr first = newFile("Same");
  const EMU3FilePtr second = newFile("Same");
  TreeEditor::setFiles(folder, {first, second});
  TreeEditor::removeFile(folder, second);
  TreeEditor::removeFile(folder, newFile("Same"));
  EXPECT_EQ(folder->files(), std::vector<EMU3FilePtr>{first});
  EXPECT_TRUE(folder->containsFile(first));
  EXPECT_FALSE(folder->containsFile(second));
}

TEST(FolderEditing, RemovalFromAFolderThatDoesNotHoldTheFileLeavesItWhereItIs) {
  const EMU3DirectoryPtr folder = newFolder();
  const EMU3FilePtr file = newFile();
  TreeEditor::appendFile(folder, file);
  TreeEditor::removeFile(newFolder(), file);
  EXPECT_EQ(file->folder(), folder);
}

TEST(FolderEditing, NewListOfFilesLetsGoOfThoseThatAreNotInIt) {
  const EMU3DirectoryPtr folder = newFolder();
  const EMU3FilePtr gone = newFile("Gone");
  const EMU3FilePtr kept = newFile("Kept");
  const EMU3FilePtr added = newFile("Added");
  TreeEditor::setFiles(folder, {gone, kept});
  TreeEditor::setFiles(folder, {kept, added});
  EXPECT_EQ(folder->files(), (std::vector<EMU3FilePtr>{kept, added}));
  EXPECT_EQ(gone->folder(), nullptr);
  EXPECT_EQ(kept->folder(), folder);
  EXPECT_EQ(added->folder(), folder);
}

TEST(FolderEditing, SubfolderHasTheFolderAsItsParent) {
  const EMU3DirectoryPtr folder = newFolder();
  const EMU3DirectoryPtr first = newFolder();
  const EMU3DirectoryPtr second = newFolder();
  TreeEditor::setSubdirectories(folder, {first});
  TreeEditor::appendSubdirectory(folder, second);
  EXPECT_EQ(folder->subdirectories(), (std::vector<EMU3DirectoryPtr>{first, second}));
  EXPECT_EQ(first->parent(), folder);
  EXPECT_EQ(second->parent(), folder);
}

TEST(FolderEditing, SubfolderTakenOutKeepsItsParent) {
  const EMU3DirectoryPtr folder = newFolder();
  const EMU3DirectoryPtr below = newFolder();
  TreeEditor::appendSubdirectory(folder, below);
  TreeEditor::removeSubdirectory(folder, below);
  EXPECT_FALSE(folder->containsSubdirectory(below));
  EXPECT_EQ(below->parent(), folder);
}

} // namespace
} // namespace tessary
