#include "filesystem/FolderRecovery.h"

#include "filesystem/DirectoryEntry.h"
#include "filesystem/Text.h"
#include "filesystem/VolumeRules.h"

#include <algorithm>
#include <optional>
#include <unordered_set>
#include <utility>

namespace tessary {
namespace {

using namespace format;

// A recovery looks at what it might destroy, however the image is mounted.
const VolumeRules &recoveryRules() {
  return rulesFor(MountRules::guarded);
}

bool isPlausibleName(const std::string &name) {
  return std::none_of(name.begin(), name.end(), [](char character) {
    const auto byte = static_cast<std::uint8_t>(character);
    return byte < 0x20 || byte == 0x7F;
  });
}

bool isPlausibleFile(const std::uint8_t *dentry) {
  const std::uint8_t type = dentry[kDentryRawType];
  return type >= kRawTypeSystem && type <= kRawTypeOtherBank && readLE16(dentry + kDentryStartCluster) >= 1 &&
         readLE16(dentry + kDentryBytesInLastBlock) <= kBlockSize;
}

std::optional<std::int64_t> firstEmptyDentry(const Block &block) {
  for (std::size_t index = 0; index < kDentriesPerBlock; ++index) {
    if (block[index * kDentrySize] == 0) return static_cast<std::int64_t>(index);
  }
  return std::nullopt;
}

// None when the block holds no entry, or one that makes no sense.
std::optional<LostFolder> folderIn(const Block &block) {
  LostFolder folder;
  for (std::size_t index = 0; index < kDentriesPerBlock; ++index) {
    const std::uint8_t *const dentry = block.data() + index * kDentrySize;
    if (dentry[0] == 0) continue;
    const std::optional<std::string> name = nameOfDentry(dentry);
    const bool isFile = isFileDentry(dentry);
    const bool isPlausible =
        name && isPlausibleName(*name) && (isFile ? isPlausibleFile(dentry) : !folderBlocks(dentry).empty());
    if (!isPlausible) return std::nullopt;
    ++(isFile ? folder.fileCount : folder.folderCount);
    folder.names.push_back(*name);
  }
  if (folder.names.empty()) return std::nullopt;
  return folder;
}

// The place for the entry of a lost folder; none, with the error, where it is refused.
std::optional<EntryPlace> placeForLostFolder(const Volume &volume, std::uint64_t block,
                                             const std::string &name, const EMU3DirectoryPtr &inDirectory,
                                             EMU3Error *error) TESSARY_REQUIRES_SHARED(volume.lock) {
  const auto refused = [&](EngineError reason) {
    fail(error, reason);
    return std::nullopt;
  };
  if (volume.isReadOnly()) return refused(EngineError::imageIsReadOnly);
  const std::vector<LostFolder> lost = lostFolders(volume);
  const bool isLost =
      std::any_of(lost.begin(), lost.end(), [&](const LostFolder &folder) { return folder.block == block; });
  if (!isLost || !volume.tree.contains(inDirectory)) return refused(EngineError::entryNotFound);
  if (name.empty() || utf16Length(name) > kMaxNameBytes || !recoveryRules().mayStoreName(name)) {
    return refused(EngineError::badName);
  }
  for (const std::int64_t number : inDirectory->blockList()) {
    const std::optional<Block> entries = volume.entries.read(number);
    if (!entries) continue;
    if (const auto index = firstEmptyDentry(*entries)) return EntryPlace{number, *index};
  }
  return refused(EngineError::parentFull);
}

} // namespace

std::vector<LostFolder> lostFolders(const Volume &volume) {
  const VolumeGeometry geometry = volume.geometry();
  const std::unordered_set<std::int64_t> owned = VolumeTree::folderBlocks(volume.tree.root());
  std::vector<LostFolder> found;
  const std::uint64_t end = std::min({geometry.dataAreaBlock, geometry.totalBlocks, kLastFolderBlock + 1});
  for (std::uint64_t number = geometry.rootDirBlock; number < end; ++number) {
    const auto block = static_cast<std::int64_t>(number);
    if (owned.contains(block) || !geometry.mayHoldFolder(number)) continue;
    const std::optional<Block> bytes = volume.entries.read(block);
    if (!bytes) continue;
    std::optional<LostFolder> folder = folderIn(*bytes);
    if (!folder) continue;
    folder->block = number;
    found.push_back(*std::move(folder));
  }
  return found;
}

bool canRecoverFolder(const Volume &volume, std::uint64_t block, const std::string &name,
                      const EMU3DirectoryPtr &inDirectory, EMU3Error *error) {
  return placeForLostFolder(volume, block, name, inDirectory, error).has_value();
}

bool recoverFolder(Volume &volume, std::uint64_t block, const std::string &name,
                   const EMU3DirectoryPtr &inDirectory, EMU3Error *error) {
  const std::optional<EntryPlace> place = placeForLostFolder(volume, block, name, inDirectory, error);
  if (!place) return false;
  if (!volume.entries.write(*place, dentryForFolder(recoveryRules().storedName(name), block))) {
    return fail(error, EngineError::blockWriteFailed);
  }
  volume.countMarks();
  if (volume.tree.adoptFolder(volume.entries, *place, inDirectory)) return true;
  volume.readTree(volume.tree.root()->name());
  return true;
}

} // namespace tessary
