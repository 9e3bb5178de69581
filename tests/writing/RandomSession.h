#pragma once

#include "tests/writing/RandomVolumes.h"
#include "tests/writing/TreeComparison.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tessary::test {

/// Random operations on a random volume. After each one the image holds the bytes that the model says and no
/// other; the tree in memory and a fresh parse of the image hold the same folders and files, save the
/// differences that ModelEntry and holdsModel list; the counters follow the rules; and an operation that
/// fails has changed nothing.
class RandomSession {
public:
  RandomSession(std::uint32_t seed, MountRules rules)
      : random_(seed), rules_(rules), volume_(randomVolume(random_, rules), rules),
        model_(std::move(volume_.expected), rules, volume_.root()) {}

  /// From here on the operations go through this many filesystems of the image, now through the one, now
  /// through the other; each is closed and opened again now and then.
  void shareBetween(std::size_t count) {
    others_.resize(count - 1);
    for (EMU3FilesystemPtr &other : others_)
      other = mounted(volume_.imagePath(), rules_);
  }

  void run(std::size_t steps) {
    verify();
    for (std::size_t step = 0; step < steps && !testing::Test::HasFailure(); ++step) {
      const testing::ScopedTrace trace(__FILE__, __LINE__, "step " + std::to_string(step));
      takeStep();
      verify();
    }
  }

private:
  // Whichever comes next.
  EMU3Filesystem &filesystem() {
    if (others_.empty()) return *volume_.filesystem();
    const std::size_t which = random_.below(others_.size() + 1);
    if (which == others_.size()) return *volume_.filesystem();
    EMU3FilesystemPtr &other = others_[which];
    if (random_.chance(10)) {
      other.reset();
      other = mounted(volume_.imagePath(), rules_);
    }
    return *other;
  }
  EMU3DirectoryPtr root() { return volume_.root(); }

  void takeStep() {
    struct Kind {
      std::size_t weight;
      void (RandomSession::*take)();
    };
    static const std::vector<Kind> kinds = {
        {20, &RandomSession::import},       {6, &RandomSession::restore},
        {14, &RandomSession::copy},         {12, &RandomSession::move},
        {14, &RandomSession::deleteFile},   {8, &RandomSession::rename},
        {8, &RandomSession::createFolder},  {5, &RandomSession::deleteFolder},
        {3, &RandomSession::renameFolder},  {4, &RandomSession::reload},
        {6, &RandomSession::useWhatIsGone}, {4, &RandomSession::readContents}};
    std::size_t total = 0;
    for (const Kind &kind : kinds)
      total += kind.weight;
    std::size_t choice = random_.below(total);
    for (const Kind &kind : kinds) {
      if (choice < kind.weight) return (this->*kind.take)();
      choice -= kind.weight;
    }
  }

  void verify() {
    EXPECT_TRUE(holdsExactly(volume_.imagePath(), model_.image));
    EXPECT_EQ(countersOf(*volume_.filesystem()), model_.counters);
    EXPECT_TRUE(holdsModel(*volume_.filesystem(), model_, Side::memory, overtaken_));
    for (const EMU3FilesystemPtr &other : others_) {
      EXPECT_EQ(countersOf(*other), model_.counters);
      EXPECT_EQ(other->rootDirectory(), root());
    }
    const EMU3FilesystemPtr fresh = volume_.openedAnew();
    EXPECT_EQ(countersOf(*fresh), model_.scan());
    EXPECT_TRUE(holdsModel(*fresh, model_, Side::image));
  }

  // --- What there is to choose from ---

  EMU3DirectoryPtr anyFolder() { return random_.pick(directoriesInPreOrder(root())); }
  struct Listed {
    EMU3FilePtr file;
    EMU3DirectoryPtr folder;
  };
  // A file that is not deleted; none when there is none.
  std::optional<Listed> anyFile() {
    std::vector<Listed> all;
    for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(root())) {
      for (const EMU3FilePtr &file : folder->allFiles())
        all.push_back({file, folder});
    }
    if (all.empty()) return std::nullopt;
    return random_.pick(all);
  }
  // The bare rules take a live folder's entry for a free one. Image and tree stay together as long as
  // another entry comes before it.
  bool mayTakeAnEntry(const EMU3DirectoryPtr &folder) {
    if (rules_ == MountRules::guarded) return true;
    const std::optional<VolumeModel::Place> place = model_.freeEntry(root(), folder);
    return !place || !model_.entries.contains(*place) || !model_.entries.at(*place).isFolder;
  }

  // --- The operations ---

  // What an operation answered is what the model foresaw.
  void expectOutcome(bool done, const EMU3Error &error, const std::string &foreseen) {
    EXPECT_EQ(done, foreseen.empty());
    EXPECT_EQ(error.isSet() ? error.description() : "", foreseen);
  }
  // A new item is the last in the list of its folder, the others are what they were.
  template <typename Pointer>
  void expectAppended(const std::vector<Pointer> &before, const std::vector<Pointer> &after) {
    ASSERT_EQ(after.size(), before.size() + 1);
    EXPECT_TRUE(std::equal(before.begin(), before.end(), after.begin()));
  }
  // The files that the tree goes on listing once the entry at `place` is another's; a deleted file whose
  // entry it was has no part in anything any more.
  std::vector<EMU3FilePtr> withoutOvertaken(std::vector<EMU3FilePtr> files, const VolumeModel::Place &place) {
    std::erase_if(files, [&](const EMU3FilePtr &file) {
      if (!file->isDeleted() || placeIn(*file) != place) return false;
      overtaken_.insert(file);
      return true;
    });
    return files;
  }

  // Whatever stores a file in `folder`, foreseen as `outcome`.
  void store(const EMU3DirectoryPtr &folder, const std::function<bool(EMU3Error *)> &operation,
             const std::function<VolumeModel::Outcome()> &foresee) {
    if (!mayTakeAnEntry(folder)) return;
    const std::vector<EMU3FilePtr> before = folder->files();
    const VolumeModel::Outcome outcome = foresee();
    EMU3Error error;
    expectOutcome(operation(&error), error, outcome.error);
    if (!outcome.error.empty()) return;
    expectAppended(withoutOvertaken(before, outcome.place), withoutOvertaken(folder->files(), outcome.place));
  }

  void import() {
    const EMU3DirectoryPtr folder = anyFolder();
    const std::string name =
        random_.chance(15) ? randomBadName(random_, rules_) : randomName(random_, rules_);
    if (name.empty()) return; // no host file has such a name
    const Bytes contents = randomContents(random_, slotBytes(), rules_);
    const std::string path = volume_.hostFile(name + ".wav", contents);
    // Only plain names of the pool have 16 units, so that their cut is one of bytes.
    const std::string cut = name == "16 characters..." || name == "0123456789abcd\U0001F941"
                                ? name.substr(0, name[0] == '1' ? 15 : 14)
                                : name;
    store(
        folder, [&](EMU3Error *error) { return filesystem().importFileAtURL(path, folder, error); },
        [&] { return model_.store(root(), folder, cut, contents, 1); });
  }

  void restore() {
    const EMU3DirectoryPtr folder = anyFolder();
    const std::string name = random_.chance(40) ? "sixteen bytes..." : randomName(random_, rules_);
    const Bytes contents = randomContents(random_, slotBytes(), rules_);
    const std::string path = volume_.hostFile("backup", contents);
    const RawEntry entry = rawFileEntry(name.substr(0, 16), 0x81, 1, 1, 1, 1, 1);
    store(
        folder,
        [&](EMU3Error *error) {
          return filesystem().restoreFileAtURL(path, entry, folder, error) != nullptr;
        },
        [&] { return model_.store(root(), folder, name, contents, 1, true); });
  }

  void copy() {
    const std::optional<Listed> source = anyFile();
    if (!source) return;
    const EMU3DirectoryPtr folder = anyFolder();
    const ModelEntry entry = model_.entries.at(placeIn(*source->file));
    store(
        folder, [&](EMU3Error *error) { return filesystem().copyFile(source->file, folder, error); },
        [&] { return model_.store(root(), folder, entry.treeName, entry.readContents(), entry.fileType); });
  }

  void move() {
    const std::optional<Listed> source = anyFile();
    if (!source) return;
    const EMU3DirectoryPtr folder = anyFolder();
    const ModelEntry entry = model_.entries.at(placeIn(*source->file));
    if (folder == source->folder) {
      EXPECT_TRUE(filesystem().moveFile(source->file, folder, folder));
      return;
    }
    store(
        folder,
        [&](EMU3Error *error) { return filesystem().moveFile(source->file, source->folder, folder, error); },
        [&] {
          const VolumeModel::Outcome outcome =
              model_.store(root(), folder, entry.treeName, entry.readContents(), entry.fileType);
          if (!outcome.error.empty()) return outcome;
          model_.remove(*source->file);
          goneFiles_.push_back(*source);
          return outcome;
        });
  }

  void deleteFile() {
    const std::optional<Listed> victim = anyFile();
    if (!victim) return;
    std::vector<EMU3FilePtr> left = victim->folder->files();
    std::erase(left, victim->file);
    EMU3Error error;
    expectOutcome(filesystem().deleteFile(victim->file, victim->folder, &error), error, "");
    EXPECT_EQ(victim->folder->files(), left);
    model_.remove(*victim->file);
    goneFiles_.push_back(*victim);
  }

  void rename() {
    const std::optional<Listed> file = anyFile();
    if (!file) return;
    const std::string name =
        random_.chance(25) ? randomBadName(random_, rules_) : randomName(random_, rules_);
    EMU3Error error;
    const bool done = filesystem().renameFile(file->file, name, file->folder, &error);
    expectOutcome(done, error, model_.rename(*file->file, name));
  }

  void createFolder() {
    const EMU3DirectoryPtr parent = anyFolder();
    if (!mayTakeAnEntry(parent)) return;
    const std::vector<EMU3DirectoryPtr> before = parent->subdirectories();
    const std::string name =
        random_.chance(15) ? randomBadName(random_, rules_) : randomName(random_, rules_);
    const VolumeModel::Outcome outcome = model_.createFolder(root(), parent, name);
    EMU3Error error;
    expectOutcome(filesystem().createDirectoryNamed(name, parent, &error), error, outcome.error);
    if (!outcome.error.empty()) return;
    expectAppended(before, parent->subdirectories());
    withoutOvertaken(parent->files(), outcome.place);
  }

  void deleteFolder() {
    const EMU3DirectoryPtr folder = anyFolder();
    const EMU3DirectoryPtr parent = folder->parent();
    if (!parent) return;
    for (const EMU3DirectoryPtr &below : directoriesInPreOrder(folder)) {
      for (const EMU3FilePtr &file : below->files())
        goneFiles_.push_back({file, below});
      goneFolders_.push_back({below, below->parent()});
    }
    model_.deleteFolder(folder);
    EMU3Error error;
    expectOutcome(filesystem().deleteDirectory(folder, parent, &error), error, "");
    EXPECT_FALSE(parent->containsSubdirectory(folder));
  }

  // As the window does it: in memory alone.
  void renameFolder() {
    const EMU3DirectoryPtr folder = anyFolder();
    if (folder == root()) return;
    const std::string name = "renamed beyond 15 characters";
    EXPECT_TRUE(filesystem().renameDirectory(folder, name));
    model_.renameFolderInMemory(*folder, name);
  }

  void reload() {
    for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(root())) {
      goneFolders_.push_back({folder, folder->parent()});
      for (const EMU3FilePtr &file : folder->files())
        goneFiles_.push_back({file, folder});
    }
    EXPECT_TRUE(filesystem().reload());
    model_.reload();
    overtaken_.clear();
  }

  // Nothing done through what has left the tree changes anything.
  void useWhatIsGone() {
    if (rules_ == MountRules::bare) return;
    if (!goneFiles_.empty()) useGoneFile(random_.pick(goneFiles_));
    if (!goneFolders_.empty()) useGoneFolder(random_.pick(goneFolders_));
  }

  void useGoneFile(const Listed &gone) {
    EMU3Error error;
    switch (random_.below(5)) {
    case 0:
      EXPECT_FALSE(filesystem().deleteFile(gone.file, gone.folder, &error));
      break;
    case 1:
      EXPECT_FALSE(filesystem().renameFile(gone.file, "new", gone.folder, &error));
      break;
    case 2:
      EXPECT_FALSE(filesystem().copyFile(gone.file, anyFolder(), &error));
      break;
    case 3:
      EXPECT_EQ(filesystem().dataForFile(gone.file, &error), nullptr);
      break;
    default:
      EXPECT_FALSE(filesystem().moveFile(gone.file, gone.folder, anyFolder(), &error));
    }
    EXPECT_EQ(error.description(), kNoEntryError);
  }

  struct GoneFolder {
    EMU3DirectoryPtr folder;
    EMU3DirectoryPtr parent;
  };

  void useGoneFolder(const GoneFolder &gone) {
    EMU3Error error;
    switch (random_.below(3)) {
    case 0:
      EXPECT_FALSE(filesystem().createDirectoryNamed("new", gone.folder, &error));
      break;
    case 1:
      EXPECT_FALSE(filesystem().deleteDirectory(gone.folder, gone.parent, &error));
      break;
    default:
      EXPECT_FALSE(filesystem().importFileAtURL(volume_.hostFile("host", bytesOf("x")), gone.folder, &error));
    }
    EXPECT_EQ(error.description(), kNoEntryError);
  }

  // From here on the file's contents are cached, and copies of it are made from there.
  void readContents() {
    if (const std::optional<Listed> file = anyFile()) {
      EXPECT_EQ(contentsOf(filesystem(), file->file), model_.entries.at(placeIn(*file->file)).readContents());
    }
  }

  static VolumeModel::Place placeIn(const EMU3File &file) {
    return {file.dentryBlock(), file.dentryOffset()};
  }
  std::uint64_t slotBytes() const { return model_.image.slotSizeBlocks() * kBlockBytes; }

  Random random_;
  MountRules rules_;
  WritableVolume volume_;
  std::vector<EMU3FilesystemPtr> others_;
  VolumeModel model_;
  std::set<EMU3FilePtr> overtaken_;
  std::vector<Listed> goneFiles_;
  std::vector<GoneFolder> goneFolders_;
};

} // namespace tessary::test
