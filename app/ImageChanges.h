#pragma once

#include "app/Browser.h"
#include "app/Dialogs.h"
#include "app/ImageBackups.h"
#include "app/ImageWork.h"
#include "tessary/EMU3Filesystem.h"

#include <QObject>
#include <functional>
#include <memory>

namespace tessary {

/// Whether the image can be changed now, or as soon as another program lets go of it. Only asking for the
/// claim tells.
bool mayBecomeChangeable(const EMU3Filesystem &filesystem);

/// What stands before each change of the mounted image, and how a single one is made. Main thread only.
class ImageChanges final : public QObject {
  Q_OBJECT

public:
  ImageChanges(ImageWork *image, Dialogs *dialogs, Browser *browser, ImageBackups *backups,
               QObject *parent = nullptr);

  /// What each command asks before it changes the mounted image: `change` runs when that is not read-only, or
  /// no longer, else `refused`. At once, unless another program's claim has to be asked about, or a backup
  /// is offered: once an image, before its first change. Neither runs where the user then cancels.
  void whenChangeable(std::function<void()> change, std::function<void()> refused);
  /// Runs a single change; an error is shown in an alert. `failed` runs after that. What the change tells to
  /// follow it runs though the image is not mounted any more.
  void run(ImageWork::Change change, std::function<void()> failed = {});
  /// `advice` follows the text.
  void tellReadOnly(const QString &advice = {});

signals:
  /// A single change of the mounted image was given; it waits or runs.
  void begun();
  /// One has ended, well or not; what followed it has run.
  void ended();

private:
  void offerBackup(std::function<void()> change);

  ImageWork *const image_;
  Dialogs *const dialogs_;
  Browser *const browser_;
  ImageBackups *const backups_;
  std::weak_ptr<EMU3Filesystem> offeredFor_; ///< mounted when the user last answered the offer
};

} // namespace tessary
