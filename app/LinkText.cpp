#include "app/LinkText.h"

#include "app/AccessibleLinks.h"
#include "app/Colors.h"

#include <QDesktopServices>
#include <QEvent>
#include <QKeyEvent>
#include <QTextBlockFormat>
#include <QTextCursor>
#include <utility>

namespace tessary {

LinkText::LinkText(QList<Run> textRuns, int pixelSize, int paragraphSpacing, QWidget *parent)
    : QTextBrowser(parent), runs_(std::move(textRuns)), spacing_(paragraphSpacing) {
  makeLinksAccessible();
  setFrameShape(QFrame::NoFrame);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  viewport()->setAutoFillBackground(false);
  document()->setDocumentMargin(0);
  QFont textFont = font();
  textFont.setPixelSize(pixelSize);
  setFont(textFont);
  setOpenLinks(false);
  connect(this, &QTextBrowser::anchorClicked, this, &QDesktopServices::openUrl);
  write();
}

QList<LinkText::Run> LinkText::links() const {
  QList<Run> links;
  for (const Run &run : runs_)
    if (!run.target.isEmpty()) links += run;
  return links;
}

QRect LinkText::placeOf(const Run &link) const {
  QTextCursor begin = document()->find(link.text);
  QTextCursor end = begin;
  begin.setPosition(begin.selectionStart());
  end.setPosition(end.selectionEnd());
  return cursorRect(begin).united(cursorRect(end));
}

void LinkText::open(const Run &link) {
  emit anchorClicked(link.target);
}

void LinkText::changeEvent(QEvent *event) {
  QTextBrowser::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) write();
}

void LinkText::keyPressEvent(QKeyEvent *event) {
  const QString target = textCursor().hasSelection() ? textCursor().charFormat().anchorHref() : QString();
  if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
    event->ignore();
  else if (event->key() == Qt::Key_Space && !target.isEmpty())
    emit anchorClicked(QUrl(target));
  else
    QTextBrowser::keyPressEvent(event);
}

void LinkText::write() {
  clear();
  QTextBlockFormat paragraph;
  paragraph.setAlignment(Qt::AlignHCenter);
  paragraph.setBottomMargin(spacing_);
  QTextCursor cursor(document());
  cursor.setBlockFormat(paragraph);
  QString plain;
  for (const Run &run : runs_) {
    cursor.insertText(run.text, characterFormat(run));
    plain += run.text;
  }
  setAccessibleName(plain);
}

QTextCharFormat LinkText::characterFormat(const Run &run) const {
  QTextCharFormat format;
  format.setFont(font());
  format.setForeground(run.target.isEmpty() ? secondaryLabelColor(palette()) : linkColor(palette()));
  if (!run.target.isEmpty()) {
    format.setAnchor(true);
    format.setAnchorHref(run.target.toString());
  }
  return format;
}

} // namespace tessary
