#pragma once

#include "app/history/HistoryStep.h"
#include "app/history/KeptTrees.h"

#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace tessary {

/// The paths of all files and folders below a folder, folders with "/" at their ends.
using Inventory = std::multiset<std::string>;
[[nodiscard]] Inventory inventoryOf(const EMU3DirectoryPtr &folder);

/// Deletes files and folders, of which it keeps what brings them back.
class TakeAwayStep final : public HistoryStep {
public:
  struct File {
    LastingFile file;
    LastingFolder folder; ///< that holds it
  };

  struct Folder {
    LastingFolder folder;
    /// What came with it: where it holds anything else by then, it stays. None: whatever it holds goes.
    std::optional<Inventory> asItCame{};
  };

  explicit TakeAwayStep(std::vector<File> files, std::vector<Folder> folders = {})
      : files_(std::move(files)), folders_(std::move(folders)) {}
  /// Of files that lie in the folders that are named with them.
  [[nodiscard]] static HistoryStepPtr of(LastingItems &items, const std::vector<PlacedFile> &files);
  [[nodiscard]] static HistoryStepPtr of(LastingItems &items, const EMU3DirectoryPtr &folder);
  /// Of a folder that has just come, with what it holds now.
  [[nodiscard]] static HistoryStepPtr ofNew(LastingItems &items, const EMU3DirectoryPtr &folder);

  StepResult run(EMU3Filesystem &filesystem, LastingItems &items, WorkProgress &progress) const override;

private:
  [[nodiscard]] ItemsToDelete chosen(const EMU3Filesystem &filesystem, StepResult *result) const;
  [[nodiscard]] HistoryStepPtr rest(const EMU3Filesystem &filesystem) const;
  void sayIncomplete(Keeping *keeping, StepResult *result) const;

  const std::vector<File> files_;
  const std::vector<Folder> folders_;
};

/// Brings back what was deleted. A folder comes with all that was in it or not at all.
class BringBackStep final : public HistoryStep {
public:
  explicit BringBackStep(std::vector<KeptTree> trees) : trees_(std::move(trees)) {}

  StepResult run(EMU3Filesystem &filesystem, LastingItems &items, WorkProgress &progress) const override;

private:
  const std::vector<KeptTree> trees_;
};

} // namespace tessary
