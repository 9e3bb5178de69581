#pragma once

#include "tests/writing/WritableVolume.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace tessary::test {

/// One live entry of a volume: what the tree in memory and what a fresh parse of the image hold of it. The
/// two differ where `asReadFromTheImage` says so and nowhere else.
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
  Outcome store(const EMU3DirectoryPtr &root, const EMU3DirectoryPtr &folder, const std::string &name,
                const Bytes &contents, std::int64_t fileType, bool wholeName = false);
  void remove(const EMU3File &file);
  std::string rename(const EMU3File &file, const std::string &name);
  Outcome createFolder(const EMU3DirectoryPtr &root, const EMU3DirectoryPtr &parent, const std::string &name);
  void deleteFolder(const EMU3DirectoryPtr &folder);
  void renameFolderInMemory(const EMU3Directory &folder, const std::string &name);
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
  std::uint16_t slotAboveAll(const EMU3DirectoryPtr &root) const;
  void mark(std::uint16_t slot, std::uint64_t blocks, std::uint16_t value);
  void addReadEntries(const EMU3DirectoryPtr &folder);
  std::string entryName(const std::string &name) const;
  bool isRefusedName(const std::string &name) const;

  MountRules rules_;
};

std::string placeText(const VolumeModel::Place &place);

} // namespace tessary::test
