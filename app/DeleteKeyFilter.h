#pragma once

#include <QObject>
#include <functional>

namespace tessary {

/// Sees every key press of the application, whatever has the focus, and answers Ctrl+Backspace and
/// Ctrl+Delete (with whatever other modifiers) with a command; nothing else gets to see those.
class DeleteKeyFilter final : public QObject {
  Q_OBJECT

public:
  /// Active from now on, as long as it lives.
  explicit DeleteKeyFilter(std::function<void()> command, QObject *parent = nullptr);

protected:
  bool eventFilter(QObject *watched, QEvent *event) override;

private:
  std::function<void()> command_;
};

} // namespace tessary
