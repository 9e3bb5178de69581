#pragma once

#include <QObject>

namespace tessary {

/// As long as it lives the user can give no command: of all windows only the bars of long work, with their
/// Stop, and dialogs take the mouse and the keyboard, and other programs can drop nothing on them. Closing a
/// window and quitting ask as ever. For an event loop inside another one, whose caller waits. Main thread
/// only.
///
/// A menu that is open closes, since it would keep the mouse from Stop. What the user does is kept from
/// widgets, not from windows: a drag that goes on follows the mouse by way of these.
class InputPause final : public QObject {
  Q_OBJECT

public:
  InputPause();

protected:
  bool eventFilter(QObject *watched, QEvent *event) override;
};

} // namespace tessary
