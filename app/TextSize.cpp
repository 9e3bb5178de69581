#include "app/TextSize.h"

#include <QApplication>
#include <QFontInfo>
#include <QWidget>
#include <algorithm>
#include <cmath>

namespace tessary {

double textScale() {
  constexpr double usualPixels = 14.7; // up to 11 points of 96 to the inch, as desktops have it
  return std::max(1.0, QFontInfo(QApplication::font()).pixelSize() / usualPixels);
}

int scaled(int pixels) {
  return static_cast<int>(std::lround(pixels * textScale()));
}

void setTextSize(QWidget *widget, int pixels) {
  QFont font = widget->font();
  font.setPixelSize(scaled(pixels));
  widget->setFont(font);
}

} // namespace tessary
