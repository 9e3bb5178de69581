#pragma once

#include "app/Alert.h"

#include <QString>

class QLabel;
class QLineEdit;

namespace tessary {

/// An alert that asks for a name: below its texts a one-line field, which has the focus, and how much room
/// the field leaves in an entry. Its first button confirms the name, "Cancel" is the other one.
///
/// It stays up when the name is confirmed: hide it while the name is tried, and accept it once that is taken.
class NameAlert final : public Alert {
  Q_OBJECT

public:
  /// Bytes of UTF-8 that an entry keeps of a name, and the most characters that a name may have.
  static constexpr int kRoomInEntry = 15;

  NameAlert(const QString &message, const QString &informativeText, const QString &choice, QWidget *parent);

  /// Fills the field; what it holds is selected, so that typing replaces it.
  void setName(const QString &name);
  /// The name that the field was filled with.
  QString firstName() const { return firstName_; }
  /// Shown in the field while it is empty.
  void setPlaceholder(const QString &placeholder);
  /// What the field holds, without the spaces and tabs around it; line breaks stay.
  QString trimmedName() const;

signals:
  void confirmed(const QString &trimmedName);

private:
  void showRoom();

  QLineEdit *field_;
  QLabel *room_;
  QString firstName_;
};

/// `text` without the spaces and tabs at both ends.
QString withoutSurroundingSpaces(const QString &text);

} // namespace tessary
