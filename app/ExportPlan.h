#pragma once

#include "app/FailuresAlert.h"
#include "tessary/EMU3Filesystem.h"
#include "tessary/ExportTargets.h"
#include "tessary/ItemsWatcher.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace tessary {

/// What is done about a host file that is already where an export wants to write.
enum class OnConflict { keepBoth, replace, skip };

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
  struct Conflict {
    std::size_t job = 0;
    std::string path;
  };
  struct Result {
    std::size_t exported = 0;
    std::size_t skipped = 0;
    std::vector<ItemFailure> failures;
  };

  explicit ExportPlan(std::string folder) : folder_(std::move(folder)) {}

  /// Looks on the host whether the job's file is there: not for the main thread.
  void add(ExportJob job);
  /// Counts among what was asked for something that cannot be written at all.
  void addFailure(const std::string &item, const EMU3Error &error);

  /// What the headers of samples tell, Hz.
  void setSampleRate(std::uint32_t rate) { options_.sampleRate = rate; }

  const std::string &folder() const { return folder_; }
  /// Those not decided about, in the order of the jobs.
  const std::vector<Conflict> &conflicts() const { return conflicts_; }
  /// Decides about the first of these.
  void decide(OnConflict decision);

  /// Writes what is decided about. Logs what fails as "WHAT failed for ITEM: ERROR".
  Result run(EMU3Filesystem &filesystem, const std::string &what);

private:
  struct Planned {
    ExportJob job;
    std::string path;
    OnConflict decision = OnConflict::replace; ///< of a file that is not there yet, this means nothing
  };

  std::string freePath(const HostName &name);

  const std::string folder_;
  ExportTargets targets_;
  ExportOptions options_;
  std::vector<Planned> planned_;
  std::vector<Conflict> conflicts_;
  std::vector<ItemFailure> failures_;
};

} // namespace tessary
