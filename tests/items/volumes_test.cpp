// Items that come from another volume.

#include "tests/items/ItemsTest.h"
#include "tests/support/ImageReading.h"
#include "tests/support/OtherProgram.h"
#include "tests/support/SmallStack.h"

#include <algorithm>

namespace tessary::test {
namespace {

ImageBuilder emptyVolume(std::uint64_t bytes = 4 * kMiB) {
  return ImageBuilder({.sizeBytes = bytes, .slotSizeBlocks = 8});
}

class BetweenVolumes : public testing::Test {
protected:
  EMU3DirectoryPtr drums() const { return folderNamed(from_.root(), "Drums"); }
  void expectSourceUnchanged() const { EXPECT_TRUE(from_.imageIsAsExpected()); }

  const GuardedVolume from_{volumeOfTrees()};
  const GuardedVolume to_{emptyVolume()};
};

TEST_F(BetweenVolumes, CopyHasItsSourcesEntryButForIdPlaceAndSizes) {
  const EMU3FilePtr source = from_.file("Sixteen bytes of");
  const auto operation = to_->manyItems();
  operation->copyFile(source, to_.root(), from_.filesystem());
  runWell(*operation);
  const EMU3FilePtr copy = to_.root()->files().at(0);
  EXPECT_EQ(contentsOf(*to_, copy), patternBytes(700, 2));
  RawEntry expected = entryOf(from_, *source);
  expected[17] = 0; // the first of its folder
  expected[18] = 1; // the first slot
  expected[19] = 0;
  expected[20] = 1; // one cluster
  expected[21] = 0;
  EXPECT_EQ(entryOf(to_, *copy), expected);
  EXPECT_EQ(copy->fileType(), kFileTypeSystem);
  expectSourceUnchanged();
  EXPECT_TRUE(to_.isAsReadAnew());
}

TEST_F(BetweenVolumes, CopyOfARootIsTheWholeVolume) {
  const auto operation = to_->manyItems();
  operation->copyFolder(from_.root(), to_.root(), ExistingFolder::used, from_.filesystem());
  runWell(*operation);
  EXPECT_EQ(contentsBelow(to_), contentsBelow(from_));
  expectSourceUnchanged();
  EXPECT_EQ(harmIn(*to_), std::vector<std::string>{});
  const EMU3DirectoryPtr copy = folderNamed(to_.root(), "Drums");
  EXPECT_EQ(copy->entryId(), 0x80) << "a folder keeps its id";
  EXPECT_EQ(folderNamed(copy, "Sixteen byte dir")->name().size(), 16U);
}

TEST_F(BetweenVolumes, MoveDeletesWhatIsThere) {
  const Contents tree = contentsBelow(from_, "Drums");
  const Contents rest{{"KICK", patternBytes(1300, 1)},
                      {"Sixteen bytes of", patternBytes(700, 2)},
                      {"Other/", {}},
                      {"Other/X", patternBytes(600, 6)}};
  const std::uint64_t free = from_->freeBlocks();
  const auto operation = to_->manyItems();
  operation->moveFolder(drums(), to_.root(), ExistingFolder::used, from_.filesystem());
  EXPECT_EQ(endsOf(*operation), (Ends{"A", "B", "C", "Drums", "Sixteen byte dir", "None"}))
      << "a folder is done when it has left its place";
  EXPECT_EQ(contentsBelow(to_, "Drums"), tree);
  EXPECT_EQ(contentsBelow(from_), rest);
  EXPECT_EQ(from_->freeBlocks(), free + 4 * 8) << "5,000 bytes take two slots of 8 blocks, the others one";
  EXPECT_TRUE(from_.isAsReadAnew());
  EXPECT_TRUE(to_.isAsReadAnew());
}

TEST_F(BetweenVolumes, MovedFileIsInTheFolderOfTheOtherVolume) {
  const EMU3FilePtr file = from_.file("KICK");
  EMU3FilePtr moved;
  const auto operation = to_->manyItems();
  operation->moveFile(file, from_.root(), to_.root(), from_.filesystem());
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) { moved = end.file; };
  operation->run(watcher);
  EXPECT_EQ(to_.root()->files(), std::vector<EMU3FilePtr>{moved});
  EXPECT_FALSE(from_.root()->containsFile(file));
}

TEST_F(BetweenVolumes, WhatDoesNotFitStaysWithItsFolders) {
  const Contents before = contentsBelow(from_, "Drums");
  const GuardedVolume small{ImageBuilder({.sizeBytes = (16 + 2 * 8) * kBlockBytes,
                                          .rootDirBlock = 4,
                                          .dataAreaBlock = 16,
                                          .slotSizeBlocks = 8})}; // two slots: A takes both
  const auto operation = small->manyItems();
  operation->moveFolder(drums(), small.root(), ExistingFolder::used, from_.filesystem());
  const std::string full = ": Not enough free space on image";
  EXPECT_EQ(endsOf(*operation), (Ends{"A", "B" + full, "C" + full, "Drums: Drums: Directory not empty",
                                      "Sixteen byte dir: Sixteen byte dir: Directory not empty", "None"}));
  Contents rest = before;
  rest.erase("A");
  rest.erase("None/");
  EXPECT_EQ(contentsBelow(from_, "Drums"), rest);
  EXPECT_EQ(contentsBelow(small), (Contents{{"Drums/", {}},
                                            {"Drums/A", before.at("A")},
                                            {"Drums/Sixteen byte dir/", {}},
                                            {"Drums/None/", {}}}));
}

TEST_F(BetweenVolumes, NothingIsCopiedThatCouldNotBeDeleted) {
  const TemporaryFolder folder;
  const std::string image = folder.path("taken.hda");
  volumeOfTrees().writeTo(image);
  const OtherProgram other(image);
  const EMU3FilesystemPtr reader = EMU3Filesystem::initWithURL(image, MountRules::guarded);
  const auto operation = to_->manyItems();
  operation->moveFile(fileNamed(reader->rootDirectory(), "KICK"), reader->rootDirectory(), to_.root(),
                      reader);
  operation->copyFile(fileNamed(reader->rootDirectory(), "KICK"), to_.root(), reader);
  const Ends ends = endsOf(*operation);
  EXPECT_TRUE(ends.at(0).starts_with("KICK: Image is read-only")) << ends[0];
  EXPECT_EQ(ends.at(1), "KICK") << "who only reads claims nothing";
  EXPECT_EQ(to_.root()->files().size(), 1U);
}

TEST_F(BetweenVolumes, IncompleteContentsStayWhereTheyAre) {
  ImageBuilder image = volumeOfTrees();
  FolderBuilder root = image.root();
  root.addFile("CUT", patternBytes(3000, 9));
  image.resize((image.slotBlock(8) + 2) * kBlockBytes);
  const GuardedVolume cut{std::move(image)};
  const auto operation = to_->manyItems();
  operation->moveFile(cut.file("CUT"), cut.root(), to_.root(), cut.filesystem());
  operation->moveFile(cut.file("KICK"), cut.root(), to_.root(), cut.filesystem());
  EXPECT_EQ(endsOf(*operation), (Ends{"CUT: File contents are incomplete", "KICK"}));
  EXPECT_EQ(namesOf(cut.root()->files()), (std::vector<std::string>{"Sixteen bytes of", "CUT"}));
  EXPECT_EQ(namesOf(to_.root()->files()), std::vector<std::string>{"KICK"});
}

TEST_F(BetweenVolumes, StoppedMoveHasEachFileInOnePlace) {
  const auto operation = to_->manyItems();
  operation->moveFolder(drums(), to_.root(), ExistingFolder::used, from_.filesystem());
  std::size_t began = 0;
  ItemsWatcher watcher;
  watcher.began = [&](std::size_t) { ++began; };
  watcher.isToStop = [&] { return began == 2; };
  EXPECT_EQ(endsOf(*operation, watcher), (Ends{"A"}));
  EXPECT_EQ(namesOf(drums()->files()), std::vector<std::string>{"B"});
  EXPECT_EQ(contentsBelow(to_), (Contents{{"Drums/", {}}, {"Drums/A", patternBytes(5000, 3)}}));
}

TEST_F(BetweenVolumes, OneImageOpenedTwiceIsOneVolume) {
  const EMU3FilesystemPtr again = EMU3Filesystem::initWithURL(from_.imagePath(), MountRules::guarded);
  const EMU3DirectoryPtr other = folderNamed(from_.root(), "Other");
  const auto operation = from_->manyItems();
  operation->moveFile(fileNamed(again->rootDirectory(), "KICK"), again->rootDirectory(), other, again);
  EXPECT_EQ(operation->progress().bytes, 0U) << "moved by its entry";
  runWell(*operation);
  EXPECT_EQ(namesOf(other->files()), (std::vector<std::string>{"X", "KICK"}));
}

TEST_F(BetweenVolumes, FileThatHasLeftItsFolderIsNotMoved) {
  const EMU3FilePtr file = from_.file("KICK");
  const auto operation = to_->manyItems();
  operation->moveFile(file, from_.root(), to_.root(), from_.filesystem());
  operation->moveFolder(drums(), to_.root(), ExistingFolder::used, from_.filesystem());
  ASSERT_TRUE(from_->deleteFile(file, from_.root()));
  ASSERT_TRUE(from_->deleteDirectory(drums(), from_.root()));
  const Ends ends = endsOf(*operation);
  EXPECT_EQ(ends.size(), 7U);
  for (const std::string &end : ends)
    EXPECT_TRUE(end.ends_with(": Dentry block not found")) << end;
  EXPECT_TRUE(to_.root()->files().empty());
  EXPECT_TRUE(to_.root()->subdirectories().empty());
}

TEST(BetweenVolumesOfOtherRules, BareOnesTakeTheNameAndTheContents) {
  const GuardedVolume from{volumeOfTrees()};
  const MountedVolume to(emptyVolume(), MountRules::bare);
  const auto operation = to->manyItems();
  operation->moveFolder(folderNamed(from.root(), "Drums"), to.root(), ExistingFolder::used,
                        from.filesystem());
  runWell(*operation);
  EXPECT_EQ(contentsBelow(to, "Drums").at("B"), patternBytes(512, 4));
  EXPECT_EQ(namesOf(from.root()->subdirectories()), std::vector<std::string>{"Other"});
}

// As deep as a test has time for; the depth is no matter to the stack.
TEST(DeepTrees, AreCopiedMovedAndDeletedWithoutADeepStack) {
  constexpr std::size_t depth = 1500;
  ImageBuilder image({.sizeBytes = 4 * kMiB, .slotSizeBlocks = 8, .directoryBlocks = 2 * depth + 50});
  FolderBuilder folder = image.root();
  for (std::size_t level = 0; level < depth; ++level)
    folder = folder.addFolder("D");
  folder.addFile("END", patternBytes(10, 1));
  const GuardedVolume from{std::move(image)};
  const GuardedVolume to{
      ImageBuilder({.sizeBytes = 4 * kMiB, .slotSizeBlocks = 8, .directoryBlocks = 2 * depth})};
  constexpr std::size_t stack = 256 * kKiB;
  runOnSmallStack(stack, [&] {
    const EMU3DirectoryPtr top = from.root()->subdirectories().at(0);
    const auto copies = from->manyItems();
    copies->copyFolder(top, from.root(), ExistingFolder::doubled);
    runWell(*copies);
    const auto moves = to->manyItems();
    moves->moveFolder(top, to.root(), ExistingFolder::used, from.filesystem());
    runWell(*moves);
    EXPECT_EQ(directoriesInPreOrder(from.root()).size(), depth + 1);
    EXPECT_EQ(directoriesInPreOrder(to.root()).size(), depth + 1);
    EXPECT_EQ(namesOf(directoriesInPreOrder(to.root()).back()->files()), std::vector<std::string>{"END"});
    const auto deletions = to->manyItems();
    deletions->deleteFolder(to.root()->subdirectories().at(0), to.root());
    runWell(*deletions);
    EXPECT_TRUE(to.root()->subdirectories().empty());
  });
}

} // namespace
} // namespace tessary::test
