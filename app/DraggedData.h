#pragma once

#include "app/HostCopies.h"

#include <QMimeData>
#include <QStringList>

namespace tessary {

/// What is dragged out of a window. Other programs get host copies of it, which are made when the first of
/// them asks; this program is told nothing of these: none of its widgets but the views that know this class
/// sees such a drag, so that none asks for the copies. Main thread only.
class DraggedData : public QMimeData {
  Q_OBJECT

public:
  /// `names` are what the user knows the things by. Without `copies` other programs get nothing.
  DraggedData(QStringList names, HostCopiesPtr copies);
  ~DraggedData() override;

  /// What a window of this program drags; null where the data is something else.
  static const DraggedData *in(const QMimeData *data) { return qobject_cast<const DraggedData *>(data); }

  const QStringList &names() const { return names_; }
  const HostCopiesPtr &copies() const { return copies_; }

  QStringList formats() const override;
  bool hasFormat(const QString &mimeType) const override;

protected:
  QVariant retrieveData(const QString &mimeType, QMetaType type) const override;

private:
  const QStringList names_;
  const HostCopiesPtr copies_;
  const std::shared_ptr<QObject> keptFromOthers_; ///< one for all that is dragged
};

/// A view that drags of this program may go over.
class TakesDraggedData {
public:
  TakesDraggedData(const TakesDraggedData &) = delete;
  TakesDraggedData &operator=(const TakesDraggedData &) = delete;

protected:
  TakesDraggedData() = default;
  virtual ~TakesDraggedData() = default;
};

} // namespace tessary
