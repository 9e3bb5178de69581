#pragma once

#include "app/Browser.h"
#include "app/Deletions.h"
#include "app/Dialogs.h"
#include "app/DragExport.h"
#include "app/Exports.h"
#include "app/FileCommands.h"
#include "app/FolderCommands.h"
#include "app/ImageBackups.h"
#include "app/ImageChanges.h"
#include "app/ImageCheck.h"
#include "app/ImageOpenings.h"
#include "app/ImageWork.h"
#include "app/Imports.h"
#include "app/NewImages.h"
#include "app/RecentImages.h"
#include "app/Transfers.h"
#include "app/history/ChangeHistory.h"

#include <QObject>
#include <QString>
#include <memory>
#include <string>
#include <vector>

class QMenu;
class QMenuBar;
class QModelIndex;
class QPoint;
class QSplitter;
class QTreeView;
class QTableView;
class QWidget;

namespace tessary {

class BankContents;
class BankContentsPanel;
class CommandItems;
class ContentController;
class ContextMenus;
class DraggedItems;
class MainWindow;
class MenuBarMenus;
class PanelPlace;
class SidebarController;
class Spinner;
class StatusLabel;
class WindowList;

/// Owns one window, the image mounted in it and all that works on it, and carries out every command of the
/// user. Main thread only.
///
/// A command checks on the main thread what it needs and asks the user. The work then runs off it
/// (`ImageWork`), and comes back to refresh what is shown and write one status line.
class MainWindowController final : public QObject {
  Q_OBJECT

public:
  /// A command. Whether an item is enabled depends on the command alone, not on the menu it is in.
  using Action = void (MainWindowController::*)();

  /// `windows` are those of the program, and must live longer.
  explicit MainWindowController(WindowList &windows);
  ~MainWindowController() override;

  void showWindow();
  /// Puts the window before the others, with the keyboard.
  void bringToFront();
  MainWindow *window() const { return window_.get(); }
  /// The menus of the menu bar, in order, without the application's own.
  std::vector<QMenu *> menus() const;
  /// Puts the menu bar into the window, which grows by it: the content keeps its size.
  void setMenuBar(QMenuBar *menuBar);
  /// The user has agreed that the window ends, or the program: takes it off the screen. What is queued is
  /// done all the same. From now on no alert is raised.
  void prepareToQuit();
  /// Ends the work of a window that is about to end, after the item in progress; what is queued does not
  /// begin.
  void stopWork() { image_->stop(); }

  /// Opens the image at a path of the host in the background and then shows it in place of the one mounted.
  /// Where another window shows that image, that one comes to the front and this one stays as it is.
  void openImageAtURL(const std::string &imageURL);
  /// Opens the image for another window; tells here what could not be opened, as long as this one is there.
  void openImageElsewhere(const std::string &imageURL, ImageOpenings::EndedElsewhere ended);
  /// Shows the image in place of the one mounted.
  void showImage(const EMU3FilesystemPtr &image);
  /// Tells in a modal alert what was not opened, and why.
  void openingFailed(const QString &reason);

  /// The mounted image; null when there is none.
  EMU3FilesystemPtr filesystem() const { return image_->filesystem(); }
  /// The mounted image's file name; empty when there is none.
  QString imageName() const;
  /// Whether no image is mounted, nor about to be.
  bool isEmpty() const { return !filesystem() && !openings_->areUnderWay(); }
  /// Whether a task that the user has asked for waits or runs.
  bool isWorking() const { return image_->isWorking(); }
  /// Whether the user has agreed that the window, or the program, ends.
  bool isEnding() const { return dialogs_->isQuitting(); }
  /// The folder whose files the table shows; null for none.
  EMU3DirectoryPtr currentDirectory() const { return browser_->folder(); }
  SidebarController *sidebarCtl() const { return browser_->sidebar(); }
  ContentController *contentCtl() const { return browser_->content(); }
  QTreeView *outlineView() const;
  QTableView *tableView() const;
  BankContents *bankContents() const { return bankContents_; }
  BankContentsPanel *bankContentsPanel() const { return panel_; }
  StatusLabel *statusLabel() const;
  StatusLabel *diskSpaceLabel() const;
  Spinner *spinner() const;
  UndoManager *undoManager() { return history_->undoManager(); }
  /// The folder whose row was clicked when the folder menu was last opened; null when it was the empty area
  /// or the keyboard.
  EMU3DirectoryPtr clickedDirectory() const { return clickedDirectory_; }

  // MainWindowEnablement.cpp
  /// For toolbar and context menus: whether the command's item is enabled.
  bool validateUserInterfaceItem(Action action) const;
  /// For the menu bar: whether the command can do something at this moment.
  bool isOfUse(Action action) const;

  // Commands; those on files and folders: MainWindowCommands.cpp.
  void _newWindow();
  void _closeWindow();
  void _newImage();
  void _openImage();
  void _unmountImage();
  void _checkImage();
  void _backUpImage();
  void _undo();
  void _redo();
  void _exportSelected();
  void _exportSamples();
  void _importFile();
  void _importFolder();
  void _deleteSelected();
  void _renameSelected();
  void _copyToDir();
  void _moveToDir();
  void _newFolder();
  void _renameFolder();
  void _deleteFolder();
  void _exportFolder();
  void _tableDoubleClick();
  // Commands of the menu bar. Export, Rename and Delete act on what has the keyboard: the files, or the
  // folder.
  void _export();
  void _rename();
  void _delete();
  void _selectAll();
  void _find();
  void _findEverywhere();
  void _renameCurrentFolder();
  void _deleteCurrentFolder();
  void _exportCurrentFolder();
  void _showRoot();
  void _showParent();
  void _toggleBankContents();
  void _showUserGuide();
  void _showSurprises();

  /// The files of the table's selected rows, in row order, as far as their folders still hold them.
  std::vector<EMU3FilePtr> _selectedFiles() const { return browser_->selectedFiles(); }

signals:
  /// The user closed the window, and has agreed to it where a task runs.
  void windowClosed();

private:
  bool _mayClose();
  void _close();
  /// Has the desktop open one of this project's documents.
  void showDocument(const QString &fileName);
  void _validateItems();

  // Window (MainWindowLayout.cpp)
  void _buildUI();
  Browser::Views _buildViews();
  QWidget *_makeSidebar(Browser::Views *views);
  QWidget *_makeRightPane(Browser::Views *views);
  void _setupDragging();
  void _setupKeyboardShortcuts();
  void _resizeContent(const QSize &size);
  void _placeWindow();

  // Image (MainWindowImage.cpp)
  void _setFilesystem(const EMU3FilesystemPtr &filesystem);
  void _earlierWorkEnded();
  void _tellThatNoneIsMounted();

  // Folders, and what has the keyboard (MainWindowCommands.cpp)
  void _showFolderMenu(const QModelIndex &clicked, const QPoint &globalPosition);
  EMU3DirectoryPtr _targetFolder() const;
  bool _foldersHaveKeyboard() const;
  bool _panelHasKeyboard() const;

  // Drops (Drops.cpp)
  bool _mayDrop() const;
  void _dropReceived(const EMU3DirectoryPtr &target, const std::vector<std::string> &urls);
  void _itemsDropped(const EMU3DirectoryPtr &target, const DraggedItems &items);

  WindowList &windows_;
  std::unique_ptr<MainWindow> window_;
  QSplitter *splitter_ = nullptr;
  ImageWork *image_ = nullptr;
  Browser *browser_ = nullptr;
  Dialogs *dialogs_ = nullptr;
  ImageBackups *backups_ = nullptr;
  ImageChanges *changes_ = nullptr;
  ChangeHistory *history_ = nullptr;
  Deletions *deletions_ = nullptr;
  Transfers *transfers_ = nullptr;
  Imports *imports_ = nullptr;
  Exports *exports_ = nullptr;
  DragExport *drags_ = nullptr;
  FolderCommands *folderCommands_ = nullptr;
  FileCommands *fileCommands_ = nullptr;
  ImageCheck *check_ = nullptr;
  ImageOpenings *openings_ = nullptr;
  NewImages *newImages_ = nullptr;
  RecentImages *recentImages_ = nullptr;
  BankContentsPanel *panel_ = nullptr;
  PanelPlace *panelPlace_ = nullptr;
  BankContents *bankContents_ = nullptr;

  // End before the window, which has their actions.
  std::unique_ptr<CommandItems> items_; ///< of toolbar and context menus
  std::unique_ptr<ContextMenus> contextMenus_;
  std::unique_ptr<MenuBarMenus> menuBarMenus_;
  EMU3DirectoryPtr clickedDirectory_;
  bool closingIsAgreed_ = false;
};

} // namespace tessary
