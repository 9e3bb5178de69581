#pragma once

#include "app/AppDelegate.h"
#include "app/MainWindowController.h"
#include "app/StatusBar.h"
#include "tests/app/FileCommandTest.h"
#include "tests/app/FileDrag.h"

namespace tessary::test {

/// The application as it is started, and its windows. Each image of `volume` has the folders Drums, with the
/// files KICK, a system file with a name of 16 bytes and the folder Old with TOM, and Pads with CHOIR.
class SeveralWindows : public testing::Test {
protected:
  using Window = MainWindowController *;

  SeveralWindows();
  ~SeveralWindows() override;

  /// `seed` tells the contents of one image from those of another.
  static ImageBuilder volume(std::uint32_t seed);
  std::string writeVolume(const std::string &fileName, std::uint32_t seed) const;
  /// Opens the image as the desktop would: in an empty window, or else in a new one. Returns that window.
  Window open(const std::string &path) const;
  /// Chooses the image in the panel of "Mount Image…".
  static void mountIn(Window window, const std::string &path);

  std::vector<Window> windows() const { return delegate_->windows().windows(); }
  static QString title(Window window) { return window->window()->windowTitle(); }
  static QString status(Window window) { return window->statusLabel()->text(); }
  static EMU3DirectoryPtr folder(Window window, const std::vector<std::string> &path);
  static QStringList fileNames(Window window);
  static QStringList selectedFileNames(Window window);
  /// The sheet that is up on the window; throws when none of that kind is.
  template <typename Dialog> static Dialog *sheet(Window window) {
    for (Dialog *dialog : window->window()->findChildren<Dialog *>())
      if (dialog->isVisible()) return dialog;
    throw std::runtime_error("no such sheet is up");
  }
  static bool hasSheet(Window window);

  // Commands
  static void chooseFromMenus(Window window, const char *menu, const QString &text);
  static void selectFiles(Window window, const QStringList &names);
  /// Deletes the files, and confirms that.
  static void deleteFiles(Window window, const QStringList &names);
  /// Begins to import a host file into the folder that the window shows.
  void beginImport(Window window, const std::string &name, const Bytes &contents) const;

  // Drags
  static std::unique_ptr<FileDrag> dragFiles(Window window, const QStringList &names);
  static std::unique_ptr<FileDrag> dragFolder(Window window, const std::vector<std::string> &path);
  static Qt::DropAction dropOnFolder(FileDrag &drag, Window window, const std::vector<std::string> &path);
  static Qt::DropAction dropOnTable(FileDrag &drag, Window window);

  CleanSettings settings_;
  TemporaryFolder folder_;
  HostTemporaryDirectory temporaryDirectory_{folder_.path("tmp")};
  HostCache cache_{folder_.path("cache")};
  BeepCounter beeps_;
  std::unique_ptr<AppDelegate> delegate_;
};

} // namespace tessary::test
