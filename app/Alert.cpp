#include "app/Alert.h"

#include "app/Colors.h"
#include "app/Icons.h"
#include "app/TextSize.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QKeyEvent>
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
  if (auto *headline = findChild<QLabel *>(QStringLiteral("qt_msgbox_label"))) {
    QFont bold = headline->font();
    bold.setBold(true);
    headline->setFont(bold);
  }
  widen();
}

/// Enough for a few words a line, however short the texts are.
void Alert::widen() {
  auto *grid = static_cast<QGridLayout *>(layout());
  constexpr int textWidth = 320;
  grid->addItem(new QSpacerItem(scaled(textWidth), 0), grid->rowCount(), grid->columnCount() - 1);
}

QCheckBox *Alert::addCheckBox(const QString &text) {
  auto *box = new QCheckBox(text);
  setCheckBox(box); // lays the alert out anew
  widen();
  return box;
}

QLabel *Alert::informativeLabel() const {
  return findChild<QLabel *>(QStringLiteral("qt_msgbox_informativelabel"));
}

QPushButton *Alert::addChoice(const QString &text, ButtonRole role) {
  QPushButton *button = addButton(text, role);
  choices_.append(button);
  if (choices_.size() == 1) setDefaultButton(button);
  if (role == RejectRole) setEscapeButton(button);
  return button;
}

int Alert::chosen() const {
  return clickedButton() ? static_cast<int>(choices_.indexOf(clickedButton())) : -1;
}

void Alert::putBelowTexts(QWidget *control) {
  auto *grid = static_cast<QGridLayout *>(layout());
  auto *choices = findChild<QDialogButtonBox *>();
  int row = 0, column = 0, rowSpan = 0, columnSpan = 0;
  grid->getItemPosition(grid->indexOf(choices), &row, &column, &rowSpan, &columnSpan);
  grid->removeWidget(choices);
  grid->addWidget(control, row, columnSpan - 1, Qt::AlignLeft);
  grid->addWidget(choices, row + 1, column, rowSpan, columnSpan);
}

void Alert::setAccessory(std::unique_ptr<QWidget> accessory) {
  QWidget *control = accessory.release();
  putBelowTexts(control);
  // Screen readers read the label first. In one with a buddy, though, an ampersand is a mnemonic.
  QLabel *label = informativeLabel();
  if (label && !label->text().contains(QLatin1Char('&'))) label->setBuddy(control);
  setTabOrder(control, defaultButton());
  control->setFocus();
}

void Alert::addWarning(const QString &text) {
  auto *label = new QLabel(text);
  label->setTextFormat(Qt::PlainText);
  putBelowTexts(label);
}

void Alert::setFacts(const QList<QPair<QString, QString>> &facts) {
  auto *table = new QWidget;
  auto *form = new QFormLayout(table);
  form->setContentsMargins(0, 0, 0, 0);
  form->setLabelAlignment(Qt::AlignRight);
  for (const auto &[name, value] : facts) {
    auto *text = new QLabel(value);
    text->setTextFormat(Qt::PlainText);
    text->setTextInteractionFlags(Qt::TextSelectableByMouse);
    text->setAccessibleName(QStringLiteral("%1: %2").arg(name, value));
    auto *label = new QLabel(name);
    label->setTextFormat(Qt::PlainText);
    QPalette colors = label->palette();
    colors.setColor(QPalette::WindowText, secondaryLabelColor(colors));
    label->setPalette(colors);
    form->addRow(label, text);
  }
  putBelowTexts(table);
  if (QLabel *label = informativeLabel()) label->hide();
}

void Alert::keyPressEvent(QKeyEvent *event) {
  if (escapable_ && event->matches(QKeySequence::Cancel)) return reject();
  QMessageBox::keyPressEvent(event);
}

} // namespace tessary
