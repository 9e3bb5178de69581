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

/// Exports files, and the samples of banks, to a folder of the host, and asks about what is there already.
/// Main thread only; the host is looked at and written to on the image's I/O queue.
class Exports final : public QObject {
  Q_OBJECT

public:
  explicit Exports(const CommandTools &tools, QObject *parent = nullptr);

  /// Asks where to. Beeps where there is no file.
  void exportFiles(const std::vector<EMU3FilePtr> &files);
  void exportSamples(const std::vector<EMU3FilePtr> &files);
  /// These samples of one bank, with headers that tell that rate.
  void exportSamples(const EMU3FilePtr &bank, const std::vector<ListedSample> &samples, std::uint32_t rate);

private:
  using Plan = std::shared_ptr<ExportPlan>;
  using Told = std::function<void(const ExportPlan::Result &)>;
  using Planner = std::function<void(EMU3Filesystem &, ExportPlan *)>;

  /// `what` begins the log line of a failure.
  void run(const std::string &folder, Planner planner, const std::string &what, Told told);
  /// What is to be decided about, or how it ended where nothing was.
  struct Planned {
    Plan plan;
    std::optional<ExportPlan::Result> result;
  };
  void askAboutConflicts(const Plan &plan, std::function<void()> decided);
  void filesExported(const ExportPlan::Result &result);
  void samplesExported(const ExportPlan::Result &result);

  const CommandTools tools_;
};

} // namespace tessary
