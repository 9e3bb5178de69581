#include "app/history/PlaceStep.h"

#include "tessary/ItemsOperation.h"
#include "tessary/SystemLog.h"

namespace tessary {

StepResult PlaceStep::run(EMU3Filesystem &filesystem, LastingItems &items) const {
  const auto operation = filesystem.manyItems();
  for (const Move &move : moves_)
    operation->moveFile(move.file->object(), move.from->object(), move.to->object());
  StepResult result;
  std::vector<Move> moved;
  std::vector<Move> failed;
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) {
    const Move &move = moves_[end.item];
    const EMU3FilePtr before = move.file->object();
    if (end.error) {
      systemLog("Transfer failed: " + end.error->description());
      result.failures.push_back(ItemFailure::of(before->name(), *end.error));
      return failed.push_back(move);
    }
    if (end.file) items.became(before, end.file);
    moved.push_back({move.file, move.to, move.from});
    if (!result.folder) result.folder = move.to->object();
    if (result.folder == move.to->object()) result.files.push_back(move.file->object());
  };
  operation->run(watcher);
  const QString failures =
      failed.empty() ? QString() : QStringLiteral(" (%1 failed)").arg(QString::number(failed.size()));
  result.done = moved.size();
  result.status = QStringLiteral("Moved %1 file(s)%2.").arg(QString::number(moved.size()), failures);
  result.failed = QStringLiteral("Move Failed (%1 of %2)")
                      .arg(QString::number(failed.size()), QString::number(moves_.size()));
  if (!failed.empty()) result.rest = std::make_shared<PlaceStep>(std::move(failed));
  if (!moved.empty()) result.counterpart = std::make_shared<PlaceStep>(std::move(moved));
  return result;
}

} // namespace tessary
