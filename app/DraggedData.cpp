#include "app/DraggedData.h"

#include <QApplication>
#include <QDropEvent>
#include <QWidget>
#include <utility>

namespace tessary {
namespace {

constexpr QLatin1String kFileList("text/uri-list");

/// Keeps the drags of this program from widgets that would ask where the files are: the lists of a file
/// dialog do, for each place that a drag moves over.
class KeptFromOthers final : public QObject {
public:
  KeptFromOthers() { QApplication::instance()->installEventFilter(this); }

protected:
  bool eventFilter(QObject *watched, QEvent *event) override {
    const bool isDrag = event->type() == QEvent::DragEnter || event->type() == QEvent::DragMove ||
                        event->type() == QEvent::Drop;
    if (!isDrag || !watched->isWidgetType()) return false;
    const bool isOurs = DraggedData::in(static_cast<QDropEvent *>(event)->mimeData());
    if (!isOurs || dynamic_cast<const TakesDraggedData *>(watched->parent())) return false; // its viewport
    event->ignore();
    return true;
  }
};

std::shared_ptr<QObject> keptFromOthers() {
  static std::weak_ptr<QObject> current;
  std::shared_ptr<QObject> kept = current.lock();
  if (!kept) current = kept = std::make_shared<KeptFromOthers>();
  return kept;
}

} // namespace

DraggedData::DraggedData(QStringList names, HostCopiesPtr copies)
    : names_(std::move(names)), copies_(std::move(copies)), keptFromOthers_(keptFromOthers()) {}

DraggedData::~DraggedData() {
  if (copies_) copies_->dataIsGone();
}

QStringList DraggedData::formats() const {
  return {kFileList};
}

bool DraggedData::hasFormat(const QString &mimeType) const {
  return mimeType == kFileList;
}

QVariant DraggedData::retrieveData(const QString &mimeType, QMetaType) const {
  if (mimeType != kFileList || !copies_) return {};
  const HostCopiesPtr copies = copies_; // this object may be gone when they are made
  QVariantList urls;
  for (const QUrl &url : copies->urls())
    urls.append(url);
  return urls.isEmpty() ? QVariant() : QVariant(urls);
}

} // namespace tessary
