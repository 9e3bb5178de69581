#pragma once

#include <QList>
#include <QMessageBox>
#include <QPair>
#include <memory>

namespace tessary {

/// An alert with a message and a smaller informative text, both plain text. The button added first is the
/// default (Return), one that rejects is Escape; without any button it gets "OK". Run it with exec(), or
/// show it as a sheet.
class Alert : public QMessageBox {
  Q_OBJECT

public:
  Alert(const QString &message, const QString &informativeText, QWidget *parent);

  /// Adds a button; the first one becomes the default.
  QPushButton *addChoice(const QString &text, ButtonRole role);
  /// Number of the button that ended it, in the order in which they were added; -1 when none did.
  int chosen() const;

  /// Puts a check box below the texts.
  QCheckBox *addCheckBox(const QString &text);

  /// Puts a control below the texts and gives it the focus. Call it when all buttons are there.
  void setAccessory(std::unique_ptr<QWidget> accessory);

  /// A line of its own below the texts.
  void addWarning(const QString &text);
  /// Shows names and values in two columns in place of the informative text, which tells the same.
  void setFacts(const QList<QPair<QString, QString>> &facts);

  /// Escape ends it as no button does, where no button rejects.
  void makeEscapable() { escapable_ = true; }

protected:
  /// Below what was put there before.
  void putBelowTexts(QWidget *control);
  void keyPressEvent(QKeyEvent *event) override;

private:
  void widen();
  QLabel *informativeLabel() const;

  QList<QAbstractButton *> choices_; ///< in the order in which they were added
  bool escapable_ = false;
};

} // namespace tessary
