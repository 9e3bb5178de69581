#include "filesystem/KnownObjects.h"

#include "filesystem/DirectoryEntry.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace tessary {

using namespace format;

KnownObjects::KnownObjects(const EMU3DirectoryPtr &root) {
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(root)) {
    if (folder != root) folders_.emplace(folder->place(), folder);
    for (const EMU3FilePtr &file : folder->files())
      files_.emplace(file->place(), file);
  }
}

EMU3FilePtr KnownObjects::file(EntryPlace place, const std::uint8_t *dentry,
                               const EMU3DirectoryPtr &folder) const {
  const auto [first, end] = files_.equal_range(place);
  const auto known = std::find_if(first, end, [&](const auto &item) {
    return item.second->folder() == folder && isStillFile(*item.second, dentry);
  });
  return known == end ? nullptr : known->second;
}

EMU3DirectoryPtr KnownObjects::folder(EntryPlace place, const std::uint8_t *dentry,
                                      const EMU3DirectoryPtr &parent) const {
  const auto known = folders_.find(place);
  if (known == folders_.end() || known->second->parent() != parent) return nullptr;
  return isStillFolder(*known->second, dentry) ? known->second : nullptr;
}

// ---- Unchanged

UnchangedObjects::UnchangedObjects(const EMU3DirectoryPtr &root, DirectorySnapshot asRead)
    : KnownObjects(root), asRead_(std::move(asRead)) {}

bool UnchangedObjects::isStillFile(const EMU3File &known, const std::uint8_t *dentry) const {
  return isUnchanged(known.place(), dentry);
}

bool UnchangedObjects::isStillFolder(const EMU3Directory &known, const std::uint8_t *dentry) const {
  return isUnchanged(known.place(), dentry);
}

bool UnchangedObjects::isUnchanged(EntryPlace place, const std::uint8_t *dentry) const {
  const std::optional<Dentry> before = asRead_.entry(place);
  return before && std::equal(before->begin(), before->end(), dentry);
}

// ---- Followed

bool FollowedObjects::isStillFile(const EMU3File &known, const std::uint8_t *dentry) const {
  const EMU3FileFields read = fileFieldsOfDentry(dentry, {}, {});
  return known.startCluster() == read.startCluster && known.fileSize() == read.fileSize &&
         known.entryId() == read.entryId && known.rawType() == read.rawType;
}

bool FollowedObjects::isStillFolder(const EMU3Directory &known, const std::uint8_t *dentry) const {
  return known.entryId() == dentry[kDentryEntryId] && known.blockList() == folderBlocks(dentry);
}

} // namespace tessary
