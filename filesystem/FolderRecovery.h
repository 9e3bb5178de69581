#pragma once

#include "filesystem/BlockSpan.h"
#include "filesystem/CheckProgress.h"
#include "filesystem/NewEntryChange.h"
#include "tessary/EMU3Error.h"
#include "tessary/VolumeFindings.h"

#include <cstdint>
#include <string>
#include <unordered_set>
#include <utility>
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

/// The blocks in which folders may lie: from `begin` up to `end`.
[[nodiscard]] BlockSpan folderGround(const VolumeGeometry &geometry);

/// Looks through those of them that no folder of the tree lists. Goes through them once, in memory in
/// proportion to what is lost. Where `progress`, which may be null, stops it, what was found so far.
[[nodiscard]] LostGround lostGround(const Volume &volume, CheckProgress *progress = nullptr)
    TESSARY_REQUIRES_SHARED(volume.lock);

/// Writes an entry for one of `lostGround`'s folders into a place of the folder that is really free; guarded,
/// a full folder grows. Codes 5 (the block holds no lost folder), 6 and 7.
class RecoverFolder final : public NewEntryChange {
public:
  RecoverFolder(std::uint64_t block, std::string name, EMU3DirectoryPtr inDirectory)
      : block_(block), name_(std::move(name)), inDirectory_(std::move(inDirectory)) {}

  [[nodiscard]] bool begin(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;
  /// Takes the folder into the tree, once its entry is on the medium.
  [[nodiscard]] bool clearOld(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;

  [[nodiscard]] EMU3DirectoryPtr folder() const override { return recovered_; }

private:
  const std::uint64_t block_;
  const std::string name_;
  const EMU3DirectoryPtr inDirectory_;
  EMU3DirectoryPtr recovered_;
};

} // namespace tessary
