#pragma once

#include "filesystem/EMU3Error.h"
#include "filesystem/Volume.h"
#include "filesystem/VolumeFindings.h"

#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

/// Folders that no entry leads to any more, and bringing them back.
namespace tessary {

/// A file of a lost folder, as its entry claims it. Small: there may be half a million of them.
struct LostFile {
  std::uint16_t slot = 1; ///< of its first block; from 1
  std::uint16_t blockCount = 0;
};

/// What the tree does not lead to.
struct LostGround {
  /// By block. One that another contains comes back with that one, and is not named by itself.
  std::vector<LostFolder> folders;
  std::vector<LostFile> files; ///< live ones, of all lost folders
  /// The blocks of all lost folders, and those that folders in them list.
  std::unordered_set<std::int64_t> blocks;
};

/// Looks through the blocks where folders may lie and that no folder of the tree lists. Goes through them
/// once, in memory in proportion to what is lost.
[[nodiscard]] LostGround lostGround(const Volume &volume) TESSARY_REQUIRES_SHARED(volume.lock);

/// Whether `recoverFolder` would write the entry; false with the error it would give.
[[nodiscard]] bool canRecoverFolder(const Volume &volume, std::uint64_t block, const std::string &name,
                                    const EMU3DirectoryPtr &inDirectory, EMU3Error *error)
    TESSARY_REQUIRES_SHARED(volume.lock);

/// Writes an entry for one of `lostGround`'s folders into a place of the folder that is really free; guarded,
/// a full folder grows. Codes 3, 5 (the block holds no lost folder), 6 and 7.
bool recoverFolder(Volume &volume, std::uint64_t block, const std::string &name,
                   const EMU3DirectoryPtr &inDirectory, EMU3Error *error) TESSARY_REQUIRES(volume.lock);

} // namespace tessary
