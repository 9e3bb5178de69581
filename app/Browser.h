#pragma once

#include "app/ImageWork.h"
#include "tessary/EMU3Filesystem.h"

#include <QObject>
#include <QString>
#include <vector>

namespace tessary {

class ContentController;
class FileTable;
class FindBar;
class FolderBar;
class FolderOutline;
class MainWindow;
class SidebarController;
class StatusBar;
class WorkBar;

/// What the window shows of the mounted image: the current folder in sidebar and table alike, the selected
/// files, the status line and the title. Main thread only.
///
/// The current folder is the one of the file table's model; sidebar and folder bar follow it.
class Browser final : public QObject {
  Q_OBJECT

public:
  struct Views {
    MainWindow *window = nullptr;
    FolderOutline *outline = nullptr;
    FileTable *table = nullptr;
    FolderBar *folderBar = nullptr;
    FindBar *findBar = nullptr;
    WorkBar *workBar = nullptr;
    StatusBar *statusBar = nullptr;
  };

  Browser(ImageWork *image, QObject *parent = nullptr);

  /// Comes before everything else. The views are not owned.
  void setViews(const Views &views);
  const Views &views() const { return views_; }
  SidebarController *sidebar() const { return sidebar_; }
  ContentController *content() const { return content_; }

  // The image
  /// Shows the image that is mounted now as if it were new; nothing when none is.
  void showImage();
  /// Shows what another program has left of the image: the same folder, if it is still there.
  void showImageReadAnew();
  /// Shows in the table, the sidebar and the disk-space line what has changed in the image.
  void showChanges();

  // Folders
  EMU3DirectoryPtr folder() const;
  /// Makes the folder the current one, highlights its row and reads the details of its banks.
  void showFolder(const EMU3DirectoryPtr &folder);
  void showRoot();
  void showParent();
  void folderRenamed(const EMU3DirectoryPtr &folder);
  /// Null where the current folder has none.
  EMU3DirectoryPtr parentOfFolder() const;
  /// Whether the folder is part of the mounted image's tree.
  bool holds(const EMU3DirectoryPtr &folder) const;
  /// Counts the folders that were shown; who remembers it knows later whether another one has been chosen.
  int foldersShown() const { return foldersShown_; }

  // Files
  /// The files of the table's selected rows, in row order, as far as their folders still hold them.
  std::vector<EMU3FilePtr> selectedFiles() const;
  /// Shows the folder with what has newly come into it, selected.
  void showArrivals(const EMU3DirectoryPtr &folder, const std::vector<EMU3FilePtr> &files);
  /// Shows the file's folder with the file, selected, as soon as that folder is the one it lies in.
  void goTo(const EMU3FilePtr &file);

  // Search (BrowserSearch.cpp)
  void find(bool everywhere);
  void endSearch();
  /// Shows the folder of the selected file, or of the first one, that a search of all folders has found.
  void goToFound();

  // Status line and title
  /// Shows the text. Where the image has become read-only since the title was last shown, the reason follows.
  void setStatus(const QString &text);
  /// The title names the image, and tells when it is read-only.
  void showTitle();
  /// Brings the title up to date. Why the image has become read-only since; empty when it has not.
  QString readOnlyNews();
  /// "Read-only: why.", or with another beginning.
  QString readOnlyText(const QString &beginning = QStringLiteral("Read-only")) const;
  bool showsReadOnly() const { return shownReason_ != ReadOnlyReason::none; }
  void updateDiskSpace();

signals:
  /// Another folder, other files or other selected ones are shown.
  void changed();

private:
  void showNoFolder();
  void folderChosen(const EMU3DirectoryPtr &folder);
  void readDetails(const EMU3DirectoryPtr &folder);
  void readMissingDetails();
  void search();
  void tellFound();
  void updateFolderBar();

  ImageWork *const image_;
  Views views_;
  SidebarController *const sidebar_;
  ContentController *const content_;
  ReadOnlyReason shownReason_ = ReadOnlyReason::none; ///< what the title tells
  int foldersShown_ = 0;
};

/// Reads the details of banks that have newly come into the image, on the thread that brought them.
void readDetailsOf(EMU3Filesystem &filesystem, const std::vector<EMU3FilePtr> &files);

/// "Used: N KB  Free: N KB" for numbers of 512-byte blocks, in unsigned 64-bit arithmetic.
QString diskSpaceText(std::uint64_t usedBlocks, std::uint64_t freeBlocks);

} // namespace tessary
