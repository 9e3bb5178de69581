// The I/O queue and the main thread at work on one volume, and on one image opened twice. ThreadSanitizer
// finds accesses without a lock; a fresh reading of the image at the end finds what was lost.

#include "tests/reliability/VolumeModel.h"
#include "tests/support/HostFiles.h"
#include "tests/support/MountedVolume.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <random>

namespace tessary::test {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kFolders = 6;
constexpr int kRounds = 250;

/// What the successful operations say about the files that one thread owns, by their unique names.
class Ledger {
public:
  void isIn(const std::string &name, const EMU3DirectoryPtr &folder) { places_[name] = folder; }
  void isGone(const std::string &name) { places_.erase(name); }
  bool empty() const { return places_.empty(); }
  template <typename Random> std::string any(Random &random) const {
    return std::next(places_.begin(), static_cast<long>(random() % places_.size()))->first;
  }
  const EMU3DirectoryPtr &placeOf(const std::string &name) const { return places_.at(name); }
  const std::map<std::string, EMU3DirectoryPtr> &places() const { return places_; }

private:
  std::map<std::string, EMU3DirectoryPtr> places_;
};

EMU3FilePtr liveFileNamed(const EMU3DirectoryPtr &folder, const std::string &name) {
  for (const EMU3FilePtr &file : folder->allFiles()) {
    if (file->name() == name) return file;
  }
  return nullptr;
}

class TwoThreads : public testing::Test {
protected:
  TwoThreads() {
    ImageBuilder image({.sizeBytes = 24 * kMiB, .slotSizeBlocks = 16});
    for (int i = 0; i < kFolders; ++i)
      image.root().addFolder("D" + std::to_string(i), {.blockCount = 7});
    for (int i = 0; i < 8; ++i)
      image.root().addFile("ROOT" + std::to_string(i), patternBytes(3000, 77));
    image.writeTo(path_);
    for (int i = 0; i < 4; ++i) {
      writeBytes(folder_.path("host" + std::to_string(i)),
                 patternBytes(2000 + 3000U * static_cast<unsigned>(i), 5));
    }
  }

  std::string imported(const std::string &name) const {
    const std::string path = folder_.path(name + ".e4b");
    writeBytes(path, contentsOf({name, 9, 4000}));
    return path;
  }

  // One change by the queue's thread, on files of its own in folders that may be going away.
  void queueStep(EMU3Filesystem &volume, const std::vector<EMU3DirectoryPtr> &folders, std::mt19937 &random,
                 Ledger &ledger, int serial) {
    const EMU3DirectoryPtr folder = folders[random() % folders.size()];
    const unsigned dice = random() % 8;
    if (dice < 4 || ledger.empty()) {
      const std::string name = "Q" + std::to_string(serial);
      if (volume.importFileAtURL(imported(name), folder)) ledger.isIn(name, folder);
      return;
    }
    const std::string name = ledger.any(random);
    const EMU3DirectoryPtr place = ledger.placeOf(name);
    const EMU3FilePtr file = liveFileNamed(place, name);
    if (!file) return ledger.isGone(name); // its folder was deleted
    volume.populateBankMetadata(file);
    if (dice == 4 && volume.deleteFile(file, place)) ledger.isGone(name);
    if (dice >= 5 && volume.moveFile(file, place, folder)) ledger.isIn(name, folder);
  }

  // What a view does on the main thread.
  void readEverything(EMU3Filesystem &volume) {
    std::size_t characters = 0;
    for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(volume.rootDirectory())) {
      characters += folder->name().size() + folder->description().size() + folder->totalFileCount();
      for (const EMU3FilePtr &file : folder->allFiles()) {
        characters +=
            file->description().size() + file->bankDetails().sampleCount + file->fields().name.size();
      }
    }
    EXPECT_GT(characters, volume.usedBlocks() == 0 ? 1U : 0U);
  }

  static void waitForQueues() {
    while (SerialQueue::pendingBlocks() > 0)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }

  // Every file of the ledger whose folder still stands is on the image, whole; no file of a folder that was
  // deleted is.
  void expectKept(const VolumeModel &found, const Ledger &ledger, const EMU3DirectoryPtr &root) {
    for (const auto &[name, folder] : ledger.places()) {
      if (folder != root && !root->containsSubdirectory(folder)) continue;
      const auto place = found.folders.find(folder == root ? "/" : folder->name());
      ASSERT_NE(place, found.folders.end()) << name;
      EXPECT_TRUE(place->second.contains({name, 9, 4000})) << name << " in " << folder->name();
    }
  }

  TemporaryFolder folder_;
  std::string path_ = folder_.path("volume.hda");
};

TEST_F(TwoThreads, NoChangeIsLostWhileBothChangeTheVolume) {
  const EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(path_, MountRules::guarded);
  const EMU3DirectoryPtr root = volume->rootDirectory();
  const std::vector<EMU3DirectoryPtr> folders = root->subdirectories();
  auto ledger = std::make_shared<Ledger>();
  for (int i = 0; i < kRounds; ++i) {
    volume->ioQueue().async([this, volume, folders, ledger, i] {
      std::mt19937 random(static_cast<unsigned>(i));
      queueStep(*volume, folders, random, *ledger, i);
    });
  }
  std::mt19937 random(99);
  std::map<EMU3FilePtr, std::string> renamed;
  const std::vector<EMU3FilePtr> rootFiles = root->files();
  Clock::duration longest{};
  int changes = 0;
  while (SerialQueue::pendingBlocks() > 0) {
    const auto begin = Clock::now();
    const EMU3FilePtr file = rootFiles[random() % rootFiles.size()];
    const std::string name = "M" + std::to_string(changes);
    if (volume->renameFile(file, name, root)) renamed[file] = name;
    longest = std::max(longest, Clock::now() - begin);
    readEverything(*volume);
    if (changes % 20 == 5) volume->createDirectoryNamed("N" + std::to_string(changes), folders[0]);
    if (changes % 60 == 30) volume->deleteDirectory(folders[1 + random() % (kFolders - 1)], root);
    if (changes % 10 == 3) volume->exportFile(file, folder_.path("out.E4B"));
    ++changes;
  }
  waitForQueues();
  const VolumeModel found = modelOf(*readAnew(path_));
  EXPECT_EQ(found, modelOf(*volume)) << "the tree is what the image holds";
  expectKept(found, *ledger, root);
  for (const auto &[file, name] : renamed)
    EXPECT_EQ(file->name(), name);
  for (const VolumeFinding &finding : volume->check())
    EXPECT_FALSE(finding.isHarm() && !finding.kind.starts_with("harm-bare-")) << finding.message;
  std::printf("%d queued operations, %d rounds on the main thread, longest wait %lld us\n", kRounds, changes,
              static_cast<long long>(std::chrono::duration_cast<std::chrono::microseconds>(longest).count()));
}

TEST_F(TwoThreads, ImageOpenedAgainWhileTheFirstStillWorks) {
  auto queueLedger = std::make_shared<Ledger>();
  Ledger mainLedger;
  EMU3FilesystemPtr first = EMU3Filesystem::initWithURL(path_, MountRules::guarded);
  const std::vector<EMU3DirectoryPtr> firstFolders = first->rootDirectory()->subdirectories();
  for (int i = 0; i < kRounds; ++i) {
    first->ioQueue().async([this, first, firstFolders, queueLedger, i] {
      std::mt19937 random(static_cast<unsigned>(i));
      queueStep(*first, firstFolders, random, *queueLedger, i);
    });
  }
  const EMU3FilesystemPtr second = EMU3Filesystem::initWithURL(path_, MountRules::guarded);
  first.reset(); // from here on the queued blocks are its only owners
  const std::vector<EMU3DirectoryPtr> folders = second->rootDirectory()->subdirectories();
  std::mt19937 random(4);
  for (int i = 0; SerialQueue::pendingBlocks() > 0; ++i) {
    const EMU3DirectoryPtr folder = folders[random() % folders.size()];
    const std::string name = "S" + std::to_string(i);
    if (mainLedger.places().size() < 60 && second->importFileAtURL(imported(name), folder)) {
      mainLedger.isIn(name, folder);
    }
    if (!mainLedger.empty() && i % 3 == 0) {
      const std::string old = mainLedger.any(random);
      const EMU3DirectoryPtr place = mainLedger.placeOf(old);
      if (second->deleteFile(liveFileNamed(place, old), place)) mainLedger.isGone(old);
    }
    readEverything(*second);
  }
  waitForQueues();
  const EMU3FilesystemPtr fresh = readAnew(path_);
  const VolumeModel found = modelOf(*fresh);
  std::size_t expected = 8;
  for (const auto &[name, folder] : mainLedger.places()) {
    EXPECT_TRUE(found.folders.at(folder->name()).contains({name, 9, 4000})) << name;
    ++expected;
  }
  for (const auto &[name, folder] : queueLedger->places()) {
    EXPECT_TRUE(found.folders.at(folder->name()).contains({name, 9, 4000})) << name;
    ++expected;
  }
  std::size_t count = 0;
  for (const auto &[folder, files] : found.folders)
    count += files.size();
  EXPECT_EQ(count, expected) << "nothing deleted came back";
  for (const VolumeFinding &finding : fresh->check())
    EXPECT_FALSE(finding.isHarm() && !finding.kind.starts_with("harm-bare-")) << finding.message;
}

TEST_F(TwoThreads, LastOwnerMayBeAQueuedBlock) {
  for (int round = 0; round < 50; ++round) {
    EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(path_);
    SerialQueue *const queue = &volume->ioQueue();
    const auto released = std::make_shared<std::promise<void>>();
    queue->async([volume, released] { released->get_future().wait(); });
    volume.reset();
    released->set_value();
  }
  waitForQueues();
}

TEST_F(TwoThreads, ReadersOfContentsRunSideBySide) {
  const EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(path_);
  const std::vector<EMU3FilePtr> files = volume->rootDirectory()->files();
  const Bytes expected = patternBytes(3000, 77);
  std::vector<std::future<bool>> readers;
  for (int reader = 0; reader < 4; ++reader) {
    readers.push_back(std::async(std::launch::async, [&] {
      bool same = true;
      for (const EMU3FilePtr &file : files) {
        const ByteBufferPtr bytes = volume->dataForFile(file);
        same = same && std::equal(bytes->begin(), bytes->end(), expected.begin(), expected.end());
        volume->populateBankMetadata(file);
      }
      return same;
    }));
  }
  for (std::future<bool> &reader : readers)
    EXPECT_TRUE(reader.get());
}

} // namespace
} // namespace tessary::test
