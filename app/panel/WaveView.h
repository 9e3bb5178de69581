#pragma once

#include "app/panel/WavePicture.h"

#include <QAbstractScrollArea>
#include <QString>
#include <cstdint>
#include <memory>
#include <optional>

namespace tessary {

/// Shows a sample's wave: the whole of it at first. The wheel and the keys + and - zoom, 0 shows the whole
/// again; Shift with the wheel, Page Up and Page Down scroll. A click, the arrow keys, Home and End put the
/// cursor, which is where playing begins. What is heard is a line of its own.
class WaveView final : public QAbstractScrollArea {
  Q_OBJECT

public:
  explicit WaveView(QWidget *parent = nullptr);

  /// The system's text size has changed.
  void followTextSize();
  /// Another sample, with the cursor at its beginning. Its wave comes later.
  void setSample(const QString &name, std::uint64_t frames);
  /// None; the text is shown in its place.
  void setNothing(const QString &text);
  void setPeaks(std::shared_ptr<const SamplePeaks> peaks);
  void setCloseUp(const CloseUp &closeUp);
  void setRate(std::uint32_t rate);
  /// The frame that is heard; none when nothing plays.
  void setHeard(std::optional<std::uint64_t> frame);

  [[nodiscard]] std::uint64_t cursor() const { return cursor_; }
  [[nodiscard]] std::optional<std::uint64_t> heard() const { return heard_; }
  [[nodiscard]] const WaveSection &section() const { return section_; }
  [[nodiscard]] std::uint64_t frames() const { return frames_; }

signals:
  /// The view is so close that it needs the frames themselves: so many from there on.
  void closeUpWanted(std::uint64_t first, std::uint64_t frames);
  void cursorMoved(std::uint64_t frame);

protected:
  void paintEvent(QPaintEvent *event) override;
  void resizeEvent(QResizeEvent *event) override;
  void scrollContentsBy(int dx, int dy) override;
  void wheelEvent(QWheelEvent *event) override;
  void keyPressEvent(QKeyEvent *event) override;
  void mousePressEvent(QMouseEvent *event) override;
  void mouseMoveEvent(QMouseEvent *event) override;
  void focusInEvent(QFocusEvent *event) override;
  void focusOutEvent(QFocusEvent *event) override;
  void changeEvent(QEvent *event) override;

private:
  [[nodiscard]] QRect waveArea() const;
  [[nodiscard]] double wholeFramesPerPixel() const;
  [[nodiscard]] WavePicture picture() const;
  void zoom(double factor, double x);
  void showSection(const WaveSection &section);
  void showWhole();
  void setCursorFrame(double frame);
  void askForCloseUp();
  void paintLine(QPainter *painter, std::uint64_t frame, const QColor &color) const;
  void updateLine(std::uint64_t frame);
  void tellScreenReader();

  QString name_, nothing_;
  std::uint64_t frames_ = 0;
  std::shared_ptr<const SamplePeaks> peaks_;
  CloseUp closeUp_;
  std::uint32_t rate_ = 44100;
  WaveSection section_;
  std::uint64_t cursor_ = 0;
  std::optional<std::uint64_t> heard_;
  bool isWhole_ = true; ///< the whole sample stays shown when the view's size changes
  bool settingBar_ = false;
};

} // namespace tessary
