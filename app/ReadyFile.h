#pragma once

class QWidget;

namespace tessary {

/// For scripts that take pictures of the window: once `window` is painted as it is now, creates the empty
/// file that the environment variable TESSARY_READY_FILE names. Does nothing when it names none.
void writeReadyFile(QWidget *window);

} // namespace tessary
