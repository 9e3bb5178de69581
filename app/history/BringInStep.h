#pragma once

#include "app/history/HistoryStep.h"

#include <string>
#include <utility>
#include <vector>

namespace tessary {

/// Imports files of the host, and folders with their trees. A folder goes into the one of its name that is
/// there already; files are kept beside others of their name.
class BringInStep final : public HistoryStep {
public:
  struct Source {
    std::string path;
    LastingFolder into;
  };

  explicit BringInStep(std::vector<Source> sources) : sources_(std::move(sources)) {}
  /// All of them into one folder.
  [[nodiscard]] static HistoryStepPtr of(LastingItems &items, const std::vector<std::string> &paths,
                                         const EMU3DirectoryPtr &into);

  /// The files of the result are those that lie in the folder itself that they were meant for.
  StepResult run(EMU3Filesystem &filesystem, LastingItems &items, WorkProgress &progress) const override;

private:
  const std::vector<Source> sources_;
};

} // namespace tessary
