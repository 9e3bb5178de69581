#pragma once

#include "app/history/HistoryStep.h"

#include <string>
#include <utility>

namespace tessary {

/// Gives a file, or a folder, the name back that it had. A folder that another program has named otherwise
/// since keeps that name; a file with another name is another file.
class NameStep final : public HistoryStep {
public:
  /// `entry` has the name.
  NameStep(LastingFile file, LastingFolder in, const EntryBytes &entry)
      : file_(std::move(file)), folder_(std::move(in)), entry_(entry) {}
  /// Of a folder that has just been renamed.
  NameStep(const LastingFolder &folder, const EntryBytes &entry)
      : NameStep(folder, entry, folder->object()->name()) {}

  StepResult run(EMU3Filesystem &filesystem, LastingItems &items, WorkProgress &progress) const override;

private:
  NameStep(LastingFolder folder, const EntryBytes &entry, std::string renamedTo)
      : folder_(std::move(folder)), entry_(entry), renamedTo_(std::move(renamedTo)) {}
  [[nodiscard]] HistoryStepPtr again() const;

  const LastingFile file_;     ///< null for a folder
  const LastingFolder folder_; ///< that holds the file, or the folder itself
  const EntryBytes entry_;
  const std::string renamedTo_; ///< the folder's name that is to be taken back; empty for a file
};

} // namespace tessary
