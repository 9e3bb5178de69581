#pragma once

#include "app/CommandTools.h"
#include "tessary/EMU3Filesystem.h"

#include <QObject>
#include <QString>
#include <functional>
#include <string>

namespace tessary {

class Spinner;

/// Opens images in the background for one window, which shows that it does, and says there what could not be
/// opened. Main thread only.
class ImageOpenings final : public QObject {
  Q_OBJECT

public:
  /// Takes an image that was opened.
  using Opened = std::function<void(const EMU3FilesystemPtr &image)>;

  explicit ImageOpenings(const CommandTools &tools, QObject *parent = nullptr);

  /// Opens the image at a path of the host. `opened` does not run once the window is about to end.
  void open(const std::string &imageURL, Opened opened);
  /// The same for another window. `ended` runs in any case, also when this one is gone by then: with the
  /// image, or with why there is none where it could not be told here.
  using EndedElsewhere = std::function<void(const EMU3FilesystemPtr &image, const QString &failure)>;
  void openElsewhere(const std::string &imageURL, EndedElsewhere ended);
  bool areUnderWay() const { return underWay_ > 0; }
  /// Another window shows what was opened: the status line says again what it said before.
  void wentElsewhere();
  /// Tells in a modal alert what was not opened, and why.
  void failed(const QString &reason);

private:
  /// How an opening ended: with the image, or the error.
  struct End {
    EMU3FilesystemPtr image;
    EMU3Error error;
  };
  void begin(const std::string &imageURL, std::function<void(const End &end)> ended);
  void endedHere();
  void ended(const std::string &imageURL, const EMU3FilesystemPtr &image, const EMU3Error &error,
             const Opened &opened);
  Spinner *spinner() const;

  const CommandTools tools_;
  int underWay_ = 0;
  QString statusBefore_; ///< the first of those under way
};

} // namespace tessary
