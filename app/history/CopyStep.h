#pragma once

#include "app/history/HistoryStep.h"

#include <utility>
#include <vector>

namespace tessary {

/// Copies files into a folder.
class CopyStep final : public HistoryStep {
public:
  CopyStep(std::vector<LastingFile> files, LastingFolder to) : files_(std::move(files)), to_(std::move(to)) {}
  [[nodiscard]] static HistoryStepPtr of(LastingItems &items, const std::vector<PlacedFile> &files,
                                         const EMU3DirectoryPtr &to);

  StepResult run(EMU3Filesystem &filesystem, LastingItems &items, WorkProgress &progress) const override;

private:
  const std::vector<LastingFile> files_;
  const LastingFolder to_;
};

} // namespace tessary
