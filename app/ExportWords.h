#pragma once

#include "app/ExportPlan.h"

#include <QString>

namespace tessary {

/// What is said of an export, of files or of samples.
struct ExportWords {
  const char *log;                                     ///< what the command is called in the log
  QString (*status)(const WorkOutcome &outcome);       ///< in the status line, when it has ended
  QString (*failed)(const ExportPlan::Result &result); ///< above the list of what failed

  static const ExportWords kFiles;
  static const ExportWords kSamples;
};

} // namespace tessary
