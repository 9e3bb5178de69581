#include "app/ExportPlan.h"

#include "tessary/ExportNames.h"
#include "tessary/HostPath.h"
#include "tessary/ItemsOperation.h"
#include "tessary/SystemLog.h"

#include <filesystem>
#include <system_error>
#include <utility>

namespace tessary {
namespace {

std::filesystem::file_type kindOf(const std::string &path) {
  std::error_code unknown;
  return std::filesystem::symlink_status(path, unknown).type();
}

bool isThere(const std::string &path) {
  return std::filesystem::exists(std::filesystem::file_status(kindOf(path)));
}

bool hasLeftTree(EMU3DirectoryPtr folder) {
  for (EMU3DirectoryPtr above = folder->parent(); above; above = above->parent()) {
    if (!above->containsSubdirectory(folder)) return true;
    folder = above;
  }
  return folder->dentryBlock() != 0; // of the root
}

std::string nameOf(const Item &item) {
  return item.file ? item.file->name() : item.folder->name();
}

} // namespace

// ---- What is there

void ExportPlan::addFile(const EMU3FilePtr &file) {
  const std::string name = file->name();
  add({exportedFileName(name), name,
       [file](ItemsOperation &operation, const std::string &path) { operation.exportFile(file, path); }});
}

void ExportPlan::addSample(const EMU3FilePtr &bank, const ListedSample &sample, const std::string &label) {
  const std::string name = bank->name();
  const auto writeAt = [bank, number = sample.number](ItemsOperation &operation, const std::string &path) {
    operation.exportSample(bank, number, path);
  };
  add({exportedSampleName(name, sample.name), name + "[" + label + "]", writeAt});
}

void ExportPlan::add(ExportJob job) {
  std::string path = targets_.claim(folder_, job.name).path;
  if (isThere(path)) conflicts_.push_back({.path = path, .job = planned_.size()});
  planned_.push_back({std::move(job), std::move(path)});
}

void ExportPlan::addTree(const EMU3DirectoryPtr &top) {
  if (hasLeftTree(top)) return addFailure(top->name(), engineError(EngineError::entryNotFound));
  trees_.push_back(top);
  options_.followsLinks = false; // what lies in a folder was not chosen one by one
  lookForTree(top);
}

/// Only in folders that are there can files be.
void ExportPlan::lookForTree(const EMU3DirectoryPtr &top) {
  std::vector<std::pair<EMU3DirectoryPtr, std::string>> waiting{{top, folder_}};
  while (!waiting.empty()) {
    const auto [folder, above] = std::move(waiting.back());
    waiting.pop_back();
    const std::string into = targets_.claim(above, exportedFolderName(folder->name())).path;
    if (kindOf(into) != std::filesystem::file_type::directory) continue;
    for (const EMU3FilePtr &file : folder->allFiles())
      if (std::string path = targets_.claim(into, exportedFileName(file->name())).path; isThere(path))
        conflicts_.push_back({.path = std::move(path), .fileOfTree = file});
    std::vector<EMU3DirectoryPtr> below = folder->subdirectories();
    for (; !below.empty(); below.pop_back())
      waiting.emplace_back(std::move(below.back()), into);
  }
}

void ExportPlan::addFailure(const std::string &item, const EMU3Error &error) {
  failures_.push_back({item, error});
}

void ExportPlan::decide(ExistingFile decision) {
  const Conflict conflict = std::move(conflicts_.front());
  conflicts_.erase(conflicts_.begin());
  if (conflict.fileOfTree)
    decisions_[conflict.fileOfTree] = decision;
  else
    planned_[conflict.job].decision = decision;
}

// ---- Writing

void ExportPlan::plan(ItemsOperation &operation, Result *result) {
  operation.setExportOptions(options_);
  for (Planned &planned : planned_) {
    if (planned.decision == ExistingFile::leavesOut) {
      ++result->skipped;
      continue;
    }
    if (planned.decision == ExistingFile::isKept)
      planned.path = targets_.claimFree(folder_, planned.job.name).path;
    // The operation itself keeps paths apart that only the host takes for one.
    planned.job.writeAt(operation, planned.path);
  }
  const auto existing = [this](const EMU3FilePtr &file) {
    const auto decided = decisions_.find(file);
    return decided == decisions_.end() ? ExistingFile::isReplaced : decided->second;
  };
  for (const EMU3DirectoryPtr &tree : trees_)
    operation.exportFolderInto(tree, folder_, existing);
}

ExportPlan::Result ExportPlan::run(EMU3Filesystem &filesystem, const std::string &what,
                                   WorkProgress &progress) {
  Result result;
  const auto fail = [&](const std::string &item, const EMU3Error &error) {
    result.failures.push_back(ItemFailure::of(item, error));
    systemLog(what + " failed for " + item + ": " + error.description());
  };
  for (const Failure &failure : failures_)
    fail(failure.item, failure.error);
  const auto operation = filesystem.manyItems();
  plan(*operation, &result);
  std::vector<std::string> names; // of the jobs' items, which come first
  for (const Planned &planned : planned_)
    if (planned.decision != ExistingFile::leavesOut) names.push_back(planned.job.item);
  ItemsWatcher watcher = progress.watch(*operation);
  watcher.ended = [&](const ItemEnd &end) {
    const Item &item = operation->item(end.item);
    if (end.error) return fail(end.item < names.size() ? names[end.item] : nameOf(item), *end.error);
    if (end.isLeftOut) {
      ++result.skipped;
      return;
    }
    if (!item.isFolder) ++result.outcome.done;
    if (!item.parent) result.paths.push_back(end.hostPath);
  };
  operation->run(watcher);
  for (std::size_t item = 0; item < operation->progress().items; ++item)
    if (!operation->item(item).isFolder) ++result.outcome.all;
  result.outcome.failed = result.failures.size();
  result.outcome.isStopped = isCutShort(*operation);
  return result;
}

} // namespace tessary
