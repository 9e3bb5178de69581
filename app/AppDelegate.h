#pragma once

#include "app/WindowList.h"

#include <QDialog>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <memory>
#include <string>
#include <vector>

namespace tessary {

class MainWindowController;

/// Starts the application, owns its windows, and ends it. Needs the QApplication, for whose events it
/// listens, to live longer.
class AppDelegate final : public QObject {
  Q_OBJECT

public:
  /// The process's command-line arguments, the program's own path first, in the host's encoding.
  explicit AppDelegate(std::vector<std::string> arguments);
  ~AppDelegate() override;

  WindowList &windows() const { return *windows_; }
  /// The window that has, or had last, the keyboard.
  MainWindowController *mainWC() const { return windows_->lastUsed(); }

  /// Shows a window and opens the images named on the command line, each in a window of its own.
  void applicationDidFinishLaunching();
  bool applicationShouldTerminateAfterLastWindowClosed() const { return true; }
  /// The desktop hands over a document: opens it in an empty window or a new one. Always reports success,
  /// whatever the opening does.
  bool application(const std::string &openFile);
  /// The desktop hands over what is no file of this computer, by its address.
  void refuse(const QString &uri);
  /// The desktop asks for the window: brings it to the front.
  void activate();
  /// Asks once, where tasks run in any window, and ends the application.
  void terminate();

  // Commands.
  void _openImage();

signals:
  /// The application is about to end; no document is opened any more.
  void terminating();

protected:
  bool eventFilter(QObject *watched, QEvent *event) override;

private:
  void _buildMenuBar(MainWindowController *window);
  void _showAbout(const MainWindowController *window);
  void askWhetherToEnd(const std::vector<MainWindowController *> &working);
  void end();
  void exitWhenIdle();

  std::vector<std::string> arguments_;
  std::unique_ptr<WindowList> windows_;
  QPointer<QDialog> question_; ///< whether to end
  bool isEnding_ = false;
  QTimer idleCheck_;
};

} // namespace tessary
