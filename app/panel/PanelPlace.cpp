#include "app/panel/PanelPlace.h"

#include "app/TextSize.h"

#include <QEvent>
#include <algorithm>

namespace tessary {
namespace {

// In device-independent pixels, at the system's usual text size.
constexpr int kTableWidth = 390; ///< all its columns
constexpr int kPanelWidth = 330, kNarrowestPanel = 250;
constexpr int kPanelHeight = 250;

} // namespace

PanelPlace::PanelPlace(QWidget *table, QWidget *panel, QWidget *parent)
    : ThinSplitter(parent), panel_(panel) {
  addWidget(table);
  addWidget(panel);
  setStretchFactor(0, 1);
  setStretchFactor(1, 0);
  panel->hide();
  panel->installEventFilter(this);
}

void PanelPlace::setBelow(bool below) {
  wishedBelow_ = below;
  place();
}

void PanelPlace::place() {
  const bool hasRoom = width() >= scaled(kTableWidth + kNarrowestPanel);
  const Qt::Orientation wanted = wishedBelow_ || !hasRoom ? Qt::Vertical : Qt::Horizontal;
  if (!panel_->isVisibleTo(this) || (isPlaced_ && wanted == orientation())) return;
  isPlaced_ = true;
  setOrientation(wanted);
  const int room = wanted == Qt::Vertical ? height() : width();
  const int panel = std::min(scaled(wanted == Qt::Vertical ? kPanelHeight : kPanelWidth),
                             wanted == Qt::Vertical ? room * 6 / 10 : room - scaled(kTableWidth));
  setSizes({room - panel - handleWidth(), panel});
}

void PanelPlace::resizeEvent(QResizeEvent *event) {
  place();
  ThinSplitter::resizeEvent(event);
}

bool PanelPlace::eventFilter(QObject *watched, QEvent *event) {
  if (watched == panel_ && event->type() == QEvent::Show) place();
  return ThinSplitter::eventFilter(watched, event);
}

} // namespace tessary
