#include "filesystem/GuardedRules.h"

#include "filesystem/DirectoryEntry.h"
#include "filesystem/Text.h"
#include "filesystem/TreeEditor.h"
#include "filesystem/VolumeGeometry.h"
#include "filesystem/VolumeTree.h"

#include <algorithm>
#include <limits>

namespace tessary {

using namespace format;

bool GuardedRules::mayUse(const VolumeTree &tree, const EMU3DirectoryPtr &folder) const {
  return tree.contains(folder);
}

bool GuardedRules::mayUse(const VolumeTree &tree, const EMU3DirectoryPtr &folder,
                          const EMU3FilePtr &file) const {
  return tree.contains(folder, file);
}

bool GuardedRules::mayUse(const VolumeTree &tree, const EMU3DirectoryPtr &parent,
                          const EMU3DirectoryPtr &folder) const {
  return parent && parent->containsSubdirectory(folder) && tree.contains(parent);
}

bool GuardedRules::mayRead(const VolumeTree &tree, const EMU3FilePtr &file) const {
  return tree.contains(file);
}

// A character that would be cut in two is left out: half of one is no text, and the entry would be hidden.
std::string_view GuardedRules::storedName(const std::string &name) const {
  if (!isValidUtf8(name)) return {};
  return prefixOfWholeCharacters(name, kMaxNameBytes);
}

// Spaces alone read back as no name.
bool GuardedRules::mayStoreName(const std::string &name) const {
  return nameOfDentry(dentryForFile(storedName(name), 0, 0, 0).data()).has_value();
}

bool GuardedRules::mayStoreWholeName(const std::string &name) const {
  return nameOfDentry(reinterpret_cast<const std::uint8_t *>(name.data())).has_value();
}

std::uint64_t GuardedRules::mostBlocksOfAFile() const {
  return kMaxFileBlocks;
}

// The slot above the highest that any file's contents or cluster count reach into: a bank longer than a slot
// runs on into the next ones.
std::optional<std::uint16_t> GuardedRules::slotForNewFile(const VolumeTree &tree,
                                                          const VolumeGeometry &geometry) const {
  std::uint64_t highest = 0;
  const std::uint64_t slotSize = geometry.slotSizeBlocks;
  const auto raise = [&](const EMU3FileFields &fields) {
    const std::uint64_t first = std::max<std::uint64_t>(fields.startCluster, 1);
    const std::uint64_t filled = (fields.blocksInLastCluster + slotSize - 1) / slotSize;
    highest = std::max(highest, first + std::max<std::uint64_t>({1, fields.clusterCount, filled}) - 1);
  };
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(tree.root())) {
    folder->lookAtFiles([&](const EMU3File &file) { file.lookAtFields(raise); });
  }
  if (highest + 1 > std::numeric_limits<std::uint16_t>::max()) return std::nullopt;
  return static_cast<std::uint16_t>(highest + 1);
}

// Behind a table too short for the volume lie folders; a mark there would destroy them.
bool GuardedRules::mayMarkIn(std::uint64_t tableBlock, const VolumeGeometry &geometry) const {
  return tableBlock < geometry.tableEndBlock();
}

// Looks at the whole tree: on a damaged volume two folders can name the same block.
bool GuardedRules::isFree(const std::uint8_t *dentry, EntryPlace place, const VolumeTree &tree) const {
  if (dentry[0] == 0) return true;
  if (dentry[kDentryRawType] != kRawTypeDeleted) return false;
  const EMU3DirectoryPtr root = tree.root();
  const std::vector<EMU3DirectoryPtr> folders = directoriesInPreOrder(root);
  return std::none_of(folders.begin(), folders.end(), [&](const EMU3DirectoryPtr &folder) {
    return folder != root && folder->place() == place;
  });
}

// A deleted file of that place leaves the list: deleting it later would clear the new one's entry.
void GuardedRules::entryWasTaken(const EMU3DirectoryPtr &folder, EntryPlace place) const {
  for (const EMU3FilePtr &file : folder->files()) {
    if (file->isDeleted() && file->place() == place) TreeEditor::removeFile(folder, file);
  }
}

// A larger number would not read back; in the allocation table the next mark would overwrite the folder.
bool GuardedRules::mayHoldFolder(std::uint64_t block, const VolumeGeometry &geometry) const {
  return block <= kLastFolderBlock && (block < geometry.fatStartBlock || block >= geometry.tableEndBlock());
}

} // namespace tessary
