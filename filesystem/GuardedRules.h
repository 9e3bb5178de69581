#pragma once

#include "filesystem/VolumeRules.h"

namespace tessary {

/// The guards: each function is one of them, and refuses or avoids what the bare rule in its place would
/// destroy.
class GuardedRules final : public VolumeRules {
public:
  [[nodiscard]] MountRules kind() const override { return MountRules::guarded; }
  [[nodiscard]] bool mayUse(const VolumeTree &tree, const EMU3DirectoryPtr &folder) const override;
  [[nodiscard]] bool mayUse(const VolumeTree &tree, const EMU3DirectoryPtr &folder,
                            const EMU3FilePtr &file) const override;
  [[nodiscard]] bool mayUse(const VolumeTree &tree, const EMU3DirectoryPtr &parent,
                            const EMU3DirectoryPtr &folder) const override;
  [[nodiscard]] bool mayRead(const VolumeTree &tree, const EMU3FilePtr &file) const override;
  [[nodiscard]] std::string_view storedName(const std::string &name) const override;
  [[nodiscard]] bool mayStoreName(const std::string &name) const override;
  [[nodiscard]] bool mayStoreWholeName(const std::string &name) const override;
  [[nodiscard]] std::uint64_t mostBlocksOfAFile() const override;
  [[nodiscard]] std::optional<std::uint16_t> slotForNewFile(const VolumeTree &tree,
                                                            const VolumeGeometry &geometry) const override;
  [[nodiscard]] bool mayMarkIn(std::uint64_t tableBlock, const VolumeGeometry &geometry) const override;
  [[nodiscard]] bool isFree(const std::uint8_t *dentry, EntryPlace place,
                            const VolumeTree &tree) const override;
  void entryWasTaken(const EMU3DirectoryPtr &folder, EntryPlace place) const override;
  [[nodiscard]] bool mayHoldFolder(std::uint64_t block, const VolumeGeometry &geometry) const override;
};

} // namespace tessary
