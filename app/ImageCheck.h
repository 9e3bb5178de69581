#pragma once

#include "app/CommandTools.h"
#include "tessary/VolumeFindings.h"

#include <QObject>
#include <QPointer>
#include <optional>
#include <vector>

namespace tessary {

class FindingsPanel;

/// Checks the image and lists what that found, in a panel that closes with the image. Main thread only; the
/// image is checked on its I/O queue.
class ImageCheck final : public QObject {
  Q_OBJECT

public:
  explicit ImageCheck(const CommandTools &tools, QObject *parent = nullptr);

  void check();
  /// Another image is mounted, or none.
  void imageReplaced();
  /// Whether the mounted image is being checked.
  bool isChecking() const { return checking_; }

signals:
  void changed();

private:
  using Findings = std::optional<std::vector<VolumeFinding>>; ///< none of a check that was stopped

  void checked(const Findings &findings);
  void show(std::vector<VolumeFinding> findings);
  /// Whether what the finding is about is part of the mounted image.
  bool canGoTo(const VolumeFinding &finding) const;
  /// Shows the folder that the finding is about, or that holds its file, and selects the file.
  void goTo(const VolumeFinding &finding);

  const CommandTools tools_;
  QPointer<FindingsPanel> panel_;
  bool checking_ = false;
};

} // namespace tessary
