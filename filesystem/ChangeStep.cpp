#include "filesystem/ChangeStep.h"

#include "filesystem/ChangeGroup.h"

namespace tessary {

bool mayDeleteFrom(const VolumeAt &at, EMU3Error *error) {
  const WriteLock changing(at.volume->changing);
  const WriteLock lock(at.volume->lock);
  return at.volume->prepareForChange(at.imagePath, error);
}

// The folders above one that is kept are kept already.
void keepFolder(MovedFolderPtr folder) {
  while (folder && !folder->isKept) {
    folder->isKept = true;
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

bool ChangeStep::begin(StepGroup &group, EMU3Error *error) {
  change_ = makeChange(error);
  return change_ && dynamic_cast<ChangeGroup &>(group).begin(*change_, error);
}

void ChangeStep::ended(const std::optional<EMU3Error> &error, ItemEnd *end) {
  if (error || !change_) return;
  if (EMU3FilePtr file = change_->file()) end->file = std::move(file);
  if (EMU3DirectoryPtr folder = change_->folder()) end->folder = std::move(folder);
}

void SimpleStep::ended(const std::optional<EMU3Error> &error, ItemEnd *end) {
  if (error) keepFolder(tree_);
  ChangeStep::ended(error, end);
}

} // namespace tessary
