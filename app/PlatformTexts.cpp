#include "app/PlatformTexts.h"

#include <QKeySequence>

namespace tessary {

#ifdef Q_OS_MACOS

QString undoKeyText() {
  return QStringLiteral("Cmd+Z");
}

QString exportCommandText() {
  return QStringLiteral("Export to Mac…");
}

#else

QString undoKeyText() {
  return QKeySequence(QKeySequence::Undo).toString(QKeySequence::NativeText);
}

QString exportCommandText() {
  return QStringLiteral("Export…");
}

#endif

} // namespace tessary
