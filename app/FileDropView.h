#pragma once

#include <QAbstractItemModel>
#include <QDragEnterEvent>
#include <QMimeData>
#include <QPainter>
#include <QPalette>
#include <QPersistentModelIndex>
#include <initializer_list>

namespace tessary {

/// An item view that files can be dropped on: its model decides for each place that a drag moves over, the
/// cursor shows the answer, and what would take the drop is framed.
///
/// Two things differ from what the toolkit's views do. A drop is made as the action that the model allows,
/// not as the one that the source proposes: a file manager proposes a move within one disk, and would delete
/// the user's file when that were accepted. And all of a row belongs to its item, the indentation too.
template <typename View> class FileDropView : public View {
public:
  using View::View;

protected:
  /// The item that a drop at a position of the viewport is for; invalid for the view as a whole.
  virtual QModelIndex dropItemAt(const QPoint &position) const = 0;

  void dragEnterEvent(QDragEnterEvent *event) override {
    if (!event->mimeData()->hasUrls()) return event->ignore();
    this->setState(View::DraggingState);
    // A refusal here would be for the whole view. With no action yet, the place itself is asked about next.
    event->setDropAction(Qt::IgnoreAction);
    event->accept();
  }

  void dragMoveEvent(QDragMoveEvent *event) override {
    View::dragMoveEvent(event); // scrolls at the edges, opens what the drag rests on
    const QModelIndex item = dropItemAt(event->position().toPoint());
    const Qt::DropAction action = allowedAction(*event, item);
    answer(event, action);
    setFramed(action != Qt::IgnoreAction, item);
  }

  void dragLeaveEvent(QDragLeaveEvent *event) override {
    setFramed(false, {});
    View::dragLeaveEvent(event);
  }

  void dropEvent(QDropEvent *event) override {
    setFramed(false, {});
    this->stopAutoScroll();
    this->setState(View::NoState);
    const QModelIndex item = dropItemAt(event->position().toPoint());
    const Qt::DropAction action = allowedAction(*event, item);
    const bool taken =
        action != Qt::IgnoreAction && this->model()->dropMimeData(event->mimeData(), action, -1, -1, item);
    answer(event, taken ? action : Qt::IgnoreAction);
  }

  void paintEvent(QPaintEvent *event) override {
    View::paintEvent(event);
    const QRect area = framedArea();
    if (area.isEmpty()) return;
    constexpr int thickness = 2;
    QPainter painter(this->viewport());
    painter.setPen(QPen(this->palette().color(QPalette::Highlight), thickness));
    painter.drawRect(area.adjusted(1, 1, -1, -1));
  }

private:
  Qt::DropAction allowedAction(const QDropEvent &event, const QModelIndex &item) const {
    for (const Qt::DropAction action : {Qt::CopyAction, Qt::MoveAction})
      if (event.possibleActions().testFlag(action) &&
          this->model()->canDropMimeData(event.mimeData(), action, -1, -1, item))
        return action;
    return Qt::IgnoreAction;
  }

  static void answer(QDropEvent *event, Qt::DropAction action) {
    event->setDropAction(action);
    event->setAccepted(action != Qt::IgnoreAction);
  }

  void setFramed(bool framed, const QModelIndex &item) {
    if (framed == framed_ && item == framedItem_) return;
    framed_ = framed;
    framesItem_ = item.isValid();
    framedItem_ = item;
    this->viewport()->update();
  }

  QRect framedArea() const {
    if (!framed_) return {};
    const QRect whole = this->viewport()->rect();
    if (!framesItem_) return whole;
    const QRect item = this->visualRect(framedItem_);
    return item.isValid() ? QRect(whole.left(), item.top(), whole.width(), item.height()) : QRect();
  }

  bool framed_ = false;
  bool framesItem_ = false;
  QPersistentModelIndex framedItem_; ///< gone when the model was reset meanwhile
};

} // namespace tessary
