#include "app/Icons.h"

#include <QFile>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QSvgRenderer>
#include <memory>

// Has to stand outside every namespace. The drawings lie in a static library, which links them only when
// asked.
static void registerDrawings() {
  Q_INIT_RESOURCE(resources);
}

namespace tessary {
namespace {

/// Where the drawing goes so that it keeps its proportions in the middle of the given area.
QRectF centeredIn(const QRectF &area, const QSizeF &drawing) {
  QRectF target(QPointF(), drawing.scaled(area.size(), Qt::KeepAspectRatio));
  target.moveCenter(area.center());
  return target;
}

enum class Ink { Own, Text };

/// Paints one SVG drawing at the size asked for, in its own colours or all in the palette's text colour.
class DrawingIconEngine final : public QIconEngine {
public:
  DrawingIconEngine(QString drawingName, std::shared_ptr<QSvgRenderer> drawing, Ink inkOfDrawing)
      : name(std::move(drawingName)), renderer(std::move(drawing)), ink(inkOfDrawing) {}

  QIconEngine *clone() const override { return new DrawingIconEngine(*this); }
  QString key() const override { return QStringLiteral("TessaryDrawing"); }
  QString iconName() override { return name; }
  bool isNull() override { return false; }

  void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override {
    const QPaintDevice *device = painter->device();
    const qreal ratio = device ? device->devicePixelRatioF() : qApp->devicePixelRatio();
    painter->drawPixmap(rect, pixmap(rect.size() * ratio, mode, state));
  }

  /// `size` is in pixels of the device.
  QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State) override {
    QPixmap result(size);
    if (result.isNull()) return result;
    result.fill(Qt::transparent);
    QPainter painter(&result);
    renderer->render(&painter, centeredIn(QRectF(QPointF(), QSizeF(size)), renderer->defaultSize()));
    if (ink == Ink::Text) {
      painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
      painter.fillRect(result.rect(), textColor(mode));
    } else if (mode == QIcon::Disabled) {
      painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
      painter.fillRect(result.rect(), QColor(0, 0, 0, 96));
    }
    return result;
  }

private:
  static QColor textColor(QIcon::Mode mode) {
    const QPalette palette = QGuiApplication::palette();
    if (mode == QIcon::Disabled) return palette.color(QPalette::Disabled, QPalette::ButtonText);
    if (mode == QIcon::Selected) return palette.color(QPalette::Active, QPalette::HighlightedText);
    return palette.color(QPalette::Active, QPalette::ButtonText);
  }

  QString name;
  std::shared_ptr<QSvgRenderer> renderer;
  Ink ink;
};

QIcon drawingIcon(const QString &name, const QString &path, Ink ink) {
  registerDrawings();
  if (!QFile::exists(path)) return {};
  auto renderer = std::make_shared<QSvgRenderer>(path);
  if (!renderer->isValid()) return {};
  return QIcon(new DrawingIconEngine(name, std::move(renderer), ink));
}

} // namespace

QIcon toolbarIcon(const QString &symbolName) {
  return drawingIcon(symbolName, QStringLiteral(":/symbols/%1.svg").arg(symbolName), Ink::Text);
}

QIcon applicationIcon() {
  return drawingIcon(QStringLiteral("tessary"), QStringLiteral(":/com.tessary.Tessary.svg"), Ink::Own);
}

} // namespace tessary
