// One image opened more than once in one process, as when it is opened again while its earlier filesystem
// still has work to do.

#include "filesystem/Volume.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/Mappings.h"
#include "tests/writing/RandomSession.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <set>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace tessary::test {
namespace {

using Names = std::vector<std::string>;

constexpr const char *kOtherRulesError =
    "Error Domain=com.tessary.error Code=2 \"The image is mounted with other rules\"";

ImageBuilder plainVolume() {
  ImageBuilder image(smallLayout());
  image.root().addFile("file", patternBytes(600, 1));
  image.root().addFile("second", patternBytes(600, 2));
  image.root().addFolder("folder", {.blockList = {5}}).addFile("inside", patternBytes(600, 3));
  return image;
}

// Whether nobody has the image open for changes.
bool isUnclaimed(const std::string &path) {
  const int descriptor = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
  const bool locked = ::flock(descriptor, LOCK_EX | LOCK_NB) == 0;
  ::close(descriptor);
  return locked;
}

// Whether the change waits as long as somebody else holds the lock.
bool waitsFor(FairSharedMutex &lock, const std::function<void()> &change) {
  std::future<void> done;
  bool waited = false;
  {
    const WriteLock held(lock);
    done = std::async(std::launch::async, change);
    waited = done.wait_for(std::chrono::milliseconds(100)) == std::future_status::timeout;
  }
  done.get();
  return waited;
}

// --- Guarded: one volume, one tree -----------------------------------------------------------------

class GuardedPair : public testing::Test {
protected:
  explicit GuardedPair(ImageBuilder image = plainVolume())
      : volume(std::move(image), MountRules::guarded), other(openedAgain()) {}

  EMU3FilesystemPtr openedAgain() const { return mounted(volume.imagePath(), MountRules::guarded); }
  EMU3Filesystem &mine() { return *volume.filesystem(); }
  EMU3DirectoryPtr root() { return volume.root(); }
  bool import(EMU3Filesystem &filesystem, const std::string &name, const EMU3DirectoryPtr &folder,
              const Bytes &contents = patternBytes(600, 9)) {
    return filesystem.importFileAtURL(volume.hostFile(name, contents), folder);
  }

  WritableVolume volume;
  EMU3FilesystemPtr other;
};

TEST_F(GuardedPair, HasTheSameObjectsInBoth) {
  EXPECT_EQ(other->rootDirectory(), root());
  EXPECT_EQ(mappingsOf(volume.imagePath()).size(), 1U);
}

TEST_F(GuardedPair, ChangeOfOneIsSeenByTheOtherAtOnce) {
  const EMU3FilePtr second = fileNamed(root(), "second");
  const EMU3DirectoryPtr folder = folderNamed(root(), "folder");
  ASSERT_TRUE(other->deleteFile(fileNamed(root(), "file"), root()));
  EXPECT_EQ(namesOf(root()->files()), Names{"second"});
  ASSERT_TRUE(import(*other, "new", root())); // takes the first entry
  EXPECT_EQ(namesOf(root()->files()), (Names{"second", "new"}));
  ASSERT_TRUE(other->renameFile(second, "renamed", root()));
  EXPECT_EQ(second->name(), "renamed");
  ASSERT_TRUE(other->moveFile(second, root(), folder));
  EXPECT_EQ(namesOf(folder->files()), (Names{"inside", "renamed"}));
  ASSERT_TRUE(other->createDirectoryNamed("made", folder));
  EXPECT_EQ(namesOf(folder->subdirectories()), Names{"made"});
  ASSERT_TRUE(other->deleteDirectory(folder, root()));
  EXPECT_TRUE(root()->subdirectories().empty());
}

TEST_F(GuardedPair, WhatOneMadeTheOtherChanges) {
  ASSERT_TRUE(other->createDirectoryNamed("new", root()));
  const EMU3DirectoryPtr made = folderNamed(root(), "new");
  ASSERT_TRUE(import(mine(), "deep", made));
  ASSERT_TRUE(other->renameFile(fileNamed(made, "deep"), "deeper", made));
  ASSERT_TRUE(mine().deleteFile(fileNamed(made, "deeper"), made));
  ASSERT_TRUE(other->deleteDirectory(made, root()));
  EXPECT_EQ(namesOf(volume.openedAnew()->rootDirectory()->subdirectories()), Names{"folder"});
}

TEST_F(GuardedPair, FiguresAreEqual) {
  const Counters before = countersOf(mine());
  EXPECT_EQ(countersOf(*other), before);
  ASSERT_TRUE(import(*other, "new", root(), patternBytes(5000, 1)));
  EXPECT_EQ(countersOf(mine()), (Counters{before.used + 16, before.free - 16})) << "two slots";
  EXPECT_EQ(countersOf(*other), countersOf(mine()));
  ASSERT_TRUE(mine().deleteFile(fileNamed(root(), "new"), root()));
  EXPECT_EQ(countersOf(mine()), before);
  EXPECT_EQ(countersOf(*other), before);
  EXPECT_EQ(other->totalClusters(), mine().totalClusters());
  EXPECT_EQ(other->totalBlocks(), mine().totalBlocks());
}

class GuardedPairOfDefaultGeometry : public GuardedPair {
protected:
  GuardedPairOfDefaultGeometry() : GuardedPair(ImageBuilder(VolumeLayout::zeroHeader(kMiB))) {}
};

TEST_F(GuardedPairOfDefaultGeometry, FiguresAreEqual) {
  const std::uint64_t clusters = mine().totalClusters();
  EXPECT_EQ(countersOf(mine()), (Counters{175, 2048 - 175}));
  ASSERT_TRUE(import(*other, "new", root(), patternBytes(5000, 1)));
  EXPECT_EQ(countersOf(mine()), (Counters{2048, 0})) << "the one slot that there is";
  EXPECT_EQ(countersOf(*other), countersOf(mine()));
  EXPECT_EQ(mine().totalClusters(), clusters);
  EXPECT_EQ(other->totalClusters(), clusters);
}

TEST_F(GuardedPair, NeverHandsOutOneSlotOrOneEntryTwice) {
  for (int turn = 0; turn < 4; ++turn) {
    ASSERT_TRUE(import(mine(), "mine", root()));
    ASSERT_TRUE(import(*other, "other's", root()));
  }
  std::set<std::uint16_t> slots;
  std::set<std::int64_t> places;
  for (const EMU3FilePtr &file : volume.openedAnew()->rootDirectory()->files()) {
    slots.insert(file->startCluster());
    places.insert(file->dentryOffset());
  }
  EXPECT_EQ(slots.size(), 10U);
  EXPECT_EQ(places.size(), 10U);
}

TEST_F(GuardedPair, NeverHandsOutOneFolderBlockTwice) {
  for (int turn = 0; turn < 3; ++turn) {
    ASSERT_TRUE(mine().createDirectoryNamed("mine", root()));
    ASSERT_TRUE(other->createDirectoryNamed("other's", root()));
  }
  std::set<std::int64_t> blocks;
  for (const EMU3DirectoryPtr &folder : volume.openedAnew()->rootDirectory()->subdirectories())
    blocks.insert(folder->blockList().at(0));
  EXPECT_EQ(blocks.size(), 7U);
}

TEST_F(GuardedPair, ThreadsOfBothLoseNothing) {
  const std::string mineFile = volume.hostFile("mine", patternBytes(600, 8));
  const std::string otherFile = volume.hostFile("other's", patternBytes(600, 9));
  const auto importSix = [&](EMU3Filesystem &filesystem, const std::string &path) {
    for (int turn = 0; turn < 6; ++turn)
      EXPECT_TRUE(filesystem.importFileAtURL(path, root()));
  };
  std::thread thread([&] { importSix(*other, otherFile); });
  importSix(mine(), mineFile);
  thread.join();
  EXPECT_EQ(root()->files().size(), 14U);
  std::set<std::uint16_t> slots;
  for (const EMU3FilePtr &file : volume.openedAnew()->rootDirectory()->files())
    slots.insert(file->startCluster());
  EXPECT_EQ(slots.size(), 14U);
}

TEST_F(GuardedPair, ChangesOfBothWaitForOneLock) {
  const std::shared_ptr<Volume> shared = Volume::open(
      volume.imagePath(), MountRules::guarded, ImageClaim::atFirstChange, nullptr); // what stands behind both
  EXPECT_TRUE(waitsFor(shared->lock, [&] { mine().createDirectoryNamed("mine", root()); }));
  EXPECT_TRUE(waitsFor(shared->lock, [&] { other->createDirectoryNamed("other's", root()); }));
  EXPECT_EQ(namesOf(root()->subdirectories()), (Names{"folder", "mine", "other's"}));
}

TEST_F(GuardedPair, OneOpenedLaterSeesTheStateWithoutReadingTheImage) {
  ASSERT_TRUE(mine().renameFile(fileNamed(root(), "file"), "new name", root()));
  ASSERT_TRUE(other->renameDirectory(folderNamed(root(), "folder"), "renamed"));
  ASSERT_TRUE(import(mine(), "empty", root(), {}));
  patchBytes(volume.imagePath(), 4 * kBlockBytes + 15 * 32, newFileEntry("behind the back", 9, 9, 9));
  const EMU3FilesystemPtr third = openedAgain();
  EXPECT_EQ(third->rootDirectory(), root());
  EXPECT_EQ(namesOf(third->rootDirectory()->files()), (Names{"new name", "second", "empty"}));
  EXPECT_EQ(namesOf(third->rootDirectory()->subdirectories()), Names{"renamed"});
  EXPECT_EQ(countersOf(*third), countersOf(mine()));
}

TEST_F(GuardedPair, ReloadOfOneGivesBothTheFreshTree) {
  const EMU3DirectoryPtr before = root();
  patchBytes(volume.imagePath(), 4 * kBlockBytes + 15 * 32, newFileEntry("behind", 9, 9, 9));
  ASSERT_TRUE(other->reload());
  EXPECT_NE(root(), before);
  EXPECT_EQ(other->rootDirectory(), root());
  EXPECT_EQ(namesOf(root()->files()), (Names{"file", "second", "behind"}));
}

TEST_F(GuardedPair, OneThatIsClosedLeavesTheOtherWorking) {
  ASSERT_TRUE(import(*other, "new", root()));
  other.reset();
  EXPECT_FALSE(isUnclaimed(volume.imagePath()));
  ASSERT_TRUE(import(mine(), "mine", root()));
  EXPECT_EQ(namesOf(root()->files()), (Names{"file", "second", "new", "mine"}));
}

TEST_F(GuardedPair, EachHasTheLabelOfThePathThatItWasOpenedBy) {
  const std::string link = volume.folder().path("link.hda");
  std::filesystem::create_symlink("disk.hda", link);
  const std::string hardLink = volume.folder().path("hard.hda");
  std::filesystem::create_hard_link(volume.imagePath(), hardLink);
  for (const std::string &path : {link, hardLink}) {
    const EMU3FilesystemPtr again = mounted(path, MountRules::guarded);
    EXPECT_EQ(again->rootDirectory(), root()) << path;
    EXPECT_EQ(again->imageURL(), path);
  }
  EXPECT_EQ(mounted(link, MountRules::guarded)->volumeLabel(), "link.hda");
  EXPECT_EQ(mine().volumeLabel(), "disk.hda");
}

TEST_F(GuardedPair, HasAQueueEach) {
  EXPECT_NE(&mine().ioQueue(), &other->ioQueue());
}

TEST(GuardedHandles, LastOneEndsTheVolumeAndFreesTheClaim) {
  const TemporaryFolder folder;
  const std::string path = folder.path("disk.hda");
  plainVolume().writeTo(path);
  EMU3FilesystemPtr first = mounted(path, MountRules::guarded);
  EMU3FilesystemPtr second = mounted(path, MountRules::guarded);
  const std::weak_ptr<EMU3Directory> root = first->rootDirectory();
  patchBytes(path, 4 * kBlockBytes + 15 * 32, newFolderEntry("behind", 9)); // the tree does not know it
  first.reset();
  EXPECT_FALSE(root.expired());
  EXPECT_EQ(mappingsOf(path).size(), 1U);
  EXPECT_FALSE(isUnclaimed(path));
  second.reset();
  EXPECT_TRUE(root.expired());
  EXPECT_EQ(mappingsOf(path).size(), 0U);
  EXPECT_TRUE(isUnclaimed(path));
  const EMU3FilesystemPtr again = mounted(path, MountRules::guarded);
  EXPECT_EQ(namesOf(again->rootDirectory()->subdirectories()), (Names{"folder", "behind"}))
      << "read from the image";
}

// --- Guarded: what one gave to something else ------------------------------------------------------

Bytes bankWith(const std::string &preset, std::uint32_t seed) {
  return IffBank().preset(preset).sample("Sample", patternBytes(500, seed)).build();
}

// An image opened twice, an object taken from the first, and its place given to another by the second.
class Stale : public testing::Test {
protected:
  static ImageBuilder image() {
    ImageBuilder builder(smallLayout());
    builder.root().addFile("bank", bankWith("Mine", 1), {.slot = std::uint16_t{3}});
    builder.root().addFile("second", patternBytes(600, 2), {.slot = std::uint16_t{1}});
    builder.root()
        .addFolder("folder", {.blockList = {5}})
        .addFile("inside", patternBytes(600, 3), {.slot = std::uint16_t{2}});
    builder.root().addFolder("target", {.blockList = {6}});
    return builder;
  }

  // From here on nothing may change any more.
  void takeStateAsExpected() {
    volume.expected.poke(0, readBytes(volume.imagePath()));
    counters = countersOf(first());
    tree = listed();
  }
  std::vector<std::string> listed() {
    std::vector<std::string> all;
    for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(root())) {
      all.push_back(folder->description());
      for (const EMU3FilePtr &file : folder->files())
        all.push_back(file->description());
    }
    return all;
  }

  // Through either filesystem the operation fails with code 5, and image, tree, figures and host stay as
  // they are.
  void expectRefused(const std::function<bool(EMU3Filesystem &, EMU3Error *)> &operation) {
    const Names hostBefore = namesIn(host.path());
    for (EMU3Filesystem *const filesystem : {&first(), second.get()}) {
      EMU3Error error;
      EXPECT_FALSE(operation(*filesystem, &error));
      EXPECT_EQ(error.description(), kNoEntryError);
      EXPECT_FALSE(operation(*filesystem, nullptr));
    }
    EXPECT_TRUE(volume.imageIsAsExpected());
    EXPECT_EQ(countersOf(first()), counters);
    EXPECT_EQ(listed(), tree);
    EXPECT_EQ(namesIn(host.path()), hostBefore);
  }

  EMU3Filesystem &first() { return *volume.filesystem(); }
  EMU3DirectoryPtr root() { return volume.root(); }

  WritableVolume volume{image(), MountRules::guarded};
  EMU3FilesystemPtr second = mounted(volume.imagePath(), MountRules::guarded);
  TemporaryFolder host;
  Counters counters;
  std::vector<std::string> tree;
};

enum class Cache { empty, full };

std::string nameOfCache(const testing::TestParamInfo<Cache> &info) {
  return info.param == Cache::full ? "Cached" : "NotCached";
}

class StaleFile : public Stale, public testing::WithParamInterface<Cache> {
protected:
  void SetUp() override {
    if (GetParam() == Cache::full) {
      ASSERT_NE(first().dataForFile(bank), nullptr);
      ASSERT_TRUE(first().populateBankMetadata(bank));
    }
    cached = bank->cachedData();
    details = bank->bankDetails();
    ASSERT_TRUE(second->deleteFile(fileNamed(second->rootDirectory(), "bank"), second->rootDirectory()));
    const std::string path = volume.hostFile("secret", bankWith("Foreign", 2));
    ASSERT_TRUE(second->importFileAtURL(path, second->rootDirectory()));
    const EMU3FilePtr secret = fileNamed(root(), "secret");
    ASSERT_EQ(placeOf(*secret), placeOf(*bank)); // the same entry
    ASSERT_EQ(secret->startCluster(), bank->startCluster());
    takeStateAsExpected();
  }
  void TearDown() override {
    EXPECT_EQ(bank->cachedData(), cached);
    EXPECT_EQ(bank->bankDetails(), details);
    EXPECT_EQ(contentsOf(first(), fileNamed(root(), "secret")), bankWith("Foreign", 2));
  }

  EMU3FilePtr bank = fileNamed(root(), "bank");
  ByteBufferPtr cached;
  BankDetails details;
};

INSTANTIATE_TEST_SUITE_P(Contents, StaleFile, testing::Values(Cache::empty, Cache::full), nameOfCache);

TEST_P(StaleFile, IsInNoFolder) {
  EXPECT_EQ(bank->folder(), nullptr);
}

TEST_P(StaleFile, IsNotExported) {
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.exportFile(bank, host.path("bank.E4B"), error);
  });
}

TEST_P(StaleFile, ExportLeavesAnEarlierHostFileAsItIs) {
  writeText(host.path("bank.E4B"), "earlier");
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.exportFile(bank, host.path("bank.E4B"), error);
  });
  EXPECT_EQ(readText(host.path("bank.E4B")), "earlier");
}

TEST_P(StaleFile, DataIsNotRead) {
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.dataForFile(bank, error) != nullptr;
  });
}

TEST_P(StaleFile, ContentsAreNotRead) {
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.contentsOfFile(bank, error) != nullptr;
  });
}

TEST_P(StaleFile, IsNotAnalysed) {
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.populateBankMetadata(bank, error);
  });
}

TEST_P(StaleFile, IsNotAnalysedAnew) {
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.refreshBankMetadata(bank, error);
  });
}

TEST_P(StaleFile, SamplesAreNotListed) {
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return !filesystem.samplesFromBankFile(bank, error).empty();
  });
}

TEST_P(StaleFile, SampleIsNotExported) {
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.exportSampleAtIndex(0, bank, host.path("sample.wav"), error);
  });
}

TEST_P(StaleFile, IsNotCopied) {
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.copyFile(bank, folderNamed(root(), "target"), error);
  });
}

TEST_P(StaleFile, IsNotMoved) {
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.moveFile(bank, root(), folderNamed(root(), "target"), error);
  });
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.moveFile(bank, root(), root(), error);
  });
}

TEST_P(StaleFile, IsNotRenamed) {
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.renameFile(bank, "new", root(), error);
  });
  EXPECT_EQ(bank->name(), "bank");
}

TEST_P(StaleFile, IsNotDeleted) {
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.deleteFile(bank, root(), error);
  });
}

// A folder deleted by the second, and another made in its entry and its block.
class StaleFolder : public Stale {
protected:
  void SetUp() override {
    const EMU3DirectoryPtr secondRoot = second->rootDirectory();
    ASSERT_TRUE(second->deleteDirectory(folderNamed(secondRoot, "folder"), secondRoot));
    ASSERT_TRUE(second->createDirectoryNamed("another", secondRoot));
    const EMU3DirectoryPtr another = folderNamed(root(), "another");
    ASSERT_EQ(placeOf(*another), placeOf(*folder)); // the same entry
    ASSERT_EQ(another->blockList(), folder->blockList());
    ASSERT_TRUE(second->importFileAtURL(volume.hostFile("theirs", patternBytes(700, 4)), another));
    takeStateAsExpected();
  }
  void TearDown() override {
    EXPECT_TRUE(folder->files().empty());
    EXPECT_TRUE(folder->subdirectories().empty());
    EXPECT_EQ(folder->name(), "folder");
  }

  EMU3DirectoryPtr folder = folderNamed(root(), "folder");
  EMU3FilePtr inside = fileNamed(folder, "inside");
};

TEST_F(StaleFolder, TakesNoImportedFile) {
  const std::string path = volume.hostFile("host", bytesOf("x"));
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.importFileAtURL(path, folder, error);
  });
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.restoreFileAtURL(path, newFileEntry("name", 1, 0, 1), folder, error) != nullptr;
  });
}

TEST_F(StaleFolder, TakesNoFileOfTheVolume) {
  const EMU3FilePtr file = fileNamed(root(), "second");
  expectRefused(
      [&](EMU3Filesystem &filesystem, EMU3Error *error) { return filesystem.copyFile(file, folder, error); });
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.moveFile(file, root(), folder, error);
  });
}

TEST_F(StaleFolder, TakesNoFolder) {
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.createDirectoryNamed("new", folder, error);
  });
}

TEST_F(StaleFolder, IsNotDeleted) {
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.deleteDirectory(folder, root(), error);
  });
}

TEST_F(StaleFolder, IsNotRenamed) {
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.renameDirectory(folder, "new", error);
  });
}

TEST_F(StaleFolder, FileThatWasInItIsNeitherReadNorChanged) {
  const EMU3DirectoryPtr target = folderNamed(root(), "target");
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.exportFile(inside, host.path("inside.E4B"), error);
  });
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.dataForFile(inside, error) != nullptr;
  });
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.copyFile(inside, target, error);
  });
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.moveFile(inside, folder, target, error);
  });
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.renameFile(inside, "new", folder, error);
  });
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.deleteFile(inside, folder, error);
  });
  EXPECT_EQ(inside->cachedData(), nullptr);
}

TEST_F(StaleFolder, TakesNoRecoveredFolder) {
  ImageBuilder &image = volume.expected;
  patchBytes(volume.imagePath(), 9 * kBlockBytes, newFileEntry("lost", 9, 9, 9));
  image.pokeEntry({9, 0}, newFileEntry("lost", 9, 9, 9));
  ASSERT_EQ(first().lostFolders().size(), 1U);
  expectRefused([&](EMU3Filesystem &filesystem, EMU3Error *error) {
    return filesystem.recoverFolder(9, "Back", folder, error);
  });
}

// --- Bare: a tree each -----------------------------------------------------------------------------

class BarePair : public testing::Test {
protected:
  bool import(EMU3Filesystem &filesystem, const std::string &name) {
    return filesystem.importFileAtURL(volume.hostFile(name, patternBytes(600, 9)),
                                      filesystem.rootDirectory());
  }

  WritableVolume volume{plainVolume(), MountRules::bare};
  EMU3FilesystemPtr other = mounted(volume.imagePath(), MountRules::bare);
  EMU3DirectoryPtr root = volume.root();
  EMU3DirectoryPtr otherRoot = other->rootDirectory();
};

TEST_F(BarePair, HasObjectsOfItsOwnEach) {
  EXPECT_NE(otherRoot, root);
  EXPECT_EQ(namesOf(otherRoot->files()), namesOf(root->files()));
  for (const EMU3FilePtr &file : otherRoot->files())
    EXPECT_FALSE(root->containsFile(file)) << file->name();
  EXPECT_NE(folderNamed(otherRoot, "folder"), folderNamed(root, "folder"));
}

TEST_F(BarePair, NeitherSeesWhatTheOtherChanged) {
  ASSERT_TRUE(other->deleteFile(fileNamed(otherRoot, "file"), otherRoot));
  ASSERT_TRUE(import(*other, "new"));
  ASSERT_TRUE(other->renameFile(fileNamed(otherRoot, "second"), "renamed", otherRoot));
  EXPECT_EQ(namesOf(root->files()), (Names{"file", "second"}));
  EXPECT_FALSE(volume->createDirectoryNamed("", root)); // nor after an operation of its own
  EXPECT_EQ(namesOf(root->files()), (Names{"file", "second"}));
  EXPECT_EQ(volume.root(), root);
  ASSERT_TRUE(volume->renameFile(fileNamed(root, "file"), "mine", root));
  EXPECT_EQ(namesOf(otherRoot->files()), (Names{"renamed", "new"}));
}

TEST_F(BarePair, FiguresAreItsOwnEach) {
  const Counters before = countersOf(*volume);
  ASSERT_TRUE(import(*other, "new"));
  EXPECT_EQ(countersOf(*volume), before);
  EXPECT_EQ(countersOf(*other), (Counters{before.used + 2, before.free - 2}));
}

TEST_F(BarePair, OneOpenedLaterSeesTheImageAsItIs) {
  ASSERT_TRUE(import(*other, "new"));
  ASSERT_TRUE(other->renameDirectory(folderNamed(otherRoot, "folder"), "renamed")); // in its tree alone
  const EMU3FilesystemPtr third = mounted(volume.imagePath(), MountRules::bare);
  const EMU3FilesystemPtr fresh = volume.openedAnew();
  EXPECT_EQ(namesOf(third->rootDirectory()->files()), namesOf(fresh->rootDirectory()->files()));
  EXPECT_EQ(namesOf(third->rootDirectory()->subdirectories()),
            namesOf(fresh->rootDirectory()->subdirectories()));
  EXPECT_EQ(countersOf(*third), countersOf(*fresh));
}

TEST_F(BarePair, ReloadSeesTheOthersChanges) {
  ASSERT_TRUE(other->deleteFile(fileNamed(otherRoot, "second"), otherRoot));
  ASSERT_TRUE(volume->reload());
  EXPECT_EQ(namesOf(volume.root()->files()), Names{"file"});
  EXPECT_EQ(other->rootDirectory(), otherRoot) << "that of the one that was read anew alone";
}

TEST_F(BarePair, ChangesOfBothWaitForOneLock) {
  const std::shared_ptr<Volume> third =
      Volume::open(volume.imagePath(), MountRules::bare, ImageClaim::atFirstChange, nullptr);
  EXPECT_TRUE(waitsFor(third->lock, [&] { volume->renameFile(root->files()[0], "mine", root); }));
  EXPECT_TRUE(waitsFor(third->lock, [&] { other->renameFile(otherRoot->files()[1], "other's", otherRoot); }));
}

TEST_F(BarePair, ClaimIsFreeOnceBothAreGone) {
  const TemporaryFolder folder;
  const std::string path = folder.path("disk.hda");
  plainVolume().writeTo(path);
  EMU3FilesystemPtr first = mounted(path, MountRules::bare);
  EMU3FilesystemPtr second = mounted(path, MountRules::bare);
  EXPECT_FALSE(first->isReadOnly());
  EXPECT_FALSE(second->isReadOnly());
  first.reset();
  EXPECT_FALSE(isUnclaimed(path));
  second.reset();
  EXPECT_TRUE(isUnclaimed(path));
}

// --- By one set of rules at a time -----------------------------------------------------------------

class MixedMounting : public testing::TestWithParam<MountRules> {
protected:
  MixedMounting() { plainVolume().writeTo(path); }

  static MountRules otherThan(MountRules rules) {
    return rules == MountRules::bare ? MountRules::guarded : MountRules::bare;
  }
  std::string errorOfMounting(const std::string &at, MountRules rules) {
    EMU3Error error;
    EXPECT_EQ(EMU3Filesystem::initWithURL(at, rules, &error), nullptr);
    EXPECT_EQ(EMU3Filesystem::initWithURL(at, rules), nullptr);
    return error.description();
  }

  TemporaryFolder folder;
  const std::string path = folder.path("disk.hda");
};

INSTANTIATE_TEST_SUITE_P(First, MixedMounting, testing::Values(MountRules::bare, MountRules::guarded),
                         rulesName);

TEST_P(MixedMounting, IsRefusedUntilTheLastHandleIsGone) {
  const MountRules other = otherThan(GetParam());
  EMU3FilesystemPtr first = mounted(path, GetParam());
  EXPECT_EQ(errorOfMounting(path, other), kOtherRulesError);
  EMU3FilesystemPtr second = mounted(path, GetParam());
  first.reset();
  EXPECT_EQ(errorOfMounting(path, other), kOtherRulesError);
  second.reset();
  EXPECT_EQ(mounted(path, other)->rules(), other);
  EXPECT_EQ(mounted(path, GetParam())->rules(), GetParam()) << "and the other way round";
}

TEST_P(MixedMounting, IsRefusedByAnyPathOfTheImage) {
  const EMU3FilesystemPtr first = mounted(path, GetParam());
  std::filesystem::create_symlink("disk.hda", folder.path("link.hda"));
  std::filesystem::create_hard_link(path, folder.path("hard.hda"));
  for (const char *name : {"link.hda", "hard.hda"})
    EXPECT_EQ(errorOfMounting(folder.path(name), otherThan(GetParam())), kOtherRulesError) << name;
}

TEST_P(MixedMounting, RefusedLeavesNothingOpenAndTheFirstWorking) {
  const EMU3FilesystemPtr first = mounted(path, GetParam());
  const std::size_t descriptors = namesIn("/proc/self/fd").size();
  EXPECT_EQ(errorOfMounting(path, otherThan(GetParam())), kOtherRulesError);
  EXPECT_EQ(namesIn("/proc/self/fd").size(), descriptors);
  EXPECT_EQ(mappingsOf(path).size(), 1U);
  EXPECT_TRUE(first->createDirectoryNamed("new", first->rootDirectory()));
}

TEST_P(MixedMounting, IsAllowedForACopyOfTheImage) {
  const EMU3FilesystemPtr first = mounted(path, GetParam());
  copySparse(path, folder.path("copy.hda"));
  EXPECT_NE(EMU3Filesystem::initWithURL(folder.path("copy.hda"), otherThan(GetParam())), nullptr);
}

TEST(Mounting, WithoutRulesIsByTheBareOnes) {
  const TemporaryFolder folder;
  const std::string path = folder.path("disk.hda");
  plainVolume().writeTo(path);
  EXPECT_EQ(EMU3Filesystem::initWithURL(path)->rules(), MountRules::bare);
  const EMU3FilesystemPtr guarded = mounted(path, MountRules::guarded);
  EXPECT_EQ(guarded->rules(), MountRules::guarded);
  EMU3Error error;
  EXPECT_EQ(EMU3Filesystem::initWithURL(path, &error), nullptr);
  EXPECT_EQ(error.description(), kOtherRulesError);
}

// --- Random operations, now through the one, now through the other ---------------------------------

TEST(TwoFilesystemsProperties, ImageAndTheSharedTreeAgreeAfterEveryOperationOfEither) {
  for (std::uint32_t seed = 1; seed <= 80 && !testing::Test::HasFailure(); ++seed) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, "seed " + std::to_string(seed));
    RandomSession session(seed, MountRules::guarded);
    session.shareBetween(2 + seed % 2);
    session.run(30);
  }
}

} // namespace
} // namespace tessary::test
