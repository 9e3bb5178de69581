#include "app/Colors.h"

#include <algorithm>
#include <cmath>

namespace tessary {
namespace {

/// `color` with that share of the other mixed in.
QColor mixed(const QColor &color, const QColor &other, float share) {
  const auto part = [share](float from, float to) { return from + (to - from) * share; };
  return QColor::fromRgbF(part(color.redF(), other.redF()), part(color.greenF(), other.greenF()),
                          part(color.blueF(), other.blueF()));
}

/// The text colour with that share of the background's mixed in.
QColor fadedText(const QPalette &palette, float share) {
  return mixed(palette.color(QPalette::WindowText), palette.color(QPalette::Window), share);
}

double luminance(const QColor &color) {
  const auto linear = [](double value) {
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

/// From 1, no difference, to 21, black on white; 4.5 is comfortable for small text.
double contrast(const QColor &one, const QColor &other) {
  const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
  return (lighter + 0.05) / (darker + 0.05);
}

} // namespace

QColor secondaryLabelColor(const QPalette &palette) {
  return fadedText(palette, 0.35F);
}

QColor separatorColor(const QPalette &palette) {
  return fadedText(palette, 0.75F);
}

QColor linkColor(const QPalette &palette) {
  const QColor background = palette.color(QPalette::Window);
  const QColor link = palette.color(QPalette::Link);
  QColor color = link;
  for (int step = 1; step <= 10 && contrast(color, background) < 4.5; ++step)
    color = mixed(link, palette.color(QPalette::WindowText), 0.1F * static_cast<float>(step));
  return color;
}

} // namespace tessary
