#pragma once

#include "app/Colors.h"
#include "app/DraggedData.h"

#include <QAbstractItemModel>
#include <QApplication>
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
///
/// What is selected shows whether the view has the keyboard, and the current row is framed while it has.
template <typename View> class FileDropView : public View, public TakesDraggedData {
public:
  explicit FileDropView(QWidget *parent) : View(parent) { showKeyboard(false); }

protected:
  void focusInEvent(QFocusEvent *event) override {
    View::focusInEvent(event);
    showKeyboard(true);
  }

  void focusOutEvent(QFocusEvent *event) override {
    View::focusOutEvent(event);
    // A menu that comes up is about what is selected.
    showKeyboard(event->reason() == Qt::PopupFocusReason);
  }

  void changeEvent(QEvent *event) override {
    View::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && !showingKeyboard_) showKeyboard(hasKeyboard_);
  }

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
    QPainter painter(this->viewport());
    const QRect row = rowOf(this->currentIndex());
    if (hasKeyboard_ && !row.isEmpty()) {
      painter.setPen(QPen(this->palette().color(QPalette::Text), 1, Qt::DotLine));
      painter.drawRect(row.adjusted(0, 0, -1, -1));
    }
    const QRect area = framedArea();
    if (area.isEmpty()) return;
    constexpr int thickness = 2;
    painter.setPen(QPen(selectionColor(QApplication::palette()), thickness));
    painter.drawRect(area.adjusted(1, 1, -1, -1));
  }

private:
  /// In the system's colours, made readable where these are not.
  void showKeyboard(bool hasKeyboard) {
    showingKeyboard_ = true;
    hasKeyboard_ = hasKeyboard;
    QPalette colors = QApplication::palette();
    const QColor highlight = hasKeyboard ? selectionColor(colors) : greySelectionColor(colors);
    const QColor text =
        colors.color(QPalette::Active, hasKeyboard ? QPalette::HighlightedText : QPalette::Text);
    for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive}) {
      colors.setColor(group, QPalette::Highlight, highlight);
      colors.setColor(group, QPalette::HighlightedText, text);
    }
    this->setPalette(colors);
    this->viewport()->update();
    showingKeyboard_ = false;
  }

  QRect rowOf(const QModelIndex &item) const {
    const QRect cell = this->visualRect(item);
    if (!cell.isValid()) return {};
    return {0, cell.top(), this->viewport()->width(), cell.height()};
  }

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
    return framesItem_ ? rowOf(framedItem_) : this->viewport()->rect();
  }

  bool hasKeyboard_ = false;
  bool showingKeyboard_ = false;
  bool framed_ = false;
  bool framesItem_ = false;
  QPersistentModelIndex framedItem_; ///< gone when the model was reset meanwhile
};

} // namespace tessary
