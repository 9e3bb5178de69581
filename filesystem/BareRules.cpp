#include "filesystem/BareRules.h"

#include "filesystem/Text.h"
#include "filesystem/VolumeTree.h"

#include <algorithm>
#include <limits>

namespace tessary {

using namespace format;

// Cut by bytes, so a character may be cut in two.
std::string_view BareRules::storedName(const std::string &name) const {
  if (!isValidUtf8(name)) return {};
  return std::string_view(name).substr(0, kMaxNameBytes);
}

std::uint64_t BareRules::mostBlocksOfAFile() const {
  return std::numeric_limits<std::uint64_t>::max();
}

// The slot above the highest in use anywhere in the tree; one freed below it is never handed out again. Above
// 65535 comes 0.
std::optional<std::uint16_t> BareRules::slotForNewFile(const VolumeTree &tree, const VolumeGeometry &) const {
  std::uint16_t highest = 0;
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(tree.root())) {
    folder->lookAtFiles([&](const EMU3File &file) { highest = std::max(highest, file.startCluster()); });
  }
  return static_cast<std::uint16_t>(highest + 1);
}

// A folder's entry has no type byte, so it counts as free too.
bool BareRules::isFree(const std::uint8_t *dentry, EntryPlace, const VolumeTree &) const {
  return dentry[0] == 0 || dentry[kDentryRawType] == kRawTypeDeleted;
}

} // namespace tessary
