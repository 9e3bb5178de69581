#pragma once

#include "app/CommandTools.h"
#include "app/ImageWork.h"
#include "app/UndoManager.h"
#include "app/history/HistoryStep.h"
#include "app/history/LastingItems.h"
#include "tessary/ImageIdentity.h"

#include <QObject>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace tessary {

/// What the user has changed in the image, and can undo and redo: the ten newest steps. Main thread only; the
/// steps work on the image's I/O queue.
///
/// They outlast an unmount, until another image is changed. The image is known by its file (`ImageIdentity`),
/// so also when it is mounted by another path. A file that was put in its place is another image, be it a
/// backup of it: the steps wait for the one that they are about. Where other contents were copied into the
/// file itself, what the steps mean is looked for by place and name, of a folder its first block; what is not
/// found is told as gone, and nothing else is changed in its stead.
class ChangeHistory final : public QObject {
  Q_OBJECT

public:
  explicit ChangeHistory(const CommandTools &tools, QObject *parent = nullptr);

  UndoManager *undoManager() { return &undoManager_; }
  /// For steps. Any thread.
  const std::shared_ptr<LastingItems> &items() const { return items_; }

  // What the user has newly done in the image, which may have been unmounted meanwhile; `name` is that of the
  // command.
  void madeFolder(const EMU3DirectoryPtr &folder, const EMU3FilesystemPtr &image);
  /// `undo` takes it back.
  void did(const QString &name, HistoryStepPtr undo, const EMU3FilesystemPtr &image);
  /// Does it, and then registers what takes it back; where the user has stopped it, what does the rest can be
  /// redone. `done` hears how it went.
  void run(const QString &name, const HistoryStepPtr &step, ImageWork::Spinning spinning,
           std::function<void(const StepResult &)> done);

  /// Another image is mounted, or none, or the same one anew.
  void imageReplaced();

private:
  class Taken;
  using Ended = std::function<void(const StepResult &, const EMU3FilesystemPtr &image)>;

  UndoManager::Call callOf(const QString &name, HistoryStepPtr step);
  void runStep(const HistoryStepPtr &step, ImageWork::Spinning spinning, WorkProgress::AtEnd atEnd,
               Ended ended);
  void changeBegins();
  void changeEnds();
  void runAgain(const QString &name, const HistoryStepPtr &step, UndoManager::Side counterpart);
  void ended(const QString &name, const StepResult &result, UndoManager::Side counterpart);
  void show(const StepResult &result, int shownBefore);
  bool takeImage(const EMU3FilesystemPtr &image);
  void lookAtMountedImage();
  [[nodiscard]] bool isAbout(const EMU3FilesystemPtr &image) const;

  const CommandTools tools_;
  UndoManager undoManager_;
  const std::shared_ptr<LastingItems> items_ = std::make_shared<LastingItems>();
  int newChanges_ = 0;                       ///< that run or wait; what takes them back is not registered yet
  std::optional<ImageIdentity> image_;       ///< that the steps are about; none before the first
  std::weak_ptr<EMU3Filesystem> filesystem_; ///< that `items_` are objects of
};

} // namespace tessary
