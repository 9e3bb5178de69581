#include "filesystem/DirectoryEntry.h"

#include "tessary/Text.h"

#include <algorithm>
#include <utility>

namespace tessary {

using namespace format;

// The order of these tests is the format: a folder's later block numbers lie where a file has its type
// byte and mark, so some folders read as files.
bool isFileDentry(const std::uint8_t *dentry) {
  if (std::equal(kFormatMark.begin(), kFormatMark.end(), dentry + kDentryFormatMark)) return true;
  const std::uint8_t type = dentry[kDentryRawType];
  if (type == kRawTypeSystem || type == kRawTypeBank || type == kRawTypeOtherBank) return true;
  const std::uint8_t id = dentry[kDentryEntryId];
  return id != kFolderId && id != kOtherFolderId;
}

std::optional<std::string> nameOfDentry(const std::uint8_t *dentry) {
  std::string name = paddedField(dentry, kNameSize);
  if (name.empty() || !isValidUtf8(name)) return std::nullopt;
  return name;
}

EMU3FileFields fileFieldsOfDentry(const std::uint8_t *dentry, std::string name, EntryPlace place) {
  EMU3FileFields fields;
  fields.name = std::move(name);
  fields.entryId = dentry[kDentryEntryId];
  fields.dentryBlock = place.block;
  fields.dentryOffset = place.index;
  fields.startCluster = readLE16(dentry + kDentryStartCluster);
  fields.clusterCount = readLE16(dentry + kDentryClusterCount);
  fields.blocksInLastCluster = readLE16(dentry + kDentryBlocksInLastCluster);
  fields.bytesInLastBlock = readLE16(dentry + kDentryBytesInLastBlock);
  fields.rawType = dentry[kDentryRawType];
  fields.fileType = fileTypeForRawType(fields.rawType);
  if (fields.blocksInLastCluster != 0) {
    fields.fileSize = fields.blocksInLastCluster * kBlockSize + fields.bytesInLastBlock - kBlockSize;
  }
  return fields;
}

std::int64_t folderBlockAt(const Dentry &dentry, std::size_t position) {
  return static_cast<std::int16_t>(readLE16(&dentry[kDentryFolderBlocks + 2 * position]));
}

void setFolderBlockAt(Dentry &dentry, std::size_t position, std::int64_t block) {
  writeLE16(&dentry[kDentryFolderBlocks + 2 * position], static_cast<std::uint16_t>(block));
}

void setFileEntryId(Dentry &dentry, std::uint8_t entryId) {
  dentry[kDentryEntryId] = entryId;
  if (!isFileDentry(dentry.data())) ++dentry[kDentryEntryId];
}

std::uint64_t blocksNeeded(std::uint64_t length) {
  return std::max<std::uint64_t>(length + kBlockSize - 1, kBlockSize) / kBlockSize;
}

std::vector<std::int64_t> folderBlocks(const std::uint8_t *dentry) {
  std::vector<std::int64_t> blocks;
  for (std::size_t i = 0; i < kFolderBlockCount; ++i) {
    const auto number = static_cast<std::int16_t>(readLE16(dentry + kDentryFolderBlocks + 2 * i));
    if (number >= 1) blocks.push_back(number);
  }
  return blocks;
}

bool isAllZero(const Block &block) {
  return std::all_of(block.begin(), block.end(), [](std::uint8_t byte) { return byte == 0; });
}

bool hasNoEntry(const Block &block) {
  for (std::size_t entry = 0; entry < kDentriesPerBlock; ++entry) {
    if (block[entry * kDentrySize] != 0) return false;
  }
  return true;
}

namespace {

Dentry namedDentry(std::string_view storedName) {
  Dentry dentry{};
  const NameField field = nameFieldForRename(storedName);
  std::copy(field.begin(), field.end(), dentry.begin());
  dentry[storedName.size()] = 0; // a new entry has a zero byte behind its name, a renamed one has not
  return dentry;
}

} // namespace

Dentry dentryForFile(std::string_view storedName, std::uint16_t slot, std::uint64_t length,
                     std::uint8_t entryId) {
  Dentry dentry = namedDentry(storedName);
  const auto blocks = static_cast<std::uint16_t>((length + kBlockSize - 1) / kBlockSize);
  const std::uint64_t inLastBlock = blocks != 0 ? length - (std::uint64_t{blocks} - 1) * kBlockSize : length;
  dentry[kDentryEntryId] = entryId;
  writeLE16(&dentry[kDentryStartCluster], slot);
  writeLE16(&dentry[kDentryClusterCount], 1);
  writeLE16(&dentry[kDentryBlocksInLastCluster], blocks);
  writeLE16(&dentry[kDentryBytesInLastBlock], static_cast<std::uint16_t>(inLastBlock));
  dentry[kDentryRawType] = kRawTypeBank;
  std::copy(kFormatMark.begin(), kFormatMark.end(), dentry.begin() + kDentryFormatMark);
  return dentry;
}

Dentry dentryForFolder(std::string_view storedName, std::uint64_t block) {
  Dentry dentry = namedDentry(storedName);
  dentry[kDentryEntryId] = kFolderId;
  writeLE16(&dentry[kDentryFolderBlocks], static_cast<std::uint16_t>(block));
  return dentry;
}

NameField nameFieldForRename(std::string_view storedName) {
  NameField field;
  field.fill(' ');
  std::copy(storedName.begin(), storedName.end(), field.begin());
  return field;
}

} // namespace tessary
