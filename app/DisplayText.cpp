#include "app/DisplayText.h"

#include "tessary/Text.h"

namespace tessary {
namespace {

bool changesTextDirection(QChar character) {
  const char16_t code = character.unicode();
  return code == 0x061C || code == 0x200E || code == 0x200F || (code >= 0x202A && code <= 0x202E) ||
         (code >= 0x2066 && code <= 0x2069);
}

} // namespace

QString displayText(std::string_view text) {
  const QString escaped = QString::fromStdString(escapedForDisplay(text));
  QString shown;
  shown.reserve(escaped.size());
  for (const QChar character : escaped) {
    if (changesTextDirection(character))
      shown += QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
    else
      shown += character;
  }
  return shown;
}

QString titleText(const QString &text) {
  return QString(text).replace(QLatin1String("[*]"), QLatin1String("[*][*]"));
}

} // namespace tessary
