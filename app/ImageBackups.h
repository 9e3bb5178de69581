#pragma once

#include "app/Browser.h"
#include "app/Dialogs.h"
#include "app/ImageWork.h"

#include <QObject>
#include <functional>
#include <string>

namespace tessary {

/// Backs up the mounted image to a new host file. Main thread only.
class ImageBackups final : public QObject {
  Q_OBJECT

public:
  ImageBackups(ImageWork *image, Dialogs *dialogs, Browser *browser, QObject *parent = nullptr);

  /// Asks where to. `done` runs when the backup is whole: not when it fails, or when the user cancels.
  void backUp(std::function<void()> done = {});

private:
  void backUpTo(const std::string &target, const std::function<void()> &done);

  ImageWork *const image_;
  Dialogs *const dialogs_;
  Browser *const browser_;
};

} // namespace tessary
