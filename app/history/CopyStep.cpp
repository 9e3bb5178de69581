#include "app/history/CopyStep.h"

#include "app/Browser.h"
#include "app/history/PresenceSteps.h"
#include "tessary/ItemsOperation.h"
#include "tessary/SystemLog.h"

#include <cstddef>

namespace tessary {

HistoryStepPtr CopyStep::of(LastingItems &items, const std::vector<PlacedFile> &files,
                            const EMU3DirectoryPtr &to) {
  std::vector<LastingFile> lasting;
  lasting.reserve(files.size());
  for (const PlacedFile &placed : files)
    lasting.push_back(items.of(placed.file));
  return std::make_shared<CopyStep>(std::move(lasting), items.of(to));
}

StepResult CopyStep::run(EMU3Filesystem &filesystem, LastingItems &items, WorkProgress &progress) const {
  progress.beginPart(QStringLiteral("Copying"));
  const EMU3DirectoryPtr to = to_->object();
  const auto operation = filesystem.manyItems();
  for (const LastingFile &file : files_)
    operation->copyFile(file->object(), to);
  StepResult result{.folder = to};
  std::vector<bool> isDone(files_.size());
  std::vector<TakeAwayStep::File> copies;
  ItemsWatcher watcher = progress.watch(*operation);
  watcher.ended = [&](const ItemEnd &end) {
    if (end.error) {
      systemLog("Transfer failed: " + end.error->description());
      return result.failures.push_back(ItemFailure::of(files_[end.item]->object()->name(), *end.error));
    }
    isDone[end.item] = true;
    result.files.push_back(end.file);
    copies.push_back({items.of(end.file), to_});
  };
  operation->run(watcher);
  readDetailsOf(filesystem, result.files);
  std::vector<LastingFile> rest;
  for (std::size_t i = 0; i < files_.size(); ++i)
    if (!isDone[i]) rest.push_back(files_[i]);
  const std::size_t failed = result.failures.size();
  result.outcome = {copies.size(), failed, files_.size(), isCutShort(*operation)};
  result.status = outcomeText(QStringLiteral("Copied"), result.outcome);
  result.failed = failuresTitle(QStringLiteral("Copy"), failed, files_.size());
  if (!rest.empty()) result.rest = std::make_shared<CopyStep>(std::move(rest), to_);
  if (!copies.empty()) result.counterpart = std::make_shared<TakeAwayStep>(std::move(copies));
  return result;
}

} // namespace tessary
