#include "app/DraggedItems.h"

#include "app/DragExport.h"
#include "app/FileURLs.h"

#include <utility>

namespace tessary {
namespace {

constexpr QLatin1String kFileList("text/uri-list");

} // namespace

/// What other programs get of the folder. It may be asked for again while it is being made.
struct DraggedItems::HostCopy {
  bool isAskedFor = false;
  QVariantList urls;
};

DraggedItems::DraggedItems(const EMU3FilesystemPtr &image, std::vector<EMU3FilePtr> files,
                           EMU3DirectoryPtr shownIn, const std::vector<std::string> &hostFiles)
    : image_(image), files_(std::move(files)), shownIn_(std::move(shownIn)) {
  QList<QUrl> urls;
  for (const std::string &path : hostFiles)
    urls.append(fileURL(path));
  setUrls(urls);
}

DraggedItems::DraggedItems(const EMU3FilesystemPtr &image, EMU3DirectoryPtr folder)
    : image_(image), folder_(std::move(folder)), hostCopy_(std::make_shared<HostCopy>()) {}

bool DraggedItems::mayGoTo(const EMU3DirectoryPtr &target) const {
  if (!image()) return false;
  return folder_ ? target != folder_->parent() && !isInside(target, folder_) : target != shownIn_;
}

// ---- For other programs

QStringList DraggedItems::formats() const {
  return {kFileList};
}

bool DraggedItems::hasFormat(const QString &mimeType) const {
  return mimeType == kFileList;
}

QVariant DraggedItems::retrieveData(const QString &mimeType, QMetaType type) const {
  if (!folder_ || mimeType != kFileList) return QMimeData::retrieveData(mimeType, type);
  const std::shared_ptr<HostCopy> copy = hostCopy_; // the drag may end meanwhile, and this object with it
  const EMU3FilesystemPtr filesystem = image();
  if (filesystem && !std::exchange(copy->isAskedFor, true))
    if (const std::optional<std::string> path = exportForDrag(filesystem, folder_))
      copy->urls.append(fileURL(*path));
  return copy->urls.isEmpty() ? QVariant() : QVariant(copy->urls);
}

} // namespace tessary
