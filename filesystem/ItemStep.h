#pragma once

#include "tessary/EMU3Error.h"
#include "tessary/ItemsWatcher.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace tessary {

/// Steps that go to the medium together: they share what is waited for.
class StepGroup {
public:
  StepGroup() = default;
  virtual ~StepGroup() = default;
  StepGroup(const StepGroup &) = delete;
  StepGroup &operator=(const StepGroup &) = delete;

  /// Brings all that has begun to the medium. The group can be used again afterwards.
  virtual void complete() = 0;
  /// How the `index`-th step, from 0, of those completed last has failed; none when it is on the medium.
  [[nodiscard]] virtual const std::optional<EMU3Error> &failure(std::size_t index) const = 0;
  /// How many have begun and are not complete.
  [[nodiscard]] virtual std::size_t size() const = 0;
};

/// One step of the work on an item; most items take one.
class ItemStep {
public:
  ItemStep() = default;
  virtual ~ItemStep() = default;
  ItemStep(const ItemStep &) = delete;
  ItemStep &operator=(const ItemStep &) = delete;

  /// Whether it may go to the medium together with the other.
  [[nodiscard]] virtual bool joins(const ItemStep &other) const = 0;
  /// A group for it and those that join it.
  [[nodiscard]] virtual std::unique_ptr<StepGroup> startGroup() const = 0;

  /// Reads what it needs from the host or another volume; no group is there yet. False with the error.
  [[nodiscard]] virtual bool prepare(EMU3Error *) { return true; }
  /// Begins, in a group that it started or joined. False, with the error, where it is refused; it may be
  /// begun again then.
  [[nodiscard]] virtual bool begin(StepGroup &group, EMU3Error *error) = 0;
  /// Says that the step is over: it failed with `error`, or is on the medium. `end` is its item's, to be
  /// filled.
  virtual void ended(const std::optional<EMU3Error> &error, ItemEnd *end) = 0;
  /// The item's next step, to be done once this one is on the medium; null when there is none.
  [[nodiscard]] virtual std::unique_ptr<ItemStep> rest() { return nullptr; }
};

/// A folder that items go into: one that is there, or one that an earlier item makes.
template <typename Folder> struct FolderToBe {
  Folder folder{}; ///< as soon as it is there
  std::optional<EMU3Error> failure{};
};
using VolumeFolder = std::shared_ptr<FolderToBe<EMU3DirectoryPtr>>;
using HostFolder = std::shared_ptr<FolderToBe<std::string>>; ///< by its path

template <typename Folder> std::shared_ptr<FolderToBe<Folder>> folderThatIsThere(Folder folder) {
  return std::make_shared<FolderToBe<Folder>>(FolderToBe<Folder>{std::move(folder), std::nullopt});
}

/// False, with the error of the item that was to make it, where the folder did not come about.
template <typename Folder> bool isThere(const FolderToBe<Folder> &folder, EMU3Error *error) {
  return !folder.failure || fail(error, *folder.failure);
}

} // namespace tessary
