#include "app/history/NameStep.h"

#include "app/DisplayText.h"
#include "app/history/Whereabouts.h"
#include "tessary/ItemsOperation.h"

#include <optional>
#include <string>

namespace tessary {
namespace {

ItemFailure renamedElsewhere(const std::string &name) {
  return {displayText(name), QStringLiteral("It was given this name elsewhere meanwhile.")};
}

} // namespace

/// For the next try, when it has failed.
HistoryStepPtr NameStep::again() const {
  if (file_) return std::make_shared<NameStep>(file_, folder_, entry_);
  return HistoryStepPtr(new NameStep(folder_, entry_, renamedTo_));
}

StepResult NameStep::run(EMU3Filesystem &filesystem, LastingItems &, WorkProgress &progress) const {
  const EMU3FilePtr file = file_ ? file_->object() : nullptr;
  const EMU3DirectoryPtr folder = folder_->object();
  const std::string nameNow = file ? file->name() : folder->name();
  EMU3Error error;
  const std::optional<EntryBytes> now =
      file ? filesystem.entryOfFile(file, &error) : filesystem.entryOfDirectory(folder, &error);
  progress.beginPart(QStringLiteral("Renaming"));
  const bool isRenamedElsewhere = now && !file && nameNow != renamedTo_;
  if (now && !isRenamedElsewhere) {
    const auto operation = filesystem.manyItems();
    if (file)
      operation->restoreName(file, entry_, folder);
    else
      operation->restoreName(folder, entry_);
    ItemsWatcher watcher = progress.watch(*operation);
    watcher.isToStop = nullptr; // one item
    watcher.ended = [&](const ItemEnd &end) { error = end.error.value_or(EMU3Error()); };
    operation->run(watcher);
  }
  StepResult result{.failed = QStringLiteral("Rename Failed")};
  if (error.isSet() || isRenamedElsewhere) {
    result.status = result.failed + QLatin1Char('.');
    const bool isStillThere = file ? isThere(filesystem, {file, folder}) : isThere(filesystem, folder);
    if (isRenamedElsewhere)
      result.failures.push_back(renamedElsewhere(nameNow));
    else
      result.failures.push_back(isStillThere ? ItemFailure::of(nameNow, error) : goneFailure(nameNow));
    result.rest = again();
    return result;
  }
  result.outcome = {.done = 1, .all = 1};
  result.status = file ? QStringLiteral("Renamed to \"%1\".").arg(displayText(file->name()))
                       : QStringLiteral("Renamed to '%1'.").arg(displayText(folder->name()));
  result.counterpart =
      file_ ? std::make_shared<NameStep>(file_, folder_, *now) : std::make_shared<NameStep>(folder_, *now);
  if (file) {
    result.folder = folder;
    result.files = {file};
  }
  return result;
}

} // namespace tessary
