#pragma once

#include <QElapsedTimer>
#include <QObject>

class QWidget;

namespace tessary {

/// Makes Space a key to play with in the views that it watches, but for one that goes on with a name that is
/// being typed: names hold spaces.
class PlayKey final : public QObject {
  Q_OBJECT

public:
  using QObject::QObject;

  void watch(QWidget *view);
  /// While it is off the views do with Space what they do.
  void setOn(bool on) { isOn_ = on; }

signals:
  void pressed();

protected:
  bool eventFilter(QObject *watched, QEvent *event) override;

private:
  bool isOn_ = false;
  QElapsedTimer sinceTyped_; ///< invalid before the first letter
};

} // namespace tessary
