#pragma once

#include "filesystem/VolumeRules.h"

namespace tessary {

/// The rules by which the samplers' volumes are changed, oddities included: nothing is looked at but what the
/// rule itself needs.
class BareRules final : public VolumeRules {
public:
  [[nodiscard]] MountRules kind() const override { return MountRules::bare; }
  [[nodiscard]] bool mayUse(const VolumeTree &, const EMU3DirectoryPtr &) const override { return true; }
  [[nodiscard]] bool mayUse(const VolumeTree &, const EMU3DirectoryPtr &,
                            const EMU3FilePtr &) const override {
    return true;
  }
  [[nodiscard]] bool mayUse(const VolumeTree &, const EMU3DirectoryPtr &,
                            const EMU3DirectoryPtr &) const override {
    return true;
  }
  [[nodiscard]] bool mayRead(const VolumeTree &, const EMU3FilePtr &) const override { return true; }
  [[nodiscard]] std::string_view storedName(const std::string &name) const override;
  [[nodiscard]] bool mayStoreName(const std::string &) const override { return true; }
  [[nodiscard]] bool mayStoreWholeName(const std::string &) const override { return true; }
  [[nodiscard]] std::uint64_t mostBlocksOfAFile() const override;
  [[nodiscard]] std::optional<std::uint16_t> slotForNewFile(const VolumeTree &tree,
                                                            const VolumeGeometry &geometry) const override;
  [[nodiscard]] bool mayMarkIn(std::uint64_t, const VolumeGeometry &) const override { return true; }
  [[nodiscard]] bool isFree(const std::uint8_t *dentry, EntryPlace place,
                            const VolumeTree &tree) const override;
  void entryWasTaken(const EMU3DirectoryPtr &, EntryPlace) const override {}
  [[nodiscard]] bool mayHoldFolder(std::uint64_t, const VolumeGeometry &) const override { return true; }
};

} // namespace tessary
