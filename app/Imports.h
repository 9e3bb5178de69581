#pragma once

#include "app/CommandTools.h"
#include "app/ImportFiles.h"

#include <QObject>
#include <functional>
#include <string>
#include <vector>

namespace tessary {

/// Imports host files, which the user chooses or drops on the table or a folder. Main thread only; the files
/// are read on the image's I/O queue.
class Imports final : public QObject {
  Q_OBJECT

public:
  explicit Imports(const CommandTools &tools, QObject *parent = nullptr);

  /// Asks for the files that are to come into the current folder.
  void choose();
  /// Files dropped on the table: they come into the current folder.
  void dropOnTable(const std::vector<std::string> &urls);
  void dropOnFolder(const EMU3DirectoryPtr &folder, const std::vector<std::string> &urls);

private:
  using Imported = std::function<void(const ImportResult &)>;

  void askForFiles();
  void importChosen(const std::vector<std::string> &urls);
  void run(const std::vector<std::string> &urls, const EMU3DirectoryPtr &folder, bool spinning,
           Imported imported);
  void show(const EMU3DirectoryPtr &folder, const ImportResult &result, int shownBefore);
  void tellFailures(const ImportResult &result);

  const CommandTools tools_;
};

} // namespace tessary
