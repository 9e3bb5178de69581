#include "app/Colors.h"

namespace tessary {
namespace {

/// The text colour with that share of the background's mixed in.
QColor fadedText(const QPalette &palette, float share) {
  const QColor text = palette.color(QPalette::WindowText);
  const QColor background = palette.color(QPalette::Window);
  const auto mix = [share](float from, float to) { return from + (to - from) * share; };
  return QColor::fromRgbF(mix(text.redF(), background.redF()), mix(text.greenF(), background.greenF()),
                          mix(text.blueF(), background.blueF()));
}

} // namespace

QColor secondaryLabelColor(const QPalette &palette) {
  return fadedText(palette, 0.35F);
}

QColor separatorColor(const QPalette &palette) {
  return fadedText(palette, 0.75F);
}

} // namespace tessary
