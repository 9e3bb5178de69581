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

  /// Cuts the text at this width also where the label itself is wider.
  void setWidestText(int width);
  /// Width of the text in full, in device-independent pixels.
  int textWidth() const;
  /// Where the text is drawn, in the parent's coordinates.
  QRect textRect() const;

protected:
  bool event(QEvent *event) override;
  void paintEvent(QPaintEvent *event) override;

private:
  QString shownText() const;

  int widestText_;
};

/// The bar below the file table, 28 high: the last message on the left, used and free space in the middle,
/// the spinner at the right edge. Where the bar is too narrow for both texts as they are placed, the message
/// gives way: it may have news, but the space is a number.
class StatusBar final : public QWidget {
  Q_OBJECT

public:
  explicit StatusBar(QWidget *parent = nullptr);

  StatusLabel *statusLabel() const { return statusLabel_; }
  StatusLabel *diskSpaceLabel() const { return diskSpaceLabel_; }
  Spinner *spinner() const { return spinner_; }

protected:
  bool event(QEvent *event) override;
  void resizeEvent(QResizeEvent *event) override;

private:
  void placeElements();

  StatusLabel *statusLabel_;
  StatusLabel *diskSpaceLabel_;
  Spinner *spinner_;
};

} // namespace tessary
