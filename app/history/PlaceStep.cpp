#include "app/history/PlaceStep.h"

#include "app/Browser.h"
#include "app/history/Whereabouts.h"
#include "tessary/ItemsOperation.h"
#include "tessary/SystemLog.h"

#include <cstddef>

namespace tessary {

HistoryStepPtr PlaceStep::of(LastingItems &items, const std::vector<PlacedFile> &files,
                             const EMU3DirectoryPtr &to) {
  std::vector<Move> moves;
  moves.reserve(files.size());
  for (const PlacedFile &placed : files)
    moves.push_back({items.of(placed.file), items.of(placed.folder), items.of(to)});
  return std::make_shared<PlaceStep>(std::move(moves));
}

StepResult PlaceStep::run(EMU3Filesystem &filesystem, LastingItems &items, WorkProgress &progress) const {
  progress.beginPart(QStringLiteral("Moving"));
  const auto operation = filesystem.manyItems();
  for (const Move &move : moves_)
    operation->moveFile(move.file->object(), move.from->object(), move.to->object());
  StepResult result;
  std::vector<bool> isDone(moves_.size());
  ItemsWatcher watcher = progress.watch(*operation);
  watcher.ended = [&](const ItemEnd &end) {
    const Move &move = moves_[end.item];
    const EMU3FilePtr before = move.file->object();
    if (end.error) {
      systemLog("Transfer failed: " + end.error->description());
      return result.failures.push_back(
          isThere(filesystem, {before, move.from->object()})
              ? failureIn(filesystem, move.to->object(), before->name(), *end.error)
              : goneFailure(before->name()));
    }
    isDone[end.item] = true;
    if (end.file) items.became(before, end.file);
    if (!result.folder) result.folder = move.to->object();
    if (result.folder == move.to->object()) result.files.push_back(move.file->object());
  };
  operation->run(watcher);
  readDetailsOf(filesystem, result.files);
  std::vector<Move> back;
  std::vector<Move> rest;
  for (std::size_t i = 0; i < moves_.size(); ++i) {
    const Move &move = moves_[i];
    if (!isDone[i])
      rest.push_back(move);
    else if (move.from != move.to) // what was in the folder already stays there
      back.push_back({move.file, move.to, move.from});
  }
  const std::size_t failed = result.failures.size();
  result.outcome = {moves_.size() - rest.size(), failed, moves_.size(), isCutShort(*operation)};
  result.status = outcomeText(QStringLiteral("Moved"), result.outcome);
  result.failed = failuresTitle(QStringLiteral("Move"), failed, moves_.size());
  if (!rest.empty()) result.rest = std::make_shared<PlaceStep>(std::move(rest));
  if (!back.empty()) result.counterpart = std::make_shared<PlaceStep>(std::move(back));
  return result;
}

} // namespace tessary
