#pragma once

#include "filesystem/DiskFormat.h"

#include <cstdint>
#include <vector>

namespace tessary {

/// Whether 32 bytes with a name have the file form; otherwise they have the folder form.
bool isFileDentry(const std::uint8_t *dentry);

/// The directory blocks that an entry of the folder form names, in order; places of 0 or less are empty.
std::vector<std::int64_t> folderBlocks(const std::uint8_t *dentry);

} // namespace tessary
