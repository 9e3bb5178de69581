#include "tests/writing/RandomVolumes.h"
#include "tests/writing/TreeComparison.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <set>

namespace tessary::test {
namespace {

// One image opened twice in one process, as when it is opened again while its earlier filesystem still has
// work to do. A filesystem takes notice of the other's changes when it next makes a change of its own.

class TwoFilesystems : public testing::Test {
protected:
  explicit TwoFilesystems(ImageBuilder image = plainVolume()) : volume(std::move(image), Guards::on) {
    other = volume.openedAnew();
    other->setGuarded(true);
  }

  static ImageBuilder plainVolume() {
    ImageBuilder image(smallLayout());
    image.root().addFile("file", patternBytes(600, 1));
    image.root().addFile("second", patternBytes(600, 2));
    image.root().addFolder("folder", {.blockList = {5}}).addFile("inside", patternBytes(600, 3));
    return image;
  }

  EMU3Filesystem &mine() { return *volume.filesystem(); }
  EMU3DirectoryPtr root() { return volume.root(); }
  EMU3DirectoryPtr otherRoot() { return other->rootDirectory(); }
  // A change that fails for its name, having looked at the image.
  void takeNotice() { EXPECT_FALSE(mine().createDirectoryNamed("", root())); }
  bool import(EMU3Filesystem &filesystem, const std::string &name, const EMU3DirectoryPtr &folder,
              const Bytes &contents = patternBytes(600, 9)) {
    return filesystem.importFileAtURL(volume.hostFile(name, contents), folder);
  }

  WritableVolume volume;
  EMU3FilesystemPtr other;
};

using Names = std::vector<std::string>;

TEST_F(TwoFilesystems, WhatTheOtherStoredComesBehindWhatIsKnown) {
  const std::vector<EMU3FilePtr> known = root()->files();
  ASSERT_TRUE(other->deleteFile(fileNamed(otherRoot(), "file"), otherRoot()));
  ASSERT_TRUE(import(*other, "new", otherRoot())); // takes the first entry
  takeNotice();
  EXPECT_EQ(namesOf(root()->files()), (Names{"second", "new"}));
  EXPECT_EQ(root()->files()[0], known[1]);
}

TEST_F(TwoFilesystems, FilesAndFoldersThatAreStillThereStayTheObjectsTheyAre) {
  const EMU3FilePtr file = fileNamed(root(), "file");
  const EMU3DirectoryPtr folder = folderNamed(root(), "folder");
  const EMU3FilePtr inside = fileNamed(folder, "inside");
  ASSERT_TRUE(import(*other, "new", folderNamed(otherRoot(), "folder")));
  takeNotice();
  EXPECT_EQ(fileNamed(root(), "file"), file);
  EXPECT_EQ(folderNamed(root(), "folder"), folder);
  EXPECT_EQ(namesOf(folder->files()), (Names{"inside", "new"}));
  EXPECT_EQ(folder->files()[0], inside);
  EXPECT_TRUE(mine().deleteFile(inside, folder));
}

TEST_F(TwoFilesystems, NewFoldersComeWithEverythingInThem) {
  ASSERT_TRUE(other->createDirectoryNamed("new", otherRoot()));
  const EMU3DirectoryPtr made = folderNamed(otherRoot(), "new");
  ASSERT_TRUE(other->createDirectoryNamed("below", made));
  ASSERT_TRUE(import(*other, "deep", folderNamed(made, "below")));
  takeNotice();
  const EMU3DirectoryPtr seen = folderNamed(root(), "new");
  EXPECT_EQ(seen->parent(), root());
  const EMU3DirectoryPtr below = folderNamed(seen, "below");
  EXPECT_EQ(below->parent(), seen);
  EXPECT_EQ(namesOf(below->files()), Names{"deep"});
  EXPECT_TRUE(mine().deleteFile(below->files()[0], below));
}

TEST_F(TwoFilesystems, WhatTheOtherDeletedChangesNothingMore) {
  const EMU3FilePtr file = fileNamed(root(), "file");
  const EMU3DirectoryPtr folder = folderNamed(root(), "folder");
  const EMU3FilePtr inside = fileNamed(folder, "inside");
  ASSERT_TRUE(other->deleteFile(fileNamed(otherRoot(), "file"), otherRoot()));
  ASSERT_TRUE(other->deleteDirectory(folderNamed(otherRoot(), "folder"), otherRoot()));
  ASSERT_TRUE(import(*other, "new", otherRoot()));
  volume.expected.poke(0, readBytes(volume.imagePath()));
  EMU3Error error;
  EXPECT_FALSE(mine().deleteFile(file, root(), &error));
  EXPECT_EQ(error.description(), kNoEntryError);
  EXPECT_FALSE(mine().renameFile(file, "new", root(), &error));
  EXPECT_EQ(error.description(), kNoEntryError);
  EXPECT_FALSE(mine().moveFile(inside, folder, root(), &error));
  EXPECT_EQ(error.description(), kNoEntryError);
  EXPECT_FALSE(import(mine(), "mine", folder));
  EXPECT_FALSE(mine().deleteDirectory(folder, root(), &error));
  EXPECT_EQ(error.description(), kNoEntryError);
  EXPECT_TRUE(volume.imageIsAsExpected());
  EXPECT_EQ(namesOf(root()->files()), (Names{"second", "new"}));
  EXPECT_TRUE(root()->subdirectories().empty());
}

TEST_F(TwoFilesystems, NeverHandOutOneSlotOrOneEntryTwice) {
  for (int turn = 0; turn < 4; ++turn) {
    ASSERT_TRUE(import(mine(), "mine", root()));
    ASSERT_TRUE(import(*other, "other's", otherRoot()));
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

TEST_F(TwoFilesystems, NeverHandOutOneFolderBlockTwice) {
  for (int turn = 0; turn < 3; ++turn) {
    ASSERT_TRUE(mine().createDirectoryNamed("mine", root()));
    ASSERT_TRUE(other->createDirectoryNamed("other's", otherRoot()));
  }
  std::set<std::int64_t> blocks;
  for (const EMU3DirectoryPtr &folder : volume.openedAnew()->rootDirectory()->subdirectories())
    blocks.insert(folder->blockList().at(0));
  EXPECT_EQ(blocks.size(), 7U);
}

TEST_F(TwoFilesystems, RenamedFileHasItsNewNameInBoth) {
  ASSERT_TRUE(other->renameFile(fileNamed(otherRoot(), "file"), "renamed", otherRoot()));
  takeNotice();
  Names names = namesOf(root()->files());
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (Names{"renamed", "second"}));
}

TEST_F(TwoFilesystems, NameLongerThanItsEntryStaysWholeInTheTreeThatHasIt) {
  const std::string name = "\u20ac\u20ac\u20ac\u20ac\u20ac\u20ac\u20ac";
  ASSERT_TRUE(mine().renameFile(fileNamed(root(), "file"), name, root()));
  const EMU3FilePtr file = fileNamed(root(), name);
  ASSERT_TRUE(import(*other, "new", otherRoot()));
  takeNotice();
  EXPECT_EQ(fileNamed(root(), name), file);
}

TEST_F(TwoFilesystems, FolderRenamedInMemoryKeepsThatName) {
  const EMU3DirectoryPtr folder = folderNamed(root(), "folder");
  folder->setName("renamed");
  ASSERT_TRUE(import(*other, "new", otherRoot()));
  takeNotice();
  EXPECT_EQ(folderNamed(root(), "renamed"), folder);
}

TEST_F(TwoFilesystems, EmptyFileJustWrittenStaysTheObjectItIs) {
  ASSERT_TRUE(import(mine(), "empty", root(), {}));
  const EMU3FilePtr empty = fileNamed(root(), "empty");
  ASSERT_TRUE(import(*other, "new", otherRoot()));
  takeNotice();
  EXPECT_EQ(fileNamed(root(), "empty"), empty);
}

TEST_F(TwoFilesystems, FolderMadeWhereAnotherOneWasHasItsOwnName) {
  const EMU3DirectoryPtr folder = folderNamed(root(), "folder");
  ASSERT_TRUE(other->deleteDirectory(folderNamed(otherRoot(), "folder"), otherRoot()));
  ASSERT_TRUE(other->createDirectoryNamed("another", otherRoot())); // the same entry, the same block
  takeNotice();
  EXPECT_EQ(namesOf(root()->subdirectories()), Names{"another"});
  EMU3Error error;
  EXPECT_FALSE(mine().deleteDirectory(folder, root(), &error));
  EXPECT_EQ(error.description(), kNoEntryError);
}

TEST_F(TwoFilesystems, FileReplacedByOneOfItsNameAndSizeReadsAsTheNewOne) {
  ASSERT_TRUE(other->deleteFile(fileNamed(otherRoot(), "second"), otherRoot()));
  ASSERT_TRUE(import(*other, "last", otherRoot(), patternBytes(600, 7)));
  takeNotice();
  EXPECT_EQ(contentsOf(mine(), fileNamed(root(), "last")), patternBytes(600, 7)); // cached from here on
  ASSERT_TRUE(other->deleteFile(fileNamed(otherRoot(), "last"), otherRoot()));
  ASSERT_TRUE(import(*other, "last", otherRoot(), patternBytes(600, 8))); // the same entry, the same slot
  takeNotice();
  EXPECT_EQ(contentsOf(mine(), fileNamed(root(), "last")), patternBytes(600, 8));
}

TEST_F(TwoFilesystems, CountersAreThoseOfTheImageAfterTheOthersChange) {
  ASSERT_TRUE(import(*other, "new", otherRoot(), patternBytes(5000, 1)));
  takeNotice();
  EXPECT_EQ(countersOf(mine()), countersOf(*volume.openedAnew()));
}

class TwoFilesystemsOfDefaultGeometry : public TwoFilesystems {
protected:
  TwoFilesystemsOfDefaultGeometry() : TwoFilesystems(ImageBuilder(VolumeLayout::zeroHeader(kMiB))) {}
};

TEST_F(TwoFilesystemsOfDefaultGeometry, CountersAreThoseOfTheImageAfterTheOthersChange) {
  const std::uint64_t clusters = mine().totalClusters();
  ASSERT_TRUE(import(*other, "new", otherRoot(), patternBytes(5000, 1)));
  takeNotice();
  EXPECT_EQ(mine().totalClusters(), clusters);
  EXPECT_EQ(countersOf(mine()), countersOf(*volume.openedAnew()));
}

TEST_F(TwoFilesystems, OneThatIsClosedLeavesTheOtherWorking) {
  ASSERT_TRUE(import(*other, "new", otherRoot()));
  other.reset();
  ASSERT_TRUE(import(mine(), "mine", root()));
  EXPECT_EQ(namesOf(root()->files()), (Names{"file", "second", "new", "mine"}));
}

TEST_F(TwoFilesystems, ReloadSeesTheOthersChanges) {
  ASSERT_TRUE(import(*other, "new", otherRoot()));
  ASSERT_TRUE(mine().reload());
  EXPECT_EQ(namesOf(root()->files()), (Names{"file", "second", "new"}));
}

// --- Random operations, now on the one, now on the other -------------------------------------------

class PairSession {
public:
  explicit PairSession(std::uint32_t seed)
      : random_(seed), volume_(randomVolume(random_, Guards::on, Entries::plain), Guards::on),
        model_(std::move(volume_.expected), Guards::on, volume_.root()) {
    sides_[0].filesystem = volume_.filesystem();
    sides_[1].filesystem = volume_.openedAnew();
    sides_[1].filesystem->setGuarded(true);
    for (Side &side : sides_)
      side.counters = model_.scan();
  }

  void run(std::size_t steps) {
    for (std::size_t step = 0; step < steps && !testing::Test::HasFailure(); ++step) {
      const testing::ScopedTrace trace(__FILE__, __LINE__, "step " + std::to_string(step));
      takeStep();
    }
  }

private:
  struct Listed {
    EMU3FilePtr file;
    EMU3DirectoryPtr folder;
  };
  struct Side {
    EMU3FilesystemPtr filesystem;
    Counters counters;
    bool isBehind = false; ///< the other has worked on the image since
    std::vector<Listed> gone;
  };
  // Which of a side's objects the image still holds, and what a fresh parse has in their place.
  struct Twins {
    std::map<EMU3DirectoryPtr, EMU3DirectoryPtr> folders;
    std::map<EMU3FilePtr, EMU3FilePtr> files;
  };

  void takeStep() {
    side_ = &sides_[random_.below(2)];
    fresh_ = volume_.openedAnew();
    twins_ = {};
    findTwins(root(), fresh_->rootDirectory());
    const std::vector<Listed> before = listed();
    removed_.clear();
    model_.counters = side_->isBehind ? model_.scan() : side_->counters;
    act();
    for (Side &side : sides_)
      side.isBehind |= &side != side_;
    side_->isBehind = false;
    side_->counters = model_.counters;
    verify(before);
  }

  // Always one operation, since a side takes notice of the other's with its own.
  void act() {
    switch (random_.below(8)) {
    case 0:
    case 1:
      return import();
    case 2:
      return copy();
    case 3:
      return move();
    case 4:
      return deleteFile();
    case 5:
      return rename();
    case 6:
      return random_.chance(60) ? createFolder() : deleteFolder();
    default:
      return useWhatIsGone();
    }
  }

  void verify(const std::vector<Listed> &before) {
    EXPECT_TRUE(holdsExactly(volume_.imagePath(), model_.image));
    EXPECT_TRUE(holdsModel(*volume_.openedAnew(), model_, test::Side::image));
    EXPECT_TRUE(holdsModel(*side_->filesystem, model_, test::Side::either));
    EXPECT_EQ(countersOf(*side_->filesystem), model_.counters);
    std::set<EMU3FilePtr> now;
    for (const Listed &each : listed())
      now.insert(each.file);
    for (const Listed &each : before) {
      const bool isKept = twins_.files.contains(each.file) && !removed_.contains(each.file);
      EXPECT_EQ(now.contains(each.file), isKept) << each.file->name();
      if (!isKept) side_->gone.push_back(each);
    }
  }

  EMU3DirectoryPtr root() { return side_->filesystem->rootDirectory(); }

  std::vector<Listed> listed() {
    std::vector<Listed> all;
    for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(root())) {
      for (const EMU3FilePtr &file : folder->files())
        all.push_back({file, folder});
    }
    return all;
  }

  void findTwins(const EMU3DirectoryPtr &mine, const EMU3DirectoryPtr &read) {
    twins_.folders[mine] = read;
    for (const EMU3FilePtr &file : mine->files()) {
      for (const EMU3FilePtr &twin : read->files()) {
        const EMU3FileFields a = file->fields();
        const EMU3FileFields b = twin->fields();
        if (placeOf(*file) == placeOf(*twin) && a.name == b.name && a.startCluster == b.startCluster &&
            a.fileSize == b.fileSize && a.entryId == b.entryId && a.rawType == b.rawType)
          twins_.files[file] = twin;
      }
    }
    for (const EMU3DirectoryPtr &folder : mine->subdirectories()) {
      for (const EMU3DirectoryPtr &twin : read->subdirectories()) {
        if (placeOf(*folder) == placeOf(*twin) && folder->blockList() == twin->blockList() &&
            folder->name() == twin->name() && folder->entryId() == twin->entryId())
          findTwins(folder, twin);
      }
    }
  }

  // A name that its entry holds whole, so that both sides have the same.
  std::string anyName() {
    static const std::vector<std::string> names = {"KICK", "Snare", "Pad \u00e9", "15 characters..",
                                                   "x",    "y"};
    return random_.pick(names);
  }
  Bytes anyContents() {
    Bytes contents = randomContents(random_, model_.image.slotSizeBlocks() * kBlockBytes, Guards::on);
    if (contents.empty()) contents.push_back(1); // an empty file is not the same in the two trees
    return contents;
  }
  EMU3DirectoryPtr anyFolder() { return random_.pick(directoriesInPreOrder(root())); }
  std::optional<Listed> anyFile() {
    std::vector<Listed> all = listed();
    std::erase_if(all, [](const Listed &each) { return each.file->fileSize() == 0; });
    if (all.empty()) return std::nullopt;
    return random_.pick(all);
  }

  void expectOutcome(bool done, const EMU3Error &error, const std::string &foreseen) {
    EXPECT_EQ(done, foreseen.empty());
    EXPECT_EQ(error.isSet() ? error.description() : "", foreseen);
  }

  EMU3DirectoryPtr twin(const EMU3DirectoryPtr &folder) {
    const auto found = twins_.folders.find(folder);
    return found == twins_.folders.end() ? nullptr : found->second;
  }
  bool isKept(const Listed &each) { return twins_.files.contains(each.file); }

  std::string foreseeStore(const EMU3DirectoryPtr &folder, const std::string &name, const Bytes &contents) {
    if (!twin(folder)) return kNoEntryError;
    return model_.store(fresh_->rootDirectory(), twin(folder), name, contents, 1).error;
  }
  Bytes contentsBefore(const Listed &source) {
    return model_.entries.at({source.file->dentryBlock(), source.file->dentryOffset()}).contents;
  }
  void foreseeRemoval(const Listed &victim) {
    model_.remove(*twins_.files.at(victim.file));
    removed_.insert(victim.file);
  }

  void import() {
    const EMU3DirectoryPtr folder = anyFolder();
    const std::string name = anyName();
    const Bytes contents = anyContents();
    const std::string path = volume_.hostFile(name + ".wav", contents);
    const std::string foreseen = foreseeStore(folder, name, contents);
    EMU3Error error;
    expectOutcome(side_->filesystem->importFileAtURL(path, folder, &error), error, foreseen);
  }

  void copy() {
    const std::optional<Listed> source = anyFile();
    if (!source) return import();
    const EMU3DirectoryPtr folder = anyFolder();
    const std::string foreseen =
        isKept(*source) ? foreseeStore(folder, source->file->name(), contentsBefore(*source)) : kNoEntryError;
    EMU3Error error;
    expectOutcome(side_->filesystem->copyFile(source->file, folder, &error), error, foreseen);
  }

  void move() {
    const std::optional<Listed> source = anyFile();
    if (!source) return import();
    const EMU3DirectoryPtr folder = anyFolder();
    std::string foreseen;
    if (!isKept(*source)) {
      foreseen = kNoEntryError;
    } else if (folder != source->folder) {
      foreseen = foreseeStore(folder, source->file->name(), contentsBefore(*source));
      if (foreseen.empty()) foreseeRemoval(*source);
    }
    EMU3Error error;
    const bool done = side_->filesystem->moveFile(source->file, source->folder, folder, &error);
    expectOutcome(done, error, foreseen);
  }

  void deleteFile() {
    const std::optional<Listed> victim = anyFile();
    if (!victim) return import();
    std::string foreseen = kNoEntryError;
    if (isKept(*victim)) {
      foreseen.clear();
      foreseeRemoval(*victim);
    }
    EMU3Error error;
    expectOutcome(side_->filesystem->deleteFile(victim->file, victim->folder, &error), error, foreseen);
  }

  void rename() {
    const std::optional<Listed> file = anyFile();
    if (!file) return import();
    const std::string name = anyName();
    const std::string foreseen =
        isKept(*file) ? model_.rename(*twins_.files.at(file->file), name) : kNoEntryError;
    EMU3Error error;
    const bool done = side_->filesystem->renameFile(file->file, name, file->folder, &error);
    expectOutcome(done, error, foreseen);
  }

  void createFolder() {
    const EMU3DirectoryPtr parent = anyFolder();
    const std::string name = anyName();
    const std::string foreseen =
        twin(parent) ? model_.createFolder(fresh_->rootDirectory(), twin(parent), name).error : kNoEntryError;
    EMU3Error error;
    expectOutcome(side_->filesystem->createDirectoryNamed(name, parent, &error), error, foreseen);
  }

  void deleteFolder() {
    const EMU3DirectoryPtr folder = anyFolder();
    const EMU3DirectoryPtr parent = folder->parent();
    if (!parent) return import();
    std::string foreseen = kNoEntryError;
    if (const EMU3DirectoryPtr read = twin(folder)) {
      foreseen.clear();
      model_.deleteFolder(read);
      for (const EMU3DirectoryPtr &below : directoriesInPreOrder(folder)) {
        for (const EMU3FilePtr &file : below->files())
          removed_.insert(file);
      }
    }
    EMU3Error error;
    expectOutcome(side_->filesystem->deleteDirectory(folder, parent, &error), error, foreseen);
  }

  void useWhatIsGone() {
    if (side_->gone.empty()) return import();
    const Listed gone = random_.pick(side_->gone);
    EMU3Error error;
    EXPECT_FALSE(side_->filesystem->deleteFile(gone.file, gone.folder, &error));
    EXPECT_EQ(error.description(), kNoEntryError);
  }

  Random random_;
  WritableVolume volume_;
  VolumeModel model_;
  Side sides_[2];
  Side *side_ = nullptr;
  EMU3FilesystemPtr fresh_;
  Twins twins_;
  std::set<EMU3FilePtr> removed_;
};

TEST(TwoFilesystemsProperties, EachIsInLineWithTheImageAfterItsOperation) {
  for (std::uint32_t seed = 1; seed <= 80 && !testing::Test::HasFailure(); ++seed) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, "seed " + std::to_string(seed));
    PairSession(seed).run(30);
  }
}

} // namespace
} // namespace tessary::test
