#pragma once

#include "app/FailuresAlert.h"
#include "app/history/HistoryStep.h"
#include "app/history/LastingItems.h"
#include "app/progress/WorkOutcome.h"
#include "app/progress/WorkProgress.h"
#include "tessary/ItemsOperation.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <unordered_set>
#include <vector>

namespace tessary {

/// Files, and folders with their trees, that one operation brings into the image, and what came of them. On
/// the image's I/O queue.
class Arrivals final {
public:
  explicit Arrivals(EMU3Filesystem &filesystem);

  /// What `add` plans was asked for as one: a file, or a tree.
  void ask(const std::function<void(ItemsOperation &operation)> &add);
  /// Trees may go into folders that lie in this one already.
  void mayUseFoldersIn(const EMU3DirectoryPtr &folder);

  /// `logged` begins a line of the log for each failure; null for none.
  void run(WorkProgress &progress, const char *logged = nullptr);

  [[nodiscard]] const std::vector<ItemFailure> &failures() const { return failures_; }
  /// Of files.
  [[nodiscard]] WorkOutcome outcome() const;
  /// Files and folders that were planned.
  [[nodiscard]] std::size_t itemCount() const { return ends_.size(); }

  /// Those that came straight into the folder, with their details read.
  [[nodiscard]] std::vector<EMU3FilePtr> filesIn(const EMU3DirectoryPtr &folder) const;
  /// The folder that came of what was asked for as the `number`-th, from 0; null where none did.
  [[nodiscard]] EMU3DirectoryPtr folderOfAsked(std::size_t number) const;

  /// Takes away all that has come; null where nothing has. What lies in a new folder goes with that.
  [[nodiscard]] HistoryStepPtr takingAway(LastingItems &items) const;
  /// Tells what has not come but could, since the folder that it is meant for is there: what was asked for as
  /// the `number`-th, or an item of its tree and that folder.
  void forEachLeft(const std::function<void(std::size_t number)> &asked,
                   const std::function<void(const Item &item, const EMU3DirectoryPtr &into)> &below) const;

private:
  [[nodiscard]] const EMU3FilePtr &fileOf(std::size_t item) const { return ends_[item].file; }
  [[nodiscard]] const EMU3DirectoryPtr &folderOf(std::size_t item) const { return ends_[item].folder; }
  [[nodiscard]] bool isNewFolder(std::size_t item) const;

  EMU3Filesystem &filesystem_;
  const std::unique_ptr<ItemsOperation> operation_;
  std::vector<std::size_t> firstItems_; ///< of each thing that was asked for
  std::unordered_set<EMU3DirectoryPtr> earlierFolders_;
  std::vector<ItemEnd> ends_; ///< by item
  std::vector<ItemFailure> failures_;
};

} // namespace tessary
