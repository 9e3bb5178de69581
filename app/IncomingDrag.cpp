#include "app/IncomingDrag.h"

#include "app/DraggedData.h"
#include "app/FileURLs.h"

#include <QAbstractItemView>
#include <QDropEvent>
#include <QMimeData>

namespace tessary {

void IncomingDrag::watch(QAbstractItemView *view) {
  view->viewport()->installEventFilter(this);
}

bool IncomingDrag::bringsFiles(const QMimeData &data) {
  if (known_ == &data) return bringsFiles_;
  known_ = &data;
  bringsFiles_ = !DraggedData::in(&data) && !filePaths(data).empty();
  return bringsFiles_;
}

bool IncomingDrag::eventFilter(QObject *watched, QEvent *event) {
  switch (event->type()) {
  case QEvent::DragEnter:
  case QEvent::Drop:
    known_ = nullptr;
    [[fallthrough]];
  case QEvent::DragMove:
    source_ = static_cast<QDropEvent *>(event)->source();
    break;
  case QEvent::DragLeave:
    known_ = nullptr;
    source_ = nullptr;
    break;
  default:
    break;
  }
  return QObject::eventFilter(watched, event);
}

} // namespace tessary
