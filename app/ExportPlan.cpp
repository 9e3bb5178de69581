#include "app/ExportPlan.h"

#include "tessary/ItemsOperation.h"
#include "tessary/SystemLog.h"

#include <filesystem>
#include <system_error>
#include <utility>

namespace tessary {
namespace {

bool isThere(const std::string &path) {
  std::error_code unknown;
  return std::filesystem::exists(std::filesystem::symlink_status(path, unknown));
}

} // namespace

void ExportPlan::add(ExportJob job) {
  std::string path = targets_.claim(folder_, job.name).path;
  if (isThere(path)) conflicts_.push_back({planned_.size(), path});
  planned_.push_back({std::move(job), std::move(path)});
}

void ExportPlan::addFailure(const std::string &item, const EMU3Error &error) {
  failures_.push_back(ItemFailure::of(item, error));
}

void ExportPlan::decide(OnConflict decision) {
  planned_[conflicts_.front().job].decision = decision;
  conflicts_.erase(conflicts_.begin());
}

std::string ExportPlan::freePath(const HostName &name) {
  std::string path = targets_.claim(folder_, name).path;
  while (isThere(path))
    path = targets_.claim(folder_, name).path;
  return path;
}

ExportPlan::Result ExportPlan::run(EMU3Filesystem &filesystem, const std::string &what) {
  Result result;
  result.failures = failures_;
  std::vector<const ExportJob *> jobs; // of the operation's items
  const auto operation = filesystem.manyItems();
  operation->setExportOptions(options_);
  for (Planned &planned : planned_) {
    if (planned.decision == OnConflict::skip) {
      ++result.skipped;
      continue;
    }
    if (planned.decision == OnConflict::keepBoth) planned.path = freePath(planned.job.name);
    // The operation itself keeps paths apart that only the host takes for one.
    planned.job.writeAt(*operation, planned.path);
    jobs.push_back(&planned.job);
  }
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) {
    const ExportJob &job = *jobs[end.item];
    if (!end.error) {
      ++result.exported;
      return;
    }
    result.failures.push_back(ItemFailure::of(job.item, *end.error));
    systemLog(what + " failed for " + job.item + ": " + end.error->description());
  };
  operation->run(watcher);
  return result;
}

} // namespace tessary
