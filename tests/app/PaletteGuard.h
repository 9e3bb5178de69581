#pragma once

#include <QApplication>
#include <QPalette>

namespace tessary {

/// Puts the application's palette back when the test ends.
class PaletteGuard {
public:
  PaletteGuard() : before(QApplication::palette()) {}
  ~PaletteGuard() { QApplication::setPalette(before); }
  PaletteGuard(const PaletteGuard &) = delete;
  PaletteGuard &operator=(const PaletteGuard &) = delete;

private:
  QPalette before;
};

} // namespace tessary
