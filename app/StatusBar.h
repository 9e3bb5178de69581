#pragma once

#include <QLabel>
#include <QWidget>

namespace tessary {

class Spinner;

/// A line of plain text in the secondary label colour, cut with an ellipsis where it does not fit; a tool
/// tip then shows it whole.
class StatusLabel final : public QLabel {
  Q_OBJECT

public:
  StatusLabel(Qt::Alignment alignment, QWidget *parent);

  /// Keeps the text clear of the one that `right` shows, also where the labels themselves overlap.
  void setRightNeighbour(StatusLabel *right);
  /// Where the text lies when it is not cut by a neighbour, in the parent's coordinates.
  QRect textRect() const;

signals:
  void textMoved();

protected:
  bool event(QEvent *event) override;
  void paintEvent(QPaintEvent *event) override;

private:
  QRect paintRect() const;
  QString shownText() const;

  StatusLabel *rightNeighbour_ = nullptr;
  QRect lastTextRect_;
};

/// The bar below the file table, 28 high: the last message on the left, used and free space in the middle,
/// the spinner at the right edge.
class StatusBar final : public QWidget {
  Q_OBJECT

public:
  explicit StatusBar(QWidget *parent = nullptr);

  StatusLabel *statusLabel() const { return statusLabel_; }
  StatusLabel *diskSpaceLabel() const { return diskSpaceLabel_; }
  Spinner *spinner() const { return spinner_; }

protected:
  void resizeEvent(QResizeEvent *event) override;

private:
  StatusLabel *statusLabel_;
  StatusLabel *diskSpaceLabel_;
  Spinner *spinner_;
};

} // namespace tessary
