#pragma once

#include <QString>
#include <cstddef>

namespace tessary {

/// How work on several files went.
struct WorkOutcome {
  std::size_t done = 0;
  std::size_t failed = 0;
  std::size_t all = 0; ///< that were asked for
  bool isStopped = false;
};

/// " (2 failed)"; nothing when nothing did.
QString failedText(std::size_t failed);

/// What the status line says: "Imported 3 file(s).", "Imported 3 file(s) (1 failed)."; of what the user has
/// stopped, "Stopped. Imported 3 of 9 file(s)."
QString outcomeText(const QString &done, const WorkOutcome &outcome,
                    const QString &things = QStringLiteral("file(s)"));

} // namespace tessary
