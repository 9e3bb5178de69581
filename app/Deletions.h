#pragma once

#include "app/CommandTools.h"
#include "app/PlacedFiles.h"
#include "app/history/HistoryStep.h"

#include <QObject>
#include <vector>

namespace tessary {

/// Deletes files, once the user has agreed. Main thread only; the image is changed on its I/O queue.
class Deletions final : public QObject {
  Q_OBJECT

public:
  explicit Deletions(const CommandTools &tools, QObject *parent = nullptr);

  /// Asks, then deletes. Beeps where there is no file.
  void deleteFiles(const std::vector<EMU3FilePtr> &files);

private:
  /// Files of a deletion whose contents are incomplete: each is deleted only after a question of its own.
  struct IncompleteFiles {
    std::vector<PlacedFile> files;
    std::size_t deletedBefore = 0; ///< files of the same deletion
  };

  void ask(const std::vector<PlacedFile> &files);
  void remove(const std::vector<PlacedFile> &files);
  void showDeleted(std::size_t count);
  void askWhetherForGood(const IncompleteFiles &incomplete);
  void askAboutFirst(const IncompleteFiles &incomplete);
  void removeForGood(const PlacedFile &file, const IncompleteFiles &others);

  const CommandTools tools_;
};

} // namespace tessary
