#pragma once

#include "filesystem/DirectorySnapshot.h"
#include "tessary/EMU3Directory.h"
#include "tessary/EMU3File.h"
#include "tessary/EntryPlace.h"

#include <cstdint>
#include <map>

namespace tessary {

/// The objects of a tree that was read before, by the places of their entries: so that whoever holds one goes
/// on holding the same file or folder when the tree is read again.
class KnownObjects {
public:
  explicit KnownObjects(const EMU3DirectoryPtr &root);
  virtual ~KnownObjects() = default;
  KnownObjects(const KnownObjects &) = delete;
  KnownObjects &operator=(const KnownObjects &) = delete;

  /// The file of that entry in that folder; null when it is not one that was known.
  [[nodiscard]] EMU3FilePtr file(EntryPlace place, const std::uint8_t *dentry,
                                 const EMU3DirectoryPtr &folder) const;
  /// The same for a folder in `parent`.
  [[nodiscard]] EMU3DirectoryPtr folder(EntryPlace place, const std::uint8_t *dentry,
                                        const EMU3DirectoryPtr &parent) const;

private:
  [[nodiscard]] virtual bool isStillFile(const EMU3File &known, const std::uint8_t *dentry) const = 0;
  [[nodiscard]] virtual bool isStillFolder(const EMU3Directory &known, const std::uint8_t *dentry) const = 0;

  /// Several files can have one place: bare, a folder still lists a deleted file whose entry another one has
  /// taken.
  std::multimap<EntryPlace, EMU3FilePtr> files_;
  std::map<EntryPlace, EMU3DirectoryPtr> folders_;
};

/// For an image that another program may have changed: an object is kept only where all 32 bytes of its entry
/// are as they were.
class UnchangedObjects final : public KnownObjects {
public:
  /// `asRead` has the directory blocks as they were when the tree was read.
  UnchangedObjects(const EMU3DirectoryPtr &root, DirectorySnapshot asRead);

private:
  [[nodiscard]] bool isStillFile(const EMU3File &known, const std::uint8_t *dentry) const override;
  [[nodiscard]] bool isStillFolder(const EMU3Directory &known, const std::uint8_t *dentry) const override;
  [[nodiscard]] bool isUnchanged(EntryPlace place, const std::uint8_t *dentry) const;

  const DirectorySnapshot asRead_;
};

/// For an image that this mount alone has changed: an object is kept where its entry still has the same slot,
/// size, id and type, or the same blocks. The name is not compared: bare, an object's can differ from its
/// entry's.
class FollowedObjects final : public KnownObjects {
public:
  using KnownObjects::KnownObjects;

private:
  [[nodiscard]] bool isStillFile(const EMU3File &known, const std::uint8_t *dentry) const override;
  [[nodiscard]] bool isStillFolder(const EMU3Directory &known, const std::uint8_t *dentry) const override;
};

} // namespace tessary
