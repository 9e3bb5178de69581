#include "app/NameAlert.h"

#include <QLineEdit>

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
    : Alert(message, informativeText, parent), field_(new QLineEdit) {
  constexpr QSize fieldSize(240, 24);
  addChoice(choice, AcceptRole);
  addChoice(QStringLiteral("Cancel"), RejectRole);
  field_->setFixedSize(fieldSize);
  field_->setAccessibleName(QStringLiteral("Name"));
  field_->setAccessibleDescription(informativeText);
  setAccessory(std::unique_ptr<QWidget>(field_));
}

void NameAlert::setName(const QString &name) {
  field_->setText(name);
  field_->selectAll();
}

void NameAlert::setPlaceholder(const QString &placeholder) {
  field_->setPlaceholderText(placeholder);
}

QString NameAlert::trimmedName() const {
  return withoutSurroundingSpaces(field_->text());
}

} // namespace tessary
