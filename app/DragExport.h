#pragma once

#include "app/CommandTools.h"
#include "app/ExportWords.h"
#include "app/HostCopies.h"
#include "tessary/EMU3Filesystem.h"
#include "tessary/SerialQueue.h"

#include <QObject>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tessary {

class DraggedData;

/// Exports what is dragged out of the window, when another program asks for it: into a private folder for
/// each drag, which stays. Not behind the image's queued work, since that program waits. The bar shows it,
/// and Stop ends it after the item in progress; the other program then gets nothing, since a part would look
/// like the whole. What fails is left out and listed when the drag is over. Main thread only.
class DragExport final : public QObject {
  Q_OBJECT

public:
  explicit DragExport(const CommandTools &tools, QObject *parent = nullptr);

  /// At once where nothing is being exported; else when that has ended.
  void whenNothingIsExported(std::function<void()> then);

  // Copies, still to be made, of what the mounted image has.
  HostCopiesPtr copiesOf(const std::vector<EMU3FilePtr> &files);
  /// With its tree.
  HostCopiesPtr copiesOf(const EMU3DirectoryPtr &folder);
  /// What a drag of samples brings: WAV files of that rate.
  std::unique_ptr<DraggedData> dataOf(const EMU3FilePtr &bank, const std::vector<ListedSample> &samples,
                                      std::uint32_t rate);

signals:
  void exported();

private:
  struct Job {
    std::weak_ptr<EMU3Filesystem> image;
    std::vector<std::string> items; ///< what is dragged, as it is called
    ExportWords words;
    std::function<void(ExportPlan *)> planner; ///< runs on the queue
  };

  HostCopiesPtr copiesBy(const Job &job);
  HostCopies::Stop make(const HostCopiesPtr &copies, const Job &job);
  static ExportPlan::Result write(EMU3Filesystem &filesystem, const Job &job, WorkProgress &progress);
  void tell(const HostCopies &copies, const Job &job, const ExportPlan::Result &result) const;

  const CommandTools tools_;
  int exports_ = 0; ///< that wait or run
  SerialQueue queue_{"com.tessary.drag"};
};

} // namespace tessary
