#pragma once

#include <array>
#include <cstdint>

/// What the panel of a bank's contents remembers from one start to the next. Main thread only.
namespace tessary {

/// Frames a second that samples can be played and exported at: a bank does not tell which its own is.
inline constexpr std::array<std::uint32_t, 12> kSampleRates = {8000,  11025, 16000, 20000, 22050, 24000,
                                                               27778, 31250, 32000, 33075, 44100, 48000};
inline constexpr std::uint32_t kUsualSampleRate = 44100;

class PanelSettings final {
public:
  static bool isShown();
  static void setShown(bool shown);
  /// Below the table rather than to the right of it.
  static bool isBelow();
  static void setBelow(bool below);
  /// One of `kSampleRates`.
  static std::uint32_t rate();
  static void setRate(std::uint32_t rate);
  /// From 0 to 100.
  static int volume();
  static void setVolume(int percent);
};

} // namespace tessary
