#pragma once

#include <QMessageBox>
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

  /// Puts a control below the texts and gives it the focus. Call it when all buttons are there.
  void setAccessory(std::unique_ptr<QWidget> accessory);

private:
  QLabel *informativeLabel() const;
};

} // namespace tessary
