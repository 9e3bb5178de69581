#include "app/NameAlert.h"

#include "app/Colors.h"
#include "app/TextSize.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <algorithm>
#include <memory>

namespace tessary {

QString withoutSurroundingSpaces(const QString &text) {
  const auto isSpace = [](QChar character) { return character == u' ' || character == u'\t'; };
  qsizetype begin = 0;
  qsizetype end = text.size();
  while (begin < end && isSpace(text[begin]))
    ++begin;
  while (end > begin && isSpace(text[end - 1]))
    --end;
  return text.mid(begin, end - begin);
}

NameAlert::NameAlert(const QString &message, const QString &informativeText, const QString &choice,
                     QWidget *parent)
    : Alert(message, informativeText, parent), field_(new QLineEdit), room_(new QLabel) {
  constexpr int fieldWidth = 240;
  constexpr int fieldHeight = 24;
  addChoice(choice, AcceptRole);
  addChoice(QStringLiteral("Cancel"), RejectRole);
  // A message box would close at the press of its button.
  disconnect(defaultButton(), nullptr, findChild<QDialogButtonBox *>(), nullptr);
  connect(defaultButton(), &QPushButton::clicked, this, [this] { emit confirmed(trimmedName()); });

  field_->setFixedWidth(scaled(fieldWidth));
  field_->setFixedHeight(std::max(scaled(fieldHeight), field_->sizeHint().height()));
  field_->setAccessibleName(QStringLiteral("Name"));
  field_->setAccessibleDescription(informativeText);
  QPalette colors = field_->palette();
  colors.setColor(QPalette::PlaceholderText, secondaryLabelColor(colors));
  field_->setPalette(colors);
  room_->setObjectName(QStringLiteral("Room"));
  room_->setTextFormat(Qt::PlainText);
  connect(field_, &QLineEdit::textChanged, this, &NameAlert::showRoom);
  showRoom();

  setAccessory(std::unique_ptr<QWidget>(field_));
  putBelowTexts(room_);
}

void NameAlert::setName(const QString &name) {
  field_->setText(name);
  firstName_ = trimmedName();
  field_->selectAll();
}

void NameAlert::setPlaceholder(const QString &placeholder) {
  field_->setPlaceholderText(placeholder);
}

QString NameAlert::trimmedName() const {
  return withoutSurroundingSpaces(field_->text());
}

void NameAlert::showRoom() {
  const qsizetype left = kRoomInEntry - trimmedName().toUtf8().size();
  room_->setText(left >= 0 ? QStringLiteral("%1 byte(s) left").arg(QString::number(left))
                           : QStringLiteral("%1 byte(s) too many").arg(QString::number(-left)));
  QPalette colors = palette();
  if (left >= 0) colors.setColor(QPalette::WindowText, secondaryLabelColor(palette()));
  room_->setPalette(colors);
  QFont font = room_->font();
  font.setBold(left < 0);
  room_->setFont(font);
}

} // namespace tessary
