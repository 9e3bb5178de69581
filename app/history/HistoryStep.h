#pragma once

#include "app/FailuresAlert.h"
#include "app/PlacedFiles.h"
#include "app/history/LastingItems.h"
#include "app/progress/WorkOutcome.h"
#include "app/progress/WorkProgress.h"
#include "tessary/EMU3Filesystem.h"

#include <QString>
#include <memory>
#include <vector>

namespace tessary {

class HistoryStep;
using HistoryStepPtr = std::shared_ptr<const HistoryStep>;

/// How a step went.
struct StepResult {
  HistoryStepPtr counterpart{}; ///< takes it back; null where nothing was done
  HistoryStepPtr rest{};        ///< does what failed or, stopped by the user, was not done; null for nothing
  WorkOutcome outcome{};        ///< of files, also of those in folders
  QString status{};             ///< what the status line says
  QString failed{};             ///< title of the alert that lists the failures
  std::vector<ItemFailure> failures{};

  // What is to be seen: the files, or else nothing selected, in the folder; null for the one that is shown.
  EMU3DirectoryPtr folder{};
  std::vector<EMU3FilePtr> files{};

  /// Not deleted, since they could not be kept whole and so would not come back.
  std::vector<PlacedFile> incompleteFiles{};
  std::vector<EMU3DirectoryPtr> incompleteFolders{};
  /// Those, and what was gone already. A command passes over what is gone and asks about the others; undo and
  /// redo list them with the failures, under this title.
  std::vector<ItemFailure> leftOut{};
  QString failedWithLeftOut{};
};

/// What undo or redo does to the image. Steps do not change; they are run on the image's I/O queue.
class HistoryStep {
public:
  HistoryStep() = default;
  virtual ~HistoryStep() = default;
  HistoryStep(const HistoryStep &) = delete;
  HistoryStep &operator=(const HistoryStep &) = delete;

  virtual StepResult run(EMU3Filesystem &filesystem, LastingItems &items, WorkProgress &progress) const = 0;
};

} // namespace tessary
