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

  /// Those of `blocks` that lie in a file's contents. One pass over blocks and files, however these overlap.
  [[nodiscard]] std::vector<std::int64_t> thoseOf(const std::set<std::int64_t> &blocks);

private:
  std::vector<std::pair<std::uint64_t, std::uint64_t>> extents_; ///< first block, and the one behind the last
};

/// Whether the directory block lies in the contents of a live file that is none of `own`. Only a block of the
/// data area can. The root's block never counts as contents, whatever files claim.
[[nodiscard]] bool isInContents(const Volume &volume, std::int64_t block, const OwnFiles &own)
    TESSARY_REQUIRES_SHARED(volume.lock);

} // namespace tessary
