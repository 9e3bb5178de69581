#include "tessary/EMU3Filesystem.h"
#include "tests/support/AskedNumber.h"
#include "tests/support/HostFiles.h"
#include "tests/support/ImageReading.h"
#include "tests/support/MountedVolume.h"
#include "tests/support/PlacedObjects.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/writing/DamagedVolumes.h"
#include "tests/writing/Operation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

// Random operations on damaged volumes, judged by the bytes of the image alone: each must change exactly the
// bytes that the image before it tells it to, and one that fails must change none.
namespace tessary::test {
namespace {

/// What became of an operation: code 0 is success.
struct Outcome {
  std::int64_t code = 0;
  bool operator==(const Outcome &) const = default;
};

// ---- The judge

RawEntry rawAt(const Bytes &image, Place place) {
  RawEntry entry{};
  std::copy_n(image.begin() + static_cast<std::ptrdiff_t>(place.first * kBlockBytes + place.second * 32),
              entry.size(), entry.begin());
  return entry;
}

/// Works out what an operation does to the image before it. What is not stated anywhere (the id of a new
/// file) is taken from the image after it.
class Judge {
public:
  Judge(const Bytes &before, const Bytes &after) : now_(before), image_(before), after_(after) {}

  Outcome expect(const Operation &operation) {
    switch (operation.kind) {
    case OperationKind::importFile:
      return newFile(operation, std::nullopt);
    case OperationKind::restoreFile:
      return newFile(operation, operation.model);
    case OperationKind::copyFile:
      return copy(operation);
    case OperationKind::moveFile:
      return moveFile(operation);
    case OperationKind::renameFile:
    case OperationKind::renameFolder:
      return rename(operation);
    case OperationKind::deleteFile:
      return deleteFile(operation.item);
    case OperationKind::createFolder:
      return createFolder(operation);
    case OperationKind::moveFolder:
      return moveFolder(operation);
    case OperationKind::deleteFolder:
      return deleteFolder(operation.item, operation.inside);
    case OperationKind::recoverFolder:
      return recover(operation);
    }
    return {};
  }

  [[nodiscard]] const Bytes &image() const { return image_; }
  [[nodiscard]] const ImageReading &reading() const { return now_; }
  /// Entries that the operation was asked to change.
  [[nodiscard]] const std::set<Place> &touched() const { return touched_; }
  /// Entries of files and folders that the operation was asked to delete.
  [[nodiscard]] const std::set<Place> &gone() const { return gone_; }

private:
  Bytes::iterator at(std::uint64_t block, std::size_t offset = 0) {
    return image_.begin() + static_cast<std::ptrdiff_t>(block * kBlockBytes + offset);
  }
  void put(Place place, const RawEntry &entry) {
    std::copy(entry.begin(), entry.end(), at(place.first, place.second * 32));
    touched_.insert(place);
  }
  void clearBlock(std::uint64_t block) {
    if (block < now_.totalBlocks) std::fill_n(at(block), kBlockBytes, std::uint8_t{0});
  }
  void clearEntry(Place place) {
    const auto entry = at(place.first, place.second * 32);
    std::fill_n(entry, 16, std::uint8_t{0});
    entry[26] = 0;
    touched_.insert(place);
  }
  void mark(std::uint64_t first, std::uint64_t count, std::uint16_t value) {
    for (std::uint64_t block = first; block < first + count && now_.isDescribed(block); ++block) {
      const std::uint64_t tableBlock = now_.tableBlockOf(block);
      if (tableBlock >= now_.totalBlocks) continue;
      const auto word = at(tableBlock, block % 256 * 2);
      if (now_.isNamed(tableBlock) || now_.isInContents(tableBlock, gone_)) continue;
      if (now_.isInContents(tableBlock, {}) && markAfter(block) != value) continue; // not all were gone yet
      word[0] = static_cast<std::uint8_t>(value & 0xFF);
      word[1] = static_cast<std::uint8_t>(value >> 8);
    }
  }

  /// Where a new entry goes; a folder that is full grows, once `takesNoMore` is known.
  struct Spot {
    Place place;
    std::optional<ImageReading::Growth> growth;
  };
  std::optional<Spot> spotIn(Place folder, const std::set<std::uint64_t> &exceptFor = {}) {
    if (const auto place = now_.freePlaceIn(folder)) return Spot{*place, std::nullopt};
    const auto growth = now_.growthOf(folder, exceptFor);
    if (!growth) return std::nullopt;
    return Spot{{growth->block, 0}, growth};
  }
  void putAt(const Spot &spot, Place folder, const RawEntry &entry) {
    if (spot.growth) {
      clearBlock(spot.growth->block);
      put(folder, spot.growth->entry);
    }
    put(spot.place, entry);
  }
  RawEntry withIdOfAfter(RawEntry entry, Place place) {
    entry[17] = rawAt(after_, place)[17];
    EXPECT_FALSE(readsAsFolder(entry));
    return entry;
  }

  Outcome newFile(const Operation &operation, std::optional<RawEntry> model) {
    const std::uint64_t size = operation.contents.size();
    const std::uint64_t filled = (size + kBlockBytes - 1) / kBlockBytes;
    const std::uint64_t blocks = std::max<std::uint64_t>(1, filled);
    if (blocks > now_.freeBlocks()) return {4};
    const auto spot = spotIn(operation.folder);
    if (!spot) return {7};
    const auto slot = now_.slotForNewFile(blocks);
    if (!slot) return {4};
    std::fill_n(at(now_.slotStart(*slot)), blocks * kBlockBytes, std::uint8_t{0});
    std::copy(operation.contents.begin(), operation.contents.end(), at(now_.slotStart(*slot)));
    mark(now_.slotStart(*slot), filled, 0x8000);
    RawEntry entry = importedEntry(operation.name, *slot, size);
    if (model) {
      std::copy(entry.begin() + 18, entry.begin() + 26, model->begin() + 18);
      entry = *model;
    }
    putAt(*spot, operation.folder, withIdOfAfter(entry, spot->place));
    return {};
  }

  Outcome copy(Operation operation) {
    const RawEntry source = now_.entries.at(operation.item).bytes;
    if (!now_.isWhole(source)) return {2};
    operation.contents = now_.bytesOf(source);
    return newFile(operation, source);
  }

  Outcome moveFile(const Operation &operation) {
    if (operation.folder == operation.parent) return {};
    if (!now_.mayChange(operation.item, {operation.item})) return {3};
    const auto spot = spotIn(operation.folder);
    if (!spot) return {7};
    putAt(*spot, operation.folder, withIdOfAfter(now_.entries.at(operation.item).bytes, spot->place));
    clearEntry(operation.item);
    return {};
  }

  Outcome rename(const Operation &operation) {
    if (!now_.mayChange(operation.item, {operation.item})) return {3};
    RawEntry entry = now_.entries.at(operation.item).bytes;
    std::fill_n(entry.begin(), 16, ' ');
    std::copy(operation.name.begin(), operation.name.end(), entry.begin());
    put(operation.item, entry);
    return {};
  }

  // The marks of whole slots, but of none that a file reaches which stays.
  void deleteFiles(const std::set<Place> &files) {
    gone_.insert(files.begin(), files.end());
    for (const Place &place : files) {
      const RawEntry entry = now_.entries.at(place).bytes;
      clearEntry(place);
      const std::uint64_t first = now_.reachOf(entry).first;
      const std::uint64_t last = std::min(first + now_.slotsFor(wordAt(entry, 22)) - 1, now_.slotCount);
      for (std::uint64_t slot = first; slot <= last; ++slot) {
        if (!now_.isReached(slot, gone_)) mark(now_.slotStart(slot), now_.slotBlocks, 0);
      }
    }
  }

  Outcome deleteFile(Place place) {
    if (!now_.mayChange(place, {place})) return {3};
    deleteFiles({place});
    return {};
  }

  Outcome createFolder(const Operation &operation) {
    const auto spot = spotIn(operation.folder);
    if (!spot) return {7};
    const auto block = now_.freeDirectoryBlock(
        [&](std::uint64_t number) { return !spot->growth || number != spot->growth->block; });
    if (!block) return {4};
    const auto number = static_cast<std::int16_t>(*block);
    RawEntry entry = rawFolderEntry(operation.name, 0x40, {&number, 1});
    std::fill_n(entry.begin(), 16, ' ');
    std::copy(operation.name.begin(), operation.name.end(), entry.begin());
    entry[operation.name.size()] = 0;
    clearBlock(*block);
    putAt(*spot, operation.folder, entry);
    return {};
  }

  Outcome moveFolder(const Operation &operation) {
    if (operation.inside.contains(operation.folder)) return {6};
    if (operation.folder == operation.parent) return {};
    if (!now_.mayChange(operation.item, {})) return {3};
    const auto spot = spotIn(operation.folder);
    if (!spot) return {7};
    putAt(*spot, operation.folder, now_.entries.at(operation.item).bytes);
    put(operation.item, {});
    return {};
  }

  Outcome deleteFolder(Place folder, const std::set<Place> &tree) {
    if (!now_.mayChange(folder, tree)) return {3};
    std::set<std::uint64_t> blocks;
    std::set<std::uint64_t> outside;
    for (const auto &[place, named] : now_.folders)
      (tree.contains(place) ? blocks : outside).insert(named.begin(), named.end());
    // What lies in the table or in a file that stays is not the folders'.
    const auto isForeign = [&](std::uint64_t block) {
      if (block == now_.rootBlock) return false;
      return now_.isInContents(block, tree) || (!outside.contains(block) && now_.isInTable(block));
    };
    std::set<Place> files;
    for (const Place &place : tree)
      if (now_.entries.at(place).isLiveFile() && !isForeign(place.first)) files.insert(place);
    gone_ = tree;
    deleteFiles(files);
    for (const Place &place : tree)
      if (now_.entries.at(place).isFolder && !isForeign(place.first)) put(place, {});
    for (const std::uint64_t block : blocks) {
      if (now_.isInTable(block) && !outside.contains(block)) acceptMarksOf(block);
      if (!isForeign(block) && !outside.contains(block)) clearBlock(block);
    }
    return {};
  }

  std::uint16_t markAfter(std::uint64_t block) {
    const std::uint64_t at = now_.tableBlockOf(block) * kBlockBytes + block % 256 * 2;
    return at < after_.size() ? static_cast<std::uint16_t>(after_[at] | (after_[at + 1] << 8))
                              : std::uint16_t{0};
  }

  // A block of the table becomes one again with its folder, before or after marks are cleared in it.
  void acceptMarksOf(std::uint64_t tableBlock) {
    if (tableBlock >= now_.totalBlocks) return;
    for (auto word = at(tableBlock); word != at(tableBlock + 1); word += 2) {
      const auto after = after_.begin() + (word - image_.begin());
      if (after[0] == 0 && after[1] == 0) word[0] = word[1] = 0;
    }
  }

  Outcome recover(const Operation &operation) {
    const auto spot = spotIn(operation.folder, now_.withBlocksBelow(operation.lost));
    if (!spot) return {7};
    const auto number = static_cast<std::int16_t>(operation.block);
    RawEntry entry = rawFolderEntry(operation.name, 0x40, {&number, 1});
    std::fill_n(entry.begin(), 16, ' ');
    std::copy(operation.name.begin(), operation.name.end(), entry.begin());
    entry[operation.name.size()] = 0;
    putAt(*spot, operation.folder, entry);
    return {};
  }

  const ImageReading now_;
  Bytes image_;
  const Bytes &after_;
  std::set<Place> touched_;
  std::set<Place> gone_;
};

// ---- A mount

/// The tree as lines that are the same for the same tree, in whatever order its lists are.
std::vector<std::string> treeLines(EMU3Filesystem &volume) {
  std::vector<std::string> lines;
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(volume.rootDirectory())) {
    std::ostringstream text;
    const Place place = placeOf(*folder);
    text << "folder " << place.first << ':' << place.second << " '" << folder->name() << "' id "
         << int{folder->entryId()} << " blocks";
    for (const std::int64_t block : folder->blockList())
      text << ' ' << block;
    if (folder->parent())
      text << " in " << placeOf(*folder->parent()).first << ':' << placeOf(*folder->parent()).second;
    lines.push_back(text.str());
    for (const EMU3FilePtr &file : folder->files()) {
      const EMU3FileFields fields = file->fields();
      text.str("");
      text << "file " << fields.dentryBlock << ':' << fields.dentryOffset << " '" << fields.name << "' type "
           << int{fields.rawType} << " id " << int{fields.entryId} << " slot " << fields.startCluster
           << " count " << fields.clusterCount << " blocks " << fields.blocksInLastCluster << " last "
           << fields.bytesInLastBlock << " size " << fields.fileSize << " kind " << fields.fileType;
      text << " in " << place.first << ':' << place.second;
      lines.push_back(text.str());
    }
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

class Session {
public:
  explicit Session(std::uint32_t seed) : random_(seed), path_(folder_.path("disk.hda")) {
    writeBytes(path_, damagedVolume(random_));
    volume_ = mounted(path_, MountRules::guarded);
  }

  /// How many operations were run.
  std::size_t run(std::size_t steps) {
    for (std::size_t step = 0; step < steps && !testing::Test::HasFailure(); ++step) {
      const testing::ScopedTrace trace(__FILE__, __LINE__, "step " + std::to_string(step));
      if (random_.chance(15))
        useStaleObjects();
      else
        runOperation();
      if (random_.chance(30)) compareWithFreshMount();
    }
    if (!testing::Test::HasFailure()) compareWithFreshMount();
    return operations_;
  }

private:
  void lookAt(Operation &operation) {
    for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(volume_->rootDirectory())) {
      for (const EMU3FilePtr &file : folder->files())
        if (placeOf(*file) == operation.item && !file->isDeleted()) operation.parent = placeOf(*folder);
      if (!folder->parent() || placeOf(*folder) != operation.item) continue;
      operation.parent = placeOf(*folder->parent());
      for (const EMU3DirectoryPtr &inside : directoriesInPreOrder(folder)) {
        operation.inside.insert(placeOf(*inside));
        for (const EMU3FilePtr &file : inside->allFiles())
          operation.inside.insert(placeOf(*file));
      }
    }
  }

  void runOperation() {
    Operation operation = randomOperation(random_, ImageReading(readBytes(path_)), volume_->lostFolders());
    lookAt(operation);
    const testing::ScopedTrace trace(__FILE__, __LINE__, operation.description());
    rememberObjects();
    const Bytes before = readBytes(path_);
    const bool also = random_.chance(30);
    std::string copyPath;
    TemporaryFolder copyFolder;
    EMU3FilesystemPtr fresh;
    if (also) {
      copyPath = copyFolder.path("disk.hda");
      copySparse(path_, copyPath);
      fresh = mounted(copyPath, MountRules::guarded);
    }
    const Outcome outcome{perform(*volume_, operation, folder_.path())};
    ++operations_;
    const Bytes after = readBytes(path_);
    Judge judge(before, after);
    const Outcome expected = judge.expect(operation);
    EXPECT_EQ(outcome.code, expected.code);
    if (outcome.code != 0)
      compareImages(before, after, judge.reading(), "a failed operation changed the image");
    else
      compareImages(judge.image(), after, judge.reading(), "the image is not what the operation makes it");
    compareContents(before, after, judge, operation.item);
    if (!also || testing::Test::HasFailure()) return;
    EXPECT_EQ(perform(*fresh, operation, folder_.path()), outcome.code) << "in a fresh mount";
    Bytes freshly = readBytes(copyPath);
    for (const Place &place : judge.touched()) // ids follow from the order of the list
      freshly[place.first * kBlockBytes + place.second * 32 + 17] =
          after[place.first * kBlockBytes + place.second * 32 + 17];
    compareImages(after, freshly, judge.reading(), "a fresh mount does something else");
  }

  static void compareImages(const Bytes &expected, const Bytes &found, const ImageReading &was,
                            const char *what) {
    ASSERT_EQ(expected.size(), found.size());
    const auto [at, other] = std::mismatch(expected.begin(), expected.end(), found.begin());
    if (at == expected.end()) return;
    const auto offset = static_cast<std::uint64_t>(at - expected.begin());
    ADD_FAILURE() << what << ": block " << offset / 512 << " byte " << offset % 512 << " (entry "
                  << offset % 512 / 32 << " byte " << offset % 32 << ") is " << int{*other} << ", not "
                  << int{*at} << (was.isNamed(offset / 512) ? ", a folder's" : "")
                  << (was.isInTable(offset / 512) ? ", in the table" : "") << "; root " << was.rootBlock
                  << " data " << was.dataBlock << " table " << was.tableStart << '-' << was.tableEnd
                  << " slot " << was.slotBlocks << " total " << was.totalBlocks;
  }

  // Whatever an operation is, the contents of the files that it was not asked to change stay.
  static void compareContents(const Bytes &before, const Bytes &after, const Judge &judge, Place asked) {
    const ImageReading &was = judge.reading();
    for (const auto &[place, entry] : was.entries) {
      if (!entry.isLiveFile() || judge.gone().contains(place) || place == asked) continue;
      const auto [first, end] = was.contentsOf(entry.bytes);
      for (std::uint64_t block = first; block < end; ++block) {
        const auto offset = static_cast<std::ptrdiff_t>(block * kBlockBytes);
        const bool isRoots = block == was.rootBlock; // the header's word: no file has it
        if (isRoots || std::equal(before.begin() + offset, before.begin() + offset + kBlockBytes,
                                  after.begin() + offset))
          continue;
        ADD_FAILURE() << "block " << block << " of the file at " << place.first << ':' << place.second
                      << " changed" << (was.isNamed(block) ? ", a folder's" : "")
                      << (was.isInTable(block) ? ", in the table" : "");
        return;
      }
    }
  }

  void compareWithFreshMount() {
    const TemporaryFolder copyFolder;
    const std::string copyPath = copyFolder.path("disk.hda");
    copySparse(path_, copyPath);
    const EMU3FilesystemPtr fresh = mounted(copyPath, MountRules::guarded);
    EXPECT_EQ(volume_->freeBlocks(), fresh->freeBlocks());
    EXPECT_EQ(volume_->usedBlocks(), fresh->usedBlocks());
    EXPECT_EQ(volume_->totalBlocks(), volume_->usedBlocks() + volume_->freeBlocks());
    EXPECT_EQ(fresh->freeBlocks(), ImageReading(readBytes(path_)).freeBlocks());
    const std::vector<std::string> here = treeLines(*volume_);
    const std::vector<std::string> there = treeLines(*fresh);
    for (const std::string &line : here)
      if (!std::binary_search(there.begin(), there.end(), line))
        ADD_FAILURE() << "not on the image: " << line;
    for (const std::string &line : there)
      if (!std::binary_search(here.begin(), here.end(), line)) ADD_FAILURE() << "not in the tree: " << line;
  }

  // ---- Objects that may have left the tree

  void rememberObjects() {
    for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(volume_->rootDirectory())) {
      if (random_.chance(20)) folders_.push_back(folder);
      for (const EMU3FilePtr &file : folder->files())
        if (random_.chance(20)) files_.push_back(file);
    }
  }

  bool isInTree(const EMU3DirectoryPtr &folder) {
    const auto all = directoriesInPreOrder(volume_->rootDirectory());
    return std::find(all.begin(), all.end(), folder) != all.end();
  }
  bool isInTree(const EMU3FilePtr &file) {
    const auto all = directoriesInPreOrder(volume_->rootDirectory());
    return std::any_of(all.begin(), all.end(),
                       [&](const EMU3DirectoryPtr &folder) { return folder->containsFile(file); });
  }

  void useStaleObjects() {
    std::erase_if(files_, [&](const EMU3FilePtr &file) { return isInTree(file) && !file->isDeleted(); });
    std::erase_if(folders_, [&](const EMU3DirectoryPtr &folder) { return isInTree(folder); });
    const Bytes before = readBytes(path_);
    const EMU3DirectoryPtr root = volume_->rootDirectory();
    const std::string url = folder_.path("x.E4B");
    writeText(url, "contents");
    const auto refused = [&](const auto &call) {
      EMU3Error error;
      EXPECT_FALSE(call(&error));
      EXPECT_EQ(error.code, 5);
      ++operations_;
    };
    if (!files_.empty()) {
      const EMU3FilePtr file = random_.pick(files_);
      const EMU3DirectoryPtr folder = file->folder() ? file->folder() : root;
      refused([&](EMU3Error *error) { return volume_->deleteFile(file, folder, error); });
      refused([&](EMU3Error *error) { return volume_->renameFile(file, "n", folder, error); });
      refused([&](EMU3Error *error) { return volume_->copyFile(file, root, error); });
      refused([&](EMU3Error *error) { return volume_->moveFile(file, folder, root, error); });
      refused([&](EMU3Error *error) { return volume_->dataForFile(file, error) != nullptr; });
      refused([&](EMU3Error *error) { return volume_->exportFile(file, folder_.path("out"), error); });
    }
    if (!folders_.empty()) {
      const EMU3DirectoryPtr folder = random_.pick(folders_);
      const EMU3DirectoryPtr parent = folder->parent() ? folder->parent() : root;
      refused([&](EMU3Error *error) { return volume_->importFileAtURL(url, folder, error); });
      refused([&](EMU3Error *error) { return volume_->createDirectoryNamed("n", folder, error); });
      refused([&](EMU3Error *error) { return volume_->renameDirectory(folder, "n", error); });
      refused([&](EMU3Error *error) { return volume_->moveDirectory(folder, root, error); });
      refused([&](EMU3Error *error) { return volume_->deleteDirectory(folder, parent, error); });
    }
    compareImages(before, readBytes(path_), ImageReading(before), "an operation on what has left the tree");
  }

  Random random_;
  TemporaryFolder folder_;
  std::string path_;
  EMU3FilesystemPtr volume_;
  std::vector<EMU3FilePtr> files_;
  std::vector<EMU3DirectoryPtr> folders_;
  std::size_t operations_ = 0;
};

TEST(GuardedProperties, AnOperationChangesWhatItWasAskedToAndNothingElse) {
  const std::uint32_t first = askedNumber("TESSARY_FIRST_SEED", 1);
  const std::uint32_t count = askedNumber("TESSARY_SEEDS", 300);
  std::size_t operations = 0;
  for (std::uint32_t seed = first; seed < first + count && !testing::Test::HasFailure(); ++seed) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, "seed " + std::to_string(seed));
    operations += Session(seed).run(20);
  }
  RecordProperty("operations", static_cast<int>(operations));
  std::cout << operations << " operations\n";
}

} // namespace
} // namespace tessary::test
