#pragma once

#include <QBasicTimer>
#include <QWidget>

namespace tessary {

/// Small spinning progress indicator, 18 × 18. Counts its users: it is shown and turns from the first
/// `start` until each `start` has met its `stop`.
class Spinner final : public QWidget {
  Q_OBJECT

public:
  explicit Spinner(QWidget *parent = nullptr);

  void start();
  void stop();
  /// How many `start`s wait for their `stop`.
  int users() const { return users_; }

protected:
  void paintEvent(QPaintEvent *event) override;
  void showEvent(QShowEvent *event) override;
  void hideEvent(QHideEvent *event) override;
  void timerEvent(QTimerEvent *event) override;

private:
  QBasicTimer timer_;
  int users_ = 0;
  int step_ = 0;
};

} // namespace tessary
