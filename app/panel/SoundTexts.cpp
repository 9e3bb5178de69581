#include "app/panel/SoundTexts.h"

#include "tessary/EMU3File.h"

#include <QLocale>
#include <string>

namespace tessary {

QString lengthText(std::uint64_t frames, std::uint32_t rate) {
  const std::uint64_t hundredths = (frames * 100 + rate / 2) / rate;
  if (hundredths < 6000) return QStringLiteral("%1 s").arg(static_cast<double>(hundredths) / 100, 0, 'f', 2);
  const std::uint64_t tenths = (frames * 10 + rate / 2) / rate;
  return QStringLiteral("%1:%2.%3")
      .arg(QString::number(tenths / 600))
      .arg(tenths / 10 % 60, 2, 10, QLatin1Char('0'))
      .arg(QString::number(tenths % 10));
}

QString rateText(std::uint32_t rate) {
  return QStringLiteral("%1 Hz").arg(QLocale(QLocale::English).toString(rate));
}

QString sizeText(std::uint64_t bytes) {
  return QString::fromStdString(fileSizeStringFor(bytes));
}

} // namespace tessary
