#pragma once

#include <QObject>
#include <QPointer>

class QAbstractItemView;
class QMimeData;

namespace tessary {

/// What the model of a view is not told about the drag over the view.
class IncomingDrag final : public QObject {
  Q_OBJECT

public:
  using QObject::QObject;

  /// Looks at the drags over the view from now on, each before the view and its model do.
  void watch(QAbstractItemView *view);

  /// Whether the drag started at that widget of this application.
  bool comesFrom(const QObject *widget) const { return source_ && source_ == widget; }

  /// Whether `data`, which the drag brings, names files of this host. Looked up once a drag: the program that
  /// the drag comes from has to be asked, and it may name thousands. What a window of this program drags
  /// names none: rows and folders are taken as what they are, and samples are nothing for a volume.
  bool bringsFiles(const QMimeData &data);

protected:
  bool eventFilter(QObject *watched, QEvent *event) override;

private:
  QPointer<QObject> source_;
  const QMimeData *known_ = nullptr; ///< what `bringsFiles_` is known of; only compared
  bool bringsFiles_ = false;
};

} // namespace tessary
