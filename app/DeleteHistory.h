#pragma once

#include "app/CommandTools.h"
#include "app/DeletedFiles.h"
#include "app/UndoManager.h"

#include <QObject>
#include <optional>
#include <vector>

namespace tessary {

/// Deletes files, brings them back and deletes them again: what "Delete", "Undo" and "Redo" do. Main thread
/// only; the files are handled on the image's I/O queue.
class DeleteHistory final : public QObject {
  Q_OBJECT

public:
  explicit DeleteHistory(const CommandTools &tools, QObject *parent = nullptr);

  UndoManager *undoManager() { return &undoManager_; }
  /// Asks, then deletes. Beeps where there is no file.
  void deleteFiles(const std::vector<EMU3FilePtr> &files);

private:
  /// Where a step registers what takes it back; none for what the user has newly done.
  using CounterpartSide = std::optional<UndoManager::Side>;
  /// Files of a deletion whose contents are incomplete: each is deleted only after a question of its own.
  struct IncompleteFiles {
    std::vector<PlacedFile> files;
    std::size_t deletedBefore = 0; ///< files of the same deletion
  };

  void ask(const std::vector<PlacedFile> &files);
  void remove(const std::vector<PlacedFile> &files, CounterpartSide side);
  void removed(std::size_t asked, const DeletionResult &result, CounterpartSide side);
  void showDeleted(std::size_t count);

  void askWhetherForGood(const IncompleteFiles &incomplete);
  void removeForGood(const PlacedFile &file, const IncompleteFiles &others);

  UndoManager::Call step(UndoManager::Call work);
  UndoManager::Call restoringStep(const std::vector<DeletedFile> &files);
  void restoreFromBackup(const std::vector<DeletedFile> &files, UndoManager::Side counterpart);
  void restore(const std::vector<DeletedFile> &files, UndoManager::Side counterpart);
  void restored(const RestorationResult &result, UndoManager::Side counterpart, int shownBefore);
  void showRestored(const std::vector<PlacedFile> &files, int shownBefore);
  void keepUndoable(const RestorationResult &result);
  void deleteRestored(const std::vector<PlacedFile> &files, UndoManager::Side counterpart);

  const CommandTools tools_;
  UndoManager undoManager_;
};

} // namespace tessary
