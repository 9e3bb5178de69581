#pragma once

#include "app/CommandTools.h"
#include "app/FailuresAlert.h"
#include "app/PlacedFiles.h"
#include "tessary/EMU3Filesystem.h"

#include <QObject>
#include <vector>

namespace tessary {

/// Copies and moves files, and copies folders with their trees, to another folder of the image; copies may
/// come from another window's image. Main thread only; the work is done on the I/O queue of the image that
/// they go to.
class Transfers final : public QObject {
  Q_OBJECT

public:
  explicit Transfers(const CommandTools &tools, QObject *parent = nullptr);

  /// Asks where to. Beeps where there is no file, or the image cannot be changed.
  void transfer(const std::vector<EMU3FilePtr> &files, bool move);
  /// Copies or moves the files and then shows the destination, with them selected. What is copied may be of
  /// `source`, another image, which is kept until that is done.
  void run(const std::vector<PlacedFile> &files, const EMU3DirectoryPtr &toDirectory, bool move,
           const EMU3FilesystemPtr &source = nullptr);
  /// Copies the folder, which may be of another image too, with its tree, and then shows the copy.
  void copyFolder(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &toDirectory,
                  const EMU3FilesystemPtr &source);

private:
  struct Result {
    std::vector<PlacedFile> chosen; ///< those that arrived, and where they were before
    std::vector<EMU3FilePtr> arrived;
    std::vector<ItemFailure> failures;
  };

  struct FolderResult {
    EMU3DirectoryPtr copy; ///< null where it was not made
    std::size_t items = 0; ///< of the tree
    std::vector<ItemFailure> failures;
  };

  static Result transferOn(EMU3Filesystem &filesystem, const std::vector<PlacedFile> &files,
                           const EMU3DirectoryPtr &toDirectory, bool move, const EMU3FilesystemPtr &source);
  static FolderResult copyOn(EMU3Filesystem &filesystem, const EMU3DirectoryPtr &folder,
                             const EMU3DirectoryPtr &toDirectory, const EMU3FilesystemPtr &source);
  void tellFailures(bool move, const std::vector<ItemFailure> &failures, std::size_t items) const;
  void folderCopied(const FolderResult &result, const std::string &name);
  void askForDestination(const std::vector<PlacedFile> &files, bool move);
  void transferred(const Result &result, const EMU3DirectoryPtr &toDirectory, bool move);
  void makeUndoable(const Result &result, const EMU3DirectoryPtr &toDirectory, bool move);

  const CommandTools tools_;
};

} // namespace tessary
