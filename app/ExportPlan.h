#pragma once

#include "app/FailuresAlert.h"
#include "app/progress/WorkOutcome.h"
#include "app/progress/WorkProgress.h"
#include "tessary/EMU3Filesystem.h"
#include "tessary/ExportTargets.h"
#include "tessary/ItemsWatcher.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

namespace tessary {

/// A sample as a bank lists it, by its number there.
struct ListedSample {
  std::uint64_t number = 0;
  std::string name;
};

/// One host file to be written.
struct ExportJob {
  HostName name;
  std::string item; ///< what is exported, for the log and the user
  /// Adds it to the operation.
  std::function<void(ItemsOperation &operation, const std::string &path)> writeAt;
};

/// The host files that one export writes into a folder: first looked for on the host, then decided about
/// where they are there already, then written. No file of one export replaces another of it.
class ExportPlan final {
public:
  struct Result {
    WorkOutcome outcome{}; ///< of files, or samples
    std::size_t skipped = 0;
    std::vector<ItemFailure> failures;
    std::vector<std::string> paths{}; ///< of what was written, in order; of a tree that of its folder alone
  };

  explicit ExportPlan(std::string folder) : folder_(std::move(folder)) {}

  // All look on the host for what is there: not for the main thread.
  void addFile(const EMU3FilePtr &file);
  /// `label` tells the sample from others of its bank when it fails.
  void addSample(const EMU3FilePtr &bank, const ListedSample &sample, const std::string &label);
  /// A folder of the volume with its tree; one that has left the volume's tree is a failure. A host folder of
  /// its name that is there is used.
  void addTree(const EMU3DirectoryPtr &top);
  /// Counts among what was asked for something that cannot be written at all.
  void addFailure(const std::string &item, const EMU3Error &error);

  /// What the headers of samples tell, Hz.
  void setSampleRate(std::uint32_t rate) { options_.sampleRate = rate; }

  const std::string &folder() const { return folder_; }

  /// How many files are there already that are not decided about yet.
  std::size_t conflicts() const { return conflicts_.size(); }
  /// The path of the first of these.
  const std::string &conflict() const { return conflicts_.front().path; }
  /// Decides about the first of these.
  void decide(ExistingFile decision);

  /// Writes what is decided about. Logs what fails as "WHAT failed for ITEM: ERROR".
  Result run(EMU3Filesystem &filesystem, const std::string &what, WorkProgress &progress);

private:
  struct Planned {
    ExportJob job;
    std::string path;
    ExistingFile decision = ExistingFile::isReplaced; ///< of a file that is not there yet, this means nothing
  };
  struct Failure {
    std::string item;
    EMU3Error error;
  };
  struct Conflict {
    std::string path;
    std::size_t job = 0;      ///< of `planned_`
    EMU3FilePtr fileOfTree{}; ///< null where it is a job's
  };

  void add(ExportJob job);
  void lookForTree(const EMU3DirectoryPtr &top);
  void plan(ItemsOperation &operation, Result *result);

  const std::string folder_;
  ExportTargets targets_;
  ExportOptions options_;
  std::vector<Planned> planned_;
  std::vector<EMU3DirectoryPtr> trees_;
  std::unordered_map<EMU3FilePtr, ExistingFile> decisions_; ///< about files of trees
  std::vector<Conflict> conflicts_;
  std::vector<Failure> failures_;
};

} // namespace tessary
