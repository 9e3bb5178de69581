#pragma once

#include "app/FileListing.h"

#include <QWidget>
#include <cstddef>

class QComboBox;
class QLabel;
class QLineEdit;

namespace tessary {

/// The bar below the file table where the user types what files to find, in the folder shown or in all of
/// them. Escape closes it, Return confirms it, the Down key leaves it for the files.
class FindBar final : public QWidget {
  Q_OBJECT

public:
  explicit FindBar(QWidget *parent = nullptr);

  /// The system's text size has changed.
  void followTextSize();

  /// Shows the bar with the keyboard in its field, to look in one place or the other.
  void open(bool everywhere);
  /// Hides and empties the bar, without a signal.
  void end();
  FileSearch search() const;
  bool hasKeyboard() const;
  void tellFound(std::size_t found, std::size_t searched);

signals:
  /// The user has typed, or chosen where to look.
  void changed();
  void confirmed();
  void closed();
  /// The user goes on to the files found.
  void left();

protected:
  bool eventFilter(QObject *watched, QEvent *event) override;
  void keyPressEvent(QKeyEvent *event) override;

private:
  QLineEdit *field_;
  QComboBox *where_;
  QLabel *count_;
};

} // namespace tessary
