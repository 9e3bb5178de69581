// The in-memory tree: files and folders as plain values.

#include "filesystem/TreeEditor.h"
#include "tessary/EMU3Directory.h"
#include "tessary/EMU3Error.h"
#include "tessary/EMU3File.h"
#include "tests/support/MountedVolume.h"

#include <clocale>
#include <gtest/gtest.h>

namespace tessary {
namespace {

EMU3FilePtr fileOfRawType(std::uint8_t rawType, const std::string &name = "File") {
  EMU3FileFields fields;
  fields.name = name;
  fields.rawType = rawType;
  return std::make_shared<EMU3File>(fields);
}

EMU3DirectoryPtr folderNamed(const std::string &name) {
  auto folder = std::make_shared<EMU3Directory>();
  TreeEditor::setName(*folder, name);
  return folder;
}

TEST(FileModel, NewFileHasEveryNumberZeroAndEveryObjectEmpty) {
  const EMU3File file;
  EXPECT_EQ(file.rawType(), 0);
  EXPECT_EQ(file.entryId(), 0);
  EXPECT_EQ(file.startCluster(), 0);
  EXPECT_EQ(file.clusterCount(), 0);
  EXPECT_EQ(file.blocksInLastCluster(), 0);
  EXPECT_EQ(file.bytesInLastBlock(), 0);
  EXPECT_EQ(file.name(), "");
  EXPECT_EQ(file.fileType(), 0);
  EXPECT_EQ(file.fileSize(), 0U);
  EXPECT_EQ(file.dentryBlock(), 0);
  EXPECT_EQ(file.dentryOffset(), 0);
  EXPECT_EQ(file.cachedData(), nullptr);
  EXPECT_EQ(file.bankName(), std::nullopt);
  EXPECT_EQ(file.bankFormat(), 0);
  EXPECT_EQ(file.presetCount(), 0U);
  EXPECT_EQ(file.sampleCount(), 0U);
}

TEST(FileModel, EveryFieldHoldsWhatItWasMadeWith) {
  EMU3FileFields fields;
  fields.rawType = 0x83;
  fields.entryId = 255;
  fields.startCluster = 65535;
  fields.clusterCount = 7;
  fields.blocksInLastCluster = 65534;
  fields.bytesInLastBlock = 512;
  fields.name = "KICK";
  fields.fileType = 3;
  fields.fileSize = 1ULL << 40;
  fields.dentryBlock = 32767;
  fields.dentryOffset = 15;
  const EMU3File file(fields);

  EXPECT_EQ(file.rawType(), 0x83);
  EXPECT_EQ(file.entryId(), 255);
  EXPECT_EQ(file.startCluster(), 65535);
  EXPECT_EQ(file.clusterCount(), 7);
  EXPECT_EQ(file.blocksInLastCluster(), 65534);
  EXPECT_EQ(file.bytesInLastBlock(), 512);
  EXPECT_EQ(file.name(), "KICK");
  EXPECT_EQ(file.fileType(), 3);
  EXPECT_EQ(file.fileSize(), 1ULL << 40);
  EXPECT_EQ(file.dentryBlock(), 32767);
  EXPECT_EQ(file.dentryOffset(), 15);
  EXPECT_EQ(file.place(), (EntryPlace{32767, 15}));
  EXPECT_EQ(file.fields().name, "KICK");
  EXPECT_EQ(file.cachedData(), nullptr);
  EXPECT_EQ(file.bankDetails(), BankDetails());
  EXPECT_EQ(file.folder(), nullptr);
}

TEST(FileModel, TypeFollowsFromTheTypeByte) {
  for (int rawType = 0; rawType <= 255; ++rawType) {
    const auto expected = rawType == 0x80 ? 2 : rawType == 0x81 || rawType == 0x83 ? 1 : 0;
    EXPECT_EQ(fileTypeForRawType(static_cast<std::uint8_t>(rawType)), expected) << rawType;
  }
}

TEST(FileModel, TypeTextIsFileForEveryUnknownType) {
  for (const auto &[type, text] :
       {std::pair{0, "File"}, {1, "Bank"}, {2, "System"}, {3, "File"}, {-1, "File"}}) {
    EMU3FileFields fields;
    fields.fileType = type;
    EXPECT_EQ(EMU3File(fields).fileTypeString(), text) << type;
  }
}

TEST(FileModel, IsDeletedExactlyWhenTheTypeByteIsZero) {
  EXPECT_TRUE(fileOfRawType(0)->isDeleted());
  for (int rawType = 1; rawType <= 255; ++rawType)
    EXPECT_FALSE(fileOfRawType(static_cast<std::uint8_t>(rawType))->isDeleted()) << rawType;
}

TEST(FileModel, SizeTextChangesUnitAt1024AndAt1048576Bytes) {
  const std::pair<std::uint64_t, const char *> sizes[] = {
      {0, "0 B"},
      {1, "1 B"},
      {1023, "1023 B"},
      {1024, "1.0 KB"},
      {1536, "1.5 KB"},
      {1048575, "1024.0 KB"},
      {1048576, "1.0 MB"},
      {33553920, "32.0 MB"},
      {1075, "1.0 KB"},
      {1076, "1.1 KB"},
      {1280, "1.2 KB"}, // 1.25: halves go to the even digit
      {1792, "1.8 KB"}, // 1.75
      {1310720, "1.2 MB"},
      {1310721, "1.3 MB"},
      {1ULL << 40, "1048576.0 MB"},
  };
  for (const auto &[size, text] : sizes) {
    EMU3FileFields fields;
    fields.fileSize = size;
    EXPECT_EQ(EMU3File(fields).fileSizeString(), text);
  }
}

TEST(FileModel, SizeTextDoesNotFollowTheLocale) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  const bool hasComma = std::setlocale(LC_ALL, "de_DE.UTF-8") || std::setlocale(LC_ALL, "fr_FR.UTF-8");
  const std::string text = fileSizeStringFor(1536);
  std::setlocale(LC_ALL, before.c_str());
  if (!hasComma) GTEST_SKIP() << "no locale with a decimal comma is installed";
  EXPECT_EQ(text, "1.5 KB");
}

TEST(FileModel, DescriptionNamesFileTypeAndSize) {
  EMU3FileFields fields;
  fields.name = "Strings";
  fields.fileType = 1;
  fields.fileSize = 2048;
  EXPECT_EQ(EMU3File(fields).description(), "<EMU3File: Strings (Bank) 2.0 KB>");
}

TEST(FolderModel, NewFolderHasEmptyListsAndZeros) {
  const EMU3Directory folder;
  EXPECT_EQ(folder.entryId(), 0);
  EXPECT_EQ(folder.name(), "");
  EXPECT_TRUE(folder.blockList().empty());
  EXPECT_TRUE(folder.files().empty());
  EXPECT_TRUE(folder.subdirectories().empty());
  EXPECT_EQ(folder.parent(), nullptr);
  EXPECT_EQ(folder.dentryBlock(), 0);
  EXPECT_EQ(folder.dentryOffset(), 0);
}

TEST(FolderModel, AllFilesLeavesOutDeletedOnesAndKeepsTheOrder) {
  const EMU3DirectoryPtr folder = folderNamed("Drums");
  for (const auto &file : {fileOfRawType(0x81, "A"), fileOfRawType(0, "B"), fileOfRawType(0x82, "C")})
    TreeEditor::appendFile(folder, file);
  EXPECT_EQ(test::namesOf(folder->allFiles()), (std::vector<std::string>{"A", "C"}));
  EXPECT_EQ(folder->totalFileCount(), 2U);
  EXPECT_EQ(folder->description(), "<EMU3Directory: Drums (3 files, 0 subdirs)>");
}

TEST(FolderModel, CountOfAFolderDoesNotIncludeItsSubfolders) {
  const auto folder = std::make_shared<EMU3Directory>();
  for (const char *name : {"One", "Two"}) {
    const EMU3DirectoryPtr below = folderNamed(name);
    TreeEditor::appendFile(below, fileOfRawType(0x81));
    TreeEditor::appendSubdirectory(folder, below);
  }
  EXPECT_EQ(folder->totalFileCount(), 0U);
  EXPECT_TRUE(folder->allFiles().empty());
  EXPECT_EQ(folder->description(), "<EMU3Directory:  (0 files, 2 subdirs)>");
}

TEST(FolderModel, ListsAreCopiesThatLaterChangesDoNotReach) {
  const auto folder = std::make_shared<EMU3Directory>();
  TreeEditor::appendFile(folder, fileOfRawType(0x81, "A"));
  const auto before = folder->files();
  TreeEditor::appendFile(folder, fileOfRawType(0x81, "B"));
  EXPECT_EQ(before.size(), 1U);
  EXPECT_EQ(folder->files().size(), 2U);
}

TEST(FolderModel, ReleasingTheLastOwnerReleasesTheSubtree) {
  auto root = std::make_shared<EMU3Directory>();
  const auto child = std::make_shared<EMU3Directory>();
  TreeEditor::appendSubdirectory(root, child);
  const auto file = fileOfRawType(0x81);
  TreeEditor::appendFile(root, file);
  const std::weak_ptr<EMU3Directory> watched = root;
  ASSERT_EQ(child->parent(), root);

  root.reset();
  EXPECT_TRUE(watched.expired());
  EXPECT_EQ(child->parent(), nullptr);
  EXPECT_EQ(child.use_count(), 1);
  EXPECT_EQ(file.use_count(), 1);
}

TEST(FolderModel, PreOrderVisitsEachFolderBeforeItsSubfolders) {
  const auto make = [](const char *name, std::vector<EMU3DirectoryPtr> below = {}) {
    EMU3DirectoryPtr folder = folderNamed(name);
    TreeEditor::setSubdirectories(folder, std::move(below));
    return folder;
  };
  const auto root = make("root", {make("a", {make("a1"), make("a2")}), make("b")});
  EXPECT_EQ(test::namesOf(directoriesInPreOrder(root)),
            (std::vector<std::string>{"root", "a", "a1", "a2", "b"}));
}

TEST(EngineError, DescriptionCarriesDomainCodeAndMessage) {
  const EMU3Error error{kEngineErrorDomain, 4, "Image is full (no free slots)"};
  EXPECT_EQ(error.description(), "Error Domain=com.tessary.error Code=4 \"Image is full (no free slots)\"");
  EXPECT_EQ(error.localizedDescription(), "Image is full (no free slots)");
  EXPECT_TRUE(error.isSet());
  EXPECT_FALSE(EMU3Error().isSet());
}

} // namespace
} // namespace tessary
