#pragma once

#include "app/CommandTools.h"
#include "app/PlacedFiles.h"
#include "app/history/HistoryStep.h"
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
  /// Null where the source is the image that is changed itself.
  [[nodiscard]] EMU3FilesystemPtr otherImage(const EMU3FilesystemPtr &source) const;
  /// Where nothing came into it, `shown` is shown; null for the folder that is.
  void run(const QString &name, const HistoryStepPtr &step, const EMU3DirectoryPtr &shown,
           const EMU3FilesystemPtr &source);
  void askForDestination(const std::vector<PlacedFile> &files, bool move);

  const CommandTools tools_;
};

} // namespace tessary
