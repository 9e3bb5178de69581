#include "app/Colors.h"

namespace tessary {

QColor secondaryLabelColor(const QPalette &palette) {
  constexpr float share = 0.35F;
  const QColor text = palette.color(QPalette::WindowText);
  const QColor background = palette.color(QPalette::Window);
  const auto mix = [](float from, float to) { return from + (to - from) * share; };
  return QColor::fromRgbF(mix(text.redF(), background.redF()), mix(text.greenF(), background.greenF()),
                          mix(text.blueF(), background.blueF()));
}

} // namespace tessary
