#include "app/Icons.h"
#include "tests/app/PaletteGuard.h"

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QPalette>
#include <gtest/gtest.h>

namespace tessary {
namespace {

const QStringList symbols = {"externaldrive.badge.plus", "eject", "square.and.arrow.up",
                             "square.and.arrow.down",    "trash", "arrow.uturn.backward",
                             "arrow.uturn.forward"};

QImage drawn(const QIcon &icon, int size, QIcon::Mode mode = QIcon::Normal) {
  return icon.pixmap(QSize(size, size), 1.0, mode).toImage().convertToFormat(QImage::Format_ARGB32);
}

/// The colours of the fully covered pixels.
QSet<QRgb> opaqueColors(const QImage &image) {
  QSet<QRgb> colors;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x)
      if (qAlpha(image.pixel(x, y)) == 255) colors.insert(image.pixel(x, y));
  return colors;
}

bool hasEmptyBorder(const QImage &image) {
  for (int i = 0; i < image.width(); ++i)
    if (qAlpha(image.pixel(i, 0)) || qAlpha(image.pixel(i, image.height() - 1)) ||
        qAlpha(image.pixel(0, i)) || qAlpha(image.pixel(image.width() - 1, i)))
      return false;
  return true;
}

QPalette paletteWithText(const QColor &enabled, const QColor &disabled) {
  QPalette palette = QApplication::palette();
  palette.setColor(QPalette::ButtonText, enabled);
  palette.setColor(QPalette::Disabled, QPalette::ButtonText, disabled);
  return palette;
}

TEST(ToolbarIcon, EverySymbolHasADrawingOfItsOwn) {
  QList<QImage> drawings;
  for (const QString &symbol : symbols) {
    const QIcon icon = toolbarIcon(symbol);
    ASSERT_FALSE(icon.isNull()) << symbol.toStdString();
    EXPECT_EQ(icon.name(), symbol);
    const QImage drawing = drawn(icon, 48);
    EXPECT_FALSE(opaqueColors(drawing).isEmpty()) << symbol.toStdString();
    EXPECT_FALSE(drawings.contains(drawing)) << symbol.toStdString();
    drawings.append(drawing);
  }
}

TEST(ToolbarIcon, UnknownSymbolGivesANullIcon) {
  EXPECT_TRUE(toolbarIcon("no.such.symbol").isNull());
  EXPECT_TRUE(toolbarIcon("").isNull());
}

TEST(ToolbarIcon, NothingIsCutAtTheEdge) {
  for (const QString &symbol : symbols)
    EXPECT_TRUE(hasEmptyBorder(drawn(toolbarIcon(symbol), 48))) << symbol.toStdString();
}

TEST(ToolbarIcon, FollowsThePaletteOfTheMomentItIsPainted) {
  const PaletteGuard guard;
  const QIcon icon = toolbarIcon("trash");
  for (const QColor color : {QColor(10, 20, 30), QColor(240, 230, 220)}) {
    QApplication::setPalette(paletteWithText(color, Qt::gray));
    EXPECT_EQ(opaqueColors(drawn(icon, 48)), QSet<QRgb>{color.rgb()});
  }
}

TEST(ToolbarIcon, DisabledUsesTheDisabledTextColor) {
  const PaletteGuard guard;
  QApplication::setPalette(paletteWithText(Qt::black, QColor(150, 140, 130)));
  for (const QString &symbol : symbols)
    EXPECT_EQ(opaqueColors(drawn(toolbarIcon(symbol), 48, QIcon::Disabled)), QSet<QRgb>{qRgb(150, 140, 130)})
        << symbol.toStdString();
}

TEST(ToolbarIcon, IsDrawnAnewForAHighPixelRatio) {
  const QIcon icon = toolbarIcon("eject");
  const QPixmap twice = icon.pixmap(QSize(24, 24), 2.0);
  EXPECT_EQ(twice.size(), QSize(48, 48));
  EXPECT_EQ(twice.devicePixelRatio(), 2.0);
  EXPECT_EQ(twice.toImage().convertToFormat(QImage::Format_ARGB32).pixel(10, 25),
            drawn(icon, 48).pixel(10, 25));
  EXPECT_NE(drawn(icon, 48), drawn(icon, 24).scaled(48, 48, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
}

TEST(ToolbarIcon, PaintsInTheMiddleOfAnAreaThatIsNotSquare) {
  QImage image(96, 48, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  toolbarIcon("eject").paint(&painter, QRect(0, 0, 96, 48));
  painter.end();
  EXPECT_EQ(image.copy(24, 0, 48, 48).convertToFormat(QImage::Format_ARGB32),
            drawn(toolbarIcon("eject"), 48));
  EXPECT_TRUE(opaqueColors(image.copy(0, 0, 24, 48)).isEmpty());
}

TEST(ApplicationIcon, IsDrawnAtEverySize) {
  for (const int size : {16, 32, 48, 90, 256}) {
    const QImage image = drawn(applicationIcon(), size);
    EXPECT_EQ(image.size(), QSize(size, size));
    EXPECT_GT(opaqueColors(image).size(), 4) << size;
    EXPECT_EQ(qAlpha(image.pixel(0, 0)), 0) << "rounded corner at " << size;
  }
}

TEST(ApplicationIcon, KeepsItsColorsInEveryPalette) {
  const PaletteGuard guard;
  const QImage before = drawn(applicationIcon(), 64);
  QApplication::setPalette(paletteWithText(Qt::magenta, Qt::cyan));
  EXPECT_EQ(drawn(applicationIcon(), 64), before);
}

} // namespace
} // namespace tessary
