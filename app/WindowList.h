#pragma once

#include "tessary/EMU3Filesystem.h"

#include <QObject>
#include <QString>
#include <QTimer>
#include <memory>
#include <string>
#include <vector>

class QWindow;

namespace tessary {

class MainWindowController;

/// The windows of the program, each of which shows an image of its own or none. No image is shown by two of
/// them. Main thread only.
class WindowList final : public QObject {
  Q_OBJECT

public:
  explicit WindowList(QObject *parent = nullptr);
  /// Waits for openings of images that still run: each hands its result to the main thread when it ends, and
  /// the application that takes it is destroyed soon after this.
  ~WindowList() override;

  /// Opens an empty window, beside the one that was used last.
  MainWindowController *openWindow();
  /// In the order in which they were opened. Those that the user has closed are not among them, but for the
  /// last one.
  std::vector<MainWindowController *> windows() const;
  /// The one that has, or had last, the keyboard; null as long as none was opened.
  MainWindowController *lastUsed() const { return byUse_.empty() ? nullptr : byUse_.front(); }
  /// Those that have a task to finish, also of those that were closed.
  std::vector<MainWindowController *> working() const;
  /// The program is about to end: ends the work of all windows, also of those that were closed.
  void stopWork();

  /// Opens the image at a path of the host in an empty window, or else in a new one.
  void openImage(const std::string &imageURL);
  /// Shows the image in an empty window, or else in a new one.
  void showImage(const EMU3FilesystemPtr &image);
  /// Brings the window that shows the image to the front. False where none does but `asking`.
  bool bringToFront(const EMU3Filesystem &image, const MainWindowController *asking);

signals:
  /// Before it is shown.
  void windowOpened(MainWindowController *window);
  /// The user has closed the last one, which stays until the program ends.
  void lastWindowClosed();

private:
  MainWindowController *emptyWindow() const;
  void openInNewWindow(const std::string &imageURL);
  void openedElsewhere(const EMU3FilesystemPtr &image, const QString &failure);
  void windowClosed(MainWindowController *window);
  void windowUsed(const QWindow *window);
  void endClosed();

  std::vector<std::unique_ptr<MainWindowController>> windows_;
  std::vector<MainWindowController *> byUse_; ///< the same, the one used last first
  /// Off the screen, with tasks to finish.
  std::vector<std::unique_ptr<MainWindowController>> closed_;
  QTimer closedCheck_;
  int openingsElsewhere_ = 0; ///< of images that will get a window when they are opened
};

} // namespace tessary
