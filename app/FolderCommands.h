#pragma once

#include "app/CommandTools.h"
#include "tessary/EMU3Directory.h"

#include <QObject>
#include <string>

namespace tessary {

/// Makes, renames and deletes folders of the image. Main thread only; the image is changed off it.
class FolderCommands final : public QObject {
  Q_OBJECT

public:
  explicit FolderCommands(const CommandTools &tools, QObject *parent = nullptr);

  // Each asks first. The last two beep for null and for the root.
  void create(const EMU3DirectoryPtr &parent);
  void rename(const EMU3DirectoryPtr &folder);
  void remove(const EMU3DirectoryPtr &folder);

private:
  bool isRoot(const EMU3DirectoryPtr &folder) const;
  void askForNew(const EMU3DirectoryPtr &parent);
  void askForNameOf(const EMU3DirectoryPtr &folder);
  void askToRemove(const EMU3DirectoryPtr &folder);
  void removeNow(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &parent);
  void askWhetherForGood(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &parent);
  void removeForGood(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &parent);
  void removed(const std::string &name, const EMU3DirectoryPtr &parent);

  const CommandTools tools_;
};

} // namespace tessary
