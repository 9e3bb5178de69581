#include "app/DragExport.h"

#include "app/Browser.h"
#include "app/Dialogs.h"
#include "app/DisplayText.h"
#include "app/DraggedData.h"
#include "app/FileURLs.h"
#include "app/ImageWork.h"
#include "app/PrivateFolder.h"
#include "tessary/ExportNames.h"

#include <filesystem>
#include <system_error>
#include <utility>

namespace tessary {
namespace {

constexpr const char *kKind = "EMU3Drag";

ExportPlan::Result failureOfAll(const std::vector<std::string> &items, const EMU3Error &error) {
  ExportPlan::Result result;
  for (const std::string &item : items)
    result.failures.push_back(ItemFailure::of(item, error));
  result.outcome.failed = result.outcome.all = items.size();
  return result;
}

QList<QUrl> urlsOf(const std::vector<std::string> &paths) {
  QList<QUrl> urls;
  for (const std::string &path : paths)
    urls.append(fileURL(path));
  return urls;
}

} // namespace

DragExport::DragExport(const CommandTools &tools, QObject *parent) : QObject(parent), tools_(tools) {}

// ---- What is dragged

HostCopiesPtr DragExport::copiesOf(const std::vector<EMU3FilePtr> &files) {
  Job job{tools_.image->filesystem(), {}, ExportWords::kFiles, [files](ExportPlan *plan) {
            for (const EMU3FilePtr &file : files)
              plan->addFile(file);
          }};
  for (const EMU3FilePtr &file : files)
    job.items.push_back(file->name());
  return copiesBy(job);
}

HostCopiesPtr DragExport::copiesOf(const EMU3DirectoryPtr &folder) {
  return copiesBy(
      {tools_.image->filesystem(), {folder->name()}, ExportWords::kFiles, [folder](ExportPlan *plan) {
         plan->addTree(folder);
       }});
}

std::unique_ptr<DraggedData>
DragExport::dataOf(const EMU3FilePtr &bank, const std::vector<ListedSample> &samples, std::uint32_t rate) {
  Job job{tools_.image->filesystem(), {}, ExportWords::kSamples, [bank, samples, rate](ExportPlan *plan) {
            plan->setSampleRate(rate);
            for (const ListedSample &sample : samples)
              plan->addSample(bank, sample, sample.name);
          }};
  QStringList names;
  const std::string name = bank->name();
  for (const ListedSample &sample : samples) {
    job.items.push_back(name + "[" + sample.name + "]");
    names += displayText(exportedSampleName(name, sample.name).whole());
  }
  return std::make_unique<DraggedData>(names, copiesBy(job));
}

HostCopiesPtr DragExport::copiesBy(const Job &job) {
  return std::make_shared<HostCopies>(this,
                                      [this, job](const HostCopiesPtr &copies) { return make(copies, job); });
}

// ---- Making the copies

void DragExport::whenNothingIsExported(std::function<void()> then) {
  if (exports_ == 0) return then();
  connect(
      this, &DragExport::exported, this, [this, then = std::move(then)] { whenNothingIsExported(then); },
      static_cast<Qt::ConnectionType>(Qt::QueuedConnection | Qt::SingleShotConnection));
}

HostCopies::Stop DragExport::make(const HostCopiesPtr &asked, const Job &job) {
  const EMU3FilesystemPtr mounted = tools_.image->filesystem();
  if (!mounted || mounted != job.image.lock()) return nullptr;
  ++exports_;
  const WorkProgressPtr progress = tools_.image->runLongWorkBeside(
      queue_,
      [job](EMU3Filesystem &filesystem, WorkProgress &working) { return write(filesystem, job, working); },
      // Not the copies themselves: they are the main thread's, and would end with this on the queue's.
      [this, waiting = std::weak_ptr(asked), job](const ExportPlan::Result &result) {
        --exports_;
        emit exported();
        const HostCopiesPtr copies = waiting.lock();
        if (!copies) return;
        copies->made(urlsOf(result.paths),
                     [this, job, result](const HostCopies &told) { tell(told, job, result); });
      });
  return [progress] { progress->stop(); };
}

ExportPlan::Result DragExport::write(EMU3Filesystem &filesystem, const Job &job, WorkProgress &progress) {
  progress.beginPart(QStringLiteral("Exporting"));
  EMU3Error error;
  const std::optional<std::string> folder = makePrivateFolder(kKind, &error);
  if (!folder) return failureOfAll(job.items, error);
  ExportPlan plan(*folder);
  job.planner(&plan);
  ExportPlan::Result result = plan.run(filesystem, "Drag export", progress);
  if (result.outcome.isStopped) result.paths.clear();
  std::error_code leftThere;
  if (result.paths.empty()) std::filesystem::remove_all(*folder, leftThere); // nobody gets to know of it
  return result;
}

void DragExport::tell(const HostCopies &copies, const Job &job, const ExportPlan::Result &result) const {
  if (copies.cameTooLate())
    return tools_.dialogs->tell(
        QStringLiteral("Nothing Was Dragged Out"),
        QStringLiteral("The other program did not wait until the copies were made. Export them to a "
                       "folder, and drag them from there."));
  if (copies.isAbandoned()) return; // the user has given the drag up
  const WorkOutcome &outcome = result.outcome;
  const EMU3FilesystemPtr mounted = tools_.image->filesystem(); // perhaps another one by now
  if (mounted && mounted == job.image.lock() && (outcome.isStopped || outcome.failed > 0))
    tools_.browser->setStatus(job.words.status(outcome));
  tools_.dialogs->tellFailures(job.words.failed(result), result.failures);
}

} // namespace tessary
