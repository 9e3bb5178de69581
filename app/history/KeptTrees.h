#pragma once

#include "app/FailuresAlert.h"
#include "app/PlacedFiles.h"
#include "app/history/LastingItems.h"
#include "app/history/UndoCopies.h"
#include "app/progress/WorkOutcome.h"
#include "app/progress/WorkProgress.h"
#include "tessary/EMU3Filesystem.h"
#include "tessary/StoredTree.h"

#include <QString>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace tessary {

/// A file, or a folder with all that is in it, as it was before it was deleted.
struct KeptTree {
  std::string name; ///< of the file or the folder
  LastingFolder in; ///< that held it
  StoredTree items{};
  // What each of the items is to the steps of the history; null of the other kind.
  std::vector<LastingFile> files{};
  std::vector<LastingFolder> folders{};
  std::shared_ptr<const UndoCopies> copies{}; ///< that `items` name

  [[nodiscard]] bool isFolder() const { return items.front().contents.empty(); }
  [[nodiscard]] std::size_t fileCount() const;
};

/// How many files all of them are.
[[nodiscard]] std::size_t fileCountOf(const std::vector<KeptTree> &trees);

/// "Deleted 3 file(s).", or of one folder "Deleted folder 'NAME'." `outcome` is that of the files.
[[nodiscard]] QString doneText(const QString &done, const std::vector<KeptTree> &trees,
                               const WorkOutcome &outcome);

/// Files and folders of the tree that are about to be deleted.
struct ItemsToDelete {
  std::vector<PlacedFile> files;
  std::vector<EMU3DirectoryPtr> folders;

  [[nodiscard]] std::size_t count() const { return files.size() + folders.size(); }
  /// Files, those in the folders too.
  [[nodiscard]] std::size_t fileCount() const;
};

/// What can be deleted, since it could be brought back, and what cannot.
struct Keeping {
  ItemsToDelete toDelete;      ///< with a tree of `trees` for each, files first
  std::vector<KeptTree> trees; ///< in the same order
  std::vector<PlacedFile> incompleteFiles;
  std::vector<EMU3DirectoryPtr> incompleteFolders; ///< that hold such a file
  std::vector<ItemFailure> failures;               ///< of the others
  bool isStopped = false;                          ///< by the user: nothing is to be deleted
};

/// Copies the contents of files and folders to the host. Where there is no room for all of them, all fail. On
/// the image's I/O queue.
[[nodiscard]] Keeping keep(EMU3Filesystem &filesystem, LastingItems &items, const ItemsToDelete &toDelete,
                           WorkProgress &progress);

} // namespace tessary
