#include "app/panel/WaveView.h"

#include "app/CellDelegate.h"
#include "app/Colors.h"
#include "app/TextSize.h"
#include "app/panel/SoundTexts.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>
#include <utility>

namespace tessary {
namespace {

constexpr int kRulerHeight = 16;
constexpr double kClosest = 1.0 / 16; ///< frames a pixel
constexpr double kZoomStep = 1.5;

} // namespace

WaveView::WaveView(QWidget *parent) : QAbstractScrollArea(parent) {
  setFocusPolicy(Qt::StrongFocus);
  setFrameShape(NoFrame);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  viewport()->setBackgroundRole(QPalette::Base);
  viewport()->setCursor(Qt::IBeamCursor);
  followTextSize();
  setNothing({});
}

void WaveView::followTextSize() {
  setTextSize(this, kRowTextSize - 1);
  setMinimumHeight(scaled(90));
}

// ---- What is shown

void WaveView::setSample(const QString &name, std::uint64_t frames) {
  name_ = name;
  nothing_.clear();
  frames_ = frames;
  peaks_ = nullptr;
  closeUp_ = {};
  cursor_ = 0;
  heard_.reset();
  showWhole();
  tellScreenReader();
}

void WaveView::setNothing(const QString &text) {
  setSample({}, 0);
  nothing_ = text;
  tellScreenReader();
}

void WaveView::setPeaks(std::shared_ptr<const SamplePeaks> peaks) {
  peaks_ = std::move(peaks);
  viewport()->update();
}

void WaveView::setCloseUp(const CloseUp &closeUp) {
  closeUp_ = closeUp;
  viewport()->update();
}

void WaveView::setRate(std::uint32_t rate) {
  rate_ = rate;
  viewport()->update();
  tellScreenReader();
}

void WaveView::setHeard(std::optional<std::uint64_t> frame) {
  if (frame == heard_) return;
  if (heard_) updateLine(*heard_);
  heard_ = frame;
  if (!heard_) return;
  updateLine(*heard_);
  const double x = section_.xOf(static_cast<double>(*heard_));
  if (isWhole_ || (x >= 0 && x < waveArea().width())) return;
  showSection({static_cast<double>(*heard_) - 0.1 * waveArea().width() * section_.framesPerPixel,
               section_.framesPerPixel});
}

void WaveView::tellScreenReader() {
  if (frames_ == 0) return setAccessibleName(nothing_.isEmpty() ? QStringLiteral("Wave") : nothing_);
  setAccessibleName(QStringLiteral("Wave of %1, %2, cursor at %3")
                        .arg(name_, lengthText(frames_, rate_), lengthText(cursor_, rate_)));
}

// ---- The section

QRect WaveView::waveArea() const {
  return viewport()->rect().adjusted(0, 0, 0, -scaled(kRulerHeight));
}

double WaveView::wholeFramesPerPixel() const {
  return std::max(static_cast<double>(frames_) / std::max(waveArea().width(), 1), kClosest);
}

void WaveView::showWhole() {
  isWhole_ = true;
  showSection({0, wholeFramesPerPixel()});
}

void WaveView::zoom(double factor, double x) {
  if (frames_ == 0) return;
  const double framesPerPixel = std::clamp(section_.framesPerPixel * factor, kClosest, wholeFramesPerPixel());
  isWhole_ = framesPerPixel >= wholeFramesPerPixel();
  showSection({section_.frameAt(x) - x * framesPerPixel, framesPerPixel});
}

void WaveView::showSection(const WaveSection &section) {
  const double visible = waveArea().width() * section.framesPerPixel;
  section_ = section;
  section_.first = std::clamp(section.first, 0.0, std::max(static_cast<double>(frames_) - visible, 0.0));
  settingBar_ = true;
  QScrollBar *bar = horizontalScrollBar();
  bar->setRange(0, isWhole_ ? 0 : static_cast<int>(std::max(static_cast<double>(frames_) - visible, 0.0)));
  bar->setPageStep(std::max(static_cast<int>(visible), 1));
  bar->setSingleStep(std::max(static_cast<int>(visible / 20), 1));
  bar->setValue(static_cast<int>(section_.first));
  settingBar_ = false;
  askForCloseUp();
  viewport()->update();
}

/// Where a pixel stands for less than a peak does, the frames themselves are drawn. A screen to the left and
/// to the right come along, so that scrolling need not wait.
void WaveView::askForCloseUp() {
  if (frames_ == 0 || section_.framesPerPixel >= static_cast<double>(SamplePeaks::kFramesPerPeak)) return;
  const double visible = waveArea().width() * section_.framesPerPixel;
  const auto clamped = [this](double frame) {
    return static_cast<std::uint64_t>(std::clamp(frame, 0.0, static_cast<double>(frames_)));
  };
  if (closeUp_.holds(clamped(section_.first - 1), clamped(section_.first + visible + 2))) return;
  const std::uint64_t first = clamped(section_.first - visible);
  emit closeUpWanted(first, clamped(section_.first + 2 * visible + 2) - first);
}

void WaveView::resizeEvent(QResizeEvent *event) {
  QAbstractScrollArea::resizeEvent(event);
  isWhole_ ? showWhole() : showSection(section_);
}

void WaveView::scrollContentsBy(int, int) {
  if (!settingBar_)
    showSection({static_cast<double>(horizontalScrollBar()->value()), section_.framesPerPixel});
}

// ---- Mouse and keys

void WaveView::wheelEvent(QWheelEvent *event) {
  const QPoint angle = event->angleDelta();
  const bool scrolls = event->modifiers() & Qt::ShiftModifier || std::abs(angle.x()) > std::abs(angle.y());
  const int turned = std::abs(angle.x()) > std::abs(angle.y()) ? angle.x() : angle.y();
  constexpr double notch = 120;
  if (scrolls)
    showSection({section_.first - turned / notch * 0.15 * waveArea().width() * section_.framesPerPixel,
                 section_.framesPerPixel});
  else
    zoom(std::pow(kZoomStep, -turned / notch), event->position().x());
  event->accept();
}

void WaveView::keyPressEvent(QKeyEvent *event) {
  const double visible = waveArea().width() * section_.framesPerPixel;
  const double cursorX = section_.xOf(static_cast<double>(cursor_));
  const double zoomX = cursorX >= 0 && cursorX <= waveArea().width() ? cursorX : waveArea().width() / 2.0;
  switch (event->key()) {
  case Qt::Key_Plus:
  case Qt::Key_Equal:
    return zoom(1 / kZoomStep, zoomX);
  case Qt::Key_Minus:
    return zoom(kZoomStep, zoomX);
  case Qt::Key_0:
    return showWhole();
  case Qt::Key_Left:
    return setCursorFrame(static_cast<double>(cursor_) - std::max(visible / 50, 1.0));
  case Qt::Key_Right:
    return setCursorFrame(static_cast<double>(cursor_) + std::max(visible / 50, 1.0));
  case Qt::Key_Home:
    return setCursorFrame(0);
  case Qt::Key_End:
    return setCursorFrame(static_cast<double>(frames_));
  case Qt::Key_PageUp:
    return showSection({section_.first - 0.9 * visible, section_.framesPerPixel});
  case Qt::Key_PageDown:
    return showSection({section_.first + 0.9 * visible, section_.framesPerPixel});
  default:
    event->ignore(); // the scroll area's own keys are those above
  }
}

void WaveView::mousePressEvent(QMouseEvent *event) {
  if (event->button() == Qt::LeftButton) setCursorFrame(section_.frameAt(event->position().x()));
}

void WaveView::mouseMoveEvent(QMouseEvent *event) {
  if (event->buttons() & Qt::LeftButton) setCursorFrame(section_.frameAt(event->position().x()));
}

void WaveView::setCursorFrame(double frame) {
  if (frames_ == 0) return;
  updateLine(cursor_);
  cursor_ = static_cast<std::uint64_t>(std::clamp(frame, 0.0, static_cast<double>(frames_)));
  updateLine(cursor_);
  const double x = section_.xOf(static_cast<double>(cursor_));
  if (x < 0 || x > waveArea().width())
    showSection({static_cast<double>(cursor_) - waveArea().width() * section_.framesPerPixel / 2,
                 section_.framesPerPixel});
  tellScreenReader();
  emit cursorMoved(cursor_);
}

void WaveView::focusInEvent(QFocusEvent *event) {
  QAbstractScrollArea::focusInEvent(event);
  viewport()->update();
}

void WaveView::focusOutEvent(QFocusEvent *event) {
  QAbstractScrollArea::focusOutEvent(event);
  viewport()->update();
}

void WaveView::changeEvent(QEvent *event) {
  QAbstractScrollArea::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) viewport()->update();
}

// ---- Painting

WavePicture WaveView::picture() const {
  return {peaks_.get(), &closeUp_, section_, rate_};
}

void WaveView::updateLine(std::uint64_t frame) {
  const int x = static_cast<int>(section_.xOf(static_cast<double>(frame)));
  constexpr int reach = 6;
  viewport()->update(x - reach, 0, 2 * reach + 1, waveArea().height());
}

void WaveView::paintLine(QPainter *painter, std::uint64_t frame, const QColor &color) const {
  const double x = section_.xOf(static_cast<double>(frame));
  if (x < 0 || x > waveArea().width()) return;
  painter->fillRect(QRectF(std::min(std::floor(x), waveArea().width() - 1.0), 0, 1, waveArea().height()),
                    color);
}

void WaveView::paintEvent(QPaintEvent *event) {
  QPainter painter(viewport());
  painter.setFont(font());
  painter.fillRect(event->rect(), palette().color(QPalette::Base));
  if (frames_ == 0) {
    painter.setPen(secondaryLabelColor(palette()));
    constexpr int margin = 12;
    painter.drawText(viewport()->rect().adjusted(margin, margin, -margin, -margin),
                     Qt::AlignCenter | Qt::TextWordWrap, nothing_);
    return;
  }
  painter.save();
  picture().paintWave(&painter, waveArea(), event->rect(), palette());
  painter.restore();
  const QRect ruler(0, waveArea().height(), viewport()->width(), scaled(kRulerHeight));
  if (event->rect().intersects(ruler)) picture().paintRuler(&painter, ruler, palette());
  const QColor text = palette().color(QPalette::Text);
  paintLine(&painter, cursor_, text);
  const double x = section_.xOf(static_cast<double>(cursor_));
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(text);
  painter.drawPolygon(QPolygonF({{x - 4, 0}, {x + 5, 0}, {x + 0.5, 6}}));
  painter.setRenderHint(QPainter::Antialiasing, false);
  if (heard_) paintLine(&painter, *heard_, heardColor(palette()));
  if (!hasFocus()) return;
  painter.setPen(QPen(text, 1, Qt::DotLine));
  painter.setBrush(Qt::NoBrush);
  painter.drawRect(viewport()->rect().adjusted(0, 0, -1, -1));
}

} // namespace tessary
