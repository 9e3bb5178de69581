#pragma once

#include "app/CommandTools.h"
#include "app/PlacedFiles.h"
#include "tessary/EMU3Filesystem.h"

#include <QObject>
#include <vector>

namespace tessary {

/// Copies and moves files to another folder of the image. Main thread only; the files are handled on the
/// image's I/O queue.
class Transfers final : public QObject {
  Q_OBJECT

public:
  explicit Transfers(const CommandTools &tools, QObject *parent = nullptr);

  /// Asks where to. Beeps where there is no file, or the image cannot be changed.
  void transfer(const std::vector<EMU3FilePtr> &files, bool move);
  /// Copies or moves the files and then shows the destination, with them selected.
  void run(const std::vector<PlacedFile> &files, const EMU3DirectoryPtr &toDirectory, bool move);

private:
  void askForDestination(const std::vector<PlacedFile> &files, bool move);

  const CommandTools tools_;
};

} // namespace tessary
