#pragma once

#include "filesystem/DiskFormat.h"
#include "filesystem/EMU3Directory.h"
#include "filesystem/EMU3File.h"
#include "filesystem/EntryPlace.h"
#include "filesystem/MountRules.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tessary {

class VolumeTree;
struct VolumeGeometry;

/// What the changes of a volume ask where the bare and the guarded rules differ. One object a mount, chosen
/// at mounting, without state of its own; whoever asks holds the volume's lock.
class VolumeRules {
public:
  VolumeRules() = default;
  virtual ~VolumeRules() = default;
  VolumeRules(const VolumeRules &) = delete;
  VolumeRules &operator=(const VolumeRules &) = delete;

  [[nodiscard]] virtual MountRules kind() const = 0;

  // Whether an object may still be used: one that has left the tree no longer owns its entry and its
  // contents.
  [[nodiscard]] virtual bool mayUse(const VolumeTree &tree, const EMU3DirectoryPtr &folder) const = 0;
  [[nodiscard]] virtual bool mayUse(const VolumeTree &tree, const EMU3DirectoryPtr &folder,
                                    const EMU3FilePtr &file) const = 0;
  [[nodiscard]] virtual bool mayUse(const VolumeTree &tree, const EMU3DirectoryPtr &parent,
                                    const EMU3DirectoryPtr &folder) const = 0;
  /// Whether the contents that the file's entry led to may be read.
  [[nodiscard]] virtual bool mayRead(const VolumeTree &tree, const EMU3FilePtr &file) const = 0;

  // Names
  /// The part of a name that an entry holds, at most 15 bytes.
  [[nodiscard]] virtual std::string_view storedName(const std::string &name) const = 0;
  /// Whether an entry may be given this name, where its length is right.
  [[nodiscard]] virtual bool mayStoreName(const std::string &name) const = 0;
  /// The same for a name of 16 bytes that is stored as it is.
  [[nodiscard]] virtual bool mayStoreWholeName(const std::string &name) const = 0;

  // Room
  /// The most blocks that a file may have.
  [[nodiscard]] virtual std::uint64_t mostBlocksOfAFile() const = 0;
  /// The slot that a new file's contents go into; none when there is no number left.
  [[nodiscard]] virtual std::optional<std::uint16_t> slotForNewFile(const VolumeTree &tree,
                                                                    const VolumeGeometry &geometry) const = 0;
  /// Whether the mark of a block may be written into this block of the table.
  [[nodiscard]] virtual bool mayMarkIn(std::uint64_t tableBlock, const VolumeGeometry &geometry) const = 0;

  // Places
  /// Whether a new entry may be written over this one.
  [[nodiscard]] virtual bool isFree(const std::uint8_t *dentry, EntryPlace place,
                                    const VolumeTree &tree) const = 0;
  /// Something new has taken this entry of the folder.
  virtual void entryWasTaken(const EMU3DirectoryPtr &folder, EntryPlace place) const = 0;
  /// Whether a new folder may be stored in this block, as far as its number goes.
  [[nodiscard]] virtual bool mayHoldFolder(std::uint64_t block, const VolumeGeometry &geometry) const = 0;
};

[[nodiscard]] const VolumeRules &rulesFor(MountRules kind);

} // namespace tessary
