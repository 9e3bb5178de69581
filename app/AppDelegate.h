#pragma once

#include <QObject>
#include <QTimer>
#include <memory>
#include <string>
#include <vector>

namespace tessary {

class MainWindowController;

/// Starts the application, owns its one window controller, and ends it. Needs the QApplication, for whose
/// events it listens, to live longer.
class AppDelegate final : public QObject {
  Q_OBJECT

public:
  /// The process's command-line arguments, the program's own path first, in the host's encoding.
  explicit AppDelegate(std::vector<std::string> arguments);
  ~AppDelegate() override;

  MainWindowController *mainWC() const { return mainWC_.get(); }

  /// Shows the window, builds the menu bar and opens the image named on the command line.
  void applicationDidFinishLaunching();
  bool applicationShouldTerminateAfterLastWindowClosed() const { return true; }
  /// The desktop hands over a document. Always reports success, whatever the opening does.
  bool application(const std::string &openFile);
  /// The desktop hands over what is no file of this computer, by its address.
  void refuse(const QString &uri);
  /// The desktop asks for the window: brings it to the front.
  void activate();
  /// Ends the event loop as soon as all queued work on images has run; until then no alert is raised.
  void terminate();

  // Commands.
  void _openImage();
  void _showAbout();

signals:
  /// The application is about to end; no document is opened any more.
  void terminating();

protected:
  bool eventFilter(QObject *watched, QEvent *event) override;

private:
  void _buildMenuBar();
  void exitWhenIdle();

  std::vector<std::string> arguments_;
  std::unique_ptr<MainWindowController> mainWC_;
  QTimer idleCheck_;
};

} // namespace tessary
