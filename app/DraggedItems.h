#pragma once

#include "tessary/EMU3Filesystem.h"

#include <QMimeData>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tessary {

/// What is dragged out of a window: files of its image, or a folder. Windows of this program take them as
/// what they are; other programs get copies of them as host files. Main thread only.
class DraggedItems final : public QMimeData {
  Q_OBJECT

public:
  /// Rows of the file table, with the host files that were made of them. `shownIn` is the folder that the
  /// table shows; null where it shows what a search has found.
  DraggedItems(const EMU3FilesystemPtr &image, std::vector<EMU3FilePtr> files, EMU3DirectoryPtr shownIn,
               const std::vector<std::string> &hostFiles);
  /// A folder with its tree. It is exported when another program first asks for it.
  DraggedItems(const EMU3FilesystemPtr &image, EMU3DirectoryPtr folder);

  /// What a window of this program drags; null where the data is something else.
  static const DraggedItems *in(const QMimeData *data) { return qobject_cast<const DraggedItems *>(data); }

  /// The image that they are of; null once it is not mounted any more.
  EMU3FilesystemPtr image() const { return image_.lock(); }
  const std::vector<EMU3FilePtr> &files() const { return files_; }
  /// Null where files are dragged.
  const EMU3DirectoryPtr &folder() const { return folder_; }
  /// Whether there is any use in copying them to this folder, of the same image or another one.
  bool mayGoTo(const EMU3DirectoryPtr &target) const;

  QStringList formats() const override;
  bool hasFormat(const QString &mimeType) const override;

protected:
  /// Where that exports a folder events are handled meanwhile, but for the user's.
  QVariant retrieveData(const QString &mimeType, QMetaType type) const override;

private:
  struct HostCopy;

  const std::weak_ptr<EMU3Filesystem> image_; ///< a drag keeps no image mounted
  const std::vector<EMU3FilePtr> files_;
  const EMU3DirectoryPtr shownIn_;
  const EMU3DirectoryPtr folder_;
  const std::shared_ptr<HostCopy> hostCopy_; ///< of the folder
};

/// Performs a drop of them on a folder.
using ItemsDropped = std::function<void(const EMU3DirectoryPtr &target, const DraggedItems &items)>;

} // namespace tessary
