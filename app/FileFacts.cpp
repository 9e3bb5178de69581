#include "app/FileFacts.h"

#include "app/DisplayText.h"
#include "tessary/BankEntry.h"

#include <QStringList>
#include <algorithm>

namespace tessary {
namespace {

QList<QPair<QString, QString>> factsOfBank(const EMU3File &file) {
  const BankDetails details = file.bankDetails();
  const char *format = bankFormatName(details.bankFormat);
  return {{QStringLiteral("Name"), displayText(details.bankName.value_or(file.name()))},
          {QStringLiteral("Format"), format ? QString::fromUtf8(format) : QStringLiteral("Unknown")},
          {QStringLiteral("Size"), QString::fromStdString(file.fileSizeString())},
          {QStringLiteral("Presets"), QString::number(details.presetCount)},
          {QStringLiteral("Samples"), QString::number(details.sampleCount)}};
}

} // namespace

QList<QPair<QString, QString>> factsOf(const EMU3File &file) {
  if (file.fileType() == kFileTypeBank) return factsOfBank(file);
  return {{QStringLiteral("Name"), displayText(file.name())},
          {QStringLiteral("Type"), QString::fromStdString(file.fileTypeString())},
          {QStringLiteral("Size"), QString::fromStdString(file.fileSizeString())}};
}

QString informationText(const EMU3File &file) {
  const QList<QPair<QString, QString>> facts = factsOf(file);
  qsizetype widest = 0;
  for (const auto &[name, value] : facts)
    widest = std::max(widest, name.size());
  QStringList lines;
  for (const auto &[name, value] : facts)
    lines += (name + QLatin1Char(':')).leftJustified(widest + 2) + value;
  return lines.join(QLatin1Char('\n'));
}

} // namespace tessary
