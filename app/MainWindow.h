#pragma once

#include <QMainWindow>

namespace tessary {

/// The window itself: has no menu of its own to hide toolbars with, and tells when it was closed.
class MainWindow final : public QMainWindow {
  Q_OBJECT

public:
  using QMainWindow::QMainWindow;

  QMenu *createPopupMenu() override { return nullptr; }

signals:
  void closed();
  /// The system's text size may have changed.
  void textSizeChanged();

protected:
  bool event(QEvent *event) override;
  void closeEvent(QCloseEvent *event) override;
};

} // namespace tessary
