#pragma once

#include "app/Alert.h"

#include <QString>

class QLineEdit;

namespace tessary {

/// An alert that asks for a name: below its texts a one-line field, which has the focus. Its first button
/// confirms the name, "Cancel" is the other one.
class NameAlert final : public Alert {
  Q_OBJECT

public:
  NameAlert(const QString &message, const QString &informativeText, const QString &choice, QWidget *parent);

  /// Fills the field; what it holds is selected, so that typing replaces it.
  void setName(const QString &name);
  /// Shown in the field while it is empty.
  void setPlaceholder(const QString &placeholder);
  /// What the field holds, without the spaces and tabs around it; line breaks stay.
  QString trimmedName() const;

private:
  QLineEdit *field_;
};

/// `text` without the spaces and tabs at both ends.
QString withoutSurroundingSpaces(const QString &text);

} // namespace tessary
