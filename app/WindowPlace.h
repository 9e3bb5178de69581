#pragma once

#include <QMargins>
#include <QRect>
#include <QSize>

class QWidget;

namespace tessary {

/// The frame that a window manager puts around a window, as large as it may be, until it is known.
QMargins likelyFrame();
/// The size for a window that would like to be `wished`: with its frame it fits the screen's available area.
QSize sizeOnScreen(const QSize &wished, const QRect &available, const QMargins &frame);
/// Where the window's own area then stands, so that window and frame are in the middle of that area.
QPoint placeOnScreen(const QSize &size, const QRect &available, const QMargins &frame);

/// Where a window of the same size comes up beside the one that is `before`: a little to the right and below;
/// where the available area has no room for that, at its left edge or its top.
QPoint placeBeside(const QRect &before, const QRect &available);

/// Gives the window the other one's size, and a place beside it.
void placeBeside(QWidget *window, const QWidget &before);

/// Keeps the window's place in the platform's settings, and gives it back. False where none was kept.
void rememberPlace(const QWidget &window);
bool restorePlace(QWidget *window);

} // namespace tessary
