#include "app/DraggedItems.h"

#include "app/DisplayText.h"

#include <utility>

namespace tessary {
namespace {

QStringList shownNames(const std::vector<EMU3FilePtr> &files) {
  QStringList names;
  for (const EMU3FilePtr &file : files)
    names += displayText(file->name());
  return names;
}

} // namespace

DraggedItems::DraggedItems(const EMU3FilesystemPtr &image, std::vector<EMU3FilePtr> files,
                           EMU3DirectoryPtr shownIn, HostCopiesPtr copies)
    : DraggedData(shownNames(files), std::move(copies)), image_(image), files_(std::move(files)),
      shownIn_(std::move(shownIn)) {}

DraggedItems::DraggedItems(const EMU3FilesystemPtr &image, EMU3DirectoryPtr folder, HostCopiesPtr copies)
    : DraggedData({displayText(folder->name())}, std::move(copies)), image_(image),
      folder_(std::move(folder)) {}

bool DraggedItems::mayGoTo(const EMU3DirectoryPtr &target) const {
  if (!image()) return false;
  return folder_ ? target != folder_->parent() && !isInside(target, folder_) : target != shownIn_;
}

} // namespace tessary
