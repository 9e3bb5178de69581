#include "tests/app/FileDrag.h"

#include <QCoreApplication>
#include <QDragEnterEvent>
#include <QDragLeaveEvent>
#include <QDragMoveEvent>
#include <QDropEvent>
#include <QUrl>
#include <QWindow>

namespace tessary::test {
namespace {

Qt::DropAction answerTo(const QDropEvent &event) {
  return event.isAccepted() ? event.dropAction() : Qt::IgnoreAction;
}

} // namespace

FileDrag::FileDrag(const std::vector<std::string> &paths) {
  QList<QUrl> urls;
  for (const std::string &path : paths)
    urls += QUrl::fromLocalFile(QString::fromStdString(path));
  data_->setUrls(urls);
}

Qt::DropAction FileDrag::moveTo(QWidget *widget, const QPoint &position) {
  QWindow *window = widget->window()->windowHandle();
  const QPoint place = widget->mapTo(widget->window(), position);
  Qt::DropAction answer = Qt::IgnoreAction;
  if (over_ != window) {
    leave();
    over_ = window;
    QDragEnterEvent enter(place, possibleActions_, data_.get(), Qt::LeftButton, modifiers_);
    QCoreApplication::sendEvent(window, &enter);
    answer = answerTo(enter);
    // Only an entry that was not taken already is followed by a move at the same place.
    if (possibleActions_.testFlag(answer) && answer != Qt::IgnoreAction) return answer;
  }
  QDragMoveEvent move(place, possibleActions_, data_.get(), Qt::LeftButton, modifiers_);
  move.setDropAction(answer);
  move.setAccepted(answer != Qt::IgnoreAction);
  QCoreApplication::sendEvent(window, &move);
  return answerTo(move);
}

Qt::DropAction FileDrag::dropOn(QWidget *widget, const QPoint &position) {
  if (moveTo(widget, position) == Qt::IgnoreAction) {
    leave();
    return Qt::IgnoreAction;
  }
  QDropEvent drop(widget->mapTo(widget->window(), position), possibleActions_, data_.get(), Qt::LeftButton,
                  modifiers_);
  QCoreApplication::sendEvent(over_, &drop);
  over_ = nullptr;
  return answerTo(drop);
}

void FileDrag::leave() {
  if (!over_) return;
  QDragLeaveEvent leaving;
  QCoreApplication::sendEvent(over_, &leaving);
  over_ = nullptr;
}

QByteArray uriList(const std::vector<std::string> &urls) {
  QByteArray list;
  for (const std::string &url : urls)
    list += QByteArray::fromStdString(url) + "\r\n";
  return list;
}

} // namespace tessary::test
