#pragma once

#include <QPixmap>
#include <QPoint>
#include <QStringList>

class QAbstractItemView;
class QWidget;

namespace tessary {

class DraggedData;

/// Drags the data, which it owns from then on, out of the view as copies, with a picture of its names.
/// Returns when the drag is over; another program may ask for the copies before and after.
void dragWithPicture(QAbstractItemView *view, DraggedData *data);

/// What is drawn beside the pointer while files are dragged: the first few of their names, in the font and
/// colours of the widget that they are dragged from.
QPixmap dragPicture(const QStringList &names, const QWidget &widget);

/// Where the pointer is with regard to the picture: the place that is dropped on stays in sight.
inline constexpr QPoint kDragPictureHotSpot(-12, -10);

} // namespace tessary
