#pragma once

namespace tessary {

class Browser;
class ChangeHistory;
class Dialogs;
class ImageChanges;
class ImageWork;

/// What every command of the window works with. None of it is owned.
struct CommandTools {
  ImageWork *image = nullptr;
  Dialogs *dialogs = nullptr;
  Browser *browser = nullptr;
  ImageChanges *changes = nullptr;
  ChangeHistory *history = nullptr;
};

} // namespace tessary
