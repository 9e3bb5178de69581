#include "filesystem/DentryForm.h"
#include "filesystem/EMU3Filesystem.h"
#include "filesystem/Text.h"

#include <algorithm>
#include <set>
#include <shared_mutex>

namespace tessary {
namespace {

using namespace format;

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

std::optional<std::size_t> firstEmptyDentry(const Block &block) {
  for (std::size_t index = 0; index < kDentriesPerBlock; ++index) {
    if (block[index * kDentrySize] == 0) return index;
  }
  return std::nullopt;
}

} // namespace

std::vector<LostFolder> EMU3Filesystem::lostFolders() {
  const std::shared_lock lock(shared_->operationLock);
  return _lostFolders();
}

// A block of the directory area is taken for a lost folder when it belongs to none of the tree and every
// entry in it makes sense, at least one.
std::vector<LostFolder> EMU3Filesystem::_lostFolders() const {
  std::set<std::int64_t> owned;
  _collectDirectoryBlocks(rootDirectory(), &owned);
  std::vector<LostFolder> found;
  const std::uint64_t end = std::min({dataAreaBlock(), totalBlocks(), kLastFolderBlock + 1});
  for (std::uint64_t number = rootDirBlock_; number < end; ++number) {
    Block block{};
    if (owned.contains(static_cast<std::int64_t>(number)) || !_canHoldFolder(number)) continue;
    if (!_blockPtr(number).read(0, block.data(), block.size())) continue;
    LostFolder folder;
    folder.block = number;
    bool isPlausible = true;
    for (std::size_t index = 0; index < kDentriesPerBlock && isPlausible; ++index) {
      const std::uint8_t *const dentry = block.data() + index * kDentrySize;
      if (dentry[0] == 0) continue;
      const std::optional<std::string> name = _parseName(dentry);
      const bool isFile = isFileDentry(dentry);
      isPlausible = name && isPlausibleName(*name) &&
                    (isFile ? isPlausibleFile(dentry) : !folderBlocks(dentry).empty());
      if (!isPlausible) break;
      ++(isFile ? folder.fileCount : folder.folderCount);
      folder.names.push_back(*name);
    }
    if (isPlausible && !folder.names.empty()) found.push_back(std::move(folder));
  }
  return found;
}

bool EMU3Filesystem::canRecoverFolder(std::uint64_t block, const std::string &name,
                                      const EMU3DirectoryPtr &inDirectory, EMU3Error *error) {
  const std::shared_lock lock(shared_->operationLock);
  return _placeForLostFolder(block, name, inDirectory, error).has_value();
}

bool EMU3Filesystem::recoverFolder(std::uint64_t block, const std::string &name,
                                   const EMU3DirectoryPtr &inDirectory, EMU3Error *error) {
  const Change change(*this);
  const auto place = _placeForLostFolder(block, name, inDirectory, error);
  if (!place) return false;
  const std::string_view stored = prefixOfWholeCharacters(name, kMaxNameBytes);
  if (!mapping_->writeDentry(place->first, place->second, _dentryForFolder(stored, block))) {
    return fail(error, _errorCode(kErrorWriteRefused, "Block write failed"));
  }
  _reconcileTree();
  return true;
}

std::optional<std::pair<std::uint64_t, std::size_t>>
EMU3Filesystem::_placeForLostFolder(std::uint64_t block, const std::string &name,
                                    const EMU3DirectoryPtr &inDirectory, EMU3Error *error) const {
  const auto refused = [&](EMU3ErrorCode code, const char *message) {
    fail(error, _errorCode(code, message));
    return std::nullopt;
  };
  if (isReadOnly()) return refused(kErrorWriteRefused, "Image is read-only");
  const std::vector<LostFolder> lost = _lostFolders();
  const bool isLost =
      std::any_of(lost.begin(), lost.end(), [&](const LostFolder &folder) { return folder.block == block; });
  if (!isLost || !_isInTree(inDirectory)) return refused(kErrorEntryNotFound, "Dentry block not found");
  if (name.empty() || utf16Length(name) > kMaxNameBytes || !_nameReadBack(name)) {
    return refused(kErrorBadArgument, "Name must be 1–15 characters");
  }
  for (const std::int64_t number : inDirectory->blockList()) {
    Block entries{};
    const auto place = static_cast<std::uint64_t>(number);
    if (!_blockPtr(place).read(0, entries.data(), entries.size())) continue;
    if (const auto index = firstEmptyDentry(entries)) return std::pair(place, *index);
  }
  return refused(kErrorDirectoryFull, "Parent directory is full");
}

} // namespace tessary
