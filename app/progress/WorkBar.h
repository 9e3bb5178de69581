#pragma once

#include <QString>
#include <QWidget>

class QProgressBar;
class QPushButton;

namespace tessary {

class StatusLabel;

/// The bar above the status line that shows how far long work is, with the button that stops it. Hidden at
/// first.
class WorkBar final : public QWidget {
  Q_OBJECT

public:
  static constexpr int kWholeShare = 1000;

  struct Shown {
    QString what;    ///< "Importing “KICK.E4B”"
    QString figures; ///< "12.0 MB of 64.0 MB (18%), about 2 minutes left"
    int share = -1;  ///< of `kWholeShare`; less than 0 where nothing can be said
    bool isStopping = false;
  };

  explicit WorkBar(QWidget *parent = nullptr);

  void showWork(const Shown &shown);
  /// The system's text size has changed.
  void followTextSize();

signals:
  void stopPressed();

private:
  StatusLabel *what_;
  StatusLabel *figures_;
  QProgressBar *share_;
  QPushButton *stop_;
};

} // namespace tessary
