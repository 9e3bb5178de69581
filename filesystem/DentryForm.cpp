#include "filesystem/DentryForm.h"

#include <algorithm>

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

std::vector<std::int64_t> folderBlocks(const std::uint8_t *dentry) {
  std::vector<std::int64_t> blocks;
  for (std::size_t i = 0; i < kFolderBlockCount; ++i) {
    const auto number = static_cast<std::int16_t>(readLE16(dentry + kDentryFolderBlocks + 2 * i));
    if (number >= 1) blocks.push_back(number);
  }
  return blocks;
}

} // namespace tessary
