#include "app/history/BringInStep.h"

#include "app/history/PresenceSteps.h"
#include "tessary/ItemsOperation.h"
#include "tessary/Text.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <system_error>
#include <unordered_set>

namespace tessary {
namespace {

using Folders = std::unordered_set<EMU3DirectoryPtr>;

bool isHostFolder(const std::string &path) {
  std::error_code unknown;
  return std::filesystem::is_directory(path, unknown);
}

/// The import while it runs, and what came of its items.
class Importing final {
public:
  Importing(EMU3Filesystem &filesystem, const std::vector<BringInStep::Source> &sources)
      : filesystem_(filesystem), sources_(sources), operation_(filesystem.manyItems()) {
    for (const BringInStep::Source &source : sources) {
      const EMU3DirectoryPtr into = source.into->object();
      firstItems_.push_back(operation_->progress().items);
      if (!isHostFolder(source.path)) {
        operation_->importFile(source.path, into);
        continue;
      }
      operation_->importFolder(source.path, into, ExistingFolder::used);
      if (earlierFolders_.contains(into)) continue;
      for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(into))
        earlierFolders_.insert(folder);
    }
    ends_.resize(operation_->progress().items);
  }

  void run(WorkProgress &progress) {
    ItemsWatcher watcher = progress.watch(*operation_);
    watcher.ended = [this](const ItemEnd &end) {
      ends_[end.item] = end;
      if (end.error)
        failures_.push_back(
            ItemFailure::of(lastPathComponent(operation_->item(end.item).hostPath), *end.error));
    };
    operation_->run(watcher);
  }

  [[nodiscard]] const std::vector<ItemFailure> &failures() const { return failures_; }
  [[nodiscard]] WorkOutcome outcome() const {
    WorkOutcome outcome{.failed = failures_.size(), .isStopped = isCutShort(*operation_)};
    for (std::size_t item = 0; item < ends_.size(); ++item) {
      if (operation_->item(item).isFolder) continue;
      ++outcome.all;
      if (fileOf(item)) ++outcome.done;
    }
    return outcome;
  }

  /// Those that came straight into the folder, with their details read.
  [[nodiscard]] std::vector<EMU3FilePtr> filesIn(const EMU3DirectoryPtr &folder) const {
    std::vector<EMU3FilePtr> files;
    for (std::size_t item = 0; item < ends_.size(); ++item)
      if (const EMU3FilePtr file = fileOf(item); file && file->folder() == folder) files.push_back(file);
    for (const EMU3FilePtr &file : files)
      filesystem_.populateBankMetadata(file);
    return files;
  }

  /// Takes away all that has come; null where nothing has. What lies in a new folder goes with that.
  [[nodiscard]] HistoryStepPtr takingAway(LastingItems &items) const {
    std::vector<TakeAwayStep::File> files;
    std::vector<LastingFolder> folders;
    Folders taken;
    for (std::size_t item = 0; item < ends_.size(); ++item) {
      if (const std::optional<std::size_t> parent = operation_->item(item).parent;
          parent && isNewFolder(*parent))
        continue;
      if (const EMU3FilePtr file = fileOf(item); file && file->folder())
        files.push_back({items.of(file), items.of(file->folder())});
      else if (isNewFolder(item) && taken.insert(folderOf(item)).second)
        folders.push_back(items.of(folderOf(item)));
    }
    if (files.empty() && folders.empty()) return nullptr;
    return std::make_shared<TakeAwayStep>(std::move(files), std::move(folders));
  }

  /// What has not come but could, since the folder that it is meant for is there.
  [[nodiscard]] std::vector<BringInStep::Source> rest(LastingItems &items) const {
    std::vector<BringInStep::Source> rest;
    for (std::size_t item = 0, source = 0; item < ends_.size(); ++item) {
      const Item &planned = operation_->item(item);
      if (source + 1 < firstItems_.size() && firstItems_[source + 1] == item) ++source;
      if (fileOf(item) || folderOf(item)) continue;
      if (!planned.parent)
        rest.push_back(sources_[source]);
      else if (const EMU3DirectoryPtr folder = folderOf(*planned.parent))
        rest.push_back({planned.hostPath, items.of(folder)});
    }
    return rest;
  }

private:
  [[nodiscard]] const EMU3FilePtr &fileOf(std::size_t item) const { return ends_[item].file; }
  [[nodiscard]] const EMU3DirectoryPtr &folderOf(std::size_t item) const { return ends_[item].folder; }
  [[nodiscard]] bool isNewFolder(std::size_t item) const {
    return folderOf(item) && !earlierFolders_.contains(folderOf(item));
  }

  EMU3Filesystem &filesystem_;
  const std::vector<BringInStep::Source> &sources_;
  const std::unique_ptr<ItemsOperation> operation_;
  std::vector<std::size_t> firstItems_; ///< of each source
  Folders earlierFolders_;              ///< that trees may go into
  std::vector<ItemEnd> ends_;           ///< by item
  std::vector<ItemFailure> failures_;
};

} // namespace

HistoryStepPtr BringInStep::of(LastingItems &items, const std::vector<std::string> &paths,
                               const EMU3DirectoryPtr &into) {
  std::vector<Source> sources;
  sources.reserve(paths.size());
  for (const std::string &path : paths)
    sources.push_back({path, items.of(into)});
  return std::make_shared<BringInStep>(std::move(sources));
}

StepResult BringInStep::run(EMU3Filesystem &filesystem, LastingItems &items, WorkProgress &progress) const {
  progress.beginPart(QStringLiteral("Importing"));
  Importing importing(filesystem, sources_);
  importing.run(progress);
  StepResult result{.outcome = importing.outcome(),
                    .failures = importing.failures(),
                    .folder = sources_.front().into->object()};
  result.counterpart = importing.takingAway(items);
  result.files = importing.filesIn(result.folder);
  result.status = outcomeText(QStringLiteral("Imported"), result.outcome);
  result.failed = failuresTitle(QStringLiteral("Import"), result.failures.size(),
                                result.failures.size() + result.outcome.done);
  if (std::vector<Source> rest = importing.rest(items); !rest.empty())
    result.rest = std::make_shared<BringInStep>(std::move(rest));
  return result;
}

} // namespace tessary
