#pragma once

#include "tessary/ByteBuffer.h"
#include "tessary/SamplePeaks.h"

#include <QPainter>
#include <QPalette>
#include <QRect>
#include <cstdint>
#include <memory>
#include <vector>

namespace tessary {

/// Some frames of a sample as they are stored, for what peaks are too coarse for.
struct CloseUp {
  std::uint64_t first = 0; ///< the frame that `bytes` begin with
  ByteBufferPtr bytes;

  [[nodiscard]] std::uint64_t frames() const { return bytes ? bytes->size() / 2 : 0; }
  [[nodiscard]] bool holds(std::uint64_t from, std::uint64_t to) const {
    return bytes && from >= first && to <= first + frames();
  }
};

/// The part of a sample that a view shows: from frame `first` on, so many frames a pixel.
struct WaveSection {
  double first = 0;
  double framesPerPixel = 1;

  [[nodiscard]] double frameAt(double x) const { return first + x * framesPerPixel; }
  [[nodiscard]] double xOf(double frame) const { return (frame - first) / framesPerPixel; }
};

/// What is drawn of a wave. All of it is borrowed for the painting.
struct WavePicture {
  const SamplePeaks *peaks = nullptr;
  const CloseUp *closeUp = nullptr;
  WaveSection section;
  std::uint32_t rate = 44100;

  /// Draws the wave into `area` of a view, as far as `exposed` shows it.
  void paintWave(QPainter *painter, const QRect &area, const QRect &exposed, const QPalette &palette) const;
  /// Draws a line of times.
  void paintRuler(QPainter *painter, const QRect &area, const QPalette &palette) const;

private:
  [[nodiscard]] Peak peakBetween(double from, double to) const;
  void paintFrames(QPainter *painter, const QRect &area, const QRect &exposed) const;
};

} // namespace tessary
