#pragma once

#include "app/UndoManager.h"
#include "filesystem/EMU3Filesystem.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class QAction;
class QDialog;
class QMenu;
class QMenuBar;
class QModelIndex;
class QPoint;
class QTreeView;
class QTableView;
class QToolBar;
class QWidget;

namespace tessary {

class Alert;
class ContentController;
struct DeletedFile;
struct DeletionResult;
class FindingsPanel;
struct ImportResult;
class MainWindow;
struct RestorationResult;
class SidebarController;
class Spinner;
class StatusBar;
class StatusLabel;

/// Owns the one window, the mounted image and the controllers of the window's views, and carries out every
/// command of the user. Main thread only.
///
/// A command checks on the main thread what it needs and asks the user. The work then runs on the image's I/O
/// queue, a single change on its change queue, and comes back to the main thread to refresh the views and
/// write one status line. When another image has been mounted meanwhile, the completion stops the spinner and
/// changes nothing else.
class MainWindowController final : public QObject {
  Q_OBJECT

public:
  /// A command; what is enabled is decided by it alone.
  using Action = void (MainWindowController::*)();

  MainWindowController();
  ~MainWindowController() override;

  void showWindow();
  /// Puts the window before the others, with the keyboard.
  void bringToFront();
  MainWindow *window() const { return window_.get(); }
  /// The menu bar's menu of what is done with the image as a whole.
  QMenu *imageMenu() const { return imageMenu_.get(); }
  /// Puts the menu bar into the window, which grows by it: the content keeps its size.
  void setMenuBar(QMenuBar *menuBar);
  /// Takes the window off the screen. From now on no alert is raised.
  void prepareToQuit();

  /// Opens the image at a path of the host in the background and then shows it in place of the one mounted.
  void openImageAtURL(const std::string &imageURL);
  /// Tells in a modal alert why an image was not opened.
  void openingFailed(const QString &reason);

  /// The mounted image; null when there is none.
  EMU3FilesystemPtr filesystem() const { return filesystem_; }
  /// The folder whose files the table shows; null for none.
  EMU3DirectoryPtr currentDirectory() const { return currentDirectory_; }
  SidebarController *sidebarCtl() const { return sidebarCtl_; }
  ContentController *contentCtl() const { return contentCtl_; }
  QTreeView *outlineView() const { return outlineView_; }
  QTableView *tableView() const { return tableView_; }
  StatusLabel *statusLabel() const { return statusLabel_; }
  StatusLabel *diskSpaceLabel() const { return diskSpaceLabel_; }
  Spinner *spinner() const { return spinner_; }
  UndoManager *undoManager() { return &undoManager_; }
  /// The folder whose row was clicked when the folder menu was last opened; null when it was the empty area
  /// or the keyboard.
  EMU3DirectoryPtr clickedDirectory() const { return clickedDirectory_; }

  bool validateUserInterfaceItem(Action action) const;

  // Commands.
  void _openImage();
  void _unmountImage();
  void _checkImage();
  void _backUpImage();
  void _undo();
  void _redo();
  void _exportSelected();
  void _exportSamples();
  void _importFile();
  void _deleteSelected();
  void _renameSelected();
  void _copyToDir();
  void _moveToDir();
  void _newFolder();
  void _renameFolder();
  void _deleteFolder();
  void _tableDoubleClick();

  /// The files of the table's selected rows, in row order, as far as the folder still holds them.
  std::vector<EMU3FilePtr> _selectedFiles() const;

signals:
  /// The user closed the window.
  void windowClosed();

private:
  // Window (MainWindowLayout.cpp)
  void _buildUI();
  void _buildOutline();
  void _buildTable();
  QWidget *_makeRightPane();
  void _installCallbacks();
  void _setupKeyboardShortcuts();
  void _resizeContent(const QSize &size);
  void _centerWindow();

  // Toolbar and menus (MainWindowMenus.cpp)
  void _buildToolbar();
  void _buildMenus();
  void _showFolderMenu(const QModelIndex &clicked, const QPoint &globalPosition);
  std::unique_ptr<QMenu> _buildImageMenu();
  std::unique_ptr<QMenu> _buildFolderMenu();
  std::unique_ptr<QMenu> _buildContextMenu();
  QAction *_makeToolbarItem(const QString &identifier);
  void _addMenuItem(QMenu *menu, const QString &title, Action action);
  void _addItem(QAction *item, Action action);
  void _validateItems();

  // Image (MainWindowController.cpp)
  void _imageOpened(EMU3FilesystemPtr filesystem, const EMU3Error &error);
  void _setFilesystem(EMU3FilesystemPtr filesystem);
  void _showNoFolder();
  void _loadFilesystem();
  void _selectDirectory(const EMU3DirectoryPtr &directory);
  void _showChosenFolder();
  void _bankDetailsRead(const EMU3FilesystemPtr &filesystem, const EMU3DirectoryPtr &directory);
  void _updateDiskSpaceLabel();
  /// Shows in the table, the outline and the disk-space line what has changed in the image.
  void _showChanges();
  /// The title names the image, and tells when it is read-only.
  void _showTitle();
  /// Where the image has become read-only since the title was last shown, the text gets the reason behind it.
  void _setStatus(const QString &text);
  /// Brings the title up to date. Why the image has become read-only since; empty when it has not.
  QString _readOnlyNews();
  /// "Read-only: why.", or with another beginning.
  QString _readOnlyText(const QString &beginning = QStringLiteral("Read-only")) const;
  /// Shows the dialog as a sheet on the window and deletes it when it is answered. While another dialog is
  /// up it beeps and deletes the dialog at once.
  void _beginSheet(std::unique_ptr<QDialog> dialog);
  /// Shows the alert as a sheet. `confirmed` runs when it ends with the first button, `declined`, where it is
  /// given, at any other answer; neither when the image it was asked about is no longer mounted.
  void _ask(std::unique_ptr<Alert> question, std::function<void()> confirmed,
            std::function<void()> declined = {});
  /// The sheet or modal dialog that the user has to answer first; null when there is none.
  QDialog *_dialogThatIsUp() const;
  /// Runs a modal alert, unless the application is quitting.
  void _runAlert(const QString &message, const QString &informativeText = {});
  void _runAlert(const EMU3Error &error);
  /// `advice` follows the text.
  void _runReadOnlyAlert(const QString &advice = {});
  /// Whether the folder is part of the mounted image's tree.
  bool _holdsDirectory(const EMU3DirectoryPtr &directory) const;

  // Changes of the image (ImageChanges.cpp)
  /// What follows on the main thread; the image is then still the one that is shown.
  using Completion = std::function<void()>;
  /// Changes the image and tells what follows: nothing when it has failed, or when there was nothing to do.
  using Change = std::function<Completion(EMU3Filesystem &filesystem, EMU3Error *error)>;
  /// What each command asks before it changes the mounted image: `change` runs when that is not read-only,
  /// or no longer, else `refused`. At once, unless another program's claim has to be asked about.
  void _whenChangeable(std::function<void()> change, std::function<void()> refused);
  /// Runs a single change of the mounted image, which may wait for a slow medium, off the main thread and not
  /// behind the I/O queue's long work: one after another, in order. An error is shown in an alert.
  void _runChange(Change change);
  void _changeFailed(const EMU3Error &error);
  void _onChangeQueue(std::function<Completion(EMU3Filesystem &)> work);
  void _showImageReadAnew();

  // Check (CheckCommand.cpp)
  void _backUpTo(const std::string &target);
  void _imageBackedUp(const EMU3FilesystemPtr &filesystem, const std::string &target, bool isDone,
                      const EMU3Error &error);
  void _imageChecked(const EMU3FilesystemPtr &filesystem, std::vector<VolumeFinding> findings);
  void _showFindings(std::vector<VolumeFinding> findings);
  /// Whether what the finding is about is part of the mounted image.
  bool _canGoTo(const VolumeFinding &finding) const;
  /// Shows the folder that the finding is about, or that holds its file, and selects the file.
  void _goTo(const VolumeFinding &finding);
  /// Shows the folder, and selects its row where it can have one: the folders above it are opened.
  void _revealDirectory(const EMU3DirectoryPtr &directory);

  // Drops on the sidebar (SidebarDrops.cpp)
  void _setupDragging();
  bool _mayDrop(const EMU3DirectoryPtr &target, bool internal) const;
  void _dropReceived(const EMU3DirectoryPtr &target, const std::vector<std::string> &urls, bool internal);
  void _copyDraggedFiles(const EMU3DirectoryPtr &target, const std::vector<std::string> &urls);
  void _importDroppedFiles(const EMU3DirectoryPtr &target, const std::vector<std::string> &urls);
  void _droppedFilesImported(const EMU3DirectoryPtr &target, const ImportResult &result);

  // Copy and move (TransferCommands.cpp)
  void _transferFiles(const std::vector<EMU3FilePtr> &files, bool move);
  void _askForDestination(const std::vector<EMU3FilePtr> &files, bool move);
  /// Copies or moves the files on the image's I/O queue and then shows the destination.
  void _doTransferFiles(const std::vector<EMU3FilePtr> &files, const EMU3DirectoryPtr &fromDirectory,
                        const EMU3DirectoryPtr &toDirectory, bool move);
  void _filesTransferred(const EMU3DirectoryPtr &toDirectory, bool move, std::size_t succeeded,
                         std::size_t failed);
  /// The directory and all folders below it, each before its subfolders.
  static std::vector<EMU3DirectoryPtr> _allDirectories(const EMU3DirectoryPtr &directory);

  // Folders (FolderCommands.cpp)
  EMU3DirectoryPtr _targetFolder() const;
  void _askForNewFolder(const EMU3DirectoryPtr &parent);
  void _askToDeleteFolder(const EMU3DirectoryPtr &folder);
  void _askForNameOf(const EMU3DirectoryPtr &folder);
  void _createFolder(const std::string &name, const EMU3DirectoryPtr &parent);
  void _folderCreated(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &parent);
  void _removeFolder(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &parent);
  void _folderDeleted(const std::string &name, const EMU3DirectoryPtr &parent);
  void _showSelectedFolder();
  void _setFolderName(const EMU3DirectoryPtr &folder, const std::string &name);

  // Files (RenameCommand.cpp)
  void _askForNameOf(const EMU3FilePtr &file);
  void _renameFile(const EMU3FilePtr &file, const std::string &name);

  // Export (ExportCommands.cpp)
  /// Asks for a folder of the host. `chosen` runs with its path unless the image was replaced meanwhile.
  void _chooseFolder(const QString &message, const QString &prompt,
                     std::function<void(const std::string &folder)> chosen);
  void _exportFiles(const std::vector<EMU3FilePtr> &files, const std::string &folder);
  void _filesExported(const EMU3FilesystemPtr &filesystem, std::size_t chosen, std::size_t failed);
  void _exportSamplesOfBanks(const std::vector<EMU3FilePtr> &banks, const EMU3DirectoryPtr &directory,
                             const std::string &folder);
  void _samplesExported(const EMU3FilesystemPtr &filesystem, std::size_t exported, std::size_t failed);

  // Import (ImportCommand.cpp)
  void _chooseFilesToImport();
  void _importFiles(const std::vector<std::string> &urls);
  void _filesImported(const EMU3FilesystemPtr &filesystem, const ImportResult &result);

  // Delete with undo (DeleteCommands.cpp)
  /// Where a step registers what takes it back; none for what the user has newly done.
  using CounterpartSide = std::optional<UndoManager::Side>;
  void _askToDelete(const std::vector<EMU3FilePtr> &files);
  void _deleteFiles(const std::vector<EMU3FilePtr> &files, const EMU3DirectoryPtr &directory,
                    CounterpartSide side);
  void _filesDeleted(const EMU3FilesystemPtr &filesystem, const DeletionResult &result,
                     const EMU3DirectoryPtr &directory, CounterpartSide side);
  void _showDeleted(std::size_t count);
  /// Files of a deletion whose contents are incomplete: each is deleted only after a question of its own.
  struct IncompleteFiles {
    std::vector<EMU3FilePtr> files;
    EMU3DirectoryPtr directory;
    std::size_t deletedBefore = 0; ///< files of the same deletion
  };
  void _askWhetherForGood(const IncompleteFiles &incomplete);
  void _deleteForGood(const EMU3FilePtr &file, const IncompleteFiles &others);
  void _fileDeletedForGood(const EMU3FilesystemPtr &filesystem, bool isGone, IncompleteFiles others);
  UndoManager::Call _deleteStep(UndoManager::Call work);
  UndoManager::Call _restoringStep(const std::vector<DeletedFile> &files,
                                   const EMU3DirectoryPtr &toDirectory);
  void _restoreFromBackup(const std::vector<DeletedFile> &files, const EMU3DirectoryPtr &toDirectory,
                          UndoManager::Side counterpart);
  void _restoreFiles(const std::vector<DeletedFile> &files, const EMU3DirectoryPtr &toDirectory,
                     UndoManager::Side counterpart);
  void _filesRestored(const EMU3FilesystemPtr &filesystem, const RestorationResult &result,
                      const EMU3DirectoryPtr &directory, UndoManager::Side counterpart);
  void _keepUndoable(const RestorationResult &result, const EMU3DirectoryPtr &directory);
  void _deleteRestoredFiles(const std::vector<EMU3FilePtr> &files, const EMU3DirectoryPtr &fromDirectory,
                            UndoManager::Side counterpart);

  struct Item {
    QAction *item;
    Action action;
  };

  std::unique_ptr<MainWindow> window_;
  QTreeView *outlineView_ = nullptr;
  QTableView *tableView_ = nullptr;
  StatusLabel *statusLabel_ = nullptr;
  StatusLabel *diskSpaceLabel_ = nullptr;
  Spinner *spinner_ = nullptr;
  SidebarController *sidebarCtl_ = nullptr;
  ContentController *contentCtl_ = nullptr;
  UndoManager undoManager_;
  std::vector<Item> items_;
  std::unique_ptr<QMenu> imageMenu_;
  std::unique_ptr<QMenu> folderMenu_;
  std::unique_ptr<QMenu> fileMenu_;
  QPointer<QDialog> sheet_;
  QPointer<FindingsPanel> findings_;

  EMU3FilesystemPtr filesystem_;
  /// Of the mounted image, so that nothing waits for the medium of one that was mounted before.
  std::unique_ptr<SerialQueue> changeQueue_;
  ReadOnlyReason shownReason_ = ReadOnlyReason::none; ///< what the title tells
  EMU3DirectoryPtr currentDirectory_;
  EMU3DirectoryPtr clickedDirectory_;
  bool checking_ = false; ///< whether the mounted image is being checked
  bool quitting_ = false;
};

/// "Used: N KB  Free: N KB" for numbers of 512-byte blocks, in unsigned 64-bit arithmetic.
QString diskSpaceText(std::uint64_t usedBlocks, std::uint64_t freeBlocks);

} // namespace tessary
