#pragma once

#include "app/CommandTools.h"
#include "app/ImageWork.h"
#include "app/history/HistoryStep.h"

#include <QObject>
#include <functional>
#include <string>
#include <vector>

namespace tessary {

/// Imports host files, and folders with their trees, which the user chooses or drops on the table or a
/// folder. Main thread only; the files are read on the image's I/O queue.
class Imports final : public QObject {
  Q_OBJECT

public:
  explicit Imports(const CommandTools &tools, QObject *parent = nullptr);

  // Each asks what is to come into the current folder.
  void choose();
  void chooseFolder();
  /// What was dropped on the table comes into the current folder.
  void dropOnTable(const std::vector<std::string> &urls);
  void dropOnFolder(const EMU3DirectoryPtr &folder, const std::vector<std::string> &urls);

private:
  void askForFiles();
  void whenChangeable(std::function<void()> import);
  void importChosen(const std::vector<std::string> &urls);
  void run(const std::vector<std::string> &urls, const EMU3DirectoryPtr &folder, ImageWork::Spinning spinning,
           std::function<void(const StepResult &)> imported);
  void show(const StepResult &result, int shownBefore);

  const CommandTools tools_;
};

} // namespace tessary
