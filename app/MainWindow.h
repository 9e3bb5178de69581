#pragma once

#include <QMainWindow>
#include <functional>
#include <utility>

namespace tessary {

/// The window itself: has no menu of its own to hide toolbars with, asks whether it may close, and tells when
/// it was closed.
class MainWindow final : public QMainWindow {
  Q_OBJECT

public:
  using QMainWindow::QMainWindow;

  QMenu *createPopupMenu() override { return nullptr; }
  /// Asked each time that the window is to close. Unset, it may.
  void setMayClose(std::function<bool()> mayClose) { mayClose_ = std::move(mayClose); }

signals:
  void closed();
  /// The system's text size may have changed.
  void textSizeChanged();

protected:
  bool event(QEvent *event) override;
  void closeEvent(QCloseEvent *event) override;

private:
  std::function<bool()> mayClose_;
};

} // namespace tessary
