#pragma once

#include "app/DraggedData.h"
#include "tessary/EMU3Filesystem.h"

#include <functional>
#include <memory>
#include <vector>

namespace tessary {

/// What windows of this program take as what it is: files of an image, or a folder with its tree. Main thread
/// only.
class DraggedItems final : public DraggedData {
  Q_OBJECT

public:
  /// Rows of the file table. `shownIn` is the folder that the table shows; null where it shows what a search
  /// has found.
  DraggedItems(const EMU3FilesystemPtr &image, std::vector<EMU3FilePtr> files, EMU3DirectoryPtr shownIn,
               HostCopiesPtr copies);
  DraggedItems(const EMU3FilesystemPtr &image, EMU3DirectoryPtr folder, HostCopiesPtr copies);

  /// Null where the data is something else.
  static const DraggedItems *in(const QMimeData *data) { return qobject_cast<const DraggedItems *>(data); }

  /// The image that they are of; null once it is not mounted any more.
  EMU3FilesystemPtr image() const { return image_.lock(); }
  const std::vector<EMU3FilePtr> &files() const { return files_; }
  /// Null where files are dragged.
  const EMU3DirectoryPtr &folder() const { return folder_; }
  /// Whether there is any use in copying them to this folder, of the same image or another one.
  bool mayGoTo(const EMU3DirectoryPtr &target) const;

private:
  const std::weak_ptr<EMU3Filesystem> image_; ///< a drag keeps no image mounted
  const std::vector<EMU3FilePtr> files_;
  const EMU3DirectoryPtr shownIn_;
  const EMU3DirectoryPtr folder_;
};

/// Performs a drop of them on a folder.
using ItemsDropped = std::function<void(const EMU3DirectoryPtr &target, const DraggedItems &items)>;

} // namespace tessary
