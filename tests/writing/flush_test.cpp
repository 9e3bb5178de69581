// What a change writes is handed to the host at once: seen where the engine asks the host to write back.

#include "tessary/ItemsOperation.h"
#include "tests/support/FlushRecorder.h"
#include "tests/writing/WritableVolume.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <optional>
#include <set>
#include <tuple>

#include <sys/mman.h>
#include <unistd.h>

namespace tessary::test {
namespace {

// The parts lie 64 KiB apart, so that the flush of one never reaches another, since it reaches the beginning
// of the page. The table is in blocks 128 to 191; a block's mark in table block 128 + block / 256.
ImageBuilder volumeForFlushes() {
  ImageBuilder image({.sizeBytes = 8 * kMiB,
                      .fatStartBlock = 128,
                      .rootDirBlock = 256,
                      .dataAreaBlock = 640,
                      .slotSizeBlocks = 128});
  image.root().addFile("file", patternBytes(600, 1)); // slot 1: blocks 640 and 641
  auto folder = image.root().addFolder("folder", {.blockList = {384}});
  folder.addFile("inside", patternBytes(600, 2)); // slot 2: blocks 768 and 769
  image.root().addFolder("target", {.blockList = {512}});
  image.poke(257 * kBlockBytes, patternBytes(kBlockBytes, 3)); // the next folder's block is cleared first
  image.pokeEntry({320, 0}, rawFileEntry("lost", 0x81, 0, 1, 1, 1, 1));
  return image;
}

struct Change {
  std::string name;
  std::function<bool(WritableVolume &)> make;
  std::set<std::uint64_t> blocks;                         ///< whose bytes it changes
  std::optional<std::set<std::uint64_t>> guardedBlocks{}; ///< the same where the guarded rules change others
};

void PrintTo(const Change &change, std::ostream *out) {
  *out << change.name;
}

EMU3DirectoryPtr folderOf(const WritableVolume &volume, const char *name) {
  return folderNamed(volume.root(), name);
}

// New contents go into slot 3, from block 896 on.
std::vector<Change> changes() {
  return {
      {"Import",
       [](WritableVolume &volume) {
         return volume->importFileAtURL(volume.hostFile("new", patternBytes(1300, 4)),
                                        folderOf(volume, "folder"));
       },
       {896, 897, 898, 131, 384}},
      {"ImportOverTwoSlots",
       [](WritableVolume &volume) {
         return volume->importFileAtURL(volume.hostFile("new", patternBytes(129 * kBlockBytes, 4)),
                                        folderOf(volume, "folder"));
       },
       [] {
         std::set<std::uint64_t> blocks{131, 132, 384};
         for (std::uint64_t block = 896; block < 896 + 129; ++block)
           blocks.insert(block);
         return blocks;
       }()},
      {"Restore",
       [](WritableVolume &volume) {
         return volume->restoreFileAtURL(volume.hostFile("backup", patternBytes(100, 4)),
                                         rawFileEntry("sixteen bytes...", 0x81, 1, 1, 1, 1, 100),
                                         folderOf(volume, "target")) != nullptr;
       },
       {896, 131, 512}},
      {"Copy",
       [](WritableVolume &volume) {
         return volume->copyFile(fileNamed(volume.root(), "file"), folderOf(volume, "target"));
       },
       {896, 897, 131, 512}},
      {"Move",
       [](WritableVolume &volume) {
         return volume->moveFile(fileNamed(volume.root(), "file"), volume.root(), folderOf(volume, "target"));
       },
       {896, 897, 131, 512, 256, 130},
       std::set<std::uint64_t>{512, 256}}, // the entries alone
      {"Delete",
       [](WritableVolume &volume) {
         return volume->deleteFile(fileNamed(volume.root(), "file"), volume.root());
       },
       {256, 130}},
      {"Rename",
       [](WritableVolume &volume) {
         return volume->renameFile(fileNamed(volume.root(), "file"), "renamed", volume.root());
       },
       {256}},
      {"CreateFolder",
       [](WritableVolume &volume) { return volume->createDirectoryNamed("new", folderOf(volume, "target")); },
       {257, 512},
       std::set<std::uint64_t>{512}}, // guarded, its block was empty
      {"DeleteFolder",
       [](WritableVolume &volume) {
         return volume->deleteDirectory(folderOf(volume, "folder"), volume.root());
       },
       {131, 384, 256}},
      {"RecoverFolder",
       [](WritableVolume &volume) { return volume->recoverFolder(320, "Back", folderOf(volume, "target")); },
       {512}},
  };
}

class Flushing : public testing::TestWithParam<std::tuple<Change, MountRules>> {};

TEST_P(Flushing, HandsEveryBlockThatWasWrittenToTheHost) {
  const auto &[change, rules] = GetParam();
  WritableVolume volume(volumeForFlushes(), rules);
  const Bytes before = readBytes(volume.imagePath());
  const FlushRecorder recorder;
  ASSERT_TRUE(change.make(volume));
  const Bytes after = readBytes(volume.imagePath());
  const Bytes flushed = recorder.flushed(volume.imagePath(), before);

  std::set<std::uint64_t> changed;
  std::set<std::uint64_t> kept; // blocks that the host was not given as they are now
  for (std::size_t at = 0; at < after.size(); ++at) {
    if (after[at] != before[at]) changed.insert(at / kBlockBytes);
    if (after[at] != flushed[at]) kept.insert(at / kBlockBytes);
  }
  EXPECT_EQ(changed,
            rules == MountRules::guarded ? change.guardedBlocks.value_or(change.blocks) : change.blocks);
  EXPECT_EQ(kept, std::set<std::uint64_t>());
}

TEST_P(Flushing, AsksForWholePagesAndIsNotRefused) {
  const auto &[change, rules] = GetParam();
  WritableVolume volume(volumeForFlushes(), rules);
  const FlushRecorder recorder;
  ASSERT_TRUE(change.make(volume));
  const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
  for (const Flush &flush : recorder.flushes()) {
    EXPECT_EQ(flush.address % page, 0U);
    EXPECT_EQ(flush.result, 0);
    EXPECT_EQ(flush.flags & (MS_ASYNC | MS_SYNC), flush.flags);
  }
}

std::string nameOfCase(const testing::TestParamInfo<std::tuple<Change, MountRules>> &info) {
  return std::get<0>(info.param).name + (std::get<1>(info.param) == MountRules::guarded ? "Guarded" : "Bare");
}

INSTANTIATE_TEST_SUITE_P(Changes, Flushing,
                         testing::Combine(testing::ValuesIn(changes()),
                                          testing::Values(MountRules::bare, MountRules::guarded)),
                         nameOfCase);

// One that only reads has nothing to hand over.
TEST(FlushingNothing, ReadingAndRefusedChangesFlushNothing) {
  const WritableVolume volume(volumeForFlushes(), MountRules::guarded);
  const FlushRecorder recorder;
  const EMU3FilePtr file = fileNamed(volume.root(), "file");
  EXPECT_NE(volume->dataForFile(file), nullptr);
  EXPECT_TRUE(volume->populateBankMetadata(file));
  EXPECT_FALSE(volume->renameFile(file, "", volume.root()));
  EXPECT_FALSE(volume->createDirectoryNamed("", volume.root()));
  EXPECT_FALSE(volume->check().empty()); // the lost folder
  EXPECT_TRUE(volume->reload());
  EXPECT_TRUE(recorder.flushes().empty());
}

// ---- Many items

std::size_t barriersOf(const FlushRecorder &recorder) {
  const std::vector<Flush> flushes = recorder.flushes();
  return static_cast<std::size_t>(std::count_if(flushes.begin(), flushes.end(),
                                                [](const Flush &flush) { return flush.flags == MS_SYNC; }));
}

class SharedBarriers : public testing::Test {
protected:
  SharedBarriers() : volume_(layout(), MountRules::guarded) {}

  static ImageBuilder layout() {
    ImageBuilder image({.sizeBytes = 8 * kMiB, .slotSizeBlocks = 8});
    image.root().addFolder("folder", {.blockCount = 7});
    return image;
  }
  void importFiles(std::size_t count) {
    const auto operation = volume_->manyItems();
    for (std::size_t i = 0; i < count; ++i)
      operation->importFile(volume_.hostFile("file " + std::to_string(i), patternBytes(1000, 1)), folder());
    run(*operation);
  }
  void run(ItemsOperation &operation) {
    ItemsWatcher watcher;
    watcher.ended = [](const ItemEnd &end) { EXPECT_FALSE(end.error) << end.item << end.error->message; };
    operation.run(watcher);
  }
  EMU3DirectoryPtr folder() const { return folderOf(volume_, "folder"); }

  const WritableVolume volume_;
};

TEST_F(SharedBarriers, FiftyImportsWaitTwiceForTheMedium) {
  const FlushRecorder recorder;
  importFiles(50);
  EXPECT_EQ(barriersOf(recorder), 2U); // contents and marks; entries
  EXPECT_EQ(folder()->files().size(), 50U);
}

TEST_F(SharedBarriers, FiftyDeletionsWaitTwiceForTheMedium) {
  importFiles(50);
  const auto operation = volume_->manyItems();
  for (const EMU3FilePtr &file : folder()->files())
    operation->deleteFile(file, folder());
  const FlushRecorder recorder;
  run(*operation);
  EXPECT_EQ(barriersOf(recorder), 2U); // entries; marks
  EXPECT_TRUE(folder()->files().empty());
}

TEST_F(SharedBarriers, MovesOfSeveralFilesWaitTwiceForTheMedium) {
  importFiles(10);
  const auto operation = volume_->manyItems();
  for (const EMU3FilePtr &file : folder()->files())
    operation->moveFile(file, folder(), volume_.root());
  const FlushRecorder recorder;
  run(*operation);
  EXPECT_EQ(barriersOf(recorder), 2U); // new entries; old ones
  EXPECT_EQ(volume_.root()->files().size(), 10U);
}

TEST_F(SharedBarriers, TogetherTheyStoreTheVeryBytesThatTheyStoreOneByOne) {
  const WritableVolume single(layout(), MountRules::guarded);
  for (int i = 0; i < 50; ++i) {
    const std::string path = single.hostFile("file " + std::to_string(i), patternBytes(1000, 1));
    ASSERT_TRUE(single->importFileAtURL(path, folderOf(single, "folder")));
  }
  importFiles(50);
  EXPECT_EQ(readBytes(volume_.imagePath()), readBytes(single.imagePath()));
}

TEST_F(SharedBarriers, OneThatFailsKeepsNoOther) {
  const auto operation = volume_->manyItems();
  operation->importFile(volume_.hostFile("first", patternBytes(10, 1)), folder());
  operation->importFile("/nowhere/missing", folder());
  operation->importFile(volume_.hostFile(" ", patternBytes(10, 1)), folder());
  operation->importFile(volume_.hostFile("last", patternBytes(10, 1)), folder());
  std::vector<std::pair<std::size_t, std::int64_t>> ends;
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) { ends.emplace_back(end.item, end.error ? end.error->code : 0); };
  operation->run(watcher);
  EXPECT_EQ(ends, (std::vector<std::pair<std::size_t, std::int64_t>>{{0, 0}, {1, ENOENT}, {2, 6}, {3, 0}}));
  EXPECT_EQ(namesOf(folder()->files()), (std::vector<std::string>{"first", "last"}));
}

TEST_F(SharedBarriers, FileThatIsAskedForTwiceIsMovedOnce) {
  importFiles(1);
  const EMU3FilePtr file = folder()->files().front();
  ASSERT_TRUE(volume_->createDirectoryNamed("other", volume_.root()));
  const auto operation = volume_->manyItems();
  operation->moveFile(file, folder(), volume_.root());
  operation->moveFile(file, folder(), folderOf(volume_, "other"));
  std::vector<std::int64_t> codes;
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) { codes.push_back(end.error ? end.error->code : 0); };
  operation->run(watcher);
  EXPECT_EQ(codes, (std::vector<std::int64_t>{0, kErrorEntryNotFound}));
  EXPECT_EQ(namesOf(volume_.root()->files()), std::vector<std::string>{"file 0"});
  EXPECT_TRUE(folder()->files().empty());
  EXPECT_TRUE(folderOf(volume_, "other")->files().empty());
  EXPECT_EQ(namesOf(volume_.openedAnew()->rootDirectory()->subdirectories().back()->files()),
            std::vector<std::string>());
}

TEST_F(SharedBarriers, RoomThatEarlierItemsMakeIsUsedByLaterOnes) {
  const auto filling = volume_->manyItems();
  const std::uint64_t half = volume_->freeBlocks() / 2 * kBlockBytes;
  filling->importFile(volume_.hostFile("half", Bytes(half)), volume_.root());
  filling->importFile(volume_.hostFile("most", Bytes(half - 100 * kBlockBytes)), volume_.root());
  run(*filling);
  const EMU3FilePtr most = fileNamed(volume_.root(), "most");
  const auto operation = volume_->manyItems();
  operation->deleteFile(most, volume_.root());
  operation->importFile(volume_.hostFile("next", Bytes(half - 100 * kBlockBytes)), volume_.root());
  run(*operation);
  EXPECT_EQ(namesOf(volume_.root()->files()), (std::vector<std::string>{"half", "next"}));
}

TEST_F(SharedBarriers, StoppedWorkBeginsNoOtherItem) {
  const auto operation = volume_->manyItems();
  for (int i = 0; i < 10; ++i)
    operation->importFile(volume_.hostFile("file " + std::to_string(i), patternBytes(10, 1)), folder());
  std::size_t began = 0;
  std::size_t ended = 0;
  ItemsWatcher watcher;
  watcher.began = [&](std::size_t) { ++began; };
  watcher.ended = [&](const ItemEnd &end) { ended += end.error ? 0U : 1U; };
  watcher.isToStop = [&] { return began == 4; };
  operation->run(watcher);
  EXPECT_EQ(began, 4U);
  EXPECT_EQ(ended, 4U);
  EXPECT_EQ(folder()->files().size(), 4U);
}

TEST_F(SharedBarriers, ProgressIsToldInBytes) {
  const auto operation = volume_->manyItems();
  for (int i = 0; i < 3; ++i)
    operation->importFile(volume_.hostFile("file " + std::to_string(i), patternBytes(1000, 1)), folder());
  ItemsProgress last;
  ItemsWatcher watcher;
  watcher.progressed = [&](const ItemsProgress &progress) { last = progress; };
  operation->run(watcher);
  EXPECT_EQ(last.items, 3U);
  EXPECT_EQ(last.itemsEnded, 3U);
  EXPECT_EQ(last.bytes, 3000U);
  EXPECT_EQ(last.bytesDone, 3000U);
}

} // namespace
} // namespace tessary::test
