#pragma once

#include "filesystem/Volume.h"
#include "filesystem/VolumeGeometry.h"
#include "filesystem/VolumeRules.h"
#include "tessary/EMU3File.h"

#include <cstdint>
#include <set>
#include <utility>
#include <vector>

namespace tessary {

/// The blocks of live files' contents.
class FileExtents final {
public:
  /// Files that are deleted or have no contents add nothing.
  void add(const EMU3File &file, const VolumeGeometry &geometry);

  /// Those of the blocks that lie in a file's contents. In one pass over both, however the files overlap.
  [[nodiscard]] std::vector<std::int64_t> thoseOf(const std::set<std::int64_t> &blocks);

private:
  std::vector<std::pair<std::uint64_t, std::uint64_t>> extents_; ///< first block, and that behind the last
};

/// Whether the block of entries lies in the contents of a live file that is none of `own`. Few do, all of
/// them in the data area. The root's block is where the header says, whatever files claim.
[[nodiscard]] bool isInContents(const Volume &volume, std::int64_t block, const OwnFiles &own)
    TESSARY_REQUIRES_SHARED(volume.lock);

} // namespace tessary
