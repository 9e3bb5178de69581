#pragma once

#include "filesystem/EarlierFiles.h"
#include "filesystem/ItemStep.h"
#include "filesystem/VolumeChange.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace tessary {

/// A volume, and the path that leads to its image, from the host's root on.
struct VolumeAt {
  std::shared_ptr<Volume> volume;
  std::string imagePath;
};

/// Whether the volume may be changed, claimed for it; false with the error. Asked before anything is copied
/// that is to be deleted there.
[[nodiscard]] bool mayDeleteFrom(const VolumeAt &at, EMU3Error *error);

/// A folder whose tree is moved file by file: to another volume, or into a folder that is there.
struct MovedFolder {
  EMU3DirectoryPtr folder;
  std::shared_ptr<MovedFolder> above{}; ///< the one that it is in, if that is moved too
  /// Whether the folder itself stays, since something in it was not moved: that was left out, or failed.
  enum class Kept { no, forLeftOut, forFailure } kept = Kept::no;
};
using MovedFolderPtr = std::shared_ptr<MovedFolder>;
/// Something in the folder was not moved. Null for what is in no folder that is moved.
void keepFolder(MovedFolderPtr folder, MovedFolder::Kept why = MovedFolder::Kept::forFailure);

/// A file of this name that is about to come into a folder, and those of the name that may be there.
struct ArrivingFile {
  std::shared_ptr<EarlierFiles> earlier; ///< null where they do not matter
  VolumeFolder to{};
  std::string name{}; ///< once stored
};

/// Only steps of one kind go into a group together, so that none of them undoes another.
enum class StepKind { storing, moving, renaming, deleting };

/// A step that is one change of a volume.
class ChangeStep : public ItemStep {
public:
  ChangeStep(StepKind kind, VolumeAt at) : kind_(kind), at_(std::move(at)) {}

  /// Says what the step stores; before it begins.
  void setArriving(ArrivingFile arriving) { arriving_ = std::move(arriving); }

  [[nodiscard]] bool joins(const ItemStep &other) const final;
  [[nodiscard]] std::unique_ptr<StepGroup> startGroup() const final;
  [[nodiscard]] bool begin(StepGroup &group, EMU3Error *error) override;
  /// What came to be in the volume comes to the item's end.
  void ended(const std::optional<EMU3Error> &error, ItemEnd *end) override;
  /// The deletion of what is replaced; null where nothing is.
  [[nodiscard]] std::unique_ptr<ItemStep> rest() override;

protected:
  [[nodiscard]] const VolumeAt &at() const { return at_; }
  /// Whether the step stores nothing, since a file of the name was there before.
  [[nodiscard]] bool isLeftOut() const { return isLeftOut_; }
  /// Finds that out; to be called as soon as the folder is there.
  void lookForEarlier();

private:
  /// Null with the error.
  [[nodiscard]] virtual std::unique_ptr<VolumeChange> makeChange(EMU3Error *error) = 0;

  const StepKind kind_;
  const VolumeAt at_;
  std::unique_ptr<VolumeChange> change_;
  ArrivingFile arriving_{};
  bool hasLooked_ = false;
  bool isLeftOut_ = false;
};

/// A change for which nothing is read before.
class SimpleStep final : public ChangeStep {
public:
  /// Makes the change; null with the error.
  using Maker = std::function<std::unique_ptr<VolumeChange>(EMU3Error *)>;
  /// `tree` is kept where the step fails.
  SimpleStep(StepKind kind, VolumeAt at, Maker make, MovedFolderPtr tree = nullptr)
      : ChangeStep(kind, std::move(at)), make_(std::move(make)), tree_(std::move(tree)) {}

  /// Sets the step that is done after this one; null for none. Before this one begins.
  void setNext(std::unique_ptr<ItemStep> next) { next_ = std::move(next); }
  void ended(const std::optional<EMU3Error> &error, ItemEnd *end) override;
  [[nodiscard]] std::unique_ptr<ItemStep> rest() override;

private:
  [[nodiscard]] std::unique_ptr<VolumeChange> makeChange(EMU3Error *error) override { return make_(error); }

  const Maker make_;
  const MovedFolderPtr tree_;
  std::unique_ptr<ItemStep> next_;
};

} // namespace tessary
