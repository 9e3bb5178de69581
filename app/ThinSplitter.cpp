#include "app/ThinSplitter.h"

#include "app/Colors.h"

#include <QPainter>
#include <QSplitterHandle>

namespace tessary {
namespace {

class ThinDivider final : public QSplitterHandle {
public:
  using QSplitterHandle::QSplitterHandle;

protected:
  // The handle is wider than the line, so that the mouse can get hold of it.
  void paintEvent(QPaintEvent *) override {
    QPainter(this).fillRect(contentsRect(), separatorColor(palette()));
  }
};

} // namespace

ThinSplitter::ThinSplitter(QWidget *parent) : QSplitter(Qt::Horizontal, parent) {
  setChildrenCollapsible(false);
  setHandleWidth(1);
}

QSplitterHandle *ThinSplitter::createHandle() {
  return new ThinDivider(orientation(), this);
}

} // namespace tessary
