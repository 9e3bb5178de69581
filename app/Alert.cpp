#include "app/Alert.h"

#include "app/Icons.h"

#include <QDialogButtonBox>
#include <QGridLayout>
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
  if (QLabel *label = informativeLabel()) label->setTextFormat(Qt::PlainText);
}

QLabel *Alert::informativeLabel() const {
  return findChild<QLabel *>(QStringLiteral("qt_msgbox_informativelabel"));
}

QPushButton *Alert::addChoice(const QString &text, ButtonRole role) {
  const bool first = buttons().isEmpty();
  QPushButton *button = addButton(text, role);
  if (first) setDefaultButton(button);
  if (role == RejectRole) setEscapeButton(button);
  return button;
}

void Alert::setAccessory(std::unique_ptr<QWidget> accessory) {
  QWidget *control = accessory.release();
  auto *grid = static_cast<QGridLayout *>(layout());
  auto *choices = findChild<QDialogButtonBox *>();
  int row = 0, column = 0, rowSpan = 0, columnSpan = 0;
  grid->getItemPosition(grid->indexOf(choices), &row, &column, &rowSpan, &columnSpan);
  grid->removeWidget(choices);
  grid->addWidget(control, row, columnSpan - 1, Qt::AlignLeft);
  grid->addWidget(choices, row + 1, column, rowSpan, columnSpan);
  // Screen readers read the label first. In one with a buddy, though, an ampersand is a mnemonic.
  QLabel *label = informativeLabel();
  if (label && !label->text().contains(QLatin1Char('&'))) label->setBuddy(control);
  setTabOrder(control, defaultButton());
  control->setFocus();
}

} // namespace tessary
