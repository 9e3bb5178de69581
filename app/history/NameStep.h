#pragma once

#include "app/history/HistoryStep.h"

#include <utility>

namespace tessary {

/// Gives a file, or a folder, the name back that it had.
class NameStep final : public HistoryStep {
public:
  /// `entry` has the name.
  NameStep(LastingFile file, LastingFolder in, const EntryBytes &entry)
      : file_(std::move(file)), folder_(std::move(in)), entry_(entry) {}
  NameStep(LastingFolder folder, const EntryBytes &entry) : folder_(std::move(folder)), entry_(entry) {}

  StepResult run(EMU3Filesystem &filesystem, LastingItems &items, WorkProgress &progress) const override;

private:
  const LastingFile file_;     ///< null for a folder
  const LastingFolder folder_; ///< that holds the file, or the folder itself
  const EntryBytes entry_;
};

} // namespace tessary
