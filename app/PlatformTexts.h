#pragma once

#include <QString>

namespace tessary {

/// The key that undoes, as it is written on this platform: "Cmd+Z", elsewhere "Ctrl+Z".
QString undoKeyText();
/// The command that exports files to this computer: "Export to Mac…", elsewhere "Export…".
QString exportCommandText();

} // namespace tessary
