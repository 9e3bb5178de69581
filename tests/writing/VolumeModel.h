#pragma once

#include "tests/writing/WritableVolume.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tessary::test {

/// One entry of a volume: what the tree in memory and what a fresh parse of the image hold of it. The two
/// differ where `asReadFromTheImage` says so and nowhere else; guarded, nowhere.
struct ModelEntry {
  bool isFolder = false;
  std::string treeName;   ///< as the tree holds it
  std::string storedName; ///< as the entry reads back
  Bytes contents{};
  std::uint8_t rawType = 0;
  std::int64_t fileType = 0;
  std::uint16_t slot = 0;
  std::uint8_t entryId = 0;
  std::uint16_t clusterCount = 0;
  std::uint16_t blocks = 0;       ///< as the tree holds it
  std::uint16_t storedBlocks = 0; ///< as the entry holds it

  /// The entry as a fresh parse gives it:
  /// - a name longer than an entry's 15 bytes comes back cut, and without the spaces at its end;
  /// - a folder renamed in memory has its old name: that name is never written;
  /// - a copied file is a bank, since every file written is one, whatever kind its source was;
  /// - an empty file just written has 1 block in memory and 0 in its entry.
  ModelEntry asReadFromTheImage() const;

  /// What reading the file gives. An empty file of 1 block gives that block, since contents are cut to the
  /// size only when there is one.
  Bytes readContents() const { return contents.empty() && blocks == 1 ? Bytes(kBlockBytes) : contents; }
};

/// A second, independent account of what each change does to a volume: to the bytes of its image, to its
/// counters and to its entries. It takes the tree before the change from the engine, which has been compared
/// with the model by then, and shares no code with it.
class VolumeModel {
public:
  using Place = std::pair<std::int64_t, std::int64_t>; ///< block, index

  /// `root` is the tree of the image as just read.
  VolumeModel(ImageBuilder image, MountRules rules, const EMU3DirectoryPtr &root);

  /// How an operation must end: the error's description, empty for success. Then the model is as it was
  /// before or, for success, has made the change.
  struct Outcome {
    std::string error;
    Place place{};
  };
  /// What is stored: an import has no `source`, a copy or a restored file has the entry that it is made from.
  struct NewFile {
    std::string name;
    Bytes contents;
    std::int64_t fileType = 1;
    std::optional<RawEntry> source{};
    bool keepsName = false; ///< the source's name field as it is, also by the bare rules
  };
  Outcome store(const EMU3DirectoryPtr &root, const EMU3DirectoryPtr &folder, const NewFile &file);
  /// Guarded: a move writes the entry alone.
  Outcome moveEntry(const EMU3DirectoryPtr &root, const EMU3File &file, const EMU3DirectoryPtr &to);
  Outcome moveFolder(const EMU3DirectoryPtr &root, const EMU3DirectoryPtr &folder,
                     const EMU3DirectoryPtr &to);
  void remove(const EMU3File &file);
  std::string rename(const EMU3File &file, const std::string &name);
  Outcome createFolder(const EMU3DirectoryPtr &root, const EMU3DirectoryPtr &parent, const std::string &name);
  void deleteFolder(const EMU3DirectoryPtr &folder);
  /// Bare, in memory alone.
  std::string renameFolder(const EMU3Directory &folder, const std::string &name);
  /// The image is read anew: counters and entries are what it holds.
  void reload();

  /// The first free entry of the folder; none when it is full.
  std::optional<Place> freeEntry(const EMU3DirectoryPtr &root, const EMU3DirectoryPtr &folder) const;
  /// What opening the image counts.
  Counters scan() const;

  ImageBuilder image;
  Counters counters;
  std::map<Place, ModelEntry> entries;

private:
  /// A place for an entry; where the folder has to grow for it, the block and its position.
  struct Spot {
    Place place{};
    std::optional<std::size_t> growthPosition{};
  };
  std::optional<Spot> findSpot(const EMU3DirectoryPtr &root, const EMU3DirectoryPtr &folder) const;
  void grow(const EMU3DirectoryPtr &folder, const Spot &spot);
  std::optional<std::int64_t> bareFolderBlock(const EMU3DirectoryPtr &root) const;
  std::optional<std::int64_t> guardedFolderBlock(std::int64_t except,
                                                 const std::function<bool(std::int64_t)> &suits) const;
  std::optional<std::uint16_t> slotFor(const EMU3DirectoryPtr &root, std::uint64_t blocks) const;
  std::uint64_t describedBlocks() const;
  std::uint64_t slotCount() const;
  std::uint64_t slotsOf(std::uint64_t blocks) const;
  /// First and last slot that a file reaches.
  std::pair<std::uint64_t, std::uint64_t> reachOf(const ModelEntry &file) const;
  bool isReached(std::uint64_t slot) const;
  /// By number; guarded.
  std::vector<bool> takenSlots() const;
  void countFreeSlots();
  std::vector<std::int64_t> folderBlocks(const Place &place) const;
  std::uint8_t nextId(const EMU3DirectoryPtr &folder) const;
  Outcome storeGuarded(const EMU3DirectoryPtr &folder, const NewFile &file, const Spot &spot,
                       std::uint16_t slot);
  void putGuardedFile(const Place &place, const RawEntry &entry, const Bytes &contents);
  void mark(std::uint16_t slot, std::uint64_t blocks, std::uint16_t value);
  void addReadEntries(const EMU3DirectoryPtr &folder);
  std::string entryName(const std::string &name) const;
  bool isRefusedName(const std::string &name) const;

  MountRules rules_;
};

std::string placeText(const VolumeModel::Place &place);

} // namespace tessary::test
