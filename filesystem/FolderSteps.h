#pragma once

#include "filesystem/ChangeStep.h"
#include "filesystem/DiskFormat.h"
#include "tessary/EMU3Directory.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

/// Steps for the folders of trees.
namespace tessary {

/// A folder's subfolder of that name, the first of them; null where there is none.
[[nodiscard]] EMU3DirectoryPtr subfolderNamed(const EMU3Directory &folder, const std::string &name);

/// A folder to be made.
struct FolderPlan {
  std::string name{};
  /// What it is a copy of, and where that lies; null for a folder of the host.
  EMU3DirectoryPtr model{};
  VolumeAt modelAt{};
  std::optional<format::Dentry> entry{}; ///< of one that comes back; it has no model then
  MovedFolderPtr moved{};                ///< the model, where it is moved
  ExistingFolder existing = ExistingFolder::doubled;
  std::optional<EMU3Error> failure{}; ///< known already: it cannot be read
};

/// Makes a folder, or finds the one that is used.
class FolderStep final : public ChangeStep {
public:
  /// `made` gets the folder, or the failure.
  FolderStep(VolumeAt at, FolderPlan plan, VolumeFolder to, VolumeFolder made)
      : ChangeStep(StepKind::storing, std::move(at)), plan_(std::move(plan)), to_(std::move(to)),
        made_(std::move(made)) {}

  [[nodiscard]] bool prepare(EMU3Error *error) override;
  [[nodiscard]] bool begin(StepGroup &group, EMU3Error *error) override;
  void ended(const std::optional<EMU3Error> &error, ItemEnd *end) override;

private:
  [[nodiscard]] std::unique_ptr<VolumeChange> makeChange(EMU3Error *error) override;
  [[nodiscard]] bool readModel(EMU3Error *error);
  [[nodiscard]] bool notMade(const EMU3Error *error);
  [[nodiscard]] bool tryToBegin(StepGroup &group, EMU3Error *error);
  [[nodiscard]] std::string nameInEntry() const;

  const FolderPlan plan_;
  const VolumeFolder to_;
  const VolumeFolder made_;
  std::optional<format::Dentry> model_; ///< its entry
  VolumeChange *change_ = nullptr;
};

/// Deletes a folder of which all was moved.
class EmptiedFolderStep final : public ChangeStep {
public:
  /// `made` is where its contents went.
  EmptiedFolderStep(VolumeAt at, MovedFolderPtr folder, VolumeFolder made)
      : ChangeStep(StepKind::deleting, std::move(at)), folder_(std::move(folder)), made_(std::move(made)) {}

  [[nodiscard]] bool begin(StepGroup &group, EMU3Error *error) override;
  void ended(const std::optional<EMU3Error> &error, ItemEnd *end) override;

private:
  [[nodiscard]] std::unique_ptr<VolumeChange> makeChange(EMU3Error *error) override;

  const MovedFolderPtr folder_;
  const VolumeFolder made_;
};

} // namespace tessary
