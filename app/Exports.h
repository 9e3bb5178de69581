#pragma once

#include "app/CommandTools.h"
#include "app/ExportPlan.h"
#include "app/ExportWords.h"
#include "app/PlacedFiles.h"

#include <QObject>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace tessary {

/// Exports files, folders with their trees, and the samples of banks, to a folder of the host, and asks about
/// what is there already. Main thread only; the host is looked at and written to on the image's I/O queue.
class Exports final : public QObject {
  Q_OBJECT

public:
  explicit Exports(const CommandTools &tools, QObject *parent = nullptr);

  // Each asks where to. Beeps where there is nothing to export.
  void exportFiles(const std::vector<EMU3FilePtr> &files);
  /// Of the root all that is in it.
  void exportFolder(const EMU3DirectoryPtr &folder);
  void exportSamples(const std::vector<EMU3FilePtr> &files);
  /// These samples of one bank, with headers that tell that rate.
  void exportSamples(const EMU3FilePtr &bank, const std::vector<ListedSample> &samples, std::uint32_t rate);

private:
  using Plan = std::shared_ptr<ExportPlan>;
  /// What is to be written where; the planner runs on the I/O queue.
  struct Job {
    std::string hostFolder;
    ExportWords words;
    std::function<void(EMU3Filesystem &, ExportPlan *, const WorkProgress &)> planner;
  };
  /// What is to be decided about, or how it ended where nothing was.
  struct Planned {
    Plan plan;
    std::optional<ExportPlan::Result> result;
  };

  void run(const Job &job);
  void write(const ExportWords &words, const Plan &plan);
  void tell(const ExportWords &words, const ExportPlan::Result &result);
  void askAboutConflicts(const Plan &plan, std::function<void()> decided);

  const CommandTools tools_;
};

} // namespace tessary
