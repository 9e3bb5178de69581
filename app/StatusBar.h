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
/// at the right edge the spinner and, before it, whether the image is read-only. It grows with the system's
/// texts. Where the bar is too narrow for both texts as they are placed, the message
/// gives way: it may have news, but the space is a number.
class StatusBar final : public QWidget {
  Q_OBJECT

public:
  static constexpr int kHeight = 28; ///< at the system's usual text size

  explicit StatusBar(QWidget *parent = nullptr);

  /// The system's text size has changed.
  void followTextSize();

  StatusLabel *statusLabel() const { return statusLabel_; }
  StatusLabel *diskSpaceLabel() const { return diskSpaceLabel_; }
  Spinner *spinner() const { return spinner_; }
  /// Shows at the right that the image is read-only; `reason` is its tool tip. Not when that is empty.
  void setReadOnly(const QString &reason);

protected:
  bool event(QEvent *event) override;
  void resizeEvent(QResizeEvent *event) override;

private:
  void placeElements();

  StatusLabel *statusLabel_;
  StatusLabel *diskSpaceLabel_;
  QLabel *readOnlyLabel_;
  Spinner *spinner_;
};

} // namespace tessary
