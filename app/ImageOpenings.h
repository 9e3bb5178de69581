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
  bool areUnderWay() const { return underWay_ > 0; }
  /// Another window shows what was opened: the status line says again what it said before.
  void wentElsewhere();
  /// Tells in a modal alert what was not opened, and why.
  void failed(const QString &reason);

private:
  void ended(const std::string &imageURL, const EMU3FilesystemPtr &image, const EMU3Error &error,
             const Opened &opened);
  Spinner *spinner() const;

  const CommandTools tools_;
  int underWay_ = 0;
  QString statusBefore_; ///< the first of those under way
};

} // namespace tessary
