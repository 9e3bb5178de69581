#include "app/Alert.h"

#include "app/Icons.h"

#include <QLabel>
#include <QPushButton>

namespace tessary {

Alert::Alert(const QString &message, const QString &informativeText, QWidget *parent) : QMessageBox(parent) {
  constexpr int iconSize = 48;
  setWindowTitle(QStringLiteral("Tessary"));
  setIconPixmap(applicationIcon().pixmap(QSize(iconSize, iconSize), devicePixelRatioF()));
  setTextFormat(Qt::PlainText);
  setText(message);
  setInformativeText(informativeText);
  // The text format does not reach this label.
  if (auto *label = findChild<QLabel *>(QStringLiteral("qt_msgbox_informativelabel")))
    label->setTextFormat(Qt::PlainText);
}

QPushButton *Alert::addChoice(const QString &text, ButtonRole role) {
  const bool first = buttons().isEmpty();
  QPushButton *button = addButton(text, role);
  if (first) setDefaultButton(button);
  if (role == RejectRole) setEscapeButton(button);
  return button;
}

} // namespace tessary
