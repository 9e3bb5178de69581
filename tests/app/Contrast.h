#pragma once

#include <QColor>
#include <QImage>
#include <algorithm>
#include <cmath>

namespace tessary::test {

/// How bright a colour looks, from 0 for black to 1 for white.
inline double luminance(const QColor &color) {
  const auto linear = [](double value) {
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

/// From 1, no difference, to 21, black on white; 4.5 is comfortable for small text.
inline double contrast(const QColor &one, const QColor &other) {
  const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
  return (lighter + 0.05) / (darker + 0.05);
}

/// The strongest contrast that a pixel of the picture has with the background.
inline double bestContrast(const QImage &picture, const QColor &background) {
  double best = 1;
  for (int y = 0; y < picture.height(); ++y)
    for (int x = 0; x < picture.width(); ++x)
      best = std::max(best, contrast(picture.pixelColor(x, y), background));
  return best;
}

} // namespace tessary::test
