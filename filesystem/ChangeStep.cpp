#include "filesystem/ChangeStep.h"

#include "filesystem/ChangeGroup.h"
#include "filesystem/FileChanges.h"

namespace tessary {

bool mayDeleteFrom(const VolumeAt &at, EMU3Error *error) {
  const WriteLock changing(at.volume->changing);
  const WriteLock lock(at.volume->lock);
  return at.volume->prepareForChange(at.imagePath, error);
}

// The folders above one that is kept are kept already, and for no lesser reason.
void keepFolder(MovedFolderPtr folder, MovedFolder::Kept why) {
  while (folder && folder->kept < why) {
    folder->kept = why;
    folder = folder->above;
  }
}

bool ChangeStep::joins(const ItemStep &other) const {
  const auto *change = dynamic_cast<const ChangeStep *>(&other);
  return change != nullptr && change->kind_ == kind_ && change->at_.volume == at_.volume;
}

std::unique_ptr<StepGroup> ChangeStep::startGroup() const {
  return std::make_unique<ChangeGroup>(*at_.volume, at_.imagePath);
}

void ChangeStep::lookForEarlier() {
  if (hasLooked_ || !arriving_.earlier || !arriving_.to->folder) return;
  hasLooked_ = true;
  isLeftOut_ = arriving_.earlier->leavesOut(arriving_.to->folder, arriving_.name);
}

bool ChangeStep::begin(StepGroup &group, EMU3Error *error) {
  lookForEarlier();
  if (isLeftOut_) return true;
  change_ = makeChange(error);
  return change_ && dynamic_cast<ChangeGroup &>(group).begin(*change_, error);
}

void ChangeStep::ended(const std::optional<EMU3Error> &error, ItemEnd *end) {
  end->isLeftOut = isLeftOut_;
  if (error || !change_) return;
  if (EMU3FilePtr file = change_->file()) {
    end->bytes = file->fileSize();
    end->file = std::move(file);
  }
  if (EMU3DirectoryPtr folder = change_->folder()) end->folder = std::move(folder);
}

std::unique_ptr<ItemStep> ChangeStep::rest() {
  if (isLeftOut_ || !arriving_.earlier) return nullptr;
  const EMU3DirectoryPtr folder = arriving_.to->folder;
  const std::vector<EMU3FilePtr> replaced = arriving_.earlier->takeReplaced(folder, arriving_.name);
  if (replaced.empty()) return nullptr;
  return std::make_unique<SimpleStep>(StepKind::deleting, at_, [replaced, folder](EMU3Error *) {
    return std::make_unique<DeleteReplaced>(replaced, folder);
  });
}

std::unique_ptr<ItemStep> SimpleStep::rest() {
  return next_ ? std::move(next_) : ChangeStep::rest();
}

void SimpleStep::ended(const std::optional<EMU3Error> &error, ItemEnd *end) {
  if (error) keepFolder(tree_);
  if (isLeftOut()) keepFolder(tree_, MovedFolder::Kept::forLeftOut);
  ChangeStep::ended(error, end);
}

} // namespace tessary
