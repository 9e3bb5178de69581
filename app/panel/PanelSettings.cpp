#include "app/panel/PanelSettings.h"

#include "app/Settings.h"

#include <QString>
#include <QVariant>
#include <algorithm>

namespace tessary {
namespace {

const QString kShown = QStringLiteral("BankContents/Shown");
const QString kBelow = QStringLiteral("BankContents/Below");
const QString kRate = QStringLiteral("BankContents/Rate");
const QString kVolume = QStringLiteral("BankContents/Volume");

} // namespace

bool PanelSettings::isShown() {
  return openSettings()->value(kShown, false).toBool();
}

void PanelSettings::setShown(bool shown) {
  openSettings()->setValue(kShown, shown);
}

bool PanelSettings::isBelow() {
  return openSettings()->value(kBelow, false).toBool();
}

void PanelSettings::setBelow(bool below) {
  openSettings()->setValue(kBelow, below);
}

std::uint32_t PanelSettings::rate() {
  const std::uint32_t stored = openSettings()->value(kRate, kUsualSampleRate).toUInt();
  const bool isOffered = std::find(kSampleRates.begin(), kSampleRates.end(), stored) != kSampleRates.end();
  return isOffered ? stored : kUsualSampleRate;
}

void PanelSettings::setRate(std::uint32_t rate) {
  openSettings()->setValue(kRate, rate);
}

int PanelSettings::volume() {
  return std::clamp(openSettings()->value(kVolume, 100).toInt(), 0, 100);
}

void PanelSettings::setVolume(int percent) {
  openSettings()->setValue(kVolume, percent);
}

} // namespace tessary
