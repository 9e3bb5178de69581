#include "app/history/BringInStep.h"

#include "app/history/Arrivals.h"

#include <cstddef>
#include <filesystem>
#include <system_error>

namespace tessary {
namespace {

bool isHostFolder(const std::string &path) {
  std::error_code unknown;
  return std::filesystem::is_directory(path, unknown);
}

void ask(Arrivals *arrivals, const BringInStep::Source &source) {
  const EMU3DirectoryPtr into = source.into->object();
  const bool isFolder = isHostFolder(source.path);
  arrivals->ask([&](ItemsOperation &operation) {
    if (isFolder)
      operation.importFolder(source.path, into, ExistingFolder::used);
    else
      operation.importFile(source.path, into);
  });
  if (isFolder) arrivals->mayUseFoldersIn(into);
}

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
  Arrivals arrivals(filesystem);
  for (const Source &source : sources_)
    ask(&arrivals, source);
  arrivals.run(progress);
  StepResult result{.outcome = arrivals.outcome(),
                    .failures = arrivals.failures(),
                    .folder = sources_.front().into->object()};
  result.counterpart = arrivals.takingAway(items);
  result.files = arrivals.filesIn(result.folder);
  result.status = outcomeText(QStringLiteral("Imported"), result.outcome);
  result.failed = failuresTitle(QStringLiteral("Import"), result.failures.size(),
                                result.failures.size() + result.outcome.done);
  std::vector<Source> rest;
  arrivals.forEachLeft([&](std::size_t number) { rest.push_back(sources_[number]); },
                       [&](const Item &item, const EMU3DirectoryPtr &into) {
                         rest.push_back({item.hostPath, items.of(into)});
                       });
  if (!rest.empty()) result.rest = std::make_shared<BringInStep>(std::move(rest));
  return result;
}

} // namespace tessary
