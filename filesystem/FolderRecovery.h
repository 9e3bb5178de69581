#pragma once

#include "filesystem/EMU3Error.h"
#include "filesystem/Volume.h"
#include "filesystem/VolumeFindings.h"

#include <cstdint>
#include <string>
#include <vector>

/// Folders that no entry leads to any more, and bringing them back.
namespace tessary {

/// The blocks of the directory area that belong to no folder of the tree and hold entries that all make
/// sense.
[[nodiscard]] std::vector<LostFolder> lostFolders(const Volume &volume) TESSARY_REQUIRES_SHARED(volume.lock);

/// Whether `recoverFolder` would write the entry; false with the error it would give.
[[nodiscard]] bool canRecoverFolder(const Volume &volume, std::uint64_t block, const std::string &name,
                                    const EMU3DirectoryPtr &inDirectory, EMU3Error *error)
    TESSARY_REQUIRES_SHARED(volume.lock);

/// Writes an entry for a lost folder into a place of the folder that is really free. Codes 3, 5 (the block
/// holds no lost folder), 6 and 7.
bool recoverFolder(Volume &volume, std::uint64_t block, const std::string &name,
                   const EMU3DirectoryPtr &inDirectory, EMU3Error *error) TESSARY_REQUIRES(volume.lock);

} // namespace tessary
