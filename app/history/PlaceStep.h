#pragma once

#include "app/history/HistoryStep.h"

#include <utility>
#include <vector>

namespace tessary {

/// Moves files to the folders that they came from.
class PlaceStep final : public HistoryStep {
public:
  struct Move {
    LastingFile file;
    LastingFolder from; ///< where it lies
    LastingFolder to;
  };

  explicit PlaceStep(std::vector<Move> moves) : moves_(std::move(moves)) {}

  StepResult run(EMU3Filesystem &filesystem, LastingItems &items) const override;

private:
  const std::vector<Move> moves_;
};

} // namespace tessary
