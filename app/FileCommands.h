#pragma once

#include "app/CommandTools.h"
#include "app/PlacedFiles.h"

#include <QObject>
#include <functional>
#include <vector>

namespace tessary {

/// What is done with one file: renaming it, and telling what it is. Main thread only; the image is read and
/// changed off it.
class FileCommands final : public QObject {
  Q_OBJECT

public:
  /// `exportFiles` is what "Export…" in a file's information does.
  FileCommands(const CommandTools &tools, std::function<void(const std::vector<EMU3FilePtr> &)> exportFiles,
               QObject *parent = nullptr);

  /// Asks for the name. Beeps unless it is one file, of an image that can be changed.
  void rename(const std::vector<EMU3FilePtr> &files);
  /// Shows a file's details once they are read. Nothing unless it is one file.
  void showInformation(const std::vector<EMU3FilePtr> &files);

private:
  void askForNameOf(const PlacedFile &placed);
  void informationRead(const EMU3FilePtr &file);

  const CommandTools tools_;
  const std::function<void(const std::vector<EMU3FilePtr> &)> exportFiles_;
};

} // namespace tessary
