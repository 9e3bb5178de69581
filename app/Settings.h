#pragma once

#include <QSettings>
#include <memory>
#include <string>

/// What the window remembers from one start to the next, in the platform's place for settings.
namespace tessary {

/// The settings themselves, to be read and written on the main thread.
std::unique_ptr<QSettings> openSettings();

/// Which images the user is offered a backup of before their first change. An image is known again by its
/// path and size.
class BackupOffers final {
public:
  /// Whether the user is asked at all; so it is unless the settings say otherwise.
  static bool areMade();
  static void setMade(bool made);
  static bool isMadeFor(const std::string &imagePath, std::uint64_t imageSize);
  static void endFor(const std::string &imagePath, std::uint64_t imageSize);
};

} // namespace tessary
