#pragma once

#include "app/history/HistoryStep.h"

#include <utility>
#include <vector>

namespace tessary {

/// Moves files to other folders.
class PlaceStep final : public HistoryStep {
public:
  struct Move {
    LastingFile file;
    LastingFolder from; ///< where it lies
    LastingFolder to;
  };

  explicit PlaceStep(std::vector<Move> moves) : moves_(std::move(moves)) {}
  /// All of them into one folder.
  [[nodiscard]] static HistoryStepPtr of(LastingItems &items, const std::vector<PlacedFile> &files,
                                         const EMU3DirectoryPtr &to);

  StepResult run(EMU3Filesystem &filesystem, LastingItems &items, WorkProgress &progress) const override;

private:
  const std::vector<Move> moves_;
};

} // namespace tessary
