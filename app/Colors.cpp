#include "app/Colors.h"

#include <QApplication>
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
  return mixed(palette.color(QPalette::Active, QPalette::WindowText),
               palette.color(QPalette::Active, QPalette::Window), share);
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

/// `color`, mixed with `other` as far as it needs to be read beside a third.
QColor readableBeside(const QColor &beside, const QColor &color, const QColor &other) {
  constexpr double readable = 4.5;
  QColor readableColor = color;
  for (int step = 1; step <= 10 && contrast(readableColor, beside) < readable; ++step)
    readableColor = mixed(color, other, 0.1F * static_cast<float>(step));
  return readableColor;
}

} // namespace

QColor secondaryLabelColor(const QPalette &palette) {
  return fadedText(palette, 0.35F);
}

QColor separatorColor(const QPalette &palette) {
  return fadedText(palette, 0.75F);
}

QColor selectionColor(const QPalette &palette) {
  const QColor text = palette.color(QPalette::Active, QPalette::HighlightedText);
  return readableBeside(text, palette.color(QPalette::Active, QPalette::Highlight),
                        luminance(text) > 0.5 ? Qt::black : Qt::white);
}

QColor greySelectionColor(const QPalette &palette) {
  return mixed(palette.color(QPalette::Active, QPalette::Base),
               palette.color(QPalette::Active, QPalette::Text), 0.22F);
}

void makeSelectionsReadable() {
  const QPalette system = QApplication::palette();
  const QColor readable = selectionColor(system);
  if (readable.rgb() == system.color(QPalette::Active, QPalette::Highlight).rgb()) return;
  QPalette palette;
  for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive})
    palette.setColor(group, QPalette::Highlight, readable);
  QApplication::setPalette(palette);
}

QColor waveColor(const QPalette &palette) {
  return readableBeside(palette.color(QPalette::Active, QPalette::Base),
                        palette.color(QPalette::Active, QPalette::Highlight),
                        palette.color(QPalette::Active, QPalette::Text));
}

QColor heardColor(const QPalette &palette) {
  return readableBeside(palette.color(QPalette::Active, QPalette::Base), QColor(0xE5, 0x48, 0x2D),
                        palette.color(QPalette::Active, QPalette::Text));
}

QColor linkColor(const QPalette &palette) {
  return readableBeside(palette.color(QPalette::Window), palette.color(QPalette::Link),
                        palette.color(QPalette::WindowText));
}

} // namespace tessary
