#pragma once

#include "app/CommandTools.h"
#include "app/ExportPlan.h"
#include "app/PlacedFiles.h"
#include "app/panel/SampleDrag.h"

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
  /// What is exported: how that is called in the log, and what is said when it has ended.
  struct Kind {
    const char *log;
    QString (*status)(const WorkOutcome &outcome);
    QString (*failed)(const ExportPlan::Result &result);
  };
  static const Kind kFiles;
  static const Kind kSamples;
  /// What is to be written where; the planner runs on the I/O queue.
  struct Job {
    std::string hostFolder;
    Kind kind;
    std::function<void(EMU3Filesystem &, ExportPlan *, const WorkProgress &)> planner;
  };
  /// What is to be decided about, or how it ended where nothing was.
  struct Planned {
    Plan plan;
    std::optional<ExportPlan::Result> result;
  };

  void run(const Job &job);
  void write(const Kind &kind, const Plan &plan);
  void tell(const Kind &kind, const ExportPlan::Result &result);
  void askAboutConflicts(const Plan &plan, std::function<void()> decided);

  const CommandTools tools_;
};

} // namespace tessary
