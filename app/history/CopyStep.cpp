#include "app/history/CopyStep.h"

#include "app/DisplayText.h"
#include "app/history/Arrivals.h"

#include <cstddef>
#include <utility>

namespace tessary {
namespace {

/// What lies in another image is none of the items of this one's history.
template <typename Pointer>
std::shared_ptr<Lasting<Pointer>> lastingOf(LastingItems &items, const Pointer &object, bool isOfOther) {
  return isOfOther ? std::make_shared<Lasting<Pointer>>(object) : items.of(object);
}

CopyStep::OtherImage otherImage(const EMU3FilesystemPtr &image) {
  return image ? CopyStep::OtherImage(image) : std::nullopt;
}

std::string nameOf(const CopyStep::Source &source) {
  return source.file ? source.file->object()->name() : source.folder->object()->name();
}

} // namespace

HistoryStepPtr CopyStep::of(LastingItems &items, const std::vector<PlacedFile> &files,
                            const EMU3DirectoryPtr &into, const EMU3FilesystemPtr &image) {
  std::vector<Source> sources;
  sources.reserve(files.size());
  for (const PlacedFile &placed : files)
    sources.push_back({lastingOf(items, placed.file, image != nullptr), nullptr, items.of(into)});
  return std::make_shared<CopyStep>(std::move(sources), otherImage(image));
}

HistoryStepPtr CopyStep::of(LastingItems &items, const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &into,
                            const EMU3FilesystemPtr &image) {
  Source source{nullptr, lastingOf(items, folder, image != nullptr), items.of(into)};
  return std::make_shared<CopyStep>(std::vector<Source>{std::move(source)}, otherImage(image));
}

StepResult CopyStep::withoutImage() const {
  StepResult result;
  result.rest = std::make_shared<CopyStep>(sources_, image_);
  for (const Source &source : sources_)
    result.failures.push_back(
        {displayText(nameOf(source)), QStringLiteral("The image that it is in is no longer mounted.")});
  result.outcome = {0, sources_.size(), sources_.size(), false};
  result.status = outcomeText(QStringLiteral("Copied"), result.outcome);
  result.failed = failuresTitle(QStringLiteral("Copy"), sources_.size(), sources_.size());
  return result;
}

HistoryStepPtr CopyStep::restOf(const Arrivals &arrivals, LastingItems &items) const {
  std::vector<Source> rest;
  arrivals.forEachLeft([&](std::size_t number) { rest.push_back(sources_[number]); },
                       [&](const Item &item, const EMU3DirectoryPtr &into) {
                         rest.push_back(
                             {item.file ? lastingOf(items, item.file, image_.has_value()) : nullptr,
                              item.file ? nullptr : lastingOf(items, item.folder, image_.has_value()),
                              items.of(into)});
                       });
  if (rest.empty()) return nullptr;
  return std::make_shared<CopyStep>(std::move(rest), image_);
}

/// Of a folder its name, of files their number.
void CopyStep::say(const Arrivals &arrivals, StepResult *result) const {
  result->outcome = arrivals.outcome();
  result->status = outcomeText(QStringLiteral("Copied"), result->outcome);
  result->failed = failuresTitle(QStringLiteral("Copy"), result->failures.size(), arrivals.itemCount());
  if (sources_.size() != 1 || !sources_.front().folder) return;
  const QString name = displayText(nameOf(sources_.front()));
  result->folder = arrivals.folderOfAsked(0);
  result->files.clear();
  if (!result->folder)
    result->status = QStringLiteral("Folder '%1' was not copied.").arg(name);
  else if (!result->outcome.isStopped)
    result->status = QStringLiteral("Copied folder '%1'%2.").arg(name, failedText(result->failures.size()));
}

StepResult CopyStep::run(EMU3Filesystem &filesystem, LastingItems &items, WorkProgress &progress) const {
  const EMU3FilesystemPtr image = image_ ? image_->lock() : nullptr;
  if (image_ && !image) return withoutImage();
  progress.beginPart(QStringLiteral("Copying"));
  Arrivals arrivals(filesystem);
  for (const Source &source : sources_)
    arrivals.ask([&](ItemsOperation &operation) {
      if (source.file)
        operation.copyFile(source.file->object(), source.into->object(), image);
      else
        operation.copyFolder(source.folder->object(), source.into->object(), ExistingFolder::doubled, image);
    });
  arrivals.run(progress, "Transfer failed: ");
  StepResult result{.failures = arrivals.failures(), .folder = sources_.front().into->object()};
  result.files = arrivals.filesIn(result.folder);
  result.counterpart = arrivals.takingAway(items);
  result.rest = restOf(arrivals, items);
  say(arrivals, &result);
  return result;
}

} // namespace tessary
